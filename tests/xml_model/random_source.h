// Repeatable random choices: the same seed gives the same choices on every platform.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_XML_MODEL_RANDOM_SOURCE_H
#define WPK_TESTS_XML_MODEL_RANDOM_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <string_view>

namespace xml_model {

class RandomSource {
public:
    explicit RandomSource(uint64_t seed) : engine_(seed) {}

    /// 0 to limit - 1. Taken by remainder: the library's distributions differ from platform to platform.
    size_t Below(size_t limit) { return static_cast<size_t>(engine_() % limit); }
    bool OneIn(size_t count) { return Below(count) == 0; }
    std::string_view Pick(std::initializer_list<std::string_view> choices) {
        return choices.begin()[Below(choices.size())];
    }

private:
    std::mt19937_64 engine_;
};

}  // namespace xml_model

#endif  // WPK_TESTS_XML_MODEL_RANDOM_SOURCE_H
