// Runs the library and the model on the same input and tells where they differ.
// SPDX-License-Identifier: MIT
#include "xml_model/agreement.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <variant>

#include "wpk/xml.h"
#include "xml_model/library_tree.h"
#include "xml_model/parser.h"
#include "xml_model/writer.h"

namespace xml_model {
namespace {

struct LibraryResult {
    std::unique_ptr<AdvXMLParser::Document> document;
    Fault fault{0, 0, 0};
};

LibraryResult ParseWithLibrary(std::string_view input) {
    // The input is copied to the end of a block of its own, so that a read past its end is seen by AddressSanitizer.
    const std::unique_ptr<char[]> bytes(new char[input.size()]);
    input.copy(bytes.get(), input.size());
    LibraryResult result;
    try {
        AdvXMLParser::Parser parser;
        result.document.reset(parser.Parse(bytes.get(), static_cast<int>(input.size())));
    } catch (const AdvXMLParser::ParsingException& exception) {
        result.fault = {exception.code, exception.line, exception.column};
    }
    return result;
}

std::variant<Document, Fault> ParseWithModel(std::string_view input) {
    try {
        return Parse(input);
    } catch (const Fault& fault) {
        return fault;
    }
}

std::string Describe(const Fault& fault) {
    if (fault.code == 0) return "accepted";
    return "code " + std::to_string(fault.code) + " at " + std::to_string(fault.line) + ":" +
           std::to_string(fault.column);
}

bool operator==(const Fault& left, const Fault& right) {
    return left.code == right.code && left.line == right.line && left.column == right.column;
}

std::string WriteWithModel(const Document& document, const WriteMode& mode) {
    Writer writer(mode.verbatim, mode.indent);
    writer.Write(document);
    return writer.Output();
}

std::string WrittenDifference(const Document& model, const AdvXMLParser::Document& library) {
    for (const WriteMode& mode : kWriteModes) {
        const std::string expected = WriteWithModel(model, mode);
        const std::string actual = WriteWithLibrary(library, mode);
        if (expected != actual) {
            return std::string("writing ") + (mode.verbatim ? "verbatim" : "with indent '") + mode.indent +
                   "'\n  model:   " + Readable(expected) + "\n  library: " + Readable(actual);
        }
    }
    return {};
}

/// What is written verbatim reads back as the same document, unless it holds a character reference of 0x80 or above,
/// which loses its digits.
std::string ReparseDifference(const Document& model) {
    const WriteMode verbatim{true, ""};
    const std::string written = WriteWithModel(model, verbatim);
    std::string difference = Disagreement(written, Depth::kTree);
    if (!difference.empty()) return difference;
    const LibraryResult again = ParseWithLibrary(written);
    if (!again.document) {
        const bool lostDigits = written.find("&#x;") != std::string::npos && again.fault.code == 7;
        return lostDigits ? "" : "written verbatim, not readable again: " + Readable(written);
    }
    const std::string rewritten = WriteWithLibrary(*again.document, verbatim);
    return rewritten == written ? "" : "written, read and written again: " + Readable(rewritten);
}

std::string TreeDifference(const Document& model, const AdvXMLParser::Document& library, Depth depth) {
    std::string difference = DocumentDifference(model, library);
    if (difference.empty()) difference = WrittenDifference(model, library);
    if (depth == Depth::kTree || !difference.empty()) return difference;
    difference = EveryNodeDifference(model.node, library);
    if (difference.empty()) difference = CloneDifference(model, library);
    if (difference.empty()) difference = ReparseDifference(model);
    return difference;
}

}  // namespace

std::string Disagreement(std::string_view input, Depth depth) {
    const std::variant<Document, Fault> model = ParseWithModel(input);
    const LibraryResult library = ParseWithLibrary(input);
    const Document* document = std::get_if<Document>(&model);
    const Fault expected = document ? Fault{0, 0, 0} : std::get<Fault>(model);
    std::string difference;
    if (!(expected == library.fault)) {
        difference = "model: " + Describe(expected) + ", library: " + Describe(library.fault);
    } else if (document) {
        difference = TreeDifference(*document, *library.document, depth);
    }
    return difference.empty() ? "" : "input: " + Readable(input) + "\n  " + difference;
}

}  // namespace xml_model
