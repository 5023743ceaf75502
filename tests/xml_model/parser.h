// The model's parser: one function a rule, over the one-byte cursor.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_XML_MODEL_PARSER_H
#define WPK_TESTS_XML_MODEL_PARSER_H

#include <optional>
#include <string_view>

#include "xml_model/cursor.h"
#include "xml_model/tree.h"

namespace xml_model {

/// The document, or a `Fault` thrown.
Document Parse(std::string_view input);

/// Whether `input` is refused whatever may follow it.
bool IsRefusedForGood(std::string_view input);

/// References and other markup. Each rule yields nothing when its opening delimiter is not there.
std::optional<Node> ParseReference(Cursor& cursor);
std::optional<Node> ParseCData(Cursor& cursor);
std::optional<Node> ParseComment(Cursor& cursor);
std::optional<Node> ParsePi(Cursor& cursor);

/// A quoted attribute value, its pieces appended to `attribute`; false when there is no quote.
bool ParseAttributeValue(Cursor& cursor, Node& attribute);

/// The document type declaration; false when there is none. Nothing of it is kept.
bool ParseDoctype(Cursor& cursor);

Node MakeNode(Type type, std::string name, std::string value = {});

}  // namespace xml_model

#endif  // WPK_TESTS_XML_MODEL_PARSER_H
