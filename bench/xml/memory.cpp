// How much heap a parsed tree holds, for each parser in the field. Prints lines of: figure, document, parser, bytes per
// byte of input (or bytes per document).
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "contestants/libxml.h"
#include "contestants/pugi.h"
#include "contestants/rapid.h"
#include "contestants/tiny.h"
#include "contestants/wpk.h"
#include "documents.h"
#include "heap_count.h"

namespace xml_bench {
namespace {

void Print(const char* figure, const std::string& document, const char* who, double value) {
    std::printf("%s %s %s %.3f\n", figure, document.c_str(), who, value);
}

/// What a library allocates once and for all does not count.
template <class Contestant>
void WarmUp(const Document& document) {
    Contestant::Parse(document.indented);
}

template <class Contestant>
void MeasureTree(const Document& document) {
    WarmUp<Contestant>(document);
    const std::size_t before = LiveHeapBytes();
    ResetPeak();
    const typename Contestant::Tree tree = Contestant::Parse(document.indented);
    const double size = static_cast<double>(document.indented.size());
    Print("live", document.name, Contestant::kName, static_cast<double>(LiveHeapBytes() - before) / size);
    Print("peak", document.name, Contestant::kName, static_cast<double>(PeakHeapBytes() - before) / size);
}

template <class Contestant>
void MeasureManyKept(const Document& document) {
    constexpr std::size_t kDocuments = 40000;
    WarmUp<Contestant>(document);
    std::vector<typename Contestant::Tree> kept;
    kept.reserve(kDocuments);
    const std::size_t before = LiveHeapBytes();
    for (std::size_t at = 0; at < kDocuments; ++at) kept.push_back(Contestant::Parse(document.indented));
    const double each = static_cast<double>(LiveHeapBytes() - before) / static_cast<double>(kDocuments);
    Print("kept", document.name, Contestant::kName, each);
}

template <class Contestant>
void MeasureAll(const std::vector<Document>& documents) {
    for (const Document& document : documents) MeasureTree<Contestant>(document);
    MeasureManyKept<Contestant>(documents.front());
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
