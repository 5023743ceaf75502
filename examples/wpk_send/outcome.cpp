// What became of the request: a text for the user and an exit status for scripts, for every way it can end.
// SPDX-License-Identifier: MIT
#include "outcome.h"

#include <wpk/wpk.h>

namespace wpk_send {
namespace {

struct ErrorDescription {
    int error;
    const char* text;
};

constexpr ErrorDescription kErrors[] = {
    {WPK_ERROR_BAD_REQUEST, "The request is unusable: the server or the proxy is not named."},
    {WPK_ERROR_NO_NETWORK, "There is no network connection."},
    {WPK_ERROR_CONNECT, "The server (or the proxy) could not be reached."},
    {WPK_ERROR_CANCELLED, "The request was cancelled."},
    {WPK_ERROR_BAD_VERSION, "The server speaks another version of the protocol, or is no server of this kind."},
    {WPK_ERROR_NO_SERVICE, "The server has no service of that name."},
    {WPK_ERROR_EXCHANGE, "The exchange with the server broke, or the server refused the message."},
    {WPK_ERROR_PROXY_CREDENTIALS, "The proxy wants a user name and a password, and none were given."},
};

struct StatusDescription {
    ExitStatus status;
    const char* text;
};

constexpr StatusDescription kStatuses[] = {
    {kReplied, "The reply has arrived."},
    {kFileTrouble, "The message could not be read, or the reply not be written."},
    {kWrongUsage, "The command line is wrong."},
    {kNotInitialised, "The library could not be initialised."},
    {kNotSent, "The library could not take the request."},
    {kTimedOut, "The time given by --timeout is over."},
    {kNoSuchField, "The reply is no XML, or lacks the element that --field asks for."},
};

std::string Line(int status, const char* text) {
    const std::string number = std::to_string(status);
    return std::string(number.size() < 2 ? "  " : " ") + number + "  " + text + "\n";
}

}  // namespace

std::string ErrorText(int error) {
    for (const ErrorDescription& description : kErrors) {
        if (description.error == error) return description.text;
    }
    return "The request failed with the unknown code " + std::to_string(error) + ".";
}

int ExitStatusOfError(int error) {
    return 10 - error;
}

std::string ExitStatusHelp() {
    std::string help = "Exit status:\n";
    for (const StatusDescription& description : kStatuses) help += Line(description.status, description.text);
    for (const ErrorDescription& description : kErrors) {
        help += Line(ExitStatusOfError(description.error), description.text);
    }
    return help;
}

}  // namespace wpk_send
