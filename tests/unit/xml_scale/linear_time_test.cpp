// Everything that walks a tree, on a stack of 64 KiB, in time that grows with the size and not with its square.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <memory>
#include <ostream>
#include <string>

#include "support/sanitized.h"
#include "support/small_stack.h"
#include "support/xml.h"
#include "wpk/xml.h"

using support::kIsSanitized;
using xml_tests::DocumentPtr;
using xml_tests::Parse;
using xml_tests::Written;

namespace {

/// A tenth is more than deep enough for 64 KiB of stack, too.
constexpr size_t kMillion = support::Many(1000000, 100000);

std::string Repeat(const char* text, size_t count) {
    std::string repeated;
    for (size_t left = count; left > 0; --left) repeated += text;
    return repeated;
}

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

std::string NestedElements(size_t count) {
    return Repeat("<a>", count) + "x" + Repeat("</a>", count);
}

std::string NestedGroups(size_t count) {
    return "<!DOCTYPE a [<!ELEMENT a " + Repeat("(", count) + "b" + Repeat(")*", count) + ">]><a>x</a>";
}

std::string Siblings(size_t count) {
    return "<r>" + Repeat("<a>x</a>", count) + "</r>";
}

std::string Attributes(size_t count) {
    return "<r" + Repeat(" a=\"x\"", count) + "/>";
}

std::string References(size_t count) {
    return "<r>" + Repeat("&amp;", count) + "</r>";
}

struct Shape {
    const char* name;
    std::string (*make)(size_t count);
    /// What the text of the whole document is, whatever the count; null when it depends on it.
    const char* text;
    /// Whether the tree written verbatim is the input itself (behind a declaration).
    bool isWrittenAsRead;
};

std::ostream& operator<<(std::ostream& stream, const Shape& shape) {
    return stream << shape.name;
}

/// Everything that walks a tree, in turn. Gives the CPU seconds of each step.
constexpr size_t kSteps = 6;
constexpr std::array<const char*, kSteps> kStepNames = {"parse", "text", "write", "write in lines", "clone", "delete"};
using StepTimes = std::array<double, kSteps>;

/// CPU time that the calling thread has used: other programs on the machine do not count.
double ThreadSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

class Stopwatch {
public:
    explicit Stopwatch(StepTimes& times) : times_(times) {}

    template <class Step>
    void Time(Step step) {
        const double before = ThreadSeconds();
        step();
        times_[at_++] = ThreadSeconds() - before;
    }

private:
    StepTimes& times_;
    size_t at_ = 0;
};

StepTimes WalkEverything(const Shape& shape, const std::string& input) {
    StepTimes times{};
    Stopwatch watch(times);
    DocumentPtr tree;
    std::unique_ptr<AdvXMLParser::Node> copy;
    std::string text;
    std::string written;
    std::string lines;
    watch.Time([&] { tree = Parse(input); });
    watch.Time([&] { text = tree->GetText(); });
    watch.Time([&] { written = Written(*tree, AdvXMLParser::WRITE_VERBATIM); });
    // The indentation of a deep tree would be the square of its depth.
    watch.Time([&] { lines = Written(*tree, 0, ""); });
    watch.Time([&] { copy.reset(tree->Clone(&AdvXMLParser::NullElement())); });
    if (shape.text) {
        EXPECT_EQ(text, shape.text);
        EXPECT_EQ(copy->GetText(), shape.text);
    }
    EXPECT_EQ(written == kDeclaration + input, shape.isWrittenAsRead);
    EXPECT_GE(lines.size(), written.size());
    watch.Time([&] {
        tree.reset();
        copy.reset();
    });
    return times;
}

/// Lets freed memory stay with the program. Otherwise a large tree gets new pages from the system for every run and a
/// smaller one does not, and the times would tell how dear pages are.
void KeepFreedMemory() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    mallopt(M_ARENA_MAX, 1);
}

/// The best of five runs, step by step: what other programs and the state of the heap add is not the library's.
StepTimes BestTimes(const Shape& shape, const std::string& input) {
    constexpr int kRuns = 5;
    StepTimes best = WalkEverything(shape, input);
    for (int run = 1; run < kRuns; ++run) {
        const StepTimes times = WalkEverything(shape, input);
        for (size_t step = 0; step < kSteps; ++step) best[step] = std::min(best[step], times[step]);
    }
    return best;
}

/// Sixteen times the size may cost a hundred times as much, as the smaller tree may be one that the caches hold and
/// the larger one is not; a square would cost 256 times.
constexpr size_t kTimesAsMany = 16;
void ExpectLinear(const StepTimes& small, const StepTimes& large) {
    constexpr double kMostTimes = 100;
    constexpr double kTooShortToTell = 0.0002;
    for (size_t step = 0; step < kSteps; ++step) {
        EXPECT_LE(large[step], kMostTimes * std::max(small[step], kTooShortToTell))
            << kStepNames[step] << ": " << small[step] << " s, " << kTimesAsMany << " times as many: " << large[step]
            << " s";
    }
}

class AMillion : public testing::TestWithParam<Shape> {};

TEST_P(AMillion, NeedsNoStackAndTimeInProportion) {
    KeepFreedMemory();
    ASSERT_TRUE(wpk::test::RunOnSmallStack([] {
        if (kIsSanitized) {
            // A sanitizer's own work is not in proportion to anything: the stack alone is looked at.
            WalkEverything(GetParam(), GetParam().make(kMillion));
            return;
        }
        const StepTimes small = BestTimes(GetParam(), GetParam().make(kMillion / kTimesAsMany));
        const StepTimes large = BestTimes(GetParam(), GetParam().make(kMillion));
        ExpectLinear(small, large);
    }));
}

std::string NameOf(const testing::TestParamInfo<Shape>& shape) {
    return shape.param.name;
}

INSTANTIATE_TEST_SUITE_P(Of, AMillion,
                         testing::Values(Shape{"NestedElements", NestedElements, "x", true},
                                         Shape{"NestedGroups", NestedGroups, "x", false},
                                         Shape{"Siblings", Siblings, nullptr, true},
                                         Shape{"Attributes", Attributes, "", true},
                                         Shape{"References", References, nullptr, true}),
                         NameOf);

}  // namespace
