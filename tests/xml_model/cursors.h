// The two cursors of the parser side by side.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_XML_MODEL_CURSORS_H
#define WPK_TESTS_XML_MODEL_CURSORS_H

#include <string>
#include <string_view>

namespace xml_model {

/// Reads the input with either of the library's cursors, each on its own, and tells where they differ: in whether they
/// accept it, or in the tree. Empty when they do not.
std::string CursorDisagreement(std::string_view input);

}  // namespace xml_model

#endif  // WPK_TESTS_XML_MODEL_CURSORS_H
