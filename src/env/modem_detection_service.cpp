// The service that watches for dial-up connections.
// SPDX-License-Identifier: MIT
#include "env/modem_detection_service.h"

#include <cstdio>

#include "env/remote_access.h"

namespace wpk::core {

namespace {

/// Signals at the end of a scope, even if an observer's exception ends it.
class SignalAtEnd {
public:
    explicit SignalAtEnd(const Semaphore& signal) : signal_(signal) {}
    SignalAtEnd(const SignalAtEnd&) = delete;
    SignalAtEnd& operator=(const SignalAtEnd&) = delete;
    ~SignalAtEnd() { signal_.Signal(); }

private:
    const Semaphore& signal_;
};

}  // namespace

bool ModemDetectionService::IsModemConnected() const {
    return ModemPoll(Wrappers()).AnyModemIs(kRasConnected);
}

bool ModemDetectionService::IsModemDisconnected() const {
    const ModemPoll poll(Wrappers());
    return poll.Empty() || poll.AnyModemIs(kRasDisconnected);
}

uint32_t ModemDetectionService::Manager_StartUp() {
    stopRequested_ = 0;
    if (!CanLoadRemoteAccess(calls_)) return 0;
    if (!LoadWrappers()) return 0;
    if (StartPeeker()) return 1;
    ForgetWrappers();
    return 0;
}

uint32_t ModemDetectionService::Manager_ShutDown() {
    stopRequested_ = 1;
    stopSignal_.Signal();
    stoppedSignal_.Wait();
    ForgetWrappers();
    return 1;
}

/// The wrappers are taken from the library's own module, found by its name: an application must not rename the DLL.
bool ModemDetectionService::LoadWrappers() {
    rasLibrary_ = calls_.loadLibrary("wpk.dll");
    if (!rasLibrary_) {
        RememberFailure(GetLastError(), "Modem not found.  Please make sure the modem is installed properly.");
        return false;
    }
    RemoteAccessFunctions found;
    found.enumConnections = calls_.Find<RasEnumConnectionsFunction>(rasLibrary_, "WRAPPER_RasEnumConnections");
    found.getConnectStatus = calls_.Find<RasGetConnectStatusFunction>(rasLibrary_, "WRAPPER_RasGetConnectStatus");
    if (!found.enumConnections || !found.getConnectStatus) {
        RememberFailure(GetLastError(), "function not found.  Please make sure the modem is installed properly.");
        return false;
    }
    enumConnections_ = found.enumConnections;
    getConnectStatus_ = found.getConnectStatus;
    return true;
}

void ModemDetectionService::ForgetWrappers() {
    enumConnections_ = nullptr;
    getConnectStatus_ = nullptr;
    calls_.freeLibrary(rasLibrary_);
    rasLibrary_ = nullptr;
}

bool ModemDetectionService::StartPeeker() {
    // Without its signals the Peeker could neither wait nor be stopped.
    if (!stopSignal_ || !stoppedSignal_) return false;
    peekerId_ = ThreadLib::CreateRunning(PeekerFunc, this, "ModemDetectionService::Peeker");
    return peekerId_ != 0;
}

RemoteAccessFunctions ModemDetectionService::Wrappers() const {
    return {enumConnections_, getConnectStatus_};
}

void ModemDetectionService::RememberFailure(DWORD error, const char* text) {
    char formatted[160];
    std::snprintf(formatted, sizeof formatted, "GetLastError() = %ld, (%s)", static_cast<long>(error), text);
    errorText_ = CountedText(formatted);
}

uint32_t ModemDetectionService::PeekerFunc(void* service) {
    static_cast<ModemDetectionService*>(service)->Peek();
    return 1;
}

void ModemDetectionService::Peek() {
    const SignalAtEnd stopped(stoppedSignal_);
    Tell(0);
    while (PollUntil(&ModemDetectionService::IsModemConnected)) {
        Tell(1);
        if (!PollUntil(&ModemDetectionService::IsModemDisconnected)) return;
        Tell(0);
    }
}

/// False if a stop was requested: nothing may be reported any more. A signal without a request was left by a stop that
/// came while no thread waited; it only causes one additional poll.
bool ModemDetectionService::PollUntil(Question answeredYes) {
    while (!(this->*answeredYes)()) {
        if (stopSignal_.WaitFor(pollPeriodMs_) && stopRequested_ == 1) return false;
    }
    return stopRequested_ != 1;
}

void ModemDetectionService::Tell(uint32_t state) {
    connected_ = state;
    Notify(&state);
}

}  // namespace wpk::core
