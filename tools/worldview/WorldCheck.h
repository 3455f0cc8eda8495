#pragma once

#include "tools/worldgen/CellPayload.h"
#include "tools/worldgen/WorldAsset.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Brelk::WorldView {

// Problems kept word for word; beyond them only the count rises.
inline constexpr std::size_t kMaxReportedProblems = 100;
// A cell file larger than this is refused before it is read.
inline constexpr std::uint64_t kMaxCellFileBytes = std::uint64_t{1} << 28;

// What a check of a world found.
struct WorldCheckReport {
    std::uint32_t cellCount = 0;      // cells listed in the world asset
    std::uint64_t entityCount = 0;    // entities of the cells that parsed, children included
    std::uint64_t fileBytes = 0;      // bytes of the cell files that could be read
    std::uint64_t estimatedBytes = 0; // sum of the parsed payloads' memory estimates
    // The first kMaxReportedProblems, each "<cell> (<x>, <z>): <what>": the listed cells' in
    // the world asset's order, then the cells folder's unlisted files by name.
    std::vector<std::string> problems;
    std::uint64_t problemCount = 0;
};

// Called on a worker thread with each listed cell once it is checked: with its payload when
// it parsed, with null when it could not be read or parsed. Calls for different cells may
// run at the same time. A std::exception it throws becomes a problem of that cell.
using CellVisitor = std::function<void(const WorldGen::WorldCellEntry& cell, WorldGen::CellPayload* payload)>;

// "cell_-1_0 (-1, 0): " with `what` behind it.
std::string CellProblem(WorldGen::CellCoord coord, std::string_view what);

// Checks one listed cell file against its row: that it exists, that its size agrees, that it
// parses (text or cooked), and that its top-level entities and its terrain agree. Appends
// its problems and adds its figures to `report`, which belongs to the caller's thread.
void CheckCellFile(const std::filesystem::path& path, const WorldGen::WorldCellEntry& cell,
                   const CellVisitor& visitor, WorldCheckReport& report);

// Checks every cell that `world` (read from `worldPath`) lists, one task per cell on the
// current task system's workers with at most `maxInFlight` cells read at once (0: twice the
// threads that work), then looks for files in the cells folder that the world does not list.
// Throws only what the task system throws (std::bad_alloc and the like).
void CheckWorldCells(const std::filesystem::path& worldPath, const WorldGen::WorldAsset& world,
                     const CellVisitor& visitor, WorldCheckReport& report, std::size_t maxInFlight = 0);

} // namespace Brelk::WorldView
