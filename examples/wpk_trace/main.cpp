// wpk_trace: passes connections on to a server or proxy and shows in words what goes over them.
// SPDX-License-Identifier: MIT
#include <process.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <thread>
#include <utility>

#include "connection.h"
#include "log.h"
#include "options.h"
#include "socket.h"

namespace wpk_trace {
namespace {

// Each takes two threads and two sockets.
constexpr int kMostConnections = 256;

struct Work {
    Socket client;
    std::uint64_t number;
    const Options& options;
    Log& log;
    std::atomic<int>& running;
};

unsigned __stdcall Carry(void* argument) {
    const std::unique_ptr<Work> work(static_cast<Work*>(argument));
    CarryConnection(std::move(work->client), work->number, work->options, work->log);
    --work->running;
    return 0;
}

/// Carries the connection on a thread of its own: the system's, not std::thread, which must not be detached with
/// mingw-w64's library.
void StartThread(std::unique_ptr<Work> work) {
    const auto thread = _beginthreadex(nullptr, 0, Carry, work.get(), 0, nullptr);
    if (thread == 0) {
        --work->running;
        std::fprintf(stderr, "a connection is dropped: the system has no thread for it\n");
        return;
    }
    // The thread's now, which may have given it back already.
    static_cast<void>(work.release());
    CloseHandle(reinterpret_cast<HANDLE>(thread));
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

[[noreturn]] void RelayForever(Socket& listener, const Options& options) {
    Log log;
    std::atomic<int> running{0};
    for (std::uint64_t number = 1;; ++number) {
        Socket client = AcceptClient(listener);
        if (running >= kMostConnections) {
            std::fprintf(stderr, "a connection is dropped: %d are open\n", kMostConnections);
            continue;
        }
        ++running;
        StartThread(std::unique_ptr<Work>(new Work{std::move(client), number, options, log, running}));
    }
}

void Run(const Options& options) {
    const SocketsInterface sockets;
    Socket listener = Socket::Listen(options.address, options.port);
    if (IsOpenToOthers(options.address)) {
        std::fprintf(stderr, "wpk_trace: warning: other machines can reach %s and use this relay\n",
                     options.address.c_str());
    }
    std::printf("listening on %s:%u, passing on to %s:%u\n", options.address.c_str(),
                static_cast<unsigned>(listener.Port()), options.target_host.c_str(),
                static_cast<unsigned>(options.target_port));
    std::fflush(stdout);
    RelayForever(listener, options);
}

}  // namespace
}  // namespace wpk_trace

int main(int argc, char** argv) {
    try {
        wpk_trace::Run(wpk_trace::ParseOptions(argc, argv));
    } catch (const wpk_trace::Usage& usage) {
        std::fputs(usage.what(), usage.AskedFor() ? stdout : stderr);
        return usage.AskedFor() ? 0 : 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "wpk_trace: %s\n", error.what());
        return 1;
    }
}
