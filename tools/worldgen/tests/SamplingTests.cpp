#include "tools/worldgen/Sampling.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Brelk::WorldGen {
namespace {

TEST(CellCoord, PacksXIntoTheLowAndZIntoTheHighHalf) {
    EXPECT_EQ((CellCoord{-1, 2}.Packed()), 0x00000002FFFFFFFFull);
    EXPECT_EQ((CellCoord{3, -5}.Packed()), 0xFFFFFFFB00000003ull);
    EXPECT_EQ(CellCoord::FromPacked(0xFFFFFFFB00000003ull), (CellCoord{3, -5}));
}

TEST(MakeCellKey, ShiftsTheSeedAndCoordinatesByTwentyBits) {
    EXPECT_EQ(MakeCellKey(1, 0, 0), 0x0000010000000000ull);
    EXPECT_EQ(MakeCellKey(1, 3, -5), 0x00000100FFCFFFFBull);
    EXPECT_EQ(MakeCellKey(1, -12, -12), 0x000FFEFF00BFFFF4ull);
}

TEST(MakeCellKey, KeepsOnlyTheLowTwentyFourBitsOfTheSeed) {
    EXPECT_EQ(MakeCellKey(0x01000001u, 7, 9), MakeCellKey(1, 7, 9));
    EXPECT_NE(MakeCellKey(0x00800001u, 7, 9), MakeCellKey(1, 7, 9));
}

TEST(RandomStream, FollowsSplitMix64FromStateZero) {
    RandomStream stream{0};
    EXPECT_EQ(stream.Next(), 0xE220A8397B1DCDAFull);
    EXPECT_EQ(stream.Next(), 0x6E789E6AA1B965F4ull);
    EXPECT_EQ(stream.Next(), 0x06C45D188009454Full);
}

TEST(RandomStream, DrawsTheKnownTopBitsForACellKey) {
    RandomStream stream{MakeCellKey(1, -12, -12)};
    const std::uint64_t expected[] = {0x321B8D, 0x552D5C, 0xAFE783, 0x771E61, 0xBBBCD4, 0xFF9604};
    for (const std::uint64_t top : expected) EXPECT_EQ(stream.Next() >> 40, top);
}

TEST(RandomStream, NextFloatScalesTheTopTwentyFourBits) {
    RandomStream stream{MakeCellKey(1, -12, -12)};
    EXPECT_EQ(stream.NextFloat(0.0f, 1.0f), static_cast<float>(0x321B8D) * 0x1p-24f);
    // Each step rounds on its own: ((r * 2^-24) * (hi - lo)) + lo.
    volatile float unit = static_cast<float>(0x552D5C) * 0x1p-24f;
    volatile float span = 4.0f - 0.8f;
    volatile float scaled = unit * span;
    volatile float expected = scaled + 0.8f;
    EXPECT_EQ(stream.NextFloat(0.8f, 4.0f), expected);
}

TEST(RandomStream, NextFloatAdvancesTheStreamByOneStep) {
    RandomStream a{42};
    RandomStream b{42};
    (void)a.NextFloat(0.0f, 10.0f);
    (void)b.Next();
    EXPECT_EQ(a.state, b.state);
}

// The height formula step by step, each result forced to memory so that the test's own build
// cannot fuse or widen anything.
float ReferenceHeight(float x, float z, const ProceduralWorldSettings& settings) {
    volatile float phase = static_cast<float>(settings.seed & 0x3FFu);
    phase = phase * std::bit_cast<float>(0x3EBD70A4u);
    volatile float t1 = x * std::bit_cast<float>(0x3D50E560u);
    volatile float t2 = z * std::bit_cast<float>(0x3C54FDF4u);
    volatile float sa = t1 + t2;
    volatile float a = std::sin(static_cast<float>(sa));
    volatile float t3 = z * std::bit_cast<float>(0x3D408312u);
    volatile float t4 = x * std::bit_cast<float>(0x3C1374BCu);
    volatile float sb = t3 - t4;
    volatile float b = std::sin(static_cast<float>(sb));
    volatile float t5 = x * std::bit_cast<float>(0x3C4985F0u);
    volatile float sc = t5 + phase;
    volatile float c = std::sin(static_cast<float>(sc));
    volatile float t6 = z * std::bit_cast<float>(0x3C2F4F0Eu);
    volatile float sd = t6 - phase;
    volatile float d = std::cos(static_cast<float>(sd));
    volatile float p1 = a * std::bit_cast<float>(0x3E19999Au);
    volatile float p2 = p1 * b;
    volatile float p3 = c * std::bit_cast<float>(0x3E99999Au);
    volatile float p4 = p3 * d;
    volatile float p5 = p4 + std::bit_cast<float>(0x3F000000u);
    volatile float v = p2 + p5;
    float clamped = v;
    if (clamped < 0.0f) clamped = 0.0f;
    if (clamped > 1.0f) clamped = 1.0f;
    volatile float height = clamped * settings.heightScale;
    return height;
}

TEST(SampleHeight, RoundsEveryStepInSinglePrecision) {
    ProceduralWorldSettings settings;
    RandomStream positions{7};
    for (int i = 0; i < 20000; ++i) {
        const float x = positions.NextFloat(-5000.0f, 5000.0f);
        const float z = positions.NextFloat(-5000.0f, 5000.0f);
        settings.seed = static_cast<std::uint32_t>(positions.Next());
        ASSERT_EQ(std::bit_cast<std::uint32_t>(SampleHeight(x, z, settings)),
                  std::bit_cast<std::uint32_t>(ReferenceHeight(x, z, settings)))
            << x << ", " << z << ", seed " << settings.seed;
    }
}

TEST(SampleHeight, StaysWithinZeroAndTheHeightScale) {
    ProceduralWorldSettings settings;
    settings.heightScale = 3.0f;
    float lowest = 3.0f;
    float highest = 0.0f;
    for (int z = -300; z <= 300; z += 3) {
        for (int x = -300; x <= 300; x += 3) {
            const float h = SampleHeight(static_cast<float>(x) * 4.0f, static_cast<float>(z) * 4.0f, settings);
            ASSERT_GE(h, 0.0f);
            ASSERT_LE(h, 3.0f);
            lowest = std::min(lowest, h);
            highest = std::max(highest, h);
        }
    }
    // The terrain is not flat: it spans a good part of its range.
    EXPECT_LT(lowest, 1.0f);
    EXPECT_GT(highest, 2.0f);
}

TEST(SampleHeight, SeedsThatShareTheirLowTenBitsShareTheTerrain) {
    ProceduralWorldSettings one;
    one.seed = 1;
    ProceduralWorldSettings other;
    other.seed = 1025;
    ProceduralWorldSettings different;
    different.seed = 2;
    bool anyDifference = false;
    for (float x = -100.0f; x < 100.0f; x += 7.5f) {
        EXPECT_EQ(SampleHeight(x, 3.0f * x, one), SampleHeight(x, 3.0f * x, other));
        anyDifference = anyDifference || SampleHeight(x, 3.0f * x, one) != SampleHeight(x, 3.0f * x, different);
    }
    EXPECT_TRUE(anyDifference);
    EXPECT_NE(MakeCellKey(1, 0, 0), MakeCellKey(1025, 0, 0));
}

TEST(SampleHeight, ScalesWithTheHeightScale) {
    ProceduralWorldSettings unit;
    unit.heightScale = 1.0f;
    ProceduralWorldSettings eight;
    const float v = SampleHeight(10.0f, 20.0f, unit);
    EXPECT_EQ(SampleHeight(10.0f, 20.0f, eight), v * 8.0f);
}

TEST(MakeProceduralGuid, MatchesTheKnownIdentities) {
    EXPECT_EQ(MakeProceduralGuid(1, -12, -12, 0).ToString(), "ae215754-0f91-5285-9500-4e23a9c78ccb");
    EXPECT_EQ(MakeProceduralGuid(1, -12, -12, 1).ToString(), "ae215654-0f91-50d2-b99f-2429c8715b5a");
}

TEST(MakeProceduralGuid, IsTheNameBasedGuidOfItsText) {
    EXPECT_EQ(MakeProceduralGuid(1, -12, 3, 0), Core::Guid::FromName("brelk-procedural-world:1:-12:3:0"));
    const std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(MakeProceduralGuid(4294967295u, lowest, 2147483647, 4294967295u),
              Core::Guid::FromName("brelk-procedural-world:4294967295:-2147483648:2147483647:4294967295"));
}

TEST(CellNames, WriteSignedCoordinatesWithoutPadding) {
    EXPECT_EQ(CellFileStem({-12, 3}), "cell_-12_3");
    EXPECT_EQ(CellDisplayName({-12, 3}), "-12,3");
    EXPECT_EQ(CellFileStem({0, 0}), "cell_0_0");
    EXPECT_EQ(CellDisplayName({std::numeric_limits<std::int32_t>::min(), 7}), "-2147483648,7");
}

} // namespace
} // namespace Brelk::WorldGen
