#include "tools/worldgen/Sampling.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>

namespace Brelk::WorldGen {
namespace {

// The golden world pins seed 7 through every cell key, draw and name it makes; these pin the
// seed bits that survive, other scales, and the extremes of the names.
TEST(CellKeys, PackCoordinatesAndKeepOnlyTheLow24SeedBits) {
    EXPECT_EQ((CellCoord{3, -5}.Packed()), 0xFFFFFFFB00000003ull);
    EXPECT_EQ(CellCoord::FromPacked(0xFFFFFFFB00000003ull), (CellCoord{3, -5}));
    EXPECT_EQ(MakeCellKey(0x01000001u, 7, 9), MakeCellKey(1, 7, 9));
    EXPECT_NE(MakeCellKey(0x00800001u, 7, 9), MakeCellKey(1, 7, 9));
}

// The cells draw by low end and span; the draw between two ends rounds its span first.
TEST(RandomStream, NextFloatDrawsOverTheSpanBetweenItsEnds) {
    RandomStream stream{MakeCellKey(1, -12, -12)};
    EXPECT_EQ(stream.NextFloat(0.0f, 1.0f), static_cast<float>(0x321B8D) * 0x1p-24f);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(stream.NextFloat(0.8f, 4.0f)), 0x3FEEAEFAu);
}

// Pinned bit for bit: every step of the formula is rounded in single precision, so any change
// to a constant, an order of operations or a fused step moves at least one of these. Seeds
// 1023 and 1024 differ above the ten bits the terrain reads, 0xDEADBEEF far above.
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

TEST(ProceduralNames, NameGuidsAndCellsAtTheExtremes) {
    const std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(MakeProceduralGuid(4294967295u, lowest, 2147483647, 4294967295u),
              Core::Guid::FromName("brelk-procedural-world:4294967295:-2147483648:2147483647:4294967295"));
    EXPECT_EQ(CellDisplayName({lowest, 7}), "-2147483648,7");
}

} // namespace
} // namespace Brelk::WorldGen
