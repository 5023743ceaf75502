// Numbers that are used again as soon as they are free, the lowest one first.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_REUSABLE_IDS_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_REUSABLE_IDS_H

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace wpk::host {

/// Leads from a number (1 and up) to a slot of the object table. All operations are relaxed: the next owner of a number
/// must not look ordered after the last one, for on the real platform nothing orders them either.
class ReusableIds {
public:
    static constexpr uint32_t kCount = 1 << 16;

    uint32_t Claim() {
        for (uint32_t word = 0; word < kCount / 64; ++word) {
            uint64_t bits = used_[word].load(std::memory_order_relaxed);
            while (~bits != 0) {
                const auto bit = static_cast<uint32_t>(__builtin_ctzll(~bits));
                const uint64_t mask = uint64_t{1} << bit;
                bits = used_[word].fetch_or(mask, std::memory_order_relaxed);
                if (!(bits & mask)) return NoteHighest(word * 64 + bit + 1);
            }
        }
        std::fputs("the fake platform has run out of ids\n", stderr);
        std::abort();
    }

    void SetSlot(uint32_t number, uint32_t slot) { slots_[number - 1].store(slot, std::memory_order_relaxed); }

    void Free(uint32_t number) {
        SetSlot(number, 0);
        used_[(number - 1) / 64].fetch_and(~(uint64_t{1} << (number - 1) % 64), std::memory_order_relaxed);
    }

    /// 0 for a number that is not in use.
    uint32_t SlotOf(uint64_t number) const {
        if (number == 0 || number > kCount) return 0;
        return slots_[number - 1].load(std::memory_order_relaxed);
    }

    /// Takes the slot out, so that only one of several callers gets it; the number stays claimed.
    uint32_t TakeSlot(uint64_t number) {
        if (number == 0 || number > kCount) return 0;
        return slots_[number - 1].exchange(0, std::memory_order_relaxed);
    }

    /// No number above it has ever been claimed.
    uint32_t Highest() const { return highest_.load(std::memory_order_relaxed); }

private:
    uint32_t NoteHighest(uint32_t number) {
        uint32_t before = Highest();
        while (before < number && !highest_.compare_exchange_weak(before, number, std::memory_order_relaxed)) continue;
        return number;
    }

    std::atomic<uint32_t> highest_{0};
    std::array<std::atomic<uint64_t>, kCount / 64> used_{};
    std::array<std::atomic<uint32_t>, kCount> slots_{};
};

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_REUSABLE_IDS_H
