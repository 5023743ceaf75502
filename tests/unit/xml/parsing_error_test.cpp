// Every parsing error by its name, with a document that causes it.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "wpk/xml.h"

namespace xml_tests {
namespace {

using namespace AdvXMLParser;

struct Wrong {
    ParsingError error;
    const char* document;
};

void PrintTo(const Wrong& wrong, std::ostream* out) {
    *out << wrong.error << ": " << wrong.document;
}

std::string WithSubset(const std::string& declarations) {
    return "<!DOCTYPE a [" + declarations + "]><a/>";
}

unsigned ErrorOf(const std::string& document) {
    try {
        Parser().Parse(document.data(), document.size());
    } catch (const ParsingException& fault) {
        return fault.code;
    }
    return 0;
}

class DocumentErrorTest : public testing::TestWithParam<Wrong> {};

TEST_P(DocumentErrorTest, HasItsName) {
    EXPECT_EQ(ErrorOf(GetParam().document), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(, DocumentErrorTest,
                         testing::Values(Wrong{kUnexpectedEnd, "<a>"}, Wrong{kBadCharacter, "<a>\x01</a>"},
                                         Wrong{kNoEquals, "<a x/>"}, Wrong{kValueNotQuoted, "<a x=1/>"},
                                         Wrong{kLessThanInValue, "<a x='<'/>"}, Wrong{kBadReference, "<a>&lt</a>"},
                                         Wrong{kNoHexDigit, "<a>&#x;</a>"}, Wrong{kNoDigit, "<a>&#;</a>"},
                                         Wrong{kUnknownEntity, "<a>&nbsp;</a>"}, Wrong{kNoElementName, "<1/>"},
                                         Wrong{kEmptyTagNotClosed, "<a/ >"}, Wrong{kTagNotClosed, "<a</a>"},
                                         Wrong{kWrongEndTag, "<a></b>"}, Wrong{kSectionEndInContent, "<a>]]></a>"},
                                         Wrong{kNoRootElement, ""}, Wrong{kBadVersion, "<?xml?><a/>"},
                                         Wrong{kDeclarationNotClosed, "<?xml version='1.0'><a/>"},
                                         Wrong{kEncodingNotQuoted, "<?xml version='1.0' encoding=x?><a/>"},
                                         Wrong{kBadEncoding, "<?xml version='1.0' encoding=''?><a/>"},
                                         Wrong{kStandaloneNotQuoted, "<?xml version='1.0' standalone=yes?><a/>"},
                                         Wrong{kBadStandalone, "<?xml version='1.0' standalone='maybe'?><a/>"},
                                         Wrong{kBadComment, "<a><!-- -- --></a>"}, Wrong{kNoTarget, "<a><? ?></a>"},
                                         Wrong{kReservedTarget, "<a><?XML ?></a>"},
                                         Wrong{kBadDoctype, "<!DOCTYPE ><a/>"}, Wrong{kContentAfterRoot, "<a/>b"}));

class SubsetErrorTest : public testing::TestWithParam<Wrong> {};

TEST_P(SubsetErrorTest, HasItsName) {
    EXPECT_EQ(ErrorOf(WithSubset(GetParam().document)), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    , SubsetErrorTest,
    testing::Values(Wrong{kBadParameterReference, "% x;"}, Wrong{kBadPublicId, "<!NOTATION n PUBLIC '{' 's'>"},
                    Wrong{kBadElementDeclaration, "<!ELEMENT e>"}, Wrong{kBadContentModel, "<!ELEMENT e (#PCDATA, x)>"},
                    Wrong{kBadSequence, "<!ELEMENT e (x, y| z)>"}, Wrong{kNoContentParticle, "<!ELEMENT e (x, )>"},
                    Wrong{kBadAttributeList, "<!ATTLIST >"}, Wrong{kBadAttributeDefinition, "<!ATTLIST e x>"},
                    Wrong{kBadNotationType, "<!ATTLIST e x NOTATION n #IMPLIED>"},
                    Wrong{kBadEnumeration, "<!ATTLIST e x (y, z) #IMPLIED>"},
                    Wrong{kBadFixedDefault, "<!ATTLIST e x CDATA #FIXED'1'>"},
                    Wrong{kBadEntityDeclaration, "<!ENTITY e>"},
                    Wrong{kBadUnparsedEntity, "<!ENTITY e SYSTEM 's' NDATA>"},
                    Wrong{kBadNotationDeclaration, "<!NOTATION n>"}, Wrong{kBadExternalId, "<!ENTITY e SYSTEM s>"}));

}  // namespace
}  // namespace xml_tests
