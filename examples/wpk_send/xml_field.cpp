// A field of a reply that is XML.
// SPDX-License-Identifier: MIT
#include "xml_field.h"

#include <wpk/xml.h>

#include <climits>
#include <memory>

namespace wpk_send {
namespace {

using AdvXMLParser::Document;

std::unique_ptr<Document> Parsed(const void* data, std::size_t length) {
    if (length > INT_MAX) throw NoField("The reply is too long to be read as XML.");
    try {
        return std::unique_ptr<Document>(AdvXMLParser::Parser().Parse(data, static_cast<int>(length)));
    } catch (const AdvXMLParser::ParsingException& fault) {
        throw NoField("The reply is no XML: fault " + std::to_string(fault.code) + " at line " +
                      std::to_string(fault.line) + ", column " + std::to_string(fault.column) + ".");
    }
}

}  // namespace

std::string FieldText(const void* data, std::size_t length, const std::string& name) {
    const std::unique_ptr<Document> document = Parsed(data, length);
    const AdvXMLParser::Node* field = document->root->FindElement(name);
    if (AdvXMLParser::IsNull(field)) throw NoField("The reply has no field '" + name + "'.");
    return field->GetText();
}

}  // namespace wpk_send
