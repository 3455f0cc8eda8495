#pragma once

#include "engine/scene/Entity.h"
#include "tools/worldgen/Sampling.h"
#include "tools/worldgen/Settings.h"

#include <cstdint>
#include <vector>

namespace Brelk::Scene {
class Scene;
}

namespace Brelk::WorldGen {

// The built-in assets that every generated cell refers to.
struct CellAssets {
    std::uint64_t cubeMesh = 0;
    std::uint64_t defaultMaterial = 0;
};

// What one cell holds, as made into its scene.
struct CellContent {
    // The cell's own entities in creation order: the terrain, if any, then the props.
    std::vector<Scene::Entity> entities;
    std::uint32_t terrainCount = 0;
};

// Creates the terrain tile (when the resolution is 2 or more) and the props of cell `coord`,
// whose lower corner is at (originX, originZ), in `scene`. Everything made depends on the
// settings and the coordinates alone; `content` is cleared first.
void BuildCellContent(Scene::Scene& scene, CellCoord coord, float originX, float originZ,
                      const ProceduralWorldSettings& settings, const CellAssets& assets, CellContent& content);

} // namespace Brelk::WorldGen
