// Every call of the fake platform passes here: it is counted, may be made to fail, and is where a stopped thread stops.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_CALL_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_CALL_H

#include <cstdint>
#include <string>

#include "fake_platform/control.h"

namespace wpk::host {

// The calls with the error they fail with unless the test names another one; 0: not to be failed. The last one is no
// call of the platform but the library's own allocations, in programs that let them come here.
#define WPK_HOST_CALLS(X)         \
    X(CreateSemaphoreA, 8)        \
    X(ReleaseSemaphore, 0)        \
    X(WaitForSingleObject, 0)     \
    X(CloseHandle, 6)             \
    X(Sleep, 0)                   \
    X(GetTickCount, 0)            \
    X(GetTickCount64, 0)          \
    X(GetCurrentProcess, 0)       \
    X(DuplicateHandle, 8)         \
    X(_beginthreadex, 8)          \
    X(_endthreadex, 0)            \
    X(GetCurrentThread, 0)        \
    X(GetCurrentThreadId, 0)      \
    X(GetThreadId, 0)             \
    X(OpenThread, 5)              \
    X(ResumeThread, 5)            \
    X(SuspendThread, 5)           \
    X(TerminateThread, 5)         \
    X(GetExitCodeThread, 5)       \
    X(RegisterEventSourceA, 1722) \
    X(ReportEventA, 1502)         \
    X(DeregisterEventSource, 6)   \
    X(CreateFileA, 5)             \
    X(DeleteFileA, 5)             \
    X(SetFilePointer, 87)         \
    X(SetFilePointerEx, 87)       \
    X(SetEndOfFile, 112)          \
    X(WriteFile, 112)             \
    X(SetFileTime, 5)             \
    X(GetFileSize, 6)             \
    X(GetFileSizeEx, 6)           \
    X(GetSystemTimeAsFileTime, 0) \
    X(GetSystemTime, 0)           \
    X(SystemTimeToFileTime, 87)   \
    X(CreateFileMappingA, 112)    \
    X(MapViewOfFile, 8)           \
    X(UnmapViewOfFile, 487)       \
    X(GetVersion, 0)              \
    X(GetTempPathA, 8)            \
    X(GetWindowsDirectoryA, 8)    \
    X(GetSystemDirectoryA, 8)     \
    X(GetUserNameA, 1359)         \
    X(RegCreateKeyA, 5)           \
    X(RegOpenKeyExA, 5)           \
    X(RegQueryValueExA, 2)        \
    X(RegCloseKey, 6)             \
    X(LoadLibraryA, 126)          \
    X(FreeLibrary, 126)           \
    X(GetProcAddress, 127)        \
    X(GetModuleHandleExA, 126)    \
    X(WSAStartup, 10091)          \
    X(WSACleanup, 10050)          \
    X(socket, 10055)              \
    X(setsockopt, 10042)          \
    X(SetHandleInformation, 6)    \
    X(ioctlsocket, 10050)         \
    X(gethostbyname, 11001)       \
    X(connect, 10051)             \
    X(select, 10050)              \
    X(send, 10054)                \
    X(recv, 10054)                \
    X(closesocket, 10050)         \
    X(operator_new, 8)

enum class Call {
#define WPK_HOST_CALL(name, error) k##name,
    WPK_HOST_CALLS(WPK_HOST_CALL)
#undef WPK_HOST_CALL
};

/// The length of one call. First in the call's body, so that it ends last: a thread that has been stopped meanwhile
/// holds nothing of the fake platform any more when it stops here.
class CallScope {
public:
    explicit CallScope(Call call);
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;
    ~CallScope();

    /// Whether this use is to fail; the thread's last error is set then.
    bool Fails() const { return error_ != 0; }
    uint32_t Error() const { return error_; }

private:
    const CodeScope code_{Code::kTest};
    const Call call_;
    uint32_t error_;
};

/// For good; for threads, which may end without leaving their scopes.
void SetRunningCode(Code code);
bool RunsLibraryCode();
void RecordMisuse(std::string text);
void ResetCalls();

/// Real milliseconds for `milliseconds` of a call.
double RealMilliseconds(double milliseconds);
double RealSelectMilliseconds(double milliseconds);
/// Pretended milliseconds since some moment in the past.
uint64_t Ticks();

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_CALL_H
