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

/// What a service keeps of its front desk's thread besides the id.
struct DeskThread {
    /// On which the thread's end can be waited for.
    UniqueHandle end;
    /// The thread takes it over at its entry and uses it for its life. Its ready signal is made before the thread runs:
    /// without it the desk could receive nothing.
    Message record;
};

/// What all services have in common: a front desk thread, posts that wait for their answer, the start and stop
/// commands. A post carries one or more pointer-sized arguments, the first of which is the command. Post may be called
/// from any thread that is registered with the thread layer; starting and stopping, which post as well, are one such
/// thread's business at a time.
///
/// The kinds of services keep their fields in orders of their own, and their virtual destructor comes last. So `Kind`,
/// which derives from this class, has all but the first two fields: `stopping_`, `name_` and a DeskThread `desk_`. It
/// also has Serve(request), which sees to it that a request is run and its client answered, and StopServing(stopper),
/// which ends what runs when the stop command has come from the client `stopper`; both are called on the front desk.
template <class Kind>
class FrontDesk {
public:
    FrontDesk(const FrontDesk&) = delete;
    FrontDesk& operator=(const FrontDesk&) = delete;

    /// The result of the start command; 0 while not started.
    uint32_t Started() const { return started_; }

    /// Sends a command with its operands and waits: the answer's code; 0 when refused. A front desk that ends before it
    /// answers cannot be told from one that answered: the result is the id of the posting thread then. The arguments
    /// live in the caller's frame until the answer has come.
    template <class... Operands>
    uint32_t Post(uint64_t command, Operands... operands) {
        const uint64_t arguments[] = {command, operands...};
        return PostArguments(1 + sizeof...(operands), arguments);
    }

    /// As Post; no argument is refused.
    uint32_t PostArguments(uint32_t count, const uint64_t* arguments);

protected:
    FrontDesk() = default;
    ~FrontDesk() = default;

    /// Runs a request that is no command of the desk's own; the first of the arguments is the command. With a count of
    /// 0, which a worker without a job passes on, there are no arguments, and nobody is to be answered.
    virtual uint32_t ProcessRequest(uint32_t client, uint32_t count, const uint64_t* arguments);
    /// On the front desk, when the start command has come. 0 refuses the start.
    virtual uint32_t Manager_StartUp() { return 1; }
    /// On the front desk, when the stop command has come. The result is the answer.
    virtual uint32_t Manager_ShutDown() { return 1; }

    /// Makes and starts the front desk; returns what the start command is answered. When that is 0, the front desk has
    /// ended on return. Until the start command comes, the thread bears `threadName`.
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
