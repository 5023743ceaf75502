// A million of everything, on a stack of 64 KiB, in time that grows with the size and not with its square.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <memory>
#include <ostream>
#include <string>

#include "unit/xml_scale/small_stack.h"
#include "support/sanitized.h"
#include "wpk/xml.h"

namespace limits {
namespace {

using AdvXMLParser::Document;
using AdvXMLParser::Element;

/// A tenth is more than deep enough for 64 KiB of stack, too.
constexpr std::size_t kMillion = support::Many(1000000, 100000);

using Tree = std::unique_ptr<Document>;

std::string Repeat(const char* text, std::size_t count) {
    std::string repeated;
    for (std::size_t left = count; left > 0; --left) repeated += text;
    return repeated;
}

Tree Parse(const std::string& text) {
    return Tree(AdvXMLParser::Parser().Parse(text.data(), static_cast<int>(text.size())));
}

std::string Write(const AdvXMLParser::Node& node, unsigned flags) {
    std::string output;
    AdvXMLParser::WriteContext context;
    context.flags = flags;
    // The indentation of a deep tree would be the square of its depth.
    context.indent = "";
    context.output = &output;
    node.Write(context);
    return output;
}

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

std::string NestedElements(std::size_t count) {
    return Repeat("<a>", count) + "x" + Repeat("</a>", count);
}

std::string NestedGroups(std::size_t count) {
    return "<!DOCTYPE a [<!ELEMENT a " + Repeat("(", count) + "b" + Repeat(")*", count) + ">]><a>x</a>";
}

std::string Siblings(std::size_t count) {
    return "<r>" + Repeat("<a>x</a>", count) + "</r>";
}

std::string Attributes(std::size_t count) {
    return "<r" + Repeat(" a=\"x\"", count) + "/>";
}

std::string References(std::size_t count) {
    return "<r>" + Repeat("&amp;", count) + "</r>";
}

struct Shape {
    const char* name;
    std::string (*make)(std::size_t count);
    /// What the text of the whole document is, whatever the count; null when it depends on it.
    const char* text;
    /// Whether the tree written verbatim is the input itself (behind a declaration).
    bool is_written_as_read;
};

std::ostream& operator<<(std::ostream& stream, const Shape& shape) {
    return stream << shape.name;
}

/// Everything that walks a tree, in turn. Gives the CPU seconds of each step.
constexpr std::size_t kSteps = 6;
constexpr std::array<const char*, kSteps> kStepNames = {"parse", "text", "write", "write in lines", "clone", "delete"};
using StepTimes = std::array<double, kSteps>;

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
    std::size_t at_ = 0;
};

StepTimes WalkEverything(const Shape& shape, const std::string& input) {
    StepTimes times{};
    Stopwatch watch(times);
    Tree tree;
    std::unique_ptr<AdvXMLParser::Node> copy;
    std::string text;
    std::string written;
    std::string lines;
    watch.Time([&] { tree = Parse(input); });
    watch.Time([&] { text = tree->GetText(); });
    watch.Time([&] { written = Write(*tree, AdvXMLParser::WRITE_VERBATIM); });
    watch.Time([&] { lines = Write(*tree, 0); });
    watch.Time([&] { copy.reset(tree->Clone(&AdvXMLParser::NullElement())); });
    if (shape.text != nullptr) {
        EXPECT_EQ(text, shape.text);
        EXPECT_EQ(copy->GetText(), shape.text);
    }
    EXPECT_EQ(written == kDeclaration + input, shape.is_written_as_read);
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
        for (std::size_t step = 0; step < kSteps; ++step) best[step] = std::min(best[step], times[step]);
    }
    return best;
}

/// Sixteen times the size may cost a hundred times as much, as the smaller tree may be one that the caches hold and
/// the larger one is not; a square would cost 256 times.
constexpr std::size_t kTimesAsMany = 16;
void ExpectLinear(const StepTimes& small, const StepTimes& large) {
    constexpr double kMostTimes = 100;
    constexpr double kTooShortToTell = 0.0002;
    for (std::size_t step = 0; step < kSteps; ++step) {
        EXPECT_LE(large[step], kMostTimes * std::max(small[step], kTooShortToTell))
            << kStepNames[step] << ": " << small[step] << " s, " << kTimesAsMany << " times as many: " << large[step]
            << " s";
    }
}

class AMillion : public testing::TestWithParam<Shape> {};

TEST_P(AMillion, NeedsNoStackAndTimeInProportion) {
    KeepFreedMemory();
    RunOnSmallStack([] {
        if (support::kIsSanitized) {
            // A sanitizer's own work is not in proportion to anything: the stack alone is looked at.
            WalkEverything(GetParam(), GetParam().make(kMillion));
            return;
        }
        const StepTimes small = BestTimes(GetParam(), GetParam().make(kMillion / kTimesAsMany));
        const StepTimes large = BestTimes(GetParam(), GetParam().make(kMillion));
        ExpectLinear(small, large);
    });
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

/// A chain of elements put together by an application.
Tree BuildDeepTree(std::size_t depth) {
    Tree tree = std::make_unique<Document>("a");
    Element* bottom = tree->root;
    for (std::size_t level = 1; level < depth; ++level) {
        auto* child = new Element(bottom, "a");
        bottom->AppendChild(child);
        bottom = child;
    }
    bottom->AppendText("x");
    return tree;
}

TEST(ATreeBuiltByHand, AMillionLevelsDeepNeedsNoStack) {
    RunOnSmallStack([] {
        const Tree tree = BuildDeepTree(kMillion);
        EXPECT_EQ(tree->GetText(), "x");
        EXPECT_TRUE(Write(*tree, AdvXMLParser::WRITE_VERBATIM) == kDeclaration + NestedElements(kMillion));
        const std::unique_ptr<AdvXMLParser::Node> copy(tree->Clone(&AdvXMLParser::NullElement()));
        EXPECT_EQ(copy->GetText(), "x");
        tree->root->DeleteChildren();
        EXPECT_EQ(tree->GetText(), "");
    });
}

TEST(ADeepTree, TakenApartFromTheTopNeedsNoStack) {
    RunOnSmallStack([] {
        const Tree tree = Parse(NestedElements(kMillion));
        auto* upper = static_cast<Element*>(tree->root->children[1]);
        tree->root->children.erase(tree->root->children.begin() + 1);
        const std::unique_ptr<Element> kept(upper);
        tree->root->DeleteChildren();
        EXPECT_EQ(kept->GetText(), "x");
    });
}

TEST(AnUnfinishedDocument, AMillionLevelsDeepFailsAndFreesWhatItHad) {
    RunOnSmallStack([] {
        const std::string input = Repeat("<a b='c'>", kMillion);
        try {
            Parse(input);
            ADD_FAILURE() << "accepted";
        } catch (const AdvXMLParser::ParsingException& exception) {
            EXPECT_EQ(exception.code, 1U);
        }
    });
}

TEST(AnUnfinishedContentModel, AMillionGroupsDeepFails) {
    RunOnSmallStack([] {
        try {
            Parse("<!DOCTYPE a [<!ELEMENT a " + Repeat("(", kMillion) + ">]><a/>");
            ADD_FAILURE() << "accepted";
        } catch (const AdvXMLParser::ParsingException& exception) {
            EXPECT_EQ(exception.code, 29U);
        }
    });
}

TEST(Lookups, AmongAMillionChildrenFindFirstAndLast) {
    const Tree tree = Parse("<r><first/>" + Repeat("<a/>", kMillion) + "<last/></r>");
    EXPECT_EQ(tree->root->FindElement("first"), tree->root->children[1]);
    EXPECT_EQ(tree->root->FindElement("last"), tree->root->children[tree->root->children.size() - 2]);
    EXPECT_TRUE(AdvXMLParser::IsNull(tree->root->FindElement("none")));
    std::size_t found = 0;
    for (std::size_t at = 0; tree->root->FindNextElement("a", at); ++at) ++found;
    EXPECT_EQ(found, kMillion);
}

}  // namespace
}  // namespace limits
