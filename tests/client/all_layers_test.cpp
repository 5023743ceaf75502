// The namespaces of all layers, opened in one program together with <windows.h>: every public name means one thing.
// SPDX-License-Identifier: MIT
#include <windows.h>
#include <wpk/client.h>
#include <wpk/xml.h>
#include <wpk/xml_helpers.h>

#include <gtest/gtest.h>

#include <type_traits>

using namespace wpk;
using namespace wpk::xml;
using namespace AdvXMLParser;

namespace {

// Fails to compile where a name is ambiguous.
#define MEANS(name, layer) static_assert(std::is_same_v<name, layer::name>)

TEST(AllLayers, OpenedAreNotAmbiguous) {
    MEANS(Address, wpk);
    MEANS(AnsiText, wpk);
    MEANS(Client, wpk);
    MEANS(Connection, wpk);
    MEANS(Credentials, wpk);
    MEANS(Errc, wpk);
    MEANS(Functions, wpk);
    MEANS(Message, wpk);
    MEANS(Options, wpk);
    MEANS(Outcome, wpk);
    MEANS(OutcomeFunction, wpk);
    MEANS(Progress, wpk);
    MEANS(Proxy, wpk);
    MEANS(Reply, wpk);
    MEANS(Request, wpk);
    MEANS(ScopedRequest, wpk);

    MEANS(Attribute, AdvXMLParser);
    MEANS(CData, AdvXMLParser);
    MEANS(CharRef, AdvXMLParser);
    MEANS(Comment, AdvXMLParser);
    MEANS(Document, AdvXMLParser);
    MEANS(Element, AdvXMLParser);
    MEANS(EntityRef, AdvXMLParser);
    MEANS(Exception, AdvXMLParser);
    MEANS(InvalidRefException, AdvXMLParser);
    MEANS(Node, AdvXMLParser);
    MEANS(NodeContainer, AdvXMLParser);
    MEANS(Parser, AdvXMLParser);
    MEANS(ParsingException, AdvXMLParser);
    MEANS(Pi, AdvXMLParser);
    MEANS(Reference, AdvXMLParser);
    MEANS(Text, AdvXMLParser);
    MEANS(WriteContext, AdvXMLParser);

    const Address address = ParseAddress("server.example:8080");
    Document document("to");
    SetAttribute(document.root, "port", address.port);
    EXPECT_EQ(AttributeOr<unsigned>(document.root, "port", 0), 8080u);
    EXPECT_TRUE(IsNull(NullElement()));
    EXPECT_STREQ(ErrorCategory().name(), "wpk");
}

}  // namespace
