// What the process holds at some moment: threads, handles, memory, files.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SOAK_RESOURCE_USAGE_H
#define WPK_TESTS_SOAK_RESOURCE_USAGE_H

#include "support/dll/heap_count.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace wpk::soak {

struct ResourceUsage {
    size_t threads = 0;
    size_t handles = 0;
    size_t privateKb = 0;    // memory of the process's own
    size_t spareKb = 0;      // the part of it that heaps keep for later: in no block that somebody has allocated
    size_t mapped = 0;       // views of files and of other shared memory
    long libraryBlocks = 0;  // blocks that the library has allocated and not freed
    size_t files = 0;        // temporary files

    size_t UsedKb() const { return privateKb - spareKb; }

    static ResourceUsage Now(const harness::HeapCount& libraryHeap);
    /// The lower one of each.
    static ResourceUsage Least(const ResourceUsage& a, const ResourceUsage& b);
};

/// A time and a value.
using Point = std::pair<double, double>;

/// What a value grows by in each unit of time, as the line shows that fits the points best.
double Slope(const std::vector<Point>& points);

}  // namespace wpk::soak

#endif  // WPK_TESTS_SOAK_RESOURCE_USAGE_H
