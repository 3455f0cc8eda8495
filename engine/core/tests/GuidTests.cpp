#include "engine/core/Guid.h"

#include "tests/support/TextCases.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unordered_set>

namespace Brelk::Core {
namespace {

TEST(GuidTests, FromNameMatchesKnownVectors) {
    EXPECT_EQ(Guid::FromName("brelk-procedural-world:1:-12:-12:0").ToString(), "ae215754-0f91-5285-9500-4e23a9c78ccb");
    EXPECT_EQ(Guid::FromName("brelk-procedural-world:1:-12:-12:1").ToString(), "ae215654-0f91-50d2-b99f-2429c8715b5a");
    EXPECT_EQ(Guid::FromName("").ToString(), "cbf29ce4-8422-5325-8000-0100000001b3");
}

TEST(GuidTests, RandomGuidsCarryTheirVersionAndVariant) {
    // Name-based ones show theirs in the known vectors above.
    for (int i = 0; i < 64; ++i) {
        EXPECT_THAT(Guid::New().ToString(),
                    ::testing::MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
    }
}

TEST(GuidTests, BytesRoundTripMostSignificantFirstAndNoneIsTheNilGuid) {
    const Guid guid{0x0123456789ABCDEFull, 0xFEDCBA9876543210ull};
    EXPECT_EQ(guid.ToBytes()[0], 0x01);
    EXPECT_EQ(guid.ToBytes()[15], 0x10);
    EXPECT_EQ(Guid::FromBytes(guid.ToBytes()), guid);
    EXPECT_FALSE(Guid{}.IsValid());
}

// The lenient parse drops hyphens anywhere; the strict one names what is wrong.
TEST(GuidTests, TextsReadThroughTheLenientAndTheStrictParse) {
    Testing::ExpectTextCases(std::string(BRELK_TEST_DATA_DIR) + "/GuidTexts.txt", [](const Testing::TextCase& c) {
        const std::string text = c.input.substr(0, c.input.find_last_not_of('\n') + 1);
        const std::optional<Guid> lenient = Guid::Parse(text);
        std::string strict;
        const std::string error = Testing::ThrownMessage([&] { strict = ParseStableGuid(text).ToString(); });
        return "lenient " + (lenient ? lenient->ToString() : "refused") + "\nstrict " + (strict.empty() ? error : strict);
    });
}

TEST(GuidTests, GuidsThatDifferInOneBitAreDifferentKeys) {
    std::unordered_set<Guid> set;
    for (int bit = 0; bit < 64; ++bit) set.insert({Guid{1ull << bit, 0}, Guid{0, 1ull << bit}});
    EXPECT_EQ(set.size(), 128u);
}

} // namespace
} // namespace Brelk::Core
