// The system's remote access: the records and functions by which dial-up connections are seen.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_REMOTE_ACCESS_H
#define WPK_ENV_REMOTE_ACCESS_H

#include <atomic>
#include <cstddef>

#include "env/module_calls.h"

namespace wpk::core {

// The platform's records as 64-bit Windows has had them since version 6.1. They are declared here because their size in
// the platform's header depends on the Windows version that the build targets, and the system expects these sizes. Only
// the fields that are read have a name.
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
static_assert(offsetof(RasConnection, furtherFields) == 286);
static_assert(sizeof(RasConnectionStatus) == 332);
static_assert(offsetof(RasConnectionStatus, state) == 4);

/// Values of RasConnectionStatus::state. All others are stages on the way to a connection.
enum RasConnectionState : DWORD {
    kRasConnected = 0x2000,
    kRasDisconnected = 0x2001,
};

/// RasEnumConnectionsA: fills `connections`; the caller sets the `size` of the first record. `bufferSize` is in bytes.
using RasEnumConnectionsFunction = DWORD WINAPI(RasConnection* connections, DWORD* bufferSize, DWORD* count);
/// RasGetConnectStatusA: fills `status`; the caller sets its `size`.
using RasGetConnectStatusFunction = DWORD WINAPI(void* connection, RasConnectionStatus* status);

/// Whether the system's remote access library can be loaded. It is freed again at once.
bool CanLoadRemoteAccess(const ModuleCalls& calls = ModuleCalls());

/// The system's remote access library, loaded by the first call of one of its functions and kept from then on. If it or
/// the function is missing, a call returns ERROR_MOD_NOT_FOUND or ERROR_PROC_NOT_FOUND, and the next call tries again.
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
