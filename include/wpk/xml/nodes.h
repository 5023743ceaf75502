/// @file
/// The kinds of nodes that a document tree is made of.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_NODES_H
#define WPK_XML_NODES_H

#include <string>
#include <string_view>

#include <wpk/xml/node.h>

namespace AdvXMLParser {

/// An element: a tag with attributes and content. Its `name` is the tag name.
///
///     Element* const item = new Element(order.root, "item");
///     order.root->AppendChild(item);
///     item->AppendText("screws");
class Element : public NodeContainer {
public:
    /// An element without attributes and children. Its `parent` is the given container (null: the null element), which
    /// does not own it until AppendChild.
    Element(NodeContainer* parentNode, std::string_view tagName) : NodeContainer(Kind::kElement, parentNode, tagName) {}
    /// Deletes the attributes, then the children, both in order.
    ~Element() override;

    /// Always empty: the content of an element is in its children.
    std::string GetNodeValue() const override;
    /// The text of all children in order, with each run of white space made one space and none at the ends; as it is if
    /// `preserveSpace` is set. The text of an inner element that preserves space is collapsed with the rest if this one
    /// does not.
    std::string GetText() const override;
    /// True for ELEMENT_NODE.
    bool IsType(int code) const override;
    /// An element with the same name and clones of the children, but without attributes, and with `preserveSpace`
    /// false. wpk::xml::Copy copies those too.
    Element* Clone(NodeContainer* newParent) const override;
    /// Begins a new line, indented by the level, and writes `<name attribute="value">`, the children and `</name>`;
    /// without children `<name/>`. The end tag gets its own line if any child is a block: an element, comment,
    /// processing instruction or CDATA section. With WRITE_VERBATIM there are no new lines and no indentation. An
    /// element written by itself therefore begins with a line feed.
    void Write(WriteContext& context) const override;

    /// The attributes in document order. Owned. The list does not prevent two attributes with the same name.
    NodeList<Attribute> attributes;
    /// Whether GetText leaves white space unchanged. The parser sets it for xml:space="preserve". Not written by Write.
    bool preserveSpace = false;

protected:
    /// Not for applications: for the parser.
    inline Element(const detail::ArenaLocation& location, NodeContainer* parentNode,
                   const detail::ArenaBytes& tagName) noexcept;
};

/// An attribute of an element. Its `name` is the attribute's name, its children are the pieces of its value: Text,
/// EntityRef and CharRef nodes.
///
///     Attribute* const id = new Attribute(item, "id");
///     id->AppendText("4711");
///     item->attributes.push_back(id);
class Attribute : public NodeContainer {
public:
    /// An attribute with an empty value. `parent` as with Element; it is owned by the element to whose `attributes` it
    /// is added.
    Attribute(NodeContainer* parentNode, std::string_view attributeName)
        : NodeContainer(Kind::kAttribute, parentNode, attributeName) {}
    /// Deletes the pieces of the value.
    ~Attribute() override;

    /// The same as GetText.
    std::string GetNodeValue() const override;
    /// The text of all pieces in order, with white space removed from both ends. White space inside is left as it is.
    std::string GetText() const override;
    /// True for ATTRIBUTE_NODE.
    bool IsType(int code) const override;
    /// An attribute with the same name and clones of the pieces.
    Attribute* Clone(NodeContainer* newParent) const override;
    /// Writes `name="value"`, always in double quotes, on the current line. Text is written as Text::Write does, so a
    /// double quote in the value becomes the word quot.
    void Write(WriteContext& context) const override;

protected:
    /// Not for applications: for the parser.
    inline Attribute(const detail::ArenaLocation& location, NodeContainer* parentNode,
                     const detail::ArenaBytes& attributeName) noexcept;
};

/// A whole document: the XML declaration, the root element, and the comments and processing instructions around it. Its
/// `name` is "#document".
///
///     Document order("order");                 // <order/>
///     order.root->GetOrCreateElement("id")->AppendText("4711");
class Document : public NodeContainer {
public:
    /// A document without nodes, with version "1.0", encoding "UTF-8" and no root.
    Document();
    /// The same with an empty root element of that name: how a new message begins.
    explicit Document(std::string_view rootName);
    /// Deletes all nodes, the root among them.
    ~Document() override;

    /// Always empty.
    std::string GetNodeValue() const override;
    /// The text of all children in order, the comments and instructions around the root included, with each run of
    /// white space made one space and none at the ends.
    std::string GetText() const override;
    /// True for DOCUMENT_NODE.
    bool IsType(int code) const override;
    /// A new document with clones of the children. `version`, `encoding` and `standalone` are those of a new document,
    /// and `root` is null although a clone of the root element is among the children. wpk::xml::Copy copies these too.
    Document* Clone(NodeContainer* newParent) const override;
    /// Writes `<?xml version="1.0" encoding="UTF-8"?>` with the fields below, a line feed, then the children. There is
    /// no line feed after the root element.
    void Write(WriteContext& context) const override;

    /// The XML declaration; the library does not act on any of it. Version and encoding are written unchecked,
    /// `standalone` is never written.
    ///@{
    ByteString version;
    ByteString encoding;
    bool standalone = true;
    ///@}
    /// The root element, which is also one of `children`; null until there is one. Not owned. Set it when you append a
    /// root element yourself.
    Element* root = nullptr;
    /// The document itself: the parser's container for nodes outside the root element.
    Document& self;

protected:
    /// Not for applications: for the parser.
    inline explicit Document(const detail::ArenaLocation& location) noexcept;
};

/// A run of character data between two pieces of markup. May be empty. Its `name` is "#text".
class Text : public Node {
public:
    /// Copies the characters, any bytes. `parent` as with Element.
    Text(NodeContainer* parentNode, std::string_view characters);

    /// The characters, unchanged.
    std::string GetNodeValue() const override;
    /// The characters, unchanged: white space is collapsed only by the containers.
    std::string GetText() const override;
    /// True for TEXT_NODE.
    bool IsType(int code) const override;
    /// A text with the same characters.
    Text* Clone(NodeContainer* newParent) const override;
    /// Writes the characters on the current line, each run of white space as one space (WRITE_VERBATIM: as it is). The
    /// five characters < > & ' " become the words lt, gt, amp, apos and quot, without ampersand and semicolon; all
    /// other bytes are written unchanged. Use EntityRef, CData or wpk::xml::SetText where they must arrive.
    void Write(WriteContext& context) const override;

    /// The characters, without escaping.
    ByteString text;

protected:
    /// Not for applications: for the parser.
    inline Text(const detail::ArenaLocation& location, NodeContainer* parentNode,
                const detail::ArenaBytes& characters) noexcept;
};

/// A CDATA section: characters that are written without escaping. Its `name` is "#cdata-section".
class CData : public Node {
public:
    /// Copies the characters, any bytes. `parent` as with Element.
    CData(NodeContainer* parentNode, std::string_view characters);

    /// The characters, unchanged.
    std::string GetNodeValue() const override;
    /// The characters, unchanged.
    std::string GetText() const override;
    /// True for CDATA_NODE.
    bool IsType(int code) const override;
    /// A section with the same characters.
    CData* Clone(NodeContainer* newParent) const override;
    /// Writes `<![CDATA[...]]>` on its own line, with the characters unchanged. A "]]>" among them ends the section
    /// early for every reader.
    void Write(WriteContext& context) const override;

    /// The characters between "<![CDATA[" and "]]>".
    ByteString text;

protected:
    /// Not for applications: for the parser.
    inline CData(const detail::ArenaLocation& location, NodeContainer* parentNode,
                 const detail::ArenaBytes& characters) noexcept;
};

/// A comment. Its `name` is "#comment".
class Comment : public Node {
public:
    /// Copies the characters, any bytes. `parent` as with Element.
    Comment(NodeContainer* parentNode, std::string_view characters);

    /// The characters, unchanged.
    std::string GetNodeValue() const override;
    /// The characters, unchanged; so comments are part of the text of the element around them.
    std::string GetText() const override;
    /// True for COMMENT_NODE.
    bool IsType(int code) const override;
    /// A comment with the same characters.
    Comment* Clone(NodeContainer* newParent) const override;
    /// Writes `<!--...-->` on its own line, with the characters unchanged. No parser takes a comment that contains
    /// "--".
    void Write(WriteContext& context) const override;

    /// The characters between "<!--" and "-->".
    ByteString text;

protected:
    /// Not for applications: for the parser.
    inline Comment(const detail::ArenaLocation& location, NodeContainer* parentNode,
                   const detail::ArenaBytes& characters) noexcept;
};

/// A processing instruction, such as `<?xml-stylesheet href="a.css"?>`. Its `name` is the target.
class Pi : public Node {
public:
    /// Copies both. `parent` as with Element.
    Pi(NodeContainer* parentNode, std::string_view target, std::string_view targetData);

    /// The data, unchanged; empty if there is none.
    std::string GetNodeValue() const override;
    /// The data, unchanged; so instructions are part of the text of the element around them.
    std::string GetText() const override;
    /// True for PI_NODE.
    bool IsType(int code) const override;
    /// An instruction with the same target and data.
    Pi* Clone(NodeContainer* newParent) const override;
    /// Writes `<?target data?>` on its own line; `<?target?>` if there is no data.
    void Write(WriteContext& context) const override;

    /// The characters between the target and "?>", without the white space after the target.
    ByteString data;

protected:
    /// Not for applications: for the parser.
    inline Pi(const detail::ArenaLocation& location, NodeContainer* parentNode, const detail::ArenaBytes& target,
              const detail::ArenaBytes& targetData) noexcept;
};

/// The base of the two kinds of references. A reference stays a node of the tree; it is not expanded into the text
/// around it.
class Reference : public Node {
public:
    /// True for REFERENCE_NODE, for both kinds.
    bool IsType(int code) const override;

protected:
    /// Not for applications: for the library's own classes.
    using Node::Node;
};

/// A reference to one of the five entities lt, gt, amp, apos, quot: how one of the characters < > & ' " is written so
/// that it arrives. Its `name` is the entity's. Its parent is the null element unless the parser has built it; so is a
/// Clone's, whatever container is passed.
///
///     item->AppendText("screws ");
///     item->AppendChild(new EntityRef("lt"));  // screws &lt; 5 mm
///     item->AppendText(" 5 mm");
class EntityRef : public Reference {
public:
    /// Throws InvalidRefException if there is no such entity.
    explicit EntityRef(std::string_view entityName);

    /// The character that the entity stands for.
    std::string GetNodeValue() const override;
    /// The same as GetNodeValue.
    std::string GetText() const override;
    /// A reference with the same name and value. It looks the name up again, so it throws InvalidRefException if the
    /// name was changed to an unknown one.
    EntityRef* Clone(NodeContainer* newParent) const override;
    /// Writes "&", the name and ";" on the current line. The name is not checked.
    void Write(WriteContext& context) const override;

    /// The character that the entity stands for.
    char value;

protected:
    /// Not for applications: for the parser.
    inline EntityRef(const detail::ArenaLocation& location, NodeContainer* parentNode,
                     const detail::ArenaBytes& entityName, char character) noexcept;
};

/// A character reference: one byte. Its `name` is empty.
class CharRef : public Reference {
public:
    /// Keeps the low eight bits of `character`. `parent` as with Element.
    CharRef(NodeContainer* parentNode, int character);

    /// The character, as one byte.
    std::string GetNodeValue() const override;
    /// The same as GetNodeValue.
    std::string GetText() const override;
    /// A reference to the same character.
    CharRef* Clone(NodeContainer* newParent) const override;
    /// Writes `&#xHH;` on the current line, in upper-case hexadecimal without leading zeros. Zero and negative values
    /// (bytes of 0x80 and above) are written without a digit, `&#x;`, which no parser takes.
    void Write(WriteContext& context) const override;

    /// The character: the low eight bits of the number.
    signed char value;

protected:
    /// Not for applications: for the parser.
    inline CharRef(const detail::ArenaLocation& location, NodeContainer* parentNode, signed char character) noexcept;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_NODES_H
