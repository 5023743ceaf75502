// The connection types on machines with remote access, without it, and with half of it. Each in a process of its own.
// SPDX-License-Identifier: MIT
#include "interface/dial_up/remote_access_scenes.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/dll/inbox.h"
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

namespace wpk::harness {
namespace {

using States = std::vector<unsigned int>;

// In scenarios: the exit code is the line that failed.
#define WPK_REQUIRE(condition) \
    if (!(condition)) return __LINE__

Inbox& Told() {
    static Inbox& inbox = *new Inbox;
    return inbox;
}

States StatesTold() {
    States states;
    for (const Notification& one : Told().All()) states.push_back(one.connected);
    return states;
}

Library Start(WPK_INT64 type) {
    // One start for the detection to take back.
    WSADATA sockets;
    if (WSAStartup(MAKEWORD(1, 1), &sockets) != 0) Die("no sockets");
    const Library library = LoadFromElsewhere();
    WPK_INITSTRUCT settings = PermanentSettings(Told());
    settings.nConnectionType = type;
    if (library.Init(&settings) != 1) Die("WPK_Init failed");
    return library;
}

/// 0 for a reply.
int OutcomeOfRequest(const Library& library) {
    Peer peer(Answer(Ok("here")));
    Request request(peer.Port());
    if (!request.Run(library)) return 1;
    if (request.Final().error == WPK_ERROR_NO_NETWORK && peer.Connections() != 0) return 2;
    return request.Final().error;
}

bool HasRemoteAccess() {
    return LoadLibraryA("rasapi32.dll") != nullptr;
}

/// What the two wrappers return, whatever they are called with.
bool WrappersReturn(const Library& library, DWORD code) {
    const Wrappers wrappers(library);
    DWORD size = 0, count = 0;
    return wrappers.enumConnections(nullptr, &size, &count) == code &&
           wrappers.getConnectStatus(nullptr, nullptr) == code;
}

DWORD InAProcess(const char* scenario, const std::string& argument = "-") {
    return Child(scenario, argument).Wait();
}

WPK_SCENARIO(NeverConnected) {
    const Library library = Start(WPK_CONNECTION_NEVER);
    WPK_REQUIRE(Told().WaitForCount(1));
    WPK_REQUIRE(Told().All()[0].reason == WPK_REASON_CONNECTION);
    WPK_REQUIRE(Told().All()[0].thread != GetCurrentThreadId());
    WPK_REQUIRE(Told().All()[0].restIsZero);
    WPK_REQUIRE(Told().WaitForThreadEnd());
    WPK_REQUIRE(OutcomeOfRequest(library) == WPK_ERROR_NO_NETWORK);
    WPK_REQUIRE(StatesTold() == (States{0}));
    return 0;
}

WPK_SCENARIO(PermanentNetwork) {
    const Library library = Start(WPK_CONNECTION_PERMANENT);
    WPK_REQUIRE(OutcomeOfRequest(library) == 0);
    WPK_REQUIRE(StatesTold().empty());
    return 0;
}

WPK_SCENARIO(UnknownType) {
    const Library library = Start(std::stoll(argument));
    WPK_REQUIRE(OutcomeOfRequest(library) == WPK_ERROR_NO_NETWORK);
    WPK_REQUIRE(StatesTold().empty());
    return 0;
}

WPK_SCENARIO(AutomaticDetects) {
    WPK_REQUIRE(HasRemoteAccess());
    Play({ModemIn(kConnected)});
    const Library library = Start(WPK_CONNECTION_AUTOMATIC);
    WPK_REQUIRE(Told().WaitForCount(2));
    WPK_REQUIRE(StatesTold() == (States{0, 1}));
    WPK_REQUIRE(OutcomeOfRequest(library) == 0);
    return 0;
}

/// The argument is the connection type.
WPK_SCENARIO(DetectionCannotStart) {
    WPK_REQUIRE(!HasRemoteAccess());
    const Library library = Start(std::stoll(argument));
    WPK_REQUIRE(Told().WaitForCount(1));
    WPK_REQUIRE(Told().WaitForThreadEnd());  // the detection's thread would stay
    WPK_REQUIRE(OutcomeOfRequest(library) == WPK_ERROR_NO_NETWORK);
    WPK_REQUIRE(StatesTold() == (States{0}));
    WPK_REQUIRE(WrappersReturn(library, ERROR_MOD_NOT_FOUND));
    return 0;
}

WPK_SCENARIO(AutomaticIsPermanent) {
    WPK_REQUIRE(!HasRemoteAccess());
    const Library library = Start(WPK_CONNECTION_AUTOMATIC);
    WPK_REQUIRE(OutcomeOfRequest(library) == 0);
    WPK_REQUIRE(StatesTold().empty());
    return 0;
}

/// The argument is the connection type.
WPK_SCENARIO(FunctionsMissing) {
    const std::string path = ProgramFolder() + "without_functions\\rasapi32.dll";
    // A module that is loaded already is the one that its name stands for.
    WPK_REQUIRE(LoadLibraryA(path.c_str()) != nullptr);
    const Library library = Start(std::stoll(argument));
    WPK_REQUIRE(WrappersReturn(library, ERROR_PROC_NOT_FOUND));
    WPK_REQUIRE(Told().WaitForCount(1));
    WPK_REQUIRE(OutcomeOfRequest(library) == WPK_ERROR_NO_NETWORK);
    WPK_REQUIRE(StatesTold() == (States{0}));
    return 0;
}

WPK_SCENARIO(WrappersPassThrough) {
    WPK_REQUIRE(GetModuleHandleA("rasapi32.dll") == nullptr);
    const Library library = LoadFromElsewhere();
    WPK_REQUIRE(GetModuleHandleA("rasapi32.dll") == nullptr);  // only when first used
    const Wrappers wrappers(library);
    std::vector<Thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            DWORD size = 0, count = 0;
            if (wrappers.enumConnections(nullptr, &size, &count) != ERROR_INVALID_PARAMETER) Die("not passed on");
        });
    }
    threads.clear();

    Play({Showing({Device("modem", kAuthenticate), Device("vpn", kConnected)})});
    alignas(8) char connections[2 * 724] = {};
    DWORD size = 724, count = 0;
    WPK_REQUIRE(wrappers.enumConnections(connections, &size, &count) == 632);  // the record does not tell its size
    const DWORD recordSize = 724;
    std::memcpy(connections, &recordSize, sizeof recordSize);
    WPK_REQUIRE(wrappers.enumConnections(connections, &size, &count) == 603);  // too small
    WPK_REQUIRE(size == 2 * 724);
    WPK_REQUIRE(wrappers.enumConnections(connections, &size, &count) == ERROR_SUCCESS);
    WPK_REQUIRE(count == 2 && std::strcmp(connections + 724 + 269, "vpn") == 0);

    void* connection = nullptr;
    std::memcpy(&connection, connections + 4, sizeof connection);
    DWORD status[332 / sizeof(DWORD)] = {332};
    WPK_REQUIRE(wrappers.getConnectStatus(connection, status) == ERROR_SUCCESS);
    WPK_REQUIRE(status[1] == kAuthenticate);
    WPK_REQUIRE(wrappers.getConnectStatus(nullptr, status) == ERROR_INVALID_HANDLE);
    return 0;
}

TEST(ConnectionTypes, NeverTellsZeroOnceAndFailsEveryRequest) {
    EXPECT_EQ(InAProcess("NeverConnected"), 0u);
}

TEST(ConnectionTypes, PermanentTellsNothingAndRequestsWork) {
    EXPECT_EQ(InAProcess("PermanentNetwork"), 0u);
}

TEST(ConnectionTypes, UnknownTellsNothingAndFailsEveryRequest) {
    for (const char* type : {"4", "-1", "4294967296"}) EXPECT_EQ(InAProcess("UnknownType", type), 0u) << type;
}

TEST(ConnectionTypes, AutomaticWithRemoteAccessDetects) {
    EXPECT_EQ(InAProcess("AutomaticDetects"), 0u);
}

TEST(ConnectionTypes, RemoteAccessWithoutFunctionsNeverConnects) {
    for (const char* type : {"1", "3"}) EXPECT_EQ(InAProcess("FunctionsMissing", type), 0u) << type;
}

TEST(ConnectionTypes, WrappersPassArgumentsAndResultsThrough) {
    EXPECT_EQ(InAProcess("WrappersPassThrough"), 0u);
}

TEST(WithoutRemoteAccess, DialUpTakesThePathOfNeverConnected) {
    EXPECT_EQ(InAProcess("DetectionCannotStart", "1"), 0u);
}

TEST(WithoutRemoteAccess, AutomaticIsAPermanentNetwork) {
    EXPECT_EQ(InAProcess("AutomaticIsPermanent"), 0u);
}

}  // namespace
}  // namespace wpk::harness
