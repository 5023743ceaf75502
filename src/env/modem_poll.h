// One poll of the machine's dial-up connections.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_MODEM_POLL_H
#define WPK_ENV_MODEM_POLL_H

#include <array>

#include "env/remote_access.h"

namespace wpk::core {

/// Null while the functions are missing: an enumeration then fails.
struct RemoteAccessFunctions {
    RasEnumConnectionsFunction* enumConnections = nullptr;
    RasGetConnectStatusFunction* getConnectStatus = nullptr;
};

/// Enumerates the connections once, in its constructor. Connections of devices other than modems are ignored. It
/// allocates nothing.
class ModemPoll {
public:
    /// An enumeration with more connections than this fails.
    static constexpr DWORD kMaximumConnections = 10;

    explicit ModemPoll(const RemoteAccessFunctions& functions);

    /// Whether the enumeration failed or found no connection of any kind.
    bool Empty() const { return count_ == 0; }

    /// Whether a modem connection is in that state now. A connection whose state cannot be read counts as in none.
    bool AnyModemIs(RasConnectionState state) const;

private:
    bool IsIn(const RasConnection& connection, RasConnectionState state) const;

    RemoteAccessFunctions functions_;
    DWORD count_ = 0;
    std::array<RasConnection, kMaximumConnections> connections_{};
};

}  // namespace wpk::core

#endif
