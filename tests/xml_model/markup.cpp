// The model's parser: references, CDATA sections, comments and processing instructions.
// SPDX-License-Identifier: MIT
#include <cstdint>

#include "xml_model/parser.h"

namespace xml_model {
namespace {

int DigitValue(Byte byte) {
    if (byte >= '0' && byte <= '9') return byte - '0';
    if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
    if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
    return 16;
}

/// The value of a run of digits, modulo 2^32; throws `missing` when there is not a single one.
uint32_t ReadNumber(Cursor& cursor, uint32_t base, uint32_t missing) {
    uint32_t value = 0;
    bool any = false;
    for (;;) {
        const auto digit = static_cast<uint32_t>(DigitValue(cursor.Read()));
        if (digit >= base) break;
        value = value * base + digit;
        any = true;
    }
    cursor.Unread();
    if (!any) cursor.Fail(missing);
    return value;
}

Node ParseCharacterReference(Cursor& cursor) {
    uint32_t value = 0;
    if (cursor.Read() == 'x') {
        value = ReadNumber(cursor, 16, 7);
    } else {
        cursor.Unread();
        value = ReadNumber(cursor, 10, 8);
    }
    if (!cursor.Expect(';')) cursor.Fail(6);
    // One byte is all that a reference can stand for: the rest of the value is dropped before the test.
    const Byte byte = static_cast<Byte>(value & 0xFF);
    if (!IsAllowedInText(byte)) cursor.Fail(2);
    Node node = MakeNode(kReference, "", std::string(1, static_cast<char>(byte)));
    node.isCharacterReference = true;
    return node;
}

std::string PredefinedEntity(const std::string& name) {
    if (name == "lt") return "<";
    if (name == "gt") return ">";
    if (name == "amp") return "&";
    if (name == "apos") return "'";
    if (name == "quot") return "\"";
    return {};
}

bool IsXmlInAnyCase(const std::string& name) {
    return name.size() == 3 && (name[0] == 'x' || name[0] == 'X') && (name[1] == 'm' || name[1] == 'M') &&
           (name[2] == 'l' || name[2] == 'L');
}

void ReadAllowed(Cursor& cursor) {
    if (!IsAllowedInText(cursor.Read())) cursor.Fail(2);
}

}  // namespace

std::optional<Node> ParseReference(Cursor& cursor) {
    if (!cursor.Expect('&')) return std::nullopt;
    cursor.Unread();
    if (cursor.Match("&#")) return ParseCharacterReference(cursor);
    cursor.Expect('&');
    const std::string name = cursor.ReadName();
    if (name.empty() || !cursor.Expect(';')) cursor.Fail(6);
    const std::string character = PredefinedEntity(name);
    if (character.empty()) cursor.Fail(9);
    return MakeNode(kReference, name, character);
}

std::optional<Node> ParseCData(Cursor& cursor) {
    if (!cursor.Match("<![CDATA[")) return std::nullopt;
    const size_t start = cursor.Position();
    while (!cursor.Match("]]>")) ReadAllowed(cursor);
    return MakeNode(kCData, "#cdata-section", cursor.Cut(start, 3));
}

std::optional<Node> ParseComment(Cursor& cursor) {
    if (!cursor.Match("<!--")) return std::nullopt;
    const size_t start = cursor.Position();
    while (!cursor.Match("--")) ReadAllowed(cursor);
    if (!cursor.Expect('>')) cursor.Fail(23);
    return MakeNode(kComment, "#comment", cursor.Cut(start, 3));
}

std::optional<Node> ParsePi(Cursor& cursor) {
    if (!cursor.Match("<?")) return std::nullopt;
    const std::string target = cursor.ReadName();
    if (target.empty()) cursor.Fail(24);
    if (IsXmlInAnyCase(target)) cursor.Fail(25);
    cursor.SkipWhitespace();
    const size_t start = cursor.Position();
    while (!cursor.Match("?>")) ReadAllowed(cursor);
    return MakeNode(kPi, target, cursor.Cut(start, 2));
}

}  // namespace xml_model
