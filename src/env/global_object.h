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

/// One static instance, constructed when the library is loaded and destroyed when it is unloaded. Its constructor
/// starts no thread and its destructor stops none: threads that still run continue until the process ends. The members
/// are declared in the order of their construction.
class GlobalObject : public Observer {
public:
    GlobalObject();

    /// Follows the modem detection: state 1 starts the sockets interface, state 0 cleans it up, each once for every
    /// notification; both set the connection status and call the default callback, on the calling thread. 0 if `source`
    /// is not this object's modem detection.
    uint32_t Update(Observable* source, void* arg) override;

    /// Attaches this object to the modem detection. Further calls do nothing, because an observer cannot be detached.
    /// False if memory runs out.
    bool ObserveModemDetection();

    /// Creates a suspended thread that calls the default callback once with the connection status, unless the modem
    /// detection is running by then and does so itself. The thread's id; 0 on failure.
    uint32_t CreateNotificationThread();

    NetOutboundService netOutbound{transport};
    ModemDetectionService modemDetection;
    SystemInformation systemInformation;
    /// 1 once the library is initialised, for the rest of the process.
    std::atomic<uint32_t> initialised{0};
    /// The connection status, and the copy of the initialisation record.
    TransportState transport;
    /// Every call of the interface holds the shared side for its whole length, an initialisation the exclusive side.
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
