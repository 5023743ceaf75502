// The strings of parsed nodes, put together before they have their place.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_ARENA_BYTES_H
#define WPK_XML_ARENA_BYTES_H

#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "xml/block.h"
#include "xml/node_access.h"

namespace AdvXMLParser::detail {

#ifndef WPK_XML_SSE2

/// Does for every processor what is needed here of a block in a register.
class Block {
public:
    explicit Block(const void* bytes) noexcept { std::memcpy(words_, bytes, sizeof(words_)); }
    void Store(void* to) const noexcept { std::memcpy(to, words_, sizeof(words_)); }

    friend Block operator&(Block a, const Block& b) noexcept {
        for (std::size_t i = 0; i < std::size(a.words_); ++i) a.words_[i] &= b.words_[i];
        return a;
    }
    friend Block operator|(Block a, const Block& b) noexcept {
        for (std::size_t i = 0; i < std::size(a.words_); ++i) a.words_[i] |= b.words_[i];
        return a;
    }

private:
    std::uintptr_t words_[sizeof(ByteString) / sizeof(std::uintptr_t)];
};

#endif

/// What a ByteString of a parsed node is to be. It is made before the node is begun: what is read from the input then
/// stays in a register, and no compiler has to allow for it being read from the node.
struct ArenaBytes {
    Block block;
};
static_assert(sizeof(ArenaBytes) == sizeof(ByteString), "the block is all of it");

}  // namespace AdvXMLParser::detail

WPK_XML_INLINE AdvXMLParser::ByteString::ByteString(const detail::ArenaBytes& bytes) noexcept {
    bytes.block.Store(near_);
}

namespace AdvXMLParser::detail {

inline ArenaBytes NodeAccess::Borrowed(char* bytes, std::size_t size, Mark mark) noexcept {
    const std::uint8_t tag = static_cast<std::uint8_t>(ByteString::kBorrowed | MarkBits(mark));
#ifdef WPK_XML_SSE2
    // A record of smaller fields would have to reach the memory before it could be moved on as a whole.
    return {Block::Of(reinterpret_cast<std::uintptr_t>(bytes), size | std::uint64_t{tag} << 56)};
#else
    const ByteString::Far string{bytes, static_cast<std::uint32_t>(size), {}, tag};
    return {Block(&string)};
#endif
}

/// Makes strings of some size and mark that are held in place: which of sixteen bytes are theirs, and what comes after
/// those.
struct NearForm {
    alignas(sizeof(ByteString)) std::uint8_t own[sizeof(ByteString)];
    alignas(sizeof(ByteString)) std::uint8_t rest[sizeof(ByteString)];

    /// As many bytes as a ByteString has are read, whatever the size is.
    WPK_XML_INLINE ArenaBytes operator()(const char* bytes) const noexcept {
        return {(Block(bytes) & Block(own)) | Block(rest)};
    }
};

namespace arena_bytes_detail {

using NearForms = std::array<NearForm, NodeAccess::kNearSize>;

/// By mark and size.
constexpr std::array<NearForms, NodeAccess::kMarks> MakeNearForms() {
    std::array<NearForms, NodeAccess::kMarks> forms{};
    for (std::size_t mark = 0; mark < forms.size(); ++mark) {
        for (std::size_t size = 0; size < forms[mark].size(); ++size) {
            NearForm& form = forms[mark][size];
            for (std::size_t i = 0; i < size; ++i) form.own[i] = 0xFF;
            form.rest[sizeof(ByteString) - 1] = NodeAccess::NearTag(size, static_cast<NodeAccess::Mark>(mark));
        }
    }
    return forms;
}
inline constexpr std::array<NearForms, NodeAccess::kMarks> kNearForms = MakeNearForms();

}  // namespace arena_bytes_detail

/// Less than kNearSize bytes; as many as a ByteString has are read.
WPK_XML_INLINE ArenaBytes MakeNear(const char* bytes, std::size_t size, NodeAccess::Mark mark) noexcept {
    return arena_bytes_detail::kNearForms[static_cast<std::size_t>(mark)][size](bytes);
}

WPK_XML_INLINE ArenaBytes MakeEmpty(NodeAccess::Mark mark) noexcept {
    return {Block(arena_bytes_detail::kNearForms[static_cast<std::size_t>(mark)][0].rest)};
}

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_ARENA_BYTES_H
