// Semaphores, threads, handles and time: the calls.
// SPDX-License-Identifier: MIT
#include <chrono>
#include <ctime>
#include <thread>

#include "fake_platform/src/call.h"
#include "fake_platform/src/scheduler.h"
#include "fake_platform/src/thread.h"
#include "process.h"
#include "windows.h"

using wpk::host::Call;
using wpk::host::CallScope;
using wpk::host::Kind;
using wpk::host::Object;
using wpk::host::Semaphore;
using wpk::host::Thread;
using wpk::host::UseHandle;
using wpk::host::Waitable;

namespace {

thread_local DWORD lastError = NO_ERROR;

constexpr DWORD kCallFailed = 0xFFFFFFFF;
const HANDLE kThisProcess = reinterpret_cast<HANDLE>(intptr_t{-1});
const HANDLE kThisThread = reinterpret_cast<HANDLE>(intptr_t{-2});

std::shared_ptr<Thread> UseThread(const char* call, HANDLE handle) {
    if (handle == kThisThread) return Thread::ById(Thread::Current()->Id());
    return std::static_pointer_cast<Thread>(UseHandle(call, handle, Kind::kThread));
}

DWORD Refuse(DWORD error, DWORD result) {
    SetLastError(error);
    return result;
}

}  // namespace

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD error) {
    lastError = error;
}

HANDLE CreateSemaphoreA(LPSECURITY_ATTRIBUTES, LONG initial, LONG maximum, LPCSTR) {
    const CallScope call(Call::kCreateSemaphoreA);
    if (call.Fails()) return nullptr;
    if (initial < 0 || maximum < 1 || initial > maximum) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return wpk::host::OpenHandle(std::make_shared<Semaphore>(initial, maximum));
}

BOOL ReleaseSemaphore(HANDLE handle, LONG count, LPLONG previous) {
    const CallScope call(Call::kReleaseSemaphore);
    if (call.Fails()) return FALSE;
    const std::shared_ptr<Object> object = UseHandle("ReleaseSemaphore", handle, Kind::kSemaphore);
    if (!object) return FALSE;
    if (count < 1) return static_cast<BOOL>(Refuse(ERROR_INVALID_PARAMETER, FALSE));
    if (static_cast<Semaphore&>(*object).Release(count, previous)) return TRUE;
    return static_cast<BOOL>(Refuse(ERROR_TOO_MANY_POSTS, FALSE));
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    const CallScope call(Call::kWaitForSingleObject);
    if (call.Fails()) return WAIT_FAILED;
    const std::shared_ptr<Object> object =
        handle == kThisThread ? UseThread("WaitForSingleObject", handle) : UseHandle("WaitForSingleObject", handle);
    auto* waitable = dynamic_cast<Waitable*>(object.get());
    if (!waitable) return Refuse(ERROR_INVALID_HANDLE, WAIT_FAILED);
    return waitable->Wait(milliseconds);
}

BOOL CloseHandle(HANDLE handle) {
    const CallScope call(Call::kCloseHandle);
    if (handle == kThisThread || handle == kThisProcess) return TRUE;
    const std::shared_ptr<Object> object = UseHandle("CloseHandle", handle);
    if (!object) return FALSE;
    const Kind kind = object->GetKind();
    if (kind == Kind::kKey || kind == Kind::kEventSource) {
        wpk::host::RecordMisuse("CloseHandle: a handle that has a call of its own for it");
        return FALSE;
    }
    return wpk::host::CloseSlot("CloseHandle", handle) && !call.Fails();
}

void Sleep(DWORD milliseconds) {
    const CallScope call(Call::kSleep);
    const wpk::host::WaitScope wait;
    if (wpk::host::IsScheduled()) {
        wpk::host::AwaitScheduled(
            "Sleep", [] { return false; }, milliseconds);
        return;
    }
    std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(wpk::host::RealMilliseconds(milliseconds)));
}

HANDLE GetCurrentProcess() {
    const CallScope call(Call::kGetCurrentProcess);
    return kThisProcess;
}

BOOL DuplicateHandle(HANDLE sourceProcess, HANDLE source, HANDLE targetProcess, LPHANDLE target, DWORD, BOOL,
                     DWORD options) {
    const CallScope call(Call::kDuplicateHandle);
    if (call.Fails()) return FALSE;
    if (sourceProcess != kThisProcess || targetProcess != kThisProcess) {
        return static_cast<BOOL>(Refuse(ERROR_INVALID_HANDLE, FALSE));
    }
    std::shared_ptr<Object> object =
        source == kThisThread ? UseThread("DuplicateHandle", source) : UseHandle("DuplicateHandle", source);
    if (!object) return FALSE;
    *target = wpk::host::OpenHandle(std::move(object));
    if (options & DUPLICATE_CLOSE_SOURCE) wpk::host::CloseSlot("DuplicateHandle", source);
    return TRUE;
}

uintptr_t _beginthreadex(void*, unsigned, unsigned (*entry)(void*), void* argument, unsigned flags, unsigned* id) {
    const CallScope call(Call::k_beginthreadex);
    if (call.Fails()) return 0;
    // Suspended in any case, so that the id is there before the thread can look at it.
    const std::shared_ptr<Thread> thread = Thread::Start(entry, argument, /*suspended=*/true);
    if (!thread) return Refuse(ERROR_NOT_ENOUGH_MEMORY, 0);
    const HANDLE handle = wpk::host::OpenHandle(thread);
    if (id) *id = thread->Id();
    if (!(flags & CREATE_SUSPENDED)) thread->Resume();
    return reinterpret_cast<uintptr_t>(handle);
}

void _endthreadex(unsigned exitCode) {
    { const CallScope call(Call::k_endthreadex); }
    Thread::Current()->Exit(exitCode);
}

HANDLE GetCurrentThread() {
    const CallScope call(Call::kGetCurrentThread);
    return kThisThread;
}

DWORD GetCurrentThreadId() {
    const CallScope call(Call::kGetCurrentThreadId);
    const Thread* thread = Thread::Current();
    return thread ? thread->Id() : 0;
}

DWORD GetThreadId(HANDLE handle) {
    const CallScope call(Call::kGetThreadId);
    const std::shared_ptr<Thread> thread = UseThread("GetThreadId", handle);
    return thread ? thread->Id() : 0;
}

HANDLE OpenThread(DWORD, BOOL, DWORD id) {
    const CallScope call(Call::kOpenThread);
    if (call.Fails()) return nullptr;
    std::shared_ptr<Thread> thread = Thread::ById(id);
    if (thread) return wpk::host::OpenHandle(std::move(thread));
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
}

DWORD ResumeThread(HANDLE handle) {
    const CallScope call(Call::kResumeThread);
    if (call.Fails()) return kCallFailed;
    const std::shared_ptr<Thread> thread = UseThread("ResumeThread", handle);
    return thread ? thread->Resume() : kCallFailed;
}

DWORD SuspendThread(HANDLE handle) {
    const CallScope call(Call::kSuspendThread);
    if (call.Fails()) return kCallFailed;
    const std::shared_ptr<Thread> thread = UseThread("SuspendThread", handle);
    if (!thread) return kCallFailed;
    const DWORD before = thread->Suspend();
    return before == kCallFailed ? Refuse(ERROR_ACCESS_DENIED, before) : before;
}

BOOL TerminateThread(HANDLE handle, DWORD exitCode) {
    const CallScope call(Call::kTerminateThread);
    if (call.Fails()) return FALSE;
    const std::shared_ptr<Thread> thread = UseThread("TerminateThread", handle);
    if (!thread) return FALSE;
    thread->Terminate(exitCode);
    return TRUE;
}

BOOL GetExitCodeThread(HANDLE handle, LPDWORD exitCode) {
    const CallScope call(Call::kGetExitCodeThread);
    if (call.Fails()) return FALSE;
    const std::shared_ptr<Thread> thread = UseThread("GetExitCodeThread", handle);
    if (!thread) return FALSE;
    *exitCode = thread->ExitCode();
    return TRUE;
}
