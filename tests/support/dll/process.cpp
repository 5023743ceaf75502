// The process around a test: folders, handle and thread counts, child processes.
// SPDX-License-Identifier: MIT
#include "support/dll/process.h"

#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

namespace wpk::harness {
namespace {

std::map<std::string, Scenario>& Scenarios() {
    static std::map<std::string, Scenario> scenarios;
    return scenarios;
}

std::string ProgramPath() {
    char path[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, path, sizeof path);
    return path;
}

/// The file name without folder and extension.
std::string ProgramStem() {
    const std::string name = ProgramPath().substr(ProgramFolder().size());
    return name.substr(0, name.rfind('.'));
}

/// The handles that are there, by trying each value: the system gives the lowest one that is free, in steps of four.
size_t CountByTrying() {
    constexpr ULONG_PTR kStep = 4;
    // A gap so long ends the search. What leaks is found all the same, because it fills the first gaps.
    constexpr ULONG_PTR kLongestGap = 1024 * kStep;
    size_t count = 0;
    for (ULONG_PTR last = 0, value = kStep; value - last <= kLongestGap; value += kStep) {
        DWORD flags = 0;
        if (!GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags)) continue;
        ++count;
        last = value;
    }
    return count;
}

}  // namespace

void Die(const std::string& message) {
    std::fprintf(stderr, "harness: %s (error %lu)\n", message.c_str(), GetLastError());
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 99);
    std::abort();
}

std::string ProgramFolder() {
    const std::string path = ProgramPath();
    return path.substr(0, path.rfind('\\') + 1);
}

std::string ScratchFolder() {
    return ProgramFolder() + ProgramStem() + "_scratch\\";
}

void EnterScratchFolder(bool clean) {
    const std::string folder = ScratchFolder();
    CreateDirectoryA(folder.c_str(), nullptr);
    if (clean) {
        for (const std::string& name : FilesLike(folder, "*")) DeleteFileA((folder + name).c_str());
    }
    if (!SetCurrentDirectoryA(folder.c_str())) Die("cannot enter " + folder);
}

std::vector<std::string> FilesLike(const std::string& folder, const std::string& pattern) {
    std::vector<std::string> names;
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((folder + pattern).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return names;
    do {
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.emplace_back(found.cFileName);
    } while (FindNextFileA(search, &found));
    FindClose(search);
    return names;
}

bool FileExists(const std::string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

unsigned long long FileSize(const std::string& path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data);
    return static_cast<unsigned long long>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

size_t HandleCount() {
    DWORD counted = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &counted) && counted > 0) return counted;
    // Wine does not count them. Its list of the system's handles would tell, but crashes its server when a process
    // begins or ends meanwhile.
    // A handle that is closed and opened anew meanwhile may be seen twice, or not at all: two counts have to agree.
    size_t count = CountByTrying();
    for (size_t before = count + 1; count != before;) {
        before = count;
        count = CountByTrying();
    }
    return count;
}

bool WaitUntilHandlesAreAtMost(size_t count) {
    const ULONGLONG end = GetTickCount64() + kPatience;
    while (HandleCount() > count) {
        if (GetTickCount64() >= end) return false;
        Sleep(10);
    }
    return true;
}

std::set<DWORD> ThreadIds() {
    std::set<DWORD> ids;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) ids.insert(entry.th32ThreadID);
    }
    CloseHandle(snapshot);
    return ids;
}

bool WaitForOtherThreads(const std::set<DWORD>& known) {
    for (const DWORD id : ThreadIds()) {
        if (known.count(id)) continue;
        const HANDLE thread = OpenThread(SYNCHRONIZE | THREAD_QUERY_LIMITED_INFORMATION, FALSE, id);
        if (!thread) continue;
        // The thread may have ended meanwhile, and its id may be that of a thread of another process by now.
        const bool own = GetProcessIdOfThread(thread) == GetCurrentProcessId();
        const DWORD waited = own ? WaitForSingleObject(thread, kPatience) : WAIT_OBJECT_0;
        CloseHandle(thread);
        if (waited != WAIT_OBJECT_0) return false;
    }
    return true;
}

ScenarioEntry::ScenarioEntry(const char* name, Scenario scenario) {
    Scenarios()[name] = scenario;
}

bool StartProcess(const std::string& program, const std::string& command, DWORD flags, STARTUPINFOA& startup,
                  PROCESS_INFORMATION& started) {
    // Wine, when it is very busy, now and then loses a process that it has just started, and can start one a moment
    // later.
    constexpr int kTries = 40;
    constexpr DWORD kPauseMs = 250;
    for (int i = 0; i < kTries; ++i) {
        std::string writable = command;
        if (CreateProcessA(program.c_str(), writable.data(), nullptr, nullptr, /*bInheritHandles=*/TRUE, flags, nullptr,
                           nullptr, &startup, &started)) {
            return true;
        }
        if (GetLastError() != ERROR_INTERNAL_ERROR) return false;
        Sleep(kPauseMs);
    }
    return false;
}

Child::Child(const std::string& scenario, const std::string& argument, const std::string& programName) {
    std::string program = ProgramPath();
    if (!programName.empty()) {
        const std::string copy = ProgramFolder() + programName;
        if (!CopyFileA(program.c_str(), copy.c_str(), /*bFailIfExists=*/FALSE)) Die("cannot copy to " + copy);
        program = copy;
    }
    const std::string command = "\"" + program + "\" --scenario " + scenario + " \"" + argument + "\"";
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    std::fflush(nullptr);
    if (!StartProcess(program, command, 0, startup, started)) Die("cannot start " + command);
    CloseHandle(started.hThread);
    process_ = started.hProcess;
}

Child::~Child() {
    CloseHandle(process_);
}

DWORD Child::Wait() {
    DWORD code = 0xDEAD;
    if (WaitForSingleObject(process_, kPatience) == WAIT_OBJECT_0) {
        GetExitCodeProcess(process_, &code);
    } else {
        TerminateProcess(process_, code);
    }
    return code;
}

int RunScenario(int argc, char** argv) {
    if (argc < 4 || std::strcmp(argv[1], "--scenario") != 0) return -1;
    const auto found = Scenarios().find(argv[2]);
    if (found == Scenarios().end()) Die(std::string("no scenario ") + argv[2]);
    return found->second(argv[3]);
}

}  // namespace wpk::harness
