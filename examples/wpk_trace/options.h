// Options: what the command line asks for.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "message_view.h"

namespace wpk_trace {

/// The command line as a record; the field's comment names the option.
struct Options {
    std::uint16_t port = 0;             ///< --listen
    std::string address = "127.0.0.1";  ///< --address
    std::string target_host;            ///< --to
    std::uint16_t target_port = 80;     ///< --to
    Shown shown;                        ///< --body, --show-credentials
};

/// The command line asks for nothing that could be done now: it is wrong, or asks for help. Its text is for the user.
class Usage : public std::runtime_error {
public:
    Usage(const std::string& text, bool asked_for) : std::runtime_error(text), asked_for_(asked_for) {}

    /// True when the user has asked for this text, so nothing is wrong.
    bool AskedFor() const { return asked_for_; }

private:
    bool asked_for_;
};

/// Whether others than this machine's own programs reach the address.
bool IsOpenToOthers(const std::string& address);

/// @throws Usage
Options ParseOptions(int argc, const char* const* argv);

}  // namespace wpk_trace
