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

namespace wpk {

/// Tells its observers when a modem connection comes up and when the last one has gone. The argument of Update points
/// to a uint32_t: 1 up, 0 none. State 0 is told once when the watch begins; from then on a state is told only when it
/// differs from the last one.
///
/// A modem that is dialling is neither up nor gone, so the last state stands; so does it while one connection is up and
/// others change. Doubt counts against the connection: where the system cannot enumerate, none comes up, and one that
/// was up has gone.
///
/// One thread, the Peeker, polls and notifies. The service must outlive it: it runs until the service is stopped.
class ModemDetectionService : public Service, public Observable {
public:
    static constexpr DWORD kPollPeriodMs = 5000;

    explicit ModemDetectionService(const ModuleCalls& calls = ModuleCalls(), DWORD pollPeriodMs = kPollPeriodMs)
        : Service("ModemDetectionService"), calls_(calls), pollPeriodMs_(pollPeriodMs) {}

    /// From a fresh look, whatever was told last: whether some modem connection is up. False while the service does not
    /// run.
    bool IsModemConnected() const;
    /// As well: whether connections cannot be enumerated, there is none, or some modem connection reports its end.
    /// Not the reverse of the above: of two modems, one may be up while the other one hangs up.
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

private:
    using Question = bool (ModemDetectionService::*)() const;

    bool LoadWrappers();
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
    RemoteAccessFunctions functions_;

    const ModuleCalls calls_;
    const DWORD pollPeriodMs_;
};

}  // namespace wpk

#endif
