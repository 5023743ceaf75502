// Whole scenarios with every platform call made to fail, one use after the other, once and for good.
// SPDX-License-Identifier: MIT
//
// Each scenario first runs undisturbed, to count the uses of every call. Then it runs once for every use, in a process
// of its own, with that use failing. Whatever happens to the requests then: each one with a handle ends with exactly
// one final notification, nothing stays open, no handle is misused, and afterwards the library works.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <ostream>
#include <vector>

#include "env/global_object.h"
#include "host/child_process.h"
#include "host/control.h"
#include "host/scene.h"
#include "library/call.h"
#include "library/start_up.h"

namespace wpk::host {
namespace {

/// So that the thirty seconds of a connect that never succeeds do not take that long.
constexpr uint32_t kSpeed = 50;
/// So that a request waits for its reply in the same number of steps on every machine.
constexpr uint32_t kSelectSpeed = 1;

/// A process in which a scenario runs.
class Stage {
public:
    Stage() {
        settings.nConnectionType = WPK_CONNECTION_PERMANENT;
        settings.lpfnCallback = [](WPK_CALLBACKSTRUCT* notification) {
            auto* stage = static_cast<Stage*>(notification->lpUserData);
            ++(notification->body.connection.dwConnected ? stage->comes : stage->goes);
        };
        settings.lpUserData = this;
    }

    Request& Send(const char* service) {
        requests_.push_back(std::make_unique<Request>(server.Port(), service));
        Request& request = *requests_.back();
        request.user = "u";
        request.password = "right";
        request.Send();
        return request;
    }

    void SendAndAwait(const char* service) {
        Request& request = Send(service);
        EXPECT_TRUE(request.Handle() == 0 || request.AwaitFinal()) << service;
        AwaitQuiet();
    }

    /// Until only the threads are left that are there for good.
    void AwaitQuiet() const {
        EXPECT_TRUE(AwaitThat([this] { return CountLive().threads <= lasting_threads; })) << CountLive();
    }

    /// With the faults over: the library can be initialised and carries a request, and nothing is open but what an
    /// undisturbed library keeps.
    void ExpectSound() {
        // A request that nobody could cancel ends now.
        for (auto& request : requests_) {
            if (request->Handle() != 0 && request->Finals() == 0) WPK_Cancel(request->Handle());
            EXPECT_TRUE(request->Handle() == 0 || request->AwaitFinal());
        }
        EXPECT_EQ(WPK_Init(&settings), 1);
        AwaitQuiet();
        if (DetectsModem()) DialAgain();
        Request& last = Send("Small");
        EXPECT_NE(last.Handle(), 0u);
        EXPECT_TRUE(last.AwaitFinal());
        // A library whose sockets could not be started stays without a network.
        EXPECT_EQ(last.Error(), SocketStarts() > 0 ? 0 : WPK_ERROR_NO_NETWORK);
        AwaitQuiet();
        for (auto& request : requests_) EXPECT_EQ(request->Finals(), request->Handle() != 0 ? 1 : 0);
        EXPECT_EQ(Misuses(), std::vector<std::string>());
    }

    WPK_INITSTRUCT settings{};
    Server server;
    /// Connections told to the default callback.
    std::atomic<int> comes{0};
    std::atomic<int> goes{0};
    /// The front desk; in dial-up mode the detection's as well, and its Peeker.
    int64_t lasting_threads = 1;

private:
    /// Detection has two threads of its own, unless it could not be started.
    bool DetectsModem() const { return lasting_threads == 3 && CountLive().threads == 3; }

    /// Whatever the library thought of the modem before, it then knows that it is connected.
    void DialAgain() {
        modem::HangUp();
        const int looks = modem::Looks();
        EXPECT_TRUE(AwaitThat([looks] { return modem::Looks() >= looks + 3; }));
        comes = 0;
        modem::Dial();
        EXPECT_TRUE(AwaitThat([this] { return comes > 0; }));
    }

    std::vector<std::unique_ptr<Request>> requests_;
};

struct Scenario {
    const char* name;
    /// Before the fault is armed.
    void (*prepare)(Stage&);
    void (*act)(Stage&);
    /// Whether a fault may leave a part of the library out for good.
    bool may_lack_parts = false;
};

void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

void Initialise(Stage& stage) {
    ASSERT_EQ(WPK_Init(&stage.settings), 1);
}

void InitialiseBehindProxy(Stage& stage) {
    stage.settings.bBehindProxy = 1;
    stage.settings.lpszProxyServer = "127.0.0.1";
    stage.settings.nProxyPort = stage.server.Port();
    stage.settings.lpszProxyUser = "u";
    stage.settings.lpszProxyPassword = "wrong";
    Initialise(stage);
}

void PrepareDialUp(Stage& stage) {
    // The modem is looked at every five seconds.
    SpeedUp(kSpeed * 10, kSelectSpeed);
    modem::Install();
    stage.settings.nConnectionType = WPK_CONNECTION_DIAL_UP;
    stage.lasting_threads = 3;
}

/// Until the modem's state has been told, unless a fault keeps the library from seeing it.
void AwaitTold(const std::atomic<int>& told) {
    EXPECT_TRUE(AwaitThat([&told] { return told > 0 || FaultsFired() > 0; }));
}

void DialAndHangUp(Stage& stage) {
    WPK_Init(&stage.settings);
    AwaitTold(stage.goes);
    modem::Dial();
    AwaitTold(stage.comes);
    stage.goes = 0;
    modem::HangUp();
    AwaitTold(stage.goes);
}

void DialSendAndHangUp(Stage& stage) {
    WPK_Init(&stage.settings);
    modem::Dial();
    AwaitTold(stage.comes);
    Request& request = stage.Send("Silent");
    EXPECT_TRUE(AwaitThat([&] { return stage.server.Silent() > 0 || FaultsFired() > 0; }));
    stage.goes = 0;
    modem::HangUp();
    AwaitTold(stage.goes);
    EXPECT_TRUE(AwaitThat([&] { return request.Finals() > 0 || FaultsFired() > 0; }));
}

const Scenario kScenarios[] = {
    {"Initialise", [](Stage&) {},
     [](Stage& stage) {
         WPK_Init(&stage.settings);
         stage.AwaitQuiet();
     }},
    {"InitialiseWithoutNetwork", [](Stage& stage) { stage.settings.nConnectionType = WPK_CONNECTION_NEVER; },
     [](Stage& stage) {
         WPK_Init(&stage.settings);
         stage.AwaitQuiet();
     }},
    {"InitialiseAutomatically", [](Stage& stage) { stage.settings.nConnectionType = WPK_CONNECTION_AUTOMATIC; },
     [](Stage& stage) {
         WPK_Init(&stage.settings);
         stage.AwaitQuiet();
     }},
    {"DialUp", PrepareDialUp, DialAndHangUp, /*may_lack_parts=*/true},
    {"DialUpWithRequest", PrepareDialUp, DialSendAndHangUp, /*may_lack_parts=*/true},
    {"ReplyInMemory", Initialise, [](Stage& stage) { stage.SendAndAwait("Small"); }},
    {"ReplyInFile", Initialise, [](Stage& stage) { stage.SendAndAwait("Large"); }},
    {"UnknownService", Initialise, [](Stage& stage) { stage.SendAndAwait("Unknown"); }},
    {"ServerByName", Initialise,
     [](Stage& stage) {
         Request request(stage.server.Port(), "Small");
         request.message.lpszServer = "localhost";
         EXPECT_TRUE(request.Send() == 0 || request.AwaitFinal());
         stage.AwaitQuiet();
         EXPECT_EQ(request.Finals(), request.Handle() != 0 ? 1 : 0);
     }},
    {"ProxyQuestion", InitialiseBehindProxy, [](Stage& stage) { stage.SendAndAwait("Guarded"); }},
    {"CallbackThatThrows", Initialise,
     [](Stage& stage) {
         Request request(stage.server.Port(), "Small");
         request.on_notification = [](const WPK_CALLBACKSTRUCT& notification) {
             if (notification.nReason == WPK_REASON_PROGRESS) throw 1;
         };
         request.Send();
         stage.AwaitQuiet();
     }},
    {"CancelWhileWaitingForTheReply", Initialise,
     [](Stage& stage) {
         Request& request = stage.Send("Silent");
         if (request.Handle() == 0) return;
         EXPECT_TRUE(AwaitThat([&] { return stage.server.Silent() > 0 || request.Finals() > 0; }));
         WPK_Cancel(request.Handle());
         // A cancel that fails leaves the request as it is.
         EXPECT_TRUE(AwaitThat([&] { return request.Finals() > 0 || CountLive().threads == 2; }));
     }},
};

/// What the processes of one scenario tell each other.
struct Board {
    std::array<uint64_t, 100> uses;
    Live live;
    bool fired;
};

Board& TheBoard() {
    static Board& board = *static_cast<Board*>(SharedMemory(sizeof(Board)));
    return board;
}

void RunUndisturbed(const Scenario& scenario) {
    SpeedUp(kSpeed, kSelectSpeed);
    Stage stage;
    scenario.prepare(stage);
    const std::vector<std::string_view> calls = FallibleCalls();
    std::array<uint64_t, 100> before{};
    for (size_t i = 0; i < calls.size(); ++i) before[i] = Uses(calls[i]);
    scenario.act(stage);
    for (size_t i = 0; i < calls.size(); ++i) {
        TheBoard().uses[i] = std::min(TheBoard().uses[i], Uses(calls[i]) - before[i]);
    }
    stage.ExpectSound();
    TheBoard().live = CountLive();
}

void RunWithFault(const Scenario& scenario, std::string_view call, uint64_t nth, Times times) {
    SpeedUp(kSpeed, kSelectSpeed);
    Stage stage;
    scenario.prepare(stage);
    FailCall(call, nth, times);
    scenario.act(stage);
    TheBoard().fired = FaultsFired() > 0;
    ClearFaults();
    stage.ExpectSound();
    if (scenario.may_lack_parts) {
        EXPECT_TRUE(CountLive().IsWithin(TheBoard().live)) << CountLive() << "\nnot within\n" << TheBoard().live;
    } else {
        EXPECT_EQ(CountLive(), TheBoard().live);
    }
}

/// How often a call is used varies a little with the timing. Only uses that came in each of several runs are made to
/// fail, and one that does not come then is waited for in further runs.
constexpr int kUndisturbedRuns = 3;
constexpr int kRunsUntilFired = 5;

bool FireOnce(const Scenario& scenario, std::string_view call, uint64_t nth, Times times) {
    for (int run = 0; run < kRunsUntilFired; ++run) {
        TheBoard().fired = false;
        if (!RunInChild([&] { RunWithFault(scenario, call, nth, times); })) return false;
        if (TheBoard().fired) return true;
    }
    std::puts("the fault never fired");
    return false;
}

class Faults : public testing::TestWithParam<Scenario> {};

TEST_P(Faults, LeaveNothingOpenAndTheLibraryWorking) {
    const Scenario& scenario = GetParam();
    TheBoard().uses.fill(UINT64_MAX);
    for (int run = 0; run < kUndisturbedRuns; ++run) {
        ASSERT_TRUE(RunInChild([&] { RunUndisturbed(scenario); }));
    }
    const std::array<uint64_t, 100> uses = TheBoard().uses;
    const std::vector<std::string_view> calls = FallibleCalls();
    int cases = 0;
    for (size_t i = 0; i < calls.size(); ++i) {
        for (uint64_t nth = 1; nth <= uses[i]; ++nth) {
            for (const Times times : {Times::kOnce, Times::kForGood}) {
                EXPECT_TRUE(FireOnce(scenario, calls[i], nth, times))
                    << calls[i] << " failing at use " << nth << (times == Times::kOnce ? " once" : " for good");
                ++cases;
            }
        }
    }
    EXPECT_GT(cases, 0);
    RecordProperty("cases", cases);
    std::printf("%d cases\n", cases);
}

INSTANTIATE_TEST_SUITE_P(Of, Faults, testing::ValuesIn(kScenarios),
                         [](const auto& tested) { return std::string(tested.param.name); });

constexpr char kFolders[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";

/// A machine on which the folders are gathered.
void PretendOldMachine() {
    Reset();
    SetVersion(Version(5, 1));
    SetRegistryValue(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion", "ProgramFilesDir", "C:\\P");
    for (const char* name : {"Desktop", "AppData", "Start Menu", "Programs", "Startup"}) {
        SetRegistryValue(HKEY_CURRENT_USER, kFolders, name, name);
    }
    SetRegistryValue(HKEY_USERS, std::string(".DEFAULT\\") + kFolders, "Desktop", "Desktop");
    SetRegistryValue(HKEY_LOCAL_MACHINE, kFolders, "Common Desktop", "Desktop");
}

TEST(FaultsAtLoad, LeaveNothingOpen) {
    const bool passed = RunInChild([] {
        PretendOldMachine();
        { const GlobalObject undisturbed; }
        const std::vector<std::string_view> calls = FallibleCalls();
        std::vector<uint64_t> uses;
        for (const std::string_view call : calls) uses.push_back(Uses(call));
        int cases = 0;
        for (size_t i = 0; i < calls.size(); ++i) {
            for (uint64_t nth = 1; nth <= uses[i]; ++nth) {
                PretendOldMachine();
                const Live before = CountLive();
                FailCall(calls[i], nth);
                { const GlobalObject disturbed; }
                EXPECT_EQ(FaultsFired(), 1u) << calls[i] << ' ' << nth;
                EXPECT_EQ(CountLive(), before) << calls[i] << ' ' << nth;
                EXPECT_EQ(Misuses(), std::vector<std::string>());
                ++cases;
            }
        }
        EXPECT_GT(cases, 20);
    });
    EXPECT_TRUE(passed);
}

TEST(FaultsAtLoad, WithoutItsLocksTheLibraryRefusesToInitialise) {
    const bool passed = RunInChild([] {
        FailCall("CreateSemaphoreA", 1, Times::kForGood);
        GlobalObject global;
        ClearFaults();
        WPK_INITSTRUCT settings{};
        settings.nConnectionType = WPK_CONNECTION_PERMANENT;
        settings.lpfnCallback = [](WPK_CALLBACKSTRUCT*) {};
        EXPECT_EQ(Initialise(global, settings), 0);
        EXPECT_EQ(Call(global, kCommandSend, 0), 0u);
        EXPECT_EQ(CountLive().threads, 0);
    });
    EXPECT_TRUE(passed);
}

}  // namespace
}  // namespace wpk::host
