// How much heap a parsed tree holds, for each parser in the field. Prints lines of: figure, document, parser, bytes per
// byte of input (or bytes per document).
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "libraries/libxml.h"
#include "libraries/pugi.h"
#include "libraries/rapid.h"
#include "libraries/tiny.h"
#include "libraries/wpk.h"
#include "documents.h"
#include "heap_count.h"

namespace xml_bench {
namespace {

void Print(const char* figure, const std::string& document, const char* who, double value) {
    std::printf("%s %s %s %.3f\n", figure, document.c_str(), who, value);
}

/// What a library allocates once and for all does not count.
template <class TestedLibrary>
void WarmUp(const Document& document) {
    TestedLibrary::Parse(document.indented);
}

template <class TestedLibrary>
void MeasureTree(const Document& document) {
    WarmUp<TestedLibrary>(document);
    const std::size_t before = LiveHeapBytes();
    ResetPeak();
    const typename TestedLibrary::Tree tree = TestedLibrary::Parse(document.indented);
    const double size = static_cast<double>(document.indented.size());
    Print("live", document.name, TestedLibrary::kName, static_cast<double>(LiveHeapBytes() - before) / size);
    Print("peak", document.name, TestedLibrary::kName, static_cast<double>(PeakHeapBytes() - before) / size);
}

template <class TestedLibrary>
void MeasureManyKept(const Document& document) {
    constexpr std::size_t kDocuments = 40000;
    WarmUp<TestedLibrary>(document);
    std::vector<typename TestedLibrary::Tree> kept;
    kept.reserve(kDocuments);
    const std::size_t before = LiveHeapBytes();
    for (std::size_t at = 0; at < kDocuments; ++at) kept.push_back(TestedLibrary::Parse(document.indented));
    const double each = static_cast<double>(LiveHeapBytes() - before) / static_cast<double>(kDocuments);
    Print("kept", document.name, TestedLibrary::kName, each);
}

template <class TestedLibrary>
void MeasureAll(const std::vector<Document>& documents) {
    for (const Document& document : documents) MeasureTree<TestedLibrary>(document);
    MeasureManyKept<TestedLibrary>(documents.front());
}

}  // namespace
}  // namespace xml_bench

int main() {
    using namespace xml_bench;
    const std::vector<Document> documents = MakeDocuments();
    for (const Document& document : documents)
        Print("size", document.name, "input", static_cast<double>(document.indented.size()));
    MeasureAll<Wpk>(documents);
    MeasureAll<Pugi>(documents);
    MeasureAll<Rapid>(documents);
    MeasureAll<Tiny>(documents);
    MeasureAll<LibXml>(documents);
    return 0;
}
