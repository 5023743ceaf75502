// Random documents: the library and the model must see the same tree, or the same fault at the same place.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/sanitized.h"
#include "xml_model/agreement.h"
#include "xml_model/document_generator.h"
#include "xml_model/parser.h"

namespace xml_model {
namespace {

constexpr int kReportedAtMost = 10;

bool IsAccepted(const std::string& input) {
    try {
        Parse(input);
        return true;
    } catch (const Fault&) {
        return false;
    }
}

TEST(RandomDocuments, AsGeneratedAreSeenTheSameByModelAndLibrary) {
    constexpr uint64_t kDocuments = support::Many(20000, 2000);
    int reported = 0;
    uint64_t accepted = 0;
    uint64_t seen = 0;
    for (uint64_t seed = 1; seed <= kDocuments && reported < kReportedAtMost; ++seed) {
        const std::string document = DocumentGenerator(seed).Document();
        accepted += IsAccepted(document) ? 1 : 0;
        ++seen;
        const std::string difference = Disagreement(document, Depth::kEverything);
        if (difference.empty()) continue;
        ADD_FAILURE() << "seed " << seed << ", " << difference;
        ++reported;
    }
    EXPECT_GT(accepted, seen / 2) << "the generator no longer makes documents worth comparing";
}

TEST(RandomDocuments, MutatedAreSeenTheSameByModelAndLibrary) {
    constexpr uint64_t kDocuments = support::Many(20000, 2000);
    int reported = 0;
    for (uint64_t seed = 1; seed <= kDocuments; ++seed) {
        DocumentGenerator generator(0x10000000 + seed);
        const std::string document = generator.Document();
        for (int variant = 0; variant < 8; ++variant) {
            const std::string difference = Disagreement(generator.Mutated(document), Depth::kEverything);
            if (difference.empty()) continue;
            ADD_FAILURE() << "seed " << seed << ", " << difference;
            if (++reported == kReportedAtMost) return;
        }
    }
}

TEST(RandomDocuments, CutOffAtEveryByteAreSeenTheSameByModelAndLibrary) {
    int reported = 0;
    for (uint64_t seed = 1; seed <= support::Many(300, 60); ++seed) {
        const std::string document = DocumentGenerator(0x20000000 + seed).Document();
        for (size_t length = 0; length < document.size(); ++length) {
            const std::string difference = Disagreement(document.substr(0, length), Depth::kTree);
            if (difference.empty()) continue;
            ADD_FAILURE() << "seed " << seed << ", " << difference;
            if (++reported == kReportedAtMost) return;
        }
    }
}

TEST(RandomBytes, AreSeenTheSameByModelAndLibrary) {
    int reported = 0;
    RandomSource random(42);
    constexpr size_t kInputs = support::Many(50000, 10000);
    for (size_t attempt = 0; attempt < kInputs; ++attempt) {
        std::string input = random.OneIn(2) ? "<a>" : "<a b='";
        for (size_t left = random.Below(12); left > 0; --left) input += static_cast<char>(random.Below(256));
        const std::string difference = Disagreement(input, Depth::kTree);
        if (difference.empty()) continue;
        ADD_FAILURE() << difference;
        if (++reported == kReportedAtMost) return;
    }
}

}  // namespace
}  // namespace xml_model
