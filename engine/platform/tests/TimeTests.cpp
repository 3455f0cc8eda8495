#include "engine/platform/Time.h"

#include <gtest/gtest.h>

#include <tuple>

namespace Brelk::Platform {
namespace {

TEST(TimeBreakdown, BreaksDownAKnownInstantAndRefusesANullOutput) {
    std::tm parts{};
    ASSERT_TRUE(UniversalTime(static_cast<std::time_t>(1700000000), &parts));
    EXPECT_EQ(std::tuple(parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec),
              std::tuple(2023, 11, 14, 22, 13, 20));
    // Local time keeps the seconds of zones that differ by whole minutes.
    ASSERT_TRUE(LocalTime(static_cast<std::time_t>(1700000000), &parts));
    EXPECT_EQ(parts.tm_sec, 20);
    EXPECT_TRUE(parts.tm_hour >= 0 && parts.tm_hour <= 23);
    EXPECT_FALSE(LocalTime(0, nullptr));
    EXPECT_FALSE(UniversalTime(0, nullptr));
}

} // namespace
} // namespace Brelk::Platform
