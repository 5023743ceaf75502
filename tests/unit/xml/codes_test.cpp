// What the parser refuses: code, line and column of every fault.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;
using xml_tests::Verdict;

namespace {

struct Case {
    std::string text;
    const char* verdict;
};

void ExpectVerdicts(const std::vector<Case>& cases) {
    for (const Case& c : cases) EXPECT_EQ(Verdict(c.text), c.verdict) << c.text;
}

std::string operator""_z(const char* text, size_t size) {
    return std::string(text, size);
}

TEST(Codes, Of1EndOfInputInside) {
    ExpectVerdicts({{"<a>", "1 1:4"},
                    {"<a>text", "1 1:8"},
                    {"<a>\ntext", "1 2:4"},
                    {"<a>\0</a>"_z, "1 1:5"},
                    {"<a b='", "1 1:7"},
                    {"<a b='x\0'/>"_z, "1 1:9"},
                    {"<a><b></b>", "1 1:11"},
                    {"<a b='&lt;", "1 1:11"},
                    {"<a>]]", "1 1:6"}});
}

TEST(Codes, Of2BytesThatAreNotAllowed) {
    ExpectVerdicts({{"<a>\x01</a>", "2 1:5"},
                    {"<a>x\n\x1F", "2 2:1"},
                    {"<a b='\x02'/>", "2 1:8"},
                    {"<!--\x03--><a/>", "2 1:6"},
                    {"<a><![CDATA[\x04]]></a>", "2 1:14"},
                    {"<?p \x05?><a/>", "2 1:6"},
                    {"<a>&#0;</a>", "2 1:8"},
                    {"<a>&#x1F;</a>", "2 1:10"},
                    {"<a>&#256;</a>", "2 1:10"},
                    {"<a>&#x110000;</a>", "2 1:14"},
                    {"<a>&#4294967296;</a>", "2 1:17"},
                    {"<a b='&#8;'/>", "2 1:11"}});
}

TEST(Codes, Of2EndOfInputInMarkup) {
    ExpectVerdicts({{"<!--", "2 1:5"},
                    {"<!-- c -", "2 1:9"},
                    {"<!-->", "2 1:6"},
                    {"<!--\0--><a/>"_z, "2 1:6"},
                    {"<a><![CDATA[", "2 1:13"},
                    {"<a><![CDATA[x]]", "2 1:16"},
                    {"<a><![CDATA[\0]]></a>"_z, "2 1:14"},
                    {"<?p", "2 1:4"},
                    {"<?p d?", "2 1:7"},
                    {"<a><?p\nd", "2 2:1"}});
}

TEST(Codes, Of3MissingEquals) {
    ExpectVerdicts({{"<a b/>", "3 1:5"},
                    {"<a b>", "3 1:5"},
                    {"<a b  'x'/>", "3 1:5"},
                    {"<a b c='1'/>", "3 1:5"},
                    {"<a b", "3 1:5"},
                    {"<a\nb\n\n/>", "3 2:1"},
                    {"<?xml version?>", "3 1:14"},
                    {"<?xml version  '1.0'?>", "3 1:14"},
                    {"<?xml versionx='1.0'?>", "3 1:14"},
                    {"<?xml version='1.0' encoding 'x'?>", "3 1:29"},
                    {"<?xml version='1.0' standalone?>", "3 1:31"}});
}

TEST(Codes, Of4ValueNotQuoted) {
    ExpectVerdicts({{"<a b=1/>", "4 1:6"},
                    {"<a b=/>", "4 1:6"},
                    {"<a b= >", "4 1:7"},
                    {"<a b=", "4 1:6"},
                    {"<a b=&lt;/>", "4 1:6"}});
}

TEST(Codes, Of5LessThanInAValue) {
    ExpectVerdicts({{"<a b='<'/>", "5 1:8"}, {"<a b='x&lt;\n<'/>", "5 2:1"}, {"<a b=\"'<", "5 1:9"}});
}

TEST(Codes, Of6MalformedReference) {
    ExpectVerdicts({{"<a>&</a>", "6 1:5"},
                    {"<a>& b</a>", "6 1:5"},
                    {"<a>&;</a>", "6 1:5"},
                    {"<a>&lt</a>", "6 1:7"},
                    {"<a>&lt ;</a>", "6 1:7"},
                    {"<a>&1;</a>", "6 1:5"},
                    {"<a>&#65</a>", "6 1:8"},
                    {"<a>&#65 ;</a>", "6 1:8"},
                    {"<a>&#x41", "6 1:9"},
                    {"<a>&#65a;</a>", "6 1:8"},
                    {"<a>&", "6 1:5"},
                    {"<a b='&'/>", "6 1:8"},
                    {"<a b='&lt'/>", "6 1:10"}});
}

TEST(Codes, Of7And8MissingDigits) {
    ExpectVerdicts({{"<a>&#x;</a>", "7 1:7"},
                    {"<a>&#xg;</a>", "7 1:7"},
                    {"<a>&#x", "7 1:7"},
                    {"<a>&#;</a>", "8 1:6"},
                    {"<a>&#X41;</a>", "8 1:6"},
                    {"<a>&#a;</a>", "8 1:6"},
                    {"<a>&#", "8 1:6"},
                    {"<a>&# 65;</a>", "8 1:6"}});
}

TEST(Codes, Of9UnknownEntity) {
    ExpectVerdicts({{"<a>&AMP;</a>", "9 1:9"},
                    {"<a>&nbsp;</a>", "9 1:10"},
                    {"<a>&l;</a>", "9 1:7"},
                    {"<a b='&copy;'/>", "9 1:13"},
                    {"<!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>", "9 1:37"}});
}

TEST(Codes, Of10MissingName) {
    ExpectVerdicts({{"<", "10 1:2"},
                    {"<>", "10 1:2"},
                    {"< a/>", "10 1:2"},
                    {"<1/>", "10 1:2"},
                    {"<\xC0/>", "10 1:2"},
                    {"</a>", "10 1:2"},
                    {"<!ELEMENT>", "10 1:2"},
                    {"<a></>", "10 1:6"},
                    {"<a></ a>", "10 1:6"},
                    {"<a></", "10 1:6"},
                    {"<a>< b/></a>", "10 1:5"},
                    {"<a><!b></a>", "10 1:5"},
                    {"<a><![CDAT[]]></a>", "10 1:5"},
                    {"<a><", "10 1:5"}});
}

TEST(Codes, Of11And12UnclosedTags) {
    ExpectVerdicts({{"<a/ >", "11 1:4"},
                    {"<a/", "11 1:4"},
                    {"<a b='1'//>", "11 1:10"},
                    {"<a", "12 1:3"},
                    {"<a ", "12 1:4"},
                    {"<a<", "12 1:4"},
                    {"<a!>", "12 1:4"},
                    {"<a =>", "12 1:5"},
                    {"<a b='1'c='2'/>", "12 1:10"},
                    {"<a x=\"1\"y=\"2\"/>", "12 1:10"},
                    {"<a\0>"_z, "12 1:4"},
                    {"<a></a", "12 1:7"},
                    {"<a></a b>", "12 1:8"},
                    {"<a></a\n", "12 2:0"},
                    {"<a><b></b/></a>", "12 1:10"}});
}

TEST(Codes, Of13WrongEndTag) {
    ExpectVerdicts({{"<a></A>", "13 1:7"},
                    {"<a></b>", "13 1:7"},
                    {"<a></ab>", "13 1:8"},
                    {"<ab></a>", "13 1:8"},
                    {"<a><b></a>", "13 1:10"},
                    {"<a>\n</b>", "13 2:3"},
                    {"<long-element-name-that-goes-on></long-element-name-that-goes-on-and-on>", "13 1:72"},
                    {"<long-element-name-that-goes-on></long-element-name-that-goes-of>", "13 1:65"}});
}

TEST(Codes, Of15SectionEndInText) {
    ExpectVerdicts({{"<a>]]></a>", "15 1:7"}, {"<a>x]]]></a>", "15 1:9"}, {"<a>&lt;\n]]>", "15 2:3"}});
}

TEST(Codes, Of16NoRoot) {
    ExpectVerdicts({{"", "16 1:1"},
                    {" ", "16 1:2"},
                    {" \n\t ", "16 2:2"},
                    {"text", "16 1:1"},
                    {"<!--c-->", "16 1:9"},
                    {"<?p?>x", "16 1:6"},
                    {"<!DOCTYPE a>", "16 1:13"},
                    {"<?xml version='1.0'?>", "16 1:22"},
                    {"\xEF\xBB\xBF<a/>", "16 1:1"},
                    {"\0<a/>"_z, "16 1:1"}});
}

TEST(Codes, Of16ForNoInputAtAll) {
    for (const int size : {0, -1, -2147483647 - 1}) {
        for (const char* data : {"<a/>", static_cast<const char*>(nullptr)}) {
            try {
                Parser().Parse(data, size);
                FAIL();
            } catch (const ParsingException& fault) {
                EXPECT_EQ(fault.code, 16U);
                EXPECT_EQ(fault.line, 1U);
                EXPECT_EQ(fault.column, 1U);
            }
        }
    }
    EXPECT_THROW(Parser().Parse(nullptr, 10), ParsingException);
}

TEST(Codes, Of17To22TheDeclaration) {
    ExpectVerdicts({{"<?xml?><a/>", "17 1:6"},
                    {"<?xml ?><a/>", "17 1:6"},
                    {"<?xml", "17 1:6"},
                    {"<?xml-stylesheet href='a'?><a/>", "17 1:6"},
                    {"<?xml encoding='x'?><a/>", "17 1:6"},
                    {"<?xml version=1.0?><a/>", "17 1:15"},
                    {"<?xml version=''?><a/>", "17 1:16"},
                    {"<?xml version='1.0\"?><a/>", "17 1:19"},
                    {"<?xml version='1 0'?><a/>", "17 1:17"},
                    {"<?xml version='1.0'><a/>", "18 1:20"},
                    {"<?xml version='1.0' ><a/>", "18 1:21"},
                    {"<?xml version='1.0' foo='1'?><a/>", "18 1:21"},
                    {"<?xml version='1.0'encoding='x'?><a/>", "18 1:20"},
                    {"<?xml version=\"1.0\" standalone=\"yes\" encoding=\"UTF-8\"?>", "18 1:38"},
                    {"<?xml version='1.0' encoding=x?><a/>", "19 1:30"},
                    {"<?xml version='1.0' encoding=''?><a/>", "20 1:31"},
                    {"<?xml version='1.0' encoding='8'?><a/>", "20 1:31"},
                    {"<?xml version='1.0' encoding='a\"?><a/>", "20 1:32"},
                    {"<?xml version='1.0' encoding='a:b'?><a/>", "20 1:32"},
                    {"<?xml version='1.0' standalone=yes?><a/>", "21 1:32"},
                    {"<?xml version='1.0' standalone='maybe'?><a/>", "22 1:33"},
                    {"<?xml version='1.0' standalone='Yes'?><a/>", "22 1:33"},
                    {"<?xml version='1.0' standalone='yes\"?><a/>", "22 1:36"},
                    {"<?xml version='1.0' standalone='yes '?><a/>", "22 1:36"}});
}

TEST(Codes, Of23To25CommentsAndInstructions) {
    ExpectVerdicts({{"<!-- a -- b --><a/>", "23 1:10"},
                    {"<!-- a ---><a/>", "23 1:10"},
                    {"<!-----><a/>", "23 1:7"},
                    {"<!-- a --", "23 1:10"},
                    {"<a><!----", "23 1:10"},
                    {"<?"
                     "?><a/>",
                     "24 1:3"},
                    {"<? p?><a/>", "24 1:3"},
                    {"<a><?1?></a>", "24 1:6"},
                    {"<?", "24 1:3"},
                    {"<?XmL x?><a/>", "25 1:6"},
                    {"<a><?xml?></a>", "25 1:9"},
                    {"<!--c--><?xml version='1.0'?><a/>", "25 1:14"},
                    {" <?xml version='1.0'?><a/>", "25 1:7"},
                    {"<a/><?xMl", "25 1:10"}});
}

TEST(Codes, Of43MoreAfterTheRoot) {
    ExpectVerdicts({{"<a>x</a>y", "43 1:10"},
                    {"<a/><b/>", "43 1:6"},
                    {"<a/>\n<b/>", "43 2:1"},
                    {"<a/> <!--c--> &lt;", "43 1:16"},
                    {"<a/><![CDATA[]]>", "43 1:6"},
                    {"<a/><!DOCTYPE a>", "43 1:6"},
                    {"<!DOCTYPE a><!DOCTYPE a><a/>", "10 1:14"},
                    {"<a/>\x01", "43 1:6"}});
}

TEST(Positions, CountFromOneOnTheFirstLineAndFromZeroAfter) {
    ExpectVerdicts({{"<a>\x01", "2 1:5"},
                    {"<a>\n\x01", "2 2:1"},
                    {"<a>\r\n\x01", "2 2:1"},
                    {"<a>\r\x01", "2 2:1"},
                    {"<a>\n\r\n\r\x01", "2 4:1"},
                    {"<a>\r\n", "1 2:0"},
                    {"<a>\r", "1 2:0"},
                    {"<a>x\r\n\r\nyz\x01", "2 3:3"}});
}

TEST(Positions, CountAReturnAgainWhenItIsTakenBack) {
    // A lone CR that ends a name is read, taken back without its line, and read again as white space.
    ExpectVerdicts({{"<a\n\x01", "12 2:1"},
                    {"<a\r\n\x01", "12 2:1"},
                    {"<a\r\x01", "12 3:1"},
                    {"<a>\r\x01</a>", "2 2:1"},
                    {"<a\rb\r=\r'\r'\r/x>", "11 8:1"}});
}

TEST(Positions, OfTheLastCharacterStayAtTheEndOfTheInput) {
    ExpectVerdicts({{"<a>x", "1 1:5"}, {"<a>x\0"_z, "1 1:6"}, {"<a>\n\0"_z, "1 2:1"}});
}

/// The bytes that are good between two pieces of text.
std::string GoodBytes(std::string_view before, std::string_view after) {
    std::string good;
    for (int c = 0; c < 256; ++c) {
        const std::string text = std::string(before) + static_cast<char>(c) + std::string(after);
        if (Verdict(text) == "ok") good += static_cast<char>(c);
    }
    return good;
}

std::string Sorted(std::string bytes) {
    std::sort(bytes.begin(), bytes.end(),
              [](char a, char b) { return static_cast<unsigned char>(a) < static_cast<unsigned char>(b); });
    return bytes;
}

const std::string kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
const std::string kDigits = "0123456789";

TEST(Bytes, InsideNamesAreRefusedUnlessTheyAreNameCharacters) {
    std::string good = kLetters + kDigits + "-.:_\xB7";
    for (int c = 0xC0; c < 256; ++c) {
        if (c != 0xD7 && c != 0xF7) good += static_cast<char>(c);
    }
    for (const std::string filler : {"", "and-a-name-of-more-than-sixteen-bytes"}) {
        std::string found;
        for (int c = 0; c < 256; ++c) {
            const std::string name = "a" + filler + static_cast<char>(c) + filler + "b";
            if (Verdict("<" + name + "></" + name + ">") == "ok") found += static_cast<char>(c);
        }
        EXPECT_EQ(found, Sorted(good)) << filler;
        EXPECT_EQ(GoodBytes("<r a" + filler, filler + "b='v'/>"), Sorted(good)) << filler;
    }
}

TEST(Bytes, AtTheBeginningOfNamesAreRefusedUnlessTheyMayBeginOne) {
    EXPECT_EQ(GoodBytes("<r ", "='v'/>"), Sorted(kLetters + "_:"));
    EXPECT_EQ(GoodBytes("<?", "?><r/>"), Sorted(kLetters + "_:"));
}

TEST(Bytes, InVersionsAreRefusedUnlessTheyAreVersionCharacters) {
    const std::string good = Sorted(kLetters + kDigits + "_.:-");
    EXPECT_EQ(GoodBytes("<?xml version='", "'?><r/>"), good);
    EXPECT_EQ(GoodBytes("<?xml version='1", "0'?><r/>"), good);
}

TEST(Bytes, InEncodingsAreRefusedUnlessTheyMayStandThere) {
    EXPECT_EQ(GoodBytes("<?xml version='1.0' encoding='", "'?><r/>"), Sorted(kLetters));
    EXPECT_EQ(GoodBytes("<?xml version='1.0' encoding='U", "8'?><r/>"), Sorted(kLetters + kDigits + "_-."));
}

}  // namespace
