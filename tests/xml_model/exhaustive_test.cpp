// Every short string over a small alphabet, on its own and inside each kind of markup: library and model must agree.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

#include "support/sanitized.h"
#include "xml_model/agreement.h"
#include "xml_model/parser.h"

namespace xml_model {
namespace {

constexpr int kReportedAtMost = 10;

/// What stands around the short strings, what they are made of, and how long they get.
struct Place {
    const char* name;
    std::string_view before;
    /// Each piece counts as one character of the short string; the pieces end with an empty one.
    const char* const* pieces;
    std::string_view after;
    size_t length;
};

std::ostream& operator<<(std::ostream& stream, const Place& place) {
    return stream << place.name;
}

constexpr const char* kMarkup[] = {"<", "a", "/", ">", "&", ";", "\"", "=", " ", "]", ""};
constexpr const char* kTag[] = {"a", "=", "\"", "'", " ", "/", ">", "\r", "xml:space", "preserve", ""};
constexpr const char* kValue[] = {"a", "\"", "'", "&", ";", "<", "#", "1", "\t", "\x01", "lt", ""};
constexpr const char* kContent[] = {"a", "<", "/", ">", "&", "]", "<b/>", "</a>", "<!--", "\r\n", "\r", ""};
constexpr const char* kReference[] = {"#", "x", "X", "1", "4", "g", ";", "&", "lt", "amp", "\xE9", ""};
constexpr const char* kDashes[] = {"-", ">", "a", "!", "<", "\r", "\n", "\x1F", "\x80", "--", ""};
constexpr const char* kBrackets[] = {"]", ">", "a", "[", "<", "&", "\r", "\n", "\x02", ""};
constexpr const char* kPi[] = {"?", ">", "x", "m", "L", "a", " ", "\r", "-", "\x0B", "/", ""};
constexpr const char* kDeclaration[] = {" ",   "version", "encoding", "standalone", "=", "'1'",
                                        "'a'", "'yes'",   "?>",       "\"",         ""};
constexpr const char* kProlog[] = {" ",       "<!--a-->",     "<?b?>", "<a/>", "<!DOCTYPE a>", "\r", "x",
                                   "<?xml?>", "<![CDATA[]]>", "<",     ""};
constexpr const char* kDoctype[] = {" ", "a", "[", "]", ">", "SYSTEM", "PUBLIC", "'s'", "\"p\"", "%", "\t'", ""};
constexpr const char* kSubset[] = {" ", "%", "a", ";", "]", ">", "<!ELEMENT", " a ANY>", "<!--c-->", "<?p?>", "<", ""};
constexpr const char* kModel[] = {"(", ")", "a", "|", ",", "*", " ", "#PCDATA", "?", ";", "\r", ""};
constexpr const char* kContentKind[] = {" ", "a", "EMPTY", "ANY", "(", ")", "*", "+", ">", "#PCDATA", ""};
constexpr const char* kAttributeType[] = {" ", "a", "CDATA", "ID", "REF", "S",      "NOTATION", "(",
                                          ")", "|", "1",     ">",  "'v'", "#FIXED", "#IMPLIED", ""};
constexpr const char* kEntity[] = {" ", "%", "a", "'v'", "SYSTEM", "'s'", "NDATA", ">", "PUBLIC", "\"", "&lt;", ""};
constexpr const char* kEntityValue[] = {"a", "%", "&", ";", "lt", "#", "1", "'", "<", "\"", "\x03", ""};
constexpr const char* kNotation[] = {" ", "a", "SYSTEM", "PUBLIC", "'s'", "\"p\"", ">", "\t", "'", "1", ""};
constexpr const char* kPublicId[] = {"a", " ", "\t", "\r", "\n", "'", "\"", "%", "<", "&", "\x80", ""};

const Place kPlaces[] = {
    {"Alone", "", kMarkup, "", 8},
    {"AfterTheRootsName", "<a", kTag, "", 5},
    {"InAClosedTag", "<a", kTag, "/>", 5},
    {"InAnAttributeValue", "<a b=\"", kValue, "\"/>", 5},
    {"InContent", "<a>", kContent, "</a>", 5},
    {"InNestedContent", "<a><b>", kContent, "</b></a>", 4},
    {"InUnfinishedContent", "<a>", kContent, "", 4},
    {"InAReference", "<a>&", kReference, ";</a>", 5},
    {"InAReferenceInAValue", "<a b='&", kReference, "'/>", 5},
    {"InAnEndTag", "<ab></a", kTag, ">", 6},
    {"InAComment", "<!--", kDashes, "--><a/>", 5},
    {"InAnUnfinishedComment", "<a><!--", kDashes, "", 4},
    {"InACDataSection", "<a><![CDATA[", kBrackets, "]]></a>", 5},
    {"InAnUnfinishedCDataSection", "<a><![CDATA[", kBrackets, "", 4},
    {"InAPi", "<?", kPi, "?><a/>", 6},
    {"InAPiInContent", "<a><?", kPi, "?></a>", 4},
    {"InTheXmlDeclaration", "<?xml", kDeclaration, "?><a/>", 7},
    {"AfterTheVersion", "<?xml version='1.0'", kDeclaration, "?><a/>", 7},
    {"InTheProlog", "", kProlog, "<a/>", 5},
    {"AfterTheRoot", "<a/>", kProlog, "", 5},
    {"InADoctype", "<!DOCTYPE", kDoctype, "><a/>", 7},
    {"InAnInternalSubset", "<!DOCTYPE a [", kSubset, "]><a/>", 6},
    {"InAnElementDeclaration", "<!DOCTYPE a [<!ELEMENT a", kContentKind, ">]><a/>", 6},
    {"InAContentModel", "<!DOCTYPE a [<!ELEMENT a (", kModel, ")>]><a/>", 6},
    {"InAnUnfinishedContentModel", "<!DOCTYPE a [<!ELEMENT a (", kModel, "", 5},
    {"InAMixedModel", "<!DOCTYPE a [<!ELEMENT a (#PCDATA", kModel, ")*>]><a/>", 6},
    {"InAnAttributeList", "<!DOCTYPE a [<!ATTLIST a", kAttributeType, ">]><a/>", 5},
    {"InAnAttributeType", "<!DOCTYPE a [<!ATTLIST a b ", kAttributeType, " #REQUIRED>]><a/>", 5},
    {"InADefault", "<!DOCTYPE a [<!ATTLIST a b CDATA ", kAttributeType, ">]><a/>", 5},
    {"InAnEntityDeclaration", "<!DOCTYPE a [<!ENTITY ", kEntity, ">]><a/>", 6},
    {"InAnEntityValue", "<!DOCTYPE a [<!ENTITY a '", kEntityValue, "'>]><a/>", 5},
    {"InANotation", "<!DOCTYPE a [<!NOTATION ", kNotation, ">]><a/>", 6},
    {"InAPublicId", "<!DOCTYPE a PUBLIC '", kPublicId, "' 's'><a/>", 5},
    {"InASystemLiteral", "<!DOCTYPE a SYSTEM \"", kPublicId, "\"><a/>", 4},
};

class ExhaustiveInputs : public testing::TestWithParam<Place> {
protected:
    /// Tries `text` and everything that begins with it; once the model refuses whatever may follow, only one piece
    /// more.
    void TryFrom(const std::string& text, size_t left) {
        const Place& place = GetParam();
        const std::string difference =
            Disagreement(std::string(place.before) + text + std::string(place.after), Depth::kTree);
        if (!difference.empty()) {
            ADD_FAILURE() << difference;
            ++reported_;
        }
        if (left == 0) return;
        if (left > 1 && IsRefusedForGood(std::string(place.before) + text)) left = 1;
        for (const char* const* piece = place.pieces; **piece != '\0' && reported_ < kReportedAtMost; ++piece)
            TryFrom(text + *piece, left - 1);
    }

private:
    int reported_ = 0;
};

TEST_P(ExhaustiveInputs, AreSeenTheSameByModelAndLibrary) {
    // A piece less is a tenth of the strings.
    TryFrom("", GetParam().length - support::Many(0, 1));
}

std::string NameOf(const testing::TestParamInfo<Place>& place) {
    return place.param.name;
}

INSTANTIATE_TEST_SUITE_P(Everywhere, ExhaustiveInputs, testing::ValuesIn(kPlaces), NameOf);

}  // namespace
}  // namespace xml_model
