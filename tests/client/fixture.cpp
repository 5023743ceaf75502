// What the tests of the C++ layer have in common.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"

#include <cstring>
#include <exception>
#include <utility>

namespace wpk::client_test {
namespace {

template <class Function>
Function* Export(HMODULE module, const char* name) {
    const FARPROC found = GetProcAddress(module, name);
    Function* function = nullptr;
    static_assert(sizeof function == sizeof found);
    std::memcpy(&function, &found, sizeof function);
    return function;
}

}  // namespace

Functions FreshLibrary() {
    const HMODULE module = harness::Library::LoadFresh().module();
    return {Export<decltype(WPK_Init)>(module, "WPK_Init"), Export<decltype(WPK_Send)>(module, "WPK_Send"),
            Export<decltype(WPK_Cancel)>(module, "WPK_Cancel")};
}

Options ToLoopback(unsigned short port) {
    Options options;
    options.server = "127.0.0.1";
    options.port = port;
    return options;
}

const Client& TheClient() {
    static const Client client(ToLoopback(), FreshLibrary());
    return client;
}

Message To(unsigned short port, std::string body) {
    Message message("Echo", std::move(body));
    message.port = port;
    return message;
}

Kept SendAndWait(const Client& client, Message message) {
    Kept kept;
    const Request request = client.Send(std::move(message), [&](const Outcome& outcome) {
        kept.error = outcome.error();
        kept.body = outcome.body();
        kept.thread = GetCurrentThreadId();
        kept.exception = outcome.exception();
        ++kept.count;
    });
    request.Wait();
    return kept;
}

std::error_code CodeOf(std::future<Reply> future) {
    return CodeThrownBy([&] { future.get(); });
}

std::string TextOf(const std::exception_ptr& exception) {
    if (!exception) return "nothing was thrown";
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception& thrown) {
        return thrown.what();
    } catch (...) {
        return "no std::exception";
    }
}

SilentPeer::SilentPeer(int threads)
    : peer_(
          [this](harness::Connection& connection) {
              connection.ReadRequest();
              over_.Wait();
          },
          threads) {}

SilentPeer::~SilentPeer() {
    over_.Set();
}

}  // namespace wpk::client_test
