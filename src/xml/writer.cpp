// Trees back to text: the walk, and what each kind of node looks like.
// SPDX-License-Identifier: MIT
#include "xml/writer.h"

#include "xml/escape.h"

namespace AdvXMLParser {

using namespace std::string_view_literals;

void Writer::Write(const Node& node, WriteContext& context) {
    if (context.output == nullptr) return;
    Writer writer(context);
    writer.WriteNode(node);
    writer.Run();
}

void Writer::WriteChildren(const NodeContainer& container, WriteContext& context) {
    if (context.output == nullptr) return;
    Writer writer(context);
    writer.Enter(container, Part::kChildrenAlone);
    writer.Run();
}

Writer::Writer(WriteContext& context)
    : context_(context),
      out_(*context.output),
      indent_(context.indent != nullptr ? context.indent : ""),
      isVerbatim_((context.flags & WRITE_VERBATIM) != 0),
      depth_(context.depth),
      afterBlock_(context.afterBlock),
      atLineStart_(context.atLineStart) {}

void Writer::Run() {
    while (!levels_.empty()) {
        Level& level = levels_.back();
        if (level.part == Part::kAttributes) {
            WriteNextAttribute(level);
        } else {
            WriteNextChild(level);
        }
    }
    Finish();
}

void Writer::Finish() {
    out_.Flush();
    context_.depth = depth_;
    context_.afterBlock = afterBlock_;
    context_.atLineStart = atLineStart_;
}

void Writer::WriteNextAttribute(Level& level) {
    const Element& element = static_cast<const Element&>(*level.container);
    if (level.next < element.attributes.size()) {
        Put(' ');
        return WriteNode(*element.attributes[level.next++]);
    }
    levels_.pop_back();
    EndStartTag(element);
}

void Writer::WriteNextChild(Level& level) {
    if (level.next < level.container->children.size()) return WriteNode(*level.container->children[level.next++]);
    Leave();
}

void Writer::Leave() {
    const Level level = levels_.back();
    levels_.pop_back();
    if (level.part == Part::kChildrenAlone) return;
    switch (Internals::KindOf(*level.container)) {
        case Kind::kElement:
            EndLevel();
            Put("</"sv);
            Put(level.container->name);
            return Put('>');
        case Kind::kAttribute:
            return Put('"');
        default:
            return;
    }
}

void Writer::WriteNode(const Node& node) {
    switch (Internals::KindOf(node)) {
        case Kind::kElement:
            return BeginElement(static_cast<const Element&>(node));
        case Kind::kAttribute:
            return BeginAttribute(static_cast<const Attribute&>(node));
        case Kind::kDocument:
            return BeginDocument(static_cast<const Document&>(node));
        case Kind::kText:
            return WriteText(static_cast<const Text&>(node).text);
        case Kind::kCData:
            return WriteBlock("<![CDATA["sv, static_cast<const CData&>(node).text, "]]>"sv);
        case Kind::kComment:
            return WriteBlock("<!--"sv, static_cast<const Comment&>(node).text, "-->"sv);
        case Kind::kPi:
            return WritePi(static_cast<const Pi&>(node));
        case Kind::kEntityRef:
            Put('&');
            Put(node.name);
            return Put(';');
        case Kind::kCharRef:
            return WriteCharRef(static_cast<const CharRef&>(node));
        case Kind::kForeign:
            return WriteForeign(node);
    }
}

void Writer::WriteForeign(const Node& node) {
    Finish();
    node.Write(context_);
    depth_ = context_.depth;
    afterBlock_ = context_.afterBlock;
    atLineStart_ = context_.atLineStart;
}

void Writer::BeginDocument(const Document& document) {
    Put("<?xml version=\""sv);
    Put(document.version);
    Put("\" encoding=\""sv);
    Put(document.encoding);
    Put("\"?>"sv);
    NewLine();
    Enter(document, Part::kChildren);
}

void Writer::BeginElement(const Element& element) {
    BeginLevel();
    Put('<');
    Put(element.name);
    if (element.attributes.empty()) return EndStartTag(element);
    Enter(element, Part::kAttributes);
}

void Writer::EndStartTag(const Element& element) {
    if (element.children.empty()) {
        Put("/>"sv);
        return EndBlock();
    }
    Put('>');
    Enter(element, Part::kChildren);
}

void Writer::BeginAttribute(const Attribute& attribute) {
    Put(attribute.name);
    Put("=\""sv);
    Enter(attribute, Part::kChildren);
}

void Writer::WriteText(const ByteString& text) {
    atLineStart_ = false;
    if (isVerbatim_) {
        PutEscaped(out_, text);
    } else {
        PutCollapsedAndEscaped(out_, text);
    }
}

void Writer::WriteBlock(std::string_view before, const ByteString& text, std::string_view after) {
    BeginLevel();
    Put(before);
    Put(text);
    Put(after);
    NewLine();
    EndBlock();
}

void Writer::WritePi(const Pi& pi) {
    BeginLevel();
    Put("<?"sv);
    Put(pi.name);
    if (!pi.data.empty()) {
        Put(' ');
        Put(pi.data);
    }
    Put("?>"sv);
    NewLine();
    EndBlock();
}

void Writer::WriteCharRef(const CharRef& reference) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    Put("&#x"sv);
    // A value is a signed byte: those of 0x80 and above are negative and, like zero, get no digit.
    const int value = reference.value;
    if (value > 0xF) Put(kDigits[static_cast<std::size_t>(value >> 4)]);
    if (value > 0) Put(kDigits[static_cast<std::size_t>(value & 0xF)]);
    Put(';');
}

void Writer::NewLine() {
    if (isVerbatim_ || atLineStart_) return;
    out_.Put('\n');
    atLineStart_ = true;
}

void Writer::BeginLevel() {
    ++depth_;
    if (isVerbatim_) return;
    if (!atLineStart_) out_.Put('\n');
    atLineStart_ = false;
    Indent();
    afterBlock_ = false;
}

void Writer::EndLevel() {
    // One line has no levels to close; the depth stays where it is, too.
    if (isVerbatim_) return;
    if (afterBlock_) {
        NewLine();
        Indent();
    }
    EndBlock();
}

void Writer::EndBlock() {
    --depth_;
    afterBlock_ = true;
}

void Writer::Indent() {
    for (std::int32_t level = 1; level < depth_; ++level) Put(indent_);
}

}  // namespace AdvXMLParser
