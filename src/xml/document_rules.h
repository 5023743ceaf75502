// The rules for a document and its elements.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_DOCUMENT_RULES_H
#define WPK_XML_DOCUMENT_RULES_H

#include <wpk/xml/nodes.h>

#include "xml/diagnosing_cursor.h"
#include "xml/fast_cursor.h"

namespace AdvXMLParser::detail {

/// Reads one document and builds its tree, which belongs to the caller. Throws what the cursor throws, and
/// std::bad_alloc; the tree as far as it has come is gone then. Instantiated for both cursors.
template <class Cursor>
Document* ReadDocument(const Byte* input, std::size_t size);

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_DOCUMENT_RULES_H
