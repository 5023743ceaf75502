// The library's copy of the initialisation record.
// SPDX-License-Identifier: MIT
#include "transport/settings.h"

#include <string_view>
#include <utility>

namespace wpk::core {

namespace {

std::string_view ViewOf(const char* text) {
    return text ? std::string_view(text) : std::string_view();
}

/// False when there is a text but no memory for its copy.
bool CopyText(const char* text, CountedText& copy) {
    const std::string_view view = ViewOf(text);
    copy = CountedText(view);
    return copy.Length() == view.size();
}

/// False, with `credentials` as they were, when there is no memory for the copies.
bool CopyTexts(std::string_view user, std::string_view password, Credentials& credentials) {
    Credentials copy{TextBuffer::CopyOf(user), TextBuffer::CopyOf(password)};
    if (!copy.user.IsWhole() || !copy.password.IsWhole()) return false;
    credentials = std::move(copy);
    return true;
}

}  // namespace

bool Credentials::CopyFrom(const Credentials& other) {
    return CopyTexts(other.user.View(), other.password.View(), *this);
}

bool Settings::CopyFrom(const WPK_INITSTRUCT& record) {
    reserved_ = record.reserved;
    instance_ = record.hInstance;
    connectionType_ = record.nConnectionType;
    callback_ = record.lpfnCallback;
    userData_ = record.lpUserData;
    behindProxy_ = record.bBehindProxy;
    proxyPort_ = record.nProxyPort;
    return CopyText(record.lpszProxyServer, proxyServer_) &&
           CopyTexts(ViewOf(record.lpszProxyUser), ViewOf(record.lpszProxyPassword), credentials_);
}

void Settings::Forget() {
    proxyServer_ = CountedText();
    credentials_ = Credentials();
    reserved_ = 0;
    instance_ = nullptr;
}

bool Settings::CopyProxyCredentials(Credentials& copy) const {
    const ScopedLock lock(credentialsLock_);
    return copy.CopyFrom(credentials_);
}

bool Settings::ReplaceProxyCredentials(const Credentials& credentials) {
    Credentials replacement;
    if (!replacement.CopyFrom(credentials)) return false;
    const ScopedLock lock(credentialsLock_);
    credentials_ = std::move(replacement);
    return true;
}

}  // namespace wpk::core
