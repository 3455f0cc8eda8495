#include "engine/platform/SecureRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace Brelk::Platform {
namespace {

TEST(SecureRandomBytes, FillsTheWholeBufferWithNewBytesEachTime) {
    EXPECT_TRUE(SecureRandomBytes(nullptr, 0));
    // Every 64-byte window of a large buffer being zero is beyond chance.
    std::vector<std::uint8_t> bytes(1 << 20, 0);
    ASSERT_TRUE(SecureRandomBytes(bytes.data(), bytes.size()));
    for (std::size_t at = 0; at < bytes.size(); at += 64)
        EXPECT_TRUE(std::any_of(bytes.begin() + at, bytes.begin() + at + 64, [](std::uint8_t b) { return b != 0; }))
            << at;
    std::vector<std::uint8_t> again(32);
    ASSERT_TRUE(SecureRandomBytes(again.data(), again.size()));
    EXPECT_FALSE(std::equal(again.begin(), again.end(), bytes.begin()));
}

} // namespace
} // namespace Brelk::Platform
