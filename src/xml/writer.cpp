// Trees back to text: the walk, and what each kind of node looks like.
// SPDX-License-Identifier: MIT
#include "xml/writer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "xml/escape.h"
#include "xml/node_access.h"
#include "xml/output_buffer.h"
#include "xml/small_stack.h"

namespace AdvXMLParser {
namespace {

using Kind = NodeAccess::Kind;

/// A character reference, whose value is hexadecimal without leading zeros. Values are signed bytes: those of 0x80 and
/// above are negative and, like zero, get no digit.
struct CharRefForm {
    char bytes[7];
    std::uint8_t size;
};

constexpr std::array<CharRefForm, 128> MakeCharRefForms() {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::array<CharRefForm, 128> forms{};
    for (std::size_t value = 0; value < forms.size(); ++value) {
        CharRefForm& form = forms[value];
        for (const char c : {'&', '#', 'x'}) form.bytes[form.size++] = c;
        if (value > 0xF) form.bytes[form.size++] = kDigits[value >> 4];
        if (value > 0) form.bytes[form.size++] = kDigits[value & 0xF];
        form.bytes[form.size++] = ';';
    }
    return forms;
}
constexpr std::array<CharRefForm, 128> kCharRefForms = MakeCharRefForms();

/// Where the next byte goes, and the context's fields while the walk is under way. It is passed by value to what is not
/// inlined, so that all of it can stay in registers.
struct Pen {
    char* to;
    std::int32_t depth;
    bool afterBlock;
    bool atLineStart;
};

/// The walk over a tree. There is room in the buffer when a node is begun, which does for all that is short in it; what
/// may be long makes room for itself and after itself.
template <WhiteSpace kSpace>
class Walk {
public:
    explicit Walk(WriteContext& context)
        : context_(context),
          out_(*context.output),
          indent_(context.indent != nullptr ? context.indent : ""),
          lineLevels_(indent_.empty() ? std::numeric_limits<std::size_t>::max() : 0) {}

    void Write(const Node& node) {
        Pen pen = Begin();
        pen = PutOwn(pen, node, NodeAccess::KindOf(node));
        Run(pen);
    }

    void WriteChildren(const NodeContainer& container) {
        Enter(container, Part::kChildrenAlone);
        Run(Begin());
    }

private:
    static constexpr bool kIsVerbatim = kSpace == WhiteSpace::kAsIs;

    /// Which part of a container is being written.
    enum class Part : std::uint8_t { kAttributes, kChildren, kChildrenAlone };
    struct Level {
        const NodeContainer* container;
        std::uint32_t next;
        Part part;
    };

    Pen Begin() noexcept { return {out_.Begin(), context_.depth, context_.afterBlock, context_.atLineStart}; }

    void Run(Pen pen) {
        while (!levels_.empty()) {
            if (levels_.back().part == Part::kAttributes) {
                PutAttributes(pen);
            } else {
                PutChildren(pen);
            }
        }
        Finish(pen);
    }

    void Finish(const Pen& pen) {
        out_.Flush(pen.to);
        context_.depth = pen.depth;
        context_.afterBlock = pen.afterBlock;
        context_.atLineStart = pen.atLineStart;
    }

    void Enter(const NodeContainer& container, Part part, std::size_t next = 0) {
        Level& level = levels_.Extend();
        level.container = &container;
        level.next = static_cast<std::uint32_t>(next);
        level.part = part;
    }

    /// Puts the children of the innermost level up to the end, or to one that has to be entered.
    WPK_XML_INLINE void PutChildren(Pen& pen) {
        Level& level = levels_.back();
        const NodeList<Node>& children = level.container->children;
        const Node* const* const nodes = children.begin();
        const std::size_t count = children.size();
        for (std::size_t next = level.next; next < count;) {
            const Node& child = *nodes[next++];
            const Kind kind = NodeAccess::ExactKindOf(child);
            pen.to = out_.MakeRoom(pen.to);
            if (kind == Kind::kText) {
                PutText(pen, static_cast<const Text&>(child).text);
            } else if (kind == Kind::kElement) {
                level.next = static_cast<std::uint32_t>(next);
                if (!PutElement(pen, static_cast<const Element&>(child))) return;
            } else if (kind == Kind::kEntityRef) {
                PutEntityRef(pen, static_cast<const EntityRef&>(child));
            } else if (kind == Kind::kCharRef) {
                PutCharRef(pen, static_cast<const CharRef&>(child));
            } else {
                level.next = static_cast<std::uint32_t>(next);
                pen = PutOwn(pen, child, kind);
                return;
            }
        }
        Leave(pen);
    }

    void Leave(Pen& pen) {
        const Level level = levels_.back();
        levels_.pop_back();
        if (level.part == Part::kChildrenAlone) return;
        pen.to = out_.MakeRoom(pen.to);
        switch (NodeAccess::KindOf(*level.container)) {
            case Kind::kElement:
                EndLevel(pen);
                return PutEndTag(pen, *level.container);
            case Kind::kAttribute:
                return Put(pen, "\"");
            default:
                return;
        }
    }

    /// Puts an element as far as it is its tags, plain attributes and a text; whether that is all of it. If not, what
    /// is missing is on the levels.
    WPK_XML_INLINE bool PutElement(Pen& pen, const Element& element) {
        BeginStartTag(pen, element);
        return PutPlainAttributes(pen, element, 0) && EndStartTag(pen, element);
    }

    WPK_XML_INLINE void BeginStartTag(Pen& pen, const Element& element) {
        BeginLevel(pen);
        Put(pen, "<");
        PutString(pen, element.name);
    }

    /// Goes on as PutElement after the attributes.
    WPK_XML_INLINE bool EndStartTag(Pen& pen, const Element& element) {
        if (element.children.empty()) {
            Put(pen, "/>");
            EndBlock(pen);
            return true;
        }
        Put(pen, ">");
        const ByteString* const text = OnlyText(element);
        if (text == nullptr) {
            Enter(element, Part::kChildren);
            return false;
        }
        PutText(pen, *text);
        // A text leaves no line to end.
        if (!kIsVerbatim) EndBlock(pen);
        PutEndTag(pen, element);
        return true;
    }

    /// Puts the attributes of the innermost level up to the end, or to one that has to be entered.
    void PutAttributes(Pen& pen) {
        const Level level = levels_.back();
        levels_.pop_back();
        const Element& element = static_cast<const Element&>(*level.container);
        pen.to = out_.MakeRoom(pen.to);
        if (PutPlainAttributes(pen, element, level.next)) EndStartTag(pen, element);
    }

    /// Puts the attributes from that one on, if they are nothing but a text each. Where one is not, it and those after
    /// it go to the levels.
    WPK_XML_INLINE bool PutPlainAttributes(Pen& pen, const Element& element, std::size_t next) {
        const std::size_t count = element.attributes.size();
        while (next < count) {
            const Attribute& attribute = *element.attributes[next++];
            Put(pen, " ");
            const ByteString* const text = OnlyText(attribute);
            if (text == nullptr || NodeAccess::ExactKindOf(attribute) != Kind::kAttribute) {
                Enter(element, Part::kAttributes, next);
                pen = PutOwn(pen, attribute, NodeAccess::ExactKindOf(attribute));
                return false;
            }
            PutString(pen, attribute.name);
            Put(pen, "=\"");
            PutText(pen, *text);
            Put(pen, "\"");
            pen.to = out_.MakeRoom(pen.to);
        }
        return true;
    }

    /// The text of a container that holds one text and nothing else, or null.
    static const ByteString* OnlyText(const NodeContainer& container) noexcept {
        if (container.children.size() != 1) return nullptr;
        const Node& child = *container.children[0];
        return NodeAccess::ExactKindOf(child) == Kind::kText ? &static_cast<const Text&>(child).text : nullptr;
    }

    /// Puts a node as one of that kind, which is what it is made of. Of a container that is the beginning.
    Pen PutOwn(Pen pen, const Node& node, Kind kind) {
        pen.to = out_.MakeRoom(pen.to);
        switch (kind) {
            case Kind::kElement:
                BeginStartTag(pen, static_cast<const Element&>(node));
                Enter(static_cast<const Element&>(node), Part::kAttributes);
                break;
            case Kind::kAttribute:
                PutString(pen, node.name);
                Put(pen, "=\"");
                Enter(static_cast<const Attribute&>(node), Part::kChildren);
                break;
            case Kind::kDocument:
                PutDeclaration(pen, static_cast<const Document&>(node));
                Enter(static_cast<const Document&>(node), Part::kChildren);
                break;
            case Kind::kText:
                PutText(pen, static_cast<const Text&>(node).text);
                break;
            case Kind::kCData:
                PutBlock(pen, "<![CDATA[", static_cast<const CData&>(node).text, "]]>");
                break;
            case Kind::kComment:
                PutBlock(pen, "<!--", static_cast<const Comment&>(node).text, "-->");
                break;
            case Kind::kPi:
                PutPi(pen, static_cast<const Pi&>(node));
                break;
            case Kind::kEntityRef:
                PutEntityRef(pen, static_cast<const EntityRef&>(node));
                break;
            case Kind::kCharRef:
                PutCharRef(pen, static_cast<const CharRef&>(node));
                break;
            case Kind::kForeign:
            case Kind::kForeignContainer:
                return PutForeign(pen, node);
        }
        return pen;
    }

    /// Through the node's own virtual function.
    Pen PutForeign(const Pen& pen, const Node& node) {
        Finish(pen);
        node.Write(context_);
        return Begin();
    }

    void PutDeclaration(Pen& pen, const Document& document) {
        Put(pen, "<?xml version=\"");
        PutString(pen, document.version);
        Put(pen, "\" encoding=\"");
        PutString(pen, document.encoding);
        Put(pen, "\"?>");
        NewLine(pen);
    }

    WPK_XML_INLINE void PutEndTag(Pen& pen, const NodeContainer& element) {
        Put(pen, "</");
        PutString(pen, element.name);
        Put(pen, ">");
    }

    WPK_XML_INLINE void PutText(Pen& pen, const ByteString& text) {
        pen.atLineStart = false;
        pen.to = EscapeText<kSpace>(out_, pen.to, text);
    }

    template <std::size_t N, std::size_t M>
    void PutBlock(Pen& pen, const char (&before)[N], const ByteString& text, const char (&after)[M]) {
        BeginLevel(pen);
        Put(pen, before);
        PutString(pen, text);
        Put(pen, after);
        NewLine(pen);
        EndBlock(pen);
    }

    void PutPi(Pen& pen, const Pi& pi) {
        BeginLevel(pen);
        Put(pen, "<?");
        PutString(pen, pi.name);
        if (!pi.data.empty()) {
            Put(pen, " ");
            PutString(pen, pi.data);
        }
        Put(pen, "?>");
        NewLine(pen);
        EndBlock(pen);
    }

    WPK_XML_INLINE void PutEntityRef(Pen& pen, const EntityRef& reference) {
        Put(pen, "&");
        PutString(pen, reference.name);
        Put(pen, ";");
    }

    WPK_XML_INLINE void PutCharRef(Pen& pen, const CharRef& reference) {
        pen.atLineStart = false;
        const CharRefForm& form = kCharRefForms[static_cast<std::size_t>(std::max<int>(reference.value, 0))];
        std::memcpy(pen.to, form.bytes, sizeof(form.bytes));
        pen.to += form.size;
    }

    template <std::size_t N>
    WPK_XML_INLINE void Put(Pen& pen, const char (&literal)[N]) {
        pen.atLineStart = false;
        std::memcpy(pen.to, literal, N - 1);
        pen.to += N - 1;
    }

    /// Of a string in place its sixteen bytes are moved, whatever its size is.
    WPK_XML_INLINE void PutString(Pen& pen, const ByteString& string) {
        pen.atLineStart = false;
        if (NodeAccess::IsNear(string)) {
            const std::size_t size = string.size();
            std::memcpy(pen.to, string.data(), sizeof(string));
            pen.to += size;
        } else {
            pen.to = out_.Put(pen.to, string);
        }
    }

    void NewLine(Pen& pen) {
        if (kIsVerbatim || pen.atLineStart) return;
        *pen.to++ = '\n';
        pen.atLineStart = true;
    }

    WPK_XML_INLINE void BeginLevel(Pen& pen) {
        ++pen.depth;
        if (kIsVerbatim) return;
        BeginLine(pen);
        pen.afterBlock = false;
    }

    WPK_XML_INLINE void EndLevel(Pen& pen) {
        // One line has no levels to close; the depth stays where it is, too.
        if (kIsVerbatim) return;
        if (pen.afterBlock) BeginLine(pen);
        EndBlock(pen);
    }

    WPK_XML_INLINE void EndBlock(Pen& pen) {
        --pen.depth;
        pen.afterBlock = true;
    }

    /// A line feed, unless the last one has just been put, and the indentation.
    WPK_XML_INLINE void BeginLine(Pen& pen) {
        const std::size_t levels = pen.depth > 1 ? static_cast<std::size_t>(pen.depth) - 1 : 0;
        if (levels <= lineLevels_ || PrepareLine(levels)) {
            std::memcpy(pen.to, line_ + pen.atLineStart, kLine);
            pen.to += levels * indent_.size() + (pen.atLineStart ? 0 : 1);
        } else {
            pen = BeginLongLine(pen, levels);
        }
        pen.atLineStart = false;
    }

    /// Sees to it that the indentation of so many levels stands in the prepared line, if it fits.
    bool PrepareLine(std::size_t levels) noexcept {
        if (levels * indent_.size() > kLine - 1) return false;
        for (; lineLevels_ < levels; ++lineLevels_) {
            std::memcpy(line_ + 1 + lineLevels_ * indent_.size(), indent_.data(), indent_.size());
        }
        return true;
    }

    Pen BeginLongLine(Pen pen, std::size_t levels) {
        NewLine(pen);
        const std::size_t most = (kLine - 1) / indent_.size();
        if (most != 0) PrepareLine(most);
        for (; most != 0 && levels != 0; levels -= std::min(levels, most)) {
            pen.to = out_.MakeRoom(pen.to);
            std::memcpy(pen.to, line_ + 1, kLine);
            pen.to += std::min(levels, most) * indent_.size();
        }
        for (; levels != 0; --levels) pen.to = out_.Put(pen.to, indent_);
        return pen;
    }

    static constexpr std::size_t kLine = 64;

    WriteContext& context_;
    OutputBuffer out_;
    SmallStack<Level, 32> levels_;
    const std::string_view indent_;
    /// A line feed and the indentation of as many levels as have been needed, to be moved at once.
    char line_[1 + kLine] = {'\n'};
    std::size_t lineLevels_;
};

}  // namespace

void Writer::Write(const Node& node, WriteContext& context) {
    if (context.output == nullptr) return;
    if ((context.flags & WRITE_VERBATIM) != 0) {
        Walk<WhiteSpace::kAsIs>(context).Write(node);
    } else {
        Walk<WhiteSpace::kCollapsed>(context).Write(node);
    }
}

void Writer::WriteChildren(const NodeContainer& container, WriteContext& context) {
    if (context.output == nullptr) return;
    if ((context.flags & WRITE_VERBATIM) != 0) {
        Walk<WhiteSpace::kAsIs>(context).WriteChildren(container);
    } else {
        Walk<WhiteSpace::kCollapsed>(context).WriteChildren(container);
    }
}

}  // namespace AdvXMLParser
