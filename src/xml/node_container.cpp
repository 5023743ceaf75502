// What every container does with its children.
// SPDX-License-Identifier: MIT
#include <memory>
#include <utility>

#include <wpk/xml/nodes.h>

#include "xml/teardown.h"
#include "xml/writer.h"

namespace AdvXMLParser {

using namespace detail;

NodeContainer::NodeContainer(NodeContainer* nodeParent, std::string_view nodeName)
    : Node(Kind::kForeignContainer, nodeParent, nodeName) {}

NodeContainer::~NodeContainer() {
    Teardown::Empty(*this, nullptr);
}

void NodeContainer::Write(WriteContext& context) const {
    Writer::WriteChildren(*this, context);
}

void NodeContainer::AppendChild(Node* node) {
    if (IsNull(node)) return;
    std::unique_ptr<Node> owned(node);
    if (IsNull(*this)) return;
    const bool isText = node->IsType(TEXT_NODE);
    children.push_back(node);
    static_cast<void>(owned.release());
    if (!isText) pendingText = nullptr;
}

void NodeContainer::AppendText(std::string_view text) {
    if (IsNull(*this)) return;
    if (pendingText) {
        pendingText->text.append(text);
    } else {
        AppendChild(new Text(this, text));
    }
}

Node* NodeContainer::FindElement(std::string_view elementName) const {
    std::size_t position = 0;
    return FindNextElement(elementName, position) ? children[position] : &NullElement();
}

bool NodeContainer::FindNextElement(std::string_view elementName, std::size_t& position) const {
    const std::size_t count = children.size();
    for (; position < count; ++position) {
        const Node& child = *children[position];
        if (child.name == elementName && child.IsType(ELEMENT_NODE)) return true;
    }
    position = count;
    return false;
}

Node* NodeContainer::GetOrCreateElement(std::string_view elementName) {
    if (IsNull(*this)) return &NullElement();
    std::size_t position = 0;
    // Looking is no change: the constant list is asked.
    if (FindNextElement(elementName, position)) return std::as_const(children)[position];
    AppendChild(new Element(this, elementName));
    return children.back();
}

void NodeContainer::DeleteChildren() noexcept {
    if (!IsNull(*this)) Teardown::Empty(*this, nullptr);
}

void NodeContainer::CloneChildren(const NodeContainer& from, NodeContainer& to) {
    // The count as it is now: a container may be cloned into itself.
    const std::size_t count = from.children.size();
    for (std::size_t i = 0; i < count; ++i) to.AppendChild(from.children[i]->Clone(&to));
}

}  // namespace AdvXMLParser
