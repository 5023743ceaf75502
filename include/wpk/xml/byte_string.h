/// @file
/// The 8-bit strings that nodes contain: an object of 16 bytes that holds short strings in place.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_BYTE_STRING_H
#define WPK_XML_BYTE_STRING_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <string_view>

namespace AdvXMLParser {

namespace detail {
struct ArenaBytes;
struct NodeAccess;
}  // namespace detail

/// A byte string in a node: a name, a text or the data of an instruction. It may contain any byte, including zero, and
/// is never converted. It behaves like a small std::string: it converts to std::string_view and std::string, can be
/// assigned from both and from literals, and compares with all of them byte for byte.
///
///     text->text = "screws";
///     const std::string copy = text->text;
///     if (text->text == "nails") return;
///
/// Up to 15 bytes are stored in place. The largest size is 4,294,967,294 bytes. Errors: std::length_error above that,
/// std::bad_alloc if memory runs out; the string is then unchanged. Threads: const calls on any number of threads at
/// once, other calls one thread at a time.
class ByteString {
public:
    /// An empty string, or a copy of the bytes.
    ///@{
    ByteString() noexcept { SetNear(0); }
    explicit ByteString(std::string_view bytes) { Construct(bytes); }
    ByteString(const ByteString& other) { Construct(other.View()); }
    ///@}
    /// Takes the other string's bytes and leaves it empty. May allocate and throw: bytes in the memory of a parsed
    /// document are copied out of it.
    ByteString(ByteString&& other);  // NOLINT(performance-noexcept-move-constructor): see above
    /// Not for applications: for the parser.
    inline explicit ByteString(const detail::ArenaBytes& bytes) noexcept;
    ~ByteString() {
        if (IsHeap()) FreeHeap();
    }

    /// As construction. The bytes may be part of the string itself.
    ///@{
    ByteString& operator=(const ByteString& other) { return *this = other.View(); }
    ByteString& operator=(ByteString&& other);  // NOLINT(performance-noexcept-move-constructor): as above
    ByteString& operator=(std::string_view bytes);
    ///@}

    /// Adds bytes at the end, in amortised constant time per byte.
    ///@{
    ByteString& append(std::string_view bytes);
    ByteString& operator+=(std::string_view bytes) { return append(bytes); }
    ///@}
    /// Empties the string and frees its memory.
    void clear() noexcept;

    /// The bytes, followed by one zero byte. Valid until the string is changed or destroyed.
    ///@{
    const char* data() const noexcept { return IsNear() ? near_ : far_.data; }
    const char* c_str() const noexcept { return data(); }
    ///@}
    /// The number of bytes, without the zero byte at the end; whether there are none.
    ///@{
    std::size_t size() const noexcept { return IsNear() ? kNearSize - (Tag() & kRoom) : far_.size; }
    std::size_t length() const noexcept { return size(); }
    bool empty() const noexcept { return size() == 0; }
    ///@}
    /// The byte at that index, which must not exceed size(). At size() there is the zero byte.
    char operator[](std::size_t index) const noexcept { return data()[index]; }

    /// The bytes as a view (valid as long as data() is) or as a copy.
    ///@{
    operator std::string_view() const noexcept { return View(); }  // NOLINT(google-explicit-constructor): on purpose
    operator std::string() const { return std::string(View()); }   // NOLINT(google-explicit-constructor): on purpose
    ///@}

    /// Comparison byte for byte.
    ///@{
    friend bool operator==(const ByteString& a, const ByteString& b) noexcept { return a.View() == b.View(); }
    friend bool operator!=(const ByteString& a, const ByteString& b) noexcept { return a.View() != b.View(); }
    friend bool operator<(const ByteString& a, const ByteString& b) noexcept { return a.View() < b.View(); }
    friend bool operator==(const ByteString& a, std::string_view b) noexcept { return a.View() == b; }
    friend bool operator!=(const ByteString& a, std::string_view b) noexcept { return a.View() != b; }
    friend bool operator==(std::string_view a, const ByteString& b) noexcept { return a == b.View(); }
    friend bool operator!=(std::string_view a, const ByteString& b) noexcept { return a != b.View(); }
    ///@}

    /// Writes the bytes to a stream.
    template <class Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out, const ByteString& s) {
        return out << s.View();
    }

private:
    friend struct detail::NodeAccess;

    /// Bytes elsewhere: on the heap, or borrowed from the memory of the document that the string's node was parsed
    /// into.
    struct Far {
        char* data;
        std::uint32_t size;
        std::uint8_t unused[3];
        std::uint8_t tag;
    };
    /// The last byte says which form it is. In place it is the room that is left, so that a full string of 15 bytes has
    /// its closing zero there. Bytes elsewhere are at least as many: 16 bytes can always be read.
    ///
    /// Two more bits mark a string of a parsed node, the name or the other one, until it is changed for the first time:
    /// that is when the document's memory learns that it cannot simply be dropped. A marked string in place is shorter
    /// than 15 bytes.
    static constexpr std::size_t kNearSize = sizeof(Far) - 1;
    static constexpr std::uint8_t kRoom = 0x0F;
    static constexpr std::uint8_t kParsedName = 0x10;
    static constexpr std::uint8_t kParsedValue = 0x20;
    static constexpr std::uint8_t kBorrowed = 0x40;
    static constexpr std::uint8_t kHeap = 0x80;

    std::uint8_t Tag() const noexcept { return static_cast<std::uint8_t>(near_[kNearSize]); }
    bool IsNear() const noexcept { return Tag() < kBorrowed; }
    bool IsHeap() const noexcept { return (Tag() & kHeap) != 0; }
    /// To be called before each change.
    void NoteChange() noexcept {
        if ((Tag() & (kParsedName | kParsedValue)) != 0) ReportChange();
    }
    void ReportChange() noexcept;
    std::string_view View() const noexcept { return {data(), size()}; }

    void SetNear(std::size_t size) noexcept {
        near_[size] = '\0';
        near_[kNearSize] = static_cast<char>(kNearSize - size);
    }
    void SetFar(char* data, std::size_t size, std::uint8_t tag) noexcept;
    void Construct(std::string_view bytes);
    void Swap(ByteString& other) noexcept;
    void FreeHeap() noexcept;

    union {
        char near_[sizeof(Far)];
        Far far_;
    };
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_BYTE_STRING_H
