// The process's one instance of the library's state.
// SPDX-License-Identifier: MIT
#include "library/instance.h"

#include "library/process_end.h"

namespace wpk::core {

namespace {

/// Once the library is initialised, its module stays loaded until the process ends. By then the threads have been
/// killed wherever they were, in the middle of a table operation or with the heap's lock held: a destructor would walk
/// a broken list or wait for a lock that is never released. The same is true of an initialisation that was killed
/// half-way. Memory and handles go with the process.
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
