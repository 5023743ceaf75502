// The library being loaded while calls of the platform fail.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "env/global_object.h"
#include "host/child_process.h"
#include "host/control.h"
#include "host/faults/tally.h"
#include "host/scene.h"
#include "library/call.h"
#include "library/start_up.h"

namespace wpk::host {

using namespace core;
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

using Loaded = std::optional<GlobalObject>;

void Load(Loaded& global) {
    const CodeScope library(Code::kLibrary);
    global.emplace();
}

void Unload(Loaded& global) {
    const CodeScope library(Code::kLibrary);
    global.reset();
}

using UsesByCall = std::map<std::string_view, uint64_t>;

UsesByCall CountUses() {
    UsesByCall uses;
    for (const std::string_view call : FallibleCalls()) uses[call] = Uses(call);
    return uses;
}

std::string Describe(std::string_view call, uint64_t nth) {
    return std::string(call) + " failing at use " + std::to_string(nth);
}

WPK_INITSTRUCT PermanentNetwork() {
    WPK_INITSTRUCT settings{};
    settings.nConnectionType = WPK_CONNECTION_PERMANENT;
    settings.lpfnCallback = [](WPK_CALLBACKSTRUCT*) {};
    return settings;
}

void ExpectToRefuse(GlobalObject& global) {
    EXPECT_EQ(Initialise(global, PermanentNetwork()), 0);
    EXPECT_EQ(Call(global, kCommandSend, 0), 0u);
    EXPECT_EQ(CountLive().threads, 0);
}

void ExpectToWork(GlobalObject& global) {
    ASSERT_EQ(Initialise(global, PermanentNetwork()), 1);
    auto& request = Lasting<Request>(Lasting<Server>().Port(), "Small");
    EXPECT_NE(Call(global, kCommandSend, reinterpret_cast<uintptr_t>(&request.message)), 0u);
    EXPECT_TRUE(request.AwaitFinal());
    EXPECT_EQ(request.Error(), 0);
    EXPECT_EQ(request.Reply(), "small");
    EXPECT_EQ(request.Finals(), 1);
}

TEST(FaultsAtLoad, LeaveNothingOpen) {
    auto* const injected = static_cast<size_t*>(SharedMemory(sizeof(size_t)));
    const bool passed = RunInChild([injected] {
        PretendOldMachine();
        Loaded global;
        Load(global);
        Unload(global);
        size_t& cases = *injected;
        for (const auto& [call, count] : CountUses()) {
            for (uint64_t nth = 1; nth <= count; ++nth, ++cases) {
                SCOPED_TRACE(Describe(call, nth));
                PretendOldMachine();
                const Live before = CountLive();
                FailCall(call, nth);
                Load(global);
                Unload(global);
                EXPECT_EQ(FaultsFired(), 1u);
                EXPECT_EQ(CountLive(), before);
                EXPECT_EQ(Misuses(), std::vector<std::string>());
            }
        }
        EXPECT_GT(cases, 20u);
    });
    EXPECT_TRUE(passed);
    CountInjected("load", *injected);
}

void LoadWithFaultAndUse(std::string_view call, uint64_t nth, std::atomic<uint64_t>& refused) {
    PretendOldMachine();
    auto& global = Lasting<Loaded>();
    FailCall(call, nth);
    Load(global);
    EXPECT_EQ(FaultsFired(), 1u);
    ClearFaults();
    const bool lacks_lock = !global->gate || !global->transport.settings.HasLock() || !global->modemDetection.HasLock();
    if (!lacks_lock) {
        ExpectToWork(*global);
        return;
    }
    EXPECT_EQ(call, "CreateSemaphoreA");
    ExpectToRefuse(*global);
    ++refused;
}

/// The gate's two, and those of the proxy credentials and of the observers.
constexpr uint64_t kLocksOfTheLoad = 4;

TEST(FaultsAtLoad, LeaveALibraryThatWorksOrRefusesToInitialise) {
    auto* const refused = static_cast<std::atomic<uint64_t>*>(SharedMemory(sizeof(std::atomic<uint64_t>)));
    PretendOldMachine();
    Loaded undisturbed;
    Load(undisturbed);
    const UsesByCall uses = CountUses();
    undisturbed.reset();
    Reset();
    size_t cases = 0;
    Children children(/*at_once=*/2);
    for (const auto& [call, count] : uses) {
        for (uint64_t nth = 1; nth <= count; ++nth, ++cases) {
            const auto body = [call = call, nth, refused] { LoadWithFaultAndUse(call, nth, *refused); };
            children.Start(body, [what = Describe(call, nth)](bool passed) { EXPECT_TRUE(passed) << what; });
        }
    }
    children.AwaitAll();
    EXPECT_EQ(*refused, kLocksOfTheLoad);
    CountInjected("load and use", cases);
}

TEST(FaultsAtLoad, WithoutItsLocksTheLibraryRefusesToInitialise) {
    const bool passed = RunInChild([] {
        FailCall("CreateSemaphoreA", 1, Times::kForGood);
        GlobalObject global;
        ClearFaults();
        ExpectToRefuse(global);
    });
    EXPECT_TRUE(passed);
}

}  // namespace
}  // namespace wpk::host
