// The model's writer.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_XML_MODEL_WRITER_H
#define WPK_TESTS_XML_MODEL_WRITER_H

#include <string>

#include "xml_model/tree.h"

namespace xml_model {

class Writer {
public:
    Writer(bool verbatim, std::string indent) : verbatim_(verbatim), indent_(std::move(indent)) {}

    void Write(const Document& document);
    void Write(const Node& node);

    const std::string& Output() const { return output_; }

private:
    void WriteElement(const Node& node);
    void WriteAttribute(const Node& node);
    void WriteBlock(const std::string& text);
    void WriteReference(const Node& node);
    void WriteChildren(const Node& node);

    void Append(const std::string& text);
    void AppendIndent();
    void NewLine();
    void BeginLevel();
    void EndLevel();

    bool verbatim_;
    std::string indent_;
    std::string output_;
    int depth_ = 0;
    bool afterBlock_ = false;
    bool atLineStart_ = false;
};

std::string EscapeText(const std::string& text);

}  // namespace xml_model

#endif  // WPK_TESTS_XML_MODEL_WRITER_H
