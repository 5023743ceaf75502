// Memory that runs out leaves nothing behind, and what was there as it was.
// SPDX-License-Identifier: MIT
#include <functional>
#include <memory>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include <wpk/xml_helpers.h>

#include "support/allocation_fault.h"

using namespace wpk::xml;
using wpk::test::AllocationFault;
using wpk::test::LiveBytes;

namespace {

constexpr const char* kDocument =
    "<?xml version='1.0-but-longer-than-fits'?><order xml:space='preserve' n='&lt;an attribute too long for its place'>"
    "<item id='1'> a text that is too long for its place &amp; more <b/> </item><item id='2'/></order>";
constexpr const char* kLong = "a text that is too long for its place: < & > \t \" and more";

/// Runs the work on a fresh document, letting its every allocation fail once, alone and with all that follow. Each
/// failure is reported, changes nothing, and all is given back.
void FailEveryAllocation(const std::function<void(Document&)>& work) {
    for (const bool forGood : {false, true}) {
        for (size_t n = 0;; ++n) {
            const std::ptrdiff_t before = LiveBytes();
            bool hasFired = false;
            bool hasThrown = false;
            {
                const auto document = Parse(kDocument);
                const std::string written = ToString(*document, WRITE_VERBATIM);
                {
                    const AllocationFault fault(n, forGood);
                    try {
                        work(*document);
                    } catch (const std::bad_alloc&) {
                        hasThrown = true;
                    }
                    hasFired = fault.Fired() > 0;
                }
                ASSERT_EQ(hasThrown, hasFired) << n;
                if (hasThrown) {
                    ASSERT_EQ(ToString(*document, WRITE_VERBATIM), written) << n;
                }
            }
            ASSERT_EQ(LiveBytes(), before) << n;
            if (!hasFired) break;
        }
    }
}

Node* Item(Document& document) {
    return document.root->FindElement("item");
}

TEST(HelpersOutOfMemory, WhileTextsAreSet) {
    FailEveryAllocation([](Document& document) { AppendEscaped(Item(document), kLong); });
    FailEveryAllocation([](Document& document) { SetText(Item(document), kLong); });
    FailEveryAllocation([](Document& document) { SetText(FindAttribute(document.root, "n"), kLong); });
    FailEveryAllocation([](Document& document) { SetText(Item(document), 0.1); });
}

TEST(HelpersOutOfMemory, WhileAttributesAreSet) {
    FailEveryAllocation([](Document& document) { SetAttribute(document.root, "n", kLong); });
    FailEveryAllocation([](Document& document) { SetAttribute(document.root, "xml:space", kLong); });
    FailEveryAllocation([](Document& document) { SetAttribute(Item(document), "an-attribute-too-long", kLong); });
}

TEST(HelpersOutOfMemory, WhileElementsAreAdded) {
    FailEveryAllocation([](Document& document) { Add(document.root, "a-name-too-long-for-its-place"); });
    FailEveryAllocation([](Document& document) { Add(document.root, "a-name-too-long-for-its-place", kLong); });
    FailEveryAllocation([](Document& document) { AddCopy(document.root, document.root); });
}

TEST(HelpersOutOfMemory, WhileCopying) {
    FailEveryAllocation([](Document& document) { Copy(&document); });
    FailEveryAllocation([](Document& document) { Copy(document.root); });
}

TEST(HelpersOutOfMemory, WhileReading) {
    FailEveryAllocation([](Document& document) { TextOr(Item(document), "fallback"); });
    FailEveryAllocation([](Document& document) { AttributeOr(document.root, "n", 0); });
    FailEveryAllocation([](Document& document) {
        for (const Element* child : Children(document.root, "a-name-too-long-for-its-place")) ADD_FAILURE() << child;
    });
    FailEveryAllocation([](Document& document) { ToString(document); });
}

TEST(HelpersOutOfMemory, WhileParsing) {
    FailEveryAllocation([](Document&) { Parse(kDocument); });
    FailEveryAllocation([](Document&) { ReferencesToUtf8("<a>&#233; and as much text as does not fit in place</a>"); });
    FailEveryAllocation([](Document&) {
        try {
            Parse("<a>\n</b>");
            ADD_FAILURE();
        } catch (const DocumentError& fault) {
            EXPECT_EQ(fault.code, 13U);
        }
    });
}

TEST(HelpersOutOfMemory, WhileLayoutIsRemovedLeavesAWholeDocument) {
    const std::string text = "<a> <b> <c/> <d> <e/> </d> </b> a text that is too long for its place</a>";
    for (size_t n = 0;; ++n) {
        const std::ptrdiff_t before = LiveBytes();
        bool hasFired = false;
        {
            const auto document = Parse(text);
            {
                const AllocationFault fault(n, true);
                try {
                    RemoveLayout(document.get());
                } catch (const std::bad_alloc&) {
                    EXPECT_GT(fault.Fired(), 0U);
                }
                hasFired = fault.Fired() > 0;
            }
            EXPECT_EQ(Parse(ToString(*document, WRITE_VERBATIM))->GetText(), "a text that is too long for its place");
        }
        ASSERT_EQ(LiveBytes(), before) << n;
        if (!hasFired) break;
    }
}

}  // namespace
