#pragma once

#include "tools/worldgen/Settings.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace Brelk::Assets {
class AssetManager;
}

namespace Brelk::WorldGen {

// How far a generation has come, as the calling thread sees it between its cells.
struct GenerationProgress {
    std::uint64_t cellsDone = 0;
    std::uint64_t cellsTotal = 0;
    std::uint64_t bytesWritten = 0;
};

using GenerationProgressFn = std::function<void(const GenerationProgress&)>;

// Generates the whole world: builds every cell of the grid (z outer and x inner, each from
// -(cells / 2)) as a scene of its own and writes it, on the workers of the current task
// system with the calling thread helping, at most one cell per thread in memory. The cells go
// into a staging folder beside the cells folder; only when all stand is the old cells folder
// moved aside, the staging folder renamed into its place and the world asset written, then
// the old folder removed. The world is registered as a World asset. Every output is the same
// for any number of workers.
//
// False with the reason in `error` (may be null) when anything fails: the message of the
// first failing cell in grid order, as a run on one thread would give it. The staging folder
// is removed and the previous cells and world asset are left as they were. An exception of a
// cell is rethrown after the cells in flight are done. `result` (may be null) receives the
// figures of the summary; `progress` (may be empty) is called on the calling thread only.
[[nodiscard]] bool GenerateProceduralWorld(Assets::AssetManager& assetManager, const std::filesystem::path& worldPath,
                                           const ProceduralWorldSettings& settings, WorldGenerationResult* result,
                                           std::string* error, const GenerationProgressFn& progress = {});

// The sibling folders of a run: the new cells while they are written, and the old ones for
// the moment of the swap. Left-overs of a killed run are removed by the next one.
std::filesystem::path StagingCellsFolder(const std::filesystem::path& worldPath);
std::filesystem::path RetiredCellsFolder(const std::filesystem::path& worldPath);

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
