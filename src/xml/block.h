// Sixteen bytes at a time, where the processor can.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_BLOCK_H
#define WPK_XML_BLOCK_H

// For the few functions whose call would cost more than they do.
#if defined(__GNUC__)
#define WPK_XML_INLINE inline __attribute__((always_inline))
#elif defined(_MSC_VER)
#define WPK_XML_INLINE __forceinline
#else
#define WPK_XML_INLINE inline
#endif

#if !defined(WPK_XML_NO_SSE2) && (defined(__SSE2__) || defined(_M_X64))
#define WPK_XML_SSE2 1
#include <emmintrin.h>
#if defined(_MSC_VER)
#include <intrin.h>
#endif

#include <cstdint>

namespace AdvXMLParser {

/// The number of the lowest bit that is set; there must be one.
inline unsigned LowestBit(unsigned mask) noexcept {
#if defined(_MSC_VER) && !defined(__clang__)
    unsigned long index = 0;
    _BitScanForward(&index, mask);
    return index;
#else
    return static_cast<unsigned>(__builtin_ctz(mask));
#endif
}

/// Which of sixteen bytes have some property.
class Matches {
public:
    explicit Matches(__m128i lanes) noexcept : lanes_(lanes) {}
    friend Matches operator|(Matches a, Matches b) noexcept { return Matches(_mm_or_si128(a.lanes_, b.lanes_)); }
    Matches AndNot(Matches others) const noexcept { return Matches(_mm_andnot_si128(others.lanes_, lanes_)); }
    /// One bit a byte, the first one lowest.
    unsigned Mask() const noexcept { return static_cast<unsigned>(_mm_movemask_epi8(lanes_)); }

private:
    __m128i lanes_;
};

/// Sixteen bytes from anywhere.
class Block {
public:
    static constexpr std::size_t kSize = 16;
    static constexpr unsigned kAll = 0xFFFF;

    explicit Block(const void* bytes) noexcept : bytes_(_mm_loadu_si128(static_cast<const __m128i*>(bytes))) {}
    void Store(void* to) const noexcept { _mm_storeu_si128(static_cast<__m128i*>(to), bytes_); }

    Matches operator==(char c) const noexcept { return Matches(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c))); }
    Matches operator==(const Block& other) const noexcept { return Matches(_mm_cmpeq_epi8(bytes_, other.bytes_)); }
    /// Bytes from `low` to `high`, as unsigned numbers.
    Matches Between(unsigned char low, unsigned char high) const noexcept {
        const __m128i distance = _mm_sub_epi8(bytes_, _mm_set1_epi8(static_cast<char>(low)));
        const __m128i most = _mm_set1_epi8(static_cast<char>(high - low));
        return Matches(_mm_cmpeq_epi8(_mm_min_epu8(distance, most), distance));
    }
    friend Block operator&(Block a, Block b) noexcept { return Block(_mm_and_si128(a.bytes_, b.bytes_)); }
    friend Block operator|(Block a, Block b) noexcept { return Block(_mm_or_si128(a.bytes_, b.bytes_)); }
    /// The bytes of two numbers, the lowest first.
    static Block Of(std::uint64_t first, std::uint64_t second) noexcept {
        return Block(_mm_set_epi64x(static_cast<std::int64_t>(second), static_cast<std::int64_t>(first)));
    }
    /// With these bits set in every byte.
    Block With(char bits) const noexcept { return Block(_mm_or_si128(bytes_, _mm_set1_epi8(bits))); }

private:
    explicit Block(__m128i bytes) noexcept : bytes_(bytes) {}

    __m128i bytes_;
};

}  // namespace AdvXMLParser

#endif  // SSE2

#endif  // WPK_XML_BLOCK_H
