// The documents that are measured: the same bytes on every run and for every parser.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace xml_bench {

struct Document {
    std::string name;
    /// As a person or the formatting writer lays it out: a line an element, two spaces a level.
    std::string indented;
    /// The same without white space between the elements, so that a formatting writer has all the work to do.
    std::string compact;
    /// Name of the root's last child element; no other child of the root has it.
    std::string last_child;
};

/// Only ASCII names, predefined entities and at most 90 levels: every parser in the field accepts them.
std::vector<Document> MakeDocuments();

/// A message of `size` bytes, more or less, when indented.
Document MakeMessage(const std::string& name, std::size_t size);

}  // namespace xml_bench
