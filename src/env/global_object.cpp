// The process-wide object that holds the library's state.
// SPDX-License-Identifier: MIT
#include "env/global_object.h"

#include "transport/notification.h"
#include "transport/sockets_interface.h"

namespace wpk::core {

GlobalObject::GlobalObject() {
    transport.tempDirectory = &systemInformation.TempDirectory();
}

bool GlobalObject::ObserveModemDetection() {
    if (!observing_) observing_ = modemDetection.Attach(this) != 0;
    return observing_;
}

uint32_t GlobalObject::CreateNotificationThread() {
    return ThreadLib::Create(TellCurrentState, this);
}

uint32_t GlobalObject::Update(Observable* source, void* arg) {
    if (source != &modemDetection) return 0;
    switch (*static_cast<const uint32_t*>(arg)) {
        case 1:
            NetworkComes();
            break;
        case 0:
            NetworkGoes();
            break;
        default:
            break;
    }
    return 1;
}

/// A network whose sockets interface does not start still counts as there: requests then fail for their own reasons.
void GlobalObject::NetworkComes() {
    transport.connectionStatus = 1;
    StartSockets();
    TellConnectionState(1);
}

void GlobalObject::NetworkGoes() {
    transport.connectionStatus = 0;
    CleanUpSockets();
    TellConnectionState(0);
}

uint32_t GlobalObject::TellCurrentState(void* global) {
    const auto* self = static_cast<const GlobalObject*>(global);
    if (self->modemDetection.Started() != 0) return 0;
    self->TellConnectionState(self->transport.connectionStatus);
    return 1;
}

void GlobalObject::TellConnectionState(uint32_t connected) const {
    const Settings& settings = transport.settings;
    Notifier(settings.DefaultCallback(), settings.DefaultUserData()).ConnectionState(connected);
}

}  // namespace wpk::core
