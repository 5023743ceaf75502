// In the field: pugixml, told to keep everything, as this library does.
// SPDX-License-Identifier: MIT
#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

namespace xml_bench {

struct Pugi {
    static constexpr const char* kName = "pugixml";
    using Tree = std::unique_ptr<pugi::xml_document>;

    static Tree Parse(const std::string& text) {
        constexpr unsigned kKeepEverything = pugi::parse_default | pugi::parse_comments | pugi::parse_pi |
                                             pugi::parse_declaration | pugi::parse_doctype | pugi::parse_ws_pcdata;
        auto tree = std::make_unique<pugi::xml_document>();
        if (!tree->load_buffer(text.data(), text.size(), kKeepEverything)) throw std::runtime_error("pugixml");
        return tree;
    }

    static void WriteRaw(const Tree& tree, std::string& output) { Write(tree, output, pugi::format_raw); }

    static void WriteIndented(const Tree& tree, std::string& output) { Write(tree, output, pugi::format_indent); }

    static bool Find(const Tree& tree, const std::string& name) {
        return static_cast<bool>(tree->document_element().child(name.c_str()));
    }

private:
    struct StringWriter : pugi::xml_writer {
        explicit StringWriter(std::string& target) : output(target) {}
        void write(const void* data, std::size_t size) override { output.append(static_cast<const char*>(data), size); }
        std::string& output;
    };

    static void Write(const Tree& tree, std::string& output, unsigned flags) {
        StringWriter writer(output);
        tree->save(writer, "  ", flags);
    }
};

}  // namespace xml_bench
