// How fast the parsers in the field parse, write and find; every figure of one run can be compared with every other.
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "contestants/expat_events.h"
#include "contestants/libxml.h"
#include "contestants/pugi.h"
#include "contestants/rapid.h"
#include "contestants/tiny.h"
#include "contestants/wpk.h"
#include "documents.h"

namespace xml_bench {
namespace {

template <class Contestant>
void ParseAndDestroy(benchmark::State& state, const Document& document) {
    for (auto _ : state) {
        typename Contestant::Tree tree = Contestant::Parse(document.indented);
        benchmark::DoNotOptimize(tree);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * document.indented.size()));
}

template <class Contestant>
void WriteRaw(benchmark::State& state, const Document& document) {
    const typename Contestant::Tree tree = Contestant::Parse(document.indented);
    for (auto _ : state) {
        std::string output;
        Contestant::WriteRaw(tree, output);
        benchmark::DoNotOptimize(output);
    }
}

template <class Contestant>
void WriteIndented(benchmark::State& state, const Document& document) {
    const typename Contestant::Tree tree = Contestant::Parse(document.compact);
    for (auto _ : state) {
        std::string output;
        Contestant::WriteIndented(tree, output);
        benchmark::DoNotOptimize(output);
    }
}

template <class Contestant>
void FindLastChild(benchmark::State& state, const Document& document) {
    const typename Contestant::Tree tree = Contestant::Parse(document.indented);
    for (auto _ : state) {
        if (!Contestant::Find(tree, document.last_child)) state.SkipWithError("not found");
    }
}

using Measurement = void (*)(benchmark::State&, const Document&);

void Register(const char* what, const Document& document, const char* who, Measurement measure) {
    const std::string name = std::string(what) + "/" + document.name + "/" + who;
    benchmark::RegisterBenchmark(name.c_str(),
                                 [&document, measure](benchmark::State& state) { measure(state, document); });
}

template <class Contestant>
void RegisterTree(const Document& document) {
    Register("parse", document, Contestant::kName, ParseAndDestroy<Contestant>);
    Register("write_raw", document, Contestant::kName, WriteRaw<Contestant>);
    Register("write_indented", document, Contestant::kName, WriteIndented<Contestant>);
    Register("find", document, Contestant::kName, FindLastChild<Contestant>);
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
