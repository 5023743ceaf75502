// The library being loaded while calls of the platform fail.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "env/global_object.h"
#include "host/child_process.h"
#include "host/control.h"
#include "host/faults/tally.h"
#include "library/call.h"
#include "library/start_up.h"

namespace wpk::host {
namespace {

constexpr char kFolders[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";

/// A machine on which the folders are gathered.
void PretendOldMachine() {
    Reset();
    SetVersion(Version(5, 1));
    SetRegistryValue(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Windows\\CurrentVersion", "ProgramFilesDir", "C:\\P");
    for (const char* name : {"Desktop", "AppData", "Start Menu", "Programs", "Startup"}) {
        SetRegistryValue(HKEY_CURRENT_USER, kFolders, name, name);
    }
    SetRegistryValue(HKEY_USERS, std::string(".DEFAULT\\") + kFolders, "Desktop", "Desktop");
    SetRegistryValue(HKEY_LOCAL_MACHINE, kFolders, "Common Desktop", "Desktop");
}

TEST(FaultsAtLoad, LeaveNothingOpen) {
    auto* const injected = static_cast<size_t*>(SharedMemory(sizeof(size_t)));
    const bool passed = RunInChild([injected] {
        PretendOldMachine();
        {
            const CodeScope library(Code::kLibrary);
            const GlobalObject undisturbed;
        }
        const std::vector<std::string_view> calls = FallibleCalls();
        std::vector<uint64_t> uses;
        for (const std::string_view call : calls) uses.push_back(Uses(call));
        size_t& cases = *injected;
        for (size_t i = 0; i < calls.size(); ++i) {
            for (uint64_t nth = 1; nth <= uses[i]; ++nth) {
                PretendOldMachine();
                const Live before = CountLive();
                FailCall(calls[i], nth);
                {
                    const CodeScope library(Code::kLibrary);
                    const GlobalObject disturbed;
                }
                EXPECT_EQ(FaultsFired(), 1u) << calls[i] << ' ' << nth;
                EXPECT_EQ(CountLive(), before) << calls[i] << ' ' << nth;
                EXPECT_EQ(Misuses(), std::vector<std::string>());
                ++cases;
            }
        }
        EXPECT_GT(cases, 20u);
    });
    EXPECT_TRUE(passed);
    CountInjected("load", *injected);
}

TEST(FaultsAtLoad, WithoutItsLocksTheLibraryRefusesToInitialise) {
    const bool passed = RunInChild([] {
        FailCall("CreateSemaphoreA", 1, Times::kForGood);
        GlobalObject global;
        ClearFaults();
        WPK_INITSTRUCT settings{};
        settings.nConnectionType = WPK_CONNECTION_PERMANENT;
        settings.lpfnCallback = [](WPK_CALLBACKSTRUCT*) {};
        EXPECT_EQ(Initialise(global, settings), 0);
        EXPECT_EQ(Call(global, kCommandSend, 0), 0u);
        EXPECT_EQ(CountLive().threads, 0);
    });
    EXPECT_TRUE(passed);
}

}  // namespace
}  // namespace wpk::host
