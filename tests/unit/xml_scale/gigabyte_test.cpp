// One text of a gibibyte: sizes beyond what a careless 32-bit computation carries.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <memory>
#include <string>

#include "support/sanitized.h"
#include "wpk/xml.h"

namespace {

/// Memory that the machine can give without swapping, in GiB; 0 when it does not say.
size_t AvailableGibibytes() {
    std::ifstream meminfo("/proc/meminfo");
    std::string key;
    size_t kibibytes = 0;
    std::string unit;
    while (meminfo >> key >> kibibytes >> unit) {
        if (key == "MemAvailable:") return kibibytes >> 20;
    }
    return 0;
}

TEST(ATextOfAGibibyte, IsParsedWrittenAndReadBack) {
    if (support::kIsSanitized) GTEST_SKIP() << "a sanitizer would take minutes and half as much memory again";
    constexpr size_t kNeeded = 6;
    if (AvailableGibibytes() < kNeeded) {
        GTEST_SKIP() << "needs " << kNeeded << " GiB of memory, the machine has " << AvailableGibibytes() << " to give";
    }
    constexpr size_t kSize = size_t{1} << 30;
    std::string input = "<a>";
    input.append(kSize, 'x');
    input += "</a>";
    const std::unique_ptr<AdvXMLParser::Document> tree(
        AdvXMLParser::Parser().Parse(input.data(), static_cast<int>(input.size())));
    EXPECT_EQ(tree->GetText().size(), kSize);
    std::string output;
    AdvXMLParser::WriteContext context;
    context.flags = AdvXMLParser::WRITE_VERBATIM;
    context.output = &output;
    tree->root->Write(context);
    EXPECT_TRUE(output == input);
}

}  // namespace
