// The library's start-up and the way of a call, on an instance of the test's own.
// SPDX-License-Identifier: MIT
#include "library/start_up.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "library/call.h"
#include "support/field_at.h"
#include "support/lib_thread.h"

namespace wpk::core {
namespace {

struct Notified {
    Semaphore arrived{SemaphoreKind::kSignal};
    std::atomic<uint32_t> count{0};
    uint32_t reason = 99;
    uint32_t connected = 99;
    int error = 0;
    uint32_t thread = 0;
    /// Of the notification's thread.
    UniqueHandle end;
    /// Done inside the callback, after all the above.
    std::function<void()> inside;
};

void OnNotification(WPK_CALLBACKSTRUCT* notification) {
    auto* notified = static_cast<Notified*>(notification->lpUserData);
    notified->reason = notification->nReason;
    if (notification->nReason == WPK_REASON_CONNECTION) notified->connected = notification->body.connection.dwConnected;
    if (notification->nReason == WPK_REASON_FAILURE) notified->error = notification->body.failure.nError;
    notified->thread = GetCurrentThreadId();
    notified->end.Reset(OpenThread(SYNCHRONIZE | THREAD_QUERY_INFORMATION, /*bInheritHandle=*/FALSE, notified->thread));
    if (notified->inside) notified->inside();
    ++notified->count;
    notified->arrived.Signal();
}

class StartUp : public ::testing::Test {
protected:
    StartUp() {
        record_.lpfnCallback = OnNotification;
        record_.lpUserData = &notified_;
        record_.nConnectionType = WPK_CONNECTION_PERMANENT;
    }

    void TearDown() override { StopLibrary(global_); }

    /// The library itself never stops once it is initialised: a test must.
    static void StopLibrary(GlobalObject& global) {
        if (global.netOutbound.Started() != 0) test::AwaitThreads(1);
        ThreadLib::Attach();
        global.netOutbound.Stop();
        test::ShutDownLayer();
    }

    uint32_t Send(WPK_SENDSTRUCT& message) {
        return Call(global_, kCommandSend, uint64_t{reinterpret_cast<uintptr_t>(&message)});
    }

    WPK_INITSTRUCT record_{};
    Notified notified_;
    GlobalObject global_;
};

TEST_F(StartUp, NothingRunsBeforeIt) {
    WPK_SENDSTRUCT message;
    EXPECT_EQ(Send(message), 0u);
    EXPECT_EQ(Call(global_, kCommandCancel, 4), 0u);
    EXPECT_EQ(message.lpfnCallback, nullptr) << "the record is not touched";
    EXPECT_EQ(notified_.count, 0u);
}

TEST_F(StartUp, APermanentNetworkStartsTheSocketsAndTellsNothing) {
    EXPECT_EQ(Initialise(global_, record_), 1);
    EXPECT_EQ(global_.initialised, 1u);
    EXPECT_EQ(global_.transport.connectionStatus, 1u);
    EXPECT_EQ(notified_.count, 0u);
}

TEST_F(StartUp, NeverConnectedTellsTheDefaultCallbackOnceOnAThreadOfItsOwn) {
    record_.nConnectionType = WPK_CONNECTION_NEVER;
    global_.transport.connectionStatus = 1;
    EXPECT_EQ(Initialise(global_, record_), 1);
    notified_.arrived.Wait();
    EXPECT_EQ(notified_.reason, static_cast<uint32_t>(WPK_REASON_CONNECTION));
    EXPECT_EQ(notified_.connected, 0u);
    EXPECT_NE(notified_.thread, GetCurrentThreadId());
    EXPECT_EQ(global_.transport.connectionStatus, 0u);
}

TEST_F(StartUp, TheThreadThatTellsItHasNoNameAndEndsWithExitCodeOne) {
    record_.nConnectionType = WPK_CONNECTION_NEVER;
    bool hasName = true;
    notified_.inside = [&hasName] {
        ThreadRegistry* registry = ThreadLib::processRegistry;
        const ScopedLock lock(registry->Lock());
        hasName = registry->Find(GetCurrentThreadId())->name != nullptr;
    };
    ASSERT_EQ(Initialise(global_, record_), 1);
    notified_.arrived.Wait();
    ASSERT_TRUE(static_cast<bool>(notified_.end));
    WaitForSingleObject(notified_.end.Get(), INFINITE);
    DWORD exitCode = 99;
    ASSERT_TRUE(GetExitCodeThread(notified_.end.Get(), &exitCode));
    EXPECT_EQ(exitCode, 1u);
    EXPECT_FALSE(hasName);
}

TEST_F(StartUp, ASendFromTheFirstNotificationIsServed) {
    record_.nConnectionType = WPK_CONNECTION_NEVER;
    Notified ofMessage;
    WPK_SENDSTRUCT message;
    message.lpfnCallback = OnNotification;
    message.lpUserData = &ofMessage;
    uint32_t handle = 0;
    // It comes while the initialisation may still be under way, and waits for that.
    notified_.inside = [&] { handle = Send(message); };
    ASSERT_EQ(Initialise(global_, record_), 1);
    notified_.arrived.Wait();
    ofMessage.arrived.Wait();
    EXPECT_EQ(handle, ofMessage.thread);
    EXPECT_EQ(ofMessage.reason, static_cast<uint32_t>(WPK_REASON_FAILURE));
}

TEST_F(StartUp, AnUnknownConnectionTypeLeavesTheStatusAlone) {
    for (WPK_INT64 type : {WPK_INT64{4}, WPK_INT64{-1}, WPK_INT64{1} << 32}) {
        GlobalObject global;
        record_.nConnectionType = type;
        EXPECT_EQ(Initialise(global, record_), 1) << type;
        EXPECT_EQ(global.transport.connectionStatus, 0u);
        EXPECT_EQ(notified_.count, 0u);
        StopLibrary(global);
    }
}

TEST_F(StartUp, ASecondOneReturnsOneAndLeavesTheFirstSettingsInForce) {
    record_.lpszProxyServer = "first";
    EXPECT_EQ(Initialise(global_, record_), 1);
    WPK_INITSTRUCT second{};
    second.lpszProxyServer = "second";
    EXPECT_EQ(Initialise(global_, second), 1);
    EXPECT_STREQ(global_.transport.settings.ProxyServer().CStr(), "first");
    EXPECT_EQ(global_.transport.settings.DefaultCallback(), OnNotification);
}

TEST_F(StartUp, TheApplicationsThreadIsNotLeftRegistered) {
    EXPECT_EQ(Initialise(global_, record_), 1);
    EXPECT_EQ(test::StateOf(GetCurrentThreadId()), ThreadState::kEnded);
    WPK_SENDSTRUCT message;
    EXPECT_NE(Send(message), 0u);
    EXPECT_EQ(test::StateOf(GetCurrentThreadId()), ThreadState::kEnded);
    notified_.arrived.Wait();
}

TEST_F(StartUp, ASendFromARegisteredThreadDoesNotDetachIt) {
    EXPECT_EQ(Initialise(global_, record_), 1);
    ASSERT_EQ(ThreadLib::Attach(), 1u);
    WPK_SENDSTRUCT message;
    EXPECT_NE(Send(message), 0u);
    EXPECT_EQ(test::StateOf(GetCurrentThreadId()), ThreadState::kRunning);
    EXPECT_EQ(ThreadLib::Detach(), 1u);
    notified_.arrived.Wait();
}

TEST_F(StartUp, ASendFromTheReason3CallbackDuringItWaitsForItsEndAndIsServed) {
    WPK_SENDSTRUCT message;
    Notified own;
    message.lpfnCallback = OnNotification;
    message.lpUserData = &own;
    struct Sending {
        GlobalObject& global;
        WPK_SENDSTRUCT& message;
        Semaphore sent{SemaphoreKind::kSignal};
        uint32_t handle = 0;
        ThreadState stateAfterwards = ThreadState::kEnded;
    } sending{global_, message};
    record_.nConnectionType = WPK_CONNECTION_NEVER;
    record_.lpUserData = &sending;
    record_.lpfnCallback = [](WPK_CALLBACKSTRUCT* notification) {
        auto* now = static_cast<Sending*>(notification->lpUserData);
        now->handle = Call(now->global, kCommandSend, uint64_t{reinterpret_cast<uintptr_t>(&now->message)});
        now->stateAfterwards = test::StateOf(GetCurrentThreadId());
        now->sent.Signal();
    };
    EXPECT_EQ(Initialise(global_, record_), 1);
    sending.sent.Wait();
    EXPECT_NE(sending.handle, 0u);
    EXPECT_EQ(sending.stateAfterwards, ThreadState::kRunning) << "a thread of the layer stays registered";
    own.arrived.Wait();
    EXPECT_EQ(own.error, WPK_ERROR_BAD_REQUEST) << "an empty server";
}

/// Holds up whoever attaches to what it observes.
class HeldNotification : public Observer {
public:
    explicit HeldNotification(Observable& observed) : observed_(observed) {
        observed.Attach(this);
        holder_.emplace([this] { observed_.Notify(nullptr); });
        held_.Wait();
    }

    void LetGo() {
        isLetGo_ = true;
        letGo_.Signal();
        holder_->Join();
    }
    bool IsLetGo() const { return isLetGo_; }

    uint32_t Update(Observable*, void*) override {
        if (once_.exchange(true)) return 0;
        held_.Signal();
        letGo_.Wait();
        return 0;
    }

private:
    Observable& observed_;
    Semaphore held_{SemaphoreKind::kSignal}, letGo_{SemaphoreKind::kSignal};
    std::atomic<bool> once_{false}, isLetGo_{false};
    std::optional<test::OutsideThread> holder_;
};

TEST_F(StartUp, ASendDuringAnInitialisationThatIsHeldUpWaitsAndIsThenServed) {
    HeldNotification hold(global_.modemDetection);
    int initialised = 0;
    test::OutsideThread starter([&] { initialised = Initialise(global_, record_); });
    // The service is there before the observer is attached.
    while (global_.netOutbound.Started() == 0) Sleep(1);
    WPK_SENDSTRUCT message;
    uint32_t handle = 0;
    bool waited = false;
    test::OutsideThread sender([&] {
        handle = Send(message);
        waited = hold.IsLetGo();
    });
    hold.LetGo();
    starter.Join();
    sender.Join();
    // Tried in every order by the native explorer, as the next one.
    EXPECT_TRUE(waited);
    EXPECT_EQ(initialised, 1);
    ASSERT_NE(handle, 0u);
    notified_.arrived.Wait();
    EXPECT_EQ(notified_.error, WPK_ERROR_BAD_REQUEST);
}

/// Keeps the outbound service's front desk from receiving. It is suspended where it stands in its wait.
class HeldDesk {
public:
    explicit HeldDesk(const GlobalObject& global) {
        const auto id = test::FieldAt<uint32_t>(&global.netOutbound, kDeskIdOffset);
        test::AwaitState(id, ThreadState::kReceiveBlocked);
        desk_.Reset(OpenThread(THREAD_SUSPEND_RESUME, /*bInheritHandle=*/FALSE, id));
        SuspendThread(desk_.Get());
    }
    void LetGo() {
        isLetGo_ = true;
        ResumeThread(desk_.Get());
    }
    bool IsLetGo() const { return isLetGo_; }

    /// Until a thread's message lies at the desk.
    static void AwaitPosted(uint32_t id) {
        while (test::StateOf(id) == ThreadState::kEnded || test::StateOf(id) == ThreadState::kRunning) Sleep(1);
    }

private:
    static constexpr size_t kDeskIdOffset = sizeof(void*) + sizeof(uint32_t);

    UniqueHandle desk_;
    std::atomic<bool> isLetGo_{false};
};

TEST_F(StartUp, ARepeatedOneWaitsForACallInProgress) {
    EXPECT_EQ(Initialise(global_, record_), 1);
    HeldDesk desk(global_);
    WPK_SENDSTRUCT message;
    test::OutsideThread sender([&] { EXPECT_NE(Send(message), 0u); });
    HeldDesk::AwaitPosted(sender.Id());
    bool waited = false;
    test::OutsideThread starter([&] {
        EXPECT_EQ(Initialise(global_, record_), 1);
        waited = desk.IsLetGo();
    });
    desk.LetGo();
    starter.Join();
    sender.Join();
    EXPECT_TRUE(waited);
    notified_.arrived.Wait();
}

TEST_F(StartUp, SendsPostedTogetherGetDifferentHandles) {
    EXPECT_EQ(Initialise(global_, record_), 1);
    const Semaphore bothSent(SemaphoreKind::kSignal);
    struct Sender {
        const Semaphore& mayEnd;
        WPK_SENDSTRUCT message;
        uint32_t handle = 0;
        std::optional<test::OutsideThread> thread;
    } senders[2] = {{bothSent, {}, 0, {}}, {bothSent, {}, 0, {}}};
    HeldDesk desk(global_);
    for (Sender& sender : senders) {
        sender.message.lpUserData = &sender;
        sender.message.lpfnCallback = [](WPK_CALLBACKSTRUCT* notification) {
            // The first one passes it on to the other.
            const Semaphore& mayEnd = static_cast<Sender*>(notification->lpUserData)->mayEnd;
            mayEnd.Wait();
            mayEnd.Signal();
        };
        sender.thread.emplace([&sender, this] { sender.handle = Send(sender.message); });
        HeldDesk::AwaitPosted(sender.thread->Id());
    }
    desk.LetGo();
    for (Sender& sender : senders) sender.thread->Join();
    EXPECT_NE(senders[0].handle, 0u);
    EXPECT_NE(senders[1].handle, 0u);
    EXPECT_NE(senders[0].handle, senders[1].handle);
    bothSent.Signal();
    test::AwaitThreads(1);
}

TEST_F(StartUp, TheTextsOfTheRecordAreCopied) {
    char proxy[] = "proxy";
    record_.lpszProxyServer = proxy;
    record_.lpszProxyUser = proxy;
    record_.lpszProxyPassword = proxy;
    EXPECT_EQ(Initialise(global_, record_), 1);
    proxy[0] = 'X';
    EXPECT_STREQ(global_.transport.settings.ProxyServer().CStr(), "proxy");
    Credentials copy;
    ASSERT_TRUE(global_.transport.settings.CopyProxyCredentials(copy));
    EXPECT_EQ(copy.user.View(), "proxy");
    EXPECT_EQ(copy.password.View(), "proxy");
}

TEST_F(StartUp, OfSeveralThreadsAtOnceOneStartsAndAllSucceed) {
    struct Caller {
        GlobalObject* global;
        const WPK_INITSTRUCT* record;
        int result;
    };
    Caller callers[8];
    UniqueHandle threads[8];
    for (int i = 0; i < 8; ++i) {
        callers[i] = {&global_, &record_, 0};
        threads[i].Reset(reinterpret_cast<HANDLE>(_beginthreadex(
            nullptr, 0,
            [](void* argument) -> unsigned {
                auto* caller = static_cast<Caller*>(argument);
                caller->result = Initialise(*caller->global, *caller->record);
                return 0;
            },
            &callers[i], 0, nullptr)));
    }
    for (const UniqueHandle& thread : threads) WaitForSingleObject(thread.Get(), INFINITE);
    for (const Caller& caller : callers) EXPECT_EQ(caller.result, 1);
    EXPECT_EQ(global_.netOutbound.Started(), 1u);
}

}  // namespace
}  // namespace wpk::core
