// Small copies of parts of the library with one thing wrong, or not.
// SPDX-License-Identifier: MIT
#include "host/explore/planted_faults.h"

#include <array>
#include <atomic>
#include <deque>
#include <memory>
#include <optional>

#include "host/standin/scheduler.h"
#include "threadlib/semaphore.h"

namespace wpk::explore {

using namespace core;

using host::AwaitThreads;
using host::StartThread;

namespace {

enum class Fault { kPlanted, kMended };

/// A readers-writer lock. The fault: the first reader lets go of the count before it waits for the writer, so a second
/// one finds itself not to be the first and waits for nobody.
template <Fault fault>
class SmallLock {
public:
    void EnterShared() {
        bool first = false;
        {
            const ScopedLock counting(count_lock_);
            first = ++readers_ == 1;
            if (first && fault == Fault::kMended) writer_lock_.Wait();
        }
        if (first && fault == Fault::kPlanted) writer_lock_.Wait();
    }
    void LeaveShared() {
        const ScopedLock counting(count_lock_);
        if (--readers_ == 0) writer_lock_.Signal();
    }
    void EnterExclusive() { writer_lock_.Wait(); }
    void LeaveExclusive() { writer_lock_.Signal(); }

private:
    int readers_ = 0;
    Semaphore count_lock_{SemaphoreKind::kLock};
    Semaphore writer_lock_{SemaphoreKind::kLock};
};

template <Fault fault>
void ReadersBesideAWriter() {
    SmallLock<fault> lock;
    bool writing = false;
    const auto read = [&] {
        lock.EnterShared();
        Expect(!writing, "a reader is inside beside a writer");
        lock.LeaveShared();
    };
    StartThread("writer", [&] {
        lock.EnterExclusive();
        writing = true;
        host::SchedulePoint();
        writing = false;
        lock.LeaveExclusive();
    });
    StartThread("first reader", read);
    StartThread("second reader", read);
    AwaitThreads();
}

/// What one thread waits on, and what it is given.
struct Party {
    Semaphore wake{SemaphoreKind::kSignal};
    int message = 0;
};

/// A receiver with a queue of senders, who wait for their answer.
class SmallRendezvous {
public:
    /// Whose hand-over forgets that the receiver is woken already: the next sender hands over as well, and the receiver
    /// looks at one message alone.
    template <Fault fault>
    void SendLeavingOthersBehind(Party& sender) {
        {
            const ScopedLock lock(lock_);
            if (receiver_waits_) {
                if (fault == Fault::kMended) receiver_waits_ = false;
                received_ = &sender;
                receiver_.wake.Signal();
            } else {
                queue_.push_back(&sender);
            }
        }
        sender.wake.Wait();
    }

    /// Who wakes the receiver before its message is written.
    template <Fault fault>
    void SendWakingTooEarly(Party& sender) {
        {
            const ScopedLock lock(lock_);
            if (receiver_waits_) {
                receiver_waits_ = false;
                if (fault == Fault::kMended) Write(sender);
                receiver_.wake.Signal();
                if (fault == Fault::kPlanted) Write(sender);
            } else {
                queue_.push_back(&sender);
            }
        }
        sender.wake.Wait();
    }

    Party& Receive() {
        {
            const ScopedLock lock(lock_);
            if (!queue_.empty()) {
                Write(*queue_.front());
                queue_.pop_front();
                return *received_;
            }
            received_ = nullptr;
            receiver_.message = 0;
            receiver_waits_ = true;
        }
        receiver_.wake.Wait();
        Expect(received_ != nullptr, "the receiver has been woken without a message");
        return *received_;
    }

    static void Reply(Party& sender) { sender.wake.Signal(); }

private:
    void Write(Party& sender) {
        receiver_.message = sender.message;
        received_ = &sender;
    }

    Semaphore lock_{SemaphoreKind::kLock};
    Party receiver_;
    Party* received_ = nullptr;
    bool receiver_waits_ = false;
    std::deque<Party*> queue_;
};

using SmallSend = void (SmallRendezvous::*)(Party&);

template <SmallSend send>
void TwoSendersAndAReceiver() {
    SmallRendezvous rendezvous;
    std::array<Party, 2> senders;
    for (Party& sender : senders) {
        StartThread("sender", [&] { (rendezvous.*send)(sender); });
    }
    StartThread("receiver", [&] {
        for (size_t i = 0; i < senders.size(); ++i) SmallRendezvous::Reply(rendezvous.Receive());
    });
    AwaitThreads();
}

/// A table of one request, which its thread takes out at its end and then frees. The fault: the cancel looks the
/// request up under the lock and marks it after that.
template <Fault fault>
void CancelBesideTheEnd() {
    struct Request {
        bool cancelled = false;
        bool freed = false;
    };
    Request request;
    Request* registered = &request;
    const Semaphore table_lock(SemaphoreKind::kLock);
    StartThread("request", [&] {
        {
            const ScopedLock lock(table_lock);
            registered = nullptr;
        }
        request.freed = true;
    });
    StartThread("cancel", [&] {
        const auto mark = [](Request* found) {
            if (!found) return;
            Expect(!found->freed, "a request is cancelled that has been freed");
            found->cancelled = true;
        };
        Request* found = nullptr;
        {
            const ScopedLock lock(table_lock);
            found = registered;
            if (fault == Fault::kMended) mark(found);
        }
        if (fault == Fault::kPlanted) mark(found);
    });
    AwaitThreads();
}

/// A signal whose semaphore is made by the first wait. The fault: the wait looks whether the signal has been given
/// before it has told that there is a semaphore, and so may the one that gives it, who then signals nothing. Between
/// them are no calls of the platform, only atomic accesses.
template <Fault fault>
void ASignalBetweenALookAndAWait() {
    const Semaphore signal(SemaphoreKind::kSignal);
    std::atomic<bool> made{false};
    std::atomic<bool> given{false};
    StartThread("giver", [&] {
        given = true;
        if (made) signal.Signal();
    });
    StartThread("waiter", [&] {
        bool already = false;
        if (fault == Fault::kPlanted) already = given;
        made = true;
        if (fault == Fault::kMended) already = given;
        if (!already) signal.Wait();
    });
    AwaitThreads();
}

template <Fault fault>
const std::vector<Scenario>& SmallScenarios() {
    static const std::vector<Scenario>& all = *new std::vector<Scenario> {
        {"a second reader beside a writer", ReadersBesideAWriter<fault>},
            {"a second sender left behind", TwoSendersAndAReceiver<&SmallRendezvous::SendLeavingOthersBehind<fault>>},
            {"a wake-up before the message is written",
             TwoSendersAndAReceiver<&SmallRendezvous::SendWakingTooEarly<fault>>},
            {"a cancel outside of the table's lock", CancelBesideTheEnd<fault>},
#if defined(WPK_EXPLORES_ATOMICS)
            {"a signal between a look and a wait", ASignalBetweenALookAndAWait<fault>},
#endif
    };
    return all;
}

}  // namespace

const std::vector<Scenario>& PlantedFaults() {
    return SmallScenarios<Fault::kPlanted>();
}

const std::vector<Scenario>& MendedFaults() {
    return SmallScenarios<Fault::kMended>();
}

}  // namespace wpk::explore
