// What is written by the helpers reads back as it was, in either layout.
// SPDX-License-Identifier: MIT
#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <wpk/xml_helpers.h>

using namespace wpk::xml;

namespace {

/// A text of bytes that a document can hold, many of them such as need care.
std::string RandomText(std::mt19937& random) {
    static constexpr char kDelicate[] = "<>&'\"  \t\r\n]]>;#x-!?/=%\x7F";
    std::string text(random() % 40, '\0');
    for (char& c : text) {
        c = random() % 3 != 0 ? kDelicate[random() % (sizeof kDelicate - 1)]
                              : static_cast<char>(0x20 + random() % 0xE0);
    }
    return text;
}

/// The bytes of an attribute, as GetText gives them without its trimming.
std::string Untrimmed(const Attribute& attribute) {
    std::string text;
    for (const Node* piece : attribute.children) text += piece->GetText();
    return text;
}

TEST(RoundTrip, OfRandomTextsInElementsAndAttributes) {
    std::mt19937 random(14);
    for (int round = 0; round < 20000; ++round) {
        const std::string text = RandomText(random);
        const std::string value = RandomText(random);
        Document document("a");
        SetAttribute(document.root, "xml:space", "preserve");
        SetAttribute(document.root, "v", value);
        SetText(document.root, text);
        AppendEscaped(document.root, value);
        for (const unsigned flags : {0U, WRITE_VERBATIM}) {
            const std::string written = ToString(document, flags);
            const auto read = Parse(written);
            ASSERT_EQ(TextOr(read->root, ""), text + value) << written;
            ASSERT_EQ(Untrimmed(*FindAttribute(read->root, "v")), value) << written;
            ASSERT_EQ(ToString(*Copy(read.get()), flags), ToString(*read, flags)) << written;
        }
    }
}

TEST(RoundTrip, OfEveryByteBetweenAllOthers) {
    for (int before = 0; before < 256; ++before) {
        for (int after = 0; after < 256; ++after) {
            const std::string text{static_cast<char>(before), static_cast<char>(after)};
            Document document("a");
            SetAttribute(document.root, "xml:space", "preserve");
            try {
                SetText(document.root, text);
            } catch (const std::invalid_argument&) {
                EXPECT_THROW(Parse("<a>" + text + "</a>"), ParsingException) << "it is refused with reason";
                continue;
            }
            ASSERT_EQ(TextOr(Parse(ToString(document))->root, ""), text) << before << " " << after;
        }
    }
}

TEST(RoundTrip, OfRandomNumbers) {
    std::mt19937_64 random(15);
    Document document("a");
    for (int round = 0; round < 20000; ++round) {
        const auto number = static_cast<long long>(random());
        SetText(document.root, number);
        ASSERT_EQ(TextOr(document.root, 0LL), number);
        const double fraction = static_cast<double>(number) / static_cast<double>(random() | 1);
        SetAttribute(document.root, "d", fraction);
        ASSERT_EQ(AttributeOr(document.root, "d", 0.0), fraction);
    }
}

}  // namespace
