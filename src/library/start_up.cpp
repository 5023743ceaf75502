// The library's start-up.
// SPDX-License-Identifier: MIT
#include "library/start_up.h"

#include "env/remote_access.h"
#include "threadlib/threadlib.h"
#include "transport/sockets_interface.h"

namespace wpk {

namespace {

/// Locks are made when the library is loaded. One that the system could not make keeps nobody apart.
bool HasLocks(const GlobalObject& global) {
    return global.gate && global.transport.settings.HasLock() && global.modemDetection.HasLock() && HasSocketsLock();
}

/// From now on freeing the library does not unload it: threads of its own may be running at any moment.
bool KeepLoaded() {
    static constexpr char kInside = 0;
    HMODULE self = nullptr;
    return GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, &kInside,
                              &self) != 0;
}

WPK_INT64 ResolveConnectionType(WPK_INT64 type) {
    if (type != WPK_CONNECTION_AUTOMATIC) return type;
    return CanLoadRemoteAccess() ? WPK_CONNECTION_DIAL_UP : WPK_CONNECTION_PERMANENT;
}

void ActOnConnectionType(GlobalObject& global) {
    switch (ResolveConnectionType(global.transport.settings.ConnectionType())) {
        case WPK_CONNECTION_NEVER:
            global.transport.connectionStatus = 0;
            global.NotifyConnectionState();
            break;
        case WPK_CONNECTION_DIAL_UP:
            // From the start on, the status is the detection's to set.
            global.transport.connectionStatus = 0;
            if (global.modemDetection.Start() == 0) global.NotifyConnectionState();
            break;
        case WPK_CONNECTION_PERMANENT:
            global.transport.connectionStatus = StartSockets();
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
    if (!global.transport.settings.CopyFrom(record) || !KeepLoaded() || !StartServices(global) ||
        global.modemDetection.Attach(&global) == 0) {
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
    if (!HasLocks(global)) return 0;
    const ExclusiveScope alone(global.gate);
    return global.initialised != 0 ? 1 : RunStartUp(global, record);
}

}  // namespace wpk
