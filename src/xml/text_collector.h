// The text content of a tree.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_TEXT_COLLECTOR_H
#define WPK_XML_TEXT_COLLECTOR_H

#include <cstddef>
#include <string>
#include <string_view>

#include "xml/node_access.h"
#include "xml/small_stack.h"

namespace AdvXMLParser::detail {

/// Puts the texts below a container together, with white space as every level wants it: an element and a document make
/// one space of each run and trim the ends, an attribute only trims them, a space-preserving element does neither.
///
/// Doing that level by level, with CollapseWhitespace and TrimWhitespace on each result, would touch a text once per
/// level. It is done as the text arrives instead, so that the work is linear in the text: leading white space of a
/// level is skipped, runs are collapsed if any enclosing level collapses, and trailing white space is cut when the
/// level ends. An inner level's result neither begins nor ends with white space, so that what it was and what stands
/// around it never run together wrongly.
class TextCollector {
public:
    static std::string Collect(const NodeContainer& container);

private:
    struct Level {
        const NodeContainer* container;
        std::size_t next;
        /// Where in the result the innermost trimming level begins.
        std::size_t start;
        /// Whether its own class trims: white space at both ends of its text goes.
        bool trimsItself;
        /// Whether it or a level around it trims.
        bool isTrimmed;
        /// Whether it or a level around it makes one space of each run of white space.
        bool isCollapsed;
    };

    void Enter(const NodeContainer& container);
    void Leave();
    void AddLeaf(const Node& node);
    void Add(std::string_view text);
    /// Adds a text with each run of white space made one space, which may have begun before it.
    void CollapseWhitespace(std::string_view text);
    /// TrimWhitespace in its two halves: what of a level's first text is not even added, and what is cut off the result
    /// when the level is left.
    ///@{
    static void TrimWhitespaceAtStart(std::string_view& text);
    void TrimWhitespaceAtEnd();
    ///@}

    std::string result_;
    SmallStack<Level, 16> levels_;
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_TEXT_COLLECTOR_H
