// Runs the library and the model on the same input and tells where they differ.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_XML_MODEL_AGREEMENT_H
#define WPK_TESTS_XML_MODEL_AGREEMENT_H

#include <string>
#include <string_view>

namespace xml_model {

/// How much is asked of a tree that both parsers accept.
enum class Depth {
    /// The tree itself, its text, and the document written in both modes.
    kTree,
    /// As well every node's text and writing on its own, copies, and a second parse of what was written.
    kEverything
};

/// Empty when library and model agree on `input`; otherwise what differs, with the input made readable.
std::string Disagreement(std::string_view input, Depth depth);

}  // namespace xml_model

#endif  // WPK_TESTS_XML_MODEL_AGREEMENT_H
