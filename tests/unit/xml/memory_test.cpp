// How much memory a parsed document takes, and that it goes with the last node, wherever that is.
// SPDX-License-Identifier: MIT
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "allocation_hook.h"
#include "helpers.h"

using namespace AdvXMLParser;
using xml_tests::LiveBytes;
using xml_tests::Parse;

namespace {

/// A message with a number of orders, as applications send them; about 330 bytes each.
std::string Message(int orders) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<message>\n";
    for (int i = 0; i < orders; ++i) {
        const std::string number = std::to_string(10000 + i * 7);
        text += "  <order id=\"" + number +
                "\">\n    <customer>Miller &amp; Sons</customer>\n    <city>Copenhagen</city>\n" +
                "    <item><name>Left-handed screwdriver</name><quantity>" + std::to_string(i % 13) +
                "</quantity><price currency=\"EUR\">" + std::to_string(i % 97) +
                ".95</price></item>\n    <remark>deliver before noon if possible</remark>\n  </order>\n";
    }
    return text + "</message>\n";
}

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

TEST(Threads, NodesOfOneDocumentMayBeSpreadOverSeveral) {
    for (int round = 0; round < 20; ++round) {
        auto document = Parse(Message(64));
        std::vector<Document*> parts;
        for (int i = 0; i < 4; ++i) parts.push_back(new Document("part"));
        auto& children = document->root->children;
        for (std::size_t i = 0; i < children.size(); ++i) {
            children[i]->parent = parts[i % 4]->root;
            parts[i % 4]->root->AppendChild(children[i]);
        }
        children.clear();
        document.reset();
        std::vector<std::thread> threads;
        std::vector<std::string> texts(4);
        for (std::size_t i = 0; i < 4; ++i) {
            threads.emplace_back([part = parts[i], &text = texts[i]] {
                part->root->AppendText("a text of this thread's own, too long for its place");
                for (Node* child : part->root->children) child->name = "a name of this thread's own";
                text = part->GetText();
                xml_tests::Written(*part);
                delete part;
            });
        }
        for (std::thread& thread : threads) thread.join();
        for (const std::string& text : texts) EXPECT_NE(text.find("thread's own"), std::string::npos);
    }
}

TEST(Threads, ATreeMayBeDeletedOnAnotherThanItWasParsedOn) {
    for (int i = 0; i < 20; ++i) {
        Document* const document = Parse(Message(10)).release();
        std::thread([document] { delete document; }).join();
    }
}

TEST(Threads, DifferentDocumentsAreParsedAtTheSameTime) {
    const std::string text = Message(50);
    std::vector<std::thread> threads;
    std::vector<std::string> written(4);
    for (std::string& result : written) {
        threads.emplace_back([&result, &text] {
            for (int i = 0; i < 20; ++i) result = xml_tests::WrittenVerbatim(*Parse(text)->root);
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::string& result : written) EXPECT_EQ(result, written[0]);
}

}  // namespace
