// The platform calls with which modules are loaded, as a table.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_MODULE_CALLS_H
#define WPK_ENV_MODULE_CALLS_H

#include "threadlib/platform.h"

namespace wpk::core {

/// Filled with the system's functions; tests replace them with fake modules.
struct ModuleCalls {
    decltype(&::LoadLibraryA) loadLibrary = &::LoadLibraryA;
    decltype(&::GetProcAddress) getProcAddress = &::GetProcAddress;
    decltype(&::FreeLibrary) freeLibrary = &::FreeLibrary;

    /// The function of that name, cast to its type; null if the module has none.
    template <class Function>
    Function* Find(HMODULE module, const char* name) const {
        // Through void(), which compilers accept as an intermediate type: the table's type differs from the function's.
        return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(getProcAddress(module, name)));
    }
};

}  // namespace wpk::core

#endif
