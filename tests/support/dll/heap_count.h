// The heap of a loaded library, counted at its imports.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_HEAP_COUNT_H
#define WPK_TESTS_SUPPORT_DLL_HEAP_COUNT_H

#include "support/dll/import_patch.h"

namespace wpk::harness {

/// One at a time, made before the library is initialised.
class HeapCount {
public:
    explicit HeapCount(HMODULE library);

    /// Blocks that the library has allocated and not freed.
    long Blocks() const;

private:
    std::vector<ImportPatch> patches_;
};

}  // namespace wpk::harness

#endif  // WPK_TESTS_SUPPORT_DLL_HEAP_COUNT_H
