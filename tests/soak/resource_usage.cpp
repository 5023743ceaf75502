// What the process holds at some moment: threads, handles, memory, files.
// SPDX-License-Identifier: MIT
#include "soak/resource_usage.h"

#include "support/dll/process.h"

#include <algorithm>

namespace wpk::soak {
namespace {

/// Wine does not say how much memory is a process's own; the list of its regions tells.
void CountMemory(ResourceUsage& usage) {
    size_t privateBytes = 0;
    MEMORY_BASIC_INFORMATION region = {};
    const char* address = nullptr;
    while (VirtualQuery(address, &region, sizeof region) != 0) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) privateBytes += region.RegionSize;
        // A view may consist of several regions.
        if (region.Type == MEM_MAPPED && region.BaseAddress == region.AllocationBase) ++usage.mapped;
        address = static_cast<const char*>(region.BaseAddress) + region.RegionSize;
    }
    usage.privateKb = privateBytes / 1024;
}

size_t SpareBytes(HANDLE heap) {
    size_t spare = 0;
    const char* region = nullptr;
    const char* regionEnd = nullptr;
    PROCESS_HEAP_ENTRY entry = {};
    HeapLock(heap);
    while (HeapWalk(heap, &entry)) {
        const char* place = static_cast<const char*>(entry.lpData);
        if ((entry.wFlags & PROCESS_HEAP_REGION) != 0) {
            region = place;
            regionEnd = place + entry.Region.dwCommittedSize;
            spare += entry.Region.dwCommittedSize;
        } else if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 && region <= place && place < regionEnd) {
            // Large blocks have memory of their own.
            spare -= entry.cbData;
        }
    }
    HeapUnlock(heap);
    return spare;
}

void CountSpareMemory(ResourceUsage& usage) {
    HANDLE heaps[64];
    const DWORD count = std::min<DWORD>(GetProcessHeaps(64, heaps), 64);
    size_t spare = 0;
    for (DWORD i = 0; i < count; ++i) spare += SpareBytes(heaps[i]);
    usage.spareKb = spare / 1024;
}

}  // namespace

ResourceUsage ResourceUsage::Now(const harness::HeapCount& libraryHeap) {
    ResourceUsage usage;
    usage.threads = harness::ThreadIds().size();
    usage.handles = harness::HandleCount();
    CountMemory(usage);
    CountSpareMemory(usage);
    usage.libraryBlocks = libraryHeap.Blocks();
    usage.files = harness::FilesLike("", "tmp*").size();
    return usage;
}

ResourceUsage ResourceUsage::Least(const ResourceUsage& a, const ResourceUsage& b) {
    ResourceUsage least;
    least.threads = std::min(a.threads, b.threads);
    least.handles = std::min(a.handles, b.handles);
    const ResourceUsage& lower = a.UsedKb() <= b.UsedKb() ? a : b;
    least.privateKb = lower.privateKb;
    least.spareKb = lower.spareKb;
    least.mapped = std::min(a.mapped, b.mapped);
    least.libraryBlocks = std::min(a.libraryBlocks, b.libraryBlocks);
    least.files = std::min(a.files, b.files);
    return least;
}

double Slope(const std::vector<Point>& points) {
    if (points.size() < 2) return 0;
    const double count = static_cast<double>(points.size());
    double xSum = 0;
    double ySum = 0;
    for (const auto& [x, y] : points) {
        xSum += x;
        ySum += y;
    }
    double covariance = 0;
    double variance = 0;
    for (const auto& [x, y] : points) {
        covariance += (x - xSum / count) * (y - ySum / count);
        variance += (x - xSum / count) * (x - xSum / count);
    }
    return variance == 0 ? 0 : covariance / variance;
}

}  // namespace wpk::soak
