// Trees on several threads: one tree changed on one at a time and read on many, the nodes of one document spread over
// many.
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;
using xml_tests::Message;
using xml_tests::Parse;

namespace {

TEST(XmlThreads, NodesOfOneDocumentMayBeSpreadOverSeveral) {
    for (int round = 0; round < 20; ++round) {
        auto document = Parse(Message(64));
        std::vector<Document*> parts;
        for (int i = 0; i < 4; ++i) parts.push_back(new Document("part"));
        auto& children = document->root->children;
        for (size_t i = 0; i < children.size(); ++i) {
            children[i]->parent = parts[i % 4]->root;
            parts[i % 4]->root->AppendChild(children[i]);
        }
        children.clear();
        document.reset();
        std::vector<std::thread> threads;
        std::vector<std::string> texts(4);
        for (size_t i = 0; i < 4; ++i) {
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

TEST(XmlThreads, NodesOfADeadDocumentMayBeDeletedOneByOneOnSeveral) {
    for (int round = 0; round < 20; ++round) {
        auto document = Parse(Message(64));
        const std::vector<Node*> nodes(document->root->children.begin(), document->root->children.end());
        document->root->children.clear();
        document.reset();
        std::vector<std::thread> threads;
        for (size_t i = 0; i < 4; ++i) {
            threads.emplace_back([&nodes, i] {
                for (size_t at = i; at < nodes.size(); at += 4) delete nodes[at];
            });
        }
        for (std::thread& thread : threads) thread.join();
    }
}

TEST(XmlThreads, ATreeMayBeDeletedOnAnotherThanItWasParsedOn) {
    for (int i = 0; i < 20; ++i) {
        Document* document = Parse(Message(10)).release();
        std::thread([document] { delete document; }).join();
    }
}

TEST(XmlThreads, DifferentDocumentsAreParsedAtTheSameTime) {
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

/// All that can be asked of a tree through constant references.
std::string EverythingOf(const NodeContainer& container) {
    std::string all = container.GetText() + container.GetNodeValue() + xml_tests::Written(container) +
                      std::string(container.FindElement("customer")->name);
    const std::unique_ptr<Node> copy(container.Clone(nullptr));
    all += xml_tests::WrittenVerbatim(*copy);
    if (const Element& element = container.AsElement(); !IsNull(element)) {
        for (const Attribute* attribute : element.attributes) all += attribute->GetText();
    }
    size_t position = 0;
    while (container.FindNextElement("item", position)) all += std::to_string(position++);
    const NodeList<Node>& children = container.children;
    for (const Node* child : children) all += std::string(child->name) + (child->IsType(ELEMENT_NODE) ? "e" : "");
    return all;
}

TEST(XmlThreads, OneTreeMayBeReadOnSeveralAtTheSameTime) {
    const auto parsed = Parse(Message(20));
    Document byHand("r");
    NodeContainer::CloneChildren(*parsed->root, *byHand.root);
    for (const Document* document :
         {static_cast<const Document*>(parsed.get()), static_cast<const Document*>(&byHand)}) {
        const std::string expected = EverythingOf(*document->root);
        std::vector<std::thread> threads;
        std::vector<int> differences(4);
        for (int& difference : differences) {
            threads.emplace_back([document, &expected, &difference] {
                for (int i = 0; i < 10; ++i) difference += EverythingOf(*document->root) == expected ? 0 : 1;
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(differences, std::vector<int>(4));
    }
}

TEST(XmlThreads, TheFirstChangesOfNodesParsedTogetherMayComeOnSeveral) {
    for (int round = 0; round < 20; ++round) {
        auto document = Parse(Message(64));
        const NodeList<Node>& children = document->root->children;
        std::vector<std::unique_ptr<Node>> nodes;
        for (Node* child : children) nodes.emplace_back(child);
        document->root->children.clear();
        std::vector<std::thread> threads;
        for (size_t i = 0; i < 4; ++i) {
            threads.emplace_back([&nodes, i] {
                for (size_t at = i; at < nodes.size(); at += 4) {
                    nodes[at]->AppendText("a text of this thread's own, too long for its place");
                    nodes[at]->name = "a name of this thread's own";
                    nodes[at].reset();
                }
            });
        }
        document.reset();
        for (std::thread& thread : threads) thread.join();
    }
}

}  // namespace
