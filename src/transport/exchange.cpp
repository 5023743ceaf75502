// The exchange of one request with its server.
// SPDX-License-Identifier: MIT
#include "transport/exchange.h"

#include "transport/attempt.h"
#include "transport/notification.h"
#include "transport/reply_head.h"

namespace wpk::core {

namespace {

int CheckRequest(const WPK_SENDSTRUCT& message, const Connection* connection, const Semaphore* cancelSemaphore,
                 const TransportState& state) {
    if (message.dwDataLength != 0 && !message.lpData) return WPK_ERROR_BAD_REQUEST;
    if (!message.lpszServer || !*message.lpszServer) return WPK_ERROR_BAD_REQUEST;
    if (state.settings.BehindProxy() && state.settings.ProxyServer().Empty()) return WPK_ERROR_BAD_REQUEST;
    if (!connection || !cancelSemaphore) return WPK_ERROR_EXCHANGE;
    if (state.connectionStatus == 0) return WPK_ERROR_NO_NETWORK;
    return 0;
}

uint32_t Fail(const Notifier& notifier, int error) {
    notifier.Failure(error);
    return 0;
}

/// One request, checked and on its way.
class Exchange {
public:
    Exchange(const WPK_SENDSTRUCT& message, Connection& connection, const Semaphore& cancelSemaphore,
             TransportState& state, const Notifier& notifier)
        : message_(message),
          connection_(connection),
          cancelSemaphore_(cancelSemaphore),
          state_(state),
          notifier_(notifier) {}

    uint32_t Run();

private:
    bool ChoosePeer();
    bool RenewCredentials();
    bool IsCancelled() const;
    int JudgeFailure() const;
    uint32_t FailWith(int error);

    const WPK_SENDSTRUCT& message_;
    Connection& connection_;
    const Semaphore& cancelSemaphore_;
    TransportState& state_;
    const Notifier& notifier_;
    Peer peer_;
    Outcome outcome_ = kOutcomeUnexpected;
};

uint32_t Exchange::Run() {
    if (!ChoosePeer()) return FailWith(JudgeFailure());
    for (;;) {
        if (!connection_.Connect(peer_.host, peer_.port, &cancelSemaphore_)) {
            return FailWith(connection_.Cancelled() ? WPK_ERROR_CANCELLED : WPK_ERROR_CONNECT);
        }
        outcome_ = kOutcomeUnexpected;
        if (RunAttempt(message_, peer_, connection_, notifier_, *state_.tempDirectory, outcome_)) return 1;

        const bool proxyRefused = outcome_ == kOutcomeProxyAuthenticationRequired && peer_.viaProxy;
        if (!proxyRefused || !RenewCredentials()) return FailWith(JudgeFailure());
    }
}

/// False if memory runs out.
bool Exchange::ChoosePeer() {
    const Settings& settings = state_.settings;
    peer_.viaProxy = settings.BehindProxy();
    peer_.host = peer_.viaProxy ? settings.ProxyServer().CStr() : message_.lpszServer;
    peer_.port = peer_.viaProxy ? settings.ProxyPort() : message_.nPort;
    return !peer_.viaProxy || settings.CopyProxyCredentials(peer_.credentials);
}

/// After a refusal of the proxy: whether the application has answered with credentials for another attempt, which are
/// in force now. Without the memory for its answer, the request has failed for that. A connection that counts as closed
/// goes before the question, which may take long.
bool Exchange::RenewCredentials() {
    connection_.CloseIfGivenUp();
    const Notifier::CredentialsReply reply = notifier_.AskForCredentials(peer_.credentials);
    if (reply == Notifier::CredentialsReply::kDeclined) return false;
    if (reply == Notifier::CredentialsReply::kRetry && state_.settings.ReplaceProxyCredentials(peer_.credentials)) {
        return true;
    }
    outcome_ = kOutcomeUnexpected;
    return false;
}

/// Leaves a signal that was given as it was. The wait for the connection may have taken it before: then there is the
/// mark.
bool Exchange::IsCancelled() const {
    if (!cancelSemaphore_.WaitFor(0)) return connection_.Cancelled();
    cancelSemaphore_.Signal();
    return true;
}

int Exchange::JudgeFailure() const {
    if (IsCancelled()) return WPK_ERROR_CANCELLED;
    switch (outcome_) {
        case kOutcomeWrongServer:
            return WPK_ERROR_BAD_VERSION;
        case kOutcomeUnknownService:
            return WPK_ERROR_NO_SERVICE;
        case kOutcomeProxyAuthenticationRequired:
            return WPK_ERROR_PROXY_CREDENTIALS;
        case kOutcomeKeepReading:
        case kOutcomeAccepted:
        case kOutcomeUnexpected:
            break;
    }
    return state_.connectionStatus == 1 ? WPK_ERROR_EXCHANGE : WPK_ERROR_NO_NETWORK;
}

/// A connection that counts as closed goes first: the callback may take long.
uint32_t Exchange::FailWith(int error) {
    connection_.CloseIfGivenUp();
    return Fail(notifier_, error);
}

}  // namespace

uint32_t RunExchange(WPK_SENDSTRUCT* message, Connection* connection, const Semaphore* cancelSemaphore,
                     TransportState& state) {
    const Settings& settings = state.settings;
    if (!message) return Fail({settings.DefaultCallback(), settings.DefaultUserData()}, WPK_ERROR_BAD_REQUEST);
    if (!message->lpfnCallback) {
        message->lpfnCallback = settings.DefaultCallback();
        message->lpUserData = settings.DefaultUserData();
    }
    const Notifier notifier(message->lpfnCallback, message->lpUserData);
    if (const int error = CheckRequest(*message, connection, cancelSemaphore, state)) return Fail(notifier, error);
    return Exchange(*message, *connection, *cancelSemaphore, state, notifier).Run();
}

}  // namespace wpk::core
