// Does one thing with one document a number of times, for a tool that counts instructions. See instructions.sh.
// SPDX-License-Identifier: MIT
#include <cstdio>
#include <string>

#include "shapes.h"
#include "tested_library.h"

namespace xml_bench {
namespace {

void Repeat(const TestedLibrary& library, const std::string& work, const std::string& bytes, int times) {
    if (work == "parse") {
        for (int i = 0; i < times; ++i) library.destroy(library.parse(bytes));
        return;
    }
    void* const tree = library.parse(bytes);
    for (int i = 0; i < times; ++i) {
        std::string output;
        library.write(tree, work == "raw", output);
    }
    library.destroy(tree);
}

/// False when there is no such library or document.
bool Run(const std::string& name, const std::string& work, const std::string& document, int times) {
    for (const TestedLibrary* library : kTested) {
        if (library->name != name) continue;
        for (const Shape& shape : MakeShapes(1)) {
            if (shape.name != document) continue;
            Repeat(*library, work, shape.bytes, times);
            return true;
        }
    }
    return false;
}

}  // namespace
}  // namespace xml_bench

int main(int argc, char** argv) {
    if (argc == 5 && xml_bench::Run(argv[1], argv[2], argv[3], std::stoi(argv[4]))) return 0;
    std::fprintf(stderr, "Usage: xml_instructions wpk|baseline|pugixml parse|raw|indented DOCUMENT TIMES\n");
    return 2;
}
