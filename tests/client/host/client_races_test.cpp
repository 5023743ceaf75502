// The C++ layer under storms from many threads, for ThreadSanitizer and AddressSanitizer above all.
// SPDX-License-Identifier: MIT
#include "client/host/native_platform.h"

#include <wpk/client.h>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <optional>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "host/child_process.h"
#include "host/control.h"
#include "host/scene.h"
#include "support/sanitized.h"

namespace wpk::client_test {
namespace {

using host::Server;

constexpr int kThreads = 6;
constexpr int kRounds = 30;

Options To(const Server& server) {
    Options options;
    options.server = L"127.0.0.1";
    options.port = server.Port();
    return options;
}

template <class Work>
void RunOnThreads(Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back([&work, i] { work(i); });
    for (std::thread& thread : threads) thread.join();
}

/// The front desk stays for good, and with a modem to watch, its service's and the Peeker.
void ExpectNothingLeft(int64_t lasting_threads = 1) {
    ASSERT_TRUE(host::AwaitThat([=] { return host::CountLive().threads == lasting_threads; }));
    detail::RetiredSends::All().Collect();
    EXPECT_EQ(host::CountLive().sockets, 0);
    EXPECT_EQ(host::CountLive().views, 0);
    EXPECT_EQ(host::Misuses(), std::vector<std::string>());
}

#define RACE_IN_CHILD(name)                         \
    void name();                                    \
    TEST(ClientRaces, name) {                       \
        const bool passed = host::RunInChild(name); \
        EXPECT_TRUE(passed);                        \
    }                                               \
    void name()

RACE_IN_CHILD(RequestsCancelledFromTwoThreadsAtRandomMomentsEndOnce) {
    const Server server;
    std::atomic<int> outcomes{0};
    {
        const Client client(To(server));
        RunOnThreads([&](int thread) {
            std::minstd_rand random(static_cast<unsigned>(thread) + 1);
            const char* const services[] = {"Small", "Large", "Silent", "Unknown"};
            for (int round = 0; round < kRounds; ++round) {
                const char* const service = services[random() % 4];
                const std::chrono::microseconds pause(random() % 3000);
                int own = 0;
                Request request = client.Send({service, "hello"}, [&](const Outcome&) {
                    ++own;
                    ++outcomes;
                });
                std::thread other([request, pause] {
                    std::this_thread::sleep_for(pause);
                    request.Cancel();
                });
                if (random() % 2 == 0) request.Cancel();
                request.Wait();
                EXPECT_EQ(own, 1);
                other.join();
            }
        });
    }
    EXPECT_EQ(outcomes, kThreads * kRounds);
    ExpectNothingLeft();
}

RACE_IN_CHILD(RequestsWhoseTimeIsUpAtRandomMomentsEndOnce) {
    const Server server;
    std::vector<Request> last(kThreads);
    std::atomic<int> outcomes{0};
    std::atomic<int> timed_out{0};
    {
        // Short enough for a "Silent" server to be given up, which nobody but the limit does.
        Options options = To(server);
        options.time_limit = std::chrono::milliseconds(3);
        const Client client(std::move(options));
        RunOnThreads([&](int thread) {
            std::minstd_rand random(static_cast<unsigned>(thread) + 1);
            const char* const services[] = {"Small", "Large", "Silent", "Half"};
            for (int round = 0; round < kRounds; ++round) {
                Message message(services[random() % 4], "hello");
                if (random() % 4 == 0) message.time_limit = std::chrono::milliseconds(-1);
                last[static_cast<size_t>(thread)] = client.Send(std::move(message), [&](const Outcome& outcome) {
                    EXPECT_TRUE(outcome || outcome.error() == Errc::kTimedOut) << outcome.error().message();
                    if (!outcome) ++timed_out;
                    ++outcomes;  // the last, as it is waited for
                });
                if (random() % 2 == 0) last[static_cast<size_t>(thread)].Wait();
            }
        });
    }
    // The Client has gone; its limits have not.
    ASSERT_TRUE(host::AwaitThat([&] { return outcomes == kThreads * kRounds; }));
    EXPECT_GT(timed_out, 0);
    ExpectNothingLeft();
}

// Leaves no room for the stack of another thread, for the length of a scope.
class ShortOfThreads {
public:
    ShortOfThreads() {
        size_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        getrlimit(RLIMIT_AS, &before_);
        rlimit little = before_;
        little.rlim_cur = pages * static_cast<size_t>(sysconf(_SC_PAGESIZE)) + (1 << 20);
        setrlimit(RLIMIT_AS, &little);
    }
    ShortOfThreads(const ShortOfThreads&) = delete;
    ShortOfThreads& operator=(const ShortOfThreads&) = delete;
    ~ShortOfThreads() { setrlimit(RLIMIT_AS, &before_); }

private:
    rlimit before_ = {};
};

std::atomic<int> sent{0};

unsigned CountSend(WPK_SENDSTRUCT* message) {
    ++sent;
    std::thread([message] {
        WPK_CALLBACKSTRUCT notification = {};
        notification.nReason = WPK_REASON_REPLY;
        notification.lpUserData = message->lpUserData;
        message->lpfnCallback(&notification);
    }).join();
    return 1;
}

RACE_IN_CHILD(ATimeLimitWithoutAThreadForItIsRefusedBeforeAnythingIsSent) {
    if (support::kIsSanitized) return;  // sanitizers take more memory than is left
    Options options;
    options.server = "server.example";
    options.time_limit = std::chrono::hours(1);
    const Client client(std::move(options), {[](const WPK_INITSTRUCT*) { return 1; }, CountSend,
                                             [](unsigned handle) { return handle == 0xFFFFFFFF ? 0 : 1; }});
    {
        const ShortOfThreads shortage;
        std::error_code refused;
        try {
            client.Send({"Echo", "hello"}, [](const Outcome&) {});
        } catch (const std::system_error& error) {
            refused = error.code();
        }
        EXPECT_EQ(refused, Errc::kNotTaken);
        EXPECT_EQ(sent, 0);
    }
    EXPECT_EQ(client.Send({"Echo", "hello"}).get().body, "");
    EXPECT_EQ(sent, 1);
}

RACE_IN_CHILD(ScopedRequestsLeaveNoFunctionBehind) {
    const Server server;
    const Client client(To(server));
    RunOnThreads([&](int thread) {
        std::minstd_rand random(static_cast<unsigned>(thread) + 1);
        for (int round = 0; round < kRounds; ++round) {
            // On the stack: touched by a function that still runs, it would be somebody else's.
            std::string shown;
            Message message(random() % 2 == 0 ? "Large" : "Silent", std::string(20000, 'x'));
            message.on_progress = [&](const Progress& progress) { shown = progress.body().substr(0, 10); };
            const ScopedRequest request =
                client.Send(std::move(message), [&](const Outcome& outcome) { shown = outcome.error().message(); });
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        }
    });
    ExpectNothingLeft();
}

RACE_IN_CHILD(FuturesOutliveTheClient) {
    const Server server;
    std::vector<std::vector<std::future<Reply>>> futures(kThreads);
    {
        const Client client(To(server));
        RunOnThreads([&](int thread) {
            for (int round = 0; round < kRounds; ++round) {
                futures[static_cast<size_t>(thread)].push_back(client.Send({round % 2 == 0 ? "Small" : "Large"}));
            }
        });
    }
    for (auto& own : futures) {
        for (int round = 0; round < kRounds; ++round) {
            EXPECT_EQ(own[static_cast<size_t>(round)].get().body,
                      round % 2 == 0 ? "small" : std::string(Server::kLargeSize, 'x'));
        }
    }
    ExpectNothingLeft();
}

RACE_IN_CHILD(FunctionsThatThrowAndCancelEndTheirRequestsOnce) {
    const Server server;
    std::atomic<int> reported{0};
    std::atomic<int> outcomes{0};
    Options options = To(server);
    options.on_exception = [&](const std::exception_ptr&) { ++reported; };
    const Client client(std::move(options));
    RunOnThreads([&](int) {
        for (int round = 0; round < kRounds; ++round) {
            Message message("Large");
            message.on_progress = [round](const Progress& progress) {
                if (round % 2 == 0) throw std::runtime_error("no");
                progress.Cancel();
            };
            const Request request = client.Send(std::move(message), [&](const Outcome&) {
                ++outcomes;
                throw std::runtime_error("no");
            });
            request.Wait();
        }
    });
    EXPECT_EQ(outcomes, kThreads * kRounds);
    EXPECT_EQ(reported, kThreads * kRounds);
    ExpectNothingLeft();
}

RACE_IN_CHILD(AClientThatGoesWhileTheNetworkComesAndGoesIsNotToldAnyMore) {
    host::SpeedUp(500, 1);
    host::modem::Install();
    const Server server;
    std::atomic<bool> over{false};
    std::thread network([&] {
        for (int round = 0; !over; ++round) {
            round % 2 == 0 ? host::modem::Dial() : host::modem::HangUp();
            std::this_thread::sleep_for(std::chrono::milliseconds(15));
        }
    });
    {
        int changes = 0;  // without a lock: the calls follow each other, and none comes when the Client has gone
        std::atomic<bool> enough{false};
        Options options = To(server);
        options.connection = Connection::kDialUp;
        options.on_connection = [&](bool) { enough = ++changes > 5; };
        std::optional<Client> client(std::in_place, std::move(options));
        EXPECT_TRUE(host::AwaitThat([&] { return enough.load(); }));
        client.reset();
        EXPECT_GT(changes, 5);
        changes = 0;
        const int looks = host::modem::Looks();
        EXPECT_TRUE(host::AwaitThat([&] { return host::modem::Looks() > looks + 20; }));
        EXPECT_EQ(changes, 0);
    }
    over = true;
    network.join();
    ExpectNothingLeft(3);
}

}  // namespace
}  // namespace wpk::client_test
