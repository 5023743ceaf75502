// Replies that are too large for memory go through a temporary file, which never outlives its exchange.
// SPDX-License-Identifier: MIT
#include "support/dll/import_patch.h"
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace wpk::harness {
namespace {

constexpr size_t kSpooled = 10241;
constexpr size_t kInMemory = 10240;

const Library& TheLibrary() {
    static const Library library = StartFresh();
    return library;
}

std::string SpoolName(unsigned int handle) {
    return "tmp" + std::to_string(handle);
}

void MakeFile(const std::string& name) {
    const HANDLE file = CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << name;
    CloseHandle(file);
}

std::vector<std::string> SpoolFiles() {
    return FilesLike("", "tmp*");
}

/// The names and sizes of spool files that one request showed while its callbacks ran.
struct Sighting {
    std::vector<std::string> names;
    unsigned long long size = 0;
};

/// Runs a request whose reply has that many bytes; `beforeReply` runs when the handle is known and nothing has been
/// answered yet. Looks for spool files from inside every callback.
Sighting Spool(size_t size, const std::function<void(unsigned int)>& beforeReply = {}) {
    Signal go;
    const std::string body = Pattern(size);
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        go.Wait();
        connection.Send(Ok(body));
    });
    Request request(peer.Port());
    Sighting sighting;
    request.inbox.inside = [&](WPK_CALLBACKSTRUCT&) {
        sighting.names = SpoolFiles();
        if (!sighting.names.empty()) sighting.size = FileSize(sighting.names.back());
    };
    EXPECT_NE(request.Send(TheLibrary()), 0u);
    if (beforeReply) beforeReply(request.Handle());
    go.Set();
    EXPECT_TRUE(request.WaitForEnd());
    ExpectReply(request, body);
    return sighting;
}

TEST(Spool, ReplyOf10240BytesStaysInMemory) {
    EXPECT_TRUE(Spool(kInMemory).names.empty());
}

// This system reports itself as newer than those whose temporary directory is looked up: the name has no directory.
TEST(Spool, ReplyOf10241BytesGoesThroughAFileNamedAfterTheThread) {
    unsigned int handle = 0;
    const Sighting sighting = Spool(kSpooled, [&](unsigned int its) { handle = its; });
    EXPECT_EQ(sighting.names, std::vector<std::string>{SpoolName(handle)});
    EXPECT_EQ(sighting.size, kSpooled);
    EXPECT_TRUE(SpoolFiles().empty()) << "the file outlived its request";
}

/// What the library asks for when it makes its file. One request at a time runs.
struct FileCalls {
    DWORD access = 0;
    DWORD share = 0xFFFFFFFF;
    DWORD disposition = 0;
    DWORD flags = 0;
    bool otherTimes = true;
    ULONGLONG written = 0;
};
FileCalls fileCalls;

HANDLE WINAPI NoteFile(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                       DWORD flags, HANDLE pattern) {
    fileCalls.access = access;
    fileCalls.share = share;
    fileCalls.disposition = disposition;
    fileCalls.flags = flags;
    return CreateFileA(name, access, share, security, disposition, flags, pattern);
}

ULONGLONG TicksOf(const FILETIME& time) {
    return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

BOOL WINAPI NoteTime(HANDLE file, const FILETIME* created, const FILETIME* accessed, const FILETIME* written) {
    fileCalls.otherTimes = created || accessed;
    if (written) fileCalls.written = TicksOf(*written);
    return SetFileTime(file, created, accessed, written);
}

TEST(Spool, FileIsMadeAsNewSharedWithNobodyFollowsNoLinkAndGetsTheTimeOfItsMaking) {
    fileCalls = FileCalls();
    const ImportPatch make(TheLibrary().module(), "CreateFileA", AddressOf(&NoteFile));
    const ImportPatch time(TheLibrary().module(), "SetFileTime", AddressOf(&NoteTime));
    ASSERT_TRUE(make.Found() && time.Found());
    FILETIME begin, end;
    GetSystemTimeAsFileTime(&begin);
    Spool(kSpooled);
    GetSystemTimeAsFileTime(&end);
    EXPECT_EQ(fileCalls.access, GENERIC_READ | GENERIC_WRITE);
    EXPECT_EQ(fileCalls.share, 0u);
    EXPECT_EQ(fileCalls.disposition, static_cast<DWORD>(CREATE_NEW));
    EXPECT_EQ(fileCalls.flags, static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN |
                                                  FILE_FLAG_DELETE_ON_CLOSE | FILE_FLAG_OPEN_REPARSE_POINT));
    EXPECT_FALSE(fileCalls.otherTimes);
    EXPECT_GE(fileCalls.written, TicksOf(begin));
    EXPECT_LE(fileCalls.written, TicksOf(end));
}

TEST(Spool, NameThatExistsIsLeftAloneAndTheNextOneIsTaken) {
    std::string base;
    const Sighting sighting = Spool(kSpooled, [&](unsigned int handle) {
        base = SpoolName(handle);
        MakeFile(base);
        MakeFile(base + "_1");
    });
    EXPECT_EQ(sighting.names.size(), 3u);
    EXPECT_EQ(FileSize(base), 0u);
    EXPECT_EQ(SpoolFiles(), (std::vector<std::string>{base, base + "_1"}));
    for (const std::string& name : SpoolFiles()) DeleteFileA(name.c_str());
}

TEST(Spool, NameTakenByAFolderIsPassedOver) {
    std::string base;
    const Sighting sighting = Spool(kSpooled, [&](unsigned int handle) {
        base = SpoolName(handle);
        CreateDirectoryA(base.c_str(), nullptr);
    });
    EXPECT_EQ(sighting.names, std::vector<std::string>{base + "_1"});
    RemoveDirectoryA(base.c_str());
    EXPECT_TRUE(SpoolFiles().empty());
}

TEST(Spool, LastFallbackNameIsStillTaken) {
    std::string base;
    const Sighting sighting = Spool(kSpooled, [&](unsigned int handle) {
        base = SpoolName(handle);
        MakeFile(base);
        for (int n = 1; n < 1000; ++n) MakeFile(base + "_" + std::to_string(n));
    });
    EXPECT_EQ(sighting.names.size(), 1001u);
    EXPECT_FALSE(FileExists(base + "_1000"));
    EXPECT_EQ(SpoolFiles().size(), 1000u);
    for (const std::string& name : SpoolFiles()) DeleteFileA(name.c_str());
}

TEST(Spool, EveryNameTakenFailsTheRequestAndTouchesNoFile) {
    Signal go;
    Peer peer([&](Connection& connection) {
        connection.ReadRequest();
        go.Wait();
        connection.Send(Ok(Pattern(kSpooled)));
    });
    Request request(peer.Port());
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    const std::string base = SpoolName(request.Handle());
    MakeFile(base);
    for (int n = 1; n <= 1000; ++n) MakeFile(base + "_" + std::to_string(n));
    go.Set();
    ASSERT_TRUE(request.WaitForEnd());
    ExpectFailure(request, WPK_ERROR_EXCHANGE);
    EXPECT_EQ(SpoolFiles().size(), 1001u);
    for (const std::string& name : SpoolFiles()) DeleteFileA(name.c_str());
}

TEST(Spool, TwoRequestsAtOnceHaveAFileEach) {
    Signal both;
    const std::string body = Pattern(kSpooled);
    Peer peer(
        [&](Connection& connection) {
            connection.ReadRequest();
            connection.Send(OkHead(kSpooled) + body.substr(0, 1));
            both.Wait();
            connection.Send(body.substr(1));
        },
        2);
    Request first(peer.Port());
    Request second(peer.Port());
    ASSERT_NE(first.Send(TheLibrary()), 0u);
    ASSERT_NE(second.Send(TheLibrary()), 0u);
    ASSERT_TRUE(first.inbox.WaitForCount(1));
    ASSERT_TRUE(second.inbox.WaitForCount(1));
    EXPECT_TRUE(FileExists(SpoolName(first.Handle())));
    EXPECT_TRUE(FileExists(SpoolName(second.Handle())));
    both.Set();
    ASSERT_TRUE(first.WaitForEnd());
    ASSERT_TRUE(second.WaitForEnd());
    ExpectReply(first, body);
    ExpectReply(second, body);
    EXPECT_TRUE(SpoolFiles().empty());
}

TEST(Spool, CancelledInTheBodyLeavesNoFile) {
    Peer peer([](Connection& connection) {
        connection.ReadRequest();
        connection.Send(OkHead(50000) + Pattern(20000));
        connection.WaitForEnd();
    });
    Request request(peer.Port());
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_TRUE(request.inbox.WaitForCount(1));
    EXPECT_TRUE(FileExists(SpoolName(request.Handle())));
    EXPECT_EQ(TheLibrary().Cancel(request.Handle()), 1);
    ASSERT_TRUE(request.WaitForEnd());
    ExpectFailure(request, WPK_ERROR_CANCELLED);
    EXPECT_TRUE(SpoolFiles().empty());
}

/// A callback that throws ends its request there: nothing more is told, and nothing stays behind.
void ThrowOn(unsigned int reason, size_t size) {
    Peer peer(Answer(Ok(Pattern(size))));
    {
        Request request(peer.Port());
        request.inbox.DropProgress();
        request.inbox.inside = [&](const WPK_CALLBACKSTRUCT& record) {
            if (record.nReason == reason) throw std::runtime_error("from a callback");
        };
        ASSERT_NE(request.Send(TheLibrary()), 0u);
        ASSERT_TRUE(request.inbox.WaitForThreadEnd());
        EXPECT_EQ(request.inbox.Finals(), reason == WPK_REASON_REPLY ? 1u : 0u);
        EXPECT_TRUE(SpoolFiles().empty());
    }
    Request next(peer.Port());
    RunAndExpectReply(TheLibrary(), next, Pattern(size));
}

TEST(ThrowingCallback, InProgressOfASpooledReplyLeavesNoFile) {
    ThrowOn(WPK_REASON_PROGRESS, 200000);
}
TEST(ThrowingCallback, InASpooledReplyLeavesNoFile) {
    ThrowOn(WPK_REASON_REPLY, kSpooled);
}
TEST(ThrowingCallback, InProgressOfAReplyInMemoryEndsOnlyThatRequest) {
    ThrowOn(WPK_REASON_PROGRESS, 100);
}
TEST(ThrowingCallback, InAReplyInMemoryEndsOnlyThatRequest) {
    ThrowOn(WPK_REASON_REPLY, 100);
}

TEST(ThrowingCallback, ThrowsSomethingThatIsNoExceptionEndsOnlyThatRequest) {
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    request.inbox.inside = [](WPK_CALLBACKSTRUCT&) { throw 42; };
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_TRUE(request.inbox.WaitForThreadEnd());
    EXPECT_EQ(request.inbox.All().size(), 1u);
    Request next(peer.Port());
    RunAndExpectReply(TheLibrary(), next, "ok");
}

/// What the library hands to the event log, noted instead of written.
struct EventLog {
    std::string source;
    std::string server = "not called";
    std::vector<std::string> texts;
    WORD type = 0xFFFF;
    WORD category = 0xFFFF;
    DWORD id = 0xFFFF;
    bool anonymous = false;
    bool withoutData = false;
    int closed = 0;
};

EventLog eventLog;
const HANDLE kLogHandle = reinterpret_cast<HANDLE>(0x1234);

HANDLE WINAPI NoteSource(LPCSTR server, LPCSTR source) {
    eventLog.server = server ? server : "local";
    eventLog.source = source;
    return kLogHandle;
}

BOOL WINAPI NoteEvent(HANDLE log, WORD type, WORD category, DWORD id, PSID user, WORD strings, DWORD size,
                      LPCSTR* texts, LPVOID data) {
    if (log != kLogHandle) return FALSE;
    eventLog.type = type;
    eventLog.category = category;
    eventLog.id = id;
    eventLog.anonymous = !user;
    eventLog.withoutData = size == 0 && !data;
    eventLog.texts.assign(texts, texts + strings);
    return TRUE;
}

BOOL WINAPI NoteClose(HANDLE log) {
    eventLog.closed += log == kLogHandle;
    return TRUE;
}

TEST(ThrowingCallback, IsReportedToTheEventLogWithItsThreadsName) {
    eventLog = EventLog();
    const ImportPatch source(TheLibrary().module(), "RegisterEventSourceA", AddressOf(&NoteSource));
    const ImportPatch report(TheLibrary().module(), "ReportEventA", AddressOf(&NoteEvent));
    const ImportPatch close(TheLibrary().module(), "DeregisterEventSource", AddressOf(&NoteClose));
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    request.inbox.inside = [](WPK_CALLBACKSTRUCT&) { throw std::runtime_error("from a callback"); };
    ASSERT_NE(request.Send(TheLibrary()), 0u);
    ASSERT_TRUE(request.inbox.WaitForThreadEnd());

    EXPECT_EQ(eventLog.server, "local");
    EXPECT_EQ(eventLog.source, "ThreadLib");
    EXPECT_EQ(eventLog.type, EVENTLOG_ERROR_TYPE);
    EXPECT_EQ(eventLog.category, 0);
    EXPECT_EQ(eventLog.id, 0u);
    EXPECT_TRUE(eventLog.anonymous);
    EXPECT_TRUE(eventLog.withoutData);
    EXPECT_EQ(eventLog.texts,
              std::vector<std::string>{"ThreadLib::Thread Exception::NetOutboundService::WorkerFunc()"});
    EXPECT_EQ(eventLog.closed, 1);
}

}  // namespace
}  // namespace wpk::harness
