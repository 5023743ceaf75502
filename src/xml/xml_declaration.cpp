// The rule for the XML declaration, instantiated for both cursors.
// SPDX-License-Identifier: MIT
#include "xml/markup_rules.h"
#include "xml/prolog_rules.h"

namespace AdvXMLParser {
namespace {

/// White space, the keyword and an equals sign; or none of them.
template <class Cursor, std::size_t N>
bool ReadKeyword(Cursor& cursor, const char (&keyword)[N]) {
    const auto before = cursor.Position();
    if (!cursor.SkipWhitespace() || !cursor.Match(keyword)) {
        cursor.Restore(before);
        return false;
    }
    ReadEquals(cursor);
    return true;
}

template <class Cursor>
Slice ReadRun(Cursor& cursor, CharClass first, CharClass others) {
    const auto from = cursor.Position();
    bool any = false;
    while (Is(cursor.Read(), any ? others : first)) any = true;
    cursor.Unread();
    return any ? cursor.Cut(from, 0) : Slice{};
}

template <class Cursor>
Slice ReadVersion(Cursor& cursor) {
    if (!ReadKeyword(cursor, "version")) cursor.Fail(kBadVersion);
    const char quote = ReadQuote(cursor);
    if (quote == '\0') cursor.Fail(kBadVersion);
    const Slice version = ReadRun(cursor, kVersionChar, kVersionChar);
    if (!version || !cursor.Expect(quote)) cursor.Fail(kBadVersion);
    return version;
}

template <class Cursor>
Slice ReadEncoding(Cursor& cursor) {
    const char quote = ReadQuote(cursor);
    if (quote == '\0') cursor.Fail(kEncodingNotQuoted);
    const Slice encoding = ReadRun(cursor, kLetter, kEncodingChar);
    if (!encoding || !cursor.Expect(quote)) cursor.Fail(kBadEncoding);
    return encoding;
}

template <class Cursor>
bool ReadStandalone(Cursor& cursor) {
    const char quote = ReadQuote(cursor);
    if (quote == '\0') cursor.Fail(kStandaloneNotQuoted);
    const bool isStandalone = cursor.Match("yes");
    if (!isStandalone && !cursor.Match("no")) cursor.Fail(kBadStandalone);
    if (!cursor.Expect(quote)) cursor.Fail(kBadStandalone);
    return isStandalone;
}

}  // namespace

template <class Cursor>
bool ReadXmlDeclaration(Cursor& cursor, XmlDeclaration& declaration) {
    if (!cursor.Match("<?xml")) return false;
    declaration.version = ReadVersion(cursor);
    if (ReadKeyword(cursor, "encoding")) declaration.encoding = ReadEncoding(cursor);
    if (ReadKeyword(cursor, "standalone")) declaration.isStandalone = ReadStandalone(cursor);
    cursor.SkipWhitespace();
    if (!cursor.Match("?>")) cursor.Fail(kDeclarationNotClosed);
    return true;
}

template bool ReadXmlDeclaration(FastCursor&, XmlDeclaration&);
template bool ReadXmlDeclaration(ExactCursor&, XmlDeclaration&);

}  // namespace AdvXMLParser
