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

/// More lines than this nobody reads, and a tree-view takes seconds for.
inline constexpr std::size_t kMaxOutlineLines = 5000;
/// A tree-view uses the machine's stack for each level; documents may have a million.
inline constexpr std::size_t kMaxOutlineLevels = 100;

/// Elements as "name" or, with nothing but text in them, "name: text"; below them their attributes as "@name: value",
/// and what else they hold. "..." stands where something is left out.
std::vector<OutlineLine> Outline(const AdvXMLParser::Document& document);

}  // namespace desktop
