// What the tests of the C++ layer have in common.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_CLIENT_FIXTURE_H
#define WPK_TESTS_CLIENT_FIXTURE_H

#include <wpk/client.h>

#include "support/dll/library.h"
#include "support/dll/peer.h"
#include "support/dll/wire.h"

#include <future>
#include <memory>
#include <string>
#include <system_error>

namespace wpk::client_test {

/// The functions of a library that has not been initialised yet: each Client of this program gets one of its own.
Functions FreshLibrary();

/// Options that lead to 127.0.0.1.
Options ToLoopback(unsigned short port = 80);

/// A Client on a permanent network, without a proxy, that lives as long as the program.
const Client& TheClient();

/// A message for service "Echo" on a port of 127.0.0.1.
Message To(unsigned short port, std::string body = "hello");

/// Outcome of one request, kept.
struct Kept {
    std::error_code error;
    std::string body;
    DWORD thread = 0;
    int count = 0;
    std::exception_ptr exception;
};

/// Sends with the function form, waits until the request has ended, and returns what was told.
Kept SendAndWait(const Client& client, Message message);

/// The code with which the future ends; no error when it brings a reply.
std::error_code CodeOf(std::future<Reply> future);

/// The code of the std::system_error that `call` throws; no error when it throws none.
template <class Call>
std::error_code CodeThrownBy(Call call) {
    try {
        call();
    } catch (const std::system_error& error) {
        return error.code();
    }
    return {};
}

/// The text of what is thrown.
std::string TextOf(const std::exception_ptr& exception);

/// A peer whose request is never answered, until it is told to end.
class SilentPeer {
public:
    explicit SilentPeer(int threads = 1);
    ~SilentPeer();
    unsigned short Port() const { return peer_.Port(); }
    /// Waits until a request has been read whole.
    bool WaitForRequest() { return !peer_.WaitForRequest().empty(); }

private:
    harness::Signal over_;
    harness::Peer peer_;
};

}  // namespace wpk::client_test

#endif  // WPK_TESTS_CLIENT_FIXTURE_H
