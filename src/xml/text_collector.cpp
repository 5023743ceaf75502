// The text content of a tree: the walk, and white space on the fly.
// SPDX-License-Identifier: MIT
#include "xml/text_collector.h"

#include <algorithm>

#include "xml/char_class.h"

namespace AdvXMLParser::detail {
namespace {

using Kind = NodeAccess::Kind;

bool Collapses(const NodeContainer& container) noexcept {
    switch (NodeAccess::KindOf(container)) {
        case Kind::kElement:
            return !static_cast<const Element&>(container).preserveSpace;
        case Kind::kDocument:
            return true;
        case Kind::kForeign:
        case Kind::kForeignContainer:
        case Kind::kAttribute:
        case Kind::kText:
        case Kind::kCData:
        case Kind::kComment:
        case Kind::kPi:
        case Kind::kEntityRef:
        case Kind::kCharRef:
            break;
    }
    return false;
}

}  // namespace

std::string TextCollector::Collect(const NodeContainer& container) {
    TextCollector collector;
    collector.Enter(container);
    while (!collector.levels_.empty()) {
        Level& level = collector.levels_.back();
        if (level.next == level.container->children.size()) {
            collector.Leave();
            continue;
        }
        const Node* const child = level.container->children[level.next++];
        if (const NodeContainer* const inner = NodeAccess::AsOwnContainer(child)) {
            collector.Enter(*inner);
        } else {
            collector.AddLeaf(*child);
        }
    }
    return std::move(collector.result_);
}

void TextCollector::Enter(const NodeContainer& container) {
    const bool collapses = Collapses(container);
    Level level{&container, 0, result_.size(), collapses, collapses, collapses};
    if (NodeAccess::KindOf(container) == Kind::kAttribute) level.trimsItself = level.isTrimmed = true;
    if (!levels_.empty()) {
        const Level& outer = levels_.back();
        if (!level.trimsItself) level.start = outer.start;
        level.isTrimmed |= outer.isTrimmed;
        level.isCollapsed |= outer.isCollapsed;
    }
    levels_.push_back(level);
}

void TextCollector::Leave() {
    if (levels_.back().trimsItself) TrimWhitespaceAtEnd();
    levels_.pop_back();
}

void TextCollector::AddLeaf(const Node& node) {
    switch (NodeAccess::ExactKindOf(node)) {
        case Kind::kText:
            return Add(static_cast<const Text&>(node).text);
        case Kind::kCData:
            return Add(static_cast<const CData&>(node).text);
        case Kind::kComment:
            return Add(static_cast<const Comment&>(node).text);
        case Kind::kPi:
            return Add(static_cast<const Pi&>(node).data);
        case Kind::kEntityRef:
            return Add({&static_cast<const EntityRef&>(node).value, 1});
        case Kind::kForeign:
        case Kind::kForeignContainer:
        case Kind::kElement:
        case Kind::kAttribute:
        case Kind::kDocument:
        case Kind::kCharRef:
            break;
    }
    Add(node.GetText());
}

void TextCollector::Add(std::string_view text) {
    const Level& level = levels_.back();
    if (level.isTrimmed && result_.size() == level.start) TrimWhitespaceAtStart(text);
    if (level.isCollapsed) {
        CollapseWhitespace(text);
    } else {
        result_.append(text);
    }
}

void TextCollector::TrimWhitespaceAtStart(std::string_view& text) {
    text.remove_prefix(static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsWhite) - text.begin()));
}

void TextCollector::TrimWhitespaceAtEnd() {
    while (result_.size() > levels_.back().start && IsWhite(result_.back())) result_.pop_back();
}

void TextCollector::CollapseWhitespace(std::string_view text) {
    // What comes before the level's start belongs to enclosing levels: its white space does not count.
    bool afterWhite = result_.size() > levels_.back().start && IsWhite(result_.back());
    for (auto at = text.begin(); at != text.end();) {
        const auto white = std::find_if(at, text.end(), IsWhite);
        if (white != at) {
            result_.append(at, white);
            afterWhite = false;
        }
        at = std::find_if_not(white, text.end(), IsWhite);
        if (at != white && !afterWhite) {
            result_.push_back(' ');
            afterWhite = true;
        }
    }
}

}  // namespace AdvXMLParser::detail
