// The platform calls with which modules are loaded, as a table.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_MODULE_CALLS_H
#define WPK_ENV_MODULE_CALLS_H

#include "threadlib/platform.h"

namespace wpk::core {

/// Filled with the system's own functions; tests put modules of their own in their place.
struct ModuleCalls {
    decltype(&::LoadLibraryA) loadLibrary = &::LoadLibraryA;
    decltype(&::GetProcAddress) getProcAddress = &::GetProcAddress;
    decltype(&::FreeLibrary) freeLibrary = &::FreeLibrary;

    /// The function of that name with its own type; null when the module has none.
    template <class Function>
    Function* Find(HMODULE module, const char* name) const {
        // Through a function type that compilers take for "any": the table's type has nothing to do with the
        // function's.
        return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(getProcAddress(module, name)));
    }
};

}  // namespace wpk::core

#endif
