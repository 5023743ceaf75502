// The process's one instance of the library's state.
// SPDX-License-Identifier: MIT
#include "library/instance.h"

#include "library/process_end.h"

namespace wpk::core {

namespace {

/// Once the library is initialised, its module stays loaded, so the only end left is that of the process. There the
/// threads have been killed anywhere, in the middle of a change of a table or with the heap's lock held: whatever
/// destroyed the state would walk a broken list or wait for a lock that nobody gives back. The same holds for an
/// initialisation that was killed half-way. Memory and handles go with the process.
class Instance {
public:
    Instance() : object() {}
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance() {
        if (object.initialised == 0 && !IsProcessEnding()) object.GlobalObject::~GlobalObject();
    }

    union {
        GlobalObject object;
    };
};

Instance instance;

}  // namespace

GlobalObject& theGlobalObject = instance.object;

}  // namespace wpk::core
