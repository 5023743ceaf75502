// Choices that a seed repeats, and the bytes that messages and replies are cut from.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SOAK_RANDOM_H
#define WPK_TESTS_SOAK_RANDOM_H

#include "support/dll/wire.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace wpk::soak {

/// One thread at a time: each has one of its own, whose choices depend on the seed and the thread's number alone.
class Random {
public:
    Random(uint64_t seed, uint64_t number) : engine_(seed * 1000003 + number) {}

    /// 0 to limit - 1. The remainder's tiny preference for small numbers does not matter here.
    size_t Below(size_t limit) { return static_cast<size_t>(engine_() % limit); }
    size_t Between(size_t first, size_t last) { return first + Below(last - first + 1); }
    bool OneIn(size_t count) { return Below(count) == 0; }

private:
    std::mt19937_64 engine_;
};

constexpr size_t kLargest = size_t{4} << 20;

/// Stretches of this differ from each other wherever they begin.
inline const std::string& Bytes() {
    static const std::string bytes = harness::Pattern(2 * kLargest);
    return bytes;
}

inline std::string_view Stretch(size_t offset, size_t length) {
    return std::string_view(Bytes()).substr(offset, length);
}

inline size_t AnyOffset(Random& random) {
    return random.Below(kLargest);
}

/// Mostly small, often at the limit between memory and a file, now and then a few MiB.
inline size_t AnySize(Random& random) {
    constexpr size_t kMemoryLimit = 10240;
    const size_t sort = random.Below(100);
    if (sort < 10) return 0;
    if (sort < 45) return random.Between(1, 300);
    if (sort < 60) return random.Between(301, kMemoryLimit - 2);
    if (sort < 75) return random.Between(kMemoryLimit - 1, kMemoryLimit + 2);
    if (sort < 98) return random.Between(kMemoryLimit + 3, 150000);
    return random.Between(150000, kLargest);
}

}  // namespace wpk::soak

#endif  // WPK_TESTS_SOAK_RANDOM_H
