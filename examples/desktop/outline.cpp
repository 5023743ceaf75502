// Outline: an XML document as lines with levels, ready for a tree-view.
// SPDX-License-Identifier: MIT
#include "outline.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "beginning.h"

namespace desktop {
namespace {

using AdvXMLParser::Attribute;
using AdvXMLParser::Element;
using AdvXMLParser::Node;
using AdvXMLParser::NodeContainer;

// A tree-view shows about this many characters of an item.
constexpr std::size_t kMaxLineBytes = 250;
constexpr std::string_view kBlanks = " \t\r\n";

std::string Shortened(const std::string& text) {
    if (text.size() <= kMaxLineBytes) return text;
    return std::string(Beginning(text, kMaxLineBytes)) + "...";
}

bool IsCharacters(const Node* node) {
    return node->IsType(AdvXMLParser::TEXT_NODE) || node->IsType(AdvXMLParser::CDATA_NODE) ||
           node->IsType(AdvXMLParser::REFERENCE_NODE);
}

/// Walks with an explicit stack, so the depth of the document does not matter.
class Walk {
public:
    explicit Walk(const AdvXMLParser::Document& document) { open_.push_back({&document, 0}); }

    std::vector<OutlineLine> Lines() {
        while (!open_.empty()) {
            if (lines_.size() >= kMaxOutlineLines) return Cut();
            Step();
        }
        return std::move(lines_);
    }

private:
    struct Open {
        const NodeContainer* container;
        std::size_t next;
    };

    // The document itself has no line, so its children have level 0.
    int Level() const { return static_cast<int>(open_.size()) - 1; }

    void Add(int level, const std::string& text) { lines_.push_back({level, Shortened(text)}); }

    void Step() {
        Open& open = open_.back();
        if (open.next == open.container->children.size()) {
            AddCharacters();
            open_.pop_back();
            return;
        }
        const Node* child = open.container->children[open.next++];
        if (IsCharacters(child)) {
            characters_ += child->GetNodeValue();
            return;
        }
        AddCharacters();
        AddMarkup(child);
    }

    void AddMarkup(const Node* node) {
        if (node->IsType(AdvXMLParser::ELEMENT_NODE)) {
            AddElement(node->AsElement());
        } else if (node->IsType(AdvXMLParser::COMMENT_NODE)) {
            Add(Level(), "<!--" + node->GetNodeValue() + "-->");
        } else if (node->IsType(AdvXMLParser::PI_NODE)) {
            Add(Level(), "<?" + std::string(node->name) + " " + node->GetNodeValue() + "?>");
        }
    }

    void AddElement(const Element& element) {
        const int level = Level();
        const bool plain = std::all_of(element.children.begin(), element.children.end(), IsCharacters);
        const std::string text = plain ? element.GetText() : "";
        Add(level, std::string(element.name) + (text.empty() ? "" : ": " + text));
        for (const Attribute* attribute : element.attributes) {
            Add(level + 1, "@" + std::string(attribute->name) + ": " + attribute->GetText());
        }
        if (plain) return;
        if (open_.size() < kMaxOutlineLevels) {
            open_.push_back({&element, 0});
        } else {
            Add(level + 1, "...");
        }
    }

    /// Characters between markup. White space there is layout.
    void AddCharacters() {
        const std::size_t begin = characters_.find_first_not_of(kBlanks);
        if (begin != std::string::npos) {
            Add(Level(), characters_.substr(begin, characters_.find_last_not_of(kBlanks) + 1 - begin));
        }
        characters_.clear();
    }

    std::vector<OutlineLine> Cut() {
        lines_.resize(kMaxOutlineLines - 1);
        Add(0, "...");
        return std::move(lines_);
    }

    std::vector<Open> open_;
    std::vector<OutlineLine> lines_;
    std::string characters_;
};

}  // namespace

std::vector<OutlineLine> Outline(const AdvXMLParser::Document& document) {
    return Walk(document).Lines();
}

}  // namespace desktop
