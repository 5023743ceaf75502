// In the field: this library.
// SPDX-License-Identifier: MIT
#pragma once

#include <wpk/xml.h>

#include <memory>
#include <string>

namespace xml_bench {

struct Wpk {
    static constexpr const char* kName = "wpk";
    using Tree = std::unique_ptr<AdvXMLParser::Document>;

    static Tree Parse(const std::string& text) {
        AdvXMLParser::Parser parser;
        return Tree(parser.Parse(text.data(), static_cast<int>(text.size())));
    }

    static void WriteRaw(const Tree& tree, std::string& output) { Write(tree, output, AdvXMLParser::WRITE_VERBATIM); }

    static void WriteIndented(const Tree& tree, std::string& output) { Write(tree, output, 0); }

    static bool Find(const Tree& tree, const std::string& name) {
        return !AdvXMLParser::IsNull(*tree->root->FindElement(name.c_str()));
    }

private:
    static void Write(const Tree& tree, std::string& output, unsigned flags) {
        AdvXMLParser::WriteContext context;
        context.flags = flags;
        context.output = &output;
        tree->Write(context);
    }
};

}  // namespace xml_bench
