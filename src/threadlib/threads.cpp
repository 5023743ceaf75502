// The thread layer's threads: made, named, ended, attached and detached.
// SPDX-License-Identifier: MIT
#include <cstring>
#include <memory>
#include <new>

#include "threadlib/exception_report.h"
#include "threadlib/pointer_word.h"
#include "threadlib/process_registry.h"
#include "threadlib/threadlib.h"

namespace wpk::core::ThreadLib {

namespace {

constexpr DWORD kCallFailed = 0xFFFFFFFF;

uint32_t RunEntry(const ThreadRecord& thread) {
    try {
        return thread.entry(thread.argument);
    } catch (...) {
        // The name of a running thread changes only by its own hand.
        ReportEscapedException(thread.name ? thread.name.get() : "");
        return 0;
    }
}

unsigned __stdcall Trampoline(void* argument) {
    std::unique_ptr<ThreadRecord> thread(static_cast<ThreadRecord*>(argument));
    const uint32_t exitCode = RunEntry(*thread);
    ThreadRegistry* registry = processRegistry;
    {
        const ScopedLock lock(registry->Lock());
        registry->Remove(*thread);
    }
    thread.reset();
    return exitCode;
}

/// Calls `operation` with the record of a thread, under the registry's lock; 0 when the thread is unknown.
template <class Operation>
uint32_t WithThread(uint32_t id, Operation operation) {
    ThreadRegistry* registry = processRegistry;
    if (!registry) return 0;
    const ScopedLock lock(registry->Lock());
    ThreadRecord* thread = registry->Find(id);
    return thread ? operation(*registry, *thread) : 0;
}

}  // namespace

uint32_t Init() {
    std::unique_ptr<ThreadRegistry> registry(new (std::nothrow) ThreadRegistry);
    if (!registry || !registry->Lock()) return 0;
    const ThreadRecord* caller = registry->Register(GetCurrentThreadId());
    if (!caller) return 0;
    processRegistry = registry.release();
    return caller->id;
}

uint32_t Shutdown() {
    delete processRegistry.exchange(nullptr);
    return 1;
}

uint32_t Create(ThreadEntry entry, void* argument) {
    ThreadRegistry* registry = processRegistry;
    if (!registry) return 0;
    const ScopedLock lock(registry->Lock());
    std::unique_ptr<ThreadRecord> thread(new (std::nothrow) ThreadRecord);
    // The thread comes last: nothing fails after it, which would leave it suspended for good.
    if (!thread || !thread->wakeSignal) return 0;
    thread->entry = entry;
    thread->argument = argument;

    unsigned id = 0;
    thread->handle.Reset(PointerFrom<void>(
        _beginthreadex(/*security=*/nullptr, /*stack_size=*/0, Trampoline, thread.get(), CREATE_SUSPENDED, &id)));
    if (!thread->handle) return 0;
    thread->id = id;
    registry->Insert(*thread.release());
    return id;
}

uint32_t Resume(uint32_t id) {
    return WithThread(id, [](ThreadRegistry&, ThreadRecord& thread) -> uint32_t {
        if (thread.state != ThreadState::kCreated) return 0;
        if (ResumeThread(thread.handle.Get()) == kCallFailed) return 0;
        thread.state = ThreadState::kRunning;
        return 1;
    });
}

uint32_t CreateRunning(ThreadEntry entry, void* argument, const char* name) {
    const uint32_t id = Create(entry, argument);
    if (name) SetName(id, name);
    if (id == 0 || Resume(id)) return id;
    Terminate(id);
    return 0;
}

uint32_t Suspend(uint32_t id) {
    return WithThread(id, [](ThreadRegistry&, ThreadRecord& thread) -> uint32_t {
        return thread.handle && SuspendThread(thread.handle.Get()) != kCallFailed;
    });
}

uint32_t Terminate(uint32_t id) {
    // A thread that ended itself here would take the registry's lock with it.
    if (id == GetCurrentThreadId()) return 0;
    return WithThread(id, [](ThreadRegistry& registry, ThreadRecord& thread) -> uint32_t {
        if (!thread.handle || !TerminateThread(thread.handle.Get(), /*dwExitCode=*/0)) return 0;
        // The system ends the thread in its own time. Until then it might still use its record, and it might wait for
        // the registry's lock: were that given back before the thread's end, the thread could be granted it and take it
        // along.
        WaitForSingleObject(thread.handle.Get(), INFINITE);
        registry.Remove(thread);
        delete &thread;
        return 1;
    });
}

uint32_t SetName(uint32_t id, const char* name) {
    return WithThread(id, [name](ThreadRegistry&, ThreadRecord& thread) -> uint32_t {
        const size_t size = std::strlen(name) + 1;
        thread.name.reset(new (std::nothrow) char[size]);
        if (!thread.name) return 0;
        std::memcpy(thread.name.get(), name, size);
        return 1;
    });
}

uint32_t Attach() {
    ThreadRegistry* registry = processRegistry;
    if (!registry) return 0;
    const ScopedLock lock(registry->Lock());
    const uint32_t id = GetCurrentThreadId();
    return !registry->Find(id) && registry->Register(id);
}

uint32_t Detach() {
    return WithThread(GetCurrentThreadId(), [](ThreadRegistry& registry, ThreadRecord& thread) -> uint32_t {
        registry.Remove(thread);
        delete &thread;
        return 1;
    });
}

UniqueHandle OpenForWait(uint32_t id) {
    return UniqueHandle(OpenThread(SYNCHRONIZE, /*bInheritHandle=*/FALSE, id));
}

}  // namespace wpk::core::ThreadLib
