// What the transport knows of the process: settings, connection status, folder of large replies.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_STATE_H
#define WPK_TRANSPORT_STATE_H

#include <atomic>
#include <cstdint>

#include "threadlib/counted_text.h"
#include "transport/settings.h"

namespace wpk::core {

/// All that an exchange needs of the process it runs in.
struct TransportState {
    /// 1 while the network is usable.
    std::atomic<uint32_t> connectionStatus{0};
    Settings settings;
    /// Where large replies are spooled: ends in a separator, or is empty for the current directory. Set before any
    /// request runs.
    const CountedText* tempDirectory = nullptr;
};

}  // namespace wpk::core

#endif
