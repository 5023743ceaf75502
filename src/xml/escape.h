// Character data as the writer puts it.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_ESCAPE_H
#define WPK_XML_ESCAPE_H

#include <wpk/xml/byte_string.h>

#include "xml/output_buffer.h"

namespace AdvXMLParser {

/// Puts the text with the five special characters replaced by their entities' bare names.
void PutEscaped(OutputBuffer& out, const ByteString& text);

/// The same with every run of white space made one space.
void PutCollapsedAndEscaped(OutputBuffer& out, const ByteString& text);

}  // namespace AdvXMLParser

#endif  // WPK_XML_ESCAPE_H
