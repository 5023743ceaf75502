// Where fields and virtual functions stand: in the order in which the classes name them.
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;

namespace {

template <class T>
const char* At(const T& field) {
    return reinterpret_cast<const char*>(&field);
}

void ExpectInOrder(std::initializer_list<const char*> fields) {
    for (const char* const* at = fields.begin() + 1; at != fields.end(); ++at) EXPECT_LT(at[-1], *at);
}

TEST(Fields, OfANodeAreNameThenParentRightAfterTheVirtualTable) {
    const Text node(nullptr, "t");
    EXPECT_EQ(At(node.name), At(static_cast<const Node&>(node)) + sizeof(void*));
    EXPECT_EQ(At(node.parent), At(node.name) + sizeof(node.name));
    EXPECT_LT(At(node.parent), At(node.text));
}

TEST(Fields, OfEachClassFollowItsBases) {
    const Element element(nullptr, "e");
    ExpectInOrder({At(element.parent), At(element.children), At(element.pendingText), At(element.attributes),
                   At(element.preserveSpace)});
    const Document document;
    ExpectInOrder({At(document.parent), At(document.children), At(document.pendingText), At(document.version),
                   At(document.encoding), At(document.standalone), At(document.root)});
    // The reference has no address of its own; it is the last word.
    EXPECT_EQ(At(document.root) + 2 * sizeof(void*), At(document) + sizeof(document));
    const Pi pi(nullptr, "p", "d");
    ExpectInOrder({At(pi.parent), At(pi.data)});
    const EntityRef entity("lt");
    ExpectInOrder({At(entity.parent), At(entity.value)});
    const CharRef character(nullptr, 1);
    ExpectInOrder({At(character.parent), At(character.value)});
}

TEST(Fields, HaveTheirTypes) {
    static_assert(std::is_same<decltype(Node::parent), NodeContainer*>::value, "");
    static_assert(std::is_same<decltype(NodeContainer::pendingText), Text*>::value, "");
    static_assert(std::is_same<decltype(Element::preserveSpace), bool>::value, "");
    static_assert(std::is_same<decltype(Document::root), Element*>::value, "");
    static_assert(std::is_same<decltype(EntityRef::value), char>::value, "");
    static_assert(std::is_same<decltype(CharRef::value), signed char>::value, "");
    static_assert(std::is_same<decltype(ParsingException::code), decltype(ParsingException::column)>::value, "");
}

#if defined(__GNUC__)

/// The slot of a virtual function, which a pointer to it holds where a class follows the Itanium rules.
template <class Function>
size_t SlotOf(Function function) {
    size_t words[2] = {};
    static_assert(sizeof(function) == sizeof(words), "a pointer to a member function is two words");
    std::memcpy(words, &function, sizeof(words));
    return (words[0] - 1) / sizeof(void*);
}

TEST(Slots, OfNodesStandInOrderAfterTheTwoOfTheDestructor) {
    EXPECT_EQ(SlotOf(&Node::GetNodeValue), 2U);
    EXPECT_EQ(SlotOf(&Node::GetText), 3U);
    EXPECT_EQ(SlotOf(&Node::IsType), 4U);
    EXPECT_EQ(SlotOf(&Node::Clone), 5U);
    EXPECT_EQ(SlotOf(&Node::Write), 6U);
}

#endif

}  // namespace
