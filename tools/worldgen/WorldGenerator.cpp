#include "tools/worldgen/WorldGenerator.h"

#include "engine/assets/AssetManager.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/platform/Files.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "tools/worldgen/CellContent.h"
#include "tools/worldgen/CellFile.h"
#include "tools/worldgen/WorldAsset.h"

#include <algorithm>
#include <system_error>

namespace Brelk::WorldGen {
namespace {

// Enough room for the entries of any sensible grid up front; a larger one grows as it goes.
constexpr std::uint64_t kMaxReservedCells = 1u << 20;

void SetError(std::string* error, std::string message) {
    if (error != nullptr) *error = std::move(message);
}

} // namespace

bool GenerateProceduralWorld(Assets::AssetManager& assetManager, const std::filesystem::path& worldPath,
                             const ProceduralWorldSettings& settings, WorldGenerationResult* result,
                             std::string* error) {
    if (settings.cellsX < 1 || settings.cellsZ < 1 || !(settings.cellSize > 0.0f)) {
        SetError(error, "The world needs at least one cell and a positive cell size.");
        return false;
    }
    Scene::InstallComponents();

    // No cell of an earlier run may survive next to the new world asset.
    const std::filesystem::path cellsFolder = CellsFolder(worldPath);
    std::error_code ec;
    std::filesystem::remove_all(cellsFolder, ec);
    ec.clear();
    std::filesystem::create_directories(cellsFolder, ec);
    if (ec) {
        SetError(error, "Cannot create " + Platform::PathToUtf8(cellsFolder) + ": " + ec.message());
        return false;
    }

    const CellAssets assets{assetManager.GetBuiltinCube(), assetManager.GetBuiltinDefaultMaterial()};
    WorldAsset world;
    world.cellSize = settings.cellSize;
    const std::uint64_t plannedCells =
        static_cast<std::uint64_t>(settings.cellsX) * static_cast<std::uint64_t>(settings.cellsZ);
    world.cells.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(plannedCells, kMaxReservedCells)));

    const std::int32_t minX = GridStart(settings.cellsX);
    const std::int32_t minZ = GridStart(settings.cellsZ);
    std::uint64_t entityCount = 0;
    std::uint64_t residentBytes = 0;
    CellContent content;
    std::string cellText;
    for (std::int32_t row = 0; row < settings.cellsZ; ++row) {
        for (std::int32_t column = 0; column < settings.cellsX; ++column) {
            WorldCellEntry entry;
            entry.coord = CellCoord{minX + column, minZ + row};
            const glm::vec2 origin = CellOrigin(world, entry.coord);

            Scene::Scene scene;
            BuildCellContent(scene, entry.coord, origin.x, origin.y, settings, assets, content);
            entry.entityCount = static_cast<std::uint32_t>(content.entities.size());
            entry.terrainCount = content.terrainCount;

            const std::filesystem::path cellPath = cellsFolder / (CellFileStem(entry.coord) + ".bcell");
            if (!WriteCellFile(cellPath, scene, content.entities, assetManager, error, cellText)) return false;
            const std::uintmax_t size = std::filesystem::file_size(cellPath, ec);
            entry.fileBytes = ec ? kUnknownCellFileBytes : static_cast<std::uint64_t>(size);

            entityCount += entry.entityCount;
            residentBytes += ResidentEstimate(entry.entityCount, entry.fileBytes);
            world.cells.push_back(entry);
        }
    }

    if (!WriteWorldAsset(worldPath, world, error)) return false;
    (void)assetManager.GetRegistry().RegisterFile(Assets::AssetType::World, worldPath);

    if (result != nullptr) {
        result->worldPath = worldPath;
        result->cellCount = static_cast<std::uint32_t>(world.cells.size());
        result->entityCount = entityCount;
        result->cellFileBytes = TotalCellFileBytes(world);
        result->residentBytes = residentBytes;
    }
    return true;
}

} // namespace Brelk::WorldGen
