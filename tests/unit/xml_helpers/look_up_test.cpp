// Reading by the helpers: attributes, values, loops over children.
// SPDX-License-Identifier: MIT
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include <gtest/gtest.h>

#include <wpk/xml_helpers.h>

using namespace wpk::xml;

namespace {

/// The text of an element with that content as a value.
template <class T>
auto ValueOf(const std::string& content, const T& fallback) {
    const std::unique_ptr<Document> document = Parse("<a>" + content + "</a>");
    return TextOr(document->root, fallback);
}

std::string Names(const ChildRange& children) {
    std::string names;
    for (const Element* child : children) names += std::string(child->name) + AttributeOr(child, "n", "") + " ";
    return names;
}

TEST(FindAttribute, FindsTheFirstOfThatName) {
    const auto document = Parse("<a x='1' y='2' x='3'/>");
    EXPECT_EQ(FindAttribute(document->root, "x")->GetText(), "1");
    EXPECT_EQ(FindAttribute(document->root, "y"), document->root->attributes[1]);
}

TEST(FindAttribute, GivesTheNullAttributeWhereThereIsNone) {
    const auto document = Parse("<a x='1'>text</a>");
    EXPECT_EQ(FindAttribute(document->root, "X"), &AdvXMLParser::NullAttribute());
    EXPECT_EQ(FindAttribute(document->root, ""), &AdvXMLParser::NullAttribute());
    EXPECT_EQ(FindAttribute(document->root->children[0], "x"), &AdvXMLParser::NullAttribute());
    EXPECT_EQ(FindAttribute(document.get(), "x"), &AdvXMLParser::NullAttribute());
    EXPECT_EQ(FindAttribute(&AdvXMLParser::NullElement(), "x"), &AdvXMLParser::NullAttribute());
    EXPECT_EQ(FindAttribute(nullptr, "x"), &AdvXMLParser::NullAttribute());
}

TEST(TextOr, ReadsIntegersOfEveryWidth) {
    EXPECT_EQ(ValueOf("-128", int8_t{0}), -128);
    EXPECT_EQ(ValueOf("255", uint8_t{0}), 255);
    EXPECT_EQ(ValueOf("-32768", int16_t{0}), -32768);
    EXPECT_EQ(ValueOf(" 42\n", 0), 42);
    EXPECT_EQ(ValueOf("+42", 0), 42);
    EXPECT_EQ(ValueOf("-9223372036854775808", int64_t{0}), (std::numeric_limits<int64_t>::min)());
    EXPECT_EQ(ValueOf("18446744073709551615", uint64_t{0}), (std::numeric_limits<uint64_t>::max)());
    EXPECT_EQ(ValueOf("4&#50;", 0), 42);
}

TEST(TextOr, ReadsNumbersWithADot) {
    EXPECT_EQ(ValueOf("12.5", 0.0), 12.5);
    EXPECT_EQ(ValueOf("-1e-3", 0.0), -0.001);
    EXPECT_EQ(ValueOf(".5", 0.0F), 0.5F);
    EXPECT_EQ(ValueOf("7", 0.0), 7.0);
}

TEST(TextOr, GivesTheFallbackForWhatIsNoSuchValue) {
    for (const char* text : {"", " ", "x", "1x", "x1", "1 2", "0x10", "1,5", "1.5", "+", "-", "+-1", "--1",
                             "2147483648", "-2147483649", "99999999999999999999"}) {
        EXPECT_EQ(ValueOf(text, 7), 7) << text;
    }
    EXPECT_EQ(ValueOf("-1", 7U), 7U);
    EXPECT_EQ(ValueOf("256", uint8_t{7}), 7);
    EXPECT_EQ(ValueOf("1e999", 7.0), 7.0);
    EXPECT_EQ(ValueOf("1,5", 7.0), 7.0);
}

TEST(TextOr, ReadsBools) {
    EXPECT_TRUE(ValueOf("true", false));
    EXPECT_TRUE(ValueOf(" 1 ", false));
    EXPECT_FALSE(ValueOf("false", true));
    EXPECT_FALSE(ValueOf("0", true));
    for (const char* text : {"", "yes", "TRUE", "2", "truefalse"}) {
        EXPECT_TRUE(ValueOf(text, true)) << text;
        EXPECT_FALSE(ValueOf(text, false)) << text;
    }
}

TEST(TextOr, ReadsACharOfOneByte) {
    EXPECT_EQ(ValueOf("x", '?'), 'x');
    EXPECT_EQ(ValueOf("&lt;", '?'), '<');
    EXPECT_EQ(ValueOf("5", '?'), '5');
    EXPECT_EQ(ValueOf("xy", '?'), '?');
    EXPECT_EQ(ValueOf("", '?'), '?');
}

TEST(TextOr, ReadsTextsAsStringsOfTheirOwn) {
    static_assert(std::is_same_v<decltype(TextOr(nullptr, "x")), std::string>);
    static_assert(std::is_same_v<decltype(TextOr(nullptr, std::string_view("x"))), std::string>);
    static_assert(std::is_same_v<decltype(TextOr<std::string>(nullptr, "x")), std::string>);
    static_assert(std::is_same_v<decltype(TextOr<double>(nullptr, 0)), double>);
    EXPECT_EQ(ValueOf(" Tom &amp;\n Jerry ", "?"), "Tom & Jerry");
    EXPECT_EQ(ValueOf("", "?"), "") << "the element is there";
}

TEST(TextOr, GivesTheFallbackWhereThereIsNoNode) {
    EXPECT_EQ(TextOr(nullptr, 7), 7);
    EXPECT_EQ(TextOr(&AdvXMLParser::NullElement(), 7), 7);
    EXPECT_EQ(TextOr(&AdvXMLParser::NullElement(), "seven"), "seven");
    EXPECT_EQ(TextOr(nullptr, std::string("seven")), "seven");
    EXPECT_EQ(TextOr(nullptr, static_cast<const char*>(nullptr)), "");
    EXPECT_TRUE(TextOr(nullptr, true));
}

TEST(TextOr, TrimsNumbersAlsoWhereSpaceIsPreserved) {
    const auto document = Parse("<a xml:space='preserve'> 42 </a>");
    EXPECT_EQ(TextOr(document->root, 0), 42);
    EXPECT_EQ(TextOr(document->root, ""), " 42 ");
}

TEST(AttributeOr, ReadsAValueOrGivesTheFallback) {
    const auto document = Parse("<a n='42' t='Tom &amp; Jerry' b='true' d=' 1.5 ' e=''/>");
    const Element* root = document->root;
    EXPECT_EQ(AttributeOr(root, "n", 0), 42);
    EXPECT_EQ(AttributeOr(root, "t", ""), "Tom & Jerry");
    EXPECT_TRUE(AttributeOr(root, "b", false));
    EXPECT_EQ(AttributeOr(root, "d", 0.0), 1.5);
    EXPECT_EQ(AttributeOr(root, "e", 7), 7);
    EXPECT_EQ(AttributeOr(root, "e", "?"), "");
    EXPECT_EQ(AttributeOr(root, "missing", 7), 7);
    EXPECT_EQ(AttributeOr(root, "missing", "?"), "?");
    EXPECT_EQ(AttributeOr(nullptr, "n", 7), 7);
}

TEST(ChildrenTest, OfANameComeInOrder) {
    const auto document = Parse("<r>text<a n='1'/><b/><!--a--><a n='2'><a n='inside'/></a><?a?><A/><a n='3'/></r>");
    EXPECT_EQ(Names(Children(document->root, "a")), "a1 a2 a3 ");
    EXPECT_EQ(Names(Children(document->root, "A")), "A ");
    EXPECT_EQ(Names(Children(document->root)), "a1 b a2 A a3 ");
    EXPECT_TRUE(Children(document->root, "").empty());
    EXPECT_EQ(std::distance(Children(document->root).begin(), Children(document->root).end()), 5);
    EXPECT_EQ(Names(Children(document.get())), "r ");
}

TEST(ChildrenTest, OfNothingAreNone) {
    const auto document = Parse("<r>text</r>");
    EXPECT_TRUE(Children(nullptr, "a").empty());
    EXPECT_TRUE(Children(&AdvXMLParser::NullElement()).empty());
    EXPECT_TRUE(Children(document->root).empty());
    EXPECT_TRUE(Children(document->root->children[0]).empty());
}

TEST(ChildrenTest, KeepTheirNameWhenItWasATemporary) {
    const auto document = Parse("<r><a-name-too-long-for-any-small-buffer-1/></r>");
    std::string names;
    for (const Element* child : Children(document->root, std::string("a-name-too-long-for-any-small-") + "buffer-1")) {
        names += child->name;
    }
    EXPECT_EQ(names, "a-name-too-long-for-any-small-buffer-1");
}

TEST(ChildrenTest, MayBeRemovedOneByOneWhileTheLoopRuns) {
    const auto document = Parse("<r><a n='1'/><a n='2'/>text<b/><a n='3'/><a n='4'/></r>");
    for (Element* child : Children(document->root, "a")) {
        if (AttributeOr(child, "n", 0) == 3) continue;
        EXPECT_TRUE(Remove(child));
    }
    EXPECT_EQ(Names(Children(document->root)), "b a3 ");
}

TEST(ChildrenTest, AppendedWhileTheLoopRunsComeToo) {
    const auto document = Parse("<r><a/></r>");
    int seen = 0;
    for (Element* child : Children(document->root, "a")) {
        if (++seen < 100) Add(child->parent, "a");
    }
    EXPECT_EQ(seen, 100);
}

TEST(ChildrenTest, IteratorsStepAsTheStandardOnesDo) {
    const auto document = Parse("<r><a n='1'/><a n='2'/></r>");
    const ChildRange children = Children(document->root, "a");
    auto child = children.begin();
    EXPECT_EQ(AttributeOr(*child++, "n", 0), 1);
    EXPECT_EQ(AttributeOr(*child, "n", 0), 2);
    EXPECT_EQ(++child, children.end());
}

}  // namespace
