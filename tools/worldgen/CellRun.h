#pragma once

#include "tools/worldgen/CellContent.h"
#include "tools/worldgen/WorldAsset.h"
#include "tools/worldgen/WorldGenerator.h"

#include <exception>
#include <filesystem>
#include <string>
#include <vector>

namespace Brelk::Assets {
class AssetManager;
}

namespace Brelk::WorldGen {

// What every cell of a run shares: read by all threads, changed by none.
struct CellRunPlan {
    const ProceduralWorldSettings* settings = nullptr;
    const Assets::AssetManager* assetManager = nullptr;
    CellAssets assets;
    float cellSize = 1.0f;
    std::filesystem::path folder; // where the cell files go
};

struct CellRunOutcome {
    // Every cell in grid order when the run succeeded; otherwise undefined.
    std::vector<WorldCellEntry> entries;
    // The first failure in grid order: a message, or an exception that a cell threw.
    std::string error;
    std::exception_ptr exception;

    bool Succeeded() const noexcept { return error.empty() && !exception; }
};

// Builds and writes the cells of the plan's grid on the workers of the current task system
// (one runner per worker) and on the calling thread, handing them out in grid order, one
// cell per runner at a time. After a failure no new cell is handed out; the cells already
// handed out, all of which precede any later failure in grid order, still finish, so the
// failure kept is the one a single thread would have met first. `progress` is called by the
// calling thread after each of its cells.
CellRunOutcome RunCells(const CellRunPlan& plan, const GenerationProgressFn& progress);

} // namespace Brelk::WorldGen
