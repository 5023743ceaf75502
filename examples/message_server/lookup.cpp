// The service Lookup: an XML request in, an XML reply out.
// SPDX-License-Identifier: MIT
#include "lookup.h"

#include <wpk/xml.h>

#include <climits>
#include <memory>

#include "refusal.h"

namespace message_server {
namespace {

using AdvXMLParser::Document;
using AdvXMLParser::Node;

struct ChemicalElement {
    const char* name;
    const char* symbol;
    int number;
};

constexpr ChemicalElement kElements[] = {
    {"hydrogen", "H", 1}, {"helium", "He", 2},   {"carbon", "C", 6},    {"nitrogen", "N", 7}, {"oxygen", "O", 8},
    {"sodium", "Na", 11}, {"silicon", "Si", 14}, {"iron", "Fe", 26},    {"copper", "Cu", 29}, {"silver", "Ag", 47},
    {"tin", "Sn", 50},    {"gold", "Au", 79},    {"mercury", "Hg", 80}, {"lead", "Pb", 82},   {"uranium", "U", 92},
};

const ChemicalElement* FindByName(std::string_view name) {
    for (const ChemicalElement& element : kElements) {
        if (element.name == name) return &element;
    }
    return nullptr;
}

void AddField(Node& parent, std::string_view name, const std::string& text) {
    parent.GetOrCreateElement(name)->AppendText(text);
}

void Describe(Node& reply, const ChemicalElement* element) {
    AddField(reply, "found", element != nullptr ? "yes" : "no");
    if (element == nullptr) return;
    AddField(reply, "name", element->name);
    AddField(reply, "symbol", element->symbol);
    AddField(reply, "number", std::to_string(element->number));
}

void Describe(Node& reply, const AdvXMLParser::ParsingException& fault) {
    Node& error = *reply.GetOrCreateElement("error");
    AddField(error, "code", std::to_string(fault.code));
    AddField(error, "line", std::to_string(fault.line));
    AddField(error, "column", std::to_string(fault.column));
}

std::string Written(const Document& document) {
    std::string text;
    AdvXMLParser::WriteContext context;
    context.output = &text;
    document.Write(context);
    return text;
}

}  // namespace

std::string Lookup(std::string_view request) {
    if (request.size() > INT_MAX) throw Refusal(400, "Bad_Message");
    Document reply("reply");
    try {
        const AdvXMLParser::Parser parser;
        const std::unique_ptr<Document> document(parser.Parse(request.data(), static_cast<int>(request.size())));
        // A request without a name has the empty one, which no element bears.
        Describe(*reply.root, FindByName(document->root->FindElement("name")->GetText()));
    } catch (const AdvXMLParser::ParsingException& fault) {
        Describe(*reply.root, fault);
    }
    return Written(reply);
}

}  // namespace message_server
