// Random documents: everything outside the document type declaration.
// SPDX-License-Identifier: MIT
#include "xml_model/document_generator.h"

#include <cstring>

namespace xml_model {

std::string DocumentGenerator::Document() {
    std::string document;
    if (random_.OneIn(3)) document += XmlDeclaration();
    document += Miscellany();
    if (random_.OneIn(2)) document += Doctype() + Miscellany();
    document += Element(0) + Miscellany();
    if (random_.OneIn(20)) document += std::string(1, '\0') + Text("");
    return document;
}

std::string DocumentGenerator::XmlDeclaration() {
    std::string declaration = "<?xml" + Space() + "version" + MaybeSpace() + "=" + MaybeSpace();
    declaration += random_.Pick({"'1.0'", "\"1.0\"", "'1.1'", "'a_:-.9Z'"});
    if (random_.OneIn(2)) {
        declaration += Space() + "encoding" + MaybeSpace() + "=" + MaybeSpace();
        declaration += random_.Pick({"'UTF-8'", "\"ISO-8859-1\"", "'x._-1'"});
    }
    if (random_.OneIn(2)) {
        declaration += Space() + "standalone" + MaybeSpace() + "=" + MaybeSpace();
        declaration += random_.Pick({"'yes'", "\"no\"", "'no'", "\"yes\""});
    }
    return declaration + MaybeSpace() + "?>";
}

std::string DocumentGenerator::Miscellany() {
    std::string text = MaybeSpace();
    while (random_.OneIn(3)) text += (random_.OneIn(2) ? Comment() : Pi()) + MaybeSpace();
    return text;
}

std::string DocumentGenerator::Element(int depth) {
    const std::string name = Name();
    std::string element = "<" + name + Attributes();
    if (random_.OneIn(4)) return element + MaybeSpace() + "/>";
    return element + MaybeSpace() + ">" + Content(depth + 1) + "</" + name + MaybeSpace() + ">";
}

std::string DocumentGenerator::Attributes() {
    std::string attributes;
    while (random_.OneIn(2)) {
        if (random_.OneIn(5)) {
            attributes += Space() + "xml:space=";
            attributes += random_.Pick({"'preserve'", "' preserve\t'", "'default'", "\"Preserve\"", "'&#112;reserve'"});
        } else {
            attributes += Space() + Name() + MaybeSpace() + "=" + MaybeSpace() + Quoted();
        }
    }
    return attributes;
}

std::string DocumentGenerator::Content(int depth) {
    std::string content = Text("<&");
    const size_t items = depth > 5 ? 0 : random_.Below(5);
    for (size_t item = 0; item < items; ++item) {
        switch (random_.Below(6)) {
            case 0:
                content += Comment();
                break;
            case 1:
                content += Pi();
                break;
            case 2:
                content += CData();
                break;
            case 3:
                content += Reference();
                break;
            default:
                content += Element(depth);
        }
        if (random_.OneIn(2)) content += Text("<&");
    }
    return content;
}

/// A few characters, none of them one of `forbidden`; everything else that text may hold can turn up.
std::string DocumentGenerator::Text(const char* forbidden) {
    constexpr char kLikely[] = "abc  \t\n\r'\"]>;=/%-?!#\x7F\x80\xA0\xC3\xD7\xFF";
    std::string text;
    for (size_t left = random_.Below(8); left > 0; --left) {
        if (random_.OneIn(6)) text += random_.Pick({"\r\n", "\n\r", "\r\r\n", "word", "  ", "]]"});
        const char character = kLikely[random_.Below(sizeof(kLikely) - 1)];
        if (!std::strchr(forbidden, character)) text += character;
    }
    return text;
}

std::string DocumentGenerator::Quoted() {
    const bool isDouble = random_.OneIn(2);
    const std::string quote = isDouble ? "\"" : "'";
    std::string value = quote;
    do {
        value += Text(isDouble ? "<&\"" : "<&'");
        if (random_.OneIn(3)) value += Reference();
    } while (random_.OneIn(3));
    return value + quote;
}

std::string DocumentGenerator::Reference() {
    return std::string(random_.Pick({"&lt;", "&gt;", "&amp;", "&apos;", "&quot;", "&#65;", "&#x41;", "&#10;", "&#xD;",
                                     "&#x141;", "&#233;", "&#xff;", "&#32;", "&#4294967361;", "&#00009;"}));
}

std::string DocumentGenerator::Comment() {
    return "<!--" + Text("-") + "-->";
}

std::string DocumentGenerator::Pi() {
    std::string target = Name();
    if (random_.OneIn(4)) target = "xml-" + target;
    std::string pi = "<?" + target;
    if (random_.OneIn(2)) pi += Space() + Text("?");
    return pi + "?>";
}

std::string DocumentGenerator::CData() {
    return "<![CDATA[" + Text(">") + "]]>";
}

std::string DocumentGenerator::Name() {
    return std::string(random_.Pick({"a", "b", "c", "field", "_x", ":y", "n:m", "a.b-c_1", "A", "a\xB7\xC0\xFF"}));
}

std::string DocumentGenerator::Space() {
    std::string space;
    do {
        space += random_.Pick({" ", " ", "\t", "\n", "\r", "\r\n", "\n\r"});
    } while (random_.OneIn(3));
    return space;
}

std::string DocumentGenerator::MaybeSpace() {
    return random_.OneIn(3) ? Space() : std::string();
}

std::string DocumentGenerator::Mutated(std::string document) {
    for (size_t left = 1 + random_.Below(3); left > 0 && !document.empty(); --left) {
        const size_t at = random_.Below(document.size());
        const size_t length = random_.Below(12);
        switch (random_.Below(6)) {
            case 0:
                document[at] = static_cast<char>(random_.Below(256));
                break;
            case 1:
                document.erase(at, length);
                break;
            case 2:
                document.insert(at, document.substr(random_.Below(document.size()), length));
                break;
            case 3:
                document.resize(at);
                break;
            case 4:
                document.insert(at, random_.Pick({"<", ">", "&", ";", "\"", "'", "]", "--", "?>", "\r", "\r\n", "%",
                                                  "|", ")", "(", "=", " ", "]]>", "#"}));
                break;
            default:
                document.insert(at, 1, static_cast<char>(random_.Below(32)));
        }
    }
    return document;
}

}  // namespace xml_model
