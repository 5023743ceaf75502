/// @file
/// The base classes of all nodes of a document tree, and of nodes with children.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_NODE_H
#define WPK_XML_NODE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <wpk/xml/byte_string.h>
#include <wpk/xml/exceptions.h>
#include <wpk/xml/node_list.h>
#include <wpk/xml/write_context.h>

namespace AdvXMLParser {

class Attribute;
class CData;
class Comment;
class Element;
class Node;
class NodeContainer;
class Pi;
class Text;

namespace detail {
struct ArenaLocation;
}

/// The arguments of Node::IsType, numbered as in the W3C DOM. Other values match no node.
enum NodeType {
    ELEMENT_NODE = 1,
    ATTRIBUTE_NODE = 2,
    TEXT_NODE = 3,
    CDATA_NODE = 4,
    /// An EntityRef or a CharRef.
    REFERENCE_NODE = 5,
    PI_NODE = 7,
    COMMENT_NODE = 8,
    DOCUMENT_NODE = 9
};

/// Five nodes that stand for a missing node, so that look-ups never return a null pointer. They live as long as the
/// process, are empty and stay empty: the operations that would change them do nothing. Any thread may use them. Do not
/// assign to their fields, and never delete them.
///@{
Element& NullElement() noexcept;
Attribute& NullAttribute() noexcept;
Comment& NullComment() noexcept;
Pi& NullPi() noexcept;
CData& NullCData() noexcept;
///@}

/// Whether this is one of the five null nodes (compared by address); true for a null pointer. It tells whether a
/// look-up has found something:
///
///     if (IsNull(root->FindElement("remark"))) return;  // there is no <remark>
///@{
bool IsNull(const Node& node) noexcept;
bool IsNull(const Node* node) noexcept;
///@}

/// One node of a tree.
///
/// Create nodes with `new` and append them to a container, which then owns them. A node that belongs to no container
/// may also be on the stack. Deleting a node deletes everything below it. No operation uses the machine stack per
/// level: trees may be of any depth.
///
/// GetText, Write and Clone of a container walk once over nodes of the classes of nodes.h. A class that an application
/// derives from Node, from NodeContainer or from one of the concrete classes takes part through its own virtual
/// functions, wherever it is in the tree. Each level of such nodes uses some of the machine stack.
///
/// Threads: const operations on a tree may run on any number of threads at once. An operation that changes a tree must
/// be the only one on that tree, on any thread. A non-const operator[], begin or end of a list counts as a change:
/// threads that read at the same time must use const references to the nodes. Different trees may be used and changed
/// at the same time, even if their nodes were parsed together.
///
/// Errors: std::bad_alloc if a string, list or node cannot grow, and InvalidRefException from Clone.
class Node {
public:
    /// Deletes the node and everything below it.
    virtual ~Node();

    /// The node's own value, by class:
    ///
    ///     Text, CData, Comment    the characters
    ///     Pi                      the data
    ///     EntityRef, CharRef      the one character that it stands for
    ///     Attribute               as GetText
    ///     Element, Document       always empty
    virtual std::string GetNodeValue() const = 0;

    /// The text of the node: the value of a node without children; for a container the texts of all children in order,
    /// comments and processing instructions included. White space is space, tab, carriage return and line feed. A
    /// Document and an Element turn every run of white space into one space and remove it from both ends (an Element
    /// with `preserveSpace` does neither); an Attribute only removes it from both ends.
    virtual std::string GetText() const = 0;

    /// Whether the node is of that NodeType.
    virtual bool IsType(int code) const = 0;

    /// A deep copy on the heap, owned by the caller, whose `parent` is the given container (the null element if that is
    /// null). It is not added to the container: call AppendChild for that. Attributes, `preserveSpace`, and a
    /// document's declaration and `root` are not copied; wpk::xml::Copy in xml_helpers.h copies them too.
    virtual Node* Clone(NodeContainer* newParent) const = 0;

    /// Appends the node's XML text to `*context.output`; docs/xml.md has an example. Never fails because of the tree's
    /// content, even if no parser would accept the result. If memory runs out, part of the output has been written.
    virtual void Write(WriteContext& context) const = 0;

    /// The node itself if it is an Element, else the null element: gives access to `attributes` and `preserveSpace`
    /// after a look-up. Never fails.
    ///@{
    Element& AsElement() noexcept;
    const Element& AsElement() const noexcept;
    ///@}
    /// The node itself if it is a NodeContainer, else the null element: gives access to `children`. Never fails.
    ///@{
    NodeContainer& AsContainer() noexcept;
    const NodeContainer& AsContainer() const noexcept;
    ///@}

    /// The operations of NodeContainer, applied to AsContainer(), so that look-ups can be chained:
    ///
    ///     document->root->FindElement("order")->FindElement("customer")->GetText();
    ///     Node* field = document->root->GetOrCreateElement("name");
    ///     field->DeleteChildren();
    ///     field->AppendText("Miller");
    ///@{
    Node* FindElement(std::string_view elementName) const;
    Node* GetOrCreateElement(std::string_view elementName);
    void AppendChild(Node* node);
    void AppendText(std::string_view text);
    void DeleteChildren() noexcept;
    ///@}

    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

protected:
    /// For an application's own classes.
    Node(NodeContainer* nodeParent, std::string_view nodeName);

public:
    /// The tag name of an Element, the name of an Attribute, the target of a Pi, the name of an EntityRef; "#text",
    /// "#cdata-section", "#comment" or "#document" for these classes; empty for a CharRef.
    ByteString name;
    /// The node that contains this one. Not owned. Never null: it is the null element if there is no such node. The
    /// library never follows it upwards, so you may set it freely.
    NodeContainer* parent;

protected:
    // Not for applications, from here on.

    /// What the library asks in place of the virtual IsType: which of its classes a node is made of. Foreign is an
    /// application's own class that is derived from none of the concrete ones.
    enum class Kind : std::uint8_t {
        kForeign,
        kForeignContainer,
        kElement,
        kAttribute,
        kDocument,
        kText,
        kCData,
        kComment,
        kPi,
        kEntityRef,
        kCharRef
    };
    /// For the library's own classes; with an ArenaLocation, for the parser.
    ///@{
    Node(Kind kind, NodeContainer* nodeParent, std::string_view nodeName);
    inline Node(Kind kind, const detail::ArenaLocation& location, NodeContainer* nodeParent,
                const detail::ArenaBytes& nodeName) noexcept;
    ///@}

private:
    friend struct detail::NodeAccess;

    /// What kind of node it is, and how far into its chunk of a parsed document's memory it is; 0 for a node that is
    /// elsewhere.
    struct Location {
        explicit Location(Kind nodeKind) noexcept : offset(0), kind(nodeKind) {}
        inline Location(Kind nodeKind, const detail::ArenaLocation& place) noexcept;
        const char* Chunk() const noexcept { return reinterpret_cast<const char*>(this) - std::size_t{offset} * kUnit; }

        static constexpr std::size_t kUnit = 4;
        std::uint32_t offset;
        Kind kind;
    };
    const Location location_;
};

/// A node that has children and owns them.
class NodeContainer : public Node {
public:
    ~NodeContainer() override;

    /// Writes every child in order.
    void Write(WriteContext& context) const override;

    /// Adds the node at the end of `children` and takes ownership, even if this throws. The node's `parent` is not
    /// changed; `pendingText` becomes null unless the node is a Text. A null pointer or null node is ignored. A null
    /// node accepts no children: a node appended to it is deleted at once.
    void AppendChild(Node* node);

    /// Adds character data: to the text of `pendingText` if there is one, else as a new Text child (which does not
    /// become `pendingText`). Does nothing on a null node.
    void AppendText(std::string_view text);

    /// The first child element of that name, compared byte for byte; the null element when there is none. Never null.
    Node* FindElement(std::string_view elementName) const;

    /// Finds the first child element of that name at or after `position`, an index into `children`. True with
    /// `position` on that element (increment it before the next call), or false with `position` at the end.
    ///
    ///     for (std::size_t i = 0; order.FindNextElement("item", i); ++i) Use(*order.children[i]);
    bool FindNextElement(std::string_view elementName, std::size_t& position) const;

    /// Like FindElement, but creates and appends an empty element if there is none. On a null node it creates nothing
    /// and returns the null element.
    Node* GetOrCreateElement(std::string_view elementName);

    /// Deletes every child in order. `pendingText` is not changed: reset it if it points to a deleted child.
    void DeleteChildren() noexcept;

    /// Appends a Clone of every child of `from` to `to`, in order. Children appended before an exception stay.
    ///@{
    static void CloneChildren(const NodeContainer& from, NodeContainer& to);
    static void CloneChildren(const NodeContainer* from, NodeContainer* to) { CloneChildren(*from, *to); }
    ///@}

protected:
    /// For an application's own classes.
    NodeContainer(NodeContainer* nodeParent, std::string_view nodeName);

public:
    /// The nodes inside this one, in document order. Owned.
    NodeList<Node> children;
    /// The Text child that AppendText adds to; null for none. Not owned, and set by the application alone.
    Text* pendingText = nullptr;

protected:
    /// Not for applications: for the library's own classes.
    using Node::Node;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_NODE_H
