#pragma once

#include "engine/core/Guid.h"
#include "tools/worldgen/Settings.h"

#include <cstdint>
#include <string>

namespace Brelk::WorldGen {

// Place of a cell in the grid. Cell (0, 0) has its lower corner at the world's origin and
// cells grow towards positive X and Z.
struct CellCoord {
    std::int32_t x = 0;
    std::int32_t z = 0;

    // As one value: x in the low 32 bits, z in the high 32 bits.
    constexpr std::uint64_t Packed() const noexcept {
        return static_cast<std::uint64_t>(static_cast<std::uint32_t>(x)) |
               (static_cast<std::uint64_t>(static_cast<std::uint32_t>(z)) << 32);
    }
    static constexpr CellCoord FromPacked(std::uint64_t packed) noexcept {
        return CellCoord{static_cast<std::int32_t>(static_cast<std::uint32_t>(packed)),
                         static_cast<std::int32_t>(static_cast<std::uint32_t>(packed >> 32))};
    }

    friend constexpr bool operator==(const CellCoord&, const CellCoord&) = default;
};

// The seed of a cell's stream: (((seed << 20) ^ u32(x)) << 20) ^ u32(z), with no further
// mixing. Only the low 24 bits of the seed survive, and the fields overlap, so a negative
// coordinate flips bits of the field above it. Generated files depend on every bit of this.
constexpr std::uint64_t MakeCellKey(std::uint32_t seed, std::int32_t x, std::int32_t z) noexcept {
    std::uint64_t key = static_cast<std::uint64_t>(seed) << 20;
    key ^= static_cast<std::uint32_t>(x);
    key <<= 20;
    key ^= static_cast<std::uint32_t>(z);
    return key;
}

// SplitMix64. A stream belongs to one cell and starts at that cell's key, so cells can be
// made in any order with the same result.
struct RandomStream {
    std::uint64_t state = 0;

    constexpr std::uint64_t Next() noexcept {
        state += 0x9E3779B97F4A7C15ull;
        std::uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }

    // One Next() mapped into [lo, hi): (top 24 bits * 2^-24) * (hi - lo) + lo in single
    // precision, every step rounded on its own. `hi` is reached only if that last rounding
    // lands on it.
    float NextFloat(float lo, float hi) noexcept;
    // The same draw named by its low end and a span given in single precision. Cell content
    // names its ranges this way; recomputing the span as (lo + span) - lo could round away
    // from it.
    float NextFloatInSpan(float lo, float span) noexcept;
};

// Terrain height in metres at a world position, in [0, heightScale]. Reads only `seed`
// (its low 10 bits) and `heightScale`, so neighbouring cells agree along shared edges.
// Strict single precision with the C library's sinf and cosf.
float SampleHeight(float worldX, float worldZ, const ProceduralWorldSettings& settings) noexcept;

// The name-based Guid of entity `index` of a cell, from the text
// "brelk-procedural-world:<seed>:<x>:<z>:<index>", so a regenerated world keeps the
// identity of its entities.
Core::Guid MakeProceduralGuid(std::uint32_t seed, std::int32_t x, std::int32_t z, std::uint32_t index) noexcept;

// "cell_<x>_<z>", such as "cell_-12_3".
std::string CellFileStem(CellCoord coord);
// "<x>,<z>", such as "-12,3".
std::string CellDisplayName(CellCoord coord);

} // namespace Brelk::WorldGen
