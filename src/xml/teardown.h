// Deleting trees of any depth.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_TEARDOWN_H
#define WPK_XML_TEARDOWN_H

#include <cstddef>

#include "xml/node_access.h"

namespace AdvXMLParser::detail {

/// Deletes everything that a container owns, attributes first, all in document order, the inner before the outer. It
/// needs no memory and cannot fail: the way back up is kept in the nodes that are about to die.
class Teardown {
public:
    /// Empties the children, and the attributes where they are given; the container itself stays as it is otherwise.
    static void Empty(NodeContainer& container, NodeList<Attribute>* attributes) noexcept;
    /// Empties whatever the node is: children, attributes, or nothing.
    static void EmptyAll(Node& node) noexcept;

    Teardown(const Teardown&) = delete;
    Teardown& operator=(const Teardown&) = delete;

private:
    Teardown(NodeContainer& container, NodeList<Attribute>* attributes) noexcept
        : top_(&container), topAttributes_(attributes), current_(&container), attributes_(attributes) {}
    ~Teardown() { LeaveArena(); }

    void Run() noexcept;
    bool Advance() noexcept;
    bool DropContainer(NodeContainer* container) noexcept;
    std::size_t DropLeaves(const NodeList<Node>& nodes) noexcept;
    void Enter(NodeContainer* container, std::size_t done) noexcept;
    void GoUp() noexcept;
    void Drop(Node* node) noexcept;
    void DropHeapNode(Node* node) noexcept;
    void ChangeChunk(const Arena::Chunk* chunk) noexcept;
    void LeaveArena() noexcept;

    NodeContainer* const top_;
    const NodeList<Attribute>* const topAttributes_;
    NodeContainer* current_;
    /// The attributes of the current container, if it has any.
    const NodeList<Attribute>* attributes_;
    /// How many of the current container's attributes and children have been handled.
    std::size_t done_ = 0;

    /// The chunk of the last node that was in an arena, and that arena.
    const Arena::Chunk* chunk_ = nullptr;
    /// Counting down costs an atomic operation, so nodes that are deleted one after the other are counted together.
    Arena* arena_ = nullptr;
    std::size_t deletedNodes_ = 0;
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_TEARDOWN_H
