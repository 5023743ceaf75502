// Nothing is left behind: parses that end early, and memory that runs out.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "support/allocation_fault.h"
#include "support/xml.h"

using namespace AdvXMLParser;
using wpk::test::AllocationFault;
using wpk::test::LiveBytes;
using xml_tests::Parse;

namespace {

/// A document with everything in it: short and long names and texts, every kind of node, line breaks, a declaration.
std::string RichDocument() {
    std::string text =
        "<?xml version='1.0-but-longer-than-fits' encoding=\"ISO-8859-1\" standalone='no'?>\r\n"
        "<!-- before --><?target data?>\n"
        "<!DOCTYPE r PUBLIC '-//x//y' \"it's\" [\n"
        "  <!ELEMENT r (#PCDATA|a|b)*> <!ELEMENT a ((b,c?)|(d+;e*))?> <!ELEMENT b EMPTY>\n"
        "  <!ATTLIST a x CDATA #FIXED 'v&lt;' y (m|n) #IMPLIED z NOTATION (p) #REQUIRED>\n"
        "  <!ENTITY e 'text &#65; %p;'> <!ENTITY % p SYSTEM 's'> %p; <!ENTITY f SYSTEM 's' NDATA p>\n"
        "  <!NOTATION p SYSTEM 's'> ]>\r"
        "<r a='1' an-attribute-of-a-rather-long-name='and a value that does not fit either' xml:space='preserve'>\r\n"
        "text<a x='&lt;&#65;'>a text that is too long to stand in its place &amp; more<b/></a>\r\n"
        "<![CDATA[ raw <>& ]]>&#x42;<!-- comment\r\nwith lines --><?pi?>]] ><b></b>\n";
    for (int i = 0; i < 12; ++i)
        text += "<item n='" + std::to_string(i) + "'>value &gt; " + std::to_string(i) + "</item>";
    return text + "</r>\n<!-- after --><?end?> ";
}

/// Behind the root only whole comments, whole instructions and white space are good.
bool IsGoodEnd(std::string_view rest) {
    return rest.empty() || rest == "\n" || rest == "\n<!-- after -->" || rest.find("<?end?>") != std::string_view::npos;
}

TEST(Truncation, OfARichDocumentAtEveryByteIsAFaultAndLeavesNothing) {
    const std::string text = RichDocument();
    const size_t complete = text.rfind("</r>") + 4;
    for (size_t size = 0; size < text.size(); ++size) {
        const std::ptrdiff_t before = LiveBytes();
        bool isParsed = false;
        try {
            isParsed = Parse(std::string_view(text).substr(0, size)) != nullptr;
        } catch (const ParsingException& fault) {
            EXPECT_GE(fault.code, 1U);
            EXPECT_LE(fault.code, 43U);
        }
        EXPECT_EQ(isParsed, size >= complete && IsGoodEnd(std::string_view(text).substr(complete, size - complete)))
            << size;
        ASSERT_EQ(LiveBytes(), before) << size;
    }
}

TEST(Truncation, BytesReplacedAnywhereNeverDoMoreThanThrow) {
    const std::string text = RichDocument();
    for (size_t at = 0; at < text.size(); ++at) {
        for (const char replacement : {'\0', '<', '>', '&', '\'', ']', '\r', '\x01', 'x', '\xFF'}) {
            std::string changed = text;
            changed[at] = replacement;
            const std::ptrdiff_t before = LiveBytes();
            {
                xml_tests::DocumentPtr document;
                try {
                    document = Parse(changed);
                    EXPECT_NE(document->GetText(), "");
                    const std::unique_ptr<Document> copy(document->Clone(nullptr));
                    EXPECT_EQ(copy->children.size(), document->children.size());
                } catch (const ParsingException&) {
                    EXPECT_EQ(document, nullptr);
                }
            }
            ASSERT_EQ(LiveBytes(), before) << at;
        }
    }
}

/// Lets every allocation of the work fail once, alone and with all that follow, and wants every failure reported and
/// everything given back.
void FailEveryAllocation(const std::function<void()>& work) {
    work();
    for (const bool forGood : {false, true}) {
        for (size_t n = 0;; ++n) {
            const std::ptrdiff_t before = LiveBytes();
            bool hasFired = false;
            bool hasThrown = false;
            {
                AllocationFault fault(n, forGood);
                try {
                    work();
                } catch (const std::bad_alloc&) {
                    hasThrown = true;
                }
                hasFired = fault.Fired() > 0;
            }
            ASSERT_EQ(hasThrown, hasFired) << n;
            ASSERT_EQ(LiveBytes(), before) << n;
            if (!hasFired) break;
        }
    }
}

TEST(MemoryRunsOut, WhileParsing) {
    // Far more nodes than the parser keeps without allocating.
    std::string text = RichDocument();
    const std::string deep = [] {
        std::string begins;
        std::string ends;
        for (int i = 0; i < 300; ++i) {
            begins += "<n a='1'>x";
            ends += "</n>";
        }
        return begins + ends;
    }();
    text.insert(text.rfind("</r>"), deep);
    FailEveryAllocation(
        [&text] { std::unique_ptr<Document>(Parser().Parse(text.data(), static_cast<int>(text.size()))); });
}

TEST(MemoryRunsOut, WhileParsingWhatIsRefused) {
    const std::string text = RichDocument() + "<again/>";
    FailEveryAllocation([&text] {
        try {
            Parser().Parse(text.data(), static_cast<int>(text.size()));
            ADD_FAILURE();
        } catch (const ParsingException& fault) {
            EXPECT_EQ(fault.code, 43U);
        }
    });
}

TEST(MemoryRunsOut, WhileBuilding) {
    FailEveryAllocation([] {
        Document document("a-root-element-of-a-rather-long-name");
        document.version = "a version that does not fit in place";
        for (int i = 0; i < 6; ++i) {
            Node* field = document.root->GetOrCreateElement("a-field-of-a-rather-long-name-" + std::to_string(i));
            field->AppendText("a text that does not fit in place");
            field->AppendText("another");
            document.root->AppendChild(new EntityRef("lt"));
            document.root->AppendChild(
                new Pi(document.root, "a-target-of-a-rather-long-name", "and its data, too long"));
        }
        document.root->pendingText =
            static_cast<Text*>(document.root->FindElement("a-field-of-a-rather-long-name-0")->AsElement().children[0]);
        document.root->AppendText("more");
    });
}

TEST(MemoryRunsOut, WhileCloningWritingAndCollecting) {
    const auto document = Parse(RichDocument());
    FailEveryAllocation([&document] { std::unique_ptr<Document>(document->Clone(nullptr)); });
    FailEveryAllocation([&document] { document->GetText(); });
    FailEveryAllocation([&document] { xml_tests::Written(*document); });
    FailEveryAllocation([&document] {
        Element target(nullptr, "target");
        NodeContainer::CloneChildren(document.get(), &target);
    });
}

TEST(MemoryRunsOut, WhileWritingLeavesTheOutputPartlyWritten) {
    const auto document = Parse(xml_tests::Message(200));
    const std::string complete = xml_tests::Written(*document);
    size_t most = 0;
    for (size_t n = 0;; ++n) {
        std::string output;
        WriteContext context;
        context.output = &output;
        {
            const AllocationFault fault(n, true);
            try {
                document->Write(context);
            } catch (const std::bad_alloc&) {
            }
            if (fault.Fired() == 0) break;
        }
        ASSERT_LT(output.size(), complete.size()) << n;
        ASSERT_EQ(output, complete.substr(0, output.size())) << n;
        most = std::max(most, output.size());
    }
    EXPECT_GT(most, complete.size() / 4);
}

TEST(MemoryRunsOut, AppendedNodesAreOwnedAllTheSame) {
    Element element(nullptr, "e");
    element.AppendText("one");
    Node* second = new Text(&element, "two");
    const std::ptrdiff_t before = LiveBytes();
    {
        const AllocationFault fault(0, true);
        EXPECT_THROW(element.AppendChild(second), std::bad_alloc);
    }
    EXPECT_LT(LiveBytes(), before);
    EXPECT_EQ(element.GetText(), "one");
}

}  // namespace
