// The process around a test: folders, handle and thread counts, child processes.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_PROCESS_H
#define WPK_TESTS_SUPPORT_DLL_PROCESS_H

#include "support/dll/platform.h"

#include <set>
#include <string>
#include <vector>

namespace wpk::harness {

/// Ends the process with a message: the harness itself does not work.
[[noreturn]] void Die(const std::string& message);

/// Where this program lies; with a closing separator.
std::string ProgramFolder();
/// A folder of this program's own, emptied when the program started; also its current directory. With a separator.
std::string ScratchFolder();
/// Makes the scratch folder and goes there. Called once by main; `clean` empties it.
void EnterScratchFolder(bool clean);

/// Names of the files of a folder that match a pattern such as "stmp*".
std::vector<std::string> FilesLike(const std::string& folder, const std::string& pattern);
bool FileExists(const std::string& path);
unsigned long long FileSize(const std::string& path);

/// Handles that this process holds. Where the system does not count them, single ones far above the others are left
/// out.
size_t HandleCount();
/// False when they are still more after kPatience. Threads that go on, and the system, may close a handle a moment
/// after what it served is over.
bool WaitUntilHandlesAreAtMost(size_t count);

std::set<DWORD> ThreadIds();
/// Waits for the end of every thread that is not in `known`: for those that a test has no other sight of.
bool WaitForOtherThreads(const std::set<DWORD>& known);

/// A scenario is a piece of test that needs a process of its own; 0 is success.
using Scenario = int (*)(const std::string& argument);

/// Makes a scenario known by name; use WPK_SCENARIO.
struct ScenarioEntry {
    ScenarioEntry(const char* name, Scenario scenario);
};

/// CreateProcess with handles inherited; false when the process cannot be started.
bool StartProcess(const std::string& program, const std::string& command, DWORD flags, STARTUPINFOA& startup,
                  PROCESS_INFORMATION& started);

/// Runs a scenario in a new process. The program is this one, or a copy of it under another file name.
class Child {
public:
    Child(const std::string& scenario, const std::string& argument, const std::string& programName = "");
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Its exit code; 0xDEAD when it does not end.
    DWORD Wait();

private:
    HANDLE process_ = nullptr;
};

/// For main: the exit code of a "--scenario NAME ARGUMENT" command line, or -1 when the command line is another.
int RunScenario(int argc, char** argv);

}  // namespace wpk::harness

// Defines a scenario: a function body with the parameter `argument` that returns its exit code.
#define WPK_SCENARIO(name)                                       \
    int name(const std::string& argument);                       \
    const wpk::harness::ScenarioEntry name##_entry(#name, name); \
    int name([[maybe_unused]] const std::string& argument)

#endif  // WPK_TESTS_SUPPORT_DLL_PROCESS_H
