#include "engine/platform/SecureRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace Brelk::Platform {
namespace {

TEST(SecureRandomBytes, SucceedsAtOnceForNoBytes) {
    EXPECT_TRUE(SecureRandomBytes(nullptr, 0));
}

TEST(SecureRandomBytes, FillsTheWholeBuffer) {
    // Every 64-byte window of a large buffer being zero is beyond chance.
    std::vector<std::uint8_t> bytes(1 << 20, 0);
    ASSERT_TRUE(SecureRandomBytes(bytes.data(), bytes.size()));
    for (std::size_t at = 0; at < bytes.size(); at += 64)
        EXPECT_TRUE(std::any_of(bytes.begin() + at, bytes.begin() + at + 64, [](std::uint8_t b) { return b != 0; }))
            << at;
}

TEST(SecureRandomBytes, GivesDifferentBytesEachTime) {
    std::array<std::uint8_t, 32> first{};
    std::array<std::uint8_t, 32> second{};
    ASSERT_TRUE(SecureRandomBytes(first.data(), first.size()));
    ASSERT_TRUE(SecureRandomBytes(second.data(), second.size()));
    EXPECT_NE(first, second);
}

} // namespace
} // namespace Brelk::Platform
