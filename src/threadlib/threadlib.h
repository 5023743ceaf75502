// The process-wide thread layer: threads, and the rendezvous by which they exchange messages.
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

/// Creates the registry and registers the calling thread, whose id it returns. Call it once, before everything else.
uint32_t Init();

/// Removes the registry; afterwards every operation fails until the next Init. No thread of the layer may still be
/// running. Returns 1.
uint32_t Shutdown();

/// Creates a suspended thread without a name and returns its id.
uint32_t Create(ThreadEntry entry, void* argument);

/// Starts a thread made by Create: 1, once. A thread stopped by Suspend is never resumed.
uint32_t Resume(uint32_t id);

/// Create, SetName unless `name` is null, and Resume in one call: the id of a running thread. If it cannot be started,
/// no thread is left.
uint32_t CreateRunning(ThreadEntry entry, void* argument, const char* name = nullptr);

/// Suspends the thread: 1 on success.
uint32_t Suspend(uint32_t id);

/// Terminates the thread wherever it is, and waits for its end: 1 on success. Threads that wait for it are woken. A
/// thread cannot terminate itself.
///
/// Locks that the thread holds are never released: before and after its entry function that may be the loader lock,
/// inside it the heap's or a record table's, and the next thread that needs the lock waits forever. So this is safe for
/// a thread that was never resumed, and for one that is known to be waiting in its entry function. The library itself
/// terminates two kinds of threads: those that could not be started after Create, which never ran; and the workers of a
/// service that is stopped, which may be anywhere. The latter does not happen in practice: the only stop is in a failed
/// initialisation, which excludes all calls, so no worker has been started.
uint32_t Terminate(uint32_t id);

/// Names the thread, for the report of an exception that escapes it: 1; 0 if the thread is unknown, or if there is no
/// memory for a copy of the text, and the thread then has no name.
uint32_t SetName(uint32_t id, const char* name);

/// Registers the calling thread, which the layer did not create: 1; 0 if it was registered already, or on failure.
uint32_t Attach();

/// Undoes Attach: 1; 0 if the calling thread is not registered.
uint32_t Detach();

/// A handle for waiting until a thread of the layer ends; empty if it has ended.
UniqueHandle OpenForWait(uint32_t id);

/// Sends the message and waits for the answer, which is written into it. Returns the replier's id. If the receiver ends
/// before it answers, returns the caller's own id with the message unchanged. The caller must be registered.
uint32_t Send(uint32_t target, Message& message);

/// Waits for a message; returns its sender, which is blocked until it is answered. 0 on failure: the caller is not
/// registered, or the message's ready signal could not be created.
uint32_t Receive(Message& message);

/// Answers a sender that the caller has received: 1 if that sender was waiting for the answer.
uint32_t Reply(uint32_t sender, Message& message);

/// Answers a sender that `receiver` has received.
uint32_t ReplyFor(uint32_t sender, uint32_t receiver, Message& message);

}  // namespace wpk::core::ThreadLib

#endif
