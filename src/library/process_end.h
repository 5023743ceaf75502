// The end of the process, as the library sees it.
// SPDX-License-Identifier: MIT
#ifndef WPK_LIBRARY_PROCESS_END_H
#define WPK_LIBRARY_PROCESS_END_H

namespace wpk::core {

/// True once the process is being taken down. Its other threads have been killed by then, each wherever it was: a lock
/// may never be given back, a list may stand half-changed, and nobody is left to answer.
bool IsProcessEnding();

}  // namespace wpk::core

#endif
