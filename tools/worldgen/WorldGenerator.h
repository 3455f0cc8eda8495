#pragma once

#include "tools/worldgen/Settings.h"

#include <filesystem>
#include <string>

namespace Brelk::WorldGen {

// Generates the world: walks the grid with z outer and x inner, both ascending from
// -(cells / 2), into a freshly wiped cells folder beside `worldPath`, then writes the world
// asset that lists every cell. True when all of it is on disk; false with the reason in
// `error` (may be null). `result` (may be null) receives the figures of the summary.
[[nodiscard]] bool GenerateProceduralWorld(const std::filesystem::path& worldPath,
                                           const ProceduralWorldSettings& settings, WorldGenerationResult* result,
                                           std::string* error);

// First coordinate of a grid of `cells` along one axis: -(cells / 2), so that 24 cells run
// from -12 to 11 and 5 cells from -2 to 2.
constexpr std::int32_t GridStart(std::int32_t cells) noexcept {
    return -(cells / 2);
}

} // namespace Brelk::WorldGen
