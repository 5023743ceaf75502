// What the tests of the XML library share.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_XML_H
#define WPK_TESTS_SUPPORT_XML_H

#include <memory>
#include <string>
#include <string_view>

#include <wpk/xml.h>

namespace xml_tests {

using DocumentPtr = std::unique_ptr<AdvXMLParser::Document>;

/// Parses from a buffer of exactly that size, so that a sanitizer sees every byte read beyond it.
inline DocumentPtr Parse(std::string_view text) {
    const std::unique_ptr<char[]> bytes(new char[text.size()]);
    text.copy(bytes.get(), text.size());
    return DocumentPtr(AdvXMLParser::Parser().Parse(bytes.get(), static_cast<int>(text.size())));
}

/// What the parser says of a text: "code line:column", or "ok".
inline std::string Verdict(std::string_view text) {
    try {
        Parse(text);
        return "ok";
    } catch (const AdvXMLParser::ParsingException& fault) {
        return std::to_string(fault.code) + " " + std::to_string(fault.line) + ":" + std::to_string(fault.column);
    }
}

inline std::string Written(const AdvXMLParser::Node& node, unsigned flags = 0, const char* indent = "  ") {
    std::string output;
    AdvXMLParser::WriteContext context;
    context.flags = flags;
    context.indent = indent;
    context.output = &output;
    node.Write(context);
    return output;
}

inline std::string WrittenVerbatim(const AdvXMLParser::Node& node) {
    return Written(node, AdvXMLParser::WRITE_VERBATIM);
}

/// The children of a container in short: "T(x)" a Text, "E(a)" an element, "C" a CData, "R(amp)" an EntityRef, "#41" a
/// CharRef in hexadecimal, "P(target|data)", "M(comment)".
inline std::string Shape(const AdvXMLParser::NodeContainer& container) {
    using namespace AdvXMLParser;
    std::string shape;
    for (const Node* child : container.children) {
        if (!shape.empty()) shape += ' ';
        if (const auto* text = dynamic_cast<const Text*>(child)) shape += "T(" + std::string(text->text) + ")";
        if (const auto* cdata = dynamic_cast<const CData*>(child)) shape += "C(" + std::string(cdata->text) + ")";
        if (const auto* comment = dynamic_cast<const Comment*>(child)) shape += "M(" + std::string(comment->text) + ")";
        if (dynamic_cast<const Element*>(child) != nullptr) shape += "E(" + std::string(child->name) + ")";
        if (dynamic_cast<const EntityRef*>(child) != nullptr) shape += "R(" + std::string(child->name) + ")";
        if (const auto* pi = dynamic_cast<const Pi*>(child)) {
            shape += "P(" + std::string(pi->name) + "|" + std::string(pi->data) + ")";
        }
        if (const auto* reference = dynamic_cast<const CharRef*>(child)) {
            const unsigned value = static_cast<unsigned char>(reference->value);
            shape += {'#', "0123456789ABCDEF"[value >> 4], "0123456789ABCDEF"[value & 15]};
        }
    }
    return shape;
}

/// A message with a number of orders, as applications send them; about 330 bytes each.
inline std::string Message(int orders) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<message>\n";
    for (int i = 0; i < orders; ++i) {
        const std::string number = std::to_string(10000 + i * 7);
        text += "  <order id=\"" + number +
                "\">\n    <customer>Miller &amp; Sons</customer>\n    <city>Copenhagen</city>\n" +
                "    <item><name>Left-handed screwdriver</name><quantity>" + std::to_string(i % 13) +
                "</quantity><price currency=\"EUR\">" + std::to_string(i % 97) +
                ".95</price></item>\n    <remark>deliver before noon if possible</remark>\n  </order>\n";
    }
    return text + "</message>\n";
}

}  // namespace xml_tests

#endif  // WPK_TESTS_SUPPORT_XML_H
