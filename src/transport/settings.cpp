// The library's copy of the initialisation record.
// SPDX-License-Identifier: MIT
#include "transport/settings.h"

#include <string_view>

namespace wpk {

namespace {

/// False when there is a text but no memory for its copy.
bool CopyText(const char* text, CountedText& copy) {
    const std::string_view view = text ? std::string_view(text) : std::string_view();
    copy = CountedText(view);
    return copy.Length() == view.size();
}

}  // namespace

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

Credentials Settings::CopyProxyCredentials() const {
    const ScopedLock lock(credentialsLock_);
    return credentials_;
}

void Settings::ReplaceProxyCredentials(const Credentials& credentials) {
    Credentials replacement = credentials;
    const ScopedLock lock(credentialsLock_);
    credentials_ = std::move(replacement);
}

}  // namespace wpk
