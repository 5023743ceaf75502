// The rules for references, comments, CDATA sections and processing instructions.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_MARKUP_RULES_H
#define WPK_XML_MARKUP_RULES_H

#include "xml/exact_cursor.h"
#include "xml/fast_cursor.h"

// Like all rules of the grammar they are templates over the cursor and are instantiated for both. A rule that does not
// find its beginning leaves the cursor where it was; behind the beginning everything wrong throws.
namespace AdvXMLParser {

/// What a reference says.
struct ReferenceParts {
    /// The entity's name; empty for a character reference.
    Slice name;
    /// The character that it stands for.
    char value;
};

/// Reads the reference that the cursor is on.
template <class Cursor>
ReferenceParts ReadReference(Cursor& cursor);

/// The same for callers that want to keep their cursor in registers: the usual ones are read on the spot, the others
/// with a copy.
template <class Cursor>
WPK_XML_INLINE ReferenceParts ReadReferenceInline(Cursor& cursor) {
    ReferenceParts parts{{}, '\0'};
    if (cursor.SkipEntity(parts.name, parts.value)) return parts;
    Cursor copy = cursor;
    parts = ReadReference(copy);
    cursor = copy;
    return parts;
}

template <class Cursor>
bool ReadComment(Cursor& cursor, Slice& text);

template <class Cursor>
bool ReadCData(Cursor& cursor, Slice& text);

template <class Cursor>
bool ReadPi(Cursor& cursor, Slice& target, Slice& data);

/// Reads a quote, which is to end the literal too; zero, without moving, when there is none.
template <class Cursor>
char ReadQuote(Cursor& cursor) {
    const Byte c = cursor.Read();
    if (c == '"' || c == '\'') return static_cast<char>(c);
    cursor.Unread();
    return '\0';
}

/// Reads an attribute's value with its quotes. The target gets its pieces in order, through AddText(Slice) and
/// AddReference(ReferenceParts); there is a text, if only an empty one, around every reference.
template <class Cursor, class Target>
bool ReadValue(Cursor& cursor, Target&& target) {
    const char quote = ReadQuote(cursor);
    if (quote == '\0') return false;
    auto from = cursor.Position();
    for (;;) {
        const Byte stop = cursor.ReadPastValue(quote);
        if (stop == static_cast<Byte>(quote)) {
            target.AddText(cursor.Cut(from, 1));
            return true;
        }
        if (stop != '&') cursor.Fail(stop == 0 ? kUnexpectedEnd : stop == '<' ? kLessThanInValue : kBadCharacter);
        target.AddText(cursor.Cut(from, 1));
        cursor.Unread();
        target.AddReference(ReadReferenceInline(cursor));
        from = cursor.Position();
    }
}

}  // namespace AdvXMLParser

#endif  // WPK_XML_MARKUP_RULES_H
