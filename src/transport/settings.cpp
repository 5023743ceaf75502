// The library's copy of the initialisation record.
// SPDX-License-Identifier: MIT
#include "transport/settings.h"

#include <string_view>
#include <utility>

namespace wpk {

namespace {

/// False when there is a text but no memory for its copy.
bool CopyText(std::string_view text, CountedText& copy) {
    copy = CountedText(text);
    return copy.Length() == text.size();
}

bool CopyText(const char* text, CountedText& copy) {
    return CopyText(text ? std::string_view(text) : std::string_view(), copy);
}

}  // namespace

bool Credentials::CopyFrom(const Credentials& other) {
    Credentials copy;
    if (!CopyText(other.user.View(), copy.user) || !CopyText(other.password.View(), copy.password)) return false;
    *this = std::move(copy);
    return true;
}

bool Settings::CopyFrom(const WPK_INITSTRUCT& record) {
    reserved_ = record.reserved;
    instance_ = record.hInstance;
    connectionType_ = record.nConnectionType;
    callback_ = record.lpfnCallback;
    userData_ = record.lpUserData;
    behindProxy_ = record.bBehindProxy;
    proxyPort_ = record.nProxyPort;
    return CopyText(record.lpszProxyServer, proxyServer_) && CopyText(record.lpszProxyUser, credentials_.user) &&
           CopyText(record.lpszProxyPassword, credentials_.password);
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

}  // namespace wpk
