// Compares the library's tree with the model's.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_XML_MODEL_LIBRARY_TREE_H
#define WPK_TESTS_XML_MODEL_LIBRARY_TREE_H

#include <string>
#include <string_view>

#include "wpk/xml.h"
#include "xml_model/tree.h"

namespace xml_model {

struct WriteMode {
    bool verbatim;
    const char* indent;
};

constexpr WriteMode kWriteModes[] = {{true, "  "}, {false, "  "}, {false, ""}, {false, "\t"}, {false, "ab"}};

/// `node` written by the library on its own, with a fresh context.
std::string WriteWithLibrary(const AdvXMLParser::Node& node, const WriteMode& mode);

/// Each tells the first difference, or nothing when there is none.
std::string DocumentDifference(const Document& model, const AdvXMLParser::Document& library);
std::string EveryNodeDifference(const Node& model, const AdvXMLParser::Node& library);
std::string CloneDifference(const Document& model, const AdvXMLParser::Document& library);

/// `bytes` with everything but printable ASCII as \xHH.
std::string Readable(std::string_view bytes);

}  // namespace xml_model

#endif  // WPK_TESTS_XML_MODEL_LIBRARY_TREE_H
