// The front desk of a service: the thread that receives every request sent to it.
// SPDX-License-Identifier: MIT
#ifndef WPK_SERVICE_FRONT_DESK_H
#define WPK_SERVICE_FRONT_DESK_H

#include <atomic>
#include <cstdint>

#include "threadlib/counted_text.h"
#include "threadlib/threadlib.h"

namespace wpk::core {

/// The first argument of a post.
enum Command : uint64_t {
    kCommandStart = 0,
    kCommandStop = 1,
    // All others belong to the service.
};

/// What a service keeps about its front desk's thread besides the id.
struct DeskThread {
    /// For waiting until the thread has ended.
    UniqueHandle end;
    /// The thread takes it over at its start and uses it until its end. Its ready signal is created before the thread
    /// runs: without it the desk could not receive anything.
    Message record;
};

/// The common part of all services: a front desk thread, posts that wait for their answer, the start and stop commands.
/// A post carries one or more pointer-sized arguments; the first is the command. Post may be called from any thread
/// that is registered with the thread layer. Starting and stopping, which post as well, may be done by one such thread
/// at a time.
///
/// Each kind of service has its own order of fields, and its virtual destructor comes last. So `Kind`, which derives
/// from this class, has all but the first two fields: `stopping_`, `name_` and a DeskThread `desk_`. It also has
/// Serve(request), which runs a request and has its client answered, and StopServing(stopper), which ends the running
/// requests when the client `stopper` has sent the stop command; both are called on the front desk.
template <class Kind>
class FrontDesk {
public:
    FrontDesk(const FrontDesk&) = delete;
    FrontDesk& operator=(const FrontDesk&) = delete;

    /// The result of the start command; 0 while not started.
    uint32_t Started() const { return started_; }

    /// Sends a command with its operands and waits: the answer's code; 0 if refused. If the front desk ends before it
    /// answers, the result is the id of the posting thread, which cannot be distinguished from an answer. The arguments
    /// are in the caller's frame until the answer has come.
    template <class... Operands>
    uint32_t Post(uint64_t command, Operands... operands) {
        const uint64_t arguments[] = {command, operands...};
        return PostArguments(1 + sizeof...(operands), arguments);
    }

    /// Like Post; a post without arguments is refused.
    uint32_t PostArguments(uint32_t count, const uint64_t* arguments);

protected:
    FrontDesk() = default;
    ~FrontDesk() = default;

    /// Runs a request that is not one of the desk's commands; the first argument is the command. If the count is 0,
    /// which a worker without a job passes on, there are no arguments and no client to answer.
    virtual uint32_t ProcessRequest(uint32_t client, uint32_t count, const uint64_t* arguments);
    /// Called on the front desk when the start command has come. 0 refuses the start.
    virtual uint32_t Manager_StartUp() { return 1; }
    /// Called on the front desk when the stop command has come. The result is the answer.
    virtual uint32_t Manager_ShutDown() { return 1; }

    /// Creates and starts the front desk; returns the answer to the start command. If that is 0, the front desk has
    /// ended on return. Until the start command comes, the thread's name is `threadName`.
    uint32_t StartDesk(const char* threadName);
    /// Posts the stop command and returns its answer; the front desk has ended on return.
    uint32_t StopDesk();

    uint32_t DeskId() const { return deskId_; }

    /// Answers a client on the front desk's behalf; from any thread.
    void Answer(uint32_t client, uint32_t code) const;

private:
    static uint32_t FrontDeskFunc(void* service);
    uint32_t RunDesk();
    bool RunDeskThread(const char* threadName);
    bool MakeDeskThread(const char* threadName);
    void AwaitDeskEnd();
    void ForgetDesk();
    Kind& Self() { return static_cast<Kind&>(*this); }

    std::atomic<uint32_t> started_{0};
    std::atomic<uint32_t> deskId_{0};
};

}  // namespace wpk::core

#endif
