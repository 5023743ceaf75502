// Who takes part: a library behind a few functions, so that two states of the same one fit into one program.
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace xml_bench {

/// What is done to a parsed tree before it is measured.
enum class Edit {
    kNone,
    /// Every list is gone through by references that are not const.
    kReadAsMutable,
    /// One text is replaced by a long one.
    kOneString,
    /// Every tenth element gets an element and a text.
    kManyPlaces,
    /// The tree is replaced by a copy built node by node.
    kBuiltByHand
};

struct TestedLibrary {
    const char* name;
    void* (*parse)(const std::string& bytes);
    void (*destroy)(void* tree);
    void (*write)(const void* tree, bool isRaw, std::string& output);
    /// Null when the library takes no part in edited trees.
    void* (*edit)(void* tree, Edit edit);
};

extern const TestedLibrary kWpk;
extern const TestedLibrary kPugixml;
#ifdef WPK_XML_BASELINE
extern const TestedLibrary kBaseline;
#endif

/// Those that are there in this build; the one that the others are compared with is the last.
inline const std::vector<const TestedLibrary*> kTested = {
    &kWpk,
#ifdef WPK_XML_BASELINE
    &kBaseline,
#endif
#ifdef WPK_XML_PUGIXML
    &kPugixml,
#endif
};

}  // namespace xml_bench
