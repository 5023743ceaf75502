// Documents of the shapes that people have, of any size and seed.
// SPDX-License-Identifier: MIT
#include "shapes.h"

#include <fstream>
#include <iterator>

namespace xml_bench {

namespace {

class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed * 2 + 1) {}

    std::size_t Below(std::size_t limit) {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::size_t>(state_ >> 33) % limit;
    }
    bool OneIn(std::size_t count) { return Below(count) == 0; }

    /// Lower-case letters.
    std::string Word(std::size_t shortest, std::size_t longest) {
        std::string word;
        for (std::size_t left = shortest + Below(longest - shortest + 1); left != 0; --left)
            word += static_cast<char>('a' + Below(26));
        return word;
    }
    std::string Words(std::size_t count) {
        std::string words = Word(1, 9);
        while (--count > 0) words += ' ' + Word(1, 9);
        return words;
    }
    std::string Number() { return std::to_string(Below(OneIn(3) ? 10 : 1000000)); }

private:
    std::uint64_t state_;
};

/// Names that come again and again, as in a real vocabulary.
class Names {
public:
    Names(Random& random, std::size_t count, std::size_t shortest, std::size_t longest) : random_(random) {
        while (names_.size() < count) names_.push_back(random.Word(shortest, longest));
    }
    const std::string& Any() { return names_[random_.Below(names_.size())]; }

private:
    Random& random_;
    std::vector<std::string> names_;
};

constexpr const char* kReferences[] = {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;", "&#65;", "&#x42;", "&#10;"};

/// How a document is put together: pieces between a beginning and an end until it has its size.
class Maker {
public:
    Maker(std::uint64_t seed, std::size_t size) : random_(seed), size_(size), names_(random_, 24, 2, 14) {}

    /// Records of a few fields, a line each; `lineEnd` is empty for one long line.
    std::string Records(const std::string& lineEnd) {
        const std::string tab = lineEnd.empty() ? "" : "  ";
        const std::string record = names_.Any();
        Begin(lineEnd);
        while (IsShort()) {
            text_ += tab + "<" + record + " id=\"" + random_.Number() + "\">" + lineEnd;
            for (std::size_t fields = 2 + random_.Below(6); fields != 0; --fields) {
                const std::string& field = names_.Any();
                const std::string value = random_.OneIn(2) ? random_.Number() : random_.Words(1 + random_.Below(5));
                text_ += tab + tab + "<" + field + ">" + value + "</" + field + ">" + lineEnd;
            }
            text_ += tab + "</" + record + ">" + lineEnd;
        }
        return End();
    }

    std::string Texts() {
        Begin("\n");
        while (IsShort()) {
            const std::string& name = names_.Any();
            text_ += "<" + name + ">" + random_.Words(20 + random_.Below(300)) + "</" + name + ">\n";
        }
        return End();
    }

    std::string Attributes() {
        Begin("\n");
        while (IsShort()) {
            text_ += "<" + names_.Any();
            for (std::size_t count = 8 + random_.Below(4); count != 0; --count)
                text_ += " " + names_.Any() + "=\"" + (random_.OneIn(3) ? random_.Words(2) : random_.Number()) + "\"";
            text_ += "/>\n";
        }
        return End();
    }

    std::string References() {
        Begin("\n");
        while (IsShort()) {
            const std::string& name = names_.Any();
            text_ += "<" + name + ">";
            for (std::size_t count = 1 + random_.Below(20); count != 0; --count)
                text_ += random_.Word(2, 12) + kReferences[random_.Below(std::size(kReferences))];
            text_ += "</" + name + ">\n";
        }
        return End();
    }

    /// What is written by people: inline elements in running text, comments, sections, instructions, a doctype.
    std::string Mixed() {
        text_ = "<?xml version=\"1.0\"?>\n<!DOCTYPE root [ <!ELEMENT root ANY> <!ENTITY e \"v\"> ]>\n<!-- " +
                random_.Words(6) + " -->\n<root>\n";
        while (IsShort()) {
            text_ += "<p>" + random_.Words(5);
            for (std::size_t count = random_.Below(6); count != 0; --count) AddInline();
            text_ += "</p>\n";
        }
        return End();
    }

    /// Chains of up to 10,000 elements, one inside the other.
    std::string Nested() {
        Begin("");
        while (IsShort()) {
            std::vector<std::string> open;
            const std::size_t before = text_.size();
            while (open.size() < 10000 && before + 2 * (text_.size() - before) < size_) {
                open.push_back(random_.Word(1, 2));
                text_ += "<" + open.back() + ">";
            }
            for (; !open.empty(); open.pop_back()) text_ += "</" + open.back() + ">";
            text_ += "\n";
        }
        return End();
    }

    /// Short elements without a text: a table of switches.
    std::string Flags() {
        Begin("\n");
        while (IsShort()) {
            text_ += "<" + names_.Any() + "/>";
            if (random_.OneIn(6)) text_ += "\n";
        }
        return End();
    }

private:
    void Begin(const std::string& lineEnd) {
        text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + lineEnd + "<root>" + lineEnd;
    }
    bool IsShort() const { return text_.size() + 7 < size_; }
    std::string End() { return text_ + "</root>"; }

    void AddInline() {
        switch (random_.Below(6)) {
            case 0:
                text_ += "<!-- " + random_.Words(4) + " -->";
                break;
            case 1:
                text_ += "<![CDATA[" + random_.Words(5) + " < & >]]>";
                break;
            case 2:
                text_ += "<?" + random_.Word(2, 6) + " " + random_.Words(3) + "?>";
                break;
            default:
                text_ += " <em class=\"" + random_.Word(1, 8) + "\">" + random_.Words(2) + "</em> ";
                break;
        }
        text_ += random_.Words(3 + random_.Below(12));
    }

    Random random_;
    std::size_t size_;
    Names names_;
    std::string text_;
};

}  // namespace

std::vector<Shape> MakeShapes(std::uint64_t seed) {
    const struct {
        const char* name;
        std::size_t bytes;
    } sizes[] = {{"300B", 300}, {"2KB", 2000}, {"20KB", 20000}, {"1MB", 1 << 20}};
    std::vector<Shape> shapes;
    for (const auto& size : sizes) {
        const auto add = [&](const char* kind, auto make) {
            Maker maker(seed, size.bytes);
            shapes.push_back({std::string(kind) + "_" + size.name, make(maker)});
        };
        add("records", [](Maker& maker) { return maker.Records("\n"); });
        add("records_compact", [](Maker& maker) { return maker.Records(""); });
        add("records_crlf", [](Maker& maker) { return maker.Records("\r\n"); });
        add("texts", [](Maker& maker) { return maker.Texts(); });
        add("attributes", [](Maker& maker) { return maker.Attributes(); });
        add("references", [](Maker& maker) { return maker.References(); });
        add("mixed", [](Maker& maker) { return maker.Mixed(); });
        add("nested", [](Maker& maker) { return maker.Nested(); });
        add("flags", [](Maker& maker) { return maker.Flags(); });
    }
    return shapes;
}

std::vector<Shape> ReadRealDocuments() {
    const struct {
        const char* name;
        const char* path;
    } files[] = {{"iso_639_3.xml", "/usr/share/xml/iso-codes/iso_639_3.xml"},
                 {"freedesktop.org.xml", "/usr/share/mime/packages/freedesktop.org.xml"},
                 {"base.xml", "/usr/share/X11/xkb/rules/base.xml"}};
    std::vector<Shape> documents;
    for (const auto& file : files) {
        std::ifstream in(file.path, std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        // A doctype may hold comments, which this library refuses there; no library does anything with it.
        const std::size_t doctype = bytes.find("<!DOCTYPE");
        if (doctype != std::string::npos) {
            const std::size_t subset = bytes.find_first_of("[>", doctype);
            const std::size_t end = bytes[subset] == '[' ? bytes.find("]>", subset) + 2 : subset + 1;
            bytes.erase(doctype, end - doctype);
        }
        if (!bytes.empty()) documents.push_back({file.name, bytes});
    }
    return documents;
}

}  // namespace xml_bench
