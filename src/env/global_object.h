// The process-wide object that holds the library's state.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_GLOBAL_OBJECT_H
#define WPK_ENV_GLOBAL_OBJECT_H

#include <atomic>
#include <cstdint>

#include "env/observer.h"
#include "env/system_information.h"
#include "service/net_outbound_service.h"
#include "threadlib/readers_writer_lock.h"
#include "transport/settings.h"

namespace wpk {

/// One static instance, built when the library is loaded and destroyed when it is unloaded. Building it starts no
/// thread; destroying it stops none: threads that still run then are left to the end of the process.
class GlobalObject : public Observer {
public:
    GlobalObject();

    /// Has a thread of its own tell the default callback the connection status, once.
    void NotifyConnectionState();

    SystemInformation systemInformation;
    TransportState transport;
    NetOutboundService netOutbound{transport};
    /// 1 once the library is initialised, for the rest of the process.
    std::atomic<uint32_t> initialised{0};
    /// Callers of the interface on the shared side, initialisation on the exclusive one.
    ReadersWriterLock gate;
};

}  // namespace wpk

#endif
