// The rule for the document type declaration.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_DOCTYPE_H
#define WPK_XML_DOCTYPE_H

// A template over the cursor like the rules of markup_rules.h, with the same habits.
namespace AdvXMLParser::detail {

/// Checks the syntax of a document type declaration, inner declarations included, and keeps nothing of it.
template <class Cursor>
bool ReadDoctype(Cursor& cursor);

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_DOCTYPE_H
