// The system's remote access.
// SPDX-License-Identifier: MIT
#include "env/remote_access.h"

namespace wpk::core {

namespace {

constexpr char kLibraryName[] = "rasapi32.dll";

}  // namespace

bool CanLoadRemoteAccess(const ModuleCalls& calls) {
    const HMODULE module = calls.loadLibrary(kLibraryName);
    if (!module) return false;
    calls.freeLibrary(module);
    return true;
}

DWORD RemoteAccessLibrary::EnumConnections(RasConnection* connections, DWORD* bufferSize, DWORD* count) {
    return Call<RasEnumConnectionsFunction>("RasEnumConnectionsA", connections, bufferSize, count);
}

DWORD RemoteAccessLibrary::GetConnectStatus(void* connection, RasConnectionStatus* status) {
    return Call<RasGetConnectStatusFunction>("RasGetConnectStatusA", connection, status);
}

template <class Function, class... Arguments>
DWORD RemoteAccessLibrary::Call(const char* name, Arguments... arguments) {
    const HMODULE module = Load();
    if (!module) return ERROR_MOD_NOT_FOUND;
    auto* const function = calls_.Find<Function>(module, name);
    return function ? function(arguments...) : ERROR_PROC_NOT_FOUND;
}

/// Without a lock, which a thread would hold while it waits for the system's loader: of several threads that load the
/// module at once, one keeps its reference and the others give theirs back.
HMODULE RemoteAccessLibrary::Load() {
    if (const HMODULE loaded = module_) return loaded;
    const HMODULE mine = calls_.loadLibrary(kLibraryName);
    HMODULE kept = nullptr;
    if (!mine || module_.compare_exchange_strong(kept, mine)) return mine;
    calls_.freeLibrary(mine);
    return kept;
}

}  // namespace wpk::core
