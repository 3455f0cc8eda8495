#pragma once

#include "tools/worldgen/Sampling.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

namespace Brelk::WorldGen {

// `fileBytes` of a cell whose file size could not be read.
inline constexpr std::uint64_t kUnknownCellFileBytes = ~std::uint64_t{0};

// One row of the world asset: what a streaming system wants to know of a cell before it
// opens the cell's file.
struct WorldCellEntry {
    CellCoord coord;
    std::uint32_t entityCount = 0; // the cell's own entities; children are not counted
    std::uint64_t fileBytes = 0;
    std::uint32_t terrainCount = 0; // 1 when the cell holds a terrain entity
    bool hasNavigation = false;

    friend bool operator==(const WorldCellEntry&, const WorldCellEntry&) = default;
};

// The index of a streamable world, stored as a ".bworld" text file. The cell files are not
// named in it: they follow from the world's path and the coordinates (CellFilePath).
struct WorldAsset {
    float cellSize = 64.0f; // metres
    float originX = 0.0f;   // world X of the lower corner of cell (0, 0)
    float originZ = 0.0f;
    bool navigation = false;
    std::vector<WorldCellEntry> cells;

    friend bool operator==(const WorldAsset&, const WorldAsset&) = default;
};

// Grid arithmetic, single precision with every step rounded on its own. Results are
// (worldX, worldZ) in x and y.
glm::vec2 CellOrigin(const WorldAsset& world, CellCoord coord) noexcept;
glm::vec2 CellOuterCorner(const WorldAsset& world, CellCoord coord) noexcept;
// The cell under a position; Y is not read. Rounds towards minus infinity, so -0.5 lies in
// cell -1. Coordinates beyond the 32-bit range saturate, and NaN gives 0.
CellCoord CellAt(const WorldAsset& world, const glm::vec3& position) noexcept;
// Distance in the XZ plane to the nearest point of the cell; 0 inside it.
float DistanceToCell(const WorldAsset& world, CellCoord coord, const glm::vec3& position) noexcept;
// Sum of `fileBytes`, modulo 2^64.
std::uint64_t TotalCellFileBytes(const WorldAsset& world) noexcept;

// "Foo.bworld" keeps its cells in "Foo.bworld.cells" beside it.
std::filesystem::path CellsFolder(const std::filesystem::path& worldPath);
// <CellsFolder>/<CellFileStem>.bcell
std::filesystem::path CellFilePath(const std::filesystem::path& worldPath, CellCoord coord);

// Orders cells by z, then x, as signed values: the order of the file. Rows with the same
// coordinates keep their relative order.
void SortCells(std::vector<WorldCellEntry>& cells);

// The file's text, with its cells in file order whatever their order in memory.
std::string FormatWorldAssetText(const WorldAsset& world);

// Writes the file atomically: after false, an earlier file at `path` is untouched.
[[nodiscard]] bool WriteWorldAsset(const std::filesystem::path& path, const WorldAsset& world, std::string* error);

// Reads the file. On every failure `world` is left at its defaults, never half filled.
[[nodiscard]] bool ReadWorldAsset(const std::filesystem::path& path, WorldAsset& world, std::string* error);

// The reader's grammar over bytes already in memory; `sourceName` stands for the path in
// messages ("Not a world file: <sourceName>", "Invalid world file <sourceName> at line N.").
[[nodiscard]] bool ParseWorldAssetText(std::string_view text, std::string_view sourceName, WorldAsset& world,
                                       std::string* error);

} // namespace Brelk::WorldGen
