// The library's start-up.
// SPDX-License-Identifier: MIT
#include "library/start_up.h"

#include "threadlib/threadlib.h"

namespace wpk {

namespace {

constexpr WORD kSocketsVersion = MAKEWORD(1, 1);

/// From now on freeing the library does not unload it: threads of its own may be running at any moment.
bool KeepLoaded() {
    HMODULE self = nullptr;
    return GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                              reinterpret_cast<const char*>(&kSocketsVersion), &self) != 0;
}

void UsePermanentNetwork(GlobalObject& global) {
    WSADATA data;
    global.transport.connectionStatus = WSAStartup(kSocketsVersion, &data) == 0;
}

bool CanLoadRemoteAccess() {
    return static_cast<bool>(UniqueModule(LoadLibraryA("rasapi32.dll")));
}

WPK_INT64 ResolveConnectionType(WPK_INT64 type) {
    if (type != WPK_CONNECTION_AUTOMATIC) return type;
    return CanLoadRemoteAccess() ? WPK_CONNECTION_DIAL_UP : WPK_CONNECTION_PERMANENT;
}

void ActOnConnectionType(GlobalObject& global) {
    switch (ResolveConnectionType(global.transport.settings.ConnectionType())) {
        case WPK_CONNECTION_NEVER:
        case WPK_CONNECTION_DIAL_UP:
            global.transport.connectionStatus = 0;
            global.NotifyConnectionState();
            break;
        case WPK_CONNECTION_PERMANENT:
            UsePermanentNetwork(global);
            break;
        default:
            break;
    }
}

bool StartServices(GlobalObject& global) {
    return ThreadLib::Init() != 0 && global.netOutbound.Started() == 0 && global.netOutbound.Start() != 0;
}

void UndoStart(GlobalObject& global) {
    global.netOutbound.Stop();
    global.transport.settings.Forget();
    // The registry forgets its threads without freeing what it kept of them; the caller's is the one left.
    ThreadLib::Detach();
    ThreadLib::Shutdown();
}

int RunStartUp(GlobalObject& global, const WPK_INITSTRUCT& record) {
    if (!global.transport.settings.CopyFrom(record) || !KeepLoaded() || !StartServices(global)) {
        UndoStart(global);
        return 0;
    }
    ActOnConnectionType(global);
    global.initialised = 1;
    // The application's thread is its own again.
    ThreadLib::Detach();
    return 1;
}

}  // namespace

int Initialise(GlobalObject& global, const WPK_INITSTRUCT& record) {
    // A gate that the system could not make keeps nobody apart.
    if (!global.gate) return 0;
    const ExclusiveScope alone(global.gate);
    return global.initialised != 0 ? 1 : RunStartUp(global, record);
}

}  // namespace wpk
