// The rules for the document type declaration, instantiated for both cursors.
// SPDX-License-Identifier: MIT
#include <string>

#include "xml/markup_rules.h"
#include "xml/prolog_rules.h"

namespace AdvXMLParser {
namespace {

/// Reads one document type declaration. A rule that returns bool says whether its construct was there; one that returns
/// nothing throws when it was not.
template <class Cursor>
class DoctypeRules {
public:
    explicit DoctypeRules(Cursor& cursor) noexcept : cursor_(cursor) {}

    bool Read() {
        if (!cursor_.Match("<!DOCTYPE")) return false;
        Require(SpaceAndName(), kBadDoctype);
        cursor_.SkipWhitespace();
        if (ExternalId()) cursor_.SkipWhitespace();
        if (cursor_.Expect('[')) InternalSubset();
        Require(cursor_.Expect('>'), kBadDoctype);
        return true;
    }

private:
    /// Takes the pieces of a value that nobody wants.
    struct Discard {
        void AddText(const Slice&) const noexcept {}
        void AddReference(const ReferenceParts&) const noexcept {}
    };

    /// A group whose first particle is not behind it yet has no separator.
    static constexpr unsigned kNoSeparator = 0x100;

    void Require(bool isThere, ParsingError code) {
        if (!isThere) cursor_.Fail(code);
    }

    bool Space() { return cursor_.SkipWhitespace(); }
    bool Name() { return static_cast<bool>(cursor_.Name()); }
    bool SpaceAndName() { return Space() && Name(); }
    /// Optional white space and the '>' that ends a declaration.
    void End(ParsingError code) {
        cursor_.SkipWhitespace();
        Require(cursor_.Expect('>'), code);
    }

    void InternalSubset() {
        while (!cursor_.Expect(']')) {
            if (Space() || MarkupDeclaration() || ParameterReference()) continue;
            cursor_.Fail(kBadDoctype);
        }
        cursor_.SkipWhitespace();
    }

    bool MarkupDeclaration() { return Element() || AttributeList() || Entity() || Notation(); }

    bool ParameterReference() {
        if (!cursor_.Expect('%')) return false;
        NameOfParameter();
        return true;
    }
    void NameOfParameter() { Require(Name() && cursor_.Expect(';'), kBadParameterReference); }

    // Identifiers and literals.

    bool ExternalId() {
        if (cursor_.Match("SYSTEM")) {
            Require(Space() && SystemLiteral(), kBadExternalId);
            return true;
        }
        if (!cursor_.Match("PUBLIC")) return false;
        Require(Space() && PublicLiteral() && Space() && SystemLiteral(), kBadExternalId);
        return true;
    }

    /// The next character of a literal; false at its end.
    bool NextOfLiteral(char quote, Byte& c) {
        c = cursor_.Read();
        Require(c != 0, kUnexpectedEnd);
        return c != static_cast<Byte>(quote);
    }

    bool SystemLiteral() {
        const char quote = ReadQuote(cursor_);
        if (quote == '\0') return false;
        for (Byte c = 0; NextOfLiteral(quote, c);) Require(Is(c, kAllowed), kBadCharacter);
        return true;
    }

    bool PublicLiteral() {
        const char quote = ReadQuote(cursor_);
        if (quote == '\0') return false;
        for (Byte c = 0; NextOfLiteral(quote, c);) Require(Is(c, kPublicId), kBadPublicId);
        return true;
    }

    bool EntityValue() {
        const char quote = ReadQuote(cursor_);
        if (quote == '\0') return false;
        for (Byte c = 0; NextOfLiteral(quote, c);) {
            if (c == '%') {
                NameOfParameter();
            } else if (c == '&') {
                cursor_.Unread();
                ReadReference(cursor_);
            } else {
                Require(Is(c, kAllowed), kBadCharacter);
            }
        }
        return true;
    }

    // Element declarations.

    bool Element() {
        if (!cursor_.Match("<!ELEMENT")) return false;
        Require(SpaceAndName() && Space() && ContentSpecification(), kBadElementDeclaration);
        End(kBadElementDeclaration);
        return true;
    }

    bool ContentSpecification() {
        if (cursor_.Match("EMPTY") || cursor_.Match("ANY") || Mixed()) return true;
        if (!Group()) return false;
        Suffix();
        return true;
    }

    void Suffix() {
        const Byte c = cursor_.Read();
        if (c != '*' && c != '+' && c != '?') cursor_.Unread();
    }

    bool Mixed() {
        const auto before = cursor_.Position();
        if (!cursor_.Expect('(')) return false;
        cursor_.SkipWhitespace();
        if (!cursor_.Match("#PCDATA")) {
            cursor_.Restore(before);
            return false;
        }
        cursor_.SkipWhitespace();
        if (cursor_.Match(")*") || cursor_.Expect(')')) return true;
        do {
            Require(cursor_.Expect('|'), kBadContentModel);
            cursor_.SkipWhitespace();
            Name();
            cursor_.SkipWhitespace();
        } while (!cursor_.Match(")*"));
        return true;
    }

    /// A group of particles, each a name or another group. The groups that are open are kept in a list of their
    /// separators: they may be nested to any depth.
    bool Group() {
        if (!cursor_.Expect('(')) return false;
        std::u16string separators(1, kNoSeparator);
        while (!separators.empty()) {
            cursor_.SkipWhitespace();
            if (!Name()) {
                if (cursor_.Expect('(')) {
                    separators.push_back(kNoSeparator);
                    continue;
                }
                // A group without a first particle is none, so that its own outer group lacks one as well.
                while (!separators.empty() && separators.back() == kNoSeparator) separators.pop_back();
                Require(separators.empty(), kNoContentParticle);
                return false;
            }
            Suffix();
            while (!separators.empty() && EndsGroup(separators.back())) {
                separators.pop_back();
                if (!separators.empty()) Suffix();
            }
        }
        return true;
    }

    /// Reads what follows a particle. The first separator of a group may be anything; the others have to be the same.
    bool EndsGroup(char16_t& separator) {
        cursor_.SkipWhitespace();
        const Byte c = cursor_.Read();
        if (c == ')') return true;
        if (separator == kNoSeparator) {
            separator = c;
            return false;
        }
        Require(c != 0, kUnexpectedEnd);
        Require(c == separator, separator == '|' ? kBadContentModel : kBadSequence);
        return false;
    }

    // Attribute-list declarations.

    bool AttributeList() {
        if (!cursor_.Match("<!ATTLIST")) return false;
        Require(SpaceAndName(), kBadAttributeList);
        while (AttributeDefinition()) {
        }
        End(kBadAttributeList);
        return true;
    }

    bool AttributeDefinition() {
        const auto before = cursor_.Position();
        if (!SpaceAndName()) {
            cursor_.Restore(before);
            return false;
        }
        Require(Space() && AttributeType() && Space(), kBadAttributeDefinition);
        if (!cursor_.Match("#REQUIRED") && !cursor_.Match("#IMPLIED")) DefaultValue();
        return true;
    }

    bool AttributeType() {
        // The longer ones before those that they begin with.
        return cursor_.Match("CDATA") || cursor_.Match("IDREFS") || cursor_.Match("IDREF") || cursor_.Match("ID") ||
               cursor_.Match("ENTITIES") || cursor_.Match("ENTITY") || cursor_.Match("NMTOKENS") ||
               cursor_.Match("NMTOKEN") || NotationType() || Enumeration();
    }

    bool NotationType() {
        if (!cursor_.Match("NOTATION")) return false;
        Require(Space() && cursor_.Expect('('), kBadNotationType);
        do {
            cursor_.SkipWhitespace();
            Require(Name(), kBadNotationType);
            cursor_.SkipWhitespace();
        } while (cursor_.Expect('|'));
        Require(cursor_.Expect(')'), kBadNotationType);
        return true;
    }

    bool Enumeration() {
        if (!cursor_.Expect('(')) return false;
        do {
            cursor_.SkipWhitespace();
            Require(static_cast<bool>(cursor_.NameToken()), kBadEnumeration);
            cursor_.SkipWhitespace();
        } while (cursor_.Expect('|'));
        Require(cursor_.Expect(')'), kBadEnumeration);
        return true;
    }

    void DefaultValue() {
        if (cursor_.Match("#FIXED")) Require(Space(), kBadFixedDefault);
        Require(ReadValue(cursor_, Discard{}), kBadAttributeDefinition);
    }

    // Entity and notation declarations.

    bool Entity() {
        if (!cursor_.Match("<!ENTITY")) return false;
        Require(Space(), kBadEntityDeclaration);
        if (cursor_.Expect('%')) {
            Require(SpaceAndName() && Space() && (EntityValue() || ExternalId()), kBadEntityDeclaration);
        } else {
            Require(Name() && Space(), kBadEntityDeclaration);
            if (!EntityValue()) ExternalEntity();
        }
        End(kBadEntityDeclaration);
        return true;
    }

    void ExternalEntity() {
        Require(ExternalId(), kBadEntityDeclaration);
        const auto before = cursor_.Position();
        if (Space() && cursor_.Match("NDATA")) {
            Require(SpaceAndName(), kBadUnparsedEntity);
        } else {
            cursor_.Restore(before);
        }
    }

    bool Notation() {
        if (!cursor_.Match("<!NOTATION")) return false;
        // A public identifier alone is refused, with 41: the external identifier wants the system literal as well.
        Require(SpaceAndName() && Space() && ExternalId(), kBadNotationDeclaration);
        End(kBadNotationDeclaration);
        return true;
    }

    Cursor& cursor_;
};

}  // namespace

template <class Cursor>
bool ReadDoctype(Cursor& cursor) {
    return DoctypeRules<Cursor>(cursor).Read();
}

template bool ReadDoctype(FastCursor&);
template bool ReadDoctype(ExactCursor&);

}  // namespace AdvXMLParser
