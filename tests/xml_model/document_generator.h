// Makes random documents, mostly well-formed, with everything the grammar knows and some things it refuses.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_XML_MODEL_DOCUMENT_GENERATOR_H
#define WPK_TESTS_XML_MODEL_DOCUMENT_GENERATOR_H

#include <cstdint>
#include <string>

#include "xml_model/random_source.h"

namespace xml_model {

class DocumentGenerator {
public:
    explicit DocumentGenerator(uint64_t seed) : random_(seed) {}

    std::string Document();
    /// `document` with a few bytes or stretches of it changed, dropped, doubled or cut off.
    std::string Mutated(std::string document);

private:
    std::string XmlDeclaration();
    std::string Miscellany();
    std::string Element(int depth);
    std::string Attributes();
    std::string Content(int depth);
    std::string Text(const char* forbidden);
    std::string Quoted();
    std::string Reference();
    std::string Comment();
    std::string Pi();
    std::string CData();
    std::string Name();
    std::string Space();
    std::string MaybeSpace();

    std::string Doctype();
    std::string ExternalId();
    std::string InternalSubset();
    std::string ElementDeclaration();
    std::string Group(int depth);
    std::string AttributeListDeclaration();
    std::string AttributeDefinition();
    std::string EntityDeclaration();
    std::string NotationDeclaration();
    std::string EntityValue();

    RandomSource random_;
};

}  // namespace xml_model

#endif  // WPK_TESTS_XML_MODEL_DOCUMENT_GENERATOR_H
