// What tests can ask of the fake platform: faults, counts, records, and the machine that it pretends to be.
// SPDX-License-Identifier: MIT
//
// The fake platform plays the Windows calls over POSIX, so that the library's sources run natively and the sanitizers
// see all of them. It is stricter than Windows where that finds faults, and as unkind as Windows where that matters:
//
// - Values of kernel handles are never used twice: whatever uses a closed handle is recorded as a misuse.
// - Socket values are used again at once, the lowest free one first; so are the ids of threads that have ended, when no
//   handle to them is open any more.
// - Threads cannot be stopped by force. A suspended thread stops at its next call into the fake platform, and so does a
//   terminated one, for good: it keeps its stack, takes nothing that it waited for and runs no destructor. Its handle
//   is signalled as soon as it stands still: at once while it waits in the fake platform.
// - Calls of different threads order nothing between them unless they are about the same object. So ThreadSanitizer
//   sees the races that a process-wide lock in here would hide.
// - A call that releases something and is made to fail has released it all the same: nobody could do better.
//
// Under the scheduler (fake_platform/src/scheduler.h) it runs threads one at a time, in an order that is chosen.
#ifndef WPK_TESTS_FAKE_PLATFORM_CONTROL_H
#define WPK_TESTS_FAKE_PLATFORM_CONTROL_H

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "windows.h"

namespace wpk::host {

/// Makes everything in here as it is at the start of the process; what is open stays open.
void Reset();

// Faults. Calls are named as in the headers; an unknown name ends the process.

enum class Times { kOnce, kForGood };

/// The call fails on its `nth` use from now (1: the next one), with `error` or, for 0, an error usual for it.
void FailCall(std::string_view call, uint64_t nth, Times times = Times::kOnce, uint32_t error = 0);
void ClearFaults();
/// How often calls have failed because of FailCall since the last ClearFaults.
uint64_t FaultsFired();
uint64_t FaultsFired(std::string_view call);
/// Runs `action` on the calling thread when the call is used for the `nth` time from now, before it does anything.
void RunBefore(std::string_view call, uint64_t nth, std::function<void()> action);
/// Forgets the actions that have not run.
void ClearActions();
/// Uses of the call since Reset.
uint64_t Uses(std::string_view call);
/// The calls that can fail on a sane system; waits, releases and questions about the caller itself are none of them.
std::vector<std::string_view> FallibleCalls();

// Allocations fail under the name "operator_new", in programs whose operator new asks AllocationFails. Only those of
// the library count: threads of the platform run its code, all others run the test's unless they say something else.

enum class Code { kTest, kLibrary };

/// Whose code the calling thread runs for the length of a scope.
class CodeScope {
public:
    explicit CodeScope(Code code);
    CodeScope(const CodeScope&) = delete;
    CodeScope& operator=(const CodeScope&) = delete;
    ~CodeScope();

private:
    const Code before_;
};

/// Counts an allocation on the calling thread; true when it is to fail.
bool AllocationFails();

/// Sends and receives move at most so many bytes at a time; 0: as many as they can.
void ShortenTransfers(int most);
/// A connect returns when it has come to its end, even of a socket that does not block. Windows may do so; usually it
/// says that the connect is under way.
void ConnectAtOnce(bool atOnce);

// What is open.

struct Live {
    /// Kernel handles of every kind, files included.
    int64_t handles = 0;
    int64_t files = 0;
    int64_t mappings = 0;
    int64_t views = 0;
    int64_t sockets = 0;
    int64_t keys = 0;
    int64_t eventSources = 0;
    /// Threads made by the platform that have not ended.
    int64_t threads = 0;
    /// References to modules, those that last for good aside.
    int64_t modules = 0;

    bool operator==(const Live& other) const;
    /// No more of anything than in the other one.
    bool IsWithin(const Live& other) const;
};
std::ostream& operator<<(std::ostream& out, const Live& live);
Live CountLive();

/// Starts of the sockets interface less its clean-ups.
int64_t SocketStarts();

/// Every use of something that is not open or is of another kind, and every close of something that a thread waits on.
std::vector<std::string> Misuses();

struct Event {
    std::string source;
    uint16_t type = 0;
    uint16_t category = 0;
    uint32_t id = 0;
    std::vector<std::string> texts;
    uint32_t dataSize = 0;
};
std::vector<Event> EventLog();

// The machine.

/// As GetVersion reports it. At the start 6.2, as a program sees it that declares no compatibility.
void SetVersion(uint32_t version);
constexpr uint32_t Version(uint32_t major, uint32_t minor) {
    return minor << 8 | major;
}
/// Empty: the call fails. At the start "/tmp/", "C:\Windows", "C:\Windows\System32" and "user".
void SetTempDirectory(std::string path);
void SetWindowsDirectory(std::string path);
void SetSystemDirectory(std::string path);
void SetUserName(std::string name);

/// Registry values; keys are there as soon as they hold one. Names and paths ignore case.
void SetRegistryValue(HKEY root, std::string_view path, std::string_view name, std::string_view data);
/// Whether RegCreateKeyA makes missing keys. At the start it does.
void AllowKeyCreation(bool allowed);

/// Modules that can be loaded; none at the start. The module that holds an address is always "wpk.dll".
void AddModule(std::string_view name, std::map<std::string, FARPROC> functions = {});
/// References that loading has taken and freeing has not given back.
int64_t ModuleReferences(std::string_view name);
/// Whether the module has been made to stay for good.
bool ModulePinned(std::string_view name);

/// Host names beside "localhost"; no other name is known, and none is looked up outside.
void AddHost(std::string_view name, std::string_view dottedAddress);

/// Time-outs and sleeps pass, and the tick counts run, so many times faster; thirty seconds become 300 ms at 100. Waits
/// of select may keep another pace, together with the tick counts that measure them: how often they are repeated would
/// depend on the speed of the machine.
void SpeedUp(uint32_t factor);
void SpeedUp(uint32_t factor, uint32_t selectFactor);
/// The longest time that a wait has been asked for since Reset, in milliseconds; waits for an object without limit
/// aside.
uint32_t LongestWait();

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_CONTROL_H
