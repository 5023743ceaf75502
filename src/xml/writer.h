// Trees back to text.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_WRITER_H
#define WPK_XML_WRITER_H

#include <wpk/xml/nodes.h>

namespace AdvXMLParser {

/// Writes one node and everything below it in one walk.
class Writer {
public:
    /// Appends to the context's output and leaves the context as the last node left it.
    static void Write(const Node& node, WriteContext& context);
    /// The same for the children of a container alone.
    static void WriteChildren(const NodeContainer& container, WriteContext& context);
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_WRITER_H
