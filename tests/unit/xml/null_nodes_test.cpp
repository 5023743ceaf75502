// The nodes that stand for none.
// SPDX-License-Identifier: MIT
#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "support/xml.h"
#include "unit/xml/mortal.h"

using namespace AdvXMLParser;
using xml_tests::Mortal;

namespace {

/// Looks something up when static objects are being destroyed, after all that came to life later than this one.
struct LooksUpAtTheEnd {
    ~LooksUpAtTheEnd() {
        if (!isAsked) return;
        Node* found = NullElement().FindElement("a")->GetOrCreateElement("b");
        if (found == &NullElement() && found->GetText().empty()) std::fputs("found nothing", stderr);
    }
    bool isAsked = false;
} looksUpAtTheEnd;

TEST(NullNodes, AreEmptyAndTheirOwnWorld) {
    EXPECT_EQ(NullElement().parent, &NullElement());
    EXPECT_EQ(NullElement().name, "");
    EXPECT_FALSE(NullElement().preserveSpace);
    EXPECT_EQ(NullAttribute().parent, &NullElement());
    EXPECT_EQ(NullAttribute().name, "");
    EXPECT_EQ(NullComment().name, "#comment");
    EXPECT_EQ(NullComment().text, "");
    EXPECT_EQ(NullPi().name, "");
    EXPECT_EQ(NullPi().data, "");
    EXPECT_EQ(NullCData().name, "#cdata-section");
    EXPECT_EQ(NullCData().text, "");
    EXPECT_EQ(&NullElement(), &NullElement());
}

TEST(NullNodes, AreRecognisedByAddress) {
    EXPECT_TRUE(IsNull(NullElement()));
    EXPECT_TRUE(IsNull(&NullAttribute()));
    EXPECT_TRUE(IsNull(NullComment()));
    EXPECT_TRUE(IsNull(NullPi()));
    EXPECT_TRUE(IsNull(NullCData()));
    EXPECT_TRUE(IsNull(nullptr));
    EXPECT_FALSE(IsNull(Element(nullptr, "")));
    EXPECT_FALSE(IsNull(Comment(nullptr, "")));
}

TEST(NullNodes, StayEmptyWhateverIsDoneToThem) {
    NullElement().AppendText("x");
    NullAttribute().AppendText("x");
    NullElement().AppendChild(nullptr);
    NullElement().DeleteChildren();
    EXPECT_EQ(NullElement().GetOrCreateElement("a"), &NullElement());
    EXPECT_EQ(NullAttribute().GetOrCreateElement("a"), &NullElement());
    Element full(nullptr, "full");
    full.AppendText("x");
    NodeContainer::CloneChildren(full, NullElement());
    EXPECT_EQ(NullElement().children.size(), 0U);
    EXPECT_EQ(NullAttribute().children.size(), 0U);
    EXPECT_EQ(NullElement().GetText(), "");
    EXPECT_EQ(NullElement().FindElement("a"), &NullElement());
}

TEST(NullNodes, DeleteWhatIsHandedToThem) {
    std::string log;
    NullElement().AppendChild(new Mortal(log, "gone"));
    EXPECT_EQ(log, "gone");
    EXPECT_EQ(NullElement().children.size(), 0U);
}

TEST(NullNodes, AreThereAfterTheEndOfMain) {
    EXPECT_EXIT(
        {
            looksUpAtTheEnd.isAsked = true;
            NullElement();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "found nothing");
}

TEST(NullNodes, CannotBecomeChildren) {
    Element element(nullptr, "e");
    element.AppendChild(&NullComment());
    element.AppendChild(nullptr);
    EXPECT_EQ(element.children.size(), 0U);
}

}  // namespace
