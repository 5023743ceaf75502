// In the field: expat, events only. It builds nothing: a floor, not a rival.
// SPDX-License-Identifier: MIT
#pragma once

#include <expat.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace xml_bench {

struct ExpatEvents {
    static constexpr const char* kName = "expat_events";
    /// How many events there were.
    using Tree = std::size_t;

    static Tree Parse(const std::string& text) {
        Tree events = 0;
        XML_Parser parser = XML_ParserCreate(nullptr);
        XML_SetUserData(parser, &events);
        XML_SetElementHandler(
            parser, [](void* count, const XML_Char*, const XML_Char**) { Count(count); },
            [](void* count, const XML_Char*) { Count(count); });
        XML_SetCharacterDataHandler(parser, [](void* count, const XML_Char*, int) { Count(count); });
        XML_SetCommentHandler(parser, [](void* count, const XML_Char*) { Count(count); });
        XML_SetProcessingInstructionHandler(parser,
                                            [](void* count, const XML_Char*, const XML_Char*) { Count(count); });
        const XML_Status status = XML_Parse(parser, text.data(), static_cast<int>(text.size()), /*isFinal=*/1);
        XML_ParserFree(parser);
        if (status != XML_STATUS_OK) throw std::runtime_error("expat");
        return events;
    }

private:
    static void Count(void* count) { ++*static_cast<std::size_t*>(count); }
};

}  // namespace xml_bench
