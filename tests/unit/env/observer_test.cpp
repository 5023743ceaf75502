// Observers and what they observe.
// SPDX-License-Identifier: MIT
#include "env/observer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <vector>

#include "support/lib_thread.h"

namespace wpk::core {
namespace {

struct Call {
    const Observer* observer;
    const Observable* source;
    void* argument;
    uint32_t thread;

    bool operator==(const Call& other) const {
        return observer == other.observer && source == other.source && argument == other.argument &&
               thread == other.thread;
    }
};

class Recorder : public Observer {
public:
    explicit Recorder(std::vector<Call>& calls) : calls_(calls) {}
    uint32_t Update(Observable* source, void* arg) override {
        calls_.push_back({this, source, arg, GetCurrentThreadId()});
        return 0;  // ignored
    }

private:
    std::vector<Call>& calls_;
};

class Blocker : public Observer {
public:
    uint32_t Update(Observable*, void*) override {
        entered.Signal();
        allowed.Wait();
        done = true;
        return 1;
    }
    Semaphore entered{SemaphoreKind::kSignal}, allowed{SemaphoreKind::kSignal};
    std::atomic<bool> done{false};
};

class PlainObserver : public Observer {};

class ObservableTest : public test::ThreadLayer {
protected:
    Call CallOf(const Observer& observer) { return {&observer, &observable_, &argument_, GetCurrentThreadId()}; }

    std::vector<Call> calls_;
    Recorder first_{calls_}, second_{calls_};
    uint32_t argument_ = 1;
    Observable observable_;
};

TEST_F(ObservableTest, NotifyWithoutObserversReturnsOneAndGivesTheLockBack) {
    EXPECT_EQ(observable_.Notify(&argument_), 1u);
    EXPECT_EQ(observable_.Attach(&first_), 1u) << "the lock is free";
    EXPECT_EQ(observable_.Notify(&argument_), 1u);
}

TEST_F(ObservableTest, ObserversAreCalledInAttachmentOrderWithTheSameArgumentOnTheNotifyingThread) {
    EXPECT_EQ(observable_.Attach(&second_), 1u);
    EXPECT_EQ(observable_.Attach(&first_), 1u);
    EXPECT_EQ(observable_.Notify(&argument_), 1u);
    EXPECT_EQ(calls_, (std::vector<Call>{CallOf(second_), CallOf(first_)}));
}

TEST_F(ObservableTest, AnObserverAttachedTwiceIsCalledTwice) {
    observable_.Attach(&first_);
    observable_.Attach(&second_);
    observable_.Attach(&first_);
    observable_.Notify(&argument_);
    EXPECT_EQ(calls_, (std::vector<Call>{CallOf(first_), CallOf(second_), CallOf(first_)}));
}

TEST_F(ObservableTest, ANullObserverIsRefused) {
    EXPECT_EQ(observable_.Attach(nullptr), 0u);
    EXPECT_EQ(observable_.Attach(&first_), 1u);
    EXPECT_EQ(observable_.Attach(nullptr), 0u);
    EXPECT_EQ(observable_.Attach(&second_), 1u);
    observable_.Notify(&argument_);
    EXPECT_EQ(calls_, (std::vector<Call>{CallOf(first_), CallOf(second_)}));
}

TEST_F(ObservableTest, AttachWaitsUntilANotificationUnderWayIsOver) {
    Blocker blocker;
    observable_.Attach(&blocker);
    const Semaphore attaching(SemaphoreKind::kSignal);
    bool waited = false;
    test::LibThread notifier = test::LibThread::Started([&] { return observable_.Notify(&argument_); });
    blocker.entered.Wait();
    test::LibThread attacher = test::LibThread::Started([&] {
        attaching.Signal();
        const uint32_t result = observable_.Attach(&first_);
        waited = blocker.done;
        return result;
    });
    attaching.Wait();
    blocker.allowed.Signal();
    notifier.Join();
    attacher.Join();
    // Tried in every order by the native explorer.
    EXPECT_TRUE(waited);
    EXPECT_TRUE(calls_.empty()) << "it came too late for that one";
}

TEST_F(ObservableTest, AnObserversExceptionGivesTheLockBack) {
    class Thrower : public Observer {
    public:
        uint32_t Update(Observable*, void*) override { throw 1; }
    } thrower;
    observable_.Attach(&thrower);
    EXPECT_THROW(observable_.Notify(&argument_), int);
    EXPECT_EQ(observable_.Attach(&first_), 1u);
}

TEST_F(ObservableTest, HeadTailAndCountComeFirst) {
    struct Layout {
        const void* head;
        const void* tail;
        uint32_t count;
    } layout;
    observable_.Attach(&first_);
    std::memcpy(&layout, &observable_, sizeof layout);
    EXPECT_NE(layout.head, nullptr);
    EXPECT_EQ(layout.head, layout.tail);
    EXPECT_EQ(layout.count, 1u);
    const void* const head = layout.head;
    observable_.Attach(&second_);
    std::memcpy(&layout, &observable_, sizeof layout);
    EXPECT_EQ(layout.head, head);
    EXPECT_NE(layout.tail, head);
    EXPECT_EQ(layout.count, 2u);
}

TEST_F(ObservableTest, ThePlainObserverDoesNothingAndReturnsOne) {
    PlainObserver plain;
    EXPECT_EQ(plain.Update(&observable_, nullptr), 1u);
}

}  // namespace
}  // namespace wpk::core
