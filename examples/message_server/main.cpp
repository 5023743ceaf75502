// message_server: serves messages on a port of 127.0.0.1.
// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>

#include <process.h>
#include <windows.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <thread>
#include <utility>

#include "connection.h"
#include "connection_limit.h"
#include "socket.h"

namespace message_server {
namespace {

struct Options {
    std::uint16_t port = 80;
    unsigned connections = 128;
    unsigned timeout_seconds = 30;
    unsigned slowest_rate = 1024;
    Limits limits;
};

void DescribeOptions(CLI::App& app, Options& options) {
    app.add_option("-p,--port", options.port, "Port of 127.0.0.1; 0: chosen by the system")->capture_default_str();
    app.add_option("--max-request", options.limits.max_request, "Largest body of a request, in bytes")
        ->capture_default_str();
    app.add_option("--connections", options.connections, "How many are served at once; others wait")
        ->check(CLI::Range(1, 1024))
        ->capture_default_str();
    app.add_option("--timeout", options.timeout_seconds, "Seconds that a slow client is waited for")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    app.add_option("--slowest", options.slowest_rate, "KiB a second that a client has to take of its reply on average")
        ->check(CLI::Range(1, 1048576))
        ->capture_default_str();
    app.add_flag("--log", options.limits.log, "Write a line on each request to standard error");
    app.footer(
        "Services: Echo, Reverse, Generate (a number of bytes), Sleep (a number of milliseconds),\n"
        "Lookup (XML: <request><name>iron</name></request>).\n\n"
        "Exit status: 0 after --help, 1 when it cannot serve (standard error says why), 100 or more when the command\n"
        "line is wrong. Otherwise it serves until it is ended from outside.");
}

/// Waits for a client that does not vanish while it is taken in.
Socket AcceptClient(Socket& listener) {
    for (;;) {
        try {
            return listener.Accept();
        } catch (const ConnectionLost&) {
            // The system may be short of something for a moment; the next try must not come at once then.
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

struct Work {
    ConnectionLimit::Place place;
    Socket client;
    const Limits& limits;
};

unsigned __stdcall Serve(void* argument) {
    const std::unique_ptr<Work> work(static_cast<Work*>(argument));
    ServeConnection(std::move(work->client), work->limits);
    return 0;
}

/// Serves the client on a thread of its own. The system's thread, not std::thread: with mingw-w64's library, one that
/// is detached while it is ending can have its record given to two others.
void StartThread(ConnectionLimit::Place place, Socket client, const Limits& limits) {
    std::unique_ptr<Work> work(new (std::nothrow) Work{std::move(place), std::move(client), limits});
    if (work == nullptr) {
        std::fprintf(stderr, "a connection is dropped: the system has no memory for it\n");
        return;
    }
    const auto thread = _beginthreadex(nullptr, 0, Serve, work.get(), 0, nullptr);
    if (thread == 0) {
        std::fprintf(stderr, "a connection is dropped: the system has no thread for it\n");
        return;
    }
    // The thread's now, which may have given it back already.
    static_cast<void>(work.release());
    CloseHandle(reinterpret_cast<HANDLE>(thread));
}

[[noreturn]] void ServeForever(Socket& listener, const Options& options) {
    ConnectionLimit limit(options.connections);
    for (;;) {
        // The place comes first: while all are taken, further clients wait in the system's queue.
        ConnectionLimit::Place place = limit.TakePlace();
        StartThread(std::move(place), AcceptClient(listener), options.limits);
    }
}

void Run(Options& options) {
    options.limits.timeout = std::chrono::seconds(options.timeout_seconds);
    options.limits.slowest_rate = std::uint64_t{1024} * options.slowest_rate;
    const SocketsInterface sockets;
    Socket listener = Socket::Listen(options.port);
    std::printf("listening on 127.0.0.1:%u\n", static_cast<unsigned>(listener.Port()));
    std::fflush(stdout);
    ServeForever(listener, options);
}

}  // namespace
}  // namespace message_server

int main(int argc, char** argv) {
    CLI::App app("Serves messages on a port of 127.0.0.1, until Ctrl-C.");
    message_server::Options options;
    message_server::DescribeOptions(app, options);
    CLI11_PARSE(app, argc, argv);
    try {
        message_server::Run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "message_server: %s\n", error.what());
        return 1;
    }
}
