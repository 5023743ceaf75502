// Deleting trees of any depth: the walk.
// SPDX-License-Identifier: MIT
#include "xml/teardown.h"

#include <cstdint>

namespace AdvXMLParser {
namespace {

using Kind = Internals::Kind;

NodeList<Attribute>* AttributesOf(NodeContainer& container) noexcept {
    const bool has = Internals::KindOf(container) == Kind::kElement;
    return has ? &static_cast<Element&>(container).attributes : nullptr;
}

/// Frees what a node in a pool has got from elsewhere since it was parsed.
void FreeHeap(Node& node) noexcept {
    Internals::FreeHeap(node.name);
    switch (Internals::KindOf(node)) {
        case Kind::kElement:
            Internals::FreeHeap(static_cast<Element&>(node).attributes);
            Internals::FreeHeap(static_cast<Element&>(node).children);
            break;
        case Kind::kAttribute:
            Internals::FreeHeap(static_cast<Attribute&>(node).children);
            break;
        case Kind::kDocument:
            Internals::FreeHeap(static_cast<Document&>(node).children);
            Internals::FreeHeap(static_cast<Document&>(node).version);
            Internals::FreeHeap(static_cast<Document&>(node).encoding);
            break;
        case Kind::kText:
            Internals::FreeHeap(static_cast<Text&>(node).text);
            break;
        case Kind::kCData:
            Internals::FreeHeap(static_cast<CData&>(node).text);
            break;
        case Kind::kComment:
            Internals::FreeHeap(static_cast<Comment&>(node).text);
            break;
        case Kind::kPi:
            Internals::FreeHeap(static_cast<Pi&>(node).data);
            break;
        case Kind::kEntityRef:
        case Kind::kCharRef:
        case Kind::kForeign:
            break;
    }
}

}  // namespace

void Teardown::Empty(NodeContainer& container, NodeList<Attribute>* attributes) noexcept {
    if (container.children.empty() && (attributes == nullptr || attributes->empty())) return;
    Teardown(container, attributes).Run();
    container.children.clear();
    if (attributes != nullptr) attributes->clear();
}

void Teardown::EmptyAll(Node& node) noexcept {
    NodeContainer* const container = Internals::OwnContainer(&node);
    if (container != nullptr) Empty(*container, AttributesOf(*container));
}

void Teardown::Run() noexcept {
    for (;;) {
        Node* const node = Next();
        if (node == nullptr) {
            if (current_ == top_) return;
            GoUp();
            continue;
        }
        NodeContainer* const container = Internals::OwnContainer(node);
        if (container != nullptr) {
            Enter(container);
        } else {
            Drop(node);
        }
    }
}

Node* Teardown::Next() noexcept {
    std::size_t index = done_++;
    if (attributes_ != nullptr) {
        if (index < attributes_->size()) return (*attributes_)[index];
        index -= attributes_->size();
    }
    return index < current_->children.size() ? current_->children[index] : nullptr;
}

void Teardown::Enter(NodeContainer* container) noexcept {
    // An application may have set `parent` to anything; from here on it is the way back, and the node's last field
    // without a task keeps how far the outer container had come.
    container->parent = current_;
    container->pendingText = reinterpret_cast<Text*>(static_cast<std::uintptr_t>(done_));
    current_ = container;
    attributes_ = AttributesOf(*container);
    done_ = 0;
}

void Teardown::GoUp() noexcept {
    NodeContainer* const finished = current_;
    current_ = finished->parent;
    done_ = static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(finished->pendingText));
    attributes_ = current_ == top_ ? topAttributes_ : AttributesOf(*current_);
    Drop(finished);
}

void Teardown::Drop(Node* node) noexcept {
    const Pool::Chunk* const chunk = Internals::ChunkOf(*node);
    if (chunk != nullptr) {
        DropPooled(*node, chunk->pool);
        return;
    }
    // What a container held is gone already; its destructor must not find it again.
    if (NodeContainer* const container = Internals::OwnContainer(node)) {
        container->children.clear();
        if (NodeList<Attribute>* const attributes = AttributesOf(*container)) attributes->clear();
    }
    delete node;
}

void Teardown::DropPooled(Node& node, Pool* pool) noexcept {
    FreeHeap(node);
    if (pool != pool_) {
        LeavePool();
        pool_ = pool;
    }
    ++freeSeats_;
}

void Teardown::LeavePool() noexcept {
    if (freeSeats_ != 0 && pool_->Leave(freeSeats_)) Pool::Destroy(pool_);
    freeSeats_ = 0;
}

}  // namespace AdvXMLParser
