// The detection of modem connections, on scripted remote access.
// SPDX-License-Identifier: MIT
#include "env/modem_detection_service.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/lib_thread.h"
#include "unit/env/fake_modules.h"

#ifndef _WIN32
#include "fake_platform/control.h"
#endif

namespace wpk::core {
namespace {

using test::Failing;
using test::ModemIn;
using test::Nothing;
using test::Scene;
using Trace = std::vector<std::string>;
using States = std::vector<uint32_t>;

constexpr DWORD kDialling = 5;
constexpr char kEnum[] = "WRAPPER_RasEnumConnections";
constexpr char kStatus[] = "WRAPPER_RasGetConnectStatus";

/// Long enough for a whole script, too short to be waited for.
constexpr DWORD kQuick = 1;

class Detection : public ModemDetectionService {
public:
    using ModemDetectionService::ModemDetectionService;

    using ModemDetectionService::StopRequested;

    uint32_t Stop() { return StopDesk(); }

    /// Until the front desk has begun to stop the Peeker.
    void AwaitStopRequest() const {
        EXPECT_TRUE(test::AwaitThat([this] { return StopRequested() != 0; }));
    }
};

/// For an event that must not come: whoever could bring it has nothing else left to do, and needs no time for it.
constexpr DWORD kLongEnough = 200;

class Recorder : public Observer {
public:
    uint32_t Update(Observable* source, void* arg) override {
        EXPECT_EQ(source, expectedSource);
        EXPECT_EQ(static_cast<const ModemDetectionService*>(expectedSource)->Connected(),
                  *static_cast<const uint32_t*>(arg));
        const ScopedLock lock(lock_);
        states_.push_back(*static_cast<const uint32_t*>(arg));
        thread_ = GetCurrentThreadId();
        told_.Signal();
        if (throwing) throw std::runtime_error("from an observer");
        return 0;
    }

    States All() const {
        const ScopedLock lock(lock_);
        return states_;
    }
    uint32_t Thread() const {
        const ScopedLock lock(lock_);
        return thread_;
    }
    void AwaitFirst() const {
        while (All().empty()) told_.Wait();
    }

    Observable* expectedSource = nullptr;
    bool throwing = false;

private:
    Semaphore lock_{SemaphoreKind::kLock};
    Semaphore told_{SemaphoreKind::kSignal};
    States states_;
    uint32_t thread_ = 0;
};

class ModemDetectionServiceTest : public test::ThreadLayer {
protected:
    ModemDetectionServiceTest() {
        recorder_.expectedSource = &detection_;
        detection_.Attach(&recorder_);
        AddRemoteAccess();
    }

    void TearDown() override {
        Stop();
        ThreadLayer::TearDown();
    }

    void AddRemoteAccess() {
        modules_.Add("rasapi32.dll");
        modules_.Add("wpk.dll", kEnum, test::script::EnumConnections);
        modules_.Add("wpk.dll", kStatus, test::script::GetConnectStatus);
    }

    /// Plays the scenes, looks at the last one a second time, and stops. All states that were told.
    States StatesTold(std::vector<Scene> scenes) {
        const auto count = static_cast<uint32_t>(scenes.size());
        test::script::Play(std::move(scenes));
        EXPECT_EQ(detection_.Start(), 1u);
        // After a change the next look follows at once, so the last scene may be seen three times.
        test::script::AwaitEnumerations(count + 2);
        Stop();
        return recorder_.All();
    }

    /// The Peeker has ended, down to its last instruction.
    void Stop() {
        if (detection_.Started() == 0) return;
        recorder_.AwaitFirst();
        const UniqueHandle peeker = ThreadLib::OpenForWait(recorder_.Thread());
        EXPECT_EQ(detection_.Stop(), 1u);
        if (peeker) WaitForSingleObject(peeker.Get(), INFINITE);
    }

    test::FakeModules modules_;
    Recorder recorder_;
    Detection detection_{modules_.Calls(), kQuick};
};

// What is told.

TEST_F(ModemDetectionServiceTest, WithoutAnyModemConnectionZeroIsToldOnceAndNothingMore) {
    EXPECT_EQ(StatesTold({Nothing(), Nothing(), Nothing(), Nothing(), Nothing()}), (States{0}));
}

TEST_F(ModemDetectionServiceTest, AModemThatComesUpAndHangsUpIsToldOnceEach) {
    EXPECT_EQ(
        StatesTold({Nothing(), ModemIn(kRasConnected), ModemIn(kRasConnected), ModemIn(kRasConnected), Nothing()}),
        (States{0, 1, 0}));
}

TEST_F(ModemDetectionServiceTest, AModemThatIsUpAtTheStartIsToldAfterTheInitialZero) {
    EXPECT_EQ(StatesTold({ModemIn(kRasConnected)}), (States{0, 1}));
}

TEST_F(ModemDetectionServiceTest, AModemInDisconnectedStateHasGone) {
    EXPECT_EQ(StatesTold({ModemIn(kRasConnected), ModemIn(kRasDisconnected)}), (States{0, 1, 0}));
}

TEST_F(ModemDetectionServiceTest, DiallingIsNeitherUpNorGone) {
    EXPECT_EQ(StatesTold({ModemIn(0), ModemIn(kDialling), ModemIn(kRasConnected), ModemIn(kDialling), ModemIn(0)}),
              (States{0, 1}));
}

TEST_F(ModemDetectionServiceTest, AFailedEnumerationBringsNothingUpButTakesAConnectionDownAtOnce) {
    EXPECT_EQ(StatesTold({Failing(), Failing(), ModemIn(kRasConnected), Failing(), Failing()}), (States{0, 1, 0}));
}

TEST_F(ModemDetectionServiceTest, MoreThanTenConnectionsTakeAConnectionDownAtOnce) {
    const Scene eleven{std::vector<test::FakeConnection>(11, {"modem", kRasConnected})};
    EXPECT_EQ(StatesTold({ModemIn(kRasConnected), eleven, eleven, ModemIn(kRasConnected)}), (States{0, 1, 0, 1}));
}

TEST_F(ModemDetectionServiceTest, VpnAndIsdnConnectionsAreNeverTold) {
    const Scene others{{{"vpn", kRasConnected}, {"isdn", kRasConnected}, {"VPN", kRasDisconnected}}};
    EXPECT_EQ(StatesTold({others, others, Nothing(), others}), (States{0}));
}

TEST_F(ModemDetectionServiceTest, AnUpperCaseModemCounts) {
    EXPECT_EQ(StatesTold({{{{"MODEM", kRasConnected}}}, {{{"Modem", kRasDisconnected}}}}), (States{0, 1, 0}));
}

TEST_F(ModemDetectionServiceTest, AModemThatVanishesBesideAVpnIsStillUp) {
    // Only an empty list, or a modem that reports its end, is an end.
    EXPECT_EQ(StatesTold({ModemIn(kRasConnected), {{{"vpn", kRasConnected}}}, Nothing()}), (States{0, 1, 0}));
}

TEST_F(ModemDetectionServiceTest, OfTwoModemsTheEndOfOneIsToldAndTheOtherOneBringsTheNetworkBack) {
    const Scene oneOfTwo{{{"modem", kRasConnected}, {"modem", kRasDisconnected}}};
    EXPECT_EQ(StatesTold({oneOfTwo, oneOfTwo, oneOfTwo, Nothing()}), (States{0, 1, 0, 1, 0}));
}

TEST_F(ModemDetectionServiceTest, AModemWhoseStateCannotBeReadChangesNothing) {
    const Scene unreadable{{{"modem", kRasConnected, ERROR_INVALID_HANDLE}}};
    EXPECT_EQ(StatesTold({unreadable, ModemIn(kRasConnected), unreadable, unreadable}), (States{0, 1}));
}

TEST_F(ModemDetectionServiceTest, ManyUpsAndDownsAreToldOneByOne) {
    std::vector<Scene> scenes;
    States expected{0};
    for (uint32_t i = 0; i < 50; ++i) {
        scenes.push_back(ModemIn(kRasConnected));
        scenes.push_back(Nothing());
        expected.push_back(1);
        expected.push_back(0);
    }
    EXPECT_EQ(StatesTold(scenes), expected);
}

TEST_F(ModemDetectionServiceTest, ObserversAreToldOnThePeeker) {
    test::script::Play({Nothing()});
    ASSERT_EQ(detection_.Start(), 1u);
    recorder_.AwaitFirst();
    ThreadRegistry* registry = ThreadLib::processRegistry;
    const ScopedLock lock(registry->Lock());
    EXPECT_STREQ(registry->Find(recorder_.Thread())->name.get(), "ModemDetectionService::Peeker");
}

// The wait.

TEST_F(ModemDetectionServiceTest, TheProductPollsEveryFiveSeconds) {
    EXPECT_EQ(ModemDetectionService::kPollPeriodMs, 5000u);
}

TEST_F(ModemDetectionServiceTest, AStopWhileWaitingEndsThePeekerAtOnceWithoutAnotherNotification) {
    for (const bool up : {false, true}) {
        // Nobody waits for the end of this period: only the signal ends it.
        Detection detection(modules_.Calls(), INFINITE);
        Recorder recorder;
        recorder.expectedSource = &detection;
        detection.Attach(&recorder);
        test::script::Play({up ? ModemIn(kRasConnected) : Nothing()});
        ASSERT_EQ(detection.Start(), 1u);
        test::script::AwaitEnumerations(up ? 2 : 1);
        const UniqueHandle peeker = ThreadLib::OpenForWait(recorder.Thread());
        EXPECT_EQ(detection.Stop(), 1u);
        if (peeker) WaitForSingleObject(peeker.Get(), INFINITE);
        EXPECT_EQ(recorder.All(), up ? (States{0, 1}) : (States{0}));
        EXPECT_EQ(modules_.Loaded("wpk.dll"), 0);
    }
}

TEST_F(ModemDetectionServiceTest, TheStopReturnsOnlyAfterThePeekersLastNotification) {
    class Blocker : public Observer {
    public:
        uint32_t Update(Observable*, void*) override {
            entered.Signal();
            allowed.Wait();
            // For good: a second notification is a fault to be seen, not one to be waited for.
            allowed.Signal();
            return 1;
        }
        Semaphore entered{SemaphoreKind::kSignal}, allowed{SemaphoreKind::kSignal};
    } blocker;
    detection_.Attach(&blocker);
    test::script::Play({ModemIn(kRasConnected)});
    ASSERT_EQ(detection_.Start(), 1u);
    blocker.entered.Wait();
    const Semaphore stopped(SemaphoreKind::kSignal);
    test::LibThread stopper = test::LibThread::Started([&] {
        Stop();
        stopped.Signal();
        return 0u;
    });
    detection_.AwaitStopRequest();
    EXPECT_FALSE(stopped.WaitFor(kLongEnough));
    EXPECT_EQ(modules_.Loaded("wpk.dll"), 1);
    blocker.allowed.Signal();
    stopper.Join();
    EXPECT_EQ(modules_.Loaded("wpk.dll"), 0);
    EXPECT_EQ(recorder_.All(), (States{0})) << "the stop came before the next one";
}

/// A stop that comes while the Peeker takes the look after which it would tell a change.
class StopInsideALook : public ModemDetectionServiceTest {
protected:
    /// The states told until then; the stop comes in the last scene.
    States StatesToldBeforeTheStopIn(std::vector<Scene> scenes) {
        const auto last = static_cast<uint32_t>(scenes.size());
        test::script::Play(std::move(scenes));
        Semaphore inside(SemaphoreKind::kSignal);
        test::script::RunInEnumeration(last, [&] {
            inside.Signal();
            endless_.AwaitStopRequest();
        });
        EXPECT_EQ(endless_.Start(), 1u);
        inside.Wait();
        const UniqueHandle peeker = ThreadLib::OpenForWait(endlessRecorder_.Thread());
        EXPECT_EQ(endless_.Stop(), 1u);
        if (peeker) WaitForSingleObject(peeker.Get(), INFINITE);
        return endlessRecorder_.All();
    }

    void SetUp() override {
        ModemDetectionServiceTest::SetUp();
        endlessRecorder_.expectedSource = &endless_;
        endless_.Attach(&endlessRecorder_);
    }

    Recorder endlessRecorder_;
    /// Whose waits only a signal ends.
    Detection endless_{modules_.Calls(), INFINITE};
};

TEST_F(StopInsideALook, AtAModemThatHasComeUpTellsNothingAnyMore) {
    EXPECT_EQ(StatesToldBeforeTheStopIn({ModemIn(kRasConnected)}), (States{0}));
}

TEST_F(StopInsideALook, AtAModemThatHasGoneTellsNothingAnyMore) {
    EXPECT_EQ(StatesToldBeforeTheStopIn({ModemIn(kRasConnected), Nothing()}), (States{0, 1}));
}

TEST_F(StopInsideALook, LeavesASignalAtWhichTheNextPeekerLooksOnceMore) {
    EXPECT_EQ(StatesToldBeforeTheStopIn({ModemIn(kRasConnected)}), (States{0}));
    // The second look comes by the signal alone; it is no stop, for nobody has requested one.
    test::script::Play({Nothing(), ModemIn(kRasConnected)});
    ASSERT_EQ(endless_.Start(), 1u);
    test::script::AwaitEnumerations(3);
    const UniqueHandle peeker = ThreadLib::OpenForWait(endlessRecorder_.Thread());
    EXPECT_EQ(endless_.Stop(), 1u);
    if (peeker) WaitForSingleObject(peeker.Get(), INFINITE);
    EXPECT_EQ(endlessRecorder_.All(), (States{0, 0, 1}));
}

TEST_F(ModemDetectionServiceTest, WhileAModemIsUpThePeekerWaitsBetweenTwoLooks) {
    Detection detection(modules_.Calls(), INFINITE);
    Recorder recorder;
    recorder.expectedSource = &detection;
    detection.Attach(&recorder);
    test::script::Play({ModemIn(kRasConnected)});
    ASSERT_EQ(detection.Start(), 1u);
    // One look finds the modem, and the next one finds it still there.
    test::script::AwaitEnumerations(2);
    const Semaphore third(SemaphoreKind::kSignal);
    test::script::RunInEnumeration(3, [&] { third.Signal(); });
    EXPECT_FALSE(third.WaitFor(kLongEnough));
    const UniqueHandle peeker = ThreadLib::OpenForWait(recorder.Thread());
    EXPECT_EQ(detection.Stop(), 1u);
    if (peeker) WaitForSingleObject(peeker.Get(), INFINITE);
}

TEST_F(ModemDetectionServiceTest, AnObserverThatThrowsEndsThePeekerAndTheStopStillReturns) {
    recorder_.throwing = true;
    test::script::Play({Nothing()});
    ASSERT_EQ(detection_.Start(), 1u);
    Stop();
    EXPECT_EQ(recorder_.All(), (States{0}));
}

TEST_F(ModemDetectionServiceTest, AStoppedServiceStartsAgain) {
    EXPECT_EQ(StatesTold({ModemIn(kRasConnected)}), (States{0, 1}));
    EXPECT_EQ(StatesTold({ModemIn(kRasConnected)}), (States{0, 1, 0, 1})) << "it does not remember the last connection";
}

// The start.

TEST_F(ModemDetectionServiceTest, TheStartProbesRemoteAccessAndTakesTheWrappersFromTheLibrarysModule) {
    EXPECT_EQ(StatesTold({Nothing()}), (States{0}));
    EXPECT_EQ(modules_.Trace(), (Trace{"load rasapi32.dll", "free rasapi32.dll", "load wpk.dll",
                                       std::string("find ") + kEnum + " in wpk.dll",
                                       std::string("find ") + kStatus + " in wpk.dll", "free wpk.dll"}));
    EXPECT_TRUE(detection_.ErrorText().Empty());
}

TEST_F(ModemDetectionServiceTest, WithoutRemoteAccessTheStartIsRefusedWithoutAnErrorText) {
    modules_.Remove("rasapi32.dll");
    EXPECT_EQ(detection_.Start(), 0u);
    EXPECT_TRUE(detection_.ErrorText().Empty());
    EXPECT_EQ(modules_.Trace(), (Trace{"load rasapi32.dll"}));
    EXPECT_TRUE(recorder_.All().empty());
}

TEST_F(ModemDetectionServiceTest, WithoutTheLibrarysModuleTheStartIsRefusedWithTheSystemsError) {
    modules_.Remove("wpk.dll");
    EXPECT_EQ(detection_.Start(), 0u);
    EXPECT_STREQ(detection_.ErrorText().CStr(),
                 "GetLastError() = 126, (Modem not found.  Please make sure the modem is installed properly.)");
    EXPECT_TRUE(recorder_.All().empty());
}

TEST_F(ModemDetectionServiceTest, WithoutAWrapperTheStartIsRefusedAndTheModuleStaysLoaded) {
    for (const bool enumMissing : {false, true}) {
        modules_.Remove("wpk.dll");
        if (enumMissing) {
            modules_.Add("wpk.dll", kStatus, test::script::GetConnectStatus);
        } else {
            modules_.Add("wpk.dll", kEnum, test::script::EnumConnections);
        }
        const int loaded = modules_.Loaded("wpk.dll");
        EXPECT_EQ(detection_.Start(), 0u);
        EXPECT_STREQ(detection_.ErrorText().CStr(),
                     "GetLastError() = 127, (function not found.  Please make sure the modem is installed properly.)");
        EXPECT_EQ(modules_.Loaded("wpk.dll"), loaded + 1);
    }
    EXPECT_TRUE(recorder_.All().empty());
}

TEST_F(ModemDetectionServiceTest, AStartThatWasRefusedMayBeTriedAgain) {
    modules_.Remove("rasapi32.dll");
    ASSERT_EQ(detection_.Start(), 0u);
    AddRemoteAccess();
    EXPECT_EQ(StatesTold({ModemIn(kRasConnected)}), (States{0, 1}));
}

// Only the fake platform can make a call fail.
#ifndef _WIN32
TEST_F(ModemDetectionServiceTest, AStartRefusedAfterItsModuleWasLoadedGivesItBackAndTheQueriesFindNothing) {
    // The desk has been made by then: this is the Peeker.
    host::FailCall("_beginthreadex", 2);
    test::script::Play({ModemIn(kRasConnected)});
    EXPECT_EQ(detection_.Start(), 0u);
    EXPECT_EQ(host::FaultsFired(), 1u);
    host::ClearFaults();
    EXPECT_EQ(modules_.Loaded("wpk.dll"), 0);
    EXPECT_FALSE(detection_.IsModemConnected());
    EXPECT_TRUE(detection_.IsModemDisconnected());
    EXPECT_EQ(test::script::Enumerations(), 0u);
    EXPECT_EQ(StatesTold({ModemIn(kRasConnected)}), (States{0, 1})) << "it may be tried again";
}
#endif

// The queries.

TEST_F(ModemDetectionServiceTest, TheQueriesMayBeAskedWhileTheServiceStartsAndStops) {
    std::atomic<bool> over{false};
    test::LibThread asking = test::LibThread::Started([&] {
        while (!over) {
            detection_.IsModemConnected();
            detection_.IsModemDisconnected();
        }
        return 0u;
    });
    test::script::Play({ModemIn(kRasConnected)});
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(detection_.Start(), 1u);
        Stop();
    }
    over = true;
    asking.Join();
}

TEST_F(ModemDetectionServiceTest, TheQueriesLookAfreshWhateverWasToldLast) {
    struct {
        Scene scene;
        bool connected, disconnected;
    } const rows[] = {{Nothing(), false, true},
                      {Failing(), false, true},
                      {ModemIn(kRasConnected), true, false},
                      {ModemIn(kRasDisconnected), false, true},
                      {ModemIn(kDialling), false, false},
                      {{{{"vpn", kRasConnected}}}, false, false},
                      {{{{"modem", kRasConnected}, {"modem", kRasDisconnected}}}, true, true}};
    // The Peeker looks once or twice, then waits without end.
    Detection detection(modules_.Calls(), INFINITE);
    recorder_.expectedSource = &detection;
    detection.Attach(&recorder_);
    test::script::Play({Nothing()});
    ASSERT_EQ(detection.Start(), 1u);
    test::script::AwaitEnumerations(1);
    for (const auto& row : rows) {
        test::script::Play({row.scene});
        EXPECT_EQ(detection.IsModemConnected(), row.connected);
        EXPECT_EQ(detection.IsModemDisconnected(), row.disconnected);
    }
    EXPECT_EQ(recorder_.All(), (States{0})) << "nobody is told";
    const UniqueHandle peeker = ThreadLib::OpenForWait(recorder_.Thread());
    detection.Stop();
    if (peeker) WaitForSingleObject(peeker.Get(), INFINITE);
}

TEST_F(ModemDetectionServiceTest, WhileTheServiceDoesNotRunNoModemIsConnected) {
    EXPECT_FALSE(detection_.IsModemConnected());
    EXPECT_TRUE(detection_.IsModemDisconnected());
    EXPECT_EQ(detection_.Connected(), 0u);
    EXPECT_EQ(StatesTold({ModemIn(kRasConnected)}), (States{0, 1}));
    EXPECT_FALSE(detection_.IsModemConnected());
    EXPECT_TRUE(detection_.IsModemDisconnected());
}

}  // namespace
}  // namespace wpk::core
