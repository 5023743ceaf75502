// System information on machines made up for the test: every version, every missing value, every stop.
// SPDX-License-Identifier: MIT
#include "env/system_information.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace wpk::core {
namespace {

using namespace std::string_literals;

constexpr char kCurrentVersion[] = R"(HKLM\Software\Microsoft\Windows\CurrentVersion)";
constexpr char kUserFolders[] = R"(HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders)";
constexpr char kDefaultFolders[] = R"(HKU\.DEFAULT\Software\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders)";
constexpr char kCommonFolders[] = R"(HKLM\Software\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders)";

constexpr DWORD kNotNt = 0x80000000;
constexpr DWORD kBufferSize = 10240;

constexpr DWORD Version(DWORD major, DWORD minor) {
    return major | minor << 8 | DWORD{2600} << 16;
}

using Values = std::map<std::string, std::string>;

// A whole machine. What is empty or absent fails.
struct Machine {
    DWORD version = Version(5, 1);
    std::string temp = R"(C:\Temp\)";
    std::string windows = R"(C:\WINDOWS)";
    std::string system = R"(C:\WINDOWS\system32)";
    std::string user = "ann";
    std::map<std::string, Values> keys = {
        {kCurrentVersion, {{"ProgramFilesDir", R"(C:\Program Files)"}}},
        {kUserFolders,
         {{"Desktop", R"(C:\ann\Desktop)"},
          {"AppData", R"(C:\ann\AppData)"},
          {"Start Menu", R"(C:\ann\Start)"},
          {"Programs", R"(C:\ann\Start\Programs)"},
          {"Startup", R"(C:\ann\Start\Programs\Startup)"}}},
        {kDefaultFolders, {{"Desktop", R"(C:\def\Desktop)"}, {"Programs", R"(C:\def\Programs)"}}},
        {kCommonFolders,
         {{"Common Desktop", R"(C:\all\Desktop)"},
          {"Common Start Menu", R"(C:\all\Start)"},
          {"Common Startup", R"(C:\all\Startup)"},
          {"Common Programs", R"(C:\all\Programs)"}}}};

    // What the code under test did.
    std::vector<std::string> trace;
    std::vector<std::string> opened;  // by handle: 1, 2, ...
    int openKeys = 0;

    void Note(const std::string& what) { trace.push_back(what); }
};

Machine* machine = nullptr;

DWORD Answer(const std::string& text, char* buffer, DWORD size) {
    EXPECT_EQ(size, kBufferSize);
    std::copy_n(text.c_str(), text.empty() ? 0 : text.size() + 1, buffer);
    return static_cast<DWORD>(text.size());
}

DWORD WINAPI FakeGetVersion() {
    return machine->version;
}
DWORD WINAPI FakeGetTempPath(DWORD size, LPSTR buffer) {
    machine->Note("temp");
    return Answer(machine->temp, buffer, size);
}
UINT WINAPI FakeGetWindowsDirectory(LPSTR buffer, UINT size) {
    machine->Note("windows");
    return Answer(machine->windows, buffer, size);
}
UINT WINAPI FakeGetSystemDirectory(LPSTR buffer, UINT size) {
    machine->Note("system");
    return Answer(machine->system, buffer, size);
}
BOOL WINAPI FakeGetUserName(LPSTR buffer, LPDWORD size) {
    machine->Note("user");
    *size = Answer(machine->user, buffer, *size) + 1;
    return machine->user.empty() ? FALSE : TRUE;
}

std::string NameOf(HKEY root) {
    if (root == HKEY_LOCAL_MACHINE) return "HKLM";
    if (root == HKEY_CURRENT_USER) return "HKCU";
    return root == HKEY_USERS ? "HKU" : "?";
}

LSTATUS WINAPI FakeRegCreateKey(HKEY root, LPCSTR path, PHKEY key) {
    const std::string name = NameOf(root) + "\\" + path;
    machine->Note("open " + name);
    if (machine->keys.count(name) == 0) return ERROR_ACCESS_DENIED;
    machine->opened.push_back(name);
    ++machine->openKeys;
    *key = reinterpret_cast<HKEY>(machine->opened.size());
    return ERROR_SUCCESS;
}

LSTATUS WINAPI FakeRegQueryValueEx(HKEY key, LPCSTR name, LPDWORD, LPDWORD, LPBYTE buffer, LPDWORD size) {
    machine->Note("query "s + name);
    EXPECT_EQ(*size, kBufferSize);
    EXPECT_EQ(std::count(buffer, buffer + kBufferSize, BYTE{0}), std::ptrdiff_t{kBufferSize}) << "not zeroed";
    const Values& values = machine->keys[machine->opened.at(reinterpret_cast<size_t>(key) - 1)];
    const auto value = values.find(name);
    if (value == values.end()) return ERROR_FILE_NOT_FOUND;
    *size = static_cast<DWORD>(value->second.size());
    if (*size > kBufferSize) return ERROR_MORE_DATA;
    std::copy(value->second.begin(), value->second.end(), buffer);
    return ERROR_SUCCESS;
}

LSTATUS WINAPI FakeRegCloseKey(HKEY) {
    machine->Note("close");
    --machine->openKeys;
    return ERROR_SUCCESS;
}

SystemCalls FakeCalls() {
    SystemCalls calls;
    calls.getVersion = &FakeGetVersion;
    calls.getTempPath = &FakeGetTempPath;
    calls.getWindowsDirectory = &FakeGetWindowsDirectory;
    calls.getSystemDirectory = &FakeGetSystemDirectory;
    calls.getUserName = &FakeGetUserName;
    calls.regCreateKey = &FakeRegCreateKey;
    calls.regQueryValueEx = &FakeRegQueryValueEx;
    calls.regCloseKey = &FakeRegCloseKey;
    return calls;
}

// Every text by its name, in the order in which it is read.
using Texts = std::vector<std::pair<std::string, std::string>>;

Texts TextsOf(const SystemInformation& information) {
    const auto text = [](const CountedText& counted) { return std::string(counted.View()); };
    return {{"temp", text(information.TempDirectory())},
            {"windows", text(information.WindowsDirectory())},
            {"system", text(information.SystemDirectory())},
            {"programFiles", text(information.ProgramFilesDirectory())},
            {"user", text(information.UserName())},
            {"desktop", text(information.Desktop())},
            {"appData", text(information.AppData())},
            {"startMenu", text(information.StartMenu())},
            {"programs", text(information.Programs())},
            {"startup", text(information.Startup())},
            {"defaultDesktop", text(information.DefaultDesktop())},
            {"defaultPrograms", text(information.DefaultPrograms())},
            {"commonDesktop", text(information.CommonDesktop())},
            {"commonStartMenu", text(information.CommonStartMenu())},
            {"commonStartup", text(information.CommonStartup())},
            {"commonPrograms", text(information.CommonPrograms())}};
}

Texts WholeMachine() {
    return {{"temp", R"(C:\Temp\)"},
            {"windows", R"(C:\WINDOWS)"},
            {"system", R"(C:\WINDOWS\system32)"},
            {"programFiles", R"(C:\Program Files)"},
            {"user", "ann"},
            {"desktop", R"(C:\ann\Desktop)"},
            {"appData", R"(C:\ann\AppData)"},
            {"startMenu", R"(C:\ann\Start)"},
            {"programs", R"(C:\ann\Start\Programs)"},
            {"startup", R"(C:\ann\Start\Programs\Startup)"},
            {"defaultDesktop", R"(C:\def\Desktop)"},
            {"defaultPrograms", R"(C:\def\Programs)"},
            {"commonDesktop", R"(C:\all\Desktop)"},
            {"commonStartMenu", R"(C:\all\Start)"},
            {"commonStartup", R"(C:\all\Startup)"},
            {"commonPrograms", R"(C:\all\Programs)"}};
}

Texts WholeMachineWithout(const std::vector<std::string>& missing) {
    Texts texts = WholeMachine();
    for (auto& [name, text] : texts) {
        if (std::count(missing.begin(), missing.end(), name) != 0) text.clear();
    }
    return texts;
}

Texts WholeMachineUpTo(const std::string& firstMissing) {
    Texts texts = WholeMachine();
    const auto first =
        std::find_if(texts.begin(), texts.end(), [&](const auto& text) { return text.first == firstMissing; });
    EXPECT_NE(first, texts.end());
    for (auto text = first; text != texts.end(); ++text) text->second.clear();
    return texts;
}

class SystemInformationTest : public testing::Test {
protected:
    SystemInformationTest() { machine = &machine_; }
    ~SystemInformationTest() override {
        EXPECT_EQ(machine_.openKeys, 0) << "a registry key is left open";
        machine = nullptr;
    }

    // Gathers anew and expects Refresh() to say `result` and the texts to be `texts`, twice over.
    void ExpectGathered(uint32_t result, const Texts& texts) {
        SystemInformation information(FakeCalls());
        EXPECT_EQ(TextsOf(information), texts);
        EXPECT_EQ(information.Refresh(), result);
        EXPECT_EQ(TextsOf(information), texts);
    }

    Machine machine_;
};

struct VersionCase {
    DWORD version;
    uint32_t osVersion;
    uint32_t isNT;
};

TEST_F(SystemInformationTest, EveryVersionHasItsFamily) {
    const VersionCase cases[] = {
        {Version(3, 51), 16, 1},         {Version(4, 0), 32, 1},         {Version(5, 0), 64, 1},
        {Version(5, 1), 64, 1},          {Version(5, 2), 64, 1},         {Version(0, 0), 0, 0},
        {Version(1, 0), 0, 0},           {Version(2, 0), 0, 0},          {Version(6, 0), 0, 0},
        {Version(6, 2), 0, 0},           {Version(10, 0), 0, 0},         {Version(255, 0), 0, 0},
        {Version(3, 10) | kNotNt, 1, 0}, {Version(4, 0) | kNotNt, 1, 0}, {Version(4, 90) | kNotNt, 1, 0},
        {Version(2, 0) | kNotNt, 0, 0},  {Version(5, 0) | kNotNt, 0, 0}, {Version(6, 0) | kNotNt, 0, 0},
    };
    for (const VersionCase& one : cases) {
        machine_.version = one.version;
        const SystemInformation information(FakeCalls());
        EXPECT_EQ(information.GetOsVersion(), one.osVersion) << std::hex << one.version;
        EXPECT_EQ(information.IsNT(), one.isNT) << std::hex << one.version;
        EXPECT_EQ(TextsOf(information), one.isNT == 1 ? WholeMachine() : WholeMachineUpTo("temp"));
    }
}

TEST_F(SystemInformationTest, Version62GathersNothingAndAsksForNothing) {
    machine_.version = Version(6, 2);
    ExpectGathered(0, WholeMachineUpTo("temp"));
    EXPECT_TRUE(machine_.trace.empty());
}

TEST_F(SystemInformationTest, Windows95GathersNothingAndAsksForNothing) {
    machine_.version = Version(4, 0) | kNotNt;
    ExpectGathered(0, WholeMachineUpTo("temp"));
    EXPECT_TRUE(machine_.trace.empty());
}

TEST_F(SystemInformationTest, Version51GathersEveryFolderInOrder) {
    ExpectGathered(1, WholeMachine());
    const std::vector<std::string> expected = {"temp",
                                               "windows",
                                               "system",
                                               "open "s + kCurrentVersion,
                                               "query ProgramFilesDir",
                                               "close",
                                               "user",
                                               "open "s + kUserFolders,
                                               "query Desktop",
                                               "query AppData",
                                               "query Start Menu",
                                               "query Programs",
                                               "query Startup",
                                               "close",
                                               "open "s + kDefaultFolders,
                                               "query Desktop",
                                               "query Programs",
                                               "close",
                                               "open "s + kCommonFolders,
                                               "query Common Desktop",
                                               "query Common Start Menu",
                                               "query Common Startup",
                                               "query Common Programs",
                                               "close"};
    machine_.trace.resize(expected.size());  // the second half is the second refresh
    EXPECT_EQ(machine_.trace, expected);
}

// One row for everything that stops the gathering, and the first text that it leaves empty.
struct StopCase {
    const char* what;
    std::function<void(Machine&)> remove;
    const char* firstEmpty;
};

TEST_F(SystemInformationTest, EveryStopLeavesAllThatFollowsEmpty) {
    const StopCase cases[] = {
        {"no temporary directory", [](Machine& m) { m.temp.clear(); }, "temp"},
        {"no Windows directory", [](Machine& m) { m.windows.clear(); }, "windows"},
        {"no system directory", [](Machine& m) { m.system.clear(); }, "system"},
        {"no current version key", [](Machine& m) { m.keys.erase(kCurrentVersion); }, "programFiles"},
        {"no ProgramFilesDir", [](Machine& m) { m.keys[kCurrentVersion].clear(); }, "programFiles"},
        {"no user name", [](Machine& m) { m.user.clear(); }, "user"},
        {"no user folders key", [](Machine& m) { m.keys.erase(kUserFolders); }, "desktop"},
        {"no Desktop", [](Machine& m) { m.keys[kUserFolders].erase("Desktop"); }, "desktop"},
        {"no Start Menu", [](Machine& m) { m.keys[kUserFolders].erase("Start Menu"); }, "startMenu"},
        {"no Programs", [](Machine& m) { m.keys[kUserFolders].erase("Programs"); }, "programs"},
        {"no Startup", [](Machine& m) { m.keys[kUserFolders].erase("Startup"); }, "startup"},
    };
    const Machine whole = machine_;
    for (const StopCase& one : cases) {
        SCOPED_TRACE(one.what);
        machine_ = whole;
        one.remove(machine_);
        ExpectGathered(0, WholeMachineUpTo(one.firstEmpty));
        EXPECT_EQ(machine_.openKeys, 0);
    }
}

TEST_F(SystemInformationTest, MissingProgramFilesDirLeavesUserNameAndShellFoldersEmpty) {
    machine_.keys[kCurrentVersion].erase("ProgramFilesDir");
    ExpectGathered(0, WholeMachineUpTo("programFiles"));
    EXPECT_EQ(std::count(machine_.trace.begin(), machine_.trace.end(), "user"), 0);
}

TEST_F(SystemInformationTest, MissingStartMenuStopsBeforeProgramsStartupAndOtherUsers) {
    machine_.keys[kUserFolders].erase("Start Menu");
    ExpectGathered(0, WholeMachineWithout({"startMenu", "programs", "startup", "defaultDesktop", "defaultPrograms",
                                           "commonDesktop", "commonStartMenu", "commonStartup", "commonPrograms"}));
}

TEST_F(SystemInformationTest, MissingAppDataLeavesOnlyAppDataEmpty) {
    machine_.keys[kUserFolders].erase("AppData");
    ExpectGathered(1, WholeMachineWithout({"appData"}));
}

TEST_F(SystemInformationTest, MissingDefaultUserKeyGoesOn) {
    machine_.keys.erase(kDefaultFolders);
    ExpectGathered(1, WholeMachineWithout({"defaultDesktop", "defaultPrograms"}));
}

TEST_F(SystemInformationTest, EachDefaultUserFolderMayBeMissing) {
    const Machine whole = machine_;
    machine_.keys[kDefaultFolders].erase("Desktop");
    ExpectGathered(1, WholeMachineWithout({"defaultDesktop"}));
    machine_ = whole;
    machine_.keys[kDefaultFolders].erase("Programs");
    ExpectGathered(1, WholeMachineWithout({"defaultPrograms"}));
}

TEST_F(SystemInformationTest, MissingAllUsersKeyStillSucceedsWithItsFoldersEmpty) {
    machine_.keys.erase(kCommonFolders);
    ExpectGathered(1, WholeMachineWithout({"commonDesktop", "commonStartMenu", "commonStartup", "commonPrograms"}));
}

TEST_F(SystemInformationTest, EachAllUsersFolderMayBeMissing) {
    const std::pair<const char*, const char*> folders[] = {{"Common Desktop", "commonDesktop"},
                                                           {"Common Start Menu", "commonStartMenu"},
                                                           {"Common Startup", "commonStartup"},
                                                           {"Common Programs", "commonPrograms"}};
    const Machine whole = machine_;
    for (const auto& [value, field] : folders) {
        machine_ = whole;
        machine_.keys[kCommonFolders].erase(value);
        ExpectGathered(1, WholeMachineWithout({field}));
    }
}

TEST_F(SystemInformationTest, RegistryValueCountsUpToItsFirstZeroAndIsNotExpanded) {
    machine_.keys[kCurrentVersion]["ProgramFilesDir"] = "%SystemDrive%\\Programs\0rest"s;
    const SystemInformation information(FakeCalls());
    EXPECT_EQ(information.ProgramFilesDirectory().View(), "%SystemDrive%\\Programs");
}

TEST_F(SystemInformationTest, EmptyRegistryValueIsPresent) {
    machine_.keys[kUserFolders]["Start Menu"] = "";
    ExpectGathered(1, WholeMachineWithout({"startMenu"}));
}

TEST_F(SystemInformationTest, RegistryValueThatFillsTheBufferWithoutAZeroIsKeptWhole) {
    machine_.keys[kCurrentVersion]["ProgramFilesDir"] = std::string(kBufferSize, 'x');
    const SystemInformation information(FakeCalls());
    EXPECT_EQ(information.ProgramFilesDirectory().View(), std::string(kBufferSize, 'x'));
}

TEST_F(SystemInformationTest, RegistryValueLargerThanTheBufferCountsAsMissing) {
    machine_.keys[kCurrentVersion]["ProgramFilesDir"] = std::string(kBufferSize + 1, 'x');
    ExpectGathered(0, WholeMachineUpTo("programFiles"));
}

TEST_F(SystemInformationTest, RefreshThatStopsEarlyKeepsWhatItHasNotReached) {
    SystemInformation information(FakeCalls());
    machine_.windows.clear();
    machine_.temp = R"(D:\Temp\)";
    EXPECT_EQ(information.Refresh(), 0U);
    Texts expected = WholeMachine();
    expected[0].second = R"(D:\Temp\)";
    EXPECT_EQ(TextsOf(information), expected);
}

TEST_F(SystemInformationTest, RefreshEmptiesTheUserFoldersBeforeItReadsThem) {
    SystemInformation information(FakeCalls());
    machine_.keys.erase(kUserFolders);
    EXPECT_EQ(information.Refresh(), 0U);
    EXPECT_EQ(TextsOf(information), WholeMachineWithout({"desktop", "appData", "startMenu", "programs", "startup"}));
}

TEST_F(SystemInformationTest, RefreshEmptiesDefaultAndAllUsersFoldersThatAreGone) {
    SystemInformation information(FakeCalls());
    machine_.keys.erase(kDefaultFolders);
    machine_.keys.erase(kCommonFolders);
    EXPECT_EQ(information.Refresh(), 1U);
    EXPECT_EQ(TextsOf(information), WholeMachineWithout({"defaultDesktop", "defaultPrograms", "commonDesktop",
                                                         "commonStartMenu", "commonStartup", "commonPrograms"}));
}

TEST_F(SystemInformationTest, RefreshOnALaterVersionKeepsTheFoldersButNotTheFamily) {
    SystemInformation information(FakeCalls());
    machine_.version = Version(6, 1);
    EXPECT_EQ(information.Refresh(), 0U);
    EXPECT_EQ(information.GetOsVersion(), 0U);
    EXPECT_EQ(information.IsNT(), 0U);
    EXPECT_EQ(TextsOf(information), WholeMachine());
}

TEST_F(SystemInformationTest, TheFieldsStandInTheirOrder) {
    const SystemInformation information(FakeCalls());
    struct Layout {
        uint32_t numbers[3];
        struct {
            uint32_t length;
            const char* bytes;
        } texts[18];
    } layout;
    std::memcpy(&layout, &information, sizeof layout);
    EXPECT_EQ(layout.numbers[0], information.GetOsVersion());
    EXPECT_EQ(layout.numbers[1], information.IsNT());
    EXPECT_EQ(layout.numbers[2], 0u);
    const CountedText texts[] = {information.WindowsDirectory(),
                                 information.TempDirectory(),
                                 information.SystemDirectory(),
                                 information.UserName(),
                                 information.Desktop(),
                                 information.AppData(),
                                 information.StartMenu(),
                                 information.Startup(),
                                 information.Programs(),
                                 information.DefaultDesktop(),
                                 CountedText(),
                                 CountedText(),
                                 information.DefaultPrograms(),
                                 information.CommonDesktop(),
                                 information.CommonStartMenu(),
                                 information.CommonStartup(),
                                 information.CommonPrograms(),
                                 information.ProgramFilesDirectory()};
    for (size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_EQ(std::string_view(layout.texts[i].bytes, layout.texts[i].length), texts[i].View()) << i;
    }
}

TEST_F(SystemInformationTest, TwoTextsOfTheDefaultUserAndANumberAreNeverFilled) {
    const SystemInformation information(FakeCalls());
    EXPECT_EQ(information.Reserved(), 0u);
    EXPECT_TRUE(information.DefaultStartMenu().Empty());
    EXPECT_TRUE(information.DefaultStartup().Empty());
}

TEST_F(SystemInformationTest, GettersGiveCopies) {
    SystemInformation information(FakeCalls());
    const CountedText before = information.WindowsDirectory();
    machine_.windows = R"(D:\NT)";
    information.Refresh();
    EXPECT_EQ(before.View(), R"(C:\WINDOWS)");
    EXPECT_EQ(information.WindowsDirectory().View(), R"(D:\NT)");
    EXPECT_EQ(information.WindowsDirectory().Length(), 5U);
}

}  // namespace
}  // namespace wpk::core
