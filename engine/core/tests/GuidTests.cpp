#include "engine/core/Guid.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <unordered_set>

namespace Brelk::Core {
namespace {

std::string ParseStableGuidError(std::string_view text) {
    try {
        ParseStableGuid(text);
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "";
}

TEST(GuidTests, FromNameMatchesKnownVectors) {
    EXPECT_EQ(Guid::FromName("brelk-procedural-world:1:-12:-12:0").ToString(), "ae215754-0f91-5285-9500-4e23a9c78ccb");
    EXPECT_EQ(Guid::FromName("brelk-procedural-world:1:-12:-12:1").ToString(), "ae215654-0f91-50d2-b99f-2429c8715b5a");
    const Guid empty = Guid::FromName("");
    EXPECT_EQ(empty.high, 0xCBF29CE484225325ull);
    EXPECT_EQ(empty.low, 0x80000100000001B3ull);
}

TEST(GuidTests, RandomGuidsCarryTheirVersionAndVariant) {
    // Name-based ones show theirs in the known vectors above.
    for (int i = 0; i < 64; ++i) {
        const std::string random = Guid::New().ToString();
        EXPECT_EQ(random[14], '4');
        EXPECT_NE(std::string_view("89ab").find(random[19]), std::string_view::npos) << random;
    }
}

TEST(GuidTests, TextAndBytesRoundTripAndTheLenientParseRefusesOtherLengthsAndDigits) {
    const Guid guid{0x0123456789ABCDEFull, 0xFEDCBA9876543210ull};
    EXPECT_EQ(guid.ToString(), "01234567-89ab-cdef-fedc-ba9876543210");
    EXPECT_EQ(guid.ToBytes()[0], 0x01);
    EXPECT_EQ(guid.ToBytes()[15], 0x10);
    EXPECT_EQ(Guid::FromBytes(guid.ToBytes()), guid);
    EXPECT_EQ(Guid::Parse(guid.ToString()), guid);
    EXPECT_EQ(Guid{}.ToString(), "00000000-0000-0000-0000-000000000000");
    EXPECT_FALSE(Guid{}.IsValid());
    // The lenient parse drops hyphens anywhere.
    EXPECT_EQ(Guid::Parse("0123456789ABCDEFFEDCBA9876543210"), guid);
    EXPECT_EQ(Guid::Parse("0123-456789ABCDEF-FEDCBA9876543210"), guid);
    EXPECT_FALSE(Guid::Parse(""));
    EXPECT_FALSE(Guid::Parse("0123456789ABCDEFFEDCBA987654321"));
    EXPECT_FALSE(Guid::Parse("0123456789ABCDEFFEDCBA9876543210a"));
    EXPECT_FALSE(Guid::Parse("0123456789ABCDEFFEDCBA987654321g"));
}

TEST(GuidTests, StrictParseGivesEachMessage) {
    EXPECT_EQ(ParseStableGuid(""), Guid{});
    EXPECT_EQ(ParseStableGuid("01234567-89ab-cdef-fedc-ba9876543210").low, 0xFEDCBA9876543210ull);
    EXPECT_EQ(ParseStableGuid("0123456789ABCDEFFEDCBA9876543210").high, 0x0123456789ABCDEFull);
    EXPECT_EQ(ParseStableGuidError("0123-456789ABCDEF-FEDCBA9876543210"), "Invalid stable GUID length.");
    EXPECT_EQ(ParseStableGuidError("01234567-89ab-cdef-fedc-ba987654321g"), "Invalid stable GUID digit.");
    EXPECT_EQ(ParseStableGuidError("01234567-89ab-cdef-fedc-ba987654321-"), "Invalid stable GUID digit.");
    EXPECT_EQ(ParseStableGuidError("01234567989ab-cdef-fedc-ba9876543210"), "Invalid stable GUID separator.");
    // 32 characters with hyphens pass the checks of a 32-digit text only if they are digits.
    EXPECT_EQ(ParseStableGuidError("0123456789ABCDEF-EDCBA9876543210"), "Invalid stable GUID digit.");
}

TEST(GuidTests, GuidsThatDifferInOneBitAreDifferentKeys) {
    std::unordered_set<Guid> set;
    for (int bit = 0; bit < 64; ++bit) {
        set.insert(Guid{1ull << bit, 0});
        set.insert(Guid{0, 1ull << bit});
    }
    EXPECT_EQ(set.size(), 128u);
}

} // namespace
} // namespace Brelk::Core
