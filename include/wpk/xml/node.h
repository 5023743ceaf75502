/// @file
/// What all nodes of a document tree have in common, and what those with children have.
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

/// What IsType is asked for. Other values match no node.
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

/// Five nodes that stand for "there is none". They live as long as the process, are empty and stay so: the operations
/// that would change them do nothing. Any thread may use them. Do not assign to their fields, and never delete them.
///@{
Element& NullElement() noexcept;
Attribute& NullAttribute() noexcept;
Comment& NullComment() noexcept;
Pi& NullPi() noexcept;
CData& NullCData() noexcept;
///@}

/// Whether this is one of the five null nodes. A null pointer counts as one.
///@{
bool IsNull(const Node& node) noexcept;
bool IsNull(const Node* node) noexcept;
///@}

/// One node of a tree.
///
/// Make nodes with `new` and hand them to a container, which owns them from then on; or keep a node that belongs to no
/// container on the stack. Deleting a node deletes everything below it. No operation uses the machine's stack per
/// level: trees may be of any depth.
///
/// GetText, Write and Clone of a container do their work in one walk over nodes of the classes of nodes.h. A class
/// that an application derives, from Node, from NodeContainer or from one of the concrete classes, takes part through
/// its own virtual functions wherever it stands. Each level of such nodes costs some of the machine's stack.
///
/// Threads: all const operations of a tree may run on any number of threads at once. What changes a tree needs it
/// alone, on whatever thread. A non-const operator[], begin or end of a list counts as a change: threads that read
/// together use const references to the nodes. Different trees may be used and changed at the same time, also while
/// nodes that were parsed together are spread over them. Errors: std::bad_alloc where a string, list or node has to
/// grow, and InvalidRefException from Clone.
class Node {
public:
    /// Deletes the node and everything below it.
    virtual ~Node();

    /// The node's own value: the text of a Text, CData or Comment, the data of a Pi, the character of a reference, the
    /// text of an Attribute; empty for an Element and a Document.
    virtual std::string GetNodeValue() const = 0;

    /// The text below the node: that of all children in order, comments and processing instructions included. White
    /// space is space, tab, carriage return and line feed. A Document and an Element make one space of every run of it
    /// and take it off both ends (an Element with `preserveSpace` does neither); an Attribute only takes it off the
    /// ends.
    virtual std::string GetText() const = 0;

    /// Whether the node is of that NodeType.
    virtual bool IsType(int code) const = 0;

    /// A deep copy on the heap, owned by the caller, whose `parent` is the given container (the null element when that
    /// is null). It is not added to the container: AppendChild does that. Not everything is copied: see the classes.
    virtual Node* Clone(NodeContainer* newParent) const = 0;

    /// Appends the node's text form to `*context.output`, as docs/xml.md shows. Never fails on what the tree holds,
    /// even if no parser would take the result. When memory runs out the output is partly written.
    virtual void Write(WriteContext& context) const = 0;

    /// The node as what a look-up promises: itself when it is an Element, else the null element. Never fails.
    ///@{
    Element& AsElement() noexcept;
    const Element& AsElement() const noexcept;
    ///@}
    /// The node itself when it is a NodeContainer, else the null element.
    ///@{
    NodeContainer& AsContainer() noexcept;
    const NodeContainer& AsContainer() const noexcept;
    ///@}

    /// The operations of NodeContainer, so that look-ups chain: each acts on AsContainer().
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

    /// What the library asks in place of the virtual IsType: which of its classes a node is made of. Foreign is an
    /// application's own class that is derived from none of the concrete ones. The containers stand in a row.
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

public:
    /// Tag name, attribute name, target of a processing instruction, name of an entity; "#text" and the like elsewhere.
    ByteString name;
    /// The node that contains this one. Not owned and never null: the null element stands in for none. Nothing in the
    /// library walks up along it, so it may be set freely.
    NodeContainer* parent;

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

    /// Puts the node at the end of `children` and owns it from then on, also if this throws. Its `parent` is left as it
    /// is; `pendingText` becomes null unless the node is a Text. A null pointer or null node is ignored. A null
    /// node takes no children: what is handed to it is deleted at once.
    void AppendChild(Node* node);

    /// Adds character data: to the text of `pendingText` if there is one, else as a new Text child (which does not
    /// become `pendingText`). Does nothing on a null node.
    void AppendText(std::string_view text);

    /// The first child element of that name, compared byte for byte; the null element when there is none. Never null.
    Node* FindElement(std::string_view elementName) const;

    /// Goes on from `position`, an index into `children`, to the first child element of that name at or after it. True,
    /// with `position` on it (step past it before the next call), or false with `position` at the end.
    ///
    ///     for (std::size_t i = 0; order.FindNextElement("item", i); ++i) Use(*order.children[i]);
    bool FindNextElement(std::string_view elementName, std::size_t& position) const;

    /// As FindElement, but makes and appends an empty element when there is none. A null node gives the null element.
    Node* GetOrCreateElement(std::string_view elementName);

    /// Deletes every child in order. `pendingText` is left as it is: whoever has set it sets it back.
    void DeleteChildren() noexcept;

    /// Appends a Clone of every child of `from` to `to`. What was appended before an exception stays.
    ///@{
    static void CloneChildren(const NodeContainer& from, NodeContainer& to);
    static void CloneChildren(const NodeContainer* from, NodeContainer* to) { CloneChildren(*from, *to); }
    ///@}

protected:
    /// For an application's own classes.
    NodeContainer(NodeContainer* nodeParent, std::string_view nodeName);
    /// For the library's own classes.
    using Node::Node;

public:
    /// The nodes inside this one, in document order. Owned.
    NodeList<Node> children;
    /// The Text child that AppendText adds to; null for none. Not owned, and set by the application alone.
    Text* pendingText = nullptr;
};

}  // namespace AdvXMLParser

#endif  // WPK_XML_NODE_H
