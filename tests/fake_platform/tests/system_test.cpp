// The machine that the fake platform pretends to be.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>

#include "fake_platform/control.h"

namespace wpk::host {
namespace {

class StandInSystem : public testing::Test {
protected:
    void SetUp() override {
        Reset();
        before_ = CountLive();
    }
    void TearDown() override { EXPECT_EQ(CountLive(), before_); }
    Live before_;
};

TEST_F(StandInSystem, ReportsTheVersionAndFoldersThatWereSet) {
    SetVersion(Version(5, 1));
    SetTempDirectory("D:\\temp\\");
    EXPECT_EQ(GetVersion() & 0xFFFF, 0x0105u);
    char buffer[100] = "";
    EXPECT_EQ(GetTempPathA(sizeof buffer, buffer), 8u);
    EXPECT_STREQ(buffer, "D:\\temp\\");
    EXPECT_EQ(GetTempPathA(8, buffer), 9u);
    SetTempDirectory("");
    EXPECT_EQ(GetTempPathA(sizeof buffer, buffer), 0u);
    DWORD size = sizeof buffer;
    EXPECT_TRUE(GetUserNameA(buffer, &size));
    EXPECT_EQ(size, 5u);
}

TEST_F(StandInSystem, FindsRegistryValuesWithoutRegardToCase) {
    SetRegistryValue(HKEY_LOCAL_MACHINE, "Software\\Test", "Name", "value");
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\test", 0, KEY_READ, &key), ERROR_SUCCESS);
    char buffer[100] = "";
    DWORD size = sizeof buffer;
    DWORD type = 0;
    EXPECT_EQ(RegQueryValueExA(key, "NAME", nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size), ERROR_SUCCESS);
    EXPECT_STREQ(buffer, "value");
    EXPECT_EQ(size, 6u);
    size = 3;
    EXPECT_EQ(RegQueryValueExA(key, "Name", nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size), ERROR_MORE_DATA);
    EXPECT_EQ(RegQueryValueExA(key, "Other", nullptr, nullptr, nullptr, &size), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(CountLive().keys, before_.keys + 1);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_TRUE(Misuses().empty());
}

TEST_F(StandInSystem, MakesMissingKeysOnlyWhenAllowed) {
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Missing", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    AllowKeyCreation(false);
    EXPECT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, "Missing", &key), ERROR_ACCESS_DENIED);
    AllowKeyCreation(true);
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, "Missing", &key), ERROR_SUCCESS);
    RegCloseKey(key);
}

INT_PTR Answer() {
    return 42;
}

TEST_F(StandInSystem, LoadsOnlyModulesThatWereAdded) {
    EXPECT_EQ(LoadLibraryA("rasapi32.dll"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    AddModule("rasapi32.dll", {{"Answer", Answer}});
    const HMODULE module = LoadLibraryA("RASAPI32");
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(ModuleReferences("rasapi32.dll"), 1);
    EXPECT_EQ(GetProcAddress(module, "Answer")(), 42);
    EXPECT_EQ(GetProcAddress(module, "Question"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_TRUE(Misuses().empty());
    EXPECT_FALSE(FreeLibrary(module));
    EXPECT_EQ(Misuses().size(), 1u);
}

TEST_F(StandInSystem, PinsTheModuleThatHoldsAnAddress) {
    HMODULE module = nullptr;
    EXPECT_TRUE(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                                   reinterpret_cast<LPCSTR>(&Answer), &module));
    EXPECT_NE(module, nullptr);
    EXPECT_TRUE(ModulePinned("wpk.dll"));
}

TEST_F(StandInSystem, KeepsTheEventLog) {
    const HANDLE source = RegisterEventSourceA(nullptr, "Source");
    const char* texts[] = {"first", "second"};
    EXPECT_TRUE(ReportEventA(source, EVENTLOG_ERROR_TYPE, 0, 5, nullptr, 2, 0, texts, nullptr));
    EXPECT_TRUE(DeregisterEventSource(source));
    const std::vector<Event> events = EventLog();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].source, "Source");
    EXPECT_EQ(events[0].id, 5u);
    EXPECT_EQ(events[0].texts, (std::vector<std::string>{"first", "second"}));
}

}  // namespace
}  // namespace wpk::host
