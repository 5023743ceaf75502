// Deleting trees of any depth: the walk.
// SPDX-License-Identifier: MIT
#include "xml/teardown.h"

#include <cstdint>

#include "xml/block.h"

namespace AdvXMLParser::detail {
namespace {

using Kind = NodeAccess::Kind;

NodeList<Attribute>* AttributesOf(NodeContainer& container) noexcept {
    const bool has = NodeAccess::KindOf(container) == Kind::kElement;
    return has ? &static_cast<Element&>(container).attributes : nullptr;
}

/// Frees the heap memory that a node in an arena has acquired since it was parsed.
void FreeHeap(Node& node) noexcept {
    NodeAccess::FreeHeap(node.name);
    switch (NodeAccess::KindOf(node)) {
        case Kind::kElement:
            NodeAccess::FreeHeap(static_cast<Element&>(node).attributes);
            NodeAccess::FreeHeap(static_cast<Element&>(node).children);
            break;
        case Kind::kAttribute:
            NodeAccess::FreeHeap(static_cast<Attribute&>(node).children);
            break;
        case Kind::kDocument:
            NodeAccess::FreeHeap(static_cast<Document&>(node).children);
            NodeAccess::FreeHeap(static_cast<Document&>(node).version);
            NodeAccess::FreeHeap(static_cast<Document&>(node).encoding);
            break;
        case Kind::kText:
            NodeAccess::FreeHeap(static_cast<Text&>(node).text);
            break;
        case Kind::kCData:
            NodeAccess::FreeHeap(static_cast<CData&>(node).text);
            break;
        case Kind::kComment:
            NodeAccess::FreeHeap(static_cast<Comment&>(node).text);
            break;
        case Kind::kPi:
            NodeAccess::FreeHeap(static_cast<Pi&>(node).data);
            break;
        case Kind::kForeign:
        case Kind::kForeignContainer:
        case Kind::kEntityRef:
        case Kind::kCharRef:
            break;
    }
}

}  // namespace

void Teardown::Empty(NodeContainer& container, NodeList<Attribute>* attributes) noexcept {
    if (container.children.empty() && (!attributes || attributes->empty())) return;
    Teardown(container, attributes).Run();
    container.children.clear();
    if (attributes) attributes->clear();
}

void Teardown::EmptyAll(Node& node) noexcept {
    NodeContainer* const container = NodeAccess::AsContainer(&node);
    if (container) Empty(*container, AttributesOf(*container));
}

WPK_XML_INLINE void Teardown::Drop(Node* node) noexcept {
    const Arena::Chunk* const chunk = NodeAccess::ChunkOf(*node);
    if (!chunk) return DropHeapNode(node);
    if (chunk != chunk_) ChangeChunk(chunk);
    ++deletedNodes_;
    // Most nodes are texts and elements, and hardly any has been changed.
    const Kind kind = NodeAccess::KindOf(*node);
    if (kind == Kind::kText && !NodeAccess::HasHeapMemory(static_cast<const Text&>(*node))) return;
    if (kind == Kind::kElement && !NodeAccess::HasHeapMemory(static_cast<const Element&>(*node))) return;
    FreeHeap(*node);
}

/// Drops the nodes in front of the first that is a container, and says how many those are.
WPK_XML_INLINE std::size_t Teardown::DropLeaves(const NodeList<Node>& nodes) noexcept {
    Node* const* const begin = nodes.begin();
    Node* const* const end = begin + nodes.size();
    Node* const* at = begin;
    for (; at != end && !NodeAccess::AsContainer(*at); ++at) Drop(*at);
    return static_cast<std::size_t>(at - begin);
}

void Teardown::Run() noexcept {
    for (;;) {
        if (Advance()) continue;
        if (current_ == top_) return;
        GoUp();
    }
}

/// Drops what the current container holds, up to its end or to a container that has to be entered.
bool Teardown::Advance() noexcept {
    const std::size_t attributes = attributes_ ? attributes_->size() : 0;
    while (done_ < attributes) {
        if (!DropContainer((*attributes_)[done_++])) return true;
    }
    const NodeList<Node>& children = current_->children;
    while (done_ - attributes < children.size()) {
        Node* const child = children[done_++ - attributes];
        NodeContainer* const container = NodeAccess::AsContainer(child);
        if (!container) {
            Drop(child);
        } else if (!DropContainer(container)) {
            return true;
        }
    }
    return false;
}

/// Drops a container with all it holds, as long as that is leaves. Where it is not, the container becomes the current
/// one.
bool Teardown::DropContainer(NodeContainer* container) noexcept {
    std::size_t done = 0;
    const NodeList<Attribute>* const attributes = AttributesOf(*container);
    if (attributes && !attributes->empty()) {
        for (Attribute* attribute : *attributes) {
            ++done;
            const std::size_t leaves = DropLeaves(attribute->children);
            if (leaves != attribute->children.size()) {
                Enter(container, done);
                Enter(attribute, leaves);
                return false;
            }
            Drop(attribute);
        }
    }
    const std::size_t leaves = DropLeaves(container->children);
    if (leaves != container->children.size()) {
        Enter(container, done + leaves);
        return false;
    }
    Drop(container);
    return true;
}

void Teardown::Enter(NodeContainer* container, std::size_t done) noexcept {
    // An application may have set `parent` to anything; from here on it links back to the outer container, and
    // `pendingText`, now unused, keeps how far that one had got.
    container->parent = current_;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): never used as a pointer
    container->pendingText = reinterpret_cast<Text*>(static_cast<std::uintptr_t>(done_));
    current_ = container;
    attributes_ = AttributesOf(*container);
    done_ = done;
}

void Teardown::GoUp() noexcept {
    NodeContainer* const finished = current_;
    current_ = finished->parent;
    done_ = static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(finished->pendingText));
    attributes_ = current_ == top_ ? topAttributes_ : AttributesOf(*current_);
    Drop(finished);
}

void Teardown::DropHeapNode(Node* node) noexcept {
    // What a container held is gone already; its destructor must not find it again.
    if (NodeContainer* const container = NodeAccess::AsContainer(node)) {
        container->children.clear();
        if (NodeList<Attribute>* const attributes = AttributesOf(*container)) attributes->clear();
    }
    delete node;
}

void Teardown::ChangeChunk(const Arena::Chunk* chunk) noexcept {
    chunk_ = chunk;
    if (chunk->arena == arena_) return;
    LeaveArena();
    arena_ = chunk->arena;
}

void Teardown::LeaveArena() noexcept {
    if (deletedNodes_ != 0) arena_->Release(deletedNodes_);
    deletedNodes_ = 0;
}

}  // namespace AdvXMLParser::detail
