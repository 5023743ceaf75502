// One row of a record table.
// SPDX-License-Identifier: MIT
#include "threadlib/record.h"

#include <new>
#include <utility>

namespace wpk::core {

namespace {

const ByteBuffer kEmptyField;

ByteBuffer LittleEndian(uint64_t value, uint32_t width) {
    uint8_t bytes[sizeof value];
    for (uint32_t i = 0; i < sizeof value; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
    return {bytes, width};
}

}  // namespace

Record::Record(uint64_t fieldCount) : fields_(new (std::nothrow) ByteBuffer[fieldCount]) {
    if (fields_) fieldCount_ = fieldCount;
}

Record::Record(const Record& other) : Record(other.fieldCount_) {
    for (uint64_t k = 0; k < fieldCount_; ++k) fields_[k] = other.fields_[k];
}

Record::Record(Record&& other) noexcept
    : fieldCount_(std::exchange(other.fieldCount_, 0)), fields_(std::move(other.fields_)) {}

Record& Record::operator=(Record other) noexcept {
    std::swap(fieldCount_, other.fieldCount_);
    std::swap(fields_, other.fields_);
    return *this;
}

const ByteBuffer& Record::Field(uint64_t k) const {
    return k < fieldCount_ ? fields_[k] : kEmptyField;
}

uint32_t Record::Set(uint64_t k, const ByteBuffer& value) {
    if (k >= fieldCount_) return 0;
    fields_[k] = value;
    return fields_[k].Length() == value.Length();
}

uint32_t Record::SetInteger(uint64_t k, uint64_t value, uint32_t width) {
    if (k >= fieldCount_) return 0;
    fields_[k] = LittleEndian(value, width);
    return fields_[k].Length() == width;
}

ByteBuffer KeyOf(uint32_t id) {
    return LittleEndian(id, sizeof id);
}

}  // namespace wpk::core
