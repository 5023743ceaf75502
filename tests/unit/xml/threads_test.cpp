// Trees on several threads: one tree on one at a time, the nodes of one document spread over many.
// SPDX-License-Identifier: MIT
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "helpers.h"

using namespace AdvXMLParser;
using xml_tests::Message;
using xml_tests::Parse;

namespace {

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

TEST(Threads, NodesOfADeadDocumentMayBeDeletedOneByOneOnSeveral) {
    for (int round = 0; round < 20; ++round) {
        auto document = Parse(Message(64));
        const std::vector<Node*> nodes(document->root->children.begin(), document->root->children.end());
        document->root->children.clear();
        document.reset();
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < 4; ++i) {
            threads.emplace_back([&nodes, i] {
                for (std::size_t at = i; at < nodes.size(); at += 4) delete nodes[at];
            });
        }
        for (std::thread& thread : threads) thread.join();
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
