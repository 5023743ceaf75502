// A parsed document that nobody has changed goes without a look at its nodes. What counts as a change, and that nothing
// is lost or freed twice after one.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/allocation_fault.h"
#include "support/xml.h"
#include "xml/node_access.h"

using namespace AdvXMLParser;
using wpk::test::AllocationFault;
using wpk::test::LiveBytes;
using xml_tests::Parse;

namespace {

constexpr const char* kText =
    "<?xml version='1.0'?><!--comment--><r a='1' b='x&lt;y'>text<one/><two>a text that does not fit in place</two>"
    "<![CDATA[section]]><?pi data?><three n='a value that does not fit in place'>x&#65;y</three></r>";
const std::string kLong = "a string that does not fit in its place";

bool IsUntouched(const Document& document) {
    return !detail::NodeAccess::ArenaOf(document).IsChanged();
}

TEST(Untouched, IsADocumentThatIsOnlyRead) {
    const auto document = Parse(kText);
    const Document& constant = *document;
    EXPECT_TRUE(IsUntouched(constant));
    EXPECT_NE(constant.GetText(), "");
    EXPECT_NE(xml_tests::Written(constant), "");
    EXPECT_NE(xml_tests::Shape(*constant.root), "");
    const std::unique_ptr<Document> copy(constant.Clone(nullptr));
    for (const Node* child : std::as_const(constant.root->children)) EXPECT_FALSE(child->name.empty());
    for (const Attribute* attribute : std::as_const(constant.root->attributes)) EXPECT_NE(attribute->GetText(), "");
    Node* two = document->root->FindElement("two");
    EXPECT_EQ(document->root->GetOrCreateElement("two"), two);
    size_t position = 0;
    EXPECT_TRUE(document->root->FindNextElement("two", position));
    EXPECT_EQ(document->root->children.at(position), two);
    EXPECT_EQ(document->root->children.size(), 11U);
    EXPECT_EQ(document->root->children.back()->name, "#text");
    const NodeList<Node> list(std::as_const(document->root->children));
    const ByteString name(two->name);
    two->parent = document->root;
    document->root->preserveSpace = true;
    document->standalone = false;
    document->version = kLong;
    document->encoding = kLong;
    EXPECT_TRUE(IsUntouched(constant));
}

TEST(Untouched, DocumentsGiveEverythingBack) {
    const std::ptrdiff_t before = LiveBytes();
    {
        const auto document = Parse(kText);
        document->version = kLong;
        EXPECT_TRUE(IsUntouched(*document));
    }
    EXPECT_EQ(LiveBytes(), before);
}

using Change = std::function<void(Document&)>;

Text& FirstText(Document& document) {
    return static_cast<Text&>(*document.root->children.at(0));
}

/// Does it, sees that it was noticed, and that the document's end leaves nothing behind.
void ExpectNoticed(const char* what, const Change& change, const char* text = kText) {
    const std::ptrdiff_t before = LiveBytes();
    {
        const auto document = Parse(text);
        change(*document);
        EXPECT_FALSE(IsUntouched(*document)) << what;
    }
    EXPECT_EQ(LiveBytes(), before) << what;
}

TEST(Untouched, IsNoDocumentOneOfWhoseStringsWasChanged) {
    ExpectNoticed("an element's name", [](Document& d) { d.root->name = kLong; });
    ExpectNoticed("an attribute's name", [](Document& d) { d.root->attributes.at(1)->name = kLong; });
    ExpectNoticed("the document's name", [](Document& d) { d.name = kLong; });
    ExpectNoticed("a text", [](Document& d) { FirstText(d).text = kLong; });
    ExpectNoticed("a text's name", [](Document& d) { FirstText(d).name = kLong; });
    ExpectNoticed("a comment", [](Document& d) { static_cast<Comment&>(*d.children.at(0)).text = kLong; });
    ExpectNoticed("a section", [](Document& d) { static_cast<CData&>(*d.root->children.at(5)).text = kLong; });
    ExpectNoticed("an instruction", [](Document& d) { static_cast<Pi&>(*d.root->children.at(7)).data = kLong; });
    ExpectNoticed("a reference's name", [](Document& d) { d.root->attributes.at(1)->children.at(1)->name = kLong; });
    ExpectNoticed("append", [](Document& d) { FirstText(d).text.append(kLong); });
    ExpectNoticed("+=", [](Document& d) { FirstText(d).text += kLong; });
    ExpectNoticed("clear", [](Document& d) { FirstText(d).text.clear(); });
    ExpectNoticed("moved from", [](Document& d) { const ByteString taken = std::move(FirstText(d).text); });
    ExpectNoticed("moved into", [](Document& d) { FirstText(d).text = ByteString(kLong); });
    ExpectNoticed("assigned", [](Document& d) {
        NodeList<Attribute> same(std::as_const(d.root->attributes));
        d.root->attributes = std::move(same);
    });
    ExpectNoticed("swapped", [](Document& d) {
        ByteString other(kLong);
        std::swap(other, FirstText(d).text);
    });
    ExpectNoticed("short, then long", [](Document& d) {
        FirstText(d).text = "x";
        FirstText(d).text += kLong;
    });
    ExpectNoticed("through the pending text", [](Document& d) {
        d.root->pendingText = &FirstText(d);
        d.root->AppendText(kLong);
    });
}

TEST(Untouched, IsNoDocumentOneOfWhoseListsMayHaveBeenChanged) {
    ExpectNoticed("[]", [](Document& d) { static_cast<void>(d.root->children[0]); });
    ExpectNoticed("begin", [](Document& d) { static_cast<void>(d.root->attributes.begin()); });
    ExpectNoticed("end", [](Document& d) { static_cast<void>(d.children.end()); });
    ExpectNoticed("push_back", [](Document& d) { d.root->attributes.push_back(new Attribute(d.root, kLong)); });
    ExpectNoticed("insert", [](Document& d) {
        d.root->children.insert(std::as_const(d.root->children).begin(), new Text(d.root, kLong));
    });
    ExpectNoticed("reserve", [](Document& d) { d.root->children.reserve(100); });
    ExpectNoticed("swapped", [](Document& d) {
        NodeList<Attribute> other;
        std::swap(other, d.root->attributes);
        std::swap(other, d.root->attributes);
    });
    ExpectNoticed("an empty one", [](Document& d) { d.root->FindElement("one")->AppendText(kLong); });
    ExpectNoticed("an attribute's", [](Document& d) { d.root->attributes.at(0)->AppendText(kLong); });
    ExpectNoticed("DeleteChildren", [](Document& d) { d.root->FindElement("two")->DeleteChildren(); });
    ExpectNoticed("AppendChild to the document", [](Document& d) { d.AppendChild(new Comment(&d, kLong)); });
}

/// Takes `count` children out of the list, from `first` on, and sees that it was noticed. They are deleted after the
/// look, for that is noticed too.
void ExpectLossNoticed(const char* what, size_t first, size_t count, void (*remove)(NodeList<Node>&)) {
    const std::ptrdiff_t before = LiveBytes();
    {
        const auto document = Parse(kText);
        NodeList<Node>& children = document->root->children;
        std::vector<std::unique_ptr<Node>> lost;
        for (size_t i = first; i < first + count; ++i) lost.emplace_back(children.at(i));
        remove(children);
        EXPECT_FALSE(IsUntouched(*document)) << what;
    }
    EXPECT_EQ(LiveBytes(), before) << what;
}

TEST(Untouched, IsNoDocumentOneOfWhoseListsHasLostAnEntry) {
    using Nodes = NodeList<Node>;
    ExpectLossNoticed("erase", 0, 1, [](Nodes& nodes) { nodes.erase(std::as_const(nodes).begin()); });
    ExpectLossNoticed("erase inside", 1, 1, [](Nodes& nodes) { nodes.erase(std::as_const(nodes).begin() + 1); });
    ExpectLossNoticed("pop_back", 10, 1, [](Nodes& nodes) { nodes.pop_back(); });
    ExpectLossNoticed("clear", 0, 11, [](Nodes& nodes) { nodes.clear(); });
    ExpectLossNoticed("moved from", 0, 11, [](Nodes& nodes) { const Nodes taken = std::move(nodes); });
}

// A list of one entry keeps it in place, and an empty one keeps none: each is marked by itself.
TEST(Untouched, IsNoDocumentOneOfWhoseShortListsMayHaveBeenChanged) {
    const char* none = "<r/>";
    const char* one = "<r a='1'>x</r>";
    ExpectNoticed(
        "no children", [](Document& d) { d.root->children.reserve(2); }, none);
    ExpectNoticed(
        "no attributes", [](Document& d) { d.root->attributes.reserve(2); }, none);
    ExpectNoticed(
        "an attribute without text", [](Document& d) { d.root->attributes.at(0)->children.reserve(2); }, "<r a=''/>");
    ExpectNoticed(
        "the document's only child", [](Document& d) { d.children.reserve(2); }, one);
    ExpectNoticed(
        "an element's only child", [](Document& d) { d.root->children.reserve(2); }, one);
    ExpectNoticed(
        "an only attribute", [](Document& d) { d.root->attributes.reserve(2); }, one);
    ExpectNoticed(
        "an attribute's only child", [](Document& d) { d.root->attributes.at(0)->children.reserve(2); }, one);
}

TEST(Untouched, IsNoDocumentFromWhichANodeWasDeleted) {
    ExpectNoticed("and replaced", [](Document& d) {
        Node*& first = d.root->children[0];
        delete first;
        first = new Text(d.root, kLong);
    });
}

TEST(Changed, StringsAndNodesMayBeSwappedBetweenTrees) {
    const std::ptrdiff_t before = LiveBytes();
    {
        const auto one = Parse(kText);
        auto two = Parse("<r>another text that does not fit in its place<x/>y</r>");
        std::swap(FirstText(*one).text, FirstText(*two).text);
        std::swap(one->root->children[1], two->root->children[1]);
        two.reset();
        EXPECT_EQ(one->root->children.at(1)->name, "x");
        EXPECT_EQ(FirstText(*one).text, "another text that does not fit in its place");
    }
    EXPECT_EQ(LiveBytes(), before);
}

TEST(Changed, ANodeMayGoToATreeThatOutlivesItsDocument) {
    const std::ptrdiff_t before = LiveBytes();
    {
        Document byHand("all");
        for (int i = 0; i < 3; ++i) {
            const auto document = Parse(kText);
            NodeList<Node>& children = document->root->children;
            Node* three = document->root->FindElement("three");
            children.erase(std::find(children.begin(), children.end(), three));
            byHand.root->AppendChild(three);
        }
        for (const Node* three : std::as_const(byHand.root->children)) EXPECT_EQ(three->GetText(), "xAy");
    }
    EXPECT_EQ(LiveBytes(), before);
}

TEST(Changed, AListMayBeMovedIntoATreeThatOutlivesItsDocument) {
    const std::ptrdiff_t before = LiveBytes();
    {
        Element byHand(nullptr, "all");
        {
            const auto document = Parse(kText);
            byHand.children = std::move(document->root->children);
            byHand.attributes = std::move(document->root->attributes);
        }
        EXPECT_EQ(byHand.attributes.at(1)->GetText(), "x<y");
        EXPECT_NE(byHand.GetText().find("text that does not fit"), std::string::npos);
    }
    EXPECT_EQ(LiveBytes(), before);
}

TEST(Changed, ADocumentMayStandInAnotherTree) {
    const std::ptrdiff_t before = LiveBytes();
    {
        Element byHand(nullptr, "all");
        byHand.AppendChild(Parse(kText).release());
        Document* changed = Parse(kText).release();
        changed->version = kLong;
        byHand.AppendChild(changed);
    }
    EXPECT_EQ(LiveBytes(), before);
}

TEST(Changed, WhenMemoryRunsOutAtTheFirstChangeNothingIsLost) {
    const std::ptrdiff_t before = LiveBytes();
    {
        const auto document = Parse(kText);
        {
            const AllocationFault fault(0, true);
            EXPECT_THROW(document->root->name = kLong, std::bad_alloc);
            EXPECT_THROW(FirstText(*document).text.append(kLong), std::bad_alloc);
            EXPECT_THROW(document->root->children.reserve(100), std::bad_alloc);
        }
        EXPECT_EQ(document->root->name, "r");
        EXPECT_EQ(FirstText(*document).text, "text");
        EXPECT_EQ(document->root->children.size(), 11U);
    }
    EXPECT_EQ(LiveBytes(), before);
}

TEST(Changed, StringsOfFifteenBytesEndWithAZeroBeforeAndAfterwards) {
    for (size_t size = 10; size < 20; ++size) {
        const std::string text(size, 'x');
        const auto document = Parse("<" + text + " " + text + "='" + text + "'>" + text + "</" + text + ">");
        Text& inner = FirstText(*document);
        EXPECT_STREQ(inner.text.c_str(), text.c_str());
        EXPECT_STREQ(document->root->name.c_str(), text.c_str());
        EXPECT_STREQ(document->root->attributes.at(0)->name.c_str(), text.c_str());
        inner.text.clear();
        for (size_t i = 1; i <= size; ++i) {
            inner.text += "y";
            EXPECT_STREQ(inner.text.c_str(), std::string(i, 'y').c_str());
        }
    }
}

TEST(Changed, EditsOnAnotherThreadAreNoticed) {
    auto document = Parse(kText);
    std::thread([&document] { document->root->FindElement("one")->AppendText(kLong); }).join();
    EXPECT_FALSE(IsUntouched(*document));
    std::thread([&document] { document.reset(); }).join();
}

}  // namespace
