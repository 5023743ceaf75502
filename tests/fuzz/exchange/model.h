// What an exchange must come to, worked out from its script in the plainest way.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FUZZ_EXCHANGE_MODEL_H
#define WPK_TESTS_FUZZ_EXCHANGE_MODEL_H

#include <string>
#include <vector>

#include "fuzz/exchange/script.h"

namespace wpk::fuzz {

struct Expectation {
    /// The final notification: 0 for a reply, or a failure's code.
    int error = 0;
    /// Whether the last reply is one that progress is told of, and what comes of its body.
    bool accepted = false;
    std::string body;
    /// Credentials as the questions show them.
    std::vector<Login> questions;
    /// What each connection gets; the last one may break off.
    std::vector<std::string> requests;
    /// The credentials in force afterwards.
    Login login;
};

/// Reads a byte at a time and knows nothing of buffers.
Expectation Expect(const Script& script);

}  // namespace wpk::fuzz

#endif  // WPK_TESTS_FUZZ_EXCHANGE_MODEL_H
