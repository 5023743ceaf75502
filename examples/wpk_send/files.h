// The message's bytes in, the reply's bytes out: files and standard streams, never changed on the way.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

namespace wpk_send {

/// All bytes of the file; an empty name means standard input.
/// @throws std::runtime_error where it cannot be read, or is longer than a message can be (4 GiB - 1).
std::string ReadAll(const std::string& file);

/// Writes the bytes to the file, replacing it; an empty name means standard output.
/// @throws std::runtime_error where not all of them can be written.
void WriteAll(const std::string& file, const void* data, std::size_t length);

}  // namespace wpk_send
