// Copying trees of any depth: the walk.
// SPDX-License-Identifier: MIT
#include "xml/cloner.h"

#include <memory>

#include "xml/small_stack.h"

namespace AdvXMLParser::detail {
namespace {

using Kind = NodeAccess::Kind;

struct Level {
    const NodeContainer* from;
    NodeContainer* to;
    std::size_t next;
};

/// A container as its Clone begins. Attributes and flags of an element are not copied, nor are the fields of a
/// document.
std::unique_ptr<NodeContainer> CloneShell(const NodeContainer& container, NodeContainer* newParent) {
    std::unique_ptr<NodeContainer> shell;
    switch (NodeAccess::KindOf(container)) {
        case Kind::kAttribute:
            shell = std::make_unique<Attribute>(newParent, container.name);
            break;
        case Kind::kDocument:
            shell = std::make_unique<Document>();
            break;
        case Kind::kElement:
        // None of the rest is a container of the library's own: they do not get here.
        case Kind::kForeign:
        case Kind::kForeignContainer:
        case Kind::kText:
        case Kind::kCData:
        case Kind::kComment:
        case Kind::kPi:
        case Kind::kEntityRef:
        case Kind::kCharRef:
            shell = std::make_unique<Element>(newParent, container.name);
            break;
    }
    shell->children.reserve(container.children.size());
    return shell;
}

}  // namespace

NodeContainer* CloneTree(const NodeContainer& container, NodeContainer* newParent) {
    std::unique_ptr<NodeContainer> top = CloneShell(container, newParent);
    SmallStack<Level, 16> levels;
    levels.push_back({&container, top.get(), 0});
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.from->children.size()) {
            levels.pop_back();
            continue;
        }
        const Node* const child = level.from->children[level.next++];
        NodeContainer* const to = level.to;
        if (const NodeContainer* const inner = NodeAccess::AsOwnContainer(child)) {
            NodeContainer* const shell = CloneShell(*inner, to).release();
            to->AppendChild(shell);
            levels.push_back({inner, shell, 0});
        } else {
            to->AppendChild(child->Clone(to));
        }
    }
    return top.release();
}

}  // namespace AdvXMLParser::detail
