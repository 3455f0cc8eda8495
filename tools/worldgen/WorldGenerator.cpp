#include "tools/worldgen/WorldGenerator.h"

#include "engine/platform/Files.h"
#include "tools/worldgen/WorldAsset.h"

#include <algorithm>
#include <system_error>

namespace Brelk::WorldGen {

namespace {

constexpr std::uint64_t kMaxReservedCells = 1u << 20;

void SetError(std::string* error, std::string message) {
    if (error != nullptr) *error = std::move(message);
}

// The summary's figure of what a loaded cell costs: 512 bytes for every entity plus the
// file's bytes, doubled. Only reported, never compared with the budget.
std::uint64_t ResidentEstimate(std::uint64_t entityCount, std::uint64_t fileBytes) noexcept {
    return ((entityCount << 9) + fileBytes) * 2;
}

} // namespace

bool GenerateProceduralWorld(const std::filesystem::path& worldPath, const ProceduralWorldSettings& settings,
                             WorldGenerationResult* result, std::string* error) {
    if (settings.cellsX < 1 || settings.cellsZ < 1 || !(settings.cellSize > 0.0f)) {
        SetError(error, "The world needs at least one cell and a positive cell size.");
        return false;
    }

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

    WorldAsset world;
    world.cellSize = settings.cellSize;
    // A grid too large for memory fails when it grows too large, as the cells are made, not up front.
    const std::uint64_t plannedCells =
        static_cast<std::uint64_t>(settings.cellsX) * static_cast<std::uint64_t>(settings.cellsZ);
    world.cells.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(plannedCells, kMaxReservedCells)));

    const bool hasTerrain = settings.terrainResolution >= 2;
    const std::int32_t minX = GridStart(settings.cellsX);
    const std::int32_t minZ = GridStart(settings.cellsZ);
    std::uint64_t entityCount = 0;
    std::uint64_t residentBytes = 0;
    for (std::int32_t row = 0; row < settings.cellsZ; ++row) {
        for (std::int32_t column = 0; column < settings.cellsX; ++column) {
            WorldCellEntry entry;
            entry.coord = CellCoord{minX + column, minZ + row};
            entry.terrainCount = hasTerrain ? 1u : 0u;
            entry.entityCount = settings.propsPerCell + entry.terrainCount;
            entityCount += entry.entityCount;
            residentBytes += ResidentEstimate(entry.entityCount, entry.fileBytes);
            world.cells.push_back(entry);
        }
    }

    if (!WriteWorldAsset(worldPath, world, error)) return false;

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
