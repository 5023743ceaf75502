// Runs threads one at a time and lets somebody decide, at every call of the platform, which of them goes on.
// SPDX-License-Identifier: MIT
//
// Within RunScheduled, the calling thread, the threads that the platform makes and those of StartThread are the run's.
// They are real threads, of which all but one wait for their turn. A wait inside a call is a condition that the
// scheduler looks at; time is virtual and moves when nobody can go on. What decides is a Chooser: the same choices give
// the same run. When nobody can go on and nobody waits for a time, the run has failed.
//
// A thread that is terminated in a run goes from where it stands, and what it holds there is lost, memory included.
//
// With no run, nothing of this costs or changes anything.
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_SCHEDULER_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_SCHEDULER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace wpk::host {

/// Something that can happen next.
struct Option {
    enum class Kind {
        kThread,
        /// Something outside of the process, such as the arrival of bytes.
        kEvent,
        /// The end of a thread's wait before its time, as on a machine that has been busy meanwhile.
        kTimeOut,
    };
    Kind kind;
    /// Which thread or event: counted together, in the order in which they are made.
    uint32_t number;
    /// Whether somebody who could go on has to wait for it.
    bool preempts;
};

class Chooser {
public:
    virtual ~Chooser() = default;

    /// The index of what happens next. There are two options or more. The first one is the usual one: it preempts
    /// nobody.
    virtual size_t Choose(const std::vector<Option>& options) = 0;

    /// The run cannot go on; nor can the process.
    [[noreturn]] virtual void Fail(const std::string& why) = 0;
};

/// Runs `body` on the calling thread. Returns when it and all threads of the run have ended.
void RunScheduled(Chooser& chooser, const std::function<void()>& body);

// All below: for threads of a run, and without any effect for others.

/// Whether the calling thread is one of a run.
bool IsScheduled();

/// Where another thread may go on.
void SchedulePoint();

/// The same, of an access to memory: only in code of the library (CodeScope), for the fake platform holds locks of its
/// own.
void SchedulePointInLibrary();

/// Waits until the condition holds, which is looked at by any thread of the run: true; false when the time is over.
/// `where` is for the report of a failed run.
bool AwaitScheduled(const char* where, std::function<bool()> condition, uint32_t milliseconds);

/// Adds a thread of the run, which begins when it may: no earlier than the condition holds.
void StartScheduled(std::string name, std::function<void()> body, std::function<bool()> mayBegin);

/// Something that happens at some later moment, unless its owner has gone by then. It is to wait for nothing.
void HappenLater(std::weak_ptr<const void> owner, std::function<void()> event);

/// Lives until the end of the run.
void KeepForRun(std::shared_ptr<const void> object);

/// Virtual milliseconds since the start of the run.
uint64_t ScheduledTime();

/// Ends the run as failed.
[[noreturn]] void FailRun(const std::string& why);

/// A thread of the application within a run, as it calls the library: it leaves the platform before it ends.
void StartThread(std::string name, std::function<void()> body);

/// Waits until no thread is left but the calling one and so many more.
void AwaitThreads(size_t lasting = 0);
void AwaitThreads(std::function<size_t()> lasting);

/// The length of what happens the usual way, without a choice.
class Undisturbed {
public:
    Undisturbed();
    Undisturbed(const Undisturbed&) = delete;
    Undisturbed& operator=(const Undisturbed&) = delete;
    ~Undisturbed();
};

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_SCHEDULER_H
