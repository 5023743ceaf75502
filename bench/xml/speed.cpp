// How fast the parsers in the field parse, write and find; every figure of one run can be compared with every other.
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "libraries/expat_events.h"
#include "libraries/libxml.h"
#include "libraries/pugi.h"
#include "libraries/rapid.h"
#include "libraries/tiny.h"
#include "libraries/wpk.h"
#include "documents.h"

namespace xml_bench {
namespace {

template <class TestedLibrary>
void ParseAndDestroy(benchmark::State& state, const Document& document) {
    for (auto _ : state) {
        typename TestedLibrary::Tree tree = TestedLibrary::Parse(document.indented);
        benchmark::DoNotOptimize(tree);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * document.indented.size()));
}

template <class TestedLibrary>
void WriteRaw(benchmark::State& state, const Document& document) {
    const typename TestedLibrary::Tree tree = TestedLibrary::Parse(document.indented);
    for (auto _ : state) {
        std::string output;
        TestedLibrary::WriteRaw(tree, output);
        benchmark::DoNotOptimize(output);
    }
}

template <class TestedLibrary>
void WriteIndented(benchmark::State& state, const Document& document) {
    const typename TestedLibrary::Tree tree = TestedLibrary::Parse(document.compact);
    for (auto _ : state) {
        std::string output;
        TestedLibrary::WriteIndented(tree, output);
        benchmark::DoNotOptimize(output);
    }
}

template <class TestedLibrary>
void FindLastChild(benchmark::State& state, const Document& document) {
    const typename TestedLibrary::Tree tree = TestedLibrary::Parse(document.indented);
    for (auto _ : state) {
        if (!TestedLibrary::Find(tree, document.last_child)) state.SkipWithError("not found");
    }
}

using Measurement = void (*)(benchmark::State&, const Document&);

void Register(const char* what, const Document& document, const char* who, Measurement measure) {
    const std::string name = std::string(what) + "/" + document.name + "/" + who;
    benchmark::RegisterBenchmark(name.c_str(),
                                 [&document, measure](benchmark::State& state) { measure(state, document); });
}

template <class TestedLibrary>
void RegisterTree(const Document& document) {
    Register("parse", document, TestedLibrary::kName, ParseAndDestroy<TestedLibrary>);
    Register("write_raw", document, TestedLibrary::kName, WriteRaw<TestedLibrary>);
    Register("write_indented", document, TestedLibrary::kName, WriteIndented<TestedLibrary>);
    Register("find", document, TestedLibrary::kName, FindLastChild<TestedLibrary>);
}

void RegisterAll(const std::vector<Document>& documents) {
    for (const Document& document : documents) {
        RegisterTree<Wpk>(document);
        RegisterTree<Pugi>(document);
        RegisterTree<Rapid>(document);
        RegisterTree<Tiny>(document);
        RegisterTree<LibXml>(document);
        Register("parse", document, ExpatEvents::kName, ParseAndDestroy<ExpatEvents>);
    }
}

}  // namespace
}  // namespace xml_bench

int main(int argc, char** argv) {
    const std::vector<xml_bench::Document> documents = xml_bench::MakeDocuments();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    xml_bench::RegisterAll(documents);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
