// Whether this build is watched by a sanitizer: what takes a second without takes half a minute with one.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_SANITIZED_H
#define WPK_TESTS_SUPPORT_SANITIZED_H

#include <cstddef>

// Coverage counters are as slow, and count what a small size runs as well.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(WPK_COVERAGE)
#define WPK_TESTS_ARE_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define WPK_TESTS_ARE_SANITIZED 1
#endif
#endif

namespace support {

#ifdef WPK_TESTS_ARE_SANITIZED
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

/// How many, for tests of sheer size: fewer under a sanitizer, whose watch over every access costs ten to fifty times
/// the time. What it is there to find shows in a small tree as well; what only the full size shows is found by the
/// builds without it.
constexpr size_t Many(size_t count, size_t sanitizedCount) noexcept {
    return kIsSanitized ? sanitizedCount : count;
}

}  // namespace support

#endif  // WPK_TESTS_SUPPORT_SANITIZED_H
