// Reply: the part of a reply that the window shows.
// SPDX-License-Identifier: MIT
#include "reply.h"

#include <climits>
#include <memory>
#include <string_view>

#include "beginning.h"
#include "text.h"

namespace desktop {
namespace {

// More than a user reads in a window.
constexpr std::size_t kMaxTextBytes = std::size_t{64} * 1024;
// The time an edit control takes for a line without a blank grows with the square of its length.
constexpr std::size_t kMaxLineLength = 500;

bool MayBeXml(std::string_view bytes) {
    const std::size_t begin = bytes.find_first_not_of(" \t\r\n");
    return begin != std::string_view::npos && bytes[begin] == '<' && bytes.size() <= INT_MAX;
}

std::vector<OutlineLine> XmlOutline(std::string_view bytes) {
    if (!MayBeXml(bytes)) return {};
    try {
        const AdvXMLParser::Parser parser;
        const std::unique_ptr<AdvXMLParser::Document> document(
            parser.Parse(bytes.data(), static_cast<int>(bytes.size())));
        return Outline(*document);
    } catch (const AdvXMLParser::ParsingException&) {
        return {};
    }
}

/// An edit control's text ends at a zero, and its lines break only at CR LF.
std::wstring ForEdit(const std::wstring& text) {
    std::wstring shown;
    shown.reserve(text.size() + text.size() / kMaxLineLength * 2);
    std::size_t line_length = 0;
    for (const wchar_t character : text) {
        if (character == L'\n' || line_length == kMaxLineLength) {
            shown += L"\r\n";
            line_length = 0;
        }
        if (character == L'\n' || character == L'\r') continue;
        shown += character == 0 ? L'\xFFFD' : character;
        ++line_length;
    }
    return shown;
}

}  // namespace

Reply ReadReply(const void* data, unsigned length) {
    Reply reply;
    reply.length = length;
    if (length == 0) return reply;
    const std::string_view bytes(static_cast<const char*>(data), length);
    reply.outline = XmlOutline(bytes);
    if (!reply.outline.empty()) return reply;
    reply.text = ForEdit(FromBytes(Beginning(bytes, kMaxTextBytes)));
    if (length > kMaxTextBytes) reply.text += L"\r\n...";
    return reply;
}

}  // namespace desktop
