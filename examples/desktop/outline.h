// Outline: an XML document as lines with levels, ready for a tree-view.
// SPDX-License-Identifier: MIT
#pragma once

#include <wpk/xml.h>

#include <string>
#include <vector>

namespace desktop {

struct OutlineLine {
    int level;  ///< 0 for the root element
    std::string text;
};

/// More lines than a user reads; a tree-view would take seconds for them.
inline constexpr std::size_t kMaxOutlineLines = 5000;
/// A tree-view uses machine stack for each level; documents may have a million.
inline constexpr std::size_t kMaxOutlineLevels = 100;

/// Elements as "name", or "name: text" if they contain only text; below them their attributes as "@name: value",
/// and their other content. "..." marks what is left out.
std::vector<OutlineLine> Outline(const AdvXMLParser::Document& document);

}  // namespace desktop
