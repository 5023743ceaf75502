// The library's start-up.
// SPDX-License-Identifier: MIT
#include "library/start_up.h"

#include "env/remote_access.h"
#include "threadlib/threadlib.h"
#include "transport/sockets_interface.h"

namespace wpk::core {

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

/// The thread that tells the default callback the connection state when there is no modem detection to do so. It is
/// made while everything can still be undone, and resumed when nothing else is left that could fail. One that is not
/// resumed never runs, and goes with this object.
class NotificationThread {
public:
    NotificationThread() = default;
    NotificationThread(const NotificationThread&) = delete;
    NotificationThread& operator=(const NotificationThread&) = delete;
    ~NotificationThread() {
        if (id_ != 0) ThreadLib::Terminate(id_);
    }

    bool Make(GlobalObject& global) {
        id_ = global.CreateNotificationThread();
        return id_ != 0;
    }

    /// True also when none was made.
    bool Resume() {
        if (id_ != 0 && !ThreadLib::Resume(id_)) return false;
        id_ = 0;
        return true;
    }

private:
    uint32_t id_ = 0;
};

WPK_INT64 ResolveConnectionType(WPK_INT64 type) {
    if (type != WPK_CONNECTION_AUTOMATIC) return type;
    return CanLoadRemoteAccess() ? WPK_CONNECTION_DIAL_UP : WPK_CONNECTION_PERMANENT;
}

bool StartsWithNotification(WPK_INT64 type) {
    return type == WPK_CONNECTION_NEVER || type == WPK_CONNECTION_DIAL_UP;
}

void ActOnConnectionType(GlobalObject& global, WPK_INT64 type) {
    switch (type) {
        case WPK_CONNECTION_NEVER:
            global.transport.connectionStatus = 0;
            break;
        case WPK_CONNECTION_DIAL_UP:
            // From the start on, the status is the detection's to set. One that cannot start leaves the word to the
            // notification thread.
            global.transport.connectionStatus = 0;
            global.modemDetection.Start();
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

/// False on failure. Up to KeepLoaded no thread runs that calls the application, so all can be undone; and nothing here
/// waits for a callback, which may itself wait in a call of the interface until the initialisation is over.
bool RunStartUp(GlobalObject& global, const WPK_INITSTRUCT& record) {
    if (!global.transport.settings.CopyFrom(record)) return false;
    if (!StartServices(global) || !global.ObserveModemDetection()) return false;

    const WPK_INT64 type = ResolveConnectionType(global.transport.settings.ConnectionType());
    NotificationThread notification;
    if (StartsWithNotification(type) && !notification.Make(global)) return false;
    if (!KeepLoaded()) return false;
    ActOnConnectionType(global, type);
    // Once the detection runs there is no way back, and the thread would have nothing to tell.
    return notification.Resume() || global.modemDetection.Started() != 0;
}

void UndoStartUp(GlobalObject& global) {
    global.netOutbound.Stop();
    global.transport.settings.Forget();
    // The registry forgets its threads without freeing what it kept of them; the caller's is the one left.
    ThreadLib::Detach();
    ThreadLib::Shutdown();
}

}  // namespace

int Initialise(GlobalObject& global, const WPK_INITSTRUCT& record) {
    if (!HasLocks(global)) return 0;
    const ExclusiveScope alone(global.gate);
    if (global.initialised != 0) return 1;
    if (!RunStartUp(global, record)) {
        UndoStartUp(global);
        return 0;
    }
    global.initialised = 1;
    // The application's thread is its own again.
    ThreadLib::Detach();
    return 1;
}

}  // namespace wpk::core
