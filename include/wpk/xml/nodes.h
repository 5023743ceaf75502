/// @file
/// The kinds of nodes that a document tree is made of.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_NODES_H
#define WPK_XML_NODES_H

#include <string>
#include <string_view>

#include <wpk/xml/node.h>

namespace AdvXMLParser {

/// An element: a tag with attributes and content. A Clone has the name and copies of the children, but no attributes,
/// and does not preserve space.
class Element : public NodeContainer {
public:
    /// An empty element. Its `parent` is the given container (null: the null element), which does not own it yet.
    Element(NodeContainer* parentNode, std::string_view tagName) : NodeContainer(Kind::kElement, parentNode, tagName) {}
    ~Element() override;

    std::string GetNodeValue() const override;
    std::string GetText() const override;
    bool IsType(int code) const override;
    Element* Clone(NodeContainer* newParent) const override;
    void Write(WriteContext& context) const override;

protected:
    /// For the parser.
    inline Element(const detail::ArenaLocation& location, NodeContainer* parentNode,
                   const detail::ArenaBytes& tagName) noexcept;

public:
    /// In document order; the same name may occur more than once. Owned.
    NodeList<Attribute> attributes;
    /// Whether GetText leaves white space as it is. The parser sets it for xml:space="preserve".
    bool preserveSpace = false;
};

/// An attribute of an element. Its children are the pieces of its value: Text, EntityRef and CharRef nodes.
class Attribute : public NodeContainer {
public:
    /// An attribute without a value. `parent` as with Element.
    Attribute(NodeContainer* parentNode, std::string_view attributeName)
        : NodeContainer(Kind::kAttribute, parentNode, attributeName) {}
    ~Attribute() override;

    std::string GetNodeValue() const override;
    std::string GetText() const override;
    bool IsType(int code) const override;
    Attribute* Clone(NodeContainer* newParent) const override;
    void Write(WriteContext& context) const override;

protected:
    /// For the parser.
    inline Attribute(const detail::ArenaLocation& location, NodeContainer* parentNode,
                     const detail::ArenaBytes& attributeName) noexcept;
};

/// A whole document. A Clone has copies of the children, but the fields below as a new document has them.
class Document : public NodeContainer {
public:
    /// A document without nodes, whose declaration is what a new one has.
    Document();
    /// A document with an empty root element of that name: how a new message begins.
    explicit Document(std::string_view rootName);
    ~Document() override;

    std::string GetNodeValue() const override;
    std::string GetText() const override;
    bool IsType(int code) const override;
    Document* Clone(NodeContainer* newParent) const override;
    void Write(WriteContext& context) const override;

protected:
    /// For the parser.
    inline explicit Document(const detail::ArenaLocation& location) noexcept;

public:
    /// What the XML declaration says; the library does not act on any of it. `standalone` is never written.
    ///@{
    ByteString version;
    ByteString encoding;
    bool standalone = true;
    ///@}
    /// The root element, one of `children`; null until there is one. Not owned.
    Element* root = nullptr;
    /// The document itself.
    Document& self;
};

/// A run of character data, as it stands between two pieces of markup. May be empty.
class Text : public Node {
public:
    /// Copies the characters. `parent` as with Element.
    Text(NodeContainer* parentNode, std::string_view characters);

    std::string GetNodeValue() const override;
    std::string GetText() const override;
    bool IsType(int code) const override;
    Text* Clone(NodeContainer* newParent) const override;
    void Write(WriteContext& context) const override;

protected:
    /// For the parser.
    inline Text(const detail::ArenaLocation& location, NodeContainer* parentNode,
                const detail::ArenaBytes& characters) noexcept;

public:
    /// The characters, as they are in the document.
    ByteString text;
};

/// A CDATA section.
class CData : public Node {
public:
    /// Copies the characters. `parent` as with Element.
    CData(NodeContainer* parentNode, std::string_view characters);

    std::string GetNodeValue() const override;
    std::string GetText() const override;
    bool IsType(int code) const override;
    CData* Clone(NodeContainer* newParent) const override;
    void Write(WriteContext& context) const override;

protected:
    /// For the parser.
    inline CData(const detail::ArenaLocation& location, NodeContainer* parentNode,
                 const detail::ArenaBytes& characters) noexcept;

public:
    /// What stands between "<![CDATA[" and "]]>".
    ByteString text;
};

/// A comment.
class Comment : public Node {
public:
    /// Copies the characters. `parent` as with Element.
    Comment(NodeContainer* parentNode, std::string_view characters);

    std::string GetNodeValue() const override;
    std::string GetText() const override;
    bool IsType(int code) const override;
    Comment* Clone(NodeContainer* newParent) const override;
    void Write(WriteContext& context) const override;

protected:
    /// For the parser.
    inline Comment(const detail::ArenaLocation& location, NodeContainer* parentNode,
                   const detail::ArenaBytes& characters) noexcept;

public:
    /// What stands between the two hyphens at either end.
    ByteString text;
};

/// A processing instruction; its target is its name.
class Pi : public Node {
public:
    /// Copies both. `parent` as with Element.
    Pi(NodeContainer* parentNode, std::string_view target, std::string_view targetData);

    std::string GetNodeValue() const override;
    std::string GetText() const override;
    bool IsType(int code) const override;
    Pi* Clone(NodeContainer* newParent) const override;
    void Write(WriteContext& context) const override;

protected:
    /// For the parser.
    inline Pi(const detail::ArenaLocation& location, NodeContainer* parentNode, const detail::ArenaBytes& target,
              const detail::ArenaBytes& targetData) noexcept;

public:
    /// What follows the target.
    ByteString data;
};

/// A reference, kept as such: it stands in the tree and is not expanded.
class Reference : public Node {
public:
    bool IsType(int code) const override;

protected:
    /// For the library's own classes.
    using Node::Node;
};

/// A reference to one of the five entities lt, gt, amp, apos, quot. Its parent is the null element unless the parser
/// has built it; so is a Clone's, whatever container is passed.
class EntityRef : public Reference {
public:
    /// Throws InvalidRefException when there is no such entity.
    explicit EntityRef(std::string_view entityName);

    std::string GetNodeValue() const override;
    std::string GetText() const override;
    /// Looks the name up again, so it throws when the name has been changed to one that does not exist.
    EntityRef* Clone(NodeContainer* newParent) const override;
    void Write(WriteContext& context) const override;

protected:
    /// For the parser.
    inline EntityRef(const detail::ArenaLocation& location, NodeContainer* parentNode,
                     const detail::ArenaBytes& entityName, char character) noexcept;

public:
    /// The character that the entity stands for.
    char value;
};

/// A character reference: one byte.
class CharRef : public Reference {
public:
    /// Keeps the low eight bits of `character`.
    CharRef(NodeContainer* parentNode, int character);

    std::string GetNodeValue() const override;
    std::string GetText() const override;
    CharRef* Clone(NodeContainer* newParent) const override;
    /// Zero and values below are written without a digit, "&#x;", which no parser takes.
    void Write(WriteContext& context) const override;

protected:
    /// For the parser.
    inline CharRef(const detail::ArenaLocation& location, NodeContainer* parentNode, signed char character) noexcept;

public:
    /// The character: the low eight bits of the number.
    signed char value;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_NODES_H
