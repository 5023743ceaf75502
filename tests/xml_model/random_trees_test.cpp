// Random trees made by hand, any node in any container: the library writes them as the model does.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/sanitized.h"
#include "xml_model/library_tree.h"
#include "xml_model/random_source.h"
#include "xml_model/writer.h"

namespace xml_model {
namespace {

namespace xml = AdvXMLParser;

/// Makes the same tree twice: of the model's nodes and of the library's.
class TreeGenerator {
public:
    explicit TreeGenerator(uint64_t seed) : random_(seed) {}

    /// An element with what it holds. `library` is the same as the result.
    Node Tree(xml::Element& library) {
        Node model = Made(kElement, std::string(std::string_view(library.name)));
        FillElement(model, library, /*depth=*/0);
        return model;
    }

    /// Often short, now and then as long as no buffer is.
    std::string Name() {
        static constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789_-";
        std::string name = "n";
        for (size_t left = Length(); left > 0; --left) name += kLetters[random_.Below(kLetters.size())];
        return name;
    }

private:
    static constexpr int kDeepest = 5;

    size_t Length() {
        if (random_.OneIn(40)) return random_.Below(5000);
        return random_.OneIn(4) ? random_.Below(70) : random_.Below(6);
    }

    std::string Data() {
        std::string data;
        for (size_t left = Length(); left > 0; --left) {
            data += random_.OneIn(3) ? random_.Pick({" ", "\n", "\t", "\r", "<", ">", "&", "'", "\"", "]]>", "\xE9"})
                                     : random_.Pick({"a", "bc", "plain", "a text with blanks"});
        }
        return data;
    }

    static Node Made(Type type, std::string name, std::string value = {}) {
        Node node{type, std::move(name), std::move(value), false, false, {}, {}};
        return node;
    }

    void FillElement(Node& model, xml::Element& library, int depth) {
        for (size_t left = random_.Below(4); left > 0; --left) {
            const std::string name = Name();
            library.attributes.push_back(new xml::Attribute(&library, name));
            model.attributes.push_back(Made(kAttribute, name));
            Fill(model.attributes.back(), *library.attributes.back(), depth, /*most=*/random_.OneIn(3) ? 3 : 2);
        }
        Fill(model, library, depth, random_.OneIn(2) ? 2 : 7);
    }

    void Fill(Node& model, xml::NodeContainer& library, int depth, size_t most) {
        for (size_t left = random_.Below(most); left > 0; --left) AddNode(model, library, depth);
    }

    /// Half of the nodes are texts.
    void AddNode(Node& model, xml::NodeContainer& library, int depth) {
        const size_t kind = random_.Below(depth < kDeepest ? 14 : 12);
        if (kind < 7) {
            const std::string text = Data();
            Add(model, library, Made(kText, "#text", text), new xml::Text(&library, text));
        } else if (kind == 7) {
            const std::string text = Data();
            Add(model, library, Made(kCData, "#cdata-section", text), new xml::CData(&library, text));
        } else if (kind == 8) {
            const std::string text = Data();
            Add(model, library, Made(kComment, "#comment", text), new xml::Comment(&library, text));
        } else if (kind == 9) {
            const std::string name = Name();
            const std::string data = Data();
            Add(model, library, Made(kPi, name, data), new xml::Pi(&library, name, data));
        } else if (kind == 10) {
            const std::string name(random_.Pick({"lt", "gt", "amp", "quot", "apos"}));
            Add(model, library, Made(kReference, name), new xml::EntityRef(name));
        } else if (kind == 11) {
            const char value = static_cast<char>(random_.Below(256));
            Node reference = Made(kReference, "", std::string(1, value));
            reference.isCharacterReference = true;
            Add(model, library, reference, new xml::CharRef(&library, static_cast<signed char>(value)));
        } else if (kind == 12) {
            const std::string name = Name();
            auto* const element = new xml::Element(&library, name);
            Add(model, library, Made(kElement, name), element);
            FillElement(model.children.back(), *element, depth + 1);
        } else {
            const std::string name = Name();
            auto* const attribute = new xml::Attribute(&library, name);
            Add(model, library, Made(kAttribute, name), attribute);
            Fill(model.children.back(), *attribute, depth + 1, 3);
        }
    }

    static void Add(Node& model, xml::NodeContainer& library, Node node, xml::Node* same) {
        model.children.push_back(std::move(node));
        library.AppendChild(same);
    }

    RandomSource random_;
};

TEST(RandomTrees, AreWrittenTheSameByModelAndLibrary) {
    constexpr uint64_t kTrees = support::Many(20000, 2000);
    const std::string longIndent(70, '.');
    for (uint64_t seed = 1; seed <= kTrees; ++seed) {
        TreeGenerator generator(seed);
        xml::Element library(nullptr, generator.Name());
        const Node model = generator.Tree(library);
        for (const WriteMode& mode : {WriteMode{true, "  "}, WriteMode{false, "  "}, WriteMode{false, ""},
                                      WriteMode{false, "abc"}, WriteMode{false, longIndent.c_str()}}) {
            Writer writer(mode.verbatim, mode.indent);
            writer.Write(model);
            ASSERT_EQ(Readable(WriteWithLibrary(library, mode)), Readable(writer.Output())) << "seed " << seed;
        }
    }
}

}  // namespace
}  // namespace xml_model
