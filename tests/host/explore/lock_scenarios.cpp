// Readers and writers: of the lock itself, of a table, of the requests in flight.
// SPDX-License-Identifier: MIT
#include "env/observer.h"
#include "host/explore/scenarios.h"
#include "host/standin/scheduler.h"
#include "threadlib/readers_writer_lock.h"
#include "threadlib/record_table.h"
#include "transport/pending_requests.h"
#include "transport/settings.h"
#include "transport/text_buffer.h"

namespace wpk::explore {

using namespace core;

using host::AwaitThreads;
using host::SchedulePoint;
using host::StartThread;
using host::Undisturbed;

namespace {

/// Who is inside of a lock.
struct Inside {
    int readers = 0;
    int writers = 0;

    void Read(ReadersWriterLock& lock) {
        const SharedScope reading(lock);
        Expect(writers == 0, "no reader is inside beside a writer");
        ++readers;
        SchedulePoint();
        --readers;
    }
    void Write(ReadersWriterLock& lock) {
        const ExclusiveScope writing(lock);
        Expect(writers == 0 && readers == 0, "a writer is alone");
        ++writers;
        SchedulePoint();
        --writers;
    }
};

void ReadersAndWriters() {
    ReadersWriterLock lock;
    Inside inside;
    for (int i = 0; i < 2; ++i) StartThread("reader", [&] { inside.Read(lock); });
    StartThread("writer", [&] { inside.Write(lock); });
    AwaitThreads();
}

void WritersAndAReader() {
    ReadersWriterLock lock;
    Inside inside;
    for (int i = 0; i < 2; ++i) StartThread("writer", [&] { inside.Write(lock); });
    StartThread("reader", [&] {
        inside.Read(lock);
        inside.Read(lock);
    });
    AwaitThreads();
}

constexpr uint32_t kFields = 2;

Record Row(uint32_t key, uint32_t value) {
    Record row(kFields);
    Expect(row.SetUint32(0, key) && row.SetUint32(1, value), "a row is made");
    return row;
}

ByteBuffer Key(uint32_t key) {
    return Row(key, 0).Field(0);
}

void RowsThatComeAndGo() {
    std::unique_ptr<RecordTable> table;
    {
        const Undisturbed start;
        table = RecordTable::Create(kFields);
        table->Insert(Row(1, 10));
    }
    int removed = 0;
    for (int i = 0; i < 2; ++i) {
        StartThread("remover", [&] { removed += table->Remove(Key(1)).FieldCount() != 0; });
    }
    StartThread("visitor", [&] {
        table->Visit(Key(1), [](const Record& row) {
            SchedulePoint();
            Expect(row.GetUint32(1) == 10, "a row stays as it is while it is visited");
        });
    });
    AwaitThreads();
    Expect(removed == 1, "a row is removed once");
    Expect(table->Count() == 0, "the table is empty");
}

void RowsThatAreReplaced() {
    std::unique_ptr<RecordTable> table;
    {
        const Undisturbed start;
        table = RecordTable::Create(kFields);
        table->Insert(Row(1, 10));
    }
    for (const uint32_t value : {20u, 30u}) {
        StartThread("replacer", [&table, value] { Expect(table->Replace(Row(1, value)) == 1, "a row is replaced"); });
    }
    StartThread("finder", [&] {
        const Record found = table->Find(Key(1));
        Expect(found.FieldCount() == kFields && found.GetUint32(1) % 10 == 0, "some row is there at any time");
    });
    AwaitThreads();
    Expect(table->Count() == 1, "one row is left");
}

void CancelsOfARequestThatEnds() {
    std::unique_ptr<PendingRequests> pending;
    PendingRequest request;
    {
        const Undisturbed start;
        pending = PendingRequests::Create();
        request = pending->Add(4);
    }
    uint32_t found[2] = {};
    bool seen = false;
    StartThread("request", [&] {
        SchedulePoint();
        seen = request.connection->Cancelled();
        pending->Remove(4);
    });
    for (uint32_t& one : found) StartThread("cancel", [&] { one = pending->Cancel(4); });
    AwaitThreads();
    Expect(!seen || found[0] == 1 || found[1] == 1, "a request is cancelled by who has found it");
    Expect(pending->Any() == 0, "nothing is registered any more");
}

/// The next request has the handle of the last one; the cancel of that one finds either of them, or none.
void ACancelOfAHandleThatIsUsedAgain() {
    std::unique_ptr<PendingRequests> pending;
    {
        const Undisturbed start;
        pending = PendingRequests::Create();
    }
    int cancelled = 0;
    uint32_t found = 0;
    StartThread("requests", [&] {
        for (int i = 0; i < 2; ++i) {
            const PendingRequest request = pending->Add(4);
            Expect(request && pending->Any() == 1, "a request is registered");
            cancelled += request.connection->Cancelled();
            pending->Remove(4);
        }
    });
    StartThread("cancel", [&] { found = pending->Cancel(4); });
    AwaitThreads();
    Expect(cancelled <= static_cast<int>(found), "one cancel is for one request");
    Expect(pending->Any() == 0, "nothing is registered any more");
}

Credentials MakeCredentials(const char* both) {
    Credentials credentials;
    credentials.user = TextBuffer::CopyOf(both);
    credentials.password = TextBuffer::CopyOf(both);
    return credentials;
}

void CredentialsReplacedWhileTwoCopyThem() {
    Settings settings;
    {
        const Undisturbed start;
        settings.ReplaceProxyCredentials(MakeCredentials("old"));
    }
    for (int i = 0; i < 2; ++i) {
        StartThread("copier", [&] {
            Credentials copy;
            Expect(settings.CopyProxyCredentials(copy), "the credentials are copied");
            Expect(copy.user.View() == copy.password.View(), "a copy is of one moment");
            Expect(!copy.user.Empty(), "a copy is of old or new ones");
        });
    }
    StartThread("replacer", [&] {
        Expect(settings.ReplaceProxyCredentials(MakeCredentials("newer")), "the credentials are replaced");
    });
    AwaitThreads();
    Credentials last;
    settings.CopyProxyCredentials(last);
    Expect(last.user.View() == "newer", "the new ones are in force");
}

/// Looks away in the middle of a notification.
class SlowObserver : public Observer {
public:
    uint32_t Update(Observable*, void*) override {
        is_told = true;
        SchedulePoint();
        is_told = false;
        ++times;
        return 1;
    }

    bool is_told = false;
    int times = 0;
};

void AnObserverAttachedDuringANotification() {
    Observable observed;
    SlowObserver first, second;
    {
        const Undisturbed start;
        observed.Attach(&first);
    }
    StartThread("notifier", [&] { observed.Notify(nullptr); });
    bool under_way = false;
    StartThread("attacher", [&] {
        under_way = first.is_told;
        Expect(observed.Attach(&second) == 1, "an observer is attached");
        Expect(!under_way || first.times == 1, "one that comes during a notification waits for its end");
    });
    AwaitThreads();
    Expect(first.times == 1, "who was there is told");
    Expect(!under_way || second.times == 0, "who came too late is not");
}

}  // namespace

const Scenarios& LockScenarios() {
    static const Scenarios& all = *new Scenarios{
        {"two readers, a writer", ReadersAndWriters},
        {"two writers, a reader that comes again", WritersAndAReader},
        {"a row removed by two, visited by one", RowsThatComeAndGo},
        {"a row replaced by two, looked up by one", RowsThatAreReplaced},
        {"two cancels of a request that ends", CancelsOfARequestThatEnds},
        {"a cancel of a handle that is used again", ACancelOfAHandleThatIsUsedAgain},
        {"an observer attached during a notification", AnObserverAttachedDuringANotification},
        {"credentials replaced while two copy them", CredentialsReplacedWhileTwoCopyThem},
    };
    return all;
}

}  // namespace wpk::explore
