#include "engine/platform/Time.h"

#include <gtest/gtest.h>

namespace Brelk::Platform {
namespace {

TEST(TimeBreakdown, UniversalTimeOfAKnownInstant) {
    std::tm parts{};
    ASSERT_TRUE(UniversalTime(static_cast<std::time_t>(1700000000), &parts));
    EXPECT_EQ(parts.tm_year + 1900, 2023);
    EXPECT_EQ(parts.tm_mon + 1, 11);
    EXPECT_EQ(parts.tm_mday, 14);
    EXPECT_EQ(parts.tm_hour, 22);
    EXPECT_EQ(parts.tm_min, 13);
    EXPECT_EQ(parts.tm_sec, 20);
}

TEST(TimeBreakdown, LocalTimeKeepsMinutesAndSecondsOfWholeHourZones) {
    std::tm parts{};
    ASSERT_TRUE(LocalTime(static_cast<std::time_t>(1700000000), &parts));
    EXPECT_EQ(parts.tm_sec, 20);
    EXPECT_GE(parts.tm_hour, 0);
    EXPECT_LE(parts.tm_hour, 23);
}

TEST(TimeBreakdown, NullOutputIsRefused) {
    EXPECT_FALSE(LocalTime(0, nullptr));
    EXPECT_FALSE(UniversalTime(0, nullptr));
}

} // namespace
} // namespace Brelk::Platform
