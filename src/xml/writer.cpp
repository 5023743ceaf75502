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

namespace AdvXMLParser::detail {
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
struct State {
    char* to;
    std::int32_t depth;
    bool afterBlock;
    bool atLineStart;
};

/// Which part of a container is being written.
enum class Part : std::uint8_t { kAttributes, kChildren, kChildrenAlone };
struct Level {
    const NodeContainer* container;
    std::uint32_t next;
    Part part;
};

/// Where a walk is: what is open, the innermost last.
using Levels = SmallStack<Level, 32>;

/// The walk over a tree, up to its end or to a node that changes the context's settings. There is room in the buffer
/// when a node is begun, which does for all that is short in it; what may be long makes room for itself and after
/// itself.
template <WhiteSpace kSpace>
class Walk {
public:
    Walk(WriteContext& context, Levels& levels)
        : context_(context),
          levels_(levels),
          out_(*context.output),
          indent_(context.indent ? context.indent : ""),
          lineLevels_(indent_.empty() ? std::numeric_limits<std::size_t>::max() : 0) {}

    void Write(const Node& node) {
        State state = Begin();
        state = PutOwn(state, node, NodeAccess::KindOf(node));
        Run(state);
    }

    void WriteChildren(const NodeContainer& container) {
        Enter(container, Part::kChildrenAlone);
        Run(Begin());
    }

    void GoOn() { Run(Begin()); }

private:
    static constexpr bool kIsVerbatim = kSpace == WhiteSpace::kAsIs;

    State Begin() noexcept { return {out_.Begin(), context_.depth, context_.afterBlock, context_.atLineStart}; }

    void Run(State state) {
        while (!levels_.empty()) {
            if (levels_.back().part == Part::kAttributes) {
                PutAttributes(state);
            } else {
                PutChildren(state);
            }
            if (areSettingsChanged_) return;
        }
        Finish(state);
    }

    void Finish(const State& state) {
        out_.Flush(state.to);
        context_.depth = state.depth;
        context_.afterBlock = state.afterBlock;
        context_.atLineStart = state.atLineStart;
    }

    void Enter(const NodeContainer& container, Part part, std::size_t next = 0) {
        Level& level = levels_.Extend();
        level.container = &container;
        level.next = static_cast<std::uint32_t>(next);
        level.part = part;
    }

    /// Puts the children of the innermost level up to the end, or to one that has to be entered.
    WPK_XML_INLINE void PutChildren(State& state) {
        Level& level = levels_.back();
        const NodeList<Node>& children = level.container->children;
        const Node* const* const nodes = children.begin();
        const std::size_t count = children.size();
        for (std::size_t next = level.next; next < count;) {
            const Node& child = *nodes[next++];
            const Kind kind = NodeAccess::ExactKindOf(child);
            state.to = out_.MakeRoom(state.to);
            if (kind == Kind::kText) {
                PutText(state, static_cast<const Text&>(child).text);
            } else if (kind == Kind::kElement) {
                level.next = static_cast<std::uint32_t>(next);
                if (!PutElement(state, static_cast<const Element&>(child))) return;
            } else if (kind == Kind::kEntityRef) {
                PutEntityRef(state, static_cast<const EntityRef&>(child));
            } else if (kind == Kind::kCharRef) {
                PutCharRef(state, static_cast<const CharRef&>(child));
            } else {
                level.next = static_cast<std::uint32_t>(next);
                state = PutOwn(state, child, kind);
                return;
            }
        }
        Leave(state);
    }

    void Leave(State& state) {
        const Level level = levels_.back();
        levels_.pop_back();
        if (level.part == Part::kChildrenAlone) return;
        state.to = out_.MakeRoom(state.to);
        switch (NodeAccess::KindOf(*level.container)) {
            case Kind::kElement:
                EndLevel(state);
                return PutEndTag(state, *level.container);
            case Kind::kAttribute:
                return Put(state, "\"");
            default:
                return;
        }
    }

    /// Puts an element as far as it is its tags, plain attributes and a text; whether that is all of it. If not, what
    /// is missing is on the levels.
    WPK_XML_INLINE bool PutElement(State& state, const Element& element) {
        BeginStartTag(state, element);
        return PutPlainAttributes(state, element, 0) && EndStartTag(state, element);
    }

    WPK_XML_INLINE void BeginStartTag(State& state, const Element& element) {
        BeginLevel(state);
        Put(state, "<");
        PutString(state, element.name);
    }

    /// Goes on as PutElement after the attributes.
    WPK_XML_INLINE bool EndStartTag(State& state, const Element& element) {
        if (element.children.empty()) {
            Put(state, "/>");
            EndBlock(state);
            return true;
        }
        Put(state, ">");
        const ByteString* const text = OnlyText(element);
        if (!text) {
            Enter(element, Part::kChildren);
            return false;
        }
        PutText(state, *text);
        // A text leaves no line to end, but an attribute may have left one.
        EndLevel(state);
        PutEndTag(state, element);
        return true;
    }

    /// Puts the attributes of the innermost level up to the end, or to one that has to be entered.
    void PutAttributes(State& state) {
        const Level level = levels_.back();
        levels_.pop_back();
        const Element& element = static_cast<const Element&>(*level.container);
        state.to = out_.MakeRoom(state.to);
        if (PutPlainAttributes(state, element, level.next)) EndStartTag(state, element);
    }

    /// Puts the attributes from that one on, if they are nothing but a text each. Where one is not, it and those after
    /// it go to the levels.
    WPK_XML_INLINE bool PutPlainAttributes(State& state, const Element& element, std::size_t next) {
        const std::size_t count = element.attributes.size();
        while (next < count) {
            const Attribute& attribute = *element.attributes[next++];
            Put(state, " ");
            const ByteString* const text = OnlyText(attribute);
            if (!text || NodeAccess::ExactKindOf(attribute) != Kind::kAttribute) {
                Enter(element, Part::kAttributes, next);
                state = PutOwn(state, attribute, NodeAccess::ExactKindOf(attribute));
                return false;
            }
            PutString(state, attribute.name);
            Put(state, "=\"");
            PutText(state, *text);
            Put(state, "\"");
            state.to = out_.MakeRoom(state.to);
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
    State PutOwn(State state, const Node& node, Kind kind) {
        switch (kind) {
            case Kind::kElement:
                BeginStartTag(state, static_cast<const Element&>(node));
                Enter(static_cast<const Element&>(node), Part::kAttributes);
                break;
            case Kind::kAttribute:
                PutString(state, node.name);
                Put(state, "=\"");
                Enter(static_cast<const Attribute&>(node), Part::kChildren);
                break;
            case Kind::kDocument:
                PutDeclaration(state, static_cast<const Document&>(node));
                Enter(static_cast<const Document&>(node), Part::kChildren);
                break;
            case Kind::kText:
                PutText(state, static_cast<const Text&>(node).text);
                break;
            case Kind::kCData:
                PutBlock(state, "<![CDATA[", static_cast<const CData&>(node).text, "]]>");
                break;
            case Kind::kComment:
                PutBlock(state, "<!--", static_cast<const Comment&>(node).text, "-->");
                break;
            case Kind::kPi:
                PutPi(state, static_cast<const Pi&>(node));
                break;
            case Kind::kEntityRef:
                PutEntityRef(state, static_cast<const EntityRef&>(node));
                break;
            case Kind::kCharRef:
                PutCharRef(state, static_cast<const CharRef&>(node));
                break;
            case Kind::kForeign:
            case Kind::kForeignContainer:
                return PutForeign(state, node);
        }
        return state;
    }

    /// Through the node's own virtual function, which may do anything with the context.
    State PutForeign(const State& state, const Node& node) {
        Finish(state);
        const WriteContext before = context_;
        node.Write(context_);
        areSettingsChanged_ =
            context_.flags != before.flags || context_.indent != before.indent || context_.output != before.output;
        return Begin();
    }

    void PutDeclaration(State& state, const Document& document) {
        Put(state, "<?xml version=\"");
        PutString(state, document.version);
        Put(state, "\" encoding=\"");
        PutString(state, document.encoding);
        Put(state, "\"?>");
        NewLine(state);
    }

    WPK_XML_INLINE void PutEndTag(State& state, const NodeContainer& element) {
        Put(state, "</");
        PutString(state, element.name);
        Put(state, ">");
    }

    WPK_XML_INLINE void PutText(State& state, const ByteString& text) {
        state.atLineStart = false;
        state.to = EscapeText<kSpace>(out_, state.to, text);
    }

    template <std::size_t N, std::size_t M>
    void PutBlock(State& state, const char (&before)[N], const ByteString& text, const char (&after)[M]) {
        BeginLevel(state);
        Put(state, before);
        PutString(state, text);
        Put(state, after);
        NewLine(state);
        EndBlock(state);
    }

    void PutPi(State& state, const Pi& pi) {
        BeginLevel(state);
        Put(state, "<?");
        PutString(state, pi.name);
        if (!pi.data.empty()) {
            Put(state, " ");
            PutString(state, pi.data);
        }
        Put(state, "?>");
        NewLine(state);
        EndBlock(state);
    }

    WPK_XML_INLINE void PutEntityRef(State& state, const EntityRef& reference) {
        Put(state, "&");
        PutString(state, reference.name);
        Put(state, ";");
    }

    WPK_XML_INLINE void PutCharRef(State& state, const CharRef& reference) {
        state.atLineStart = false;
        const CharRefForm& form = kCharRefForms[static_cast<std::size_t>(std::max<int>(reference.value, 0))];
        std::memcpy(state.to, form.bytes, sizeof(form.bytes));
        state.to += form.size;
    }

    template <std::size_t N>
    WPK_XML_INLINE void Put(State& state, const char (&literal)[N]) {
        state.atLineStart = false;
        std::memcpy(state.to, literal, N - 1);
        state.to += N - 1;
    }

    /// Of a string in place its sixteen bytes are moved, whatever its size is.
    WPK_XML_INLINE void PutString(State& state, const ByteString& string) {
        state.atLineStart = false;
        if (NodeAccess::IsNear(string)) {
            const std::size_t size = string.size();
            std::memcpy(state.to, string.data(), sizeof(string));
            state.to += size;
        } else {
            state.to = out_.Put(state.to, string);
        }
    }

    void NewLine(State& state) {
        if (kIsVerbatim || state.atLineStart) return;
        *state.to++ = '\n';
        state.atLineStart = true;
    }

    WPK_XML_INLINE void BeginLevel(State& state) {
        ++state.depth;
        if (kIsVerbatim) return;
        BeginLine(state);
        state.afterBlock = false;
    }

    WPK_XML_INLINE void EndLevel(State& state) {
        // One line has no levels to close; the depth stays where it is, too.
        if (kIsVerbatim) return;
        if (state.afterBlock) BeginLine(state);
        EndBlock(state);
    }

    WPK_XML_INLINE void EndBlock(State& state) {
        --state.depth;
        state.afterBlock = true;
    }

    /// A line feed, unless the last one has just been put, and the indentation.
    WPK_XML_INLINE void BeginLine(State& state) {
        const std::size_t levels = state.depth > 1 ? static_cast<std::size_t>(state.depth) - 1 : 0;
        if (levels <= lineLevels_ || PrepareLine(levels)) {
            std::memcpy(state.to, line_ + state.atLineStart, kLine);
            state.to += levels * indent_.size() + (state.atLineStart ? 0 : 1);
        } else {
            state = BeginLongLine(state, levels);
        }
        state.atLineStart = false;
    }

    /// The most levels whose indentation fits into the prepared line. Only for an indentation that is not empty.
    std::size_t LevelsOfPreparedLine() const noexcept { return (kLine - 1) / indent_.size(); }

    /// Extends the prepared line to the indentation of that many levels. False if it does not fit.
    bool PrepareLine(std::size_t levels) noexcept {
        if (levels > LevelsOfPreparedLine()) return false;
        for (; lineLevels_ < levels; ++lineLevels_) {
            std::memcpy(line_ + 1 + lineLevels_ * indent_.size(), indent_.data(), indent_.size());
        }
        return true;
    }

    State BeginLongLine(State state, std::size_t levels) {
        NewLine(state);
        const std::size_t most = LevelsOfPreparedLine();
        if (most != 0) PrepareLine(most);
        for (; most != 0 && levels != 0; levels -= std::min(levels, most)) {
            state.to = out_.MakeRoom(state.to);
            std::memcpy(state.to, line_ + 1, kLine);
            state.to += std::min(levels, most) * indent_.size();
        }
        for (; levels != 0; --levels) state.to = out_.Put(state.to, indent_);
        return state;
    }

    static constexpr std::size_t kLine = 64;

    WriteContext& context_;
    Levels& levels_;
    OutputBuffer out_;
    bool areSettingsChanged_ = false;
    const std::string_view indent_;
    /// A line feed and the indentation of as many levels as have been needed, to be moved at once.
    char line_[1 + kLine] = {'\n'};
    std::size_t lineLevels_;
};

/// Has the context's kind of walk do something.
template <class Work>
void WithWalk(WriteContext& context, Levels& levels, Work work) {
    if ((context.flags & WRITE_VERBATIM) != 0) {
        Walk<WhiteSpace::kAsIs> walk(context, levels);
        work(walk);
    } else {
        Walk<WhiteSpace::kCollapsed> walk(context, levels);
        work(walk);
    }
}

/// Begins a walk, and goes on with others where a node has changed the settings.
template <class Work>
void WriteBeginningWith(WriteContext& context, Work begin) {
    if (!context.output) return;
    Levels levels;
    WithWalk(context, levels, begin);
    while (!levels.empty() && context.output) WithWalk(context, levels, [](auto& walk) { walk.GoOn(); });
}

}  // namespace

void Writer::Write(const Node& node, WriteContext& context) {
    WriteBeginningWith(context, [&node](auto& walk) { walk.Write(node); });
}

void Writer::WriteChildren(const NodeContainer& container, WriteContext& context) {
    WriteBeginningWith(context, [&container](auto& walk) { walk.WriteChildren(container); });
}

}  // namespace AdvXMLParser::detail
