// Buffers and records made of texts.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_UNIT_THREADLIB_BYTES_H
#define WPK_TESTS_UNIT_THREADLIB_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "threadlib/record.h"

namespace wpk::test {

inline core::ByteBuffer Bytes(const std::string& text) {
    return {text.data(), static_cast<uint32_t>(text.size())};
}

inline core::Record RowOf(const std::vector<std::string>& fields) {
    core::Record record(fields.size());
    for (size_t k = 0; k < fields.size(); ++k) record.Set(k, Bytes(fields[k]));
    return record;
}

inline std::string TextOf(const core::ByteBuffer& bytes) {
    return {reinterpret_cast<const char*>(bytes.Data()), bytes.Length()};
}

}  // namespace wpk::test

#endif  // WPK_TESTS_UNIT_THREADLIB_BYTES_H
