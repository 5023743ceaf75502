// The rule for the XML declaration.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_XML_DECLARATION_H
#define WPK_XML_XML_DECLARATION_H

#include "xml/slice.h"

// A template over the cursor like the rules of markup_rules.h, with the same habits.
namespace AdvXMLParser::detail {

/// What an XML declaration says; empty where it says nothing.
struct XmlDeclaration {
    Slice version;
    Slice encoding;
    bool isStandalone = true;
};

template <class Cursor>
bool ReadXmlDeclaration(Cursor& cursor, XmlDeclaration& declaration);

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_XML_DECLARATION_H
