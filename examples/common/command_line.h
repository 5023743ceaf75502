// Command lines: how all programs read and explain theirs.
// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <string>

#include "usage.h"

namespace common {

/// A command line with --help and --version. The type names of its options represent their values in the help.
class CommandLine : public CLI::App {
public:
    /// @param name of the program.
    CommandLine(const std::string& description, const std::string& name);

    /// Reads the whole line; `check` then throws a CLI::ParseError if options contradict each other.
    /// @throws Usage
    void Read(
        int argc, const char* const* argv, const std::function<void()>& check = [] {});
};

/// For CLI::Option::transform: a whole number of that range and nothing else, written with decimal digits.
CLI::Validator NumberBetween(std::uint64_t least, std::uint64_t most);

/// For CLI::Option::check.
CLI::Validator Ipv4Address();

/// For CLI::Option::transform: a connection type by its name or its number, which it becomes.
CLI::Validator ConnectionType();

struct HostAndPort {
    std::string host;
    std::uint16_t port;
};

/// Splits "HOST:PORT", or only "HOST", which means port 80.
/// @throws CLI::ParseError that names the option.
HostAndPort ParseHostAndPort(const std::string& option, const std::string& text);

}  // namespace common
