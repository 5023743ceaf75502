// What became of the request: a text for the user and an exit status for scripts, for every way it can end.
// SPDX-License-Identifier: MIT
#include "outcome.h"

#include <wpk/wpk.h>

namespace wpk_send {
namespace {

struct ErrorDescription {
    int error;
    const char* text;
    const char* advice;
};

constexpr ErrorDescription kErrors[] = {
    {WPK_ERROR_BAD_REQUEST, "The request is unusable: the server or the proxy is not named.", "Name it."},
    {WPK_ERROR_NO_NETWORK, "There is no network connection.", "Connect to the network, then send again."},
    {WPK_ERROR_CONNECT, "The server (or the proxy) could not be reached.",
     "Check its name and port, that it runs, and that no firewall is in the way."},
    {WPK_ERROR_CANCELLED, "The request was cancelled.", ""},
    {WPK_ERROR_BAD_VERSION, "The server speaks another version of the protocol, or is no server of this kind.",
     "Check its name and port; where they are right, update the older side."},
    {WPK_ERROR_NO_SERVICE, "The server has no service of that name.",
     "Check the service's name; where it is right, update the server."},
    {WPK_ERROR_EXCHANGE, "The exchange with the server broke, or the server refused the message.",
     "Check the message, and that there is room on the disk. The server may have acted on it: send again only what may "
     "be done twice."},
    {WPK_ERROR_PROXY_CREDENTIALS, "The proxy wants a user name and a password, and got none that it accepts.",
     "Send again with those that it knows."},
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

/// Null for a code that is not known.
const ErrorDescription* Find(int error) {
    for (const ErrorDescription& description : kErrors) {
        if (description.error == error) return &description;
    }
    return nullptr;
}

std::string Line(int status, const char* text) {
    const std::string number = std::to_string(status);
    return std::string(number.size() < 2 ? "  " : " ") + number + "  " + text + "\n";
}

}  // namespace

std::string ErrorText(int error) {
    const ErrorDescription* description = Find(error);
    return description ? description->text : "The request failed with the unknown code " + std::to_string(error) + ".";
}

std::string ErrorAdvice(int error) {
    const ErrorDescription* description = Find(error);
    return description ? description->advice : "";
}

std::string ErrorTextAndAdvice(int error, const char* separator) {
    const std::string advice = ErrorAdvice(error);
    return advice.empty() ? ErrorText(error) : ErrorText(error) + separator + advice;
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
