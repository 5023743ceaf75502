// The library beside a plain sockets program: small requests, large replies.
// SPDX-License-Identifier: MIT
//
// Usage: transport_speed PORT [ROUNDS]. The clients take turns within every round, so that a slow moment of the
// machine hits both; figures are medians over the rounds.
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "in_flight.h"
#include "library_client.h"
#include "plain_client.h"

namespace bench {

namespace {

constexpr uint32_t kSmallReply = 200;
constexpr uint32_t kMiB = 1 << 20;

/// What one client achieved, one value for each request or block.
using Figures = std::vector<double>;

struct TestedClient {
    const char* name;
    Starter start;
};

/// In the order of the columns.
constexpr TestedClient kTested[] = {{"library", StartInLibrary}, {"plain", StartPlain}, {"looking", StartLooking}};
constexpr size_t kLibrary = 0, kPlain = 1, kLooking = 2;

struct Comparison {
    const char* what;
    const char* unit;
    Figures figures[std::size(kTested)];
};

/// Above or below which the ratio of the library to another client should stay.
struct Target {
    enum Kind { kAtMost, kAtLeast } kind;
    double ratio;
    size_t to;
};

void PrintHead() {
    std::printf("%-40s", "");
    for (const TestedClient& client : kTested) std::printf(" %8s", client.name);
    std::printf(" %-10s  to plain  to looking   target\n", "");
}

void Print(const Comparison& comparison, const Target& target) {
    double medians[std::size(kTested)];
    std::printf("%-40s", comparison.what);
    for (size_t i = 0; i < std::size(kTested); ++i) {
        medians[i] = Median(comparison.figures[i]);
        std::printf(" %8.1f", medians[i]);
    }
    const double ratio = medians[kLibrary] / medians[target.to];
    const bool met = target.kind == Target::kAtMost ? ratio <= target.ratio : ratio >= target.ratio;
    std::printf(" %-10s %9.2f %11.2f   %s %.2f to %s: %s\n", comparison.unit, medians[kLibrary] / medians[kPlain],
                medians[kLibrary] / medians[kLooking], target.kind == Target::kAtMost ? "at most" : "at least",
                target.ratio, kTested[target.to].name, met ? "met" : "MISSED");
    std::fflush(stdout);
}

void AddLatencies(const Block& block, Figures& figures) {
    for (const Request& request : block.requests) figures.push_back(request.ended - request.started);
}

void MeasureLatency(uint32_t port, unsigned rounds) {
    Comparison latency{"200 bytes, 1 in flight: until final call", "us", {}};
    for (unsigned round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < std::size(kTested); ++i) {
            AddLatencies(Run(kTested[i].start, {port, kSmallReply, 100, 1}), latency.figures[i]);
        }
    }
    Print(latency, {Target::kAtMost, 1.65, kPlain});
}

double RequestsPerSecond(const Block& block) {
    return static_cast<double>(block.requests.size()) * 1e6 / block.duration;
}

void MeasureThroughput(uint32_t port, unsigned rounds, unsigned inFlight, const char* what) {
    Comparison throughput{what, "requests/s", {}};
    const Order order{port, kSmallReply, 320, inFlight};
    for (unsigned round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < std::size(kTested); ++i) {
            throughput.figures[i].push_back(RequestsPerSecond(Run(kTested[i].start, order)));
        }
    }
    Print(throughput, {Target::kAtLeast, 0.45, kPlain});
}

void AddRates(const Block& block, Figures& receiving, Figures& whole) {
    for (const Request& request : block.requests) {
        receiving.push_back((request.replyLength - request.firstLength) / (request.lastPiece - request.firstPiece));
        whole.push_back(request.replyLength / (request.ended - request.started));
    }
}

struct LargeReply {
    uint32_t length;
    unsigned count;
    const char* receiving;
    const char* whole;
};

void MeasureLargeReplies(uint32_t port, unsigned rounds, const LargeReply& reply) {
    Comparison receiving{reply.receiving, "MB/s", {}};
    Comparison whole{reply.whole, "MB/s", {}};
    const Order order{port, reply.length, reply.count, 1};
    for (unsigned round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < std::size(kTested); ++i) {
            AddRates(Run(kTested[i].start, order), receiving.figures[i], whole.figures[i]);
        }
    }
    Print(receiving, {Target::kAtLeast, 0.9, kLooking});
    Print(whole, {Target::kAtLeast, 0.9, kLooking});
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
    using namespace bench;
    if (argc < 2) {
        std::fprintf(stderr, "usage: transport_speed PORT [ROUNDS]\n");
        return 2;
    }
    const uint32_t port = static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10));
    const unsigned rounds = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) : 9;
    InitialiseLibrary();
    InitialisePlain();
    for (const TestedClient& client : kTested) Run(client.start, {port, kSmallReply, 50, 4});

    PrintHead();
    MeasureLatency(port, rounds);
    MeasureThroughput(port, rounds, 16, "200 bytes, 16 in flight");
    MeasureThroughput(port, rounds, 64, "200 bytes, 64 in flight");
    MeasureLargeReplies(port, rounds, {kMiB, 5, "1 MiB reply: first to last byte", "1 MiB reply: whole request"});
    MeasureLargeReplies(port, rounds,
                        {64 * kMiB, 1, "64 MiB reply: first to last byte", "64 MiB reply: whole request"});
}
