// Feeds any bytes to the XML library, with either cursor, and to its model, which must all agree.
// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "xml_model/agreement.h"
#include "xml_model/cursors.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The model calls itself for every level, and asks every node on its own.
    if (size > 4096) return 0;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    std::string difference = xml_model::CursorDisagreement(input);
    if (difference.empty()) difference = xml_model::Disagreement(input, xml_model::Depth::kEverything);
    if (difference.empty()) return 0;
    std::fprintf(stderr, "%s\n", difference.c_str());
    std::abort();
}
