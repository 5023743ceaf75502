// message_server: serves messages on a port of this machine.
// SPDX-License-Identifier: MIT
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "common/address.h"
#include "common/socket.h"
#include "common/task.h"
#include "common/usage.h"
#include "connection.h"
#include "connection_limit.h"
#include "options.h"

namespace message_server {
namespace {

using common::Socket;

/// Serves one client.
class Work : public common::Task {
public:
    Work(ConnectionLimit::Place place, Socket client, const Options& options)
        : place_(std::move(place)), client_(std::move(client)), options_(options) {}

    void Run() noexcept override { ServeConnection(std::move(client_), options_.limits, options_.log); }

private:
    ConnectionLimit::Place place_;
    Socket client_;
    const Options& options_;
};

void Serve(ConnectionLimit::Place place, Socket client, const Options& options) {
    std::unique_ptr<Work> work(new (std::nothrow) Work(std::move(place), std::move(client), options));
    if (work == nullptr) {
        std::fprintf(stderr, "a connection is dropped: the system has no memory for it\n");
    } else if (!common::StartTask(std::move(work))) {
        std::fprintf(stderr, "a connection is dropped: the system has no thread for it\n");
    }
}

[[noreturn]] void ServeForever(Socket& listener, const Options& options) {
    ConnectionLimit limit(options.connections);
    for (;;) {
        // The place comes first: while all are taken, further clients wait in the system's queue.
        ConnectionLimit::Place place = limit.TakePlace();
        Serve(std::move(place), listener.Accept(), options);
    }
}

[[noreturn]] void Run(const Options& options) {
    const common::SocketsInterface sockets;
    Socket listener = Socket::Listen(options.address, options.port);
    if (common::IsOpenToOthers(options.address)) {
        std::fprintf(stderr,
                     "message_server: warning: other machines can reach %s and use this server, which asks "
                     "nobody for a password\n",
                     options.address.c_str());
    }
    std::printf("listening on %s:%u\n", options.address.c_str(), static_cast<unsigned>(listener.Port()));
    std::fflush(stdout);
    ServeForever(listener, options);
}

}  // namespace
}  // namespace message_server

int main(int argc, char** argv) {
    try {
        message_server::Run(message_server::ParseOptions(argc, argv));
    } catch (const common::Usage& usage) {
        return common::Explain(usage);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "message_server: %s\n", error.what());
        return 1;
    }
}
