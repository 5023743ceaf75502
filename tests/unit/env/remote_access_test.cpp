// The wrappers around the system's remote access library.
// SPDX-License-Identifier: MIT
#include "env/remote_access.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "fake_modules.h"
#include "support/lib_thread.h"

namespace wpk::core {
namespace {

using Trace = std::vector<std::string>;

constexpr char kLibrary[] = "rasapi32.dll";

RasConnection* const kConnections = reinterpret_cast<RasConnection*>(0x1000);
DWORD* const kSize = reinterpret_cast<DWORD*>(0x2000);
DWORD* const kCount = reinterpret_cast<DWORD*>(0x3000);
void* const kConnection = reinterpret_cast<void*>(0x123456789ABC);
RasConnectionStatus* const kStatus = reinterpret_cast<RasConnectionStatus*>(0x5000);

DWORD WINAPI EnumOf633(RasConnection* connections, DWORD* bufferSize, DWORD* count) {
    EXPECT_EQ(connections, kConnections);
    EXPECT_EQ(bufferSize, kSize);
    EXPECT_EQ(count, kCount);
    return 633;
}

DWORD WINAPI StatusOf668(void* connection, RasConnectionStatus* status) {
    EXPECT_EQ(connection, kConnection);
    EXPECT_EQ(status, kStatus);
    return 668;
}

class RemoteAccessTest : public test::ThreadLayer {
protected:
    void AddWholeLibrary() {
        modules_.Add(kLibrary, "RasEnumConnectionsA", EnumOf633);
        modules_.Add(kLibrary, "RasGetConnectStatusA", StatusOf668);
    }
    DWORD Enumerate() { return library_.EnumConnections(kConnections, kSize, kCount); }
    DWORD AskStatus() { return library_.GetConnectStatus(kConnection, kStatus); }

    test::FakeModules modules_;
    RemoteAccessLibrary library_{modules_.Calls()};
};

TEST_F(RemoteAccessTest, NothingIsLoadedBeforeTheFirstUse) {
    AddWholeLibrary();
    EXPECT_EQ(modules_.Trace(), Trace{});
}

TEST_F(RemoteAccessTest, ArgumentsAndResultsPassThroughUnchanged) {
    AddWholeLibrary();
    EXPECT_EQ(Enumerate(), 633u);
    EXPECT_EQ(AskStatus(), 668u);
}

TEST_F(RemoteAccessTest, TheLibraryIsLoadedOnceAndKept) {
    AddWholeLibrary();
    for (int i = 0; i < 3; ++i) {
        Enumerate();
        AskStatus();
    }
    const Trace trace = modules_.Trace();
    EXPECT_EQ(std::count(trace.begin(), trace.end(), "load rasapi32.dll"), 1);
    EXPECT_EQ(modules_.Loaded(kLibrary), 1);
}

TEST_F(RemoteAccessTest, AMissingLibraryIsModNotFoundUntilItIsThere) {
    EXPECT_EQ(Enumerate(), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_EQ(AskStatus(), DWORD{ERROR_MOD_NOT_FOUND});
    AddWholeLibrary();
    EXPECT_EQ(Enumerate(), 633u);
}

TEST_F(RemoteAccessTest, AMissingFunctionIsProcNotFoundAndLeavesTheOtherOneAlone) {
    modules_.Add(kLibrary, "RasGetConnectStatusA", StatusOf668);
    EXPECT_EQ(Enumerate(), DWORD{ERROR_PROC_NOT_FOUND});
    EXPECT_EQ(AskStatus(), 668u);
    EXPECT_EQ(modules_.Loaded(kLibrary), 1);
}

TEST_F(RemoteAccessTest, SeveralThreadsAtOnceKeepOneReference) {
    AddWholeLibrary();
    std::vector<std::unique_ptr<test::LibThread>> threads;
    for (int i = 0; i < 8; ++i) {
        threads.push_back(std::make_unique<test::LibThread>([this] {
            EXPECT_EQ(Enumerate(), 633u);
            EXPECT_EQ(AskStatus(), 668u);
            return 0u;
        }));
    }
    for (auto& thread : threads) thread->Resume();
    threads.clear();
    EXPECT_EQ(modules_.Loaded(kLibrary), 1);
}

TEST_F(RemoteAccessTest, TheProbeFreesTheLibraryAtOnce) {
    EXPECT_FALSE(CanLoadRemoteAccess(modules_.Calls()));
    modules_.Add(kLibrary);
    EXPECT_TRUE(CanLoadRemoteAccess(modules_.Calls()));
    EXPECT_EQ(modules_.Trace(), (Trace{"load rasapi32.dll", "load rasapi32.dll", "free rasapi32.dll"}));
}

}  // namespace
}  // namespace wpk::core
