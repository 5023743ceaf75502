// The one thread registry of the process, for the operations of the thread layer alone.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_PROCESS_REGISTRY_H
#define WPK_THREADLIB_PROCESS_REGISTRY_H

#include <atomic>

#include "threadlib/thread_registry.h"

namespace wpk::core::ThreadLib {

/// Null before Init and after Shutdown.
inline std::atomic<ThreadRegistry*> processRegistry{nullptr};

}  // namespace wpk::core::ThreadLib

#endif
