// Random documents: the document type declaration with its internal subset.
// SPDX-License-Identifier: MIT
#include "xml_model/document_generator.h"

namespace xml_model {

std::string DocumentGenerator::Doctype() {
    std::string doctype = "<!DOCTYPE" + Space() + Name() + MaybeSpace();
    if (random_.OneIn(3)) doctype += Space() + ExternalId() + MaybeSpace();
    if (!random_.OneIn(4)) doctype += "[" + InternalSubset() + "]" + MaybeSpace();
    return doctype + ">";
}

std::string DocumentGenerator::ExternalId() {
    const std::string system = random_.OneIn(2) ? "'it\"s\xE9.dtd'" : "\"it's\t.dtd\"";
    if (random_.OneIn(2)) return "SYSTEM" + Space() + system;
    const std::string publicId(random_.Pick({"'-//A//B (c) 1:2?'", "\"it's\r\n%_\"", "''"}));
    return "PUBLIC" + Space() + publicId + Space() + system;
}

std::string DocumentGenerator::InternalSubset() {
    std::string subset = MaybeSpace();
    while (!random_.OneIn(4)) {
        switch (random_.Below(5)) {
            case 0:
                subset += ElementDeclaration();
                break;
            case 1:
                subset += AttributeListDeclaration();
                break;
            case 2:
                subset += EntityDeclaration();
                break;
            case 3:
                subset += NotationDeclaration();
                break;
            default:
                subset += "%" + Name() + ";";
        }
        subset += MaybeSpace();
    }
    return subset;
}

std::string DocumentGenerator::ElementDeclaration() {
    std::string model;
    switch (random_.Below(5)) {
        case 0:
            model = random_.Pick({"EMPTY", "ANY"});
            break;
        case 1:
            model = "(" + MaybeSpace() + "#PCDATA" + MaybeSpace();
            if (random_.OneIn(3)) {
                model += std::string(random_.Pick({")", ")*"}));
                break;
            }
            do {
                model += "|" + MaybeSpace() + (random_.OneIn(5) ? "" : Name()) + MaybeSpace();
            } while (random_.OneIn(2));
            model += ")*";
            break;
        default:
            model = Group(0) + std::string(random_.Pick({"", "", "*", "+", "?"}));
    }
    return "<!ELEMENT" + Space() + Name() + Space() + model + MaybeSpace() + ">";
}

std::string DocumentGenerator::Group(int depth) {
    const std::string separator(random_.Pick({"|", "|", ",", ",", ";", "&", "("}));
    std::string group = "(" + MaybeSpace();
    for (size_t left = 1 + random_.Below(3); left > 0; --left) {
        group += depth < 4 && random_.OneIn(3) ? Group(depth + 1) : Name();
        group += std::string(random_.Pick({"", "", "*", "+", "?"})) + MaybeSpace();
        if (left > 1) group += separator + MaybeSpace();
    }
    return group + ")";
}

std::string DocumentGenerator::AttributeListDeclaration() {
    std::string list = "<!ATTLIST" + Space() + Name();
    while (!random_.OneIn(3)) list += AttributeDefinition();
    return list + MaybeSpace() + ">";
}

std::string DocumentGenerator::AttributeDefinition() {
    std::string type(
        random_.Pick({"CDATA", "IDREFS", "IDREF", "ID", "ENTITIES", "ENTITY", "NMTOKENS", "NMTOKEN", "", ""}));
    if (type.empty()) {
        const bool isNotation = random_.OneIn(2);
        type = (isNotation ? "NOTATION" + Space() : "") + "(" + MaybeSpace() + Name();
        while (random_.OneIn(2)) type += MaybeSpace() + "|" + MaybeSpace() + (isNotation ? Name() : "-9" + Name());
        type += MaybeSpace() + ")";
    }
    std::string value(random_.Pick({"#REQUIRED", "#IMPLIED", "", ""}));
    if (value.empty()) value = (random_.OneIn(3) ? "#FIXED" + Space() : "") + Quoted();
    return Space() + Name() + Space() + type + Space() + value;
}

std::string DocumentGenerator::EntityDeclaration() {
    const bool isParameter = random_.OneIn(3);
    std::string entity = "<!ENTITY" + Space() + (isParameter ? "%" + Space() : "") + Name() + Space();
    if (random_.OneIn(2)) {
        entity += EntityValue();
    } else {
        entity += ExternalId();
        if (!isParameter && random_.OneIn(2)) entity += Space() + "NDATA" + Space() + Name();
    }
    return entity + MaybeSpace() + ">";
}

std::string DocumentGenerator::NotationDeclaration() {
    return "<!NOTATION" + Space() + Name() + Space() + ExternalId() + MaybeSpace() + ">";
}

std::string DocumentGenerator::EntityValue() {
    std::string value = "'" + Text("%&'");
    while (random_.OneIn(2)) value += (random_.OneIn(2) ? "%" + Name() + ";" : Reference()) + Text("%&'");
    return value + "'";
}

}  // namespace xml_model
