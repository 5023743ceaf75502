// The five nodes that stand for "there is none".
// SPDX-License-Identifier: MIT
#include <wpk/xml/nodes.h>

#include <new>

namespace AdvXMLParser {
namespace {

/// The null element is its own parent and everybody else's, so it comes first.
struct NullNodes {
    Element element{&element, ""};
    Attribute attribute{&element, ""};
    Comment comment{&element, ""};
    Pi pi{&element, "", ""};
    CData cdata{&element, ""};
};

/// In static storage and never destroyed: destructors of static objects may still look things up, and a module that is
/// unloaded leaves no memory allocated.
NullNodes& TheNullNodes() noexcept {
    alignas(NullNodes) static unsigned char storage[sizeof(NullNodes)];
    static NullNodes& nodes = *::new (storage) NullNodes;
    return nodes;
}

}  // namespace

Element& NullElement() noexcept {
    return TheNullNodes().element;
}
Attribute& NullAttribute() noexcept {
    return TheNullNodes().attribute;
}
Comment& NullComment() noexcept {
    return TheNullNodes().comment;
}
Pi& NullPi() noexcept {
    return TheNullNodes().pi;
}
CData& NullCData() noexcept {
    return TheNullNodes().cdata;
}

bool IsNull(const Node* node) noexcept {
    const NullNodes& nodes = TheNullNodes();
    return !node || node == &nodes.element || node == &nodes.attribute || node == &nodes.comment || node == &nodes.pi ||
           node == &nodes.cdata;
}

bool IsNull(const Node& node) noexcept {
    return IsNull(&node);
}

}  // namespace AdvXMLParser
