// The rules for a document and its elements, instantiated for both cursors.
// SPDX-License-Identifier: MIT
#include "xml/document_rules.h"

#include "xml/doctype.h"
#include "xml/markup_rules.h"
#include "xml/small_stack.h"
#include "xml/tree_builder.h"
#include "xml/xml_declaration.h"

namespace AdvXMLParser::detail {
namespace {

/// Reads one document. The nodes go with the builder unless the document is complete.
template <class Cursor>
class DocumentRules {
public:
    DocumentRules(const Byte* input, std::size_t size) noexcept
        : cursor_(input, size), builder_(AsChars(input), AsChars(input + size)) {}

    Document* Read() {
        Document* const document = builder_.Make<Document>();
        Declaration(*document);
        Miscellany(document);
        if (ReadDoctype(cursor_)) Miscellany(document);
        const std::size_t root = nodes_.size();
        Elements(document);
        document->root = static_cast<Element*>(nodes_.data()[root]);
        Miscellany(document);
        if (cursor_.Read() != 0) cursor_.Fail(kContentAfterRoot);
        builder_.SetEntries(document->children, nodes_.data(), nodes_.size());
        builder_.Finish();
        return document;
    }

private:
    /// An element whose end tag is still to come.
    struct OpenElement {
        Element* element;
        const char* name;
        std::size_t nameSize;
        /// Where its children begin among the nodes.
        std::size_t firstChild;
    };

    /// Gives an attribute the pieces of its value.
    struct ValueTarget {
        DocumentRules& rules;
        Attribute* attribute;

        void AddText(const Slice& text) { rules.AddText(attribute, text); }
        void AddReference(const ReferenceParts& parts) { rules.AddReference(attribute, parts); }
    };

    static const char* AsChars(const Byte* bytes) noexcept { return reinterpret_cast<const char*>(bytes); }

    void Declaration(Document& document) {
        XmlDeclaration declaration;
        if (!ReadXmlDeclaration(cursor_, declaration)) return;
        builder_.Set(document.version, declaration.version);
        if (declaration.encoding) builder_.Set(document.encoding, declaration.encoding);
        document.standalone = declaration.isStandalone;
    }

    void Miscellany(Document* document) {
        while (AddComment(document) || AddPi(document) || cursor_.SkipWhitespace()) {
        }
    }

    /// Reads the root element with everything in it. The cursor is a copy whose address goes nowhere, so that what it
    /// holds can stay in registers: this is where the time goes. Rules that are not part of the loop take a cursor and
    /// give one back.
    void Elements(Document* document) {
        Cursor cursor = cursor_;
        if (!cursor.Expect('<')) cursor.Fail(kNoRootElement);
        NodeContainer* parent = document;
        do {
            StartTag(cursor, parent);
            parent = ContentToStartTag(cursor);
        } while (parent);
        cursor_ = cursor;
    }

    /// The cursor is after the '<'. The element goes to the nodes, and to the open ones unless its tag is an
    /// empty-element tag.
    WPK_XML_INLINE void StartTag(Cursor& cursor, NodeContainer* parent) {
        const Slice name = cursor.Name();
        if (!name) cursor.Fail(kNoElementName);
        Element* const element = builder_.Make<Element>(parent, builder_.StoreName(name));
        nodes_.push_back(element);
        if (cursor.SkipPlainEmptyEnd() || (!cursor.SkipPlain('>') && !EndStartTag(cursor, element))) return;
        OpenElement& open = open_.Extend();
        open.element = element;
        open.name = name.data;
        open.nameSize = name.size;
        open.firstChild = nodes_.size();
    }

    /// Reads the rest of a start tag after its name; whether it is one that content follows.
    WPK_XML_INLINE bool EndStartTag(Cursor& cursor, Element* element) {
        if (cursor.SkipWhitespace()) Attributes(cursor, element);
        const Byte c = cursor.Read();
        if (c == '/') {
            if (!cursor.Expect('>')) cursor.Fail(kEmptyTagNotClosed);
            return false;
        }
        if (c != '>') cursor.Fail(kTagNotClosed);
        return true;
    }

    WPK_XML_INLINE void Attributes(Cursor& cursor, Element* element) {
        const std::size_t first = nodes_.size();
        while (AddAttribute(cursor, element) && cursor.SkipWhitespace()) {
        }
        TakeNodes(element->attributes, first);
    }

    WPK_XML_INLINE bool AddAttribute(Cursor& cursor, Element* element) {
        const Slice name = cursor.Name();
        if (!name) return false;
        Slice text;
        if (cursor.SkipPlainValue(text)) {
            Attribute* const attribute = builder_.Make<Attribute>(element, builder_.StoreName(name));
            nodes_.push_back(attribute);
            AddOnlyText(attribute, text);
        } else {
            cursor = AddPieces(cursor, element, name);
        }
        if (std::string_view(name) == "xml:space") SetPreserveSpace(element);
        return true;
    }

    /// The attribute whose name has been read gets its value piece by piece.
    Cursor AddPieces(Cursor cursor, Element* element, std::string_view name) {
        ReadEquals(cursor);
        Attribute* const attribute =
            builder_.Make<Attribute>(element, builder_.StoreName({name.data(), name.size(), false}));
        nodes_.push_back(attribute);
        const std::size_t first = nodes_.size();
        if (!ReadValue(cursor, ValueTarget{*this, attribute})) cursor.Fail(kValueNotQuoted);
        TakeNodes(attribute->children, first);
        return cursor;
    }

    /// By the attribute that has been read last.
    void SetPreserveSpace(Element* element) { element->preserveSpace = nodes_.back()->GetText() == "preserve"; }

    /// Reads what is inside the elements that are open. The result is the element in which the next one begins, with
    /// the cursor after its '<', or null when the last one has ended.
    WPK_XML_INLINE NodeContainer* ContentToStartTag(Cursor& cursor) {
        if (open_.empty()) return nullptr;
        Element* element = open_.back().element;
        for (;;) {
            Slice text;
            const Byte stop = ReadText(cursor, text);
            if (stop == '&') {
                AddText(element, text);
                cursor.Unread();
                AddReference(element, ReadReferenceInline(cursor));
                continue;
            }
            const Byte mark = cursor.Peek();
            if (mark == '/') {
                EndTag(cursor, text);
                if (open_.empty()) return nullptr;
                element = open_.back().element;
                continue;
            }
            AddText(element, text);
            if ((mark != '!' && mark != '?') || !AddMarkup(cursor, element)) return element;
        }
    }

    /// Reads character data and the '<' or '&' after it, which is the result.
    WPK_XML_INLINE Byte ReadText(Cursor& cursor, Slice& text) {
        const auto from = cursor.Position();
        // Often there is nothing between two tags.
        if (cursor.SkipPlain('<')) {
            text = cursor.Cut(from, 1);
            return '<';
        }
        for (;;) {
            const Byte stop = cursor.ReadPastText();
            if (stop == '<' || stop == '&') {
                text = cursor.Cut(from, 1);
                return stop;
            }
            if (stop != ']') cursor.Fail(stop == 0 ? kUnexpectedEnd : kBadCharacter);
            if (cursor.Match("]>")) cursor.Fail(kSectionEndInContent);
        }
    }

    /// The cursor is before the '/'; `text` is what the element has before its end tag.
    WPK_XML_INLINE void EndTag(Cursor& cursor, const Slice& text) {
        const OpenElement& open = open_.back();
        const Slice expected{open.name, open.nameSize, false};
        if (!cursor.SkipPlainEnd(expected)) cursor = ReadEndTag(cursor, expected);
        Element* const element = open.element;
        if (nodes_.size() == open.firstChild) {
            AddOnlyText(element, text);
        } else {
            AddText(element, text);
            TakeNodes(element->children, open.firstChild);
        }
        open_.pop_back();
    }

    static Cursor ReadEndTag(Cursor cursor, std::string_view expected) {
        cursor.Read();
        const Slice name = cursor.Name();
        if (!name) cursor.Fail(kNoElementName);
        if (std::string_view(name) != expected) cursor.Fail(kWrongEndTag);
        cursor.SkipWhitespace();
        if (!cursor.Expect('>')) cursor.Fail(kTagNotClosed);
        return cursor;
    }

    /// Reads a comment, a section or an instruction if the '<' before the cursor begins one.
    bool AddMarkup(Cursor& cursor, Element* element) {
        cursor_ = cursor;
        cursor_.Unread();
        const bool isAdded = AddComment(element) || AddCData(element) || AddPi(element);
        if (!isAdded) cursor_.Read();
        cursor = cursor_;
        return isAdded;
    }

    bool AddComment(NodeContainer* parent) {
        Slice text;
        if (!ReadComment(cursor_, text)) return false;
        nodes_.push_back(builder_.Make<Comment>(parent, builder_.StoreValue(text)));
        return true;
    }

    bool AddCData(NodeContainer* parent) {
        Slice text;
        if (!ReadCData(cursor_, text)) return false;
        nodes_.push_back(builder_.Make<CData>(parent, builder_.StoreValue(text)));
        return true;
    }

    bool AddPi(NodeContainer* parent) {
        Slice target;
        Slice data;
        if (!ReadPi(cursor_, target, data)) return false;
        const ArenaBytes name = builder_.StoreName(target);
        nodes_.push_back(builder_.Make<Pi>(parent, name, builder_.StoreValue(data)));
        return true;
    }

    WPK_XML_INLINE void AddText(NodeContainer* parent, const Slice& text) {
        nodes_.push_back(builder_.Make<Text>(parent, builder_.StoreValue(text)));
    }

    WPK_XML_INLINE void AddOnlyText(NodeContainer* parent, const Slice& text) {
        builder_.SetSingleEntry<Node>(parent->children, builder_.Make<Text>(parent, builder_.StoreValue(text)));
    }

    void AddReference(NodeContainer* parent, const ReferenceParts& parts) {
        if (parts.name) {
            nodes_.push_back(builder_.Make<EntityRef>(parent, builder_.StoreName(parts.name), parts.value));
        } else {
            nodes_.push_back(builder_.Make<CharRef>(parent, static_cast<signed char>(parts.value)));
        }
    }

    /// Moves the nodes from the given one on into a list.
    template <class T>
    void TakeNodes(NodeList<T>& list, std::size_t first) {
        builder_.SetEntries(list, nodes_.data() + first, nodes_.size() - first);
        nodes_.Shrink(first);
    }

    Cursor cursor_;
    TreeBuilder builder_;
    /// The elements that are open, the innermost last, and the nodes that are not in a list yet: for every open element
    /// its children so far.
    SmallStack<OpenElement, 32> open_;
    SmallStack<Node*, 128> nodes_;
};

}  // namespace

template <class Cursor>
Document* ReadDocument(const Byte* input, std::size_t size) {
    return DocumentRules<Cursor>(input, size).Read();
}

template Document* ReadDocument<FastCursor>(const Byte*, std::size_t);
template Document* ReadDocument<DiagnosingCursor>(const Byte*, std::size_t);

}  // namespace AdvXMLParser::detail
