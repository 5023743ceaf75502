// The process-wide object that holds the library's state.
// SPDX-License-Identifier: MIT
#include "env/global_object.h"

#include "transport/notification.h"

namespace wpk {

namespace {

uint32_t TellConnectionState(void* transport) {
    const auto* state = static_cast<const TransportState*>(transport);
    const Notifier notifier(state->settings.DefaultCallback(), state->settings.DefaultUserData());
    notifier.ConnectionState(state->connectionStatus);
    return 1;
}

}  // namespace

GlobalObject::GlobalObject() {
    transport.tempDirectory = systemInformation.TempDirectory();
}

void GlobalObject::NotifyConnectionState() {
    ThreadLib::Resume(ThreadLib::Create(TellConnectionState, &transport));
}

}  // namespace wpk
