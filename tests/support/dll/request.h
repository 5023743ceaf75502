// One request of a test: its send record, its inbox, and what is expected of it.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_REQUEST_H
#define WPK_TESTS_SUPPORT_DLL_REQUEST_H

#include "support/dll/inbox.h"

#include <string>

namespace wpk::harness {

/// Owns every byte that its record points to. Must live until the request has ended (WaitForEnd).
class Request {
public:
    /// A message to service "Echo" on a port of 127.0.0.1.
    explicit Request(unsigned short port, std::string message = "hello");

    Request& Service(std::string name);
    Request& Server(std::string host);

    /// Sends the record; the handle is kept, 0 when the library refused.
    unsigned int Send(const Library& library);

    /// Send, and wait until the request's thread has ended. False when the library refused or no end came.
    bool Run(const Library& library);

    /// Waits for the final notification and the end of the thread.
    bool WaitForEnd();

    unsigned int Handle() const { return handle_; }
    const std::string& Message() const { return message_; }
    /// The final notification; only after the end.
    Notification Final();

    Inbox inbox;
    WPK_SENDSTRUCT record;

private:
    std::string server_ = "127.0.0.1";
    std::string service_ = "Echo";
    std::string message_;
    unsigned int handle_ = 0;
};

/// Expectations about a request that has ended: exactly one final notification, on the thread that its handle names.
void ExpectReply(Request& request, const std::string& body);
void ExpectFailure(Request& request, int error);

/// ExpectReply, or ExpectFailure, after Run.
void RunAndExpectReply(const Library& library, Request& request, const std::string& body);
void RunAndExpectFailure(const Library& library, Request& request, int error);

}  // namespace wpk::harness

#endif  // WPK_TESTS_SUPPORT_DLL_REQUEST_H
