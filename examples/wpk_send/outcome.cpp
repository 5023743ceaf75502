// The outcome of the request: a text for the user and an exit status for scripts, for every way it can end.
// SPDX-License-Identifier: MIT
#include "outcome.h"

#include <wpk/error_text.h>

namespace wpk_send {
namespace {

struct ErrorDescription {
    int error;
    const char* advice;
};

constexpr ErrorDescription kErrors[] = {
    {WPK_ERROR_BAD_REQUEST, "Name it."},
    {WPK_ERROR_NO_NETWORK, "Connect to the network, then send again."},
    {WPK_ERROR_CONNECT, "Check its name and port, that it runs, and that no firewall is in the way."},
    {WPK_ERROR_CANCELLED, ""},
    {WPK_ERROR_BAD_VERSION, "Check its name and port; where they are right, update the older side."},
    {WPK_ERROR_NO_SERVICE, "Check the service's name; where it is right, update the server."},
    {WPK_ERROR_EXCHANGE,
     "The server's or the proxy's log says why, and wpk_trace shows what it answered. The server may have acted on the "
     "message: send again only what may be done twice."},
    {WPK_ERROR_PROXY_CREDENTIALS, "Send again with those that it knows."},
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

/// Null for an unknown code.
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
    return description ? WPK_ErrorText(error)
                       : "The request failed with the unknown code " + std::to_string(error) + ".";
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
        help += Line(ExitStatusOfError(description.error), WPK_ErrorText(description.error));
    }
    return help;
}

}  // namespace wpk_send
