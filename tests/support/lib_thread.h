// A thread of the thread layer that runs a test's lambda, and the layer itself for the length of a test.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_LIB_THREAD_H
#define WPK_TESTS_SUPPORT_LIB_THREAD_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "threadlib/process_registry.h"
#include "threadlib/threadlib.h"

namespace wpk::test {

/// Waits until no more than so many threads are registered: one that has just done its work still has to sign off.
inline void AwaitThreads(uint32_t count) {
    core::ThreadRegistry* registry = core::ThreadLib::processRegistry;
    auto registered = [registry] {
        const core::ScopedLock lock(registry->Lock());
        return registry->Count();
    };
    while (registry && registered() > count) Sleep(1);
}

/// Takes the thread layer down once its last thread has left.
inline void ShutDownLayer() {
    core::ThreadLib::Detach();
    AwaitThreads(0);
    core::ThreadLib::Shutdown();
}

/// Initialises the thread layer and takes it down again. The thread that makes it is registered meanwhile.
class ThreadLayer : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(core::ThreadLib::Init(), GetCurrentThreadId()); }
    void TearDown() override { ShutDownLayer(); }
};

/// Made suspended; runs its body once resumed. Joined at the latest when it goes out of scope.
class LibThread {
public:
    explicit LibThread(std::function<uint32_t()> body) : body_(std::make_unique<std::function<uint32_t()>>(body)) {
        id_ = core::ThreadLib::Create(Run, body_.get());
        ended_ = core::ThreadLib::OpenForWait(id_);
    }
    LibThread(const LibThread&) = delete;
    LibThread& operator=(const LibThread&) = delete;
    ~LibThread() { Join(); }

    /// As the constructor, and resumed.
    static LibThread Started(std::function<uint32_t()> body) { return LibThread(std::move(body), true); }

    uint32_t Id() const { return id_; }
    uint32_t Resume() const { return core::ThreadLib::Resume(id_); }

    /// Waits for the thread's end.
    void Join() {
        if (!ended_) return;
        WaitForSingleObject(ended_.Get(), INFINITE);
        ended_.Reset();
    }

private:
    LibThread(std::function<uint32_t()> body, bool) : LibThread(std::move(body)) { Resume(); }

    static uint32_t Run(void* body) { return (*static_cast<std::function<uint32_t()>*>(body))(); }

    std::unique_ptr<std::function<uint32_t()>> body_;
    uint32_t id_ = 0;
    core::UniqueHandle ended_;
};

/// A thread of the layer that stands in a wait of its entry for ever, from the constructor's return on. Such a one may
/// be suspended and ended: one that is still on its way into its entry, or out of life, may hold the loader's lock or
/// the heap's, and take it along.
class StandingThread {
public:
    StandingThread()
        : thread_(LibThread::Started([this] {
              stands_.Signal();
              return uint32_t{never_.Wait()};
          })) {
        stands_.Wait();
    }

    uint32_t Id() const { return thread_.Id(); }
    uint32_t Resume() const { return thread_.Resume(); }

private:
    core::Semaphore stands_{core::SemaphoreKind::kSignal};
    core::Semaphore never_{core::SemaphoreKind::kSignal};
    LibThread thread_;
};

/// A thread that the layer did not make and does not know. Runs its body at once; joined at the latest when it goes out
/// of scope.
class OutsideThread {
public:
    explicit OutsideThread(std::function<void()> body) : body_(std::make_unique<std::function<void()>>(body)) {
        handle_.Reset(reinterpret_cast<HANDLE>(
            _beginthreadex(/*security=*/nullptr, /*stack_size=*/0, Run, body_.get(), /*initflag=*/0, &id_)));
    }
    OutsideThread(const OutsideThread&) = delete;
    OutsideThread& operator=(const OutsideThread&) = delete;
    ~OutsideThread() { Join(); }

    uint32_t Id() const { return id_; }

    /// Waits for the thread's end.
    void Join() {
        if (!handle_) return;
        WaitForSingleObject(handle_.Get(), INFINITE);
        handle_.Reset();
    }

private:
    static unsigned __stdcall Run(void* body) {
        (*static_cast<std::function<void()>*>(body))();
        return 0;
    }

    std::unique_ptr<std::function<void()>> body_;
    unsigned id_ = 0;
    core::UniqueHandle handle_;
};

/// Watches a thread of the layer from now on, so that its exit code can be had after its end.
class ExitWatch {
public:
    explicit ExitWatch(uint32_t id)
        : thread_(OpenThread(SYNCHRONIZE | THREAD_QUERY_INFORMATION, /*bInheritHandle=*/FALSE, id)) {}

    /// Waits for the thread's end.
    DWORD ExitCode() const {
        DWORD code = STILL_ACTIVE;
        WaitForSingleObject(thread_.Get(), INFINITE);
        GetExitCodeThread(thread_.Get(), &code);
        return code;
    }

private:
    core::UniqueHandle thread_;
};

/// Calls `look` with a thread's record, null when it is unknown, under the registry's lock.
template <class Look>
auto WithRecord(uint32_t id, Look look) {
    core::ThreadRegistry* registry = core::ThreadLib::processRegistry;
    const core::ScopedLock lock(registry->Lock());
    return look(registry->Find(id));
}

/// The name of a thread; empty when it has none, "(ended)" when it is unknown.
inline std::string NameOf(uint32_t id) {
    return WithRecord(id, [](const core::ThreadRecord* thread) -> std::string {
        if (!thread) return "(ended)";
        return thread->name ? thread->name.get() : "";
    });
}

/// The state of a thread as the layer sees it; kEnded when it is unknown.
inline core::ThreadState StateOf(uint32_t id) {
    return WithRecord(
        id, [](const core::ThreadRecord* thread) { return thread ? thread->state : core::ThreadState::kEnded; });
}

/// Waits until the layer sees the thread in this state. The layer has no event for it, so it is looked at again and
/// again.
inline void AwaitState(uint32_t id, core::ThreadState state) {
    while (StateOf(id) != state) Sleep(1);
}

}  // namespace wpk::test

#endif
