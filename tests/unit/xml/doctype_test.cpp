// Document type declarations: what is accepted, and the codes of what is not.
// SPDX-License-Identifier: MIT
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/xml.h"

using namespace AdvXMLParser;
using xml_tests::Parse;
using xml_tests::Verdict;

namespace {

std::string operator""_z(const char* text, size_t size) {
    return std::string(text, size);
}

/// What the parser says of a declaration alone in an internal subset, with the column counted inside of it.
std::string Declared(const std::string& declaration) {
    const std::string before = "<!DOCTYPE a [\n";
    const std::string verdict = Verdict(before + declaration + "]><a/>");
    return verdict.find(" 2:") == std::string::npos
               ? verdict
               : verdict.substr(0, verdict.find(' ')) + " at " + verdict.substr(verdict.find(':') + 1);
}

/// Everything that a tree holds, node by node, and whether each one's parent is the one it stands in.
std::string Structure(const Node& node, const Node* parent = &NullElement()) {
    std::string all = "(" + std::string(node.name) + "|" + node.GetNodeValue() + (node.parent == parent ? "" : "!");
    for (int code = 1; code < 12; ++code) all += node.IsType(code) ? std::to_string(code) : "";
    if (const auto* document = dynamic_cast<const Document*>(&node)) {
        all += std::string(document->version) + std::string(document->encoding) + (document->standalone ? "+" : "-");
        all += &document->self == document && document->root == document->FindElement("a") ? "" : "!";
    }
    if (const auto* element = dynamic_cast<const Element*>(&node)) {
        all += element->preserveSpace ? "p" : "";
        for (const Attribute* attribute : element->attributes) all += "@" + Structure(*attribute, &node);
    }
    if (const auto* container = dynamic_cast<const NodeContainer*>(&node)) {
        all += !container->pendingText ? "" : "!";
        for (const Node* child : container->children) all += Structure(*child, &node);
    }
    return all + ")";
}

struct Case {
    std::string declaration;
    const char* verdict;
};

void ExpectVerdicts(const std::vector<Case>& cases) {
    for (const Case& c : cases) EXPECT_EQ(Declared(c.declaration), c.verdict) << c.declaration;
}

TEST(Doctype, LeavesNoTraceInTheTree) {
    const std::string body = "<a x='1'>text<b/></a>";
    const std::string doctype =
        "<!DOCTYPE a SYSTEM 'a.dtd' [ <!ELEMENT a (#PCDATA|b)*>\n<!ATTLIST a x CDATA 'd' y ID #IMPLIED>\r\n"
        "<!ENTITY e 'x&lt;%p;&#65;'> %p; <!NOTATION n SYSTEM 's'> ] >";
    EXPECT_EQ(Structure(*Parse(doctype + body)), Structure(*Parse(body)));
    EXPECT_EQ(Structure(*Parse("<!--c-->" + doctype + "<?p?>" + body)), Structure(*Parse("<!--c--><?p?>" + body)));
}

TEST(Doctype, MayBeShort) {
    for (const char* text : {"<!DOCTYPE a><a/>", "<!DOCTYPE a []><a/>", "<!DOCTYPE\na[]  ><a/>",
                             "<!DOCTYPE a SYSTEM \"s\"><a/>", "<!DOCTYPE a SYSTEM 's'[]><a/>",
                             "<!DOCTYPE a PUBLIC 'p' \"it's\" [ ]><a/>", "<!DOCTYPE a PUBLIC \"it's\" ''><a/>"}) {
        EXPECT_EQ(Verdict(text), "ok") << text;
    }
}

TEST(Doctype, OutsideOfTheSubset) {
    const Case cases[] = {{"<!DOCTYPE>", "26 1:10"},
                          {"<!DOCTYPEa>", "26 1:10"},
                          {"<!DOCTYPE >", "26 1:11"},
                          {"<!DOCTYPE a", "26 1:12"},
                          {"<!DOCTYPE a x>", "26 1:13"},
                          {"<!DOCTYPE a []", "26 1:15"},
                          {"<!DOCTYPE a [", "26 1:14"},
                          {"<!DOCTYPE a [<!--c-->]>", "26 1:14"},
                          {"<!DOCTYPE a [<?p?>]>", "26 1:14"},
                          {"<!DOCTYPE a [x]>", "26 1:14"},
                          {"<!DOCTYPE a [<!WRONG>]>", "26 1:14"},
                          {"<!DOCTYPE a SYSTEM>", "41 1:19"},
                          {"<!DOCTYPE a SYSTEM's'>", "41 1:19"},
                          {"<!DOCTYPE a SYSTEM s>", "41 1:20"},
                          {"<!DOCTYPE a PUBLIC 'p'>", "41 1:23"},
                          {"<!DOCTYPE a PUBLIC 'p'\"s\">", "41 1:23"},
                          {"<!DOCTYPE a PUBLIC 'p' >", "41 1:24"},
                          {"<!DOCTYPE a SYSTEM 's", "1 1:22"},
                          {"<!DOCTYPE a SYSTEM '\x01'", "2 1:22"},
                          {"<!DOCTYPE a PUBLIC 'p", "1 1:22"},
                          {"<!DOCTYPE a PUBLIC '\t' 's'>", "28 1:22"},
                          {"<!DOCTYPE a PUBLIC '\"' 's'>", "28 1:22"},
                          {"<!DOCTYPE a PUBLIC '<' 's'>", "28 1:22"},
                          {"<!DOCTYPE a PUBLIC '\x80' 's'>", "28 1:22"}};
    for (const Case& c : cases) EXPECT_EQ(Verdict(c.declaration), c.verdict) << c.declaration;
}

TEST(Doctype, PublicIdsTakeTheirSetOfCharacters) {
    const std::string all = "ABCXYZabcxyz0189 \r\n-()+,./:=?;!*#@$_%\n";
    EXPECT_EQ(Verdict("<!DOCTYPE a PUBLIC \"" + all + "'\" ''><a/>"), "ok");
}

TEST(Doctype, ParameterReferences) {
    ExpectVerdicts({{"%p;", "ok"},
                    {" %p; %q;\n", "ok"},
                    {"%;", "27 at 1"},
                    {"% p;", "27 at 1"},
                    {"%p", "27 at 2"},
                    {"%p ;", "27 at 2"}});
}

TEST(ElementDeclarations, Accepted) {
    for (const char* content : {"EMPTY",
                                "ANY",
                                "(#PCDATA)",
                                "( #PCDATA )",
                                "(#PCDATA)*",
                                "(#PCDATA|b)*",
                                "( #PCDATA | b | c )*",
                                "(#PCDATA|)*",
                                "(#PCDATA||b)*",
                                "(b)",
                                "(b?)",
                                "(b)*",
                                "(b+)+",
                                "(b,c)",
                                "(b|c)?",
                                "( b , c , d )",
                                "(b;c)",
                                "(b;c;d)",
                                "((b))",
                                "((b,c)|(d?,e*)+)*",
                                "(b,(c|(d,e)))",
                                "(b;(c|d);e)",
                                "( ( b ) )"}) {
        EXPECT_EQ(Declared("<!ELEMENT a " + std::string(content) + ">"), "ok") << content;
    }
    EXPECT_EQ(Declared("<!ELEMENT\ta\nEMPTY >"), "ok");
}

TEST(ElementDeclarations, Refused) {
    ExpectVerdicts({{"<!ELEMENT>", "29 at 9"},
                    {"<!ELEMENT a>", "29 at 11"},
                    {"<!ELEMENT a >", "29 at 12"},
                    {"<!ELEMENTa EMPTY>", "29 at 9"},
                    {"<!ELEMENT 1 EMPTY>", "29 at 10"},
                    {"<!ELEMENT a empty>", "29 at 12"},
                    {"<!ELEMENT a EMPTYx>", "29 at 17"},
                    {"<!ELEMENT a (#PCDATA) x>", "29 at 22"},
                    {"<!ELEMENT a ()>", "29 at 13"},
                    {"<!ELEMENT a ( )>", "29 at 14"},
                    {"<!ELEMENT a (())>", "29 at 14"},
                    {"<!ELEMENT a (|b)>", "29 at 13"},
                    {"<!ELEMENT a (b)**>", "29 at 16"}});
}

TEST(ContentModels, OfMixedContentRefused) {
    ExpectVerdicts({{"<!ELEMENT a (#PCDATA|b)>", "30 at 22"},
                    {"<!ELEMENT a (#PCDATA,b)*>", "30 at 20"},
                    {"<!ELEMENT a (#PCDATAb)*>", "30 at 20"},
                    {"<!ELEMENT a (#PCDATA|b c)*>", "30 at 23"},
                    {"<!ELEMENT a (#PCDATA|b?)*>", "30 at 22"},
                    {"<!ELEMENT a (#PCDATA", "30 at 20"}});
    EXPECT_EQ(Verdict("<!DOCTYPE a [<!ELEMENT a (#PCDATA"), "30 1:34");
}

TEST(ContentModels, OfChildrenRefused) {
    ExpectVerdicts({{"<!ELEMENT a (b|c,d)>", "30 at 17"},
                    {"<!ELEMENT a (b,c|d)>", "31 at 17"},
                    {"<!ELEMENT a (b;c,d)>", "31 at 17"},
                    {"<!ELEMENT a (b,c d)>", "31 at 18"},
                    {"<!ELEMENT a (b|)>", "32 at 15"},
                    {"<!ELEMENT a (b, )>", "32 at 16"},
                    {"<!ELEMENT a (b,())>", "32 at 16"},
                    {"<!ELEMENT a (b,(c|))>", "32 at 18"},
                    {"<!ELEMENT a (b*c)>", "32 at 16"},
                    {"<!ELEMENT a (b c)>", "32 at 16"},
                    {"<!ELEMENT a (b**)>", "32 at 16"}});
}

TEST(ContentModels, CutOff) {
    const Case cases[] = {
        {"<!DOCTYPE a[<!ELEMENT a (", "29 1:26"},   {"<!DOCTYPE a[<!ELEMENT a (b", "32 1:27"},
        {"<!DOCTYPE a[<!ELEMENT a (b,", "32 1:28"}, {"<!DOCTYPE a[<!ELEMENT a (b,c", "1 1:29"},
        {"<!DOCTYPE a[<!ELEMENT a (b)", "29 1:28"}, {"<!DOCTYPE a[<!ELEMENT a (b,c\0d)>"_z, "1 1:30"}};
    for (const Case& c : cases) EXPECT_EQ(Verdict(c.declaration), c.verdict) << c.declaration;
    EXPECT_EQ(Declared("<!ELEMENT a (b\0c)>"_z), "ok");
}

TEST(AttributeLists, Accepted) {
    for (const char* definitions :
         {"", " ", " x CDATA #IMPLIED", " x CDATA 'v'", "\nx ID #REQUIRED\ny IDREF #IMPLIED z IDREFS 'a b'",
          " x ENTITY #IMPLIED y ENTITIES #IMPLIED", " x NMTOKEN '1' y NMTOKENS '1 2'", " x NOTATION (n) #IMPLIED",
          " x NOTATION ( n | m ) 'n'", " x (a|b) 'a'", " x ( 1 | -2 ) #FIXED \"1\"", " x CDATA #FIXED\n'&lt;&#65;'"}) {
        EXPECT_EQ(Declared("<!ATTLIST a" + std::string(definitions) + ">"), "ok") << definitions;
    }
}

TEST(AttributeLists, Refused) {
    ExpectVerdicts({{"<!ATTLIST>", "33 at 9"},
                    {"<!ATTLIST >", "33 at 10"},
                    {"<!ATTLIST a x", "34 at 13"},
                    {"<!ATTLIST a 1>", "33 at 12"},
                    {"<!ATTLIST a x>", "34 at 13"},
                    {"<!ATTLIST a x >", "34 at 14"},
                    {"<!ATTLIST a x WRONG 'v'>", "34 at 14"},
                    {"<!ATTLIST a x CDATA>", "34 at 19"},
                    {"<!ATTLIST a x CDATA'v'>", "34 at 19"},
                    {"<!ATTLIST a x CDATA v>", "34 at 20"},
                    {"<!ATTLIST a x IDx #IMPLIED>", "34 at 16"},
                    {"<!ATTLIST a x CDATA #WRONG>", "34 at 20"},
                    {"<!ATTLIST a x CDATA #FIXED\"1\">", "37 at 26"},
                    {"<!ATTLIST a x CDATA #FIXED >", "34 at 27"},
                    {"<!ATTLIST a x CDATA 'v'y CDATA 'w'>", "33 at 23"}});
}

TEST(AttributeLists, TypesRefused) {
    ExpectVerdicts({{"<!ATTLIST a x NOTATION #IMPLIED>", "35 at 23"},
                    {"<!ATTLIST a x NOTATION(n) #IMPLIED>", "35 at 22"},
                    {"<!ATTLIST a x NOTATION () #IMPLIED>", "35 at 24"},
                    {"<!ATTLIST a x NOTATION (1) #IMPLIED>", "35 at 24"},
                    {"<!ATTLIST a x NOTATION (n|) #IMPLIED>", "35 at 26"},
                    {"<!ATTLIST a x NOTATION (n m) #IMPLIED>", "35 at 26"},
                    {"<!ATTLIST a x () 'v'>", "36 at 15"},
                    {"<!ATTLIST a x (a|) 'a'>", "36 at 17"},
                    {"<!ATTLIST a x (a,b) 'a'>", "36 at 16"},
                    {"<!ATTLIST a x (a", "36 at 16"}});
}

TEST(AttributeLists, DefaultValuesAreReadLikeAnyOther) {
    ExpectVerdicts({{"<!ATTLIST a x CDATA \"1<2\">", "5 at 23"},
                    {"<!ATTLIST a x CDATA '&copy;'>", "9 at 27"},
                    {"<!ATTLIST a x CDATA '&#;'>", "8 at 23"},
                    {"<!ATTLIST a x CDATA '&#xg;'>", "7 at 24"},
                    {"<!ATTLIST a x CDATA '& '>", "6 at 22"},
                    {"<!ATTLIST a x CDATA '\x01'>", "2 at 22"}});
    EXPECT_EQ(Verdict("<!DOCTYPE a[<!ATTLIST a x CDATA 'v"), "1 1:35");
}

TEST(EntityDeclarations, Accepted) {
    for (const char* rest : {" e 'v'", " e \"it's %p; &lt; &#65; < >\"", " e SYSTEM 's'", " e PUBLIC 'p' 's'",
                             " e SYSTEM 's' NDATA n ", " % p 'v'", " %  p SYSTEM 's'", "\n%\np\n''\n"}) {
        EXPECT_EQ(Declared("<!ENTITY" + std::string(rest) + ">"), "ok") << rest;
    }
}

TEST(EntityDeclarations, Refused) {
    ExpectVerdicts({{"<!ENTITY>", "38 at 8"},
                    {"<!ENTITY >", "38 at 9"},
                    {"<!ENTITY e>", "38 at 10"},
                    {"<!ENTITY e >", "38 at 11"},
                    {"<!ENTITY e v>", "38 at 11"},
                    {"<!ENTITY e 'v' x>", "38 at 15"},
                    {"<!ENTITY %>", "38 at 10"},
                    {"<!ENTITY %p 'v'>", "38 at 10"},
                    {"<!ENTITY % p>", "38 at 12"},
                    {"<!ENTITY % p v>", "38 at 13"},
                    {"<!ENTITY % p SYSTEM 's' NDATA n>", "38 at 24"},
                    {"<!ENTITY e 'v' NDATA n>", "38 at 15"},
                    {"<!ENTITY e SYSTEM 's' NDATA>", "39 at 27"},
                    {"<!ENTITY e SYSTEM 's' NDATA >", "39 at 28"},
                    {"<!ENTITY e SYSTEM 's'NDATA n>", "38 at 21"},
                    {"<!ENTITY e SYSTEM>", "41 at 17"},
                    {"<!ENTITY e '%'>", "27 at 13"},
                    {"<!ENTITY e '%p'>", "27 at 14"},
                    {"<!ENTITY e '&x;'>", "9 at 15"},
                    {"<!ENTITY e '&'>", "6 at 13"},
                    {"<!ENTITY e '\x01'>", "2 at 13"}});
    EXPECT_EQ(Verdict("<!DOCTYPE a[<!ENTITY e 'v"), "1 1:26");
}

TEST(NotationDeclarations, NeedASystemLiteral) {
    ExpectVerdicts({{"<!NOTATION n SYSTEM 's'>", "ok"},
                    {"<!NOTATION n PUBLIC 'p' 's' >", "ok"},
                    {"<!NOTATION n PUBLIC \"p\">", "41 at 23"},
                    {"<!NOTATION>", "40 at 10"},
                    {"<!NOTATION n>", "40 at 12"},
                    {"<!NOTATION n >", "40 at 13"},
                    {"<!NOTATION n WRONG 's'>", "40 at 13"},
                    {"<!NOTATION n SYSTEM 's' x>", "40 at 24"}});
}

}  // namespace
