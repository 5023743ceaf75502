// In the field: libxml2's trees.
// SPDX-License-Identifier: MIT
#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace xml_bench {

struct LibXml {
    static constexpr const char* kName = "libxml2";
    struct Free {
        void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
    };
    using Tree = std::unique_ptr<xmlDoc, Free>;

    static Tree Parse(const std::string& text) {
        Tree tree(xmlReadMemory(text.data(), static_cast<int>(text.size()), /*URL=*/nullptr, /*encoding=*/nullptr,
                                XML_PARSE_NONET));
        if (!tree) throw std::runtime_error("libxml2");
        return tree;
    }

    static void WriteRaw(const Tree& tree, std::string& output) { Write(tree, output, /*format=*/0); }

    static void WriteIndented(const Tree& tree, std::string& output) { Write(tree, output, /*format=*/1); }

    static bool Find(const Tree& tree, const std::string& name) {
        const auto* wanted = reinterpret_cast<const xmlChar*>(name.c_str());
        for (const xmlNode* child = xmlDocGetRootElement(tree.get())->children; child != nullptr; child = child->next) {
            if (child->type == XML_ELEMENT_NODE && xmlStrEqual(child->name, wanted)) return true;
        }
        return false;
    }

private:
    static void Write(const Tree& tree, std::string& output, int format) {
        xmlChar* bytes = nullptr;
        int size = 0;
        xmlDocDumpFormatMemory(tree.get(), &bytes, &size, format);
        output.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
        xmlFree(bytes);
    }
};

}  // namespace xml_bench
