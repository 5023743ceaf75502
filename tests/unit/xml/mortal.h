// Nodes that tell when they are deleted.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_UNIT_XML_MORTAL_H
#define WPK_TESTS_UNIT_XML_MORTAL_H

#include <string>

#include <wpk/xml.h>

namespace xml_tests {

/// Adds its text to a log when it is deleted.
class Mortal : public AdvXMLParser::Text {
public:
    explicit Mortal(std::string& log, const char* itsText) : Text(nullptr, itsText), log_(log) {}
    ~Mortal() override { log_ += std::string(text); }

private:
    std::string& log_;
};

/// The same of an element, with its name.
class MortalElement : public AdvXMLParser::Element {
public:
    explicit MortalElement(std::string& log, const char* itsName) : Element(nullptr, itsName), log_(log) {}
    ~MortalElement() override { log_ += std::string(name); }

private:
    std::string& log_;
};

}  // namespace xml_tests

#endif  // WPK_TESTS_UNIT_XML_MORTAL_H
