// Measures parsing, destroying and writing of documents of many shapes, in turn with the other libraries, and prints
// ratios to the last of them.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "shapes.h"
#include "tested_library.h"

namespace xml_bench {
namespace {

using Clock = std::chrono::steady_clock;

double NsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

struct Options {
    std::uint64_t seed = 1;
    int rounds = 7;
    double share = 8e6;  // ns for one figure of one library in one round
    std::string only;
    bool isEdited = false;
};

/// Time per call, from as many calls as fill the share.
template <class Work>
double Measure(double share, Work work) {
    const Clock::time_point start = Clock::now();
    std::size_t calls = 0;
    double passed = 0;
    std::size_t batch = 1;
    while (passed < share) {
        for (std::size_t i = 0; i < batch; ++i) work();
        calls += batch;
        passed = NsSince(start);
        if (passed < share / 8) batch *= 2;
    }
    return passed / static_cast<double>(calls);
}

/// The two halves of a tree's life, with a look at the clock between them.
void MeasureHalves(const TestedLibrary& who, const std::string& bytes, Edit edit, double share, double& parse,
                   double& destroy) {
    parse = destroy = 0;
    std::size_t calls = 0;
    for (; parse + destroy < share; ++calls) {
        const Clock::time_point start = Clock::now();
        void* tree = who.parse(bytes);
        parse += NsSince(start);
        if (edit != Edit::kNone) tree = who.edit(tree, edit);
        const Clock::time_point middle = Clock::now();
        who.destroy(tree);
        destroy += NsSince(middle);
    }
    parse /= static_cast<double>(calls);
    destroy /= static_cast<double>(calls);
}

enum Figure { kBoth, kParse, kDestroy, kWriteRaw, kWriteIndented, kFigures };
constexpr const char* kFigureNames[] = {"both", "parse", "destroy", "raw", "indented"};

struct Row {
    std::string name;
    std::size_t bytes;
    /// By figure and library, the best of all rounds, in ns: whatever else runs on the machine only adds to a time.
    std::vector<double> figures[kFigures];
};

Row MeasureDocument(const Shape& shape, Edit edit, const Options& options) {
    Row row{shape.name, shape.bytes.size(), {}};
    std::vector<std::vector<double>> samples[kFigures];
    std::vector<const TestedLibrary*> libraries;
    for (const TestedLibrary* who : kTested) {
        if (edit == Edit::kNone || who->edit != nullptr) libraries.push_back(who);
    }
    for (auto& figure : samples) figure.resize(libraries.size());
    for (int round = 0; round < options.rounds; ++round) {
        for (std::size_t at = 0; at < libraries.size(); ++at) {
            const TestedLibrary& who = *libraries[at];
            double parse = 0;
            double destroy = 0;
            MeasureHalves(who, shape.bytes, edit, options.share, parse, destroy);
            samples[kParse][at].push_back(parse);
            samples[kDestroy][at].push_back(destroy);
            if (edit == Edit::kNone) {
                samples[kBoth][at].push_back(Measure(options.share, [&] { who.destroy(who.parse(shape.bytes)); }));
            } else {
                samples[kBoth][at].push_back(parse + destroy);
            }
            void* tree = who.parse(shape.bytes);
            if (edit != Edit::kNone) tree = who.edit(tree, edit);
            // Indented, deep documents are gigabytes of spaces.
            const bool isDeep = shape.name.find("nested") != std::string::npos && shape.bytes.size() > 4000;
            for (const bool isRaw : {true, false}) {
                if (isDeep && !isRaw) continue;
                samples[isRaw ? kWriteRaw : kWriteIndented][at].push_back(Measure(options.share, [&] {
                    std::string output;
                    who.write(tree, isRaw, output);
                }));
            }
            who.destroy(tree);
        }
    }
    for (int figure = 0; figure < kFigures; ++figure) {
        for (const auto& values : samples[figure]) {
            if (!values.empty()) row.figures[figure].push_back(*std::min_element(values.begin(), values.end()));
        }
    }
    return row;
}

void PrintHead(std::size_t libraries) {
    std::printf("%-22s %9s", "document", "bytes");
    for (const char* figure : kFigureNames) {
        for (std::size_t at = 0; at + 1 < libraries; ++at) {
            std::printf(" %9s", at == 0 ? figure : kTested[at]->name);
        }
        std::printf(" %11s", "ns");
    }
    std::printf("\n");
}

/// Ratios to the last library, whose own time follows.
void PrintRow(const Row& row) {
    std::printf("%-22s %9zu", row.name.c_str(), row.bytes);
    for (const auto& figure : row.figures) {
        for (std::size_t at = 0; at + 1 < figure.size(); ++at) std::printf(" %9.2f", figure[at] / figure.back());
        if (!figure.empty()) std::printf(" %11.0f", figure.back());
    }
    std::printf("\n");
    std::fflush(stdout);
}

template <class Select>
void PrintMeans(const char* name, const std::vector<Row>& rows, Select isIn) {
    std::printf("%-32s", name);
    for (int figure = 0; figure < kFigures; ++figure) {
        const std::size_t libraries = rows.front().figures[figure].size();
        for (std::size_t at = 0; at + 1 < libraries; ++at) {
            double sum = 0;
            double worst = 0;
            int count = 0;
            for (const Row& row : rows) {
                if (!isIn(row) || row.figures[figure].empty()) continue;
                const double ratio = row.figures[figure][at] / row.figures[figure].back();
                sum += std::log(ratio);
                worst = std::max(worst, ratio);
                ++count;
            }
            if (count != 0) std::printf(" %5.2f<%4.2f", std::exp(sum / count), worst);
        }
        std::printf(" %10s", kFigureNames[figure]);
    }
    std::printf("\n");
}

void Run(const Options& options) {
    std::vector<Shape> shapes = MakeShapes(options.seed);
    for (Shape& real : ReadRealDocuments()) shapes.push_back(std::move(real));
    std::vector<Row> rows;
    PrintHead(kTested.size());
    for (const Shape& shape : shapes) {
        if (shape.name.find(options.only) == std::string::npos) continue;
        rows.push_back(MeasureDocument(shape, Edit::kNone, options));
        PrintRow(rows.back());
    }
    if (rows.empty()) return;
    std::printf("geometric mean<worst\n");
    PrintMeans("all", rows, [](const Row&) { return true; });
    PrintMeans("up to 20 KB", rows, [](const Row& row) { return row.bytes < 40000; });
}

/// Trees that were built by hand or edited, with an edited one alive elsewhere: this library's own states only.
void RunEdited(const Options& options) {
    const struct {
        const char* name;
        Edit edit;
    } edits[] = {{"untouched", Edit::kNone},
                 {"read as mutable", Edit::kReadAsMutable},
                 {"one string", Edit::kOneString},
                 {"many places", Edit::kManyPlaces},
                 {"built by hand", Edit::kBuiltByHand}};
    const std::vector<Shape> shapes = MakeShapes(options.seed);
    std::vector<void*> elsewhere;
    for (const TestedLibrary* who : kTested) {
        if (who->edit != nullptr) elsewhere.push_back(who->edit(who->parse(shapes[0].bytes), Edit::kManyPlaces));
    }
    PrintHead(elsewhere.size());
    for (const auto& edit : edits) {
        for (const Shape& shape : shapes) {
            if (shape.name.rfind("records_", 0) == std::string::npos || shape.name.find("cr") != std::string::npos ||
                shape.name.find(options.only) == std::string::npos) {
                continue;
            }
            PrintRow(MeasureDocument({edit.name + std::string(" ") + shape.name.substr(8), shape.bytes}, edit.edit,
                                     options));
        }
    }
    std::size_t at = 0;
    for (const TestedLibrary* who : kTested) {
        if (who->edit != nullptr) who->destroy(elsewhere[at++]);
    }
}

/// Freed memory stays with the process, so that no figure counts how the system hands out pages.
void KeepPages() {
#if defined(__GLIBC__)
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TOP_PAD, 64 << 20);
#endif
}

}  // namespace
}  // namespace xml_bench

int main(int argc, char** argv) {
    xml_bench::Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const auto value = [&argument] { return argument.substr(argument.find('=') + 1); };
        if (argument == "--keep-pages") {
            xml_bench::KeepPages();
        } else if (argument == "--edited") {
            options.isEdited = true;
        } else if (argument.rfind("--seed=", 0) == 0) {
            options.seed = std::stoull(value());
        } else if (argument.rfind("--rounds=", 0) == 0) {
            options.rounds = std::stoi(value());
        } else if (argument.rfind("--ms=", 0) == 0) {
            options.share = std::stod(value()) * 1e6;
        } else if (argument.rfind("--only=", 0) == 0) {
            options.only = value();
        } else {
            std::fprintf(stderr,
                         "Usage: xml_shapes [--keep-pages] [--edited] [--seed=N] [--rounds=N] [--ms=N] "
                         "[--only=TEXT]\n");
            return 2;
        }
    }
    if (options.isEdited) {
        xml_bench::RunEdited(options);
    } else {
        xml_bench::Run(options);
    }
    return 0;
}
