// The reply to a request: its head as bytes, and a body that may be made while it is sent.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "refusal.h"

namespace message_server {

/// A service's answer: a text, followed by a number of bytes that repeat the alphabet. These are produced while they
/// are sent, so a reply of gigabytes needs no memory.
struct Answer {
    std::string text;
    std::uint64_t alphabet_length = 0;

    std::uint64_t Length() const { return text.size() + alphabet_length; }
};

/// The head of a good reply with a body of `length` bytes.
std::string ReplyHead(std::uint64_t length);

/// A whole reply that refuses the request; the reason is repeated in its body for those who look at it in a browser.
std::string RefusalReply(const Refusal& refusal);

/// Fills `into` with the alphabet as it runs from byte `offset` of the endless repetition on.
void FillWithAlphabet(std::uint64_t offset, char* into, std::size_t length);

}  // namespace message_server
