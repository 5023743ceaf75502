// A field of a reply that is XML.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace wpk_send {

/// The reply is no XML document, or has no such field.
class NoField : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The text of the first element of that name right below the root of the document in these bytes.
/// @throws NoField
std::string FieldText(const void* data, std::size_t length, const std::string& name);

}  // namespace wpk_send
