#pragma once

#include "tools/worldgen/CellPayload.h"

#include <cstdint>
#include <string>
#include <vector>

#include <glm/vec3.hpp>

namespace Brelk::Scene {
class ComponentLoadTable;
}

namespace Brelk::WorldView {

// A terrain as the picture needs it: where its height field lies and its heights in metres.
struct TerrainTile {
    float minX = 0.0f; // world X of the first column
    float minZ = 0.0f; // world Z of the first row
    float width = 0.0f;
    float length = 0.0f;
    std::uint32_t resolutionX = 0;
    std::uint32_t resolutionZ = 0;
    std::vector<float> heights; // row by row, rows along Z; world heights
};

// What of a cell shows from above: its terrains and the world position of every other entity.
struct CellDrawing {
    std::vector<TerrainTile> terrains;
    std::vector<glm::vec3> props;
};

// Loads the transform and terrain components of every entity of a parsed cell through the
// engine's component load path (upgrades of old records included) and places them in the
// world through their parents. Asset references are not resolved: a picture needs none.
// Throws std::runtime_error "<entity name>: <message>" when a component does not load.
// Moves the records it reads out of `payload`.
void ExtractCellDrawing(WorldGen::CellPayload& payload, const Scene::ComponentLoadTable& table, CellDrawing& drawing);

} // namespace Brelk::WorldView
