// In the field: RapidXML. It parses in place, so each parse starts with a copy of the text.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstring>
#include <iterator>
#include <memory>
#include <string>

#include <rapidxml/rapidxml.hpp>
#include <rapidxml/rapidxml_print.hpp>

namespace xml_bench {

struct Rapid {
    static constexpr const char* kName = "rapidxml";
    struct Held {
        std::unique_ptr<char[]> text;
        rapidxml::xml_document<> document;
    };
    using Tree = std::unique_ptr<Held>;

    static Tree Parse(const std::string& text) {
        auto tree = std::make_unique<Held>();
        tree->text.reset(new char[text.size() + 1]);
        std::memcpy(tree->text.get(), text.c_str(), text.size() + 1);
        tree->document.parse<rapidxml::parse_full>(tree->text.get());
        return tree;
    }

    static void WriteRaw(const Tree& tree, std::string& output) {
        rapidxml::print(std::back_inserter(output), tree->document, rapidxml::print_no_indenting);
    }

    static void WriteIndented(const Tree& tree, std::string& output) {
        rapidxml::print(std::back_inserter(output), tree->document, 0);
    }

    static bool Find(const Tree& tree, const std::string& name) {
        const rapidxml::xml_node<>* root = tree->document.first_node("message");
        return root->first_node(name.data(), name.size()) != nullptr;
    }
};

}  // namespace xml_bench
