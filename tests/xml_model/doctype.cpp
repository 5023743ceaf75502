// The model's parser: the document type declaration, checked and thrown away.
// SPDX-License-Identifier: MIT
#include <string_view>

#include "xml_model/parser.h"

namespace xml_model {
namespace {

bool SkipName(Cursor& cursor) {
    return !cursor.ReadName().empty();
}

void SkipSuffix(Cursor& cursor) {
    const Byte byte = cursor.Read();
    if (byte != '*' && byte != '+' && byte != '?') cursor.Unread();
}

bool IsPublicIdCharacter(Byte byte) {
    const bool isLetter = IsNameStart(byte) && byte != '_' && byte != ':';
    const bool isDigit = byte >= '0' && byte <= '9';
    constexpr std::string_view kOthers = " \r\n-'()+,./:=?;!*#@$_%";
    return isLetter || isDigit || kOthers.find(static_cast<char>(byte)) != std::string_view::npos;
}

bool ParseSystemLiteral(Cursor& cursor) {
    const Byte quote = cursor.ReadQuote();
    if (quote == 0) return false;
    for (;;) {
        const Byte byte = cursor.Read();
        if (byte == quote) return true;
        if (byte == 0) cursor.Fail(1);
        if (!IsAllowedInText(byte)) cursor.Fail(2);
    }
}

bool ParsePublicId(Cursor& cursor) {
    const Byte quote = cursor.ReadQuote();
    if (quote == 0) return false;
    for (;;) {
        const Byte byte = cursor.Read();
        if (byte == quote) return true;
        if (byte == 0) cursor.Fail(1);
        if (!IsPublicIdCharacter(byte)) cursor.Fail(28);
    }
}

bool ParseExternalId(Cursor& cursor) {
    if (cursor.Match("SYSTEM")) {
        if (!cursor.SkipWhitespace() || !ParseSystemLiteral(cursor)) cursor.Fail(41);
        return true;
    }
    if (cursor.Match("PUBLIC")) {
        if (!cursor.SkipWhitespace() || !ParsePublicId(cursor)) cursor.Fail(41);
        if (!cursor.SkipWhitespace() || !ParseSystemLiteral(cursor)) cursor.Fail(41);
        return true;
    }
    return false;
}

bool ParseParameterEntityReference(Cursor& cursor) {
    if (!cursor.Expect('%')) return false;
    if (!SkipName(cursor) || !cursor.Expect(';')) cursor.Fail(27);
    return true;
}

bool ParseMixedModel(Cursor& cursor) {
    const Place before = cursor.Save();
    if (!cursor.Expect('(')) return false;
    cursor.SkipWhitespace();
    if (!cursor.Match("#PCDATA")) {
        cursor.Restore(before);
        return false;
    }
    cursor.SkipWhitespace();
    if (cursor.Match(")*") || cursor.Expect(')')) return true;
    do {
        if (!cursor.Expect('|')) cursor.Fail(30);
        cursor.SkipWhitespace();
        SkipName(cursor);
        cursor.SkipWhitespace();
    } while (!cursor.Match(")*"));
    return true;
}

bool ParseGroup(Cursor& cursor);

bool ParseParticle(Cursor& cursor) {
    if (!SkipName(cursor) && !ParseGroup(cursor)) return false;
    SkipSuffix(cursor);
    return true;
}

bool ParseGroup(Cursor& cursor) {
    if (!cursor.Expect('(')) return false;
    cursor.SkipWhitespace();
    if (!ParseParticle(cursor)) return false;
    cursor.SkipWhitespace();
    const Byte separator = cursor.Read();
    if (separator == ')') return true;
    for (;;) {
        cursor.SkipWhitespace();
        if (!ParseParticle(cursor)) cursor.Fail(32);
        cursor.SkipWhitespace();
        const Byte byte = cursor.Read();
        if (byte == ')') return true;
        if (byte == 0) cursor.Fail(1);
        if (byte != separator) cursor.Fail(separator == '|' ? 30 : 31);
    }
}

bool ParseContentSpecification(Cursor& cursor) {
    if (cursor.Match("EMPTY") || cursor.Match("ANY") || ParseMixedModel(cursor)) return true;
    if (!ParseGroup(cursor)) return false;
    SkipSuffix(cursor);
    return true;
}

bool ParseElementDeclaration(Cursor& cursor) {
    if (!cursor.Match("<!ELEMENT")) return false;
    if (!cursor.SkipWhitespace() || !SkipName(cursor) || !cursor.SkipWhitespace()) cursor.Fail(29);
    if (!ParseContentSpecification(cursor)) cursor.Fail(29);
    cursor.SkipWhitespace();
    if (!cursor.Expect('>')) cursor.Fail(29);
    return true;
}

/// "(", then one or more `item` with "|" between them, then ")"; throws `fault` for a missing item or end.
template <class Item>
void ParseAlternatives(Cursor& cursor, Item item, uint32_t fault) {
    do {
        cursor.SkipWhitespace();
        if (!item(cursor)) cursor.Fail(fault);
        cursor.SkipWhitespace();
    } while (cursor.Expect('|'));
    if (!cursor.Expect(')')) cursor.Fail(fault);
}

bool ParseNotationType(Cursor& cursor) {
    if (!cursor.Match("NOTATION")) return false;
    if (!cursor.SkipWhitespace() || !cursor.Expect('(')) cursor.Fail(35);
    ParseAlternatives(cursor, SkipName, 35);
    return true;
}

bool ParseEnumeration(Cursor& cursor) {
    if (!cursor.Expect('(')) return false;
    ParseAlternatives(
        cursor, [](Cursor& at) { return at.SkipNameToken(); }, 36);
    return true;
}

bool ParseAttributeType(Cursor& cursor) {
    // A keyword stands before those that are its beginning: each matches as a prefix.
    for (std::string_view keyword : {"CDATA", "IDREFS", "IDREF", "ID", "ENTITIES", "ENTITY", "NMTOKENS", "NMTOKEN"}) {
        if (cursor.Match(keyword)) return true;
    }
    return ParseNotationType(cursor) || ParseEnumeration(cursor);
}

void ParseDefault(Cursor& cursor) {
    if (cursor.Match("#REQUIRED") || cursor.Match("#IMPLIED")) return;
    if (cursor.Match("#FIXED") && !cursor.SkipWhitespace()) cursor.Fail(37);
    Node scratch = MakeNode(kAttribute, "");
    if (!ParseAttributeValue(cursor, scratch)) cursor.Fail(34);
}

bool ParseAttributeDefinition(Cursor& cursor) {
    const Place before = cursor.Save();
    if (!cursor.SkipWhitespace() || !SkipName(cursor)) {
        cursor.Restore(before);
        return false;
    }
    if (!cursor.SkipWhitespace()) cursor.Fail(34);
    if (!ParseAttributeType(cursor)) cursor.Fail(34);
    if (!cursor.SkipWhitespace()) cursor.Fail(34);
    ParseDefault(cursor);
    return true;
}

bool ParseAttributeListDeclaration(Cursor& cursor) {
    if (!cursor.Match("<!ATTLIST")) return false;
    if (!cursor.SkipWhitespace() || !SkipName(cursor)) cursor.Fail(33);
    while (ParseAttributeDefinition(cursor)) {
    }
    cursor.SkipWhitespace();
    if (!cursor.Expect('>')) cursor.Fail(33);
    return true;
}

bool ParseEntityValue(Cursor& cursor) {
    const Byte quote = cursor.ReadQuote();
    if (quote == 0) return false;
    for (;;) {
        const Byte byte = cursor.Read();
        if (byte == quote) return true;
        if (byte == 0) cursor.Fail(1);
        if (byte == '%' || byte == '&') {
            cursor.Unread();
            if (byte == '%') {
                ParseParameterEntityReference(cursor);
            } else {
                ParseReference(cursor);
            }
        } else if (!IsAllowedInText(byte)) {
            cursor.Fail(2);
        }
    }
}

void ParseNotationData(Cursor& cursor) {
    const Place before = cursor.Save();
    if (!cursor.SkipWhitespace() || !cursor.Match("NDATA")) {
        cursor.Restore(before);
        return;
    }
    if (!cursor.SkipWhitespace() || !SkipName(cursor)) cursor.Fail(39);
}

void ParseParameterEntity(Cursor& cursor) {
    if (!cursor.SkipWhitespace() || !SkipName(cursor) || !cursor.SkipWhitespace()) cursor.Fail(38);
    if (!ParseEntityValue(cursor) && !ParseExternalId(cursor)) cursor.Fail(38);
}

void ParseGeneralEntity(Cursor& cursor) {
    if (!SkipName(cursor) || !cursor.SkipWhitespace()) cursor.Fail(38);
    if (ParseEntityValue(cursor)) return;
    if (!ParseExternalId(cursor)) cursor.Fail(38);
    ParseNotationData(cursor);
}

bool ParseEntityDeclaration(Cursor& cursor) {
    if (!cursor.Match("<!ENTITY")) return false;
    if (!cursor.SkipWhitespace()) cursor.Fail(38);
    if (cursor.Expect('%')) {
        ParseParameterEntity(cursor);
    } else {
        ParseGeneralEntity(cursor);
    }
    cursor.SkipWhitespace();
    if (!cursor.Expect('>')) cursor.Fail(38);
    return true;
}

bool ParseNotationDeclaration(Cursor& cursor) {
    if (!cursor.Match("<!NOTATION")) return false;
    if (!cursor.SkipWhitespace() || !SkipName(cursor) || !cursor.SkipWhitespace()) cursor.Fail(40);
    if (!ParseExternalId(cursor)) cursor.Fail(40);
    cursor.SkipWhitespace();
    if (!cursor.Expect('>')) cursor.Fail(40);
    return true;
}

bool ParseMarkupDeclaration(Cursor& cursor) {
    return ParseElementDeclaration(cursor) || ParseAttributeListDeclaration(cursor) || ParseEntityDeclaration(cursor) ||
           ParseNotationDeclaration(cursor);
}

void ParseInternalSubset(Cursor& cursor) {
    while (!cursor.Expect(']')) {
        if (cursor.SkipWhitespace() || ParseMarkupDeclaration(cursor) || ParseParameterEntityReference(cursor))
            continue;
        cursor.Fail(26);
    }
    cursor.SkipWhitespace();
}

}  // namespace

bool ParseDoctype(Cursor& cursor) {
    if (!cursor.Match("<!DOCTYPE")) return false;
    if (!cursor.SkipWhitespace() || !SkipName(cursor)) cursor.Fail(26);
    cursor.SkipWhitespace();
    if (ParseExternalId(cursor)) cursor.SkipWhitespace();
    if (cursor.Expect('[')) ParseInternalSubset(cursor);
    if (!cursor.Expect('>')) cursor.Fail(26);
    return true;
}

}  // namespace xml_model
