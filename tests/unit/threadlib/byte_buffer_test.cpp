// Byte buffers.
// SPDX-License-Identifier: MIT
#include "threadlib/byte_buffer.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "unit/threadlib/bytes.h"

namespace wpk::core {
namespace {

using test::Bytes;
using test::TextOf;

TEST(ByteBufferTest, CopiesOwnTheirBytes) {
    std::string source = "abc";
    const ByteBuffer buffer = Bytes(source);
    const ByteBuffer copy = buffer;
    source[0] = 'X';
    EXPECT_EQ(TextOf(copy), "abc");
    EXPECT_NE(copy.Data(), buffer.Data());
}

TEST(ByteBufferTest, ShortAndLongOnesAreCopiedMovedAndReplacedAlike) {
    for (size_t length : {0u, 1u, 7u, 8u, 9u, 100u}) {
        const std::string text(length, 'x');
        ByteBuffer buffer = Bytes(text);
        ByteBuffer copy = buffer;
        EXPECT_EQ(TextOf(copy), text);
        const ByteBuffer moved = std::move(buffer);
        EXPECT_EQ(TextOf(moved), text);
        EXPECT_EQ(buffer.Length(), 0u);  // NOLINT(bugprone-use-after-move): a moved-from buffer is empty
        for (const std::string& other : {std::string("y"), std::string(20, 'y')}) {
            copy = Bytes(other);
            EXPECT_EQ(TextOf(copy), other);
            copy = moved;
            EXPECT_EQ(TextOf(copy), text);
        }
    }
}

TEST(ByteBufferTest, EqualWhenNoByteOfTheFirstOnesLengthDiffers) {
    EXPECT_TRUE(Bytes("ab") == Bytes("ab"));
    EXPECT_TRUE(Bytes("ab") == Bytes("abc")) << "only the first one's length counts";
    EXPECT_FALSE(Bytes("abc") == Bytes("ab"));
    EXPECT_FALSE(Bytes("ab") == Bytes("aB"));
    EXPECT_TRUE(Bytes("") == Bytes("x"));
}

}  // namespace
}  // namespace wpk::core
