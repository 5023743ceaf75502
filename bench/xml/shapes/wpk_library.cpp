// This library; compiled a second time against another state of its sources, whose namespace is renamed then.
// SPDX-License-Identifier: MIT
#include <wpk/xml.h>

#include <cstddef>
#include <vector>

#include "tested_library.h"

#ifndef WPK_XML_LIBRARY
#define WPK_XML_LIBRARY kWpk
#define WPK_XML_LIBRARY_NAME "wpk"
#endif

namespace xml_bench {

namespace {

using namespace AdvXMLParser;

void* Parse(const std::string& bytes) {
    return Parser().Parse(bytes.data(), static_cast<int>(bytes.size()));
}

void Destroy(void* tree) {
    delete static_cast<Document*>(tree);
}

void Write(const void* tree, bool isRaw, std::string& output) {
    WriteContext context;
    context.flags = isRaw ? WRITE_VERBATIM : 0;
    context.output = &output;
    static_cast<const Document*>(tree)->Write(context);
}

std::vector<Element*> Elements(const Document& document) {
    std::vector<Element*> elements = {document.root};
    for (std::size_t at = 0; at < elements.size(); ++at) {
        const NodeList<Node>& children = elements[at]->children;
        for (Node* child : children) {
            if (child->IsType(ELEMENT_NODE)) elements.push_back(static_cast<Element*>(child));
        }
    }
    return elements;
}

void* Change(void* tree, Edit edit) {
    Document* const document = static_cast<Document*>(tree);
    switch (edit) {
        case Edit::kNone:
            return document;
        case Edit::kReadAsMutable:
            for (Element* element : Elements(*document)) {
                for (Node*& child : element->children) child->parent = element;
            }
            return document;
        case Edit::kOneString:
            document->root->name = "a name that is longer than what fits in its place";
            return document;
        case Edit::kManyPlaces: {
            const std::vector<Element*> elements = Elements(*document);
            for (std::size_t at = 0; at < elements.size(); at += 10)
                elements[at]->GetOrCreateElement("added")->AppendText("some text");
            return document;
        }
        case Edit::kBuiltByHand: {
            Document* const copy = document->Clone(nullptr);
            delete document;
            return copy;
        }
    }
    return document;
}

}  // namespace

const TestedLibrary WPK_XML_LIBRARY{WPK_XML_LIBRARY_NAME, Parse, Destroy, Write, Change};

}  // namespace xml_bench
