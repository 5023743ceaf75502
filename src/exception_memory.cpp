// Gives back what GCC's run-time library has allocated for this module.
// SPDX-License-Identifier: MIT
//
// When the module is loaded, libstdc++ sets 73 KB aside for exceptions that are thrown when memory has run out, and
// never frees them: an application that loads and frees the module again and again would lose as much each time.
#include <cstddef>

#ifdef __GLIBCXX__

#include "library/process_end.h"

namespace __gnu_cxx {
/// Meant for leak checkers, and in no header.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the run-time library's own name
void __freeres() noexcept;
}  // namespace __gnu_cxx

namespace wpk::core {

namespace {

/// A module whose destructors run while the process goes on has no thread of its own, so nobody can throw any more.
struct AtUnload {
    AtUnload() = default;
    AtUnload(const AtUnload&) = delete;
    AtUnload& operator=(const AtUnload&) = delete;
    ~AtUnload() {
        if (!IsProcessEnding()) __gnu_cxx::__freeres();
    }
};

const AtUnload atUnload;

}  // namespace

}  // namespace wpk::core

#endif
