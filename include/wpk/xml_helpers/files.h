/// @file
/// Documents as texts and in files.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_HELPERS_FILES_H
#define WPK_XML_HELPERS_FILES_H

#include <wpk/xml_helpers/names.h>
#include <wpk/xml_helpers/parse.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <system_error>

namespace wpk {
namespace xml {
namespace detail {

/// For messages.
inline std::string NameOf(const std::filesystem::path& file) {
    try {
        return file.string();
    } catch (const std::system_error&) {  // A name that the narrow character set cannot spell.
        return "the file";
    }
}

/// The streams say that a call has failed, the system says why.
[[noreturn]] inline void ThrowFileError(const char* what, const std::filesystem::path& file) {
    const int reason = errno != 0 ? errno : EIO;
    throw std::system_error(reason, std::generic_category(), what + NameOf(file));
}

inline std::string ReadFile(const std::filesystem::path& file) {
    constexpr auto kMost = static_cast<std::size_t>((std::numeric_limits<int>::max)());
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    if (!stream) ThrowFileError("cannot open ", file);
    std::string bytes;
    std::array<char, std::size_t{16} * 1024> piece;
    while (stream.read(piece.data(), piece.size()), stream.gcount() > 0) {
        bytes.append(piece.data(), static_cast<std::size_t>(stream.gcount()));
        if (bytes.size() > kMost) {
            throw std::system_error(std::make_error_code(std::errc::file_too_large), "cannot read " + NameOf(file));
        }
    }
    if (stream.bad()) ThrowFileError("cannot read ", file);
    return bytes;
}

}  // namespace detail

/// The node's XML text, as by Write. With flags 0 it has one block per line; with WRITE_VERBATIM it is on one line,
/// with the white space of each text as stored. A document begins with its declaration. There is no line feed at the
/// beginning or the end.
inline std::string ToString(const Node& node, std::uint32_t flags = 0) {
    std::string text;
    AdvXMLParser::WriteContext context;
    context.flags = flags;
    context.output = &text;
    context.atLineStart = true;
    node.Write(context);
    return text;
}

/// Reads a document from a file, as Parse does. The path may be of any type that std::filesystem::path accepts, wide
/// characters included. Throws DocumentError, and std::system_error if the file cannot be read or has 2 GiB or more;
/// what() of both names the file.
inline std::unique_ptr<Document> Load(const std::filesystem::path& file) {
    return detail::ParseNamed(detail::ReadFile(file), detail::NameOf(file));
}

/// Writes a document to a file, as by ToString, replacing the file's content. A loaded document contains the layout of
/// its file in its texts: save it with WRITE_VERBATIM, or remove that layout first with RemoveLayout.
///
/// Throws std::system_error, which names the file. If the file could not be opened it is unchanged, otherwise it is
/// partly written.
inline void Save(const Document& document, const std::filesystem::path& file, std::uint32_t flags = 0) {
    const std::string text = ToString(document, flags);
    errno = 0;
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    if (!stream) detail::ThrowFileError("cannot open ", file);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    stream.close();
    if (!stream) detail::ThrowFileError("cannot write ", file);
}

}  // namespace xml
}  // namespace wpk

#endif  // WPK_XML_HELPERS_FILES_H
