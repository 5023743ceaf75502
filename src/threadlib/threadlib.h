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

namespace wpk::core::ThreadLib {

/// Makes the registry and registers the calling thread, whose id it returns. Once, before all else.
uint32_t Init();

/// Takes the registry down; afterwards every operation fails until the next Init. No thread of the layer may run any
/// more. Returns 1.
uint32_t Shutdown();

/// Makes a suspended thread without a name and returns its id.
uint32_t Create(ThreadEntry entry, void* argument);

/// Starts a thread made by Create: 1, once. A thread stopped by Suspend is never resumed.
uint32_t Resume(uint32_t id);

/// Create, SetName unless `name` is null, and Resume in one: the id of a thread that runs. When it cannot run, none is
/// left.
uint32_t CreateRunning(ThreadEntry entry, void* argument, const char* name = nullptr);

/// Has the system suspend the thread: 1 when it did.
uint32_t Suspend(uint32_t id);

/// Has the system end the thread where it stands, and waits until it has: 1 when it did. Who waits for the thread is
/// woken. A thread cannot end itself this way.
///
/// What the thread holds is lost: on its way into its entry and out of it that may be the loader's lock, in between the
/// heap's or a record table's, and whoever needs that lock next waits for ever. So this is safe for a thread that was
/// never resumed, and for one that is known to stand in a wait of its entry. The library itself ends two kinds of
/// threads: those that could not be started after Create, which never ran; and the workers of a service that is
/// stopped, which may stand anywhere. The latter cannot happen in a process that uses the library as it is: the one
/// stop comes with an initialisation that fails, which keeps all calls out, so that no worker has ever been started.
uint32_t Terminate(uint32_t id);

/// Names the thread, for the report of an exception that escapes it: 1; 0 when the thread is unknown or no memory is
/// left for a copy of the text, and the thread then has no name.
uint32_t SetName(uint32_t id, const char* name);

/// Registers the calling thread, which the layer did not make: 1; 0 when it was registered already, or on failure.
uint32_t Attach();

/// The reverse: 1; 0 when the calling thread is not registered.
uint32_t Detach();

/// A handle on which the end of a thread of the layer can be waited for; empty when it has ended.
UniqueHandle OpenForWait(uint32_t id);

/// Hands the message over and waits for the answer, which is written into it. Returns the replier's id. When the
/// receiver ends before it answers, returns the caller's own id with the message unchanged. The caller must be
/// registered.
uint32_t Send(uint32_t target, Message& message);

/// Waits for a message; returns its sender, who stays blocked until it is answered. 0 when there is none to wait for:
/// the caller is not registered, or the message's ready signal could not be made.
uint32_t Receive(Message& message);

/// Answers a sender that the caller has received: 1 when that one was waiting for it.
uint32_t Reply(uint32_t sender, Message& message);

/// Answers a sender that `receiver` has received.
uint32_t ReplyFor(uint32_t sender, uint32_t receiver, Message& message);

}  // namespace wpk::core::ThreadLib

#endif
