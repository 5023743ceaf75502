// Platform calls that fail: each call of a request once and for good. Whatever fails, every handle ends in one final
// notification, nothing is left behind, and the next request works.
// SPDX-License-Identifier: MIT
#include "support/dll/import_patch.h"
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <process.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace wpk::harness {
namespace {

/// Which call of the function under test fails. Set while no request runs; counted by any thread.
struct Plan {
    std::atomic<int> calls{0};
    std::atomic<int> fired{0};
    std::atomic<int> firstToFail{0};  // 1 is the next call; 0: none
    std::atomic<bool> forGood{false};

    void Arm(int first, bool good) {
        calls = 0;
        fired = 0;
        forGood = good;
        firstToFail = first;
    }
    bool Fails() {
        const int number = ++calls;
        const int first = firstToFail;
        const bool fails = first != 0 && (number == first || (forGood && number > first));
        if (fails) ++fired;
        return fails;
    }
};

/// The failing version of one imported function. `Mark` keeps functions of the same type apart.
template <class Mark, class Function>
struct Faulty;

template <class Mark, class Result, class... Arguments>
struct Faulty<Mark, Result(Arguments...)> {
    static Result Call(Arguments... arguments) {
        if (plan.Fails()) {
            SetLastError(Mark::kError);
            return Mark::Failed();
        }
        return FunctionAt<Result(Arguments...)>(original)(arguments...);
    }
    static inline Plan plan;
    static inline void* original = nullptr;
};

struct Target {
    const char* name;
    void* replacement;
    Plan* plan;
    void** original;
};

template <class Mark, class Function>
Target MakeTarget(const char* name) {
    using Its = Faulty<Mark, Function>;
    return {name, AddressOf(&Its::Call), &Its::plan, &Its::original};
}

// One failing function: what it returns when it fails, and the error it leaves behind.
#define WPK_FAILING(name, error, ...)                \
    struct Failing_##name {                          \
        static constexpr DWORD kError = error;       \
        static auto Failed() { return __VA_ARGS__; } \
    }
#define WPK_TARGET(name) MakeTarget<Failing_##name, decltype(::name)>(#name)

WPK_FAILING(CreateSemaphoreA, ERROR_NOT_ENOUGH_MEMORY, HANDLE{nullptr});
WPK_FAILING(_beginthreadex, ERROR_NOT_ENOUGH_MEMORY, uintptr_t{0});
WPK_FAILING(socket, WSAEMFILE, SOCKET{INVALID_SOCKET});
WPK_FAILING(setsockopt, WSAENOPROTOOPT, -1);
WPK_FAILING(SetHandleInformation, ERROR_INVALID_HANDLE, FALSE);
WPK_FAILING(ioctlsocket, WSAENETDOWN, -1);
WPK_FAILING(connect, WSAENETUNREACH, -1);
WPK_FAILING(select, WSAENETDOWN, -1);
WPK_FAILING(send, WSAECONNRESET, -1);
WPK_FAILING(recv, WSAECONNRESET, -1);
WPK_FAILING(gethostbyname, WSAHOST_NOT_FOUND, static_cast<hostent*>(nullptr));
WPK_FAILING(CreateFileA, ERROR_DISK_FULL, HANDLE{INVALID_HANDLE_VALUE});
WPK_FAILING(SetFilePointer, ERROR_INVALID_HANDLE, DWORD{INVALID_SET_FILE_POINTER});
WPK_FAILING(SetEndOfFile, ERROR_DISK_FULL, FALSE);
WPK_FAILING(SetFileTime, ERROR_ACCESS_DENIED, FALSE);
WPK_FAILING(CreateFileMappingA, ERROR_NOT_ENOUGH_MEMORY, HANDLE{nullptr});
WPK_FAILING(MapViewOfFile, ERROR_NOT_ENOUGH_MEMORY, static_cast<void*>(nullptr));
WPK_FAILING(WSAStartup, 0, int{WSASYSNOTREADY});
WPK_FAILING(GetModuleHandleExA, ERROR_MOD_NOT_FOUND, FALSE);
WPK_FAILING(malloc, ERROR_NOT_ENOUGH_MEMORY, static_cast<void*>(nullptr));
WPK_FAILING(calloc, ERROR_NOT_ENOUGH_MEMORY, static_cast<void*>(nullptr));
WPK_FAILING(realloc, ERROR_NOT_ENOUGH_MEMORY, static_cast<void*>(nullptr));

/// Written out: the compiler's own attributes of malloc are no part of a template argument.
const Target kMalloc = MakeTarget<Failing_malloc, void*(size_t)>("malloc");
const Target kCalloc = MakeTarget<Failing_calloc, void*(size_t, size_t)>("calloc");
const Target kRealloc = MakeTarget<Failing_realloc, void*(void*, size_t)>("realloc");

std::vector<Target> CallsOfARequest() {
    return {WPK_TARGET(CreateSemaphoreA),
            WPK_TARGET(_beginthreadex),
            WPK_TARGET(socket),
            WPK_TARGET(setsockopt),
            WPK_TARGET(SetHandleInformation),
            WPK_TARGET(ioctlsocket),
            WPK_TARGET(connect),
            WPK_TARGET(select),
            WPK_TARGET(send),
            WPK_TARGET(recv),
            WPK_TARGET(gethostbyname),
            WPK_TARGET(CreateFileA),
            WPK_TARGET(SetFilePointer),
            WPK_TARGET(SetEndOfFile),
            WPK_TARGET(SetFileTime),
            WPK_TARGET(CreateFileMappingA),
            WPK_TARGET(MapViewOfFile),
            kMalloc};
}

std::vector<Target> CallsOfTheStart() {
    return {WPK_TARGET(CreateSemaphoreA), WPK_TARGET(_beginthreadex), WPK_TARGET(WSAStartup),
            WPK_TARGET(GetModuleHandleExA), kMalloc};
}

/// The fault in place; the original function back when it goes.
class Fault {
public:
    Fault(const Library& library, const Target& target) : patch_(library.module(), target.name, target.replacement) {
        EXPECT_TRUE(patch_.Found()) << target.name;
        *target.original = patch_.original();
    }

private:
    ImportPatch patch_;
};

/// Ends the program, with a word about where, when a step takes for ever: a lost wake-up must not look like a time-out
/// of the whole suite.
class Watchdog {
public:
    explicit Watchdog(std::string step)
        : step_(std::move(step)), thread_([this] {
              if (!done_.Wait(2 * kPatience)) Die("stuck with a fault in " + step_);
          }) {}
    ~Watchdog() { done_.Set(); }

private:
    std::string step_;
    Signal done_;
    Thread thread_;
};

class FaultTest : public testing::Test {
protected:
    /// By name, so that the look-up takes part; large, so that the spool file does.
    void Prepare(Request& request) { request.Server("localhost"); }

    std::string Describe(const Target& target, int call, bool forGood) {
        return std::string(target.name) + ", call " + std::to_string(call) + (forGood ? " and all later ones" : "");
    }

    const std::string body_ = Pattern(20000);
    Peer peer_{[this](Connection& connection) {
                   if (connection.ReadRequest().empty()) return;
                   connection.Send(Ok(body_));
               },
               2};
};

std::string NameOf(const testing::TestParamInfo<Target>& info) {
    const std::string name = info.param.name;
    return name.substr(name.find_first_not_of('_'));
}

class FaultInARequest : public FaultTest, public testing::WithParamInterface<Target> {
protected:
    /// Runs one request in which calls of the target fail from number `call` on, or that one only; 0: none fails.
    void RunWithFault(int call, bool forGood) {
        const std::string step = Describe(GetParam(), call, forGood);
        SCOPED_TRACE(step);
        const Watchdog watchdog(step);
        Request request(peer_.Port());
        Prepare(request);
        GetParam().plan->Arm(call, forGood);
        const bool taken = request.Send(library_) != 0;
        EXPECT_TRUE(!taken || request.WaitForEnd());
        const int fired = GetParam().plan->fired;
        calls_ = GetParam().plan->calls;
        GetParam().plan->Arm(0, false);

        EXPECT_EQ(call != 0, fired > 0) << "the fault did not take place";
        EXPECT_EQ(request.inbox.Finals(), taken ? 1u : 0u);
        EXPECT_TRUE(FilesLike("", "tmp*").empty());
        const bool delivered = taken && request.Final().reason == WPK_REASON_REPLY;
        EXPECT_TRUE(delivered || call != 0);
        if (delivered) ExpectReply(request, body_);
    }

    /// How often a reply is awaited and received is the network's business: beyond the first few calls nothing is sure.
    /// Nor is the semaphore that only a connect makes which has to wait; the sender's own one is.
    int SureCalls() const {
        const std::string name = GetParam().name;
        if (name == "CreateSemaphoreA") return std::min(calls_, 1);
        return std::min(calls_, name == "recv" || name == "select" ? 3 : 40);
    }

    const Library library_ = StartFresh();
    int calls_ = 0;
};

TEST_P(FaultInARequest, EndsInOneOutcomeAndLeavesNothing) {
    const Fault fault(library_, GetParam());
    // Counted in the second request: the first one may set up things that later ones find.
    RunWithFault(0, false);
    RunWithFault(0, false);
    ASSERT_GT(calls_, 0);
    const int last = SureCalls();
    // The first time something fails on a thread, the run-time library sets up what it needs for exceptions there.
    for (int call = 1; call <= last; ++call) RunWithFault(call, false);
    ASSERT_TRUE(peer_.WaitUntilIdle());
    const std::set<DWORD> threads = ThreadIds();
    const size_t handles = HandleCount();
    for (int call = 1; call <= last; ++call) {
        RunWithFault(call, false);
        RunWithFault(call, true);
    }
    RunWithFault(0, false);
    EXPECT_TRUE(WaitForOtherThreads(threads));
    ASSERT_TRUE(peer_.WaitUntilIdle());
    EXPECT_EQ(ThreadIds(), threads);
    EXPECT_TRUE(WaitUntilHandlesAreAtMost(handles)) << HandleCount() << " handles";
}

INSTANTIATE_TEST_SUITE_P(AnyCallOf, FaultInARequest, testing::ValuesIn(CallsOfARequest()), NameOf);

class FaultInTheStart : public FaultTest, public testing::WithParamInterface<Target> {
protected:
    /// Starts a fresh library while calls of the target fail, then expects it to work, by a second start if need be.
    void StartWithFault(int call, bool forGood) {
        const std::string step = "the start, " + Describe(GetParam(), call, forGood);
        SCOPED_TRACE(step);
        const Watchdog watchdog(step);
        const Library library = Library::LoadFresh();
        const Fault fault(library, GetParam());
        const std::set<DWORD> threads = ThreadIds();
        Inbox& inbox = *new Inbox;
        const WPK_INITSTRUCT settings = PermanentSettings(inbox);
        GetParam().plan->Arm(call, forGood);
        const int result = library.Init(&settings);
        const int fired = GetParam().plan->fired;
        calls_ = GetParam().plan->calls;
        GetParam().plan->Arm(0, false);
        EXPECT_EQ(call != 0, fired > 0) << "the fault did not take place";

        Request request(peer_.Port());
        if (result == 0) {
            EXPECT_EQ(request.Send(library), 0u);
            EXPECT_TRUE(WaitForOtherThreads(threads)) << "a thread of the failed start still runs";
            ASSERT_EQ(library.Init(&settings), 1);
        }
        ASSERT_TRUE(request.Run(library));
        // Without sockets the library is initialised all the same: it only has no network.
        const bool withoutSockets = call != 0 && std::string(GetParam().name) == "WSAStartup";
        if (withoutSockets) {
            EXPECT_EQ(result, 1);
            ExpectFailure(request, WPK_ERROR_NO_NETWORK);
        } else {
            ExpectReply(request, body_);
        }
        EXPECT_TRUE(inbox.All().empty());
    }

    int calls_ = 0;
};

TEST_P(FaultInTheStart, LeavesALibraryThatWorksOrCanBeStartedAgain) {
    StartWithFault(0, false);
    const int calls = calls_;
    ASSERT_GT(calls, 0);
    for (int call = 1; call <= calls; ++call) {
        StartWithFault(call, false);
        StartWithFault(call, true);
    }
}

INSTANTIATE_TEST_SUITE_P(AnyCallOf, FaultInTheStart, testing::ValuesIn(CallsOfTheStart()), NameOf);

// A cancel that cannot be carried out must not harm: the request then runs on.
TEST_F(FaultTest, ThreadOfACancelThatCannotBeStartedLeavesTheRequestRunning) {
    const Library library = StartFresh();
    const Target target = WPK_TARGET(_beginthreadex);
    const Fault fault(library, target);
    Signal go;
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        go.Wait();
        connection.Send(Ok("ok"));
    });
    const Watchdog watchdog("a cancel");
    Request request(peer.Port());
    target.plan->Arm(0, false);
    ASSERT_NE(request.Send(library), 0u);
    target.plan->Arm(1, true);
    EXPECT_EQ(library.Cancel(request.Handle()), 0);
    EXPECT_EQ(target.plan->fired, 1);
    target.plan->Arm(0, false);
    go.Set();
    ASSERT_TRUE(request.WaitForEnd());
    ExpectReply(request, "ok");
}

/// In callbacks, memory runs out for the library, and they throw: the first exception on each of those threads.
WPK_SCENARIO(ThrowWithoutMemory) {
    const Library library = Library::Load();
    const WPK_INITSTRUCT settings = PermanentSettings(*new Inbox);
    if (library.Init(&settings) != 1) return 1;
    const Fault mallocFault(library, kMalloc);
    const Fault callocFault(library, kCalloc);
    const Fault reallocFault(library, kRealloc);
    const auto arm = [](int first) {
        for (const Target* target : {&kMalloc, &kCalloc, &kRealloc}) target->plan->Arm(first, /*good=*/true);
    };
    Peer peer(Answer(Ok("ok")), 2);
    for (int i = 0; i < 3; ++i) {
        Request request(peer.Port());
        request.inbox.inside = [&](WPK_CALLBACKSTRUCT& notification) {
            if (notification.nReason != WPK_REASON_REPLY) return;
            arm(1);
            throw 1;
        };
        if (request.Send(library) == 0) return 2;
        if (!request.WaitForEnd()) return 3;
        arm(0);
    }
    Request request(peer.Port());
    return request.Run(library) && request.Final().bytes == "ok" ? 0 : 4;
}

TEST(CallbackThatThrows, WithoutMemoryEndsItsRequestAlone) {
    EXPECT_EQ(Child("ThrowWithoutMemory", "").Wait(), 0u);
}

}  // namespace
}  // namespace wpk::harness
