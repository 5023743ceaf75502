// One look at the machine's dial-up connections.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_MODEM_POLL_H
#define WPK_ENV_MODEM_POLL_H

#include <array>

#include "env/remote_access.h"

namespace wpk::core {

/// Null while they are not there: an enumeration then fails.
struct RemoteAccessFunctions {
    RasEnumConnectionsFunction* enumConnections = nullptr;
    RasGetConnectStatusFunction* getConnectStatus = nullptr;
};

/// Enumerates the connections once, when it is built. Connections of other devices than modems are as good as not
/// there. It allocates nothing.
class ModemPoll {
public:
    /// More connections than this at a time make an enumeration fail.
    static constexpr DWORD kMaximumConnections = 10;

    explicit ModemPoll(const RemoteAccessFunctions& functions);

    /// True when the enumeration has failed or found no connection of any kind.
    bool Empty() const { return count_ == 0; }

    /// Whether some modem connection is in that state now. One whose state cannot be read is in none.
    bool AnyModemIs(RasConnectionState state) const;

private:
    bool IsIn(const RasConnection& connection, RasConnectionState state) const;

    RemoteAccessFunctions functions_;
    DWORD count_ = 0;
    std::array<RasConnection, kMaximumConnections> connections_{};
};

}  // namespace wpk::core

#endif
