// Documents of the shapes that people have, of any size and seed.
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace xml_bench {

struct Shape {
    std::string name;
    std::string bytes;
};

/// Every shape in four sizes: 300 bytes, 2 KB, 20 KB and 1 MB. Another seed gives other documents of the same kinds.
std::vector<Shape> MakeShapes(std::uint64_t seed);

/// The documents of Debian packages that are installed here.
std::vector<Shape> ReadRealDocuments();

}  // namespace xml_bench
