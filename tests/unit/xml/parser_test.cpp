// The parser: what trees it makes of what it takes.
// SPDX-License-Identifier: MIT
#include <string>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;
using xml_tests::Parse;
using xml_tests::Shape;
using xml_tests::Verdict;
using xml_tests::WrittenVerbatim;

namespace {

std::string RootShape(std::string_view text) {
    return Shape(*Parse(text)->root);
}

TEST(Parsing, SetsParentsThroughout) {
    const auto document = Parse("<!--c--><r a='1&lt;'>x<b/>&amp;&#65;<![CDATA[]]><?p?></r>");
    for (const Node* child : document->children) EXPECT_EQ(child->parent, document.get());
    const Element& root = *document->root;
    EXPECT_EQ(root.attributes[0]->parent, &root);
    for (const Node* child : root.children) EXPECT_EQ(child->parent, &root);
    for (const Node* child : root.attributes[0]->children) EXPECT_EQ(child->parent, root.attributes[0]);
    EXPECT_EQ(document->parent, &NullElement());
    EXPECT_EQ(&document->self, document.get());
    EXPECT_EQ(root.pendingText, nullptr);
}

TEST(Parsing, PutsATextBeforeEveryMarkup) {
    EXPECT_EQ(RootShape("<a><b/></a>"), "T() E(b) T()");
    EXPECT_EQ(RootShape("<a></a>"), "T()");
    EXPECT_EQ(RootShape("<a/>"), "");
    EXPECT_EQ(RootShape("<a>x&amp;y</a>"), "T(x) R(amp) T(y)");
    EXPECT_EQ(RootShape("<a>x<!--c-->y<![CDATA[z]]><?p d?></a>"), "T(x) M(c) T(y) C(z) T() P(p|d) T()");
}

TEST(Parsing, PutsATextAroundEveryReferenceOfAnAttribute) {
    const auto document = Parse("<a e='' r='&lt;' m='1&amp;&#x42;2' p='plain'/>");
    const auto& attributes = document->root->attributes;
    EXPECT_EQ(Shape(*attributes[0]), "T()");
    EXPECT_EQ(Shape(*attributes[1]), "T() R(lt) T()");
    EXPECT_EQ(Shape(*attributes[2]), "T(1) R(amp) T() #42 T(2)");
    EXPECT_EQ(Shape(*attributes[3]), "T(plain)");
}

TEST(Parsing, KeepsMiscellanyButNotWhiteSpaceAroundTheRoot) {
    const auto document = Parse(" \n<!--a--> <?b c?>\t<!DOCTYPE r> <!--d--><r/>\r\n<!--e--> <?f?> ");
    EXPECT_EQ(Shape(*document), "M(a) P(b|c) M(d) E(r) M(e) P(f|)");
    EXPECT_EQ(document->root, document->children[3]);
}

TEST(Parsing, ReadsTheDeclaration) {
    const auto document = Parse("<?xml version = \"1.1\"\n encoding='ISO-8859-1' standalone=\"no\" ?><r/>");
    EXPECT_EQ(document->version, "1.1");
    EXPECT_EQ(document->encoding, "ISO-8859-1");
    EXPECT_FALSE(document->standalone);
    EXPECT_EQ(Shape(*document), "E(r)");
}

TEST(Parsing, KeepsTheDefaultsThatTheDeclarationDoesNotGive) {
    const auto none = Parse("<r/>");
    EXPECT_EQ(none->version, "1.0");
    EXPECT_EQ(none->encoding, "UTF-8");
    EXPECT_TRUE(none->standalone);
    const auto some = Parse("<?xml version='a-rather-long-version_1.0' standalone='yes'?><r/>");
    EXPECT_EQ(some->version, "a-rather-long-version_1.0");
    EXPECT_EQ(some->encoding, "UTF-8");
    EXPECT_TRUE(some->standalone);
}

TEST(Parsing, TurnsLineBreaksIntoLineFeeds) {
    EXPECT_EQ(RootShape("<a>\r\n</a>"), "T(\n)");
    EXPECT_EQ(RootShape("<a>1\r2\r\n3\n4\n\r5\r\r\n6</a>"), "T(1\n2\n3\n4\n\n5\n\n6)");
    EXPECT_EQ(RootShape("<a><!--1\r\n2\r3--><![CDATA[\r\n\r]]><?p 4\r\n5?></a>"),
              "T() M(1\n2\n3) T() C(\n\n) T() P(p|4\n5) T()");
    EXPECT_EQ(Shape(*Parse("<a b='1\r\n2\r3'/>")->root->attributes[0]), "T(1\n2\n3)");
    std::string lines;
    std::string expected;
    for (int i = 0; i < 100; ++i) {
        lines += "a line of text\r\n\r";
        expected += "a line of text\n\n";
    }
    EXPECT_EQ(RootShape("<a>" + lines + "</a>"), "T(" + expected + ")");
}

TEST(Parsing, TakesEveryByteThatIsAllowedInText) {
    std::string text = "\t\n";
    for (int c = 0x20; c < 0x100; ++c) {
        if (c != '<' && c != '&') text += static_cast<char>(c);
    }
    EXPECT_EQ(RootShape("<a>" + text + "</a>"), "T(" + text + ")");
    EXPECT_EQ(RootShape("<a><![CDATA[" + text + "<&]]></a>"), "T() C(" + text + "<&) T()");
}

TEST(Parsing, TakesBracketsInTextUnlessTheyEndASection) {
    EXPECT_EQ(RootShape("<a>]</a>"), "T(])");
    EXPECT_EQ(RootShape("<a>]]</a>"), "T(]])");
    EXPECT_EQ(RootShape("<a>]>a[0]]b></a>"), "T(]>a[0]]b>)");
    EXPECT_EQ(RootShape("<a>a]\r\n]b</a>"), "T(a]\n]b)");
}

TEST(Parsing, TakesTheOtherQuoteInAnAttribute) {
    const auto document = Parse("<a x='1\"' y=\"2'\" z='>]]>'/>");
    EXPECT_EQ(document->root->attributes[0]->GetText(), "1\"");
    EXPECT_EQ(document->root->attributes[1]->GetText(), "2'");
    EXPECT_EQ(document->root->attributes[2]->GetText(), ">]]>");
}

TEST(Parsing, KeepsAttributesInOrderAndTwice) {
    const auto document = Parse("<a b='1' c = \"2\"\n\tb='3' />");
    const auto& attributes = document->root->attributes;
    ASSERT_EQ(attributes.size(), 3U);
    EXPECT_EQ(attributes[0]->name, "b");
    EXPECT_EQ(attributes[1]->name, "c");
    EXPECT_EQ(attributes[2]->GetText(), "3");
}

TEST(Parsing, SetsPreserveSpaceByTheLastAttribute) {
    EXPECT_TRUE(Parse("<a xml:space='preserve'/>")->root->preserveSpace);
    EXPECT_TRUE(Parse("<a xml:space=' preserve '/>")->root->preserveSpace);
    EXPECT_TRUE(Parse("<a xml:space='&#x70;reserve'/>")->root->preserveSpace);
    EXPECT_FALSE(Parse("<a xml:space='Preserve'/>")->root->preserveSpace);
    EXPECT_FALSE(Parse("<a xml:space='default'/>")->root->preserveSpace);
    EXPECT_FALSE(Parse("<a xml:Space='preserve'/>")->root->preserveSpace);
    EXPECT_FALSE(Parse("<a xml:space='preserve' xml:space='default'/>")->root->preserveSpace);
    EXPECT_TRUE(Parse("<a xml:space='default' xml:space='preserve'/>")->root->preserveSpace);
    EXPECT_EQ(RootShape("<a xml:space='default'> x </a>"), "T( x )");
}

TEST(Parsing, EndsWithAZeroByte) {
    EXPECT_EQ(Verdict(std::string("<a/>\0<b>", 8)), "ok");
    EXPECT_EQ(Verdict(std::string("<a/> \0", 6)), "ok");
}

TEST(Parsing, NamesBeginInAsciiAndGoOnInLatin1) {
    EXPECT_EQ(Parse("<a\xC0/>")->root->name, "a\xC0");
    EXPECT_EQ(Parse("<_:-.9\xB7\xD6\xD8\xF6\xF8\xFF/>")->root->name, "_:-.9\xB7\xD6\xD8\xF6\xF8\xFF");
    EXPECT_EQ(Parse("<:/>")->root->name, ":");
    EXPECT_EQ(
        Parse("<a-name-that-is-long-enough-to-stand-elsewhere\xE9></a-name-that-is-long-enough-to-stand-elsewhere\xE9>")
            ->root->name,
        "a-name-that-is-long-enough-to-stand-elsewhere\xE9");
}

TEST(Parsing, TakesSpaceInTagsWhereItMay) {
    EXPECT_EQ(RootShape("<a\r\n></a \t\n>"), "T()");
    EXPECT_EQ(RootShape("<a  b = '1' ><c /></a>"), "T() E(c) T()");
}

TEST(Parsing, EndsTheAttributesWhereNoSpaceFollows) {
    EXPECT_EQ(Verdict("<a x=\"1\"y=\"2\"/>"), "12 1:10");
}

TEST(References, KeepTheLowByte) {
    EXPECT_EQ(RootShape("<a>&#10;&#x9;&#13;&#32;</a>"), "T() #0A T() #09 T() #0D T() #20 T()");
    EXPECT_EQ(RootShape("<a>&#x141;&#xE9;&#x1FF;&#4294967361;</a>"), "T() #41 T() #E9 T() #FF T() #41 T()");
    EXPECT_EQ(RootShape("<a>&#xaBcDeF41;&#000065;</a>"), "T() #41 T() #41 T()");
}

TEST(References, KnowFiveNames) {
    const auto document = Parse("<a>&lt;&gt;&amp;&apos;&quot;</a>");
    EXPECT_EQ(Shape(*document->root), "T() R(lt) T() R(gt) T() R(amp) T() R(apos) T() R(quot) T()");
    EXPECT_EQ(document->root->GetText(), "<>&'\"");
    EXPECT_EQ(static_cast<const EntityRef*>(document->root->children[1])->value, '<');
}

TEST(Sections, EndAtTheFirstEnd) {
    EXPECT_EQ(RootShape("<a><![CDATA[]]></a>"), "T() C() T()");
    EXPECT_EQ(RootShape("<a><![CDATA[a]]]></a>"), "T() C(a]) T()");
    EXPECT_EQ(RootShape("<a><![CDATA[]]]]>]]&gt;</a>"), "T() C(]]) T(]]) R(gt) T()");
    EXPECT_EQ(RootShape("<a><![CDATA[<b>&x;]] >]]></a>"), "T() C(<b>&x;]] >) T()");
}

TEST(Comments, MayBeEmptyAndHoldHyphens) {
    EXPECT_EQ(RootShape("<a><!----></a>"), "T() M() T()");
    EXPECT_EQ(RootShape("<a><!-- - <b> & ]]> - --></a>"), "T() M( - <b> & ]]> - ) T()");
    EXPECT_EQ(RootShape("<a><!--->--></a>"), "T() M(->) T()");
}

TEST(Instructions, SplitTargetAndData) {
    EXPECT_EQ(RootShape("<a><?p?></a>"), "T() P(p|) T()");
    EXPECT_EQ(RootShape("<a><?p ?></a>"), "T() P(p|) T()");
    EXPECT_EQ(RootShape("<a><?p \r\n d e ?></a>"), "T() P(p|d e ) T()");
    EXPECT_EQ(RootShape("<a><?a/b?></a>"), "T() P(a|/b) T()");
    EXPECT_EQ(RootShape("<a><?xmlfoo?></a>"), "T() P(xmlfoo|) T()");
    EXPECT_EQ(RootShape("<a><?xml-stylesheet a?b ?></a>"), "T() P(xml-stylesheet|a?b ) T()");
    EXPECT_EQ(RootShape("<a><?p ?"
                        "?></a>"),
              "T() P(p|?) T()");
}

TEST(Parsing, AParserMayBeUsedAgain) {
    const Parser parser;
    for (int i = 0; i < 3; ++i) {
        EXPECT_THROW(parser.Parse("<a", 2), ParsingException);
        const std::unique_ptr<Document> document(parser.Parse("<a/>", 4));
        EXPECT_EQ(document->root->name, "a");
    }
}

TEST(Parsing, IsUndoneByWritingVerbatim) {
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!-- c --><r a=\"1\" b=\"x &lt; y\">\n  <long-element-name "
        "attribute-name=\"a value of more than a few bytes\">text of more than a few bytes</long-element-name>\n"
        "  <![CDATA[ <raw> ]]>&#x41;<?p d?><e/>]\n</r><?end?>";
    EXPECT_EQ(WrittenVerbatim(*Parse(text)), text);
}

/// Runs of every length up to a few blocks, in every construct that is searched in blocks.
TEST(Parsing, IsTheSameForRunsOfAnyLength) {
    for (size_t size = 0; size < 70; ++size) {
        const std::string run(size, 'x');
        const std::string name = "n" + run;
        const std::string text = "<" + name + " " + name + "=\"" + run + "\" b=\"&lt;" + run + "\">" + run +
                                 "<![CDATA[" + run + "]]>" + run + "<!--" + run + "-->" + run + "<?" + name + " " +
                                 run + "a?>" + run + "&amp;" + run + "<c/></" + name + ">";
        ASSERT_EQ(WrittenVerbatim(*Parse(text)->root), text);
    }
}

}  // namespace
