// Counts the heap: linked in, it stands before malloc and its relatives.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace xml_bench {

/// Bytes that are allocated at the moment, the allocator's own word per block included.
std::size_t LiveHeapBytes();

/// The most that was live since the last call of ResetPeak.
std::size_t PeakHeapBytes();
void ResetPeak();

}  // namespace xml_bench
