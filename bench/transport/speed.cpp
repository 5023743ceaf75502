// The library beside a plain sockets program: small requests, large replies.
// SPDX-License-Identifier: MIT
//
// Usage: transport_speed PORT [ROUNDS]. The contestants take turns within every round, so that a slow moment of the
// machine hits both; figures are medians over the rounds.
#include <cstdio>
#include <cstdlib>

#include "in_flight.h"
#include "library_client.h"
#include "plain_client.h"

namespace bench {

namespace {

constexpr uint32_t kSmallReply = 200;
constexpr uint32_t kMiB = 1 << 20;

/// What one contestant achieved, one value for each request or block.
using Figures = std::vector<double>;

struct Comparison {
    const char* what;
    const char* unit;
    Figures library;
    Figures plain;
};

/// Above or below which the ratio of library to plain should stay.
enum class Target { kAtMost, kAtLeast };

void Print(const Comparison& comparison, Target kind, double target) {
    const double library = Median(comparison.library);
    const double plain = Median(comparison.plain);
    const double ratio = library / plain;
    const bool met = kind == Target::kAtMost ? ratio <= target : ratio >= target;
    std::printf("%-44s %9.1f %9.1f %-10s %6.2f   %s %.2f  %s\n", comparison.what, library, plain, comparison.unit,
                ratio, kind == Target::kAtMost ? "at most " : "at least", target, met ? "met" : "MISSED");
    std::fflush(stdout);
}

void AddLatencies(const Block& block, Figures& figures) {
    for (const Request& request : block.requests) figures.push_back(request.ended - request.started);
}

void MeasureLatency(uint32_t port, unsigned rounds) {
    Comparison latency{"200 bytes, 1 in flight: send to final call", "us", {}, {}};
    for (unsigned i = 0; i < rounds; ++i) {
        AddLatencies(Run(StartInLibrary, {port, kSmallReply, 100, 1}), latency.library);
        AddLatencies(Run(StartPlain, {port, kSmallReply, 100, 1}), latency.plain);
    }
    Print(latency, Target::kAtMost, 1.65);
}

double RequestsPerSecond(const Block& block) {
    return static_cast<double>(block.requests.size()) * 1e6 / block.duration;
}

void MeasureThroughput(uint32_t port, unsigned rounds, unsigned inFlight, const char* what) {
    Comparison throughput{what, "requests/s", {}, {}};
    const Order order{port, kSmallReply, 320, inFlight};
    for (unsigned i = 0; i < rounds; ++i) {
        throughput.library.push_back(RequestsPerSecond(Run(StartInLibrary, order)));
        throughput.plain.push_back(RequestsPerSecond(Run(StartPlain, order)));
    }
    Print(throughput, Target::kAtLeast, 0.45);
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
    Comparison receiving{reply.receiving, "MB/s", {}, {}};
    Comparison whole{reply.whole, "MB/s", {}, {}};
    const Order order{port, reply.length, reply.count, 1};
    for (unsigned i = 0; i < rounds; ++i) {
        AddRates(Run(StartInLibrary, order), receiving.library, whole.library);
        AddRates(Run(StartPlain, order), receiving.plain, whole.plain);
    }
    Print(receiving, Target::kAtLeast, 0.9);
    Print(whole, Target::kAtLeast, 0.9);
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
    Run(StartInLibrary, {port, kSmallReply, 50, 4});
    Run(StartPlain, {port, kSmallReply, 50, 4});

    std::printf("%-44s %9s %9s %-10s %6s   target\n", "", "library", "plain", "", "ratio");
    MeasureLatency(port, rounds);
    MeasureThroughput(port, rounds, 16, "200 bytes, 16 in flight");
    MeasureThroughput(port, rounds, 64, "200 bytes, 64 in flight");
    MeasureLargeReplies(port, rounds, {kMiB, 5, "1 MiB reply: first to last byte", "1 MiB reply: whole request"});
    MeasureLargeReplies(port, rounds,
                        {64 * kMiB, 1, "64 MiB reply: first to last byte", "64 MiB reply: whole request"});
}
