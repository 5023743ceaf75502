// In the field: TinyXML-2, told to keep white space.
// SPDX-License-Identifier: MIT
#pragma once

#include <tinyxml2.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace xml_bench {

struct Tiny {
    static constexpr const char* kName = "tinyxml2";
    using Tree = std::unique_ptr<tinyxml2::XMLDocument>;

    static Tree Parse(const std::string& text) {
        auto tree = std::make_unique<tinyxml2::XMLDocument>(/*processEntities=*/true, tinyxml2::PRESERVE_WHITESPACE);
        if (tree->Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) throw std::runtime_error("tinyxml2");
        return tree;
    }

    static void WriteRaw(const Tree& tree, std::string& output) { Write(tree, output, /*compact=*/true); }

    static void WriteIndented(const Tree& tree, std::string& output) { Write(tree, output, /*compact=*/false); }

    static bool Find(const Tree& tree, const std::string& name) {
        return tree->RootElement()->FirstChildElement(name.c_str()) != nullptr;
    }

private:
    static void Write(const Tree& tree, std::string& output, bool compact) {
        tinyxml2::XMLPrinter printer(/*file=*/nullptr, compact);
        tree->Print(&printer);
        output.append(printer.CStr(), static_cast<std::size_t>(printer.CStrSize() - 1));
    }
};

}  // namespace xml_bench
