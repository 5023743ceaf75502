// Where the library's own libraries come from, and what it asks of them.
// SPDX-License-Identifier: MIT
#include "support/dll/import_patch.h"
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>

namespace wpk::harness {
namespace {

constexpr int kGood = 42;

/// No library is looked for anywhere but in the system's folder any more.
void NarrowTheSearch() {
#include "shipping/narrow_search.inc"
}

/// False when it is not loaded.
bool IsOfTheSystem(const char* module) {
    char path[MAX_PATH] = {};
    char folder[MAX_PATH] = {};
    const HMODULE loaded = GetModuleHandleA(module);
    if (!loaded || GetModuleFileNameA(loaded, path, MAX_PATH) == 0) return false;
    const UINT length = GetSystemDirectoryA(folder, MAX_PATH);
    return length > 0 && _strnicmp(path, folder, length) == 0 && path[length] == '\\';
}

std::atomic<bool> theSystemsRemoteAccessWasLoaded{false};

/// The library looks for remote access before its watch begins, and lets go of it again until the first poll.
HMODULE WINAPI NoteRemoteAccess(const char* name) {
    const HMODULE module = LoadLibraryA(name);
    if (std::strcmp(name, "rasapi32.dll") == 0 && IsOfTheSystem(name)) theSystemsRemoteAccessWasLoaded = true;
    return module;
}

WPK_SCENARIO(ExchangeFromTheSystemsFolderAlone) {
    NarrowTheSearch();
    if (LoadLibraryA("wpk.dll")) return 1;
    const Library library = Library::LoadFrom(ProgramFolder() + "wpk.dll");
    if (!IsOfTheSystem("ws2_32.dll")) return 2;
    const ImportPatch patch(library.module(), "LoadLibraryA", AddressOf(&NoteRemoteAccess));
    if (!patch.Found()) return 10;
    Inbox& inbox = *new Inbox;
    WPK_INITSTRUCT settings = PermanentSettings(inbox);
    settings.nConnectionType = std::atoi(argument.c_str());
    // The first word of a dial-up watch takes one start of the sockets interface back.
    WSADATA data;
    if (settings.nConnectionType != WPK_CONNECTION_PERMANENT && WSAStartup(MAKEWORD(1, 1), &data) != 0) return 9;
    if (library.Init(&settings) != 1) return 3;
    // What goes over dial-up has no network here; over a permanent one it gets its reply.
    Peer peer(Answer(Ok("ok")));
    Request request(peer.Port());
    if (!request.Run(library)) return 4;
    if (settings.nConnectionType == WPK_CONNECTION_PERMANENT) return request.Final().bytes == "ok" ? kGood : 5;
    // The watch has begun: that it tells of no connection shows that the remote access library has been found.
    if (!inbox.WaitForCount(1) || inbox.All().front().reason != WPK_REASON_CONNECTION) return 6;
    if (request.Final().error != WPK_ERROR_NO_NETWORK) return 7;
    return theSystemsRemoteAccessWasLoaded ? kGood : 8;
}

TEST(Loading, WithTheNarrowestSearchWorksByItsFullPathOverAPermanentNetwork) {
    EXPECT_EQ(Child("ExchangeFromTheSystemsFolderAlone", std::to_string(WPK_CONNECTION_PERMANENT)).Wait(),
              static_cast<DWORD>(kGood));
}

TEST(Loading, WithTheNarrowestSearchFindsTheSystemsRemoteAccess) {
    EXPECT_EQ(Child("ExchangeFromTheSystemsFolderAlone", std::to_string(WPK_CONNECTION_AUTOMATIC)).Wait(),
              static_cast<DWORD>(kGood));
}

WORD theVersionAskedFor;

int WINAPI NoteVersion(WORD version, WSADATA* data) {
    theVersionAskedFor = version;
    return WSAStartup(version, data);
}

TEST(Loading, SocketsInterfaceIsAskedForVersion1Point1) {
    const Library library = Library::LoadFresh();
    const ImportPatch patch(library.module(), "WSAStartup", AddressOf(&NoteVersion));
    ASSERT_TRUE(patch.Found());
    Inbox& inbox = *new Inbox;
    const WPK_INITSTRUCT settings = PermanentSettings(inbox);
    ASSERT_EQ(library.Init(&settings), 1);
    EXPECT_EQ(theVersionAskedFor, MAKEWORD(1, 1));
}

}  // namespace
}  // namespace wpk::harness
