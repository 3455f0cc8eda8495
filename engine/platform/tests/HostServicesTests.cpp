#include "engine/platform/SecureRandom.h"
#include "engine/platform/Thread.h"
#include "engine/platform/Time.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <cstdint>
#include <thread>
#include <tuple>
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

TEST(TimeBreakdown, BreaksDownAKnownInstantAndRefusesANullOutput) {
    std::tm parts{};
    ASSERT_TRUE(UniversalTime(static_cast<std::time_t>(1700000000), &parts));
    EXPECT_EQ(std::tuple(parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec),
              std::tuple(2023, 11, 14, 22, 13, 20));
    // Local time keeps the seconds of zones that differ by whole minutes.
    ASSERT_TRUE(LocalTime(static_cast<std::time_t>(1700000000), &parts));
    EXPECT_EQ(parts.tm_sec, 20);
    EXPECT_FALSE(LocalTime(0, nullptr));
    EXPECT_FALSE(UniversalTime(0, nullptr));
}

std::string HostThreadName() {
    char name[64] = {};
    return pthread_getname_np(pthread_self(), name, sizeof(name)) == 0 ? name : "<failed>";
}

TEST(ThreadName, IsCutForTheHostAtFifteenBytesOnACharacterBoundaryButKeptWhole) {
    struct Case {
        std::string_view name;
        const char* host;
    };
    const Case cases[] = {
        {"Brelk IO 0", "Brelk IO 0"},
        {"Brelk Worker 12345", "Brelk Worker 12"},
        {"abcdefghijklmn\xC3\xA9z", "abcdefghijklmn"},
        {std::string_view("ab\0cd", 5), "ab"},
        {"", nullptr},
    };
    for (const Case& c : cases) {
        std::string host;
        std::string kept;
        std::thread([&] {
            if (!c.name.empty()) SetCurrentThreadName(c.name);
            host = HostThreadName();
            kept = GetCurrentThreadName();
        }).join();
        EXPECT_EQ(host, c.host ? c.host : host);
        EXPECT_EQ(kept, c.name);
    }
}

} // namespace
} // namespace Brelk::Platform
