// The process-wide object that holds the library's state.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_GLOBAL_OBJECT_H
#define WPK_ENV_GLOBAL_OBJECT_H

#include <atomic>
#include <cstdint>

#include "env/modem_detection_service.h"
#include "env/observer.h"
#include "env/system_information.h"
#include "service/net_outbound_service.h"
#include "threadlib/readers_writer_lock.h"
#include "transport/state.h"

namespace wpk::core {

/// One static instance, built when the library is loaded and destroyed when it is unloaded. Building it starts no
/// thread; destroying it stops none: threads that still run then are left to the end of the process. The order of the
/// members is that of their construction.
class GlobalObject : public Observer {
public:
    GlobalObject();

    /// Follows the modem detection: state 1 starts the sockets interface, state 0 cleans it up, each once for every
    /// notification; both set the connection status and tell the default callback, on the calling thread. 0 when
    /// `source` is anything else than the own modem detection.
    uint32_t Update(Observable* source, void* arg) override;

    /// Attaches itself to the modem detection, once however often it is called: there is no way back. False if memory
    /// runs out.
    bool ObserveModemDetection();

    /// Makes a suspended thread that tells the default callback the connection status, once, unless the modem detection
    /// runs by then and tells it itself. The thread's id; 0 on failure.
    uint32_t CreateNotificationThread();

    NetOutboundService netOutbound{transport};
    ModemDetectionService modemDetection;
    SystemInformation systemInformation;
    /// 1 once the library is initialised, for the rest of the process.
    std::atomic<uint32_t> initialised{0};
    /// The connection status, and the copy of the initialisation record.
    TransportState transport;
    /// Every call of the interface is on the shared side for its whole length, an initialisation on the exclusive one.
    ReadersWriterLock gate;

private:
    void NetworkComes();
    void NetworkGoes();
    static uint32_t TellCurrentState(void* global);
    void TellConnectionState(uint32_t connected) const;

    bool observing_ = false;
};

}  // namespace wpk::core

#endif
