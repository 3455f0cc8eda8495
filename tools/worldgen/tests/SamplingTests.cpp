#include "tools/worldgen/Sampling.h"

#include <gtest/gtest.h>

#include <bit>
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
    EXPECT_EQ(std::bit_cast<std::uint32_t>(stream.NextFloat(0.8f, 4.0f)), 0x3FEEAEFAu);
    RandomStream a{42};
    RandomStream b{42};
    (void)a.NextFloat(0.0f, 10.0f);
    (void)b.Next();
    EXPECT_EQ(a.state, b.state);
}

// Pinned bit for bit: every step of the formula is rounded in single precision, so any change
// to a constant, an order of operations or a fused step moves at least one of these.
TEST(SampleHeight, GivesTheKnownHeightsForAnySeedAndScale) {
    const struct {
        float x, z;
        std::uint32_t seed;
        float heightScale;
        std::uint32_t heightBits;
    } table[] = {
        {0.0f, 0.0f, 1, 8.0f, 0x4099E485u},          {-4999.5f, 4321.25f, 0xDEADBEEFu, 19.5f, 0x41371F01u},
        {12.75f, -3.5f, 1023, 0.5f, 0x3E762C51u},     {2500.0f, 2500.0f, 1024, 8.0f, 0x4087F5F9u},
        {-131.0f, 77.0f, 7, 1.0f, 0x3EBBDBF4u},
    };
    for (const auto& row : table) {
        ProceduralWorldSettings settings;
        settings.seed = row.seed;
        settings.heightScale = row.heightScale;
        EXPECT_EQ(std::bit_cast<std::uint32_t>(SampleHeight(row.x, row.z, settings)), row.heightBits)
            << row.x << ", " << row.z << ", seed " << row.seed;
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
