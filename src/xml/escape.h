// Character data as the writer puts it.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_ESCAPE_H
#define WPK_XML_ESCAPE_H

#include <wpk/xml/byte_string.h>

#include "xml/output_buffer.h"

namespace AdvXMLParser::detail {

/// Whether a run of white space is put as it is, or as one space.
enum class WhiteSpace { kAsIs, kCollapsed };

/// Puts a text with the five special characters replaced by their EscapeNames. CollapseWhitespace comes before that in
/// the same pass where it is wanted, so that no copy of the text is needed.
template <WhiteSpace kSpace>
void EscapeText(OutputBuffer& out, const ByteString& text);

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_ESCAPE_H
