// Documents as texts and in files.
// SPDX-License-Identifier: MIT
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include <wpk/xml_helpers.h>

#include "support/own_folder.h"

using namespace wpk::xml;
namespace fs = std::filesystem;

namespace {

class Files : public testing::Test {
protected:
    fs::path Path(const char* name = "order.xml") const { return folder_.Path() / name; }

    static void Put(const fs::path& file, const std::string& bytes) { std::ofstream(file, std::ios::binary) << bytes; }
    static std::string Bytes(const fs::path& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    wpk::test::OwnFolder folder_;
};

TEST(ToString, OfADocumentIsLaidOutOrVerbatim) {
    Document document("a");
    Add(document.root, "b", " x ");
    EXPECT_EQ(ToString(document), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>\n  <b> x </b>\n</a>");
    EXPECT_EQ(ToString(document, WRITE_VERBATIM), "<?xml version=\"1.0\" encoding=\"UTF-8\"?><a><b> x </b></a>");
}

TEST(ToString, OfANodeBeginsWithTheNode) {
    const auto document = Parse("<a x='1'><b/>text<!--c--></a>");
    EXPECT_EQ(ToString(*document->root->FindElement("b")), "<b/>");
    EXPECT_EQ(ToString(*document->root->attributes[0]), "x=\"1\"");
    EXPECT_EQ(ToString(*document->root->children[2]), "text");
}

TEST_F(Files, AreWrittenAndReadBack) {
    Document document("a");
    Add(document.root, "customer", "Tom & Jerry <3");
    Save(document, Path());
    EXPECT_EQ(Bytes(Path()), ToString(document));
    EXPECT_EQ(TextOr(Load(Path())->root->FindElement("customer"), ""), "Tom & Jerry <3");
    Save(document, Path(), WRITE_VERBATIM);
    EXPECT_EQ(Bytes(Path()), ToString(document, WRITE_VERBATIM)) << "what was longer is cut";
}

TEST_F(Files, ComeAsTheyAre) {
    Put(Path(), "\xEF\xBB\xBF<a>1\r\n2\xFF</a>");
    EXPECT_EQ(Load(Path())->root->GetText(), "1 2\xFF");
    Put(Path(), "<a>" + std::string(300000, 'x') + "</a>");
    EXPECT_EQ(Load(Path())->root->GetText().size(), 300000U);
}

TEST_F(Files, MayHaveWideNames) {
    const fs::path path = folder_.Path() / fs::u8path("\xC3\xA9\xE2\x82\xAC.xml");
    Save(Document("a"), path);
    EXPECT_EQ(Load(path)->root->name, "a");
}

TEST_F(Files, ThatAreNoDocumentsAreNamedWithTheLine) {
    Put(Path(), "<a>\n  <b></c>\n</a>");
    try {
        Load(Path());
        FAIL();
    } catch (const DocumentError& fault) {
        EXPECT_EQ(fault.what(), Path().string() + ": line 2, column 8: the end tag is not that of the open element");
        EXPECT_EQ(fault.excerpt, "  <b></c>\n       ^");
        EXPECT_EQ(fault.code, 13U);
    }
    Put(Path(), "");
    EXPECT_THROW(Load(Path()), DocumentError);
}

TEST_F(Files, ThatAreMissingAreNamedWithTheReason) {
    try {
        Load(Path());
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
        EXPECT_EQ(std::string(error.what()).find("cannot open " + Path().string() + ": "), 0U) << error.what();
    }
}

TEST_F(Files, ThatCannotBeWrittenAreNamedWithTheReason) {
    const fs::path path = folder_.Path() / "no" / "such" / "folder.xml";
    try {
        Save(Document("a"), path);
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
        EXPECT_EQ(std::string(error.what()).find("cannot open " + path.string() + ": "), 0U) << error.what();
    }
}

TEST_F(Files, ThatAreFoldersAreRefused) {
    EXPECT_THROW(Load(folder_.Path()), std::system_error);
    EXPECT_THROW(Save(Document("a"), folder_.Path()), std::system_error);
}

#ifndef _WIN32
TEST_F(Files, OnAFullDiskAreReported) {
    try {
        Save(Document("a"), "/dev/full");
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_space_on_device);
        EXPECT_EQ(std::string(error.what()).find("cannot write /dev/full: "), 0U) << error.what();
    }
}
#endif

}  // namespace
