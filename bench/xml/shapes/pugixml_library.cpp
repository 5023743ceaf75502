// pugixml, told to keep everything, as this library does.
// SPDX-License-Identifier: MIT
#include <pugixml.hpp>

#include <cstddef>
#include <memory>
#include <stdexcept>

#include "tested_library.h"

namespace xml_bench {

namespace {

void* Parse(const std::string& bytes) {
    auto tree = std::make_unique<pugi::xml_document>();
    if (!tree->load_buffer(bytes.data(), bytes.size(), pugi::parse_full | pugi::parse_ws_pcdata)) {
        throw std::runtime_error("pugixml");
    }
    return tree.release();
}

void Destroy(void* tree) {
    delete static_cast<pugi::xml_document*>(tree);
}

struct StringWriter : pugi::xml_writer {
    explicit StringWriter(std::string& target) : output(target) {}
    void write(const void* data, std::size_t size) override { output.append(static_cast<const char*>(data), size); }
    std::string& output;
};

void Write(const void* tree, bool isRaw, std::string& output) {
    StringWriter writer(output);
    static_cast<const pugi::xml_document*>(tree)->save(writer, "  ", isRaw ? pugi::format_raw : pugi::format_indent);
}

}  // namespace

const TestedLibrary kPugixml{"pugixml", Parse, Destroy, Write, nullptr};

}  // namespace xml_bench
