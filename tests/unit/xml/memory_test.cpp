// How much memory a parsed document takes, and that it goes with the last node, wherever that is.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/allocation_fault.h"
#include "support/xml.h"

using namespace AdvXMLParser;
using wpk::test::Allocations;
using wpk::test::LiveBytes;
using xml_tests::Message;
using xml_tests::Parse;

namespace {

double LiveBytesPerByte(const std::string& text) {
    const std::ptrdiff_t before = LiveBytes();
    const std::unique_ptr<Document> document(Parser().Parse(text.data(), static_cast<int>(text.size())));
    return static_cast<double>(LiveBytes() - before) / static_cast<double>(text.size());
}

TEST(Memory, OfAMegabyteOfMessagesIsAtMostNineBytesAByte) {
    const std::string text = Message(3800);
    ASSERT_GT(text.size(), 1000000U);
    EXPECT_LE(LiveBytesPerByte(text), 9.0);
    RecordProperty("bytes_per_byte", std::to_string(LiveBytesPerByte(text)));
}

TEST(Memory, OfASmallMessageIsAtMostTwentyFiveBytesAByte) {
    EXPECT_LE(LiveBytesPerByte(Message(1)), 25.0);
    const std::string tiny = "<a/>";
    const std::ptrdiff_t before = LiveBytes();
    const auto document = Parse(tiny);
    EXPECT_LE(LiveBytes() - before, 1024);
}

TEST(Memory, OfAttributesIsAtMostFiveBytesAByte) {
    const std::string value(100, 'v');
    std::string text = "<r>";
    for (int i = 0; i < 100; ++i) text += "<e a='" + value + "' b='" + value + "'/>";
    EXPECT_LE(LiveBytesPerByte(text + "</r>"), 5.0);
}

/// The size of a tree is estimated before it is there. A better estimate would only save memory.
TEST(Memory, OfAUsualDocumentIsOnePiece) {
    const std::string documents[] = {Message(1), Message(10), "<r><a>1</a><b c='2'/><d>x &amp; y</d></r>"};
    for (const std::string& text : documents) {
        const size_t before = Allocations();
        Parse(text);
        // The other one is the buffer of the test.
        EXPECT_EQ(Allocations() - before, 2U) << text.substr(0, 200);
    }
}

TEST(Memory, OfManySmallDocumentsIsTheirOwnOnly) {
    const std::string text = Message(1);
    const std::ptrdiff_t before = LiveBytes();
    std::vector<xml_tests::DocumentPtr> documents;
    documents.reserve(40000);
    for (int i = 0; i < 40000; ++i) documents.push_back(Parse(text));
    const std::ptrdiff_t each = (LiveBytes() - before) / 40000;
    EXPECT_LE(each, static_cast<std::ptrdiff_t>(text.size()) * 25);
    documents.clear();
    documents.shrink_to_fit();
    EXPECT_EQ(LiveBytes(), before);
}

TEST(Memory, OfTextThatOnlyLooksLikeMarkupIsBounded) {
    for (const char* lookAlike : {"=", "<", "&"}) {
        std::string text = "<a><![CDATA[";
        for (int i = 0; i < 4000000; ++i) text += lookAlike;
        EXPECT_LE(LiveBytesPerByte(text + "]]></a>"), 9.0) << lookAlike;
    }
}

TEST(Memory, GoesWithTheTree) {
    const std::string text = Message(300);
    const std::ptrdiff_t before = LiveBytes();
    Parse(text).reset();
    EXPECT_EQ(LiveBytes(), before);
}

TEST(Memory, GoesWithTheLastNodeTakenOutOfTheTree) {
    const std::ptrdiff_t before = LiveBytes();
    Node* kept = nullptr;
    {
        const auto document = Parse(Message(30));
        kept = document->root->children[7];
        document->root->children.erase(document->root->children.begin() + 7);
    }
    EXPECT_GT(LiveBytes(), before);
    EXPECT_NE(kept->GetText(), "");
    delete kept;
    EXPECT_EQ(LiveBytes(), before);
}

TEST(Memory, OfChangedNodesGoesAsWell) {
    const std::ptrdiff_t before = LiveBytes();
    {
        const auto document = Parse("<r a='1'>text<b/><c>x</c><?p d?></r>");
        Element& root = *document->root;
        root.name = "a name that does not fit in its place";
        root.AppendText("a text that does not fit in its place");
        static_cast<Text*>(root.children[0])->text = "another text that does not fit in its place";
        static_cast<Pi*>(root.children[5])->data = "data that do not fit in their place";
        root.attributes.push_back(new Attribute(&root, "an attribute that does not fit in its place"));
        root.attributes[0]->AppendText("more, and more");
        document->version = "a version that does not fit in its place";
        document->encoding = "an encoding that does not fit in its place";
        root.FindElement("b")->GetOrCreateElement("c")->GetOrCreateElement("d");
    }
    EXPECT_EQ(LiveBytes(), before);
}

TEST(Memory, GoesWhateverTheOrderInWhichNodesOfDeadDocumentsAreDeleted) {
    std::mt19937 random(11);
    const std::ptrdiff_t before = LiveBytes();
    for (int round = 0; round < 50; ++round) {
        std::vector<Node*> nodes;
        for (int i = 0; i < 3; ++i) {
            const auto document = Parse(Message(4) + "<?pi?>");
            Element& root = *document->root;
            root.children[1]->AppendText("a text that is not of the document's own memory");
            nodes.insert(nodes.end(), root.children.begin(), root.children.end());
            root.children.clear();
            nodes.push_back(new Element(nullptr, "built-by-hand-with-a-rather-long-name"));
        }
        std::shuffle(nodes.begin(), nodes.end(), random);
        for (size_t i = 0; i < nodes.size(); ++i) {
            // Those that are left stay whole until it is their turn.
            for (size_t left = i; left < nodes.size(); ++left) {
                if (nodes[left]->name != "order") continue;
                EXPECT_NE(nodes[left]->GetText().find("Miller & Sons"), std::string::npos);
            }
            delete nodes[i];
        }
    }
    EXPECT_EQ(LiveBytes(), before);
}

TEST(Memory, OfADocumentInsideOfAnotherGoesWithIt) {
    const std::ptrdiff_t before = LiveBytes();
    {
        Document outer("outer");
        outer.root->AppendChild(Parse(Message(2)).release());
        outer.root->AppendChild(Parse(Message(3)).release());
        EXPECT_NE(outer.GetText(), "");
    }
    EXPECT_EQ(LiveBytes(), before);
}

}  // namespace
