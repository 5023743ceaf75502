// The rules for the XML declaration and the document type declaration.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_PROLOG_RULES_H
#define WPK_XML_PROLOG_RULES_H

#include "xml/exact_cursor.h"
#include "xml/fast_cursor.h"

// Templates over the cursor like those of markup_rules.h, with the same habits.
namespace AdvXMLParser {

/// What an XML declaration says; empty where it says nothing.
struct XmlDeclaration {
    Slice version;
    Slice encoding;
    bool isStandalone = true;
};

template <class Cursor>
bool ReadXmlDeclaration(Cursor& cursor, XmlDeclaration& declaration);

/// Checks the syntax of a document type declaration, inner declarations included, and keeps nothing of it.
template <class Cursor>
bool ReadDoctype(Cursor& cursor);

/// Reads an equals sign and the white space around it. When it is missing, the fault is where that white space begins.
template <class Cursor>
void ReadEquals(Cursor& cursor) {
    const auto before = cursor.Position();
    cursor.SkipWhitespace();
    if (!cursor.Expect('=')) {
        cursor.Restore(before);
        cursor.Fail(kNoEquals);
    }
    cursor.SkipWhitespace();
}

}  // namespace AdvXMLParser

#endif  // WPK_XML_PROLOG_RULES_H
