// The classes of a tree: construction, values, types and copies of each.
// SPDX-License-Identifier: MIT
#include <wpk/xml/nodes.h>

#include "xml/cloner.h"
#include "xml/entities.h"
#include "xml/node_access.h"
#include "xml/teardown.h"
#include "xml/text_collector.h"
#include "xml/writer.h"

namespace AdvXMLParser {

using namespace detail;

namespace {

char KnownEntity(std::string_view name) {
    const char value = PredefinedEntities::Find(name);
    if (value == '\0') throw InvalidRefException(name);
    return value;
}

NodeContainer* ParentOrNull(NodeContainer* parent) noexcept {
    return parent ? parent : &NullElement();
}

}  // namespace

Node::Node(NodeContainer* nodeParent, std::string_view nodeName) : Node(Kind::kForeign, nodeParent, nodeName) {}

Node::Node(Kind kind, NodeContainer* nodeParent, std::string_view nodeName)
    : name(nodeName), parent(ParentOrNull(nodeParent)), location_(kind) {}

Node::~Node() = default;

namespace {

/// How far a field is from the beginning of a node of its class. The null nodes show it.
std::ptrdiff_t Distance(const Node& node, const void* field) noexcept {
    return static_cast<const char*>(field) - reinterpret_cast<const char*>(&node);
}

const Node& NodeAt(const void* field, std::ptrdiff_t distance) noexcept {
    return *reinterpret_cast<const Node*>(static_cast<const char*>(field) - distance);
}

}  // namespace

const Node& NodeAccess::NodeOf(const ByteString& string) noexcept {
    if ((string.Tag() & ByteString::kParsedName) != 0) {
        return NodeAt(&string, Distance(NullElement(), &NullElement().name));
    }
    // A Text, CData, Comment or Pi: each has its one string in the same place.
    return NodeAt(&string, Distance(NullCData(), &NullCData().text));
}

const Node& NodeAccess::NodeOf(const void* list, bool isOfAttributes) noexcept {
    const Element& shown = NullElement();
    const void* const field = isOfAttributes ? static_cast<const void*>(&shown.attributes) : &shown.children;
    return NodeAt(list, Distance(shown, field));
}

Element& Node::AsElement() noexcept {
    return location_.kind == Kind::kElement ? static_cast<Element&>(*this) : NullElement();
}
const Element& Node::AsElement() const noexcept {
    return const_cast<Node*>(this)->AsElement();
}

NodeContainer& Node::AsContainer() noexcept {
    NodeContainer* const container = NodeAccess::AsContainer(this);
    return container ? *container : NullElement();
}
const NodeContainer& Node::AsContainer() const noexcept {
    return const_cast<Node*>(this)->AsContainer();
}

Node* Node::FindElement(std::string_view elementName) const {
    return AsContainer().FindElement(elementName);
}
Node* Node::GetOrCreateElement(std::string_view elementName) {
    return AsContainer().GetOrCreateElement(elementName);
}
void Node::AppendChild(Node* node) {
    AsContainer().AppendChild(node);
}
void Node::AppendText(std::string_view text) {
    AsContainer().AppendText(text);
}
void Node::DeleteChildren() noexcept {
    AsContainer().DeleteChildren();
}

Element::~Element() {
    Teardown::Empty(*this, &attributes);
}
std::string Element::GetNodeValue() const {
    return {};
}
std::string Element::GetText() const {
    return TextCollector::Collect(*this);
}
bool Element::IsType(int code) const {
    return code == ELEMENT_NODE;
}
Element* Element::Clone(NodeContainer* newParent) const {
    return static_cast<Element*>(CloneTree(*this, newParent));
}
void Element::Write(WriteContext& context) const {
    Writer::Write(*this, context);
}

Attribute::~Attribute() = default;
std::string Attribute::GetNodeValue() const {
    return GetText();
}
std::string Attribute::GetText() const {
    return TextCollector::Collect(*this);
}
bool Attribute::IsType(int code) const {
    return code == ATTRIBUTE_NODE;
}
Attribute* Attribute::Clone(NodeContainer* newParent) const {
    return static_cast<Attribute*>(CloneTree(*this, newParent));
}
void Attribute::Write(WriteContext& context) const {
    Writer::Write(*this, context);
}

Document::Document()
    : NodeContainer(Kind::kDocument, nullptr, "#document"), version("1.0"), encoding("UTF-8"), self(*this) {}
Document::Document(std::string_view rootName) : Document() {
    Element* const element = new Element(this, rootName);
    AppendChild(element);
    root = element;
}
Document::~Document() = default;
std::string Document::GetNodeValue() const {
    return {};
}
std::string Document::GetText() const {
    return TextCollector::Collect(*this);
}
bool Document::IsType(int code) const {
    return code == DOCUMENT_NODE;
}
Document* Document::Clone(NodeContainer* newParent) const {
    return static_cast<Document*>(CloneTree(*this, newParent));
}
void Document::Write(WriteContext& context) const {
    Writer::Write(*this, context);
}

Text::Text(NodeContainer* parentNode, std::string_view characters)
    : Node(Kind::kText, parentNode, "#text"), text(characters) {}
std::string Text::GetNodeValue() const {
    return text;
}
std::string Text::GetText() const {
    return text;
}
bool Text::IsType(int code) const {
    return code == TEXT_NODE;
}
Text* Text::Clone(NodeContainer* newParent) const {
    return new Text(newParent, text);
}
void Text::Write(WriteContext& context) const {
    Writer::Write(*this, context);
}

CData::CData(NodeContainer* parentNode, std::string_view characters)
    : Node(Kind::kCData, parentNode, "#cdata-section"), text(characters) {}
std::string CData::GetNodeValue() const {
    return text;
}
std::string CData::GetText() const {
    return text;
}
bool CData::IsType(int code) const {
    return code == CDATA_NODE;
}
CData* CData::Clone(NodeContainer* newParent) const {
    return new CData(newParent, text);
}
void CData::Write(WriteContext& context) const {
    Writer::Write(*this, context);
}

Comment::Comment(NodeContainer* parentNode, std::string_view characters)
    : Node(Kind::kComment, parentNode, "#comment"), text(characters) {}
std::string Comment::GetNodeValue() const {
    return text;
}
std::string Comment::GetText() const {
    return text;
}
bool Comment::IsType(int code) const {
    return code == COMMENT_NODE;
}
Comment* Comment::Clone(NodeContainer* newParent) const {
    return new Comment(newParent, text);
}
void Comment::Write(WriteContext& context) const {
    Writer::Write(*this, context);
}

Pi::Pi(NodeContainer* parentNode, std::string_view target, std::string_view targetData)
    : Node(Kind::kPi, parentNode, target), data(targetData) {}
std::string Pi::GetNodeValue() const {
    return data;
}
std::string Pi::GetText() const {
    return data;
}
bool Pi::IsType(int code) const {
    return code == PI_NODE;
}
Pi* Pi::Clone(NodeContainer* newParent) const {
    return new Pi(newParent, name, data);
}
void Pi::Write(WriteContext& context) const {
    Writer::Write(*this, context);
}

bool Reference::IsType(int code) const {
    return code == REFERENCE_NODE;
}

EntityRef::EntityRef(std::string_view entityName)
    : Reference(Kind::kEntityRef, nullptr, entityName), value(KnownEntity(entityName)) {}
std::string EntityRef::GetNodeValue() const {
    return std::string(1, value);
}
std::string EntityRef::GetText() const {
    return std::string(1, value);
}
EntityRef* EntityRef::Clone(NodeContainer* /*newParent*/) const {
    EntityRef* const copy = new EntityRef(name);
    copy->value = value;
    return copy;
}
void EntityRef::Write(WriteContext& context) const {
    Writer::Write(*this, context);
}

CharRef::CharRef(NodeContainer* parentNode, int character)
    : Reference(Kind::kCharRef, parentNode, {}), value(static_cast<signed char>(character)) {}
std::string CharRef::GetNodeValue() const {
    return std::string(1, static_cast<char>(value));
}
std::string CharRef::GetText() const {
    return GetNodeValue();
}
CharRef* CharRef::Clone(NodeContainer* newParent) const {
    return new CharRef(newParent, value);
}
void CharRef::Write(WriteContext& context) const {
    Writer::Write(*this, context);
}

}  // namespace AdvXMLParser
