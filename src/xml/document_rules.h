// The rules for a document and its elements.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_DOCUMENT_RULES_H
#define WPK_XML_DOCUMENT_RULES_H

#include "xml/markup_rules.h"
#include "xml/prolog_rules.h"
#include "xml/small_stack.h"
#include "xml/tree_builder.h"

namespace AdvXMLParser {

/// Reads one document and builds its tree. When it throws, all of the tree goes with it.
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
        document->root = Root(document);
        Miscellany(document);
        if (cursor_.Read() != 0) cursor_.Fail(43);
        builder_.Fill(document->children, nodes_.data(), nodes_.size());
        builder_.Finish();
        return document;
    }

private:
    /// An element whose end tag is still to come.
    struct OpenElement {
        Element* element;
        Slice name;
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

    Element* Root(Document* document) {
        if (!StartTag(document)) cursor_.Fail(16);
        Element* const root = static_cast<Element*>(nodes_.data()[nodes_.size() - 1]);
        Content();
        return root;
    }

    /// Reads what is inside of the elements that are open, until none is.
    void Content() {
        auto from = cursor_.Position();
        while (!open_.empty()) {
            const Byte stop = cursor_.ReadPastText();
            if (stop == ']') {
                if (cursor_.Match("]>")) cursor_.Fail(15);
                continue;
            }
            if (stop != '<' && stop != '&') cursor_.Fail(stop == 0 ? 1 : 2);
            AddText(open_.back().element, cursor_.Cut(from, 1));
            cursor_.Unread();
            if (stop == '<') {
                Markup();
            } else {
                AddReference(open_.back().element, ReadReference(cursor_));
            }
            from = cursor_.Position();
        }
    }

    void Markup() {
        Element* const element = open_.back().element;
        switch (cursor_.Peek(1)) {
            case '/':
                return EndTag();
            case '!':
                if (AddComment(element) || AddCData(element)) return;
                break;
            case '?':
                if (AddPi(element)) return;
                break;
            default:
                break;
        }
        StartTag(element);
    }

    /// The element goes to the nodes, and to the open ones unless its tag is an empty-element tag.
    bool StartTag(NodeContainer* parent) {
        if (!cursor_.Expect('<')) return false;
        const Slice name = cursor_.Name();
        if (!name) cursor_.Fail(10);
        Element* const element = builder_.Make<Element>(parent, builder_.Keep(name));
        nodes_.push_back(element);
        if (cursor_.SkipWhitespace()) Attributes(element);
        const Byte c = cursor_.Read();
        if (c == '/') {
            if (!cursor_.Expect('>')) cursor_.Fail(11);
            return true;
        }
        if (c != '>') cursor_.Fail(12);
        open_.push_back({element, name, nodes_.size()});
        return true;
    }

    void EndTag() {
        cursor_.Match("</");
        const OpenElement& open = open_.back();
        if (!cursor_.SkipName(open.name)) {
            const Slice name = cursor_.Name();
            if (!name) cursor_.Fail(10);
            if (std::string_view(name) != std::string_view(open.name)) cursor_.Fail(13);
        }
        cursor_.SkipWhitespace();
        if (!cursor_.Expect('>')) cursor_.Fail(12);
        TakeNodes(open.element->children, open.firstChild);
        open_.pop_back();
    }

    void Attributes(Element* element) {
        const std::size_t first = nodes_.size();
        while (AddAttribute(element) && cursor_.SkipWhitespace()) {
        }
        TakeNodes(element->attributes, first);
    }

    bool AddAttribute(Element* element) {
        const Slice name = cursor_.Name();
        if (!name) return false;
        ReadEquals(cursor_);
        Attribute* const attribute = builder_.Make<Attribute>(element, builder_.Keep(name));
        nodes_.push_back(attribute);
        const std::size_t first = nodes_.size();
        if (!ReadValue(cursor_, ValueTarget{*this, attribute})) cursor_.Fail(4);
        TakeNodes(attribute->children, first);
        if (std::string_view(name) == "xml:space") element->preserveSpace = attribute->GetText() == "preserve";
        return true;
    }

    bool AddComment(NodeContainer* parent) {
        Slice text;
        if (!ReadComment(cursor_, text)) return false;
        nodes_.push_back(builder_.Make<Comment>(parent, builder_.Keep(text)));
        return true;
    }

    bool AddCData(NodeContainer* parent) {
        Slice text;
        if (!ReadCData(cursor_, text)) return false;
        nodes_.push_back(builder_.Make<CData>(parent, builder_.Keep(text)));
        return true;
    }

    bool AddPi(NodeContainer* parent) {
        Slice target;
        Slice data;
        if (!ReadPi(cursor_, target, data)) return false;
        const PooledBytes name = builder_.Keep(target);
        nodes_.push_back(builder_.Make<Pi>(parent, name, builder_.Keep(data)));
        return true;
    }

    void AddText(NodeContainer* parent, const Slice& text) {
        nodes_.push_back(builder_.Make<Text>(parent, builder_.Keep(text)));
    }

    void AddReference(NodeContainer* parent, const ReferenceParts& parts) {
        if (parts.name) {
            nodes_.push_back(builder_.Make<EntityRef>(parent, builder_.Keep(parts.name), parts.value));
        } else {
            nodes_.push_back(builder_.Make<CharRef>(parent, static_cast<signed char>(parts.value)));
        }
    }

    /// Moves the nodes from the given one on into a list.
    template <class T>
    void TakeNodes(NodeList<T>& list, std::size_t first) {
        builder_.Fill(list, nodes_.data() + first, nodes_.size() - first);
        nodes_.Shrink(first);
    }

    Cursor cursor_;
    TreeBuilder builder_;
    /// The elements that are open, the innermost last, and the nodes that are not in a list yet: for every open element
    /// its children so far.
    SmallStack<OpenElement, 32> open_;
    SmallStack<Node*, 128> nodes_;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_DOCUMENT_RULES_H
