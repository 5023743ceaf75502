// The system's remote access: the records and functions by which dial-up connections are seen.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_REMOTE_ACCESS_H
#define WPK_ENV_REMOTE_ACCESS_H

#include <atomic>
#include <cstddef>

#include "env/module_calls.h"

namespace wpk::core {

// The records are the platform's own as 64-bit Windows has them since version 6.1. They are written down here because
// their size in the platform's header depends on the Windows version that a build is made for, while the system is told
// these sizes. Only the fields that are read have a name.
#pragma pack(push, 4)

/// One connection: RASCONNA.
struct RasConnection {
    DWORD size;
    void* connection;
    char entryName[257];
    char deviceType[17];
    char furtherFields[438];
};

/// The state of one connection: RASCONNSTATUSA.
struct RasConnectionStatus {
    DWORD size;
    DWORD state;
    char furtherFields[324];
};

#pragma pack(pop)

static_assert(sizeof(RasConnection) == 724);
static_assert(offsetof(RasConnection, connection) == 4);
static_assert(offsetof(RasConnection, entryName) == 12);
static_assert(offsetof(RasConnection, deviceType) == 269);
static_assert(sizeof(RasConnectionStatus) == 332);
static_assert(offsetof(RasConnectionStatus, state) == 4);

/// Values of RasConnectionStatus::state. All others are stages on the way to a connection.
enum RasConnectionState : DWORD {
    kRasConnected = 0x2000,
    kRasDisconnected = 0x2001,
};

/// RasEnumConnectionsA: fills `connections`, whose first record tells its `size`. `bufferSize` is in bytes.
using RasEnumConnectionsFunction = DWORD WINAPI(RasConnection* connections, DWORD* bufferSize, DWORD* count);
/// RasGetConnectStatusA: fills `status`, which tells its `size`.
using RasGetConnectStatusFunction = DWORD WINAPI(void* connection, RasConnectionStatus* status);

/// True when the system's remote access library can be loaded. It is freed again at once.
bool CanLoadRemoteAccess(const ModuleCalls& calls = ModuleCalls());

/// The system's remote access library, loaded when a function of it is first called and kept from then on. Where it or
/// the function is missing, a call returns ERROR_MOD_NOT_FOUND or ERROR_PROC_NOT_FOUND, and the next call looks again.
/// Any thread may call it.
class RemoteAccessLibrary {
public:
    explicit RemoteAccessLibrary(const ModuleCalls& calls = ModuleCalls()) : calls_(calls) {}

    DWORD EnumConnections(RasConnection* connections, DWORD* bufferSize, DWORD* count);
    DWORD GetConnectStatus(void* connection, RasConnectionStatus* status);

private:
    template <class Function, class... Arguments>
    DWORD Call(const char* name, Arguments... arguments);
    HMODULE Load();

    ModuleCalls calls_;
    std::atomic<HMODULE> module_{nullptr};
};

}  // namespace wpk::core

#endif
