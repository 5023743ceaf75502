// Trees back to text: the walk, and what each kind of node looks like.
// SPDX-License-Identifier: MIT
#include "xml/writer.h"

#include <algorithm>

#include "xml/escape.h"

namespace AdvXMLParser::detail {

using namespace std::string_view_literals;

void Writer::Write(const Node& node, WriteContext& context) {
    if (context.output == nullptr) return;
    Writer writer(context);
    writer.WriteOwn(node, NodeAccess::KindOf(node));
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
      atLineStart_(context.atLineStart) {
    while (!indent_.empty() && (indentLevels_ + 1) * indent_.size() <= sizeof(indents_)) {
        std::memcpy(indents_ + indentLevels_++ * indent_.size(), indent_.data(), indent_.size());
    }
}

void Writer::Run() {
    while (!levels_.empty()) {
        Level& level = levels_.back();
        if (level.part == Part::kAttributes) {
            WriteAttributes(level);
        } else {
            WriteChildren(level);
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

void Writer::WriteAttributes(Level& level) {
    const Element& element = static_cast<const Element&>(*level.container);
    while (level.next < element.attributes.size()) {
        const Attribute& attribute = *element.attributes[level.next++];
        Put(' ');
        if (!WriteSimple(attribute)) return WriteNode(attribute);
    }
    levels_.pop_back();
    EndStartTag(element);
}

/// Writes children up to the end, or to one that has to be entered.
void Writer::WriteChildren(Level& level) {
    const NodeList<Node>& children = level.container->children;
    while (level.next < children.size()) {
        const Node& child = *children[level.next++];
        switch (NodeAccess::ExactKindOf(child)) {
            case Kind::kText:
                WriteText(static_cast<const Text&>(child).text);
                break;
            case Kind::kEntityRef:
                WriteEntityRef(static_cast<const EntityRef&>(child));
                break;
            case Kind::kElement:
                if (WriteSimple(static_cast<const Element&>(child))) break;
                [[fallthrough]];
            default:
                return WriteNode(child);
        }
    }
    Leave();
}

/// The text of a container that holds one text and nothing else, or null.
const ByteString* Writer::OnlyText(const NodeContainer& container) noexcept {
    if (container.children.size() != 1) return nullptr;
    const Node& child = *container.children[0];
    return NodeAccess::ExactKindOf(child) == Kind::kText ? &static_cast<const Text&>(child).text : nullptr;
}

/// Writes an attribute if it is nothing but a text, without coming back to it.
bool Writer::WriteSimple(const Attribute& attribute) {
    const ByteString* const text = OnlyText(attribute);
    if (text == nullptr || NodeAccess::ExactKindOf(attribute) != Kind::kAttribute) return false;
    out_.Put("", attribute.name, "=\"");
    WriteText(*text);
    out_.Put('"');
    return true;
}

/// The same for an element without attributes.
bool Writer::WriteSimple(const Element& element) {
    const ByteString* const text = OnlyText(element);
    if (text == nullptr || !element.attributes.empty()) return false;
    BeginLevel();
    out_.Put("<", element.name, ">");
    WriteText(*text);
    // A text leaves no line to end.
    if (!isVerbatim_) EndBlock();
    out_.Put("</", element.name, ">");
    return true;
}

void Writer::Leave() {
    const NodeContainer& container = *levels_.back().container;
    const Part part = levels_.back().part;
    levels_.pop_back();
    if (part == Part::kChildrenAlone) return;
    switch (NodeAccess::KindOf(container)) {
        case Kind::kElement:
            EndLevel();
            atLineStart_ = false;
            return out_.Put("</", container.name, ">");
        case Kind::kAttribute:
            return Put('"');
        default:
            return;
    }
}

void Writer::WriteNode(const Node& node) {
    WriteOwn(node, NodeAccess::ExactKindOf(node));
}

/// Writes a node as one of that kind, which is what it is made of.
void Writer::WriteOwn(const Node& node, Kind kind) {
    switch (kind) {
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
            return WriteEntityRef(static_cast<const EntityRef&>(node));
        case Kind::kCharRef:
            return WriteCharRef(static_cast<const CharRef&>(node));
        case Kind::kForeign:
        case Kind::kForeignContainer:
            return WriteForeign(node);
    }
}

/// Through the node's own virtual function.
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
    atLineStart_ = false;
    if (!element.attributes.empty()) {
        out_.Put("<", element.name, "");
        return Enter(element, Part::kAttributes);
    }
    if (element.children.empty()) {
        out_.Put("<", element.name, "/>");
        return EndBlock();
    }
    out_.Put("<", element.name, ">");
    Enter(element, Part::kChildren);
}

/// Behind the attributes.
void Writer::EndStartTag(const Element& element) {
    if (element.children.empty()) {
        Put("/>"sv);
        return EndBlock();
    }
    Put('>');
    Enter(element, Part::kChildren);
}

void Writer::BeginAttribute(const Attribute& attribute) {
    atLineStart_ = false;
    out_.Put("", attribute.name, "=\"");
    Enter(attribute, Part::kChildren);
}

void Writer::WriteText(const ByteString& text) {
    atLineStart_ = false;
    if (isVerbatim_) {
        EscapeText<WhiteSpace::kAsIs>(out_, text);
    } else {
        EscapeText<WhiteSpace::kCollapsed>(out_, text);
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

void Writer::WriteEntityRef(const EntityRef& reference) {
    atLineStart_ = false;
    out_.Put("&", reference.name, ";");
}

void Writer::WriteCharRef(const CharRef& reference) {
    Put("&#x"sv);
    CharRefDigits(reference.value);
    Put(';');
}

/// Hexadecimal without leading zeros. Values are signed bytes: those of 0x80 and above are negative and, like zero, get
/// no digit.
void Writer::CharRefDigits(int value) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    if (value > 0xF) out_.Put(kDigits[static_cast<std::size_t>(value >> 4)]);
    if (value > 0) out_.Put(kDigits[static_cast<std::size_t>(value & 0xF)]);
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
    if (depth_ <= 1 || indent_.empty()) return;
    atLineStart_ = false;
    std::size_t levels = static_cast<std::size_t>(depth_) - 1;
    if (indentLevels_ == 0) {
        for (; levels != 0; --levels) out_.Put(indent_);
        return;
    }
    while (levels != 0) {
        const std::size_t some = std::min(levels, indentLevels_);
        char* const to = out_.Reserve(sizeof(indents_));
        std::memcpy(to, indents_, sizeof(indents_));
        out_.Advance(to + some * indent_.size());
        levels -= some;
    }
}

}  // namespace AdvXMLParser::detail
