// What the window program's tree shows of an XML document.
// SPDX-License-Identifier: MIT
#include "desktop/outline.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace desktop {
namespace {

std::vector<OutlineLine> OutlineOf(const std::string& bytes) {
    const AdvXMLParser::Parser parser;
    const std::unique_ptr<AdvXMLParser::Document> document(parser.Parse(bytes.data(), static_cast<int>(bytes.size())));
    return Outline(*document);
}

/// One line each, two blanks a level.
std::string Drawn(const std::string& bytes) {
    std::string text;
    for (const OutlineLine& line : OutlineOf(bytes)) {
        text += std::string(2 * static_cast<size_t>(line.level), ' ') + line.text + "\n";
    }
    return text;
}

TEST(DesktopOutline, ElementsBecomeNestedLines) {
    EXPECT_EQ(Drawn("<a><b><c/></b><d/></a>"), "a\n  b\n    c\n  d\n");
}

TEST(DesktopOutline, TextOfAnElementStandsBehindItsName) {
    EXPECT_EQ(Drawn("<a><b>x  y</b><c>&lt;z&#33;<![CDATA[&]]></c></a>"), "a\n  b: x y\n  c: <z!&\n");
}

TEST(DesktopOutline, AttributesStandBelowTheirElement) {
    EXPECT_EQ(Drawn("<a m='1'><b n='2' o='3'>x</b></a>"), "a\n  @m: 1\n  b: x\n    @n: 2\n    @o: 3\n");
}

TEST(DesktopOutline, TextBetweenElementsIsALineAndLayoutIsNone) {
    EXPECT_EQ(Drawn("<a>\n  one &amp; two\n  <b/>\n  three\n</a>"), "a\n  one & two\n  b\n  three\n");
}

TEST(DesktopOutline, CommentsAndInstructionsAreShownAsSuch) {
    EXPECT_EQ(Drawn("<!--x--><a><?p q?><b/></a>"), "<!--x-->\na\n  <?p q?>\n  b\n");
}

TEST(DesktopOutline, EmptyRootIsOneLine) {
    EXPECT_EQ(Drawn("<a/>"), "a\n");
}

TEST(DesktopOutline, LongTextIsCutBetweenCharacters) {
    std::string text = "x";
    for (int i = 0; i < 200; ++i) text += "\xC3\xA9";
    const std::vector<OutlineLine> lines = OutlineOf("<a>" + text + "</a>");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].text, "a: " + text.substr(0, 247) + "...");
}

TEST(DesktopOutline, DocumentOfManyElementsIsCut) {
    std::string bytes = "<a>";
    for (int i = 0; i < 20000; ++i) bytes += "<b/>";
    const std::vector<OutlineLine> lines = OutlineOf(bytes + "</a>");
    ASSERT_EQ(lines.size(), kMaxOutlineLines);
    EXPECT_EQ(lines.back().text, "...");
    EXPECT_EQ(lines.back().level, 0);
}

TEST(DesktopOutline, DocumentOfAMillionLevelsIsCut) {
    constexpr size_t kLevels = 1000000;
    std::string bytes;
    for (size_t i = 0; i < kLevels; ++i) bytes += "<a>";
    for (size_t i = 0; i < kLevels; ++i) bytes += "</a>";
    const std::vector<OutlineLine> lines = OutlineOf(bytes);
    ASSERT_EQ(lines.size(), kMaxOutlineLevels + 1);
    EXPECT_EQ(lines.back().text, "...");
    EXPECT_EQ(lines.back().level, static_cast<int>(kMaxOutlineLevels));
}

TEST(DesktopOutline, NoLevelIsSkippedOnTheWayDown) {
    int level = -1;
    for (const OutlineLine& line : OutlineOf("<a x='1'><b><c y='2'>t<d/>u</c></b>v</a>")) {
        EXPECT_LE(line.level, level + 1) << line.text;
        level = line.level;
    }
}

}  // namespace
}  // namespace desktop
