#include "tools/worldgen/WorldGenerator.h"

#include "engine/assets/AssetManager.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"
#include "engine/scene/InstallComponents.h"
#include "tools/worldgen/CellRun.h"
#include "tools/worldgen/WorldAsset.h"

#include <exception>
#include <system_error>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;

fs::path Sibling(const fs::path& folder, std::string_view suffix) {
    fs::path sibling = folder;
    sibling += suffix;
    return sibling;
}

// Moves the new cells in place of the old ones and writes the world asset. From the first
// rename to the asset's own rename a reader may find no cells folder, or the new cells beside
// the old asset; any failure in between puts the old folder back.
bool SwapInCells(const fs::path& worldPath, const WorldAsset& world, std::string* error) {
    const fs::path cells = CellsFolder(worldPath);
    const fs::path staging = StagingCellsFolder(worldPath);
    const fs::path retired = RetiredCellsFolder(worldPath);
    std::error_code ec;
    const bool hadCells = fs::exists(cells, ec);
    if (hadCells) {
        fs::rename(cells, retired, ec);
        if (ec) {
            SetError(error, "Cannot replace " + Platform::PathToUtf8(cells) + ": " + ec.message());
            return false;
        }
    }
    fs::rename(staging, cells, ec);
    const bool installed = !ec;
    if (!installed) SetError(error, "Cannot replace " + Platform::PathToUtf8(cells) + ": " + ec.message());
    if (installed && WriteWorldAsset(worldPath, world, error)) {
        fs::remove_all(retired, ec);
        return true;
    }
    if (installed) fs::rename(cells, staging, ec);
    if (hadCells) fs::rename(retired, cells, ec);
    return false;
}

} // namespace

fs::path StagingCellsFolder(const fs::path& worldPath) {
    return Sibling(CellsFolder(worldPath), ".staging");
}

fs::path RetiredCellsFolder(const fs::path& worldPath) {
    return Sibling(CellsFolder(worldPath), ".old");
}

bool GenerateProceduralWorld(Assets::AssetManager& assetManager, const fs::path& worldPath,
                             const ProceduralWorldSettings& settings, WorldGenerationResult* result,
                             std::string* error, const GenerationProgressFn& progress) {
    if (settings.cellsX < 1 || settings.cellsZ < 1 || !(settings.cellSize > 0.0f)) {
        SetError(error, "The world needs at least one cell and a positive cell size.");
        return false;
    }
    Scene::InstallComponents();

    // A killed run may have left either sibling behind; neither holds anything to keep.
    const fs::path staging = StagingCellsFolder(worldPath);
    std::error_code ec;
    fs::remove_all(staging, ec);
    fs::remove_all(RetiredCellsFolder(worldPath), ec);
    ec.clear();
    fs::create_directories(staging, ec);
    if (ec) {
        SetError(error, "Cannot create " + Platform::PathToUtf8(CellsFolder(worldPath)) + ": " + ec.message());
        return false;
    }

    CellRunPlan plan;
    plan.settings = &settings;
    plan.assetManager = &assetManager;
    plan.assets = CellAssets{assetManager.GetBuiltinCube(), assetManager.GetBuiltinDefaultMaterial()};
    plan.cellSize = settings.cellSize;
    plan.folder = staging;
    CellRunOutcome outcome;
    try {
        outcome = RunCells(plan, progress);
    } catch (...) {
        fs::remove_all(staging, ec);
        throw;
    }
    if (!outcome.Succeeded()) {
        fs::remove_all(staging, ec);
        if (outcome.exception) std::rethrow_exception(outcome.exception);
        SetError(error, std::move(outcome.error));
        return false;
    }

    WorldAsset world;
    world.cellSize = settings.cellSize;
    world.cells = std::move(outcome.entries);
    if (!SwapInCells(worldPath, world, error)) {
        fs::remove_all(staging, ec);
        return false;
    }
    (void)assetManager.GetRegistry().RegisterFile(Assets::AssetType::World, worldPath);

    if (result != nullptr) {
        result->worldPath = worldPath;
        result->cellCount = static_cast<std::uint32_t>(world.cells.size());
        result->entityCount = 0;
        result->residentBytes = 0;
        for (const WorldCellEntry& entry : world.cells) {
            result->entityCount += entry.entityCount;
            result->residentBytes += ResidentEstimate(entry.entityCount, entry.fileBytes);
        }
        result->cellFileBytes = TotalCellFileBytes(world);
    }
    return true;
}

} // namespace Brelk::WorldGen
