// Trees back to text.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_WRITER_H
#define WPK_XML_WRITER_H

#include <string_view>

#include "xml/node_access.h"
#include "xml/output_buffer.h"
#include "xml/small_stack.h"

namespace AdvXMLParser::detail {

/// Writes one node and everything below it in one walk.
class Writer {
public:
    /// Appends to the context's output and leaves the context as the last node left it.
    static void Write(const Node& node, WriteContext& context);
    /// The same for the children of a container alone.
    static void WriteChildren(const NodeContainer& container, WriteContext& context);

    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

private:
    using Kind = NodeAccess::Kind;

    /// Which part of a container is being written.
    enum class Part : std::uint8_t { kAttributes, kChildren, kChildrenAlone };
    struct Level {
        const NodeContainer* container;
        std::uint32_t next;
        Part part;
    };

    explicit Writer(WriteContext& context);
    void Run();
    void Finish();

    void WriteNode(const Node& node);
    void WriteOwn(const Node& node, Kind kind);
    void WriteForeign(const Node& node);
    void Enter(const NodeContainer& container, Part part) {
        Level& level = levels_.Extend();
        level.container = &container;
        level.next = 0;
        level.part = part;
    }
    void WriteAttributes(Level& level);
    void WriteChildren(Level& level);
    void Leave();

    void BeginElement(const Element& element);
    void EndStartTag(const Element& element);
    void BeginAttribute(const Attribute& attribute);
    void BeginDocument(const Document& document);
    void WriteText(const ByteString& text);
    void WriteBlock(std::string_view before, const ByteString& text, std::string_view after);
    void WritePi(const Pi& pi);
    static const ByteString* OnlyText(const NodeContainer& container) noexcept;
    bool WriteSimple(const Attribute& attribute);
    bool WriteSimple(const Element& element);
    void WriteEntityRef(const EntityRef& reference);
    void WriteCharRef(const CharRef& reference);
    void CharRefDigits(int value);

    template <class Bytes>
    void Put(const Bytes& bytes) {
        atLineStart_ = false;
        out_.Put(bytes);
    }
    void NewLine();
    void BeginLevel();
    void EndLevel();
    void EndBlock();
    void Indent();

    WriteContext& context_;
    OutputBuffer out_;
    SmallStack<Level, 32> levels_;
    const std::string_view indent_;
    /// The indentation of as many levels as fit, to be moved at once.
    char indents_[64] = {};
    std::size_t indentLevels_ = 0;
    const bool isVerbatim_;
    // The context's fields while the walk is under way.
    std::int32_t depth_;
    bool afterBlock_;
    bool atLineStart_;
};

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_WRITER_H
