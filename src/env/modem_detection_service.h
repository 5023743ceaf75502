// The service that watches for dial-up connections.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_MODEM_DETECTION_SERVICE_H
#define WPK_ENV_MODEM_DETECTION_SERVICE_H

#include <atomic>
#include <cstdint>

#include "env/modem_poll.h"
#include "env/module_calls.h"
#include "env/observer.h"
#include "service/service.h"
#include "threadlib/counted_text.h"
#include "threadlib/semaphore.h"

namespace wpk::core {

/// Tells its observers when a modem connection comes up and when it has gone. The argument of Update points to a
/// uint32_t: 1 up, 0 gone. State 0 is told once when the watch begins; from then on a state is told only when it
/// differs from the last one.
///
/// "Up" is told when some modem connection reports that it is connected. "Gone" is told when some modem connection
/// reports its end, when there is no connection of any kind left, or when the system cannot enumerate them. So with two
/// modems the end of one is told as 0 although the other one is up, and the next look tells 1 again. A modem in any
/// other state (it dials, it signs on), or one whose state cannot be read, changes nothing; connections of other
/// devices count only in that the list is not empty.
///
/// One thread, the Peeker, polls and notifies. The service must outlive it: it runs until the service is stopped.
class ModemDetectionService : public Service, public Observable {
public:
    static constexpr DWORD kPollPeriodMs = 5000;

    explicit ModemDetectionService(const ModuleCalls& calls = ModuleCalls(), DWORD pollPeriodMs = kPollPeriodMs)
        : Service("ModemDetectionService"), calls_(calls), pollPeriodMs_(pollPeriodMs) {}

    // From a fresh look, whatever was told last, and from any thread. While the service does not run, nothing can be
    // enumerated.

    /// Whether some modem connection is up.
    bool IsModemConnected() const;
    /// Whether connections cannot be enumerated, there is none, or some modem connection reports its end. Not the
    /// reverse of the above: of two modems, one may be up while the other one hangs up.
    bool IsModemDisconnected() const;

    /// The last state told.
    uint32_t Connected() const { return connected_; }
    /// Why the last start failed; empty when the system has no remote access. Not while a start is under way.
    const CountedText& ErrorText() const { return errorText_; }

protected:
    /// 0 when the system has no remote access, or the wrappers through which it is used cannot be found.
    uint32_t Manager_StartUp() override;
    /// Ends the Peeker, which tells nothing more, and waits for its end. Returns 1.
    uint32_t Manager_ShutDown() override;

    uint32_t StopRequested() const { return stopRequested_; }

private:
    using Question = bool (ModemDetectionService::*)() const;

    bool LoadWrappers();
    void ForgetWrappers();
    bool StartPeeker();
    RemoteAccessFunctions Wrappers() const;
    void RememberFailure(DWORD error, const char* text);

    static uint32_t PeekerFunc(void* service);
    void Peek();
    bool PollUntil(Question answeredYes);
    void Tell(uint32_t state);

    uint32_t peekerId_ = 0;
    Semaphore stopSignal_{SemaphoreKind::kSignal};
    Semaphore stoppedSignal_{SemaphoreKind::kSignal};
    std::atomic<uint32_t> connected_{0};
    std::atomic<uint32_t> stopRequested_{0};
    /// The library's own module. Destruction does not free it: that happens while this very module is unloaded.
    HMODULE rasLibrary_ = nullptr;
    CountedText errorText_;
    // Written by the front desk while any thread may ask the queries.
    std::atomic<RasEnumConnectionsFunction*> enumConnections_{nullptr};
    std::atomic<RasGetConnectStatusFunction*> getConnectStatus_{nullptr};

    const ModuleCalls calls_;
    const DWORD pollPeriodMs_;
};

}  // namespace wpk::core

#endif
