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

Peer ChoosePeer(const WPK_SENDSTRUCT& message, const Settings& settings) {
    if (!settings.BehindProxy()) return {message.lpszServer, message.nPort, Credentials(), /*viaProxy=*/false};
    return {settings.ProxyServer().CStr(), settings.ProxyPort(), settings.CopyProxyCredentials(), /*viaProxy=*/true};
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

    Peer peer = ChoosePeer(*message, settings);
    for (;;) {
        if (!request.connection.Connect(peer.host, peer.port, request.cancelSignal)) {
            return Fail(notifier, request.connection.Cancelled() ? WPK_ERROR_CANCELLED : WPK_ERROR_CONNECT);
        }
        uint32_t outcome = kOutcomeUnexpected;
        if (RunAttempt(*message, peer, request.connection, notifier, state.tempDirectory, outcome)) return 1;

        const bool proxyRefused = outcome == kOutcomeProxyAuthenticationRequired && peer.viaProxy;
        if (!proxyRefused || !notifier.AskForCredentials(peer.credentials)) {
            return Fail(notifier, JudgeFailure(outcome, request, state));
        }
        settings.ReplaceProxyCredentials(peer.credentials);
    }
}

}  // namespace wpk
