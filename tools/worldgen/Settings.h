#pragma once

#include <cstdint>
#include <filesystem>

namespace Brelk::WorldGen {

// What the command line asks of a generated world. Everything generated is a function of
// these values and the cell coordinates.
struct ProceduralWorldSettings {
    std::int32_t cellsX = 24;
    std::int32_t cellsZ = 24;
    float cellSize = 64.0f; // metres
    std::uint32_t seed = 1;
    std::uint32_t propsPerCell = 40;
    std::uint32_t terrainResolution = 33; // samples along one side
    float heightScale = 8.0f;             // metres
    bool generateColliders = true;
};

// The figures of a finished run, for the summary line.
struct WorldGenerationResult {
    std::filesystem::path worldPath;
    std::uint32_t cellCount = 0;
    std::uint64_t entityCount = 0;   // entities in all cell files together
    std::uint64_t cellFileBytes = 0; // sum of the sizes of all cell files
    std::uint64_t residentBytes = 0; // sum of the per-cell resident estimates
};

} // namespace Brelk::WorldGen
