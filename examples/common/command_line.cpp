// Command lines: how all programs read and explain theirs.
// SPDX-License-Identifier: MIT
#include "command_line.h"

#include <wpk/wpk.h>

#include <memory>
#include <optional>
#include <string_view>

#include "number.h"

namespace common {
namespace {

constexpr std::uint16_t kHttpPort = 80;

/// Help as people write it: a word for each value, and what is usual in the explanation.
class HelpText : public CLI::Formatter {
    std::string make_usage(const CLI::App* app, std::string name) const override {
        std::string usage = "usage: " + (name.empty() ? app->get_name() : name) + " [OPTION ...]";
        for (const CLI::Option* option : app->get_options()) {
            if (option->get_positional()) usage += " " + make_option_usage(option);
            if (option->get_required() && !option->get_positional()) {
                usage += " " + option->get_name() + make_option_opts(option);
            }
        }
        return usage + "\n";
    }

    std::string make_option_opts(const CLI::Option* option) const override {
        const bool has_value = option->get_type_size() != 0 && !option->get_positional();
        return has_value ? " " + option->get_type_name() : "";
    }

    std::string make_option_desc(const CLI::Option* option) const override {
        const std::string usual = option->get_default_str();
        return option->get_description() + (usual.empty() ? "" : " (usual: " + usual + ")");
    }
};

}  // namespace

CommandLine::CommandLine(const std::string& description, const std::string& name) : CLI::App(description, name) {
    formatter(std::make_shared<HelpText>());
    set_help_flag("-h,--help", "Show this help, and do nothing else");
    set_version_flag("--version", name + " " WPK_VERSION_STRING, "Show the version, and do nothing else");
}

void CommandLine::Read(int argc, const char* const* argv, const std::function<void()>& check) {
    try {
        parse(argc, argv);
        check();
    } catch (const CLI::CallForHelp&) {
        throw Usage(help(), /*asked_for=*/true);
    } catch (const CLI::CallForVersion& version) {
        throw Usage(version.what() + std::string("\n"), /*asked_for=*/true);
    } catch (const CLI::ParseError& error) {
        throw Usage(get_name() + ": " + error.what() + "\n(" + get_name() + " --help explains the command line.)\n",
                    /*asked_for=*/false);
    }
}

CLI::Validator NumberBetween(std::uint64_t least, std::uint64_t most) {
    return CLI::Validator(
        [least, most](std::string& text) {
            const std::optional<std::uint64_t> number = Number(text);
            if (!number || *number < least || *number > most) {
                return "'" + text + "' is no number from " + std::to_string(least) + " to " + std::to_string(most);
            }
            // Zeros at its beginning would make it an octal one.
            text = std::to_string(*number);
            return std::string();
        },
        /*validator_desc=*/"");
}

CLI::Validator Ipv4Address() {
    return CLI::Validator(
        [](std::string& text) {
            return CLI::ValidIPV4(text).empty() ? std::string() : "'" + text + "' is no IPv4 address";
        },
        /*validator_desc=*/"");
}

CLI::Validator ConnectionType() {
    return CLI::Validator(
        [](std::string& text) {
            constexpr const char* kNames[] = {"never", "dial-up", "permanent", "automatic"};
            static_assert(WPK_CONNECTION_DIAL_UP == 1 && WPK_CONNECTION_AUTOMATIC == 3,
                          "the names stand in their order");
            for (int type = WPK_CONNECTION_NEVER; type <= WPK_CONNECTION_AUTOMATIC; ++type) {
                const std::string number = std::to_string(type);
                if (CLI::detail::to_lower(text) != kNames[type] && text != number) continue;
                text = number;
                return std::string();
            }
            return "'" + text + "' is none of never, dial-up, permanent, automatic and 0 to 3";
        },
        /*validator_desc=*/"");
}

HostAndPort ParseHostAndPort(const std::string& option, const std::string& text) {
    const std::size_t colon = text.find(':');
    const std::string host = text.substr(0, colon);
    if (host.empty()) throw CLI::ValidationError(option, "no host in '" + text + "'");
    if (colon == std::string::npos) return {host, kHttpPort};
    const std::optional<std::uint64_t> port = Number(std::string_view(text).substr(colon + 1));
    if (!port || *port < 1 || *port > 65535) {
        throw CLI::ValidationError(option, "no port number from 1 to 65535 in '" + text + "'");
    }
    return {host, static_cast<std::uint16_t>(*port)};
}

}  // namespace common
