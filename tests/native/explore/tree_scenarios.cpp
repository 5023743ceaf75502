// Nodes of one parsed tree that are deleted by several threads.
// SPDX-License-Identifier: MIT
#include <wpk/xml.h>

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "fake_platform/src/scheduler.h"
#include "native/explore/scenarios.h"

namespace wpk::explore {

using AdvXMLParser::Document;
using AdvXMLParser::Node;
using host::AwaitThreads;
using host::StartThread;
using host::Undisturbed;

namespace {

constexpr std::string_view kText = "<message><a x='1'>one</a><b>two</b><c/></message>";

std::unique_ptr<Document> ParseSample() {
    return std::unique_ptr<Document>(AdvXMLParser::Parser().Parse(kText.data(), static_cast<int>(kText.size())));
}

/// The nodes share their memory, which goes with the last of them.
void NodesDeletedOneByOne() {
    std::vector<Node*> nodes;
    {
        const Undisturbed start;
        const auto document = ParseSample();
        nodes.assign(document->root->children.begin(), document->root->children.end());
        document->root->children.clear();
    }
    constexpr size_t kOwners = 3;
    for (size_t owner = 0; owner < kOwners; ++owner) {
        StartThread("owner", [&nodes, owner] {
            for (size_t i = owner; i < nodes.size(); i += kOwners) delete nodes[i];
        });
    }
    AwaitThreads();
}

void ANodeDeletedBesideItsDocument() {
    std::unique_ptr<Document> document;
    Node* node = nullptr;
    {
        const Undisturbed start;
        document = ParseSample();
        node = document->root->children.back();
        document->root->children.pop_back();
    }
    StartThread("owner of the node", [node] { delete node; });
    StartThread("owner of the rest", [&document] { document.reset(); });
    AwaitThreads();
}

/// Each has a node of the other one, and keeps its memory there.
void NodesOfTwoDocumentsDeletedCrosswise() {
    std::unique_ptr<Document> documents[2];
    {
        const Undisturbed start;
        for (auto& document : documents) document = ParseSample();
        auto* first = documents[0]->root;
        auto* second = documents[1]->root;
        std::swap(first->children[0], second->children[0]);
        std::swap(first->children[0]->parent, second->children[0]->parent);
    }
    for (auto& document : documents) {
        StartThread("owner", [&document] { document.reset(); });
    }
    AwaitThreads();
}

/// Documents without nodes wait until no node is being deleted: here two of them, for one that is.
void DocumentsThatEndWhileANodeIsDeleted() {
    std::vector<Node*> last;
    {
        const Undisturbed start;
        for (int i = 0; i < 3; ++i) {
            const auto document = ParseSample();
            last.push_back(document->root->children.back());
            document->root->children.pop_back();
        }
    }
    StartThread("owner of one", [&last] { delete last[0]; });
    StartThread("owner of two", [&last] {
        delete last[1];
        delete last[2];
    });
    AwaitThreads();
}

}  // namespace

const Scenarios& TreeScenarios() {
    static const Scenarios& all = *new Scenarios{
        {"nodes of a dead document deleted one by one", NodesDeletedOneByOne},
        {"a node deleted beside its document", ANodeDeletedBesideItsDocument},
        {"nodes of two documents deleted crosswise", NodesOfTwoDocumentsDeletedCrosswise},
        {"documents that end while a node is deleted", DocumentsThatEndWhileANodeIsDeleted},
    };
    return all;
}

}  // namespace wpk::explore
