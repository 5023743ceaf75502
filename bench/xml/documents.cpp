// The documents that are measured: the same bytes on every run and for every parser.
// SPDX-License-Identifier: MIT
#include "documents.h"

#include <cstdint>
#include <utility>

namespace xml_bench {

namespace {

constexpr const char* kWords[] = {"order",  "customer", "of",    "the",   "delivery",  "invoice", "a",      "net",
                                  "amount", "account",  "paid",  "in",    "street",    "number",  "north",  "stock",
                                  "part",   "quantity", "house", "under", "reference", "until",   "agreed", "terms"};

/// Writes one document in one of the two layouts. Two writers of the same seed write the same content.
class DocumentWriter {
public:
    explicit DocumentWriter(bool indented) : indented_(indented) {}

    void Open(const std::string& name, const std::string& attributes = {}) {
        NewLine();
        text_ += "<" + name + attributes + ">";
        open_.push_back(name);
    }

    void Close() {
        const std::string name = open_.back();
        open_.pop_back();
        NewLine();
        text_ += "</" + name + ">";
    }

    void Field(const std::string& name, const std::string& value) {
        NewLine();
        text_ += "<" + name + ">" + value + "</" + name + ">";
    }

    void Empty(const std::string& name, const std::string& attributes) {
        NewLine();
        text_ += "<" + name + attributes + "/>";
    }

    std::size_t Random(std::size_t limit) {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::size_t>(state_ >> 33) % limit;
    }

    std::string Number() { return std::to_string(Random(1000000)); }

    std::string Words(std::size_t count) {
        std::string words;
        for (std::size_t word = 0; word < count; ++word)
            words += (word == 0 ? "" : " ") + std::string(kWords[Random(std::size(kWords))]);
        return words;
    }

    std::size_t Size() const { return text_.size(); }
    std::string Take() { return std::move(text_); }

private:
    void NewLine() {
        if (!indented_) return;
        text_ += '\n';
        text_.append(2 * open_.size(), ' ');
    }

    bool indented_;
    std::uint64_t state_ = 1;
    std::string text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    std::vector<std::string> open_;
};

/// `count` times `part` under a root, closed by a field that lookups search for.
template <class Part>
Document Repeat(const std::string& name, std::size_t count, Part part) {
    Document document{name, "", "", "trailer"};
    for (bool indented : {true, false}) {
        DocumentWriter writer(indented);
        writer.Open("message");
        for (std::size_t at = 0; at < count; ++at) part(writer);
        writer.Field("trailer", writer.Number());
        writer.Close();
        (indented ? document.indented : document.compact) = writer.Take();
    }
    return document;
}

/// As often as it takes to fill `size` bytes.
template <class Part>
Document Fill(const std::string& name, std::size_t size, Part part) {
    const std::size_t small = Repeat(name, 10, part).indented.size();
    const std::size_t large = Repeat(name, 30, part).indented.size();
    return Repeat(name, size * 20 / (large - small), part);
}

void AddLine(DocumentWriter& writer) {
    writer.Open("line", " number=\"" + writer.Number() + "\"");
    writer.Field("article", writer.Words(1) + "-" + writer.Number());
    writer.Field("text", writer.Words(2 + writer.Random(6)));
    writer.Field("quantity", writer.Number());
    writer.Field("price", writer.Number() + ".50");
    if (writer.Random(4) == 0) writer.Field("note", writer.Words(3) + " &amp; " + writer.Words(2));
    writer.Close();
}

void AddParagraph(DocumentWriter& writer) {
    writer.Field("paragraph", writer.Words(100 + writer.Random(500)));
}

void AddRecord(DocumentWriter& writer) {
    std::string attributes;
    for (const char* name : {"id", "kind", "status", "owner", "created", "changed", "currency", "amount"})
        attributes += std::string(" ") + name + "=\"" + writer.Words(1) + " " + writer.Number() + "\"";
    writer.Empty("record", attributes);
}

void AddReferences(DocumentWriter& writer) {
    std::string text;
    for (int at = 0; at < 12; ++at) {
        constexpr const char* kReferences[] = {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;", "&#65;", "&#x42;"};
        text += writer.Words(1) + kReferences[writer.Random(std::size(kReferences))];
    }
    writer.Field("formula", text);
}

void AddChain(DocumentWriter& writer) {
    constexpr int kLevels = 85;
    for (int level = 0; level < kLevels; ++level) writer.Open("level");
    writer.Field("bottom", writer.Words(3));
    for (int level = 0; level < kLevels; ++level) writer.Close();
}

/// Too small for lines: a handful of fields.
Document MakeSmallMessage(const std::string& name) {
    return Repeat(name, 1, [](DocumentWriter& writer) {
        writer.Field("id", writer.Number());
        writer.Field("sender", writer.Words(2));
        writer.Field("subject", writer.Words(4));
        writer.Field("status", writer.Words(1));
        writer.Field("amount", writer.Number() + ".00");
        writer.Empty("flags", " urgent=\"no\" copy=\"yes\"");
    });
}

}  // namespace

Document MakeMessage(const std::string& name, std::size_t size) {
    return size < 1000 ? MakeSmallMessage(name) : Fill(name, size, AddLine);
}

std::vector<Document> MakeDocuments() {
    return {
        MakeMessage("message_300B", 300),
        MakeMessage("message_2KB", 2 << 10),
        MakeMessage("message_20KB", 20 << 10),
        MakeMessage("message_1MB", 1 << 20),
        Fill("text_heavy", 100 << 10, AddParagraph),
        Fill("attribute_heavy", 20 << 10, AddRecord),
        Fill("entity_heavy", 20 << 10, AddReferences),
        Fill("deep", 40 << 10, AddChain),
    };
}

}  // namespace xml_bench
