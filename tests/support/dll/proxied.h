// A library whose requests all go through one proxy.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_PROXIED_H
#define WPK_TESTS_SUPPORT_DLL_PROXIED_H

#include "support/dll/request.h"

#include <string>

namespace wpk::harness {

/// A fresh library with a proxy on 127.0.0.1; null credentials are allowed.
class Proxied {
public:
    Proxied(unsigned short proxyPort, const char* user, const char* password);

    const Library library;
};

/// Writes a text into a field of a credentials notification; one that fills the field gets no terminator.
void FillField(char (&field)[WPK_CREDENTIAL_SIZE], const std::string& text);

/// Makes a request answer every question for credentials with these.
void AnswerCredentials(Request& request, const std::string& user, const std::string& password);

}  // namespace wpk::harness

#endif  // WPK_TESTS_SUPPORT_DLL_PROXIED_H
