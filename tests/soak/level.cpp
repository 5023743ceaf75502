// What the process holds at some moment: threads, handles, memory, files.
// SPDX-License-Identifier: MIT
#include "soak/level.h"

#include "interface/rig/process.h"

namespace wpk::soak {
namespace {

// Wine does not say how much memory is a process's own; the list of its regions tells.
size_t PrivateKb() {
    size_t bytes = 0;
    MEMORY_BASIC_INFORMATION region = {};
    const char* address = nullptr;
    while (VirtualQuery(address, &region, sizeof region) != 0) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) bytes += region.RegionSize;
        address = static_cast<const char*>(region.BaseAddress) + region.RegionSize;
    }
    return bytes / 1024;
}

}  // namespace

Level Level::Now(const rig::HeapCount& library_heap) {
    Level level;
    level.threads = rig::ThreadIds().size();
    level.handles = rig::HandleCount();
    level.private_kb = PrivateKb();
    level.library_blocks = library_heap.Blocks();
    level.files = rig::FilesLike("", "tmp*").size();
    return level;
}

double Slope(const std::vector<Point>& points) {
    if (points.size() < 2) return 0;
    const double count = static_cast<double>(points.size());
    double x_sum = 0;
    double y_sum = 0;
    for (const auto& [x, y] : points) {
        x_sum += x;
        y_sum += y;
    }
    double covariance = 0;
    double variance = 0;
    for (const auto& [x, y] : points) {
        covariance += (x - x_sum / count) * (y - y_sum / count);
        variance += (x - x_sum / count) * (x - x_sum / count);
    }
    return variance == 0 ? 0 : covariance / variance;
}

}  // namespace wpk::soak
