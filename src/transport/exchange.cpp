// The exchange of one request with its server.
// SPDX-License-Identifier: MIT
#include "transport/exchange.h"

#include "transport/attempt.h"
#include "transport/notification.h"

namespace wpk {

namespace {

int CheckRequest(const WPK_SENDSTRUCT& message, const TransportState& state) {
    if (message.dwDataLength != 0 && !message.lpData) return WPK_ERROR_BAD_REQUEST;
    if (!message.lpszServer || !*message.lpszServer) return WPK_ERROR_BAD_REQUEST;
    if (state.settings.BehindProxy() && state.settings.ProxyServer().Empty()) return WPK_ERROR_BAD_REQUEST;
    if (state.connectionStatus == 0) return WPK_ERROR_NO_NETWORK;
    return 0;
}

/// False for want of memory.
bool ChoosePeer(const WPK_SENDSTRUCT& message, const Settings& settings, Peer& peer) {
    peer.viaProxy = settings.BehindProxy();
    peer.host = peer.viaProxy ? settings.ProxyServer().CStr() : message.lpszServer;
    peer.port = peer.viaProxy ? settings.ProxyPort() : message.nPort;
    return !peer.viaProxy || settings.CopyProxyCredentials(peer.credentials);
}

/// After a refusal of the proxy: whether the application has answered with credentials for another attempt, which are
/// in force now. Without the memory for its answer, the request has failed for that.
bool RenewCredentials(const Notifier& notifier, Settings& settings, Credentials& credentials, uint32_t& outcome) {
    const Notifier::Answer answer = notifier.AskForCredentials(credentials);
    if (answer == Notifier::Answer::kDeclined) return false;
    if (answer == Notifier::Answer::kSendAgain && settings.ReplaceProxyCredentials(credentials)) return true;
    outcome = kOutcomeUnexpected;
    return false;
}

int JudgeFailure(uint32_t outcome, const PendingRequest& request, const TransportState& state) {
    if (request.connection.Cancelled()) return WPK_ERROR_CANCELLED;
    if (outcome == kOutcomeWrongServer) return WPK_ERROR_BAD_VERSION;
    if (outcome == kOutcomeUnknownService) return WPK_ERROR_NO_SERVICE;
    if (outcome == kOutcomeProxyAuthenticationRequired) return WPK_ERROR_PROXY_CREDENTIALS;
    return state.connectionStatus == 1 ? WPK_ERROR_EXCHANGE : WPK_ERROR_NO_NETWORK;
}

uint32_t Fail(const Notifier& notifier, int error) {
    notifier.Failure(error);
    return 0;
}

}  // namespace

uint32_t RunExchange(WPK_SENDSTRUCT* message, PendingRequest& request, TransportState& state) {
    Settings& settings = state.settings;
    if (!message) return Fail({settings.DefaultCallback(), settings.DefaultUserData()}, WPK_ERROR_BAD_REQUEST);
    if (!message->lpfnCallback) {
        message->lpfnCallback = settings.DefaultCallback();
        message->lpUserData = settings.DefaultUserData();
    }
    const Notifier notifier(message->lpfnCallback, message->lpUserData);
    if (const int error = CheckRequest(*message, state)) return Fail(notifier, error);

    uint32_t outcome = kOutcomeUnexpected;
    Peer peer;
    if (!ChoosePeer(*message, settings, peer)) return Fail(notifier, JudgeFailure(outcome, request, state));
    for (;;) {
        if (!request.connection.Connect(peer.host, peer.port, request.cancelSignal)) {
            return Fail(notifier, request.connection.Cancelled() ? WPK_ERROR_CANCELLED : WPK_ERROR_CONNECT);
        }
        outcome = kOutcomeUnexpected;
        if (RunAttempt(*message, peer, request.connection, notifier, state.tempDirectory, outcome)) return 1;

        const bool proxyRefused = outcome == kOutcomeProxyAuthenticationRequired && peer.viaProxy;
        if (!proxyRefused || !RenewCredentials(notifier, settings, peer.credentials, outcome)) {
            return Fail(notifier, JudgeFailure(outcome, request, state));
        }
    }
}

}  // namespace wpk
