#pragma once

#include "tools/worldgen/Settings.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace Brelk::Assets {
class AssetManager;
}

namespace Brelk::WorldGen {

// Generates the whole world: walks the grid, z outer and x inner, each from -(cells / 2),
// builds every cell as a scene of its own, writes it into a freshly wiped cells folder beside
// `worldPath` and throws the scene away before the next, so one cell at most is in memory.
// Then writes the world asset and registers it as a World asset. True when all of it is on
// disk; false with the reason in `error` (may be null), leaving the cells written so far.
// `result` (may be null) receives the figures of the summary.
[[nodiscard]] bool GenerateProceduralWorld(Assets::AssetManager& assetManager, const std::filesystem::path& worldPath,
                                           const ProceduralWorldSettings& settings, WorldGenerationResult* result,
                                           std::string* error);

// First coordinate of a grid of `cells` along one axis: -(cells / 2), so that 24 cells run
// from -12 to 11 and 5 cells from -2 to 2.
constexpr std::int32_t GridStart(std::int32_t cells) noexcept {
    return -(cells / 2);
}

// The summary's figure of what a loaded cell costs: 512 bytes for every entity plus the
// file's bytes, doubled. Only reported, never compared with the budget.
constexpr std::uint64_t ResidentEstimate(std::uint64_t entityCount, std::uint64_t fileBytes) noexcept {
    return ((entityCount << 9) + fileBytes) * 2;
}

} // namespace Brelk::WorldGen
