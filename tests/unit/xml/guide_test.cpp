// The samples of docs/xml.md: they compile, do what the page says, and stand on the page as they stand here.
// SPDX-License-Identifier: MIT
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <wpk/xml.h>

using namespace AdvXMLParser;

namespace {

std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string InSources(const std::string& path) {
    return std::string(WPK_SOURCE_FOLDER "/") + path;
}

/// What stands between the lines "// sample: name" and "// end" of this file, less the indentation of a test's body.
std::string SampleHere(const std::string& name) {
    const std::string source = Contents(InSources("tests/unit/xml/guide_test.cpp"));
    const std::string mark = "    // sample: " + name + "\n";
    const std::size_t begin = source.find(mark) + mark.size();
    std::string sample;
    std::size_t at = begin;
    const std::size_t end = source.find("    // end\n", begin);
    while (at < end) {
        const std::size_t next = source.find('\n', at) + 1;
        const std::string line = source.substr(at, next - at);
        sample += line.compare(0, 4, "    ") == 0 ? line.substr(4) : line;
        at = next;
    }
    return sample;
}

void ExpectOnThePage(const std::string& name) {
    const std::string page = Contents(InSources("docs/xml.md"));
    ASSERT_FALSE(page.empty());
    const std::string sample = SampleHere(name);
    ASSERT_FALSE(sample.empty());
    EXPECT_NE(page.find("<!-- sample: " + name + " -->\n```cpp\n" + sample + "```\n"), std::string::npos) << sample;
}

// clang-format off
TEST(Guide, BuildsAndWritesAsItShows) {
    // sample: building
    Document order("order");
    Node* const customer = order.root->GetOrCreateElement("customer");
    customer->DeleteChildren();
    customer->AppendText("Miller");

    Element* const item = new Element(order.root, "item");
    order.root->AppendChild(item);
    Attribute* const id = new Attribute(item, "id");
    id->AppendText("4711");
    item->attributes.push_back(id);
    item->AppendText("screws ");
    item->AppendChild(new EntityRef("lt"));
    item->AppendText(" 5 mm");
    // end
    ExpectOnThePage("building");
    // sample: writing
    std::string body;
    WriteContext context;
    context.output = &body;
    order.Write(context);
    // end
    ExpectOnThePage("writing");
    EXPECT_NE(Contents(InSources("docs/xml.md")).find("<!-- output: writing -->\n```xml\n" + body + "\n```\n"),
              std::string::npos)
        << body;
}

TEST(Guide, ParsesAndLooksUpAsItShows) {
    // sample: parsing
    const std::string bytes = "<reply><state code='7'>in transit</state><item>a</item><item>b</item></reply>";
    const std::unique_ptr<Document> reply(Parser().Parse(bytes.data(), static_cast<int>(bytes.size())));
    // end
    ExpectOnThePage("parsing");
    // sample: looking up
    const std::string state = reply->root->FindElement("state")->GetText();      // "in transit"
    const std::string none = reply->root->FindElement("a")->FindElement("b")->GetText();  // ""
    const bool isThere = !IsNull(reply->root->FindElement("remark"));            // false

    std::string items;
    for (std::size_t i = 0; reply->root->FindNextElement("item", i); ++i) items += reply->root->children[i]->GetText();

    std::string code;
    for (const Attribute* attribute : reply->root->FindElement("state")->AsElement().attributes) {
        if (attribute->name == "code") code = attribute->GetText();              // "7"
    }
    // end
    ExpectOnThePage("looking up");
    EXPECT_EQ(state, "in transit");
    EXPECT_EQ(none, "");
    EXPECT_FALSE(isThere);
    EXPECT_EQ(items, "ab");
    EXPECT_EQ(code, "7");
}

TEST(Guide, ReportsErrorsAsItShows) {
    std::string message;
    // sample: errors
    try {
        Parser().Parse("<a>\n</b>", 8);
    } catch (const ParsingException& fault) {
        message = "code " + std::to_string(fault.code) + " at line " + std::to_string(fault.line) + ", column " +
                  std::to_string(fault.column);  // code 13 at line 2, column 3
    }
    // end
    ExpectOnThePage("errors");
    EXPECT_EQ(message, "code 13 at line 2, column 3");
}
// clang-format on

}  // namespace
