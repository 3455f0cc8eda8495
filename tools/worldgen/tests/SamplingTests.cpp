#include "tools/worldgen/Sampling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Brelk::WorldGen {
namespace {

TEST(CellKeys, PackCoordinatesAndShiftTheLow24SeedBits) {
    EXPECT_EQ((CellCoord{-1, 2}.Packed()), 0x00000002FFFFFFFFull);
    EXPECT_EQ((CellCoord{3, -5}.Packed()), 0xFFFFFFFB00000003ull);
    EXPECT_EQ(CellCoord::FromPacked(0xFFFFFFFB00000003ull), (CellCoord{3, -5}));
    EXPECT_EQ(MakeCellKey(1, 0, 0), 0x0000010000000000ull);
    EXPECT_EQ(MakeCellKey(1, 3, -5), 0x00000100FFCFFFFBull);
    EXPECT_EQ(MakeCellKey(1, -12, -12), 0x000FFEFF00BFFFF4ull);
    EXPECT_EQ(MakeCellKey(0x01000001u, 7, 9), MakeCellKey(1, 7, 9));
    EXPECT_NE(MakeCellKey(0x00800001u, 7, 9), MakeCellKey(1, 7, 9));
    EXPECT_NE(MakeCellKey(1, 0, 0), MakeCellKey(1025, 0, 0));
}

TEST(RandomStream, FollowsSplitMix64AndDrawsTheKnownTopBitsForACellKey) {
    RandomStream zero{0};
    for (const std::uint64_t value : {0xE220A8397B1DCDAFull, 0x6E789E6AA1B965F4ull, 0x06C45D188009454Full})
        EXPECT_EQ(zero.Next(), value);
    RandomStream stream{MakeCellKey(1, -12, -12)};
    for (const std::uint64_t top : {0x321B8Du, 0x552D5Cu, 0xAFE783u, 0x771E61u, 0xBBBCD4u, 0xFF9604u})
        EXPECT_EQ(stream.Next() >> 40, top);
}

TEST(RandomStream, NextFloatScalesTheTopTwentyFourBitsInOneStep) {
    RandomStream stream{MakeCellKey(1, -12, -12)};
    EXPECT_EQ(stream.NextFloat(0.0f, 1.0f), static_cast<float>(0x321B8D) * 0x1p-24f);
    // Each step rounds on its own: ((r * 2^-24) * (hi - lo)) + lo.
    volatile float unit = static_cast<float>(0x552D5C) * 0x1p-24f;
    volatile float span = 4.0f - 0.8f;
    volatile float scaled = unit * span;
    volatile float expected = scaled + 0.8f;
    EXPECT_EQ(stream.NextFloat(0.8f, 4.0f), expected);
    RandomStream a{42};
    RandomStream b{42};
    (void)a.NextFloat(0.0f, 10.0f);
    (void)b.Next();
    EXPECT_EQ(a.state, b.state);
}

// Forces a float to memory so that the test's own build cannot fuse or widen a step.
float R(float value) {
    volatile float stored = value;
    return stored;
}

float K(std::uint32_t bits) { return std::bit_cast<float>(bits); }

// The height formula step by step, each step rounded in single precision.
float ReferenceHeight(float x, float z, const ProceduralWorldSettings& settings) {
    const float phase = R(static_cast<float>(settings.seed & 0x3FFu) * K(0x3EBD70A4u));
    const float a = R(std::sin(R(R(x * K(0x3D50E560u)) + R(z * K(0x3C54FDF4u)))));
    const float b = R(std::sin(R(R(z * K(0x3D408312u)) - R(x * K(0x3C1374BCu)))));
    const float c = R(std::sin(R(R(x * K(0x3C4985F0u)) + phase)));
    const float d = R(std::cos(R(R(z * K(0x3C2F4F0Eu)) - phase)));
    const float v = R(R(R(a * K(0x3E19999Au)) * b) + R(R(R(c * K(0x3E99999Au)) * d) + K(0x3F000000u)));
    return R(std::clamp(v, 0.0f, 1.0f) * settings.heightScale);
}

TEST(SampleHeight, RoundsEveryStepInSinglePrecisionForAnySeedAndScale) {
    ProceduralWorldSettings settings;
    RandomStream positions{7};
    for (int i = 0; i < 20000; ++i) {
        const float x = positions.NextFloat(-5000.0f, 5000.0f);
        const float z = positions.NextFloat(-5000.0f, 5000.0f);
        settings.seed = static_cast<std::uint32_t>(positions.Next());
        settings.heightScale = positions.NextFloat(0.5f, 20.0f);
        ASSERT_EQ(std::bit_cast<std::uint32_t>(SampleHeight(x, z, settings)),
                  std::bit_cast<std::uint32_t>(ReferenceHeight(x, z, settings)))
            << x << ", " << z << ", seed " << settings.seed;
    }
}

TEST(SampleHeight, SeedsThatShareTheirLowTenBitsShareTheTerrain) {
    ProceduralWorldSettings one;
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
}

TEST(ProceduralNames, MatchTheKnownGuidsAndCellNames) {
    EXPECT_EQ(MakeProceduralGuid(1, -12, -12, 0).ToString(), "ae215754-0f91-5285-9500-4e23a9c78ccb");
    EXPECT_EQ(MakeProceduralGuid(1, -12, -12, 1).ToString(), "ae215654-0f91-50d2-b99f-2429c8715b5a");
    EXPECT_EQ(MakeProceduralGuid(1, -12, 3, 0), Core::Guid::FromName("brelk-procedural-world:1:-12:3:0"));
    const std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(MakeProceduralGuid(4294967295u, lowest, 2147483647, 4294967295u),
              Core::Guid::FromName("brelk-procedural-world:4294967295:-2147483648:2147483647:4294967295"));
    EXPECT_EQ(CellFileStem({-12, 3}), "cell_-12_3");
    EXPECT_EQ(CellFileStem({0, 0}), "cell_0_0");
    EXPECT_EQ(CellDisplayName({-12, 3}), "-12,3");
    EXPECT_EQ(CellDisplayName({lowest, 7}), "-2147483648,7");
}

} // namespace
} // namespace Brelk::WorldGen
