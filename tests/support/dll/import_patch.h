// Replaces functions that a loaded module imports, to watch its platform calls or to make them fail.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_IMPORT_PATCH_H
#define WPK_TESTS_SUPPORT_DLL_IMPORT_PATCH_H

#include "support/dll/platform.h"

#include <cstring>
#include <vector>

namespace wpk::harness {

/// Points every import of `function` in `module` to `replacement`. The destructor puts the original back.
class ImportPatch {
public:
    ImportPatch(HMODULE module, const char* function, void* replacement);
    ~ImportPatch();
    ImportPatch(ImportPatch&& other) noexcept;
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    /// False when the module does not import that function.
    bool Found() const { return !slots_.empty(); }
    void* original() const { return original_; }

private:
    std::vector<void**> slots_;
    void* original_ = nullptr;
};

/// Pointers to functions and to objects are of one size here, but only memcpy says so.
template <class Function>
void* AddressOf(Function* function) {
    void* address = nullptr;
    std::memcpy(&address, &function, sizeof address);
    return address;
}

template <class Function>
Function* FunctionAt(void* address) {
    Function* function = nullptr;
    std::memcpy(&function, &address, sizeof address);
    return function;
}

}  // namespace wpk::harness

#endif  // WPK_TESTS_SUPPORT_DLL_IMPORT_PATCH_H
