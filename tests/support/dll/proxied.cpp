// A library whose requests all go through one proxy.
// SPDX-License-Identifier: MIT
#include "support/dll/proxied.h"

#include "support/dll/process.h"

#include <algorithm>
#include <iterator>

namespace wpk::harness {

Proxied::Proxied(unsigned short proxyPort, const char* user, const char* password) : library(Library::LoadFresh()) {
    // The library may call its default callback as long as the process lives.
    WPK_INITSTRUCT settings = PermanentSettings(*new Inbox);
    settings.bBehindProxy = 1;
    settings.lpszProxyServer = "127.0.0.1";
    settings.nProxyPort = proxyPort;
    settings.lpszProxyUser = user;
    settings.lpszProxyPassword = password;
    if (library.Init(&settings) != 1) Die("WPK_Init failed");
}

void FillField(char (&field)[WPK_CREDENTIAL_SIZE], const std::string& text) {
    std::fill(std::begin(field), std::end(field), '\0');
    std::copy_n(text.data(), std::min<size_t>(text.size(), WPK_CREDENTIAL_SIZE), field);
}

void AnswerCredentials(Request& request, const std::string& user, const std::string& password) {
    request.inbox.inside = [=](WPK_CALLBACKSTRUCT& record) {
        if (record.nReason != WPK_REASON_CREDENTIALS) return;
        FillField(record.body.credentials.szUser, user);
        FillField(record.body.credentials.szPassword, password);
        record.body.credentials.bRetry = 1;
    };
}

}  // namespace wpk::harness
