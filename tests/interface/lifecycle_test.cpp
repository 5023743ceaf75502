// Initialisation, calls before it, connection types, freeing the library, the end of the process.
// SPDX-License-Identifier: MIT
#include "support/dll/import_patch.h"
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>

namespace wpk::harness {
namespace {

/// Default callbacks may come as long as the process lives.
Inbox& NewInbox() {
    return *new Inbox;
}

TEST(BeforeInit, SendAndCancelReturnZeroAndNoCallbackComes) {
    const Library library = Library::LoadFresh();
    const std::set<DWORD> before = ThreadIds();
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    EXPECT_EQ(request.Send(library), 0u);
    EXPECT_EQ(library.Send(nullptr), 0u);
    EXPECT_EQ(library.Cancel(0), 0);
    EXPECT_EQ(library.Cancel(4711), 0);
    // Whatever had been started would have to run on a thread: besides the peer's there is none.
    EXPECT_EQ(ThreadIds().size(), before.size() + 1);
    EXPECT_TRUE(request.inbox.All().empty());
    EXPECT_EQ(peer.Connections(), 0u);
}

TEST(BeforeInit, LoadingAndFreeingLeavesNothingBehind) {
    // Once for everything that the system itself sets up.
    FreeLibrary(Library::LoadFresh().module());
    const size_t handles = HandleCount();
    const size_t threads = ThreadIds().size();
    for (int i = 0; i < 5; ++i) {
        const Library library = Library::LoadFresh();
        EXPECT_TRUE(FreeLibrary(library.module()));
        EXPECT_EQ(GetModuleHandleA(library.path().c_str()), nullptr);
    }
    EXPECT_EQ(HandleCount(), handles);
    EXPECT_EQ(ThreadIds().size(), threads);
}

/// Bytes in use in all heaps of this process.
size_t HeapBytes() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    size_t bytes = 0;
    for (DWORD i = 0; i < count && i < 64; ++i) {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heaps[i], &entry)) {
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
        }
        HeapUnlock(heaps[i]);
    }
    return bytes;
}

TEST(BeforeInit, LoadingAndFreeingAgainAndAgainTakesNoMemory) {
    const Library library = Library::LoadFresh();
    // The first rounds also pay for what the system sets up once.
    FreeLibrary(library.module());
    const auto round = [&] { return FreeLibrary(LoadLibraryA(library.path().c_str())); };
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(round());
    const size_t before = HeapBytes();
    constexpr size_t kRounds = 20;
    for (size_t i = 0; i < kRounds; ++i) ASSERT_TRUE(round());
    // A loader may note something of each round for itself: much less than the least that the module allocates.
    EXPECT_LT(HeapBytes(), before + kRounds * 256);
}

BOOL WINAPI RefuseToPin(DWORD, LPCSTR, HMODULE* module) {
    *module = nullptr;
    return FALSE;
}

TEST(Init, ThatFailsLeavesNothingAndTheModuleCanBeFreed) {
    // Once for everything that the system itself sets up.
    FreeLibrary(Library::LoadFresh().module());
    const size_t handles = HandleCount();
    const size_t threads = ThreadIds().size();
    for (const WPK_INT64 type : {WPK_CONNECTION_NEVER, WPK_CONNECTION_DIAL_UP, WPK_CONNECTION_PERMANENT}) {
        SCOPED_TRACE(type);
        const Library library = Library::LoadFresh();
        Inbox& inbox = NewInbox();
        {
            const ImportPatch pin(library.module(), "GetModuleHandleExA", AddressOf(&RefuseToPin));
            ASSERT_TRUE(pin.Found());
            WPK_INITSTRUCT settings = PermanentSettings(inbox);
            settings.nConnectionType = type;
            for (int i = 0; i < 2; ++i) EXPECT_EQ(library.Init(&settings), 0);
        }
        EXPECT_EQ(ThreadIds().size(), threads);
        EXPECT_TRUE(FreeLibrary(library.module()));
        EXPECT_EQ(GetModuleHandleA(library.path().c_str()), nullptr);
        EXPECT_TRUE(inbox.All().empty());
    }
    EXPECT_EQ(HandleCount(), handles);
}

TEST(Init, AfterOneThatFailedWorks) {
    const Library library = Library::LoadFresh();
    const WPK_INITSTRUCT settings = PermanentSettings(NewInbox());
    {
        const ImportPatch pin(library.module(), "GetModuleHandleExA", AddressOf(&RefuseToPin));
        ASSERT_EQ(library.Init(&settings), 0);
    }
    ASSERT_EQ(library.Init(&settings), 1);
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    RunAndExpectReply(library, request, "ok");
}

TEST(Init, KeepsTheModuleHoweverOftenItIsFreed) {
    const Library library = StartFresh();
    for (int i = 0; i < 5; ++i) FreeLibrary(library.module());
    EXPECT_EQ(GetModuleHandleA(library.path().c_str()), library.module());
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    RunAndExpectReply(library, request, "ok");
}

TEST(Init, WithNullReturnsZeroAndStaysUninitialised) {
    const Library library = Library::LoadFresh();
    EXPECT_EQ(library.Init(nullptr), 0);
    Request request(DeadPort());
    EXPECT_EQ(request.Send(library), 0u);
    Inbox& inbox = NewInbox();
    const WPK_INITSTRUCT settings = PermanentSettings(inbox);
    EXPECT_EQ(library.Init(&settings), 1);
    EXPECT_EQ(library.Init(nullptr), 0);
}

TEST(Init, TwiceReturnsOneAndLeavesTheFirstSettingsInForce) {
    const Library library = Library::LoadFresh();
    Inbox& first = NewInbox();
    Inbox& second = NewInbox();
    WPK_INITSTRUCT settings = PermanentSettings(first);
    ASSERT_EQ(library.Init(&settings), 1);
    const std::set<DWORD> threads = ThreadIds();
    settings = PermanentSettings(second);
    settings.nConnectionType = WPK_CONNECTION_NEVER;
    EXPECT_EQ(library.Init(&settings), 1);
    EXPECT_EQ(ThreadIds(), threads);

    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    request.record.lpfnCallback = nullptr;
    ASSERT_NE(request.Send(library), 0u);
    ASSERT_TRUE(first.WaitForFinal());
    ASSERT_TRUE(first.WaitForThreadEnd());
    EXPECT_EQ(first.All().back().bytes, "ok");
    EXPECT_TRUE(second.All().empty());
}

TEST(Init, StartsOneThread) {
    const Library library = Library::LoadFresh();
    const size_t before = ThreadIds().size();
    const WPK_INITSTRUCT settings = PermanentSettings(NewInbox());
    ASSERT_EQ(library.Init(&settings), 1);
    EXPECT_EQ(ThreadIds().size(), before + 1);
}

TEST(Init, FromManyThreadsAtOnceStartsOneService) {
    for (int round = 0; round < 5; ++round) {
        const Library library = Library::LoadFresh();
        const WPK_INITSTRUCT settings = PermanentSettings(NewInbox());
        const size_t before = ThreadIds().size();
        Signal go;
        int results[4] = {};
        std::vector<Thread> threads;
        for (int& result : results) {
            threads.emplace_back([&] {
                go.Wait();
                result = library.Init(&settings);
            });
        }
        go.Set();
        threads.clear();
        for (const int result : results) EXPECT_EQ(result, 1);
        EXPECT_EQ(ThreadIds().size(), before + 1);
        Peer peer(Answer(Ok("ok")));
        Request request(peer.Port());
        RunAndExpectReply(library, request, "ok");
    }
}

TEST(Init, WhileOthersSendLetsEverySendFailOrWork) {
    const Library library = Library::LoadFresh();
    const WPK_INITSTRUCT settings = PermanentSettings(NewInbox());
    Peer peer(Answer(Ok("ok")), 2);
    Signal go;
    std::vector<std::unique_ptr<Request>> requests;
    for (int i = 0; i < 40; ++i) requests.push_back(std::make_unique<Request>(peer.Port()));
    std::vector<Thread> senders;
    for (size_t sender = 0; sender < 4; ++sender) {
        senders.emplace_back([&, sender] {
            go.Wait();
            for (size_t i = sender; i < requests.size(); i += 4) requests[i]->Send(library);
        });
    }
    go.Set();
    EXPECT_EQ(library.Init(&settings), 1);
    senders.clear();
    for (const auto& request : requests) {
        if (request->Handle() == 0) {
            EXPECT_TRUE(request->inbox.All().empty());
            continue;
        }
        ASSERT_TRUE(request->WaitForEnd());
        ExpectReply(*request, "ok");
    }
}

/// Settings with one connection type, whatever its value.
WPK_INITSTRUCT SettingsOfType(WPK_INT64 type, Inbox& inbox) {
    WPK_INITSTRUCT settings = PermanentSettings(inbox);
    settings.nConnectionType = type;
    return settings;
}

void ExpectNoNetwork(const Library& library) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    RunAndExpectFailure(library, request, WPK_ERROR_NO_NETWORK);
    EXPECT_EQ(request.inbox.All().size(), 1u);
    EXPECT_EQ(peer.Connections(), 0u) << "the network was touched";
}

/// The first word about the connection: there is none, said on a thread that is not the caller's.
void ExpectToldOfNoConnection(Inbox& inbox) {
    ASSERT_TRUE(inbox.WaitForCount(1));
    const Notification told = inbox.All()[0];
    EXPECT_EQ(told.reason, static_cast<unsigned int>(WPK_REASON_CONNECTION));
    EXPECT_EQ(told.connected, 0u);
    EXPECT_EQ(told.userData, &inbox);
    EXPECT_NE(told.thread, GetCurrentThreadId());
    EXPECT_TRUE(told.restIsZero);
}

TEST(ConnectionType, NeverIsToldOnceAndEveryRequestFails) {
    const Library library = Library::LoadFresh();
    Inbox& inbox = NewInbox();
    const WPK_INITSTRUCT settings = SettingsOfType(WPK_CONNECTION_NEVER, inbox);
    ASSERT_EQ(library.Init(&settings), 1);
    ExpectToldOfNoConnection(inbox);
    // The thread that told it ends; had it more to say, it would have said so.
    EXPECT_TRUE(inbox.WaitForThreadEnd());
    EXPECT_EQ(inbox.All().size(), 1u);
    ExpectNoNetwork(library);
}

TEST(ConnectionType, DialUpBeginsWithoutConnection) {
    const Library library = Library::LoadFresh();
    Inbox& inbox = NewInbox();
    const WPK_INITSTRUCT settings = SettingsOfType(WPK_CONNECTION_DIAL_UP, inbox);
    ASSERT_EQ(library.Init(&settings), 1);
    ExpectToldOfNoConnection(inbox);
    ExpectNoNetwork(library);
}

TEST(ConnectionType, PermanentWorksAtOnceAndTellsNothing) {
    const Library library = Library::LoadFresh();
    Inbox& inbox = NewInbox();
    const std::set<DWORD> before = ThreadIds();
    const WPK_INITSTRUCT settings = SettingsOfType(WPK_CONNECTION_PERMANENT, inbox);
    ASSERT_EQ(library.Init(&settings), 1);
    {
        Peer peer(Answer(Ok("ok")));
        Request request(peer.Port());
        RunAndExpectReply(library, request, "ok");
    }
    // Only the front desk is left: nobody is there who could still tell anything.
    EXPECT_EQ(ThreadIds().size(), before.size() + 1);
    EXPECT_TRUE(inbox.All().empty());
}

TEST(ConnectionType, AutomaticWithRemoteAccessIsDialUp) {
    const HMODULE remoteAccess = LoadLibraryA("rasapi32.dll");
    if (!remoteAccess) GTEST_SKIP() << "this system has no rasapi32.dll";
    FreeLibrary(remoteAccess);
    const Library library = Library::LoadFresh();
    Inbox& inbox = NewInbox();
    const WPK_INITSTRUCT settings = SettingsOfType(WPK_CONNECTION_AUTOMATIC, inbox);
    ASSERT_EQ(library.Init(&settings), 1);
    ExpectToldOfNoConnection(inbox);
    ExpectNoNetwork(library);
}

std::string askedFor;

HMODULE WINAPI LoadNothing(LPCSTR name) {
    askedFor = name;
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

TEST(ConnectionType, AutomaticWithoutRemoteAccessIsPermanent) {
    const Library library = Library::LoadFresh();
    const ImportPatch load(library.module(), "LoadLibraryA", AddressOf(&LoadNothing));
    ASSERT_TRUE(load.Found());
    Inbox& inbox = NewInbox();
    const WPK_INITSTRUCT settings = SettingsOfType(WPK_CONNECTION_AUTOMATIC, inbox);
    ASSERT_EQ(library.Init(&settings), 1);
    EXPECT_EQ(askedFor, "rasapi32.dll");
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    RunAndExpectReply(library, request, "ok");
    EXPECT_TRUE(inbox.All().empty());
}

TEST(ConnectionType, UnknownLeavesTheLibraryWithoutNetworkAndTellsNothing) {
    // The last one would be "permanent" if only half of the number were looked at.
    for (const WPK_INT64 type : {4LL, -1LL, 0x100000002LL}) {
        SCOPED_TRACE(type);
        const Library library = Library::LoadFresh();
        Inbox& inbox = NewInbox();
        const std::set<DWORD> before = ThreadIds();
        const WPK_INITSTRUCT settings = SettingsOfType(type, inbox);
        ASSERT_EQ(library.Init(&settings), 1);
        ExpectNoNetwork(library);
        EXPECT_EQ(ThreadIds().size(), before.size() + 1);
        EXPECT_TRUE(inbox.All().empty());
    }
}

int WSAAPI NoSockets(WORD, WSADATA*) {
    return WSASYSNOTREADY;
}

TEST(ConnectionType, PermanentWithoutSocketsIsInitialisedButHasNoNetwork) {
    const Library library = Library::LoadFresh();
    const ImportPatch start(library.module(), "WSAStartup", AddressOf(&NoSockets));
    ASSERT_TRUE(start.Found());
    Inbox& inbox = NewInbox();
    const WPK_INITSTRUCT settings = PermanentSettings(inbox);
    ASSERT_EQ(library.Init(&settings), 1);
    ExpectNoNetwork(library);
    EXPECT_TRUE(inbox.All().empty());
}

// Children: what can be seen only from outside.

constexpr int kGood = 0;

/// Frees the library as often as it likes while requests are under way, uses them to their end, and ends.
WPK_SCENARIO(FreeWhileRequestsRun) {
    Signal go;
    Peer peer(
        [&](Connection& connection) {
            connection.ReadRequest();
            go.Wait();
            connection.Send(Ok(Pattern(20000)));
        },
        8);
    const Library library = Library::Load();
    const WPK_INITSTRUCT settings = PermanentSettings(NewInbox());
    if (library.Init(&settings) != 1) return 1;
    std::vector<std::unique_ptr<Request>> requests;
    for (int i = 0; i < 8; ++i) {
        requests.push_back(std::make_unique<Request>(peer.Port()));
        if (requests.back()->Send(library) == 0) return 2;
    }
    for (int i = 0; i < 10; ++i) FreeLibrary(library.module());
    go.Set();
    for (const auto& request : requests) {
        if (!request->WaitForEnd() || request->Final().bytes != Pattern(20000)) return 3;
    }
    return kGood;
}

TEST(FreeLibrary, WhileRequestsRunLetsThemEndAndTheProcessToo) {
    EXPECT_EQ(Child("FreeWhileRequestsRun", "").Wait(), static_cast<DWORD>(kGood));
}

/// Ends the process in the way that the first letter of `argument` names, return, exit or terminate, while replies go
/// into files, replies are waited for, and a connection is being made. The rest is the peer's port.
WPK_SCENARIO(EndWithRequestsInFlight) {
    const auto port = static_cast<unsigned short>(std::stoul(argument.substr(1)));
    const Library library = Library::Load();
    const WPK_INITSTRUCT settings = PermanentSettings(NewInbox());
    if (library.Init(&settings) != 1) return 1;
    for (int i = 0; i < 2; ++i) {
        Request& silent = (new Request(port))->Service("Silent");
        if (silent.Send(library) == 0) return 2;
        Request& received = *new Request(port);
        if (received.Send(library) == 0) return 3;
        if (!received.inbox.WaitForCount(1)) return 4;
    }
    Request& connecting = *new Request(DeadPort());
    connecting.Send(library);
    if (FilesLike("", "tmp*").size() != 2) return 5;
    if (argument[0] == 'e') ExitProcess(kGood);
    if (argument[0] == 't') TerminateProcess(GetCurrentProcess(), kGood);
    return kGood;
}

// The peer stays out of the process that ends. Wine kills the other threads there wherever they are, on a busy machine
// now and then where one holds a lock of Wine's own; the last thread waits for that for ever as soon as it is told of
// the end of somebody's receive. The fewer threads receive there, the better.
TEST(ProcessEnd, WithRequestsInFlightIsCleanAndLeavesNoFile) {
    Peer peer(
        [](Connection& connection) {
            const std::string request = connection.ReadRequest();
            if (request.find("Silent") == std::string::npos) connection.Send(OkHead(50000) + Pattern(20000));
            connection.WaitForEnd();
        },
        4);
    for (const char* way : {"r", "e", "t"}) {
        SCOPED_TRACE(way);
        const std::string argument = way + std::to_string(peer.Port());
        EXPECT_EQ(Child("EndWithRequestsInFlight", argument).Wait(), static_cast<DWORD>(kGood));
        EXPECT_TRUE(FilesLike("", "tmp*").empty());
        EXPECT_TRUE(peer.WaitUntilIdle());
    }
}

/// Sends and cancels one request after the other from several threads and ends the process in the middle of that, in
/// the way that the first letter of `argument` names: return, exit, or as by Ctrl-C, for which the system makes a
/// thread. The rest is the number of requests after which it does. Nobody answers: the end must not depend on a peer's.
WPK_SCENARIO(EndUnderLoad) {
    static const unsigned short port = DeadPort();
    static const LONG wanted = std::stol(argument.substr(1));
    static const Library& library = *new Library(Library::Load());
    static Signal& enough = *new Signal;
    static volatile LONG sent = 0;
    const WPK_INITSTRUCT settings = PermanentSettings(NewInbox());
    if (library.Init(&settings) != 1) return 1;
    for (int i = 0; i < 4; ++i) {
        new Thread([] {
            for (;;) {
                Request& request = *new Request(port);
                if (request.Send(library) == 0) return;
                if (InterlockedIncrement(&sent) == wanted) enough.Set();
                library.Cancel(request.Handle());
                request.inbox.WaitForFinal();
            }
        });
    }
    if (!enough.Wait()) return 2;
    if (argument[0] == 'e') ExitProcess(kGood);
    if (argument[0] == 'c') {
        new Thread([] { ExitProcess(kGood); });
        Sleep(INFINITE);
    }
    return kGood;
}

/// How many children end in each way: 36, or what WPK_PROCESS_ENDS says.
int EndsOfEachWay() {
    const char* wanted = std::getenv("WPK_PROCESS_ENDS");
    return wanted ? std::atoi(wanted) : 36;
}

// Two of each way side by side, so that the machine is busy while they end.
TEST(ProcessEnd, UnderLoadNeitherCrashesNorHangs) {
    const int ends = EndsOfEachWay();
    for (int number = 0; number < ends; number += 2) {
        std::map<std::string, Child> children;
        for (const char* way : {"r", "e", "c"}) {
            for (const int wanted : {number + 1, number + 2}) {
                const std::string argument = way + std::to_string(wanted);
                children.try_emplace(argument, "EndUnderLoad", argument);
            }
        }
        for (auto& [argument, child] : children) EXPECT_EQ(child.Wait(), static_cast<DWORD>(kGood)) << argument;
    }
}

/// What a static object of a DLL would do at the very end, after all other threads have been killed.
const Library* lateLibrary = nullptr;
WPK_INITSTRUCT lateSettings = {};
WPK_SENDSTRUCT* lateMessage = nullptr;

void CallAtTheEnd() {
    const bool refused =
        lateLibrary->Init(&lateSettings) == 0 && lateLibrary->Send(lateMessage) == 0 && lateLibrary->Cancel(4711) == 0;
    // The exit code has been set by now.
    if (refused) CloseHandle(CreateFileA("refused", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
}

/// Calls the library while the process is taken down; `argument` says whether it has been initialised.
WPK_SCENARIO(CallsAtTheEnd) {
    lateLibrary = new Library(Library::Load());
    lateSettings = PermanentSettings(NewInbox());
    if (argument == "initialised" && lateLibrary->Init(&lateSettings) != 1) return 1;
    lateMessage = &(*new Request(DeadPort())).record;
    const HMODULE caller = LoadLibraryA((ProgramFolder() + "late_caller.dll").c_str());
    const FARPROC set = caller ? GetProcAddress(caller, "LateCaller_Set") : nullptr;
    if (!set) return 2;
    FunctionAt<void(void (*)())>(AddressOf(set))(&CallAtTheEnd);
    ExitProcess(kGood);
}

TEST(ProcessEnd, CallsMeanwhileReturnZeroAtOnce) {
    for (const char* state : {"initialised", "not initialised"}) {
        SCOPED_TRACE(state);
        EXPECT_EQ(Child("CallsAtTheEnd", state).Wait(), static_cast<DWORD>(kGood));
        EXPECT_TRUE(DeleteFileA("refused")) << "a call was not refused";
    }
}

/// Lives until its event of that name is set.
WPK_SCENARIO(LiveUntilTold) {
    const HANDLE told = OpenEventA(SYNCHRONIZE, /*bInheritHandle=*/FALSE, argument.c_str());
    return told && WaitForSingleObject(told, 10 * kPatience) == WAIT_OBJECT_0 ? kGood : 1;
}

TEST(ProgramStartedMeanwhile, WithAllThatCanBeInheritedDoesNotKeepTheConnectionOpen) {
    Signal closed;
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        if (connection.WaitForEnd()) closed.Set();
    });
    const Library library = StartFresh();
    Request request(peer.Port());
    ASSERT_NE(request.Send(library), 0u);
    ASSERT_FALSE(peer.WaitForRequest().empty());

    const std::string name = "wpk-test-" + std::to_string(GetCurrentProcessId());
    const HANDLE told = CreateEventA(nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE, name.c_str());
    ASSERT_NE(told, nullptr);
    Child child("LiveUntilTold", name);
    library.Cancel(request.Handle());
    ASSERT_TRUE(request.WaitForEnd());
    EXPECT_TRUE(closed.Wait());
    SetEvent(told);
    EXPECT_EQ(child.Wait(), static_cast<DWORD>(kGood));
    CloseHandle(told);
}

/// Loads, initialises, sends nothing, frees, ends.
WPK_SCENARIO(EndAfterInit) {
    const Library library = Library::Load();
    WPK_INITSTRUCT settings = PermanentSettings(NewInbox());
    settings.nConnectionType = std::atoi(argument.c_str());
    if (library.Init(&settings) != 1) return 1;
    FreeLibrary(library.module());
    return kGood;
}

TEST(ProcessEnd, AfterInitOfEveryTypeIsClean) {
    for (const char* type : {"0", "1", "2", "3", "4"}) {
        SCOPED_TRACE(type);
        EXPECT_EQ(Child("EndAfterInit", type).Wait(), static_cast<DWORD>(kGood));
    }
}

}  // namespace
}  // namespace wpk::harness
