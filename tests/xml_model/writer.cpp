// The model's writer.
// SPDX-License-Identifier: MIT
#include "xml_model/writer.h"

namespace xml_model {
namespace {

/// The digits of a character reference; none for 0 and for characters of 0x80 and above, which count as negative.
std::string CharRefDigits(char character) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= 0x80) return {};
    std::string digits;
    for (unsigned rest = byte; rest > 0; rest >>= 4) digits.insert(digits.begin(), "0123456789ABCDEF"[rest & 15]);
    return digits;
}

}  // namespace

/// Special characters become bare words, with neither ampersand nor semicolon: `a<b` is written as `altb`.
std::string EscapeText(const std::string& text) {
    std::string escaped;
    for (char character : text) {
        switch (character) {
            case '<':
                escaped += "lt";
                break;
            case '>':
                escaped += "gt";
                break;
            case '&':
                escaped += "amp";
                break;
            case '\'':
                escaped += "apos";
                break;
            case '"':
                escaped += "quot";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

void Writer::Write(const Document& document) {
    Append("<?xml version=\"" + document.version + "\" encoding=\"" + document.encoding + "\"?>");
    NewLine();
    WriteChildren(document.node);
}

void Writer::Write(const Node& node) {
    switch (node.type) {
        case kElement:
            return WriteElement(node);
        case kAttribute:
            return WriteAttribute(node);
        case kText:
            return Append(EscapeText(verbatim_ ? node.value : CollapseWhitespace(node.value)));
        case kCData:
            return WriteBlock("<![CDATA[" + node.value + "]]>");
        case kComment:
            return WriteBlock("<!--" + node.value + "-->");
        case kPi:
            return WriteBlock("<?" + node.name + (node.value.empty() ? "" : " " + node.value) + "?>");
        case kReference:
            return WriteReference(node);
        case kDocument:
            return WriteChildren(node);
    }
}

void Writer::WriteElement(const Node& node) {
    BeginLevel();
    Append("<" + node.name);
    for (const Node& attribute : node.attributes) {
        Append(" ");
        Write(attribute);
    }
    if (node.children.empty()) {
        Append("/>");
        --depth_;
        afterBlock_ = true;
        return;
    }
    Append(">");
    WriteChildren(node);
    EndLevel();
    Append("</" + node.name + ">");
}

void Writer::WriteAttribute(const Node& node) {
    Append(node.name + "=\"");
    WriteChildren(node);
    Append("\"");
}

void Writer::WriteBlock(const std::string& text) {
    BeginLevel();
    Append(text);
    NewLine();
    --depth_;
    afterBlock_ = true;
}

void Writer::WriteReference(const Node& node) {
    if (node.isCharacterReference) {
        Append("&#x" + CharRefDigits(node.value[0]) + ";");
    } else {
        Append("&" + node.name + ";");
    }
}

void Writer::WriteChildren(const Node& node) {
    for (const Node& child : node.children) Write(child);
}

void Writer::Append(const std::string& text) {
    atLineStart_ = false;
    output_ += text;
}

void Writer::AppendIndent() {
    for (int level = 1; level < depth_; ++level) Append(indent_);
}

void Writer::NewLine() {
    if (verbatim_ || atLineStart_) return;
    Append("\n");
    atLineStart_ = true;
}

void Writer::BeginLevel() {
    ++depth_;
    if (verbatim_) return;
    if (!atLineStart_) Append("\n");
    atLineStart_ = false;
    AppendIndent();
    afterBlock_ = false;
}

void Writer::EndLevel() {
    if (verbatim_) return;
    if (afterBlock_) {
        NewLine();
        AppendIndent();
    }
    --depth_;
    afterBlock_ = true;
}

}  // namespace xml_model
