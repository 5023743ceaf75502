// The process-wide thread layer: threads, and the rendezvous by which they hand each other messages.
// SPDX-License-Identifier: MIT
//
// A thread sends a message to another one and blocks until that one receives it and replies:
//
//     client:  Message request{0, count, arguments};       desk:  Message message;
//              ThreadLib::Send(desk, request);                    const uint32_t client = ThreadLib::Receive(message);
//              // request.code is the answer                      message.code = answer;
//                                                                 ThreadLib::Reply(client, message);
//
// Every operation may be called from any thread, returns 0 on failure and never throws. No wait has a time-out.
#ifndef WPK_THREADLIB_THREADLIB_H
#define WPK_THREADLIB_THREADLIB_H

#include "threadlib/thread_record.h"

namespace wpk::ThreadLib {

/// Makes the registry and registers the calling thread, whose id it returns. Once, before all else.
uint32_t Init();

/// Takes the registry down; afterwards every operation fails until the next Init. No thread of the layer may run any
/// more. Returns 1.
uint32_t Shutdown();

/// When a new thread gets the signal on which it blocks in Send and Receive.
enum class WakeSignal {
    kAtOnce,
    /// Spares the system call where most threads of a kind never block in an exchange; its failure then fails the Send
    /// or Receive instead of the Create.
    kWhenNeeded,
};

/// Makes a suspended thread and returns its id. `name` is copied; null for none.
uint32_t Create(ThreadEntry entry, void* argument, const char* name = nullptr,
                WakeSignal wakeSignal = WakeSignal::kAtOnce);

/// Starts a thread made by Create: 1, once. A thread stopped by Suspend is never resumed.
uint32_t Resume(uint32_t id);

/// Create and Resume in one: the id of a thread that runs. When it cannot run, none is left.
uint32_t CreateRunning(ThreadEntry entry, void* argument, const char* name = nullptr);

/// Has the system suspend the thread: 1 when it did.
uint32_t Suspend(uint32_t id);

/// Has the system end the thread where it stands: 1 when it did. What the thread holds is lost; who waits for it is
/// woken. A thread cannot end itself this way.
uint32_t Terminate(uint32_t id);

/// Names the thread, for the report of an exception that escapes it. The text is copied.
uint32_t SetName(uint32_t id, const char* name);

/// Registers the calling thread, which the layer did not make: 1; 0 when it was registered already.
uint32_t Attach();

/// The reverse: 1; 0 when the calling thread is not registered.
uint32_t Detach();

/// A handle on which the end of a thread of the layer can be waited for; empty when it has ended.
UniqueHandle OpenForWait(uint32_t id);

/// Hands the message over and waits for the answer, which is written into it. Returns the replier's id. When the
/// receiver ends before it answers, returns the caller's own id with the message unchanged.
uint32_t Send(uint32_t target, Message& message);

/// As Send, for a thread that need not be registered: until it is answered, it is. Spares it to be attached and
/// detached again, which would take the registry's lock two times more.
uint32_t SendFromAnyThread(uint32_t target, Message& message);

/// Waits for a message; returns its sender, who stays blocked until it is answered.
uint32_t Receive(Message& message);

/// Answers a sender that the caller has received: 1 when that one was waiting for it.
uint32_t Reply(uint32_t sender, Message& message);

/// Answers a sender that `receiver` has received.
uint32_t ReplyFor(uint32_t sender, uint32_t receiver, Message& message);

}  // namespace wpk::ThreadLib

#endif
