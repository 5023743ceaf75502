// One look at the machine's dial-up connections.
// SPDX-License-Identifier: MIT
#include "env/modem_poll.h"

#include <algorithm>
#include <string_view>

#include "threadlib/ascii.h"

namespace wpk::core {

namespace {

bool IsModem(const RasConnection& connection) {
    const std::string_view field(connection.deviceType, sizeof connection.deviceType);
    return EqualsIgnoreCase(field.substr(0, field.find('\0')), "modem");
}

}  // namespace

ModemPoll::ModemPoll(const RemoteAccessFunctions& functions) : functions_(functions) {
    if (!functions_.enumConnections || !functions_.getConnectStatus) return;
    connections_[0].size = sizeof(RasConnection);
    DWORD bufferSize = sizeof connections_;
    DWORD count = 0;
    if (functions_.enumConnections(connections_.data(), &bufferSize, &count) != ERROR_SUCCESS) return;
    count_ = std::min(count, kMaximumConnections);
}

bool ModemPoll::AnyModemIs(RasConnectionState state) const {
    return std::any_of(connections_.begin(), connections_.begin() + count_,
                       [&](const RasConnection& connection) { return IsModem(connection) && IsIn(connection, state); });
}

bool ModemPoll::IsIn(const RasConnection& connection, RasConnectionState state) const {
    RasConnectionStatus status{};
    status.size = sizeof status;
    return functions_.getConnectStatus(connection.connection, &status) == ERROR_SUCCESS && status.state == state;
}

}  // namespace wpk::core
