// The two cursors of the parser accept the same documents and give the same trees.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/sanitized.h"
#include "xml/fast_cursor.h"
#include "xml_model/cursors.h"
#include "xml_model/document_generator.h"

namespace xml_model {
namespace {

TEST(Cursors, AgreeOnRandomDocuments) {
    for (uint64_t seed = 1; seed <= support::Many(20000, 2000); ++seed) {
        ASSERT_EQ(CursorDisagreement(DocumentGenerator(0x30000000 + seed).Document()), "") << "seed " << seed;
    }
}

TEST(Cursors, AgreeOnMutatedDocuments) {
    for (uint64_t seed = 1; seed <= support::Many(20000, 2000); ++seed) {
        DocumentGenerator generator(0x40000000 + seed);
        const std::string document = generator.Document();
        for (int variant = 0; variant < 4; ++variant) {
            ASSERT_EQ(CursorDisagreement(generator.Mutated(document)), "") << "seed " << seed;
        }
    }
}

TEST(Cursors, AgreeOnDocumentsCutOffAtEveryByte) {
    for (uint64_t seed = 1; seed <= support::Many(300, 30); ++seed) {
        const std::string document = DocumentGenerator(0x50000000 + seed).Document();
        for (size_t length = 0; length < document.size(); ++length) {
            ASSERT_EQ(CursorDisagreement(document.substr(0, length)), "") << "seed " << seed;
        }
    }
}

TEST(Cursors, AgreeOnTheFirstInputsOfTheFuzzTargets) {
    size_t read = 0;
    for (const auto& entry : std::filesystem::directory_iterator(WPK_XML_SEEDS)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        EXPECT_EQ(CursorDisagreement(input), "") << entry.path();
        for (size_t length = 0; length < input.size(); ++length) {
            ASSERT_EQ(CursorDisagreement(input.substr(0, length)), "") << entry.path() << " cut off at " << length;
        }
        ++read;
    }
    EXPECT_GE(read, 4U);
}

/// What is not read at once is read piece by piece, with the same result in more time.
TEST(FastCursor, ReadsAPlainValueAtOnce) {
    using namespace AdvXMLParser::detail;
    const std::string input = "='a plain value'>";
    FastCursor cursor(reinterpret_cast<const Byte*>(input.data()), input.size());
    Slice value;
    ASSERT_TRUE(cursor.SkipPlainValue(value));
    EXPECT_EQ(std::string_view(value), "a plain value");
    EXPECT_TRUE(cursor.Expect('>'));
}

TEST(FastCursor, ReadsAReferenceToAnEntityAtOnce) {
    using namespace AdvXMLParser::detail;
    const std::string input = "&quot;</a>";
    FastCursor cursor(reinterpret_cast<const Byte*>(input.data()), input.size());
    Slice name;
    char value = '\0';
    ASSERT_TRUE(cursor.SkipEntity(name, value));
    EXPECT_EQ(std::string_view(name), "quot");
    EXPECT_EQ(value, '"');
    EXPECT_TRUE(cursor.Match("</a>"));
}

}  // namespace
}  // namespace xml_model
