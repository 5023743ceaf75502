// wpk_trace: forwards connections to a server or proxy and shows their traffic in words.
// SPDX-License-Identifier: MIT
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <utility>

#include "common/address.h"
#include "common/socket.h"
#include "common/task.h"
#include "common/usage.h"
#include "connection.h"
#include "log.h"
#include "options.h"

namespace wpk_trace {
namespace {

using common::Socket;

// Each takes two threads and two sockets.
constexpr int kMostConnections = 256;

/// Serves one connection, and is counted while it exists.
class Work : public common::Task {
public:
    Work(Socket client, std::uint64_t number, const Options& options, Log& log, std::atomic<int>& running)
        : client_(std::move(client)), number_(number), options_(options), log_(log), running_(running) {
        ++running_;
    }
    ~Work() override { --running_; }

    void Run() noexcept override { CarryConnection(std::move(client_), number_, options_, log_); }

private:
    Socket client_;
    std::uint64_t number_;
    const Options& options_;
    Log& log_;
    std::atomic<int>& running_;
};

[[noreturn]] void RelayForever(Socket& listener, const Options& options) {
    Log log;
    std::atomic<int> running{0};
    for (std::uint64_t number = 1;; ++number) {
        Socket client = listener.Accept();
        if (running >= kMostConnections) {
            std::fprintf(stderr, "a connection is dropped: %d are open\n", kMostConnections);
        } else if (!common::StartTask(std::make_unique<Work>(std::move(client), number, options, log, running))) {
            std::fprintf(stderr, "a connection is dropped: the system has no thread for it\n");
        }
    }
}

[[noreturn]] void Run(const Options& options) {
    const common::SocketsInterface sockets;
    Socket listener = Socket::Listen(options.address, options.port);
    if (common::IsOpenToOthers(options.address)) {
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
    } catch (const common::Usage& usage) {
        return common::Explain(usage);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "wpk_trace: %s\n", error.what());
        return 1;
    }
}
