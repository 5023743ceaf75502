// The model's parser: the document, elements, attributes and their content.
// SPDX-License-Identifier: MIT
#include "xml_model/parser.h"

#include <utility>

namespace xml_model {
namespace {

bool IsVersionCharacter(Byte byte) {
    return byte < 0x80 && IsNameCharacter(byte);
}

bool IsEncodingStart(Byte byte) {
    return IsNameStart(byte) && byte != '_' && byte != ':';
}

bool IsEncodingCharacter(Byte byte) {
    return IsVersionCharacter(byte) && byte != ':';
}

/// A run of one `first` character and any number of `next` ones; empty when there is none.
std::string ReadRun(Cursor& cursor, bool (*first)(Byte), bool (*next)(Byte)) {
    const size_t start = cursor.Position();
    if (!first(cursor.Read())) {
        cursor.Unread();
        return {};
    }
    while (next(cursor.Read())) {
    }
    cursor.Unread();
    return cursor.Cut(start);
}

void ParseVersion(Cursor& cursor, Document& document) {
    if (!cursor.MatchKeywordWithEquals("version")) cursor.Fail(17);
    const Byte quote = cursor.ReadQuote();
    if (quote == 0) cursor.Fail(17);
    document.version = ReadRun(cursor, IsVersionCharacter, IsVersionCharacter);
    if (document.version.empty() || !cursor.Expect(static_cast<char>(quote))) cursor.Fail(17);
}

void ParseEncoding(Cursor& cursor, Document& document) {
    if (!cursor.MatchKeywordWithEquals("encoding")) return;
    const Byte quote = cursor.ReadQuote();
    if (quote == 0) cursor.Fail(19);
    document.encoding = ReadRun(cursor, IsEncodingStart, IsEncodingCharacter);
    if (document.encoding.empty() || !cursor.Expect(static_cast<char>(quote))) cursor.Fail(20);
}

void ParseStandalone(Cursor& cursor, Document& document) {
    if (!cursor.MatchKeywordWithEquals("standalone")) return;
    const Byte quote = cursor.ReadQuote();
    if (quote == 0) cursor.Fail(21);
    document.standalone = cursor.Match("yes");
    if (!document.standalone && !cursor.Match("no")) cursor.Fail(22);
    if (!cursor.Expect(static_cast<char>(quote))) cursor.Fail(22);
}

void ParseXmlDeclaration(Cursor& cursor, Document& document) {
    if (!cursor.Match("<?xml")) return;
    ParseVersion(cursor, document);
    ParseEncoding(cursor, document);
    ParseStandalone(cursor, document);
    cursor.SkipWhitespace();
    if (!cursor.Match("?>")) cursor.Fail(18);
}

void ParseMiscellany(Cursor& cursor, Document& document) {
    for (;;) {
        std::optional<Node> node = ParseComment(cursor);
        if (!node) node = ParsePi(cursor);
        if (node) {
            document.node.children.push_back(std::move(*node));
        } else if (!cursor.SkipWhitespace()) {
            return;
        }
    }
}

std::optional<Node> ParseAttribute(Cursor& cursor) {
    const std::string name = cursor.ReadName();
    if (name.empty()) return std::nullopt;
    if (!cursor.MatchEquals()) cursor.Fail(3);
    Node attribute = MakeNode(kAttribute, name);
    if (!ParseAttributeValue(cursor, attribute)) cursor.Fail(4);
    return attribute;
}

void ParseAttributes(Cursor& cursor, Node& element) {
    while (cursor.SkipWhitespace()) {
        std::optional<Node> attribute = ParseAttribute(cursor);
        if (!attribute) return;
        if (attribute->name == "xml:space") element.preserveSpace = GetText(*attribute) == "preserve";
        element.attributes.push_back(std::move(*attribute));
    }
}

struct StartTag {
    Node element;
    bool isEmpty;
};

std::optional<StartTag> ParseStartTag(Cursor& cursor) {
    if (!cursor.Expect('<')) return std::nullopt;
    const std::string name = cursor.ReadName();
    if (name.empty()) cursor.Fail(10);
    Node element = MakeNode(kElement, name);
    ParseAttributes(cursor, element);
    switch (cursor.Read()) {
        case '>':
            return StartTag{std::move(element), false};
        case '/':
            if (!cursor.Expect('>')) cursor.Fail(11);
            return StartTag{std::move(element), true};
        default:
            cursor.Fail(12);
    }
}

void ParseContent(Cursor& cursor, Node& element);

std::optional<Node> ParseElement(Cursor& cursor) {
    std::optional<StartTag> tag = ParseStartTag(cursor);
    if (!tag) return std::nullopt;
    if (!tag->isEmpty) ParseContent(cursor, tag->element);
    return std::move(tag->element);
}

bool ParseEndTag(Cursor& cursor, const Node& element) {
    if (!cursor.Match("</")) return false;
    const std::string name = cursor.ReadName();
    if (name.empty()) cursor.Fail(10);
    if (name != element.name) cursor.Fail(13);
    cursor.SkipWhitespace();
    if (!cursor.Expect('>')) cursor.Fail(12);
    return true;
}

/// One markup item; true when it was the end tag of `element`.
bool ParseMarkup(Cursor& cursor, Node& element) {
    if (ParseEndTag(cursor, element)) return true;
    std::optional<Node> node = ParseComment(cursor);
    if (!node) node = ParseCData(cursor);
    if (!node) node = ParsePi(cursor);
    if (!node) node = ParseElement(cursor);
    if (!node) cursor.Fail(14);
    element.children.push_back(std::move(*node));
    return false;
}

void ParseContent(Cursor& cursor, Node& element) {
    size_t mark = cursor.Position();
    for (;;) {
        const Byte byte = cursor.Read();
        if (byte == 0) cursor.Fail(1);
        if (byte == '&' || byte == '<') {
            cursor.Unread();
            element.children.push_back(MakeNode(kText, "#text", cursor.Cut(mark)));
            if (byte == '&') {
                element.children.push_back(*ParseReference(cursor));
            } else if (ParseMarkup(cursor, element)) {
                return;
            }
            mark = cursor.Position();
        } else if (byte == ']') {
            if (cursor.Match("]>")) cursor.Fail(15);
        } else if (!IsAllowedInText(byte)) {
            cursor.Fail(2);
        }
    }
}

Document ParseDocument(Cursor& cursor) {
    Document document;
    ParseXmlDeclaration(cursor, document);
    ParseMiscellany(cursor, document);
    if (ParseDoctype(cursor)) ParseMiscellany(cursor, document);
    std::optional<Node> root = ParseElement(cursor);
    if (!root) cursor.Fail(16);
    document.root = document.node.children.size();
    document.node.children.push_back(std::move(*root));
    ParseMiscellany(cursor, document);
    if (cursor.Read() != 0) cursor.Fail(43);
    return document;
}

}  // namespace

Node MakeNode(Type type, std::string name, std::string value) {
    return Node{type, std::move(name), std::move(value), false, false, {}, {}};
}

bool ParseAttributeValue(Cursor& cursor, Node& attribute) {
    const Byte quote = cursor.ReadQuote();
    if (quote == 0) return false;
    size_t mark = cursor.Position();
    for (;;) {
        const Byte byte = cursor.Read();
        if (byte == quote) {
            attribute.children.push_back(MakeNode(kText, "#text", cursor.Cut(mark, 1)));
            return true;
        }
        if (byte == 0) cursor.Fail(1);
        if (byte == '&') {
            cursor.Unread();
            attribute.children.push_back(MakeNode(kText, "#text", cursor.Cut(mark)));
            attribute.children.push_back(*ParseReference(cursor));
            mark = cursor.Position();
            continue;
        }
        if (byte == '<') cursor.Fail(5);
        if (!IsAllowedInText(byte)) cursor.Fail(2);
    }
}

Document Parse(std::string_view input) {
    Cursor cursor(input);
    return ParseDocument(cursor);
}

bool IsRefusedForGood(std::string_view input) {
    Cursor cursor(input);
    try {
        ParseDocument(cursor);
        return false;
    } catch (const Fault&) {
        return !cursor.HasTouchedEnd();
    }
}

}  // namespace xml_model
