#pragma once

#include "engine/scene/components/ComponentEnums.h"

#include <glm/vec4.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Brelk::Scene {

struct TerrainLayer {
    std::string name = "Layer";
    std::uint64_t albedoTexture = 0;
    std::uint64_t normalTexture = 0;
    std::uint64_t material = 0;
    glm::vec4 tint{1.0f, 1.0f, 1.0f, 1.0f};
    float tiling = 8.0f;
    GameplayLayer surfaceLayer = GameplayLayer::Floor;

    friend bool operator==(const TerrainLayer&, const TerrainLayer&) = default;
};

// Declares how many values the chunk records of one terrain will deliver.
struct TerrainSampleCounts {
    std::uint64_t heights = 0;
    std::uint64_t layerWeights = 0;

    friend bool operator==(const TerrainSampleCounts&, const TerrainSampleCounts&) = default;
};

// Up to a record's array limit of values of one sample array, placed at `offset`.
struct TerrainSampleChunk {
    TerrainSampleKind kind = TerrainSampleKind::Heights;
    std::uint64_t offset = 0;
    std::vector<float> values;

    friend bool operator==(const TerrainSampleChunk&, const TerrainSampleChunk&) = default;
};

// A height field centred on the entity, `width` along X and `length` along Z, sampled on
// a `resolutionX` by `resolutionZ` grid.
struct TerrainComponent {
    float width = 24.0f;
    float length = 24.0f;
    float heightScale = 3.0f;
    std::uint64_t material = 0;
    TerrainBrushMode brushMode = TerrainBrushMode::RaiseLower;
    float brushRadius = 2.0f;
    float brushStrength = 0.18f;
    std::uint32_t resolutionX = 65;
    std::uint32_t resolutionZ = 65;
    GameplayLayer surfaceLayer = GameplayLayer::Floor;
    float brushFalloff = 0.55f;
    float flattenHeight = 0.0f;
    std::int32_t activeLayer = 0;
    std::vector<TerrainLayer> layers;

    // Row by row (rows follow Z, columns X), normalised: world height is the value times
    // `heightScale`. Whoever fills the component keeps the count at resolutionX * resolutionZ.
    // Saved in sample records of their own, not as fields.
    std::vector<float> heights;
    // Weights of the layers per sample, saved like `heights`.
    std::vector<float> layerWeights;

    // Run-time state of the terrain system. A copy starts without a mesh of its own and
    // asks for one to be built.
    std::uint64_t generatedMesh = 0;
    bool meshDirty = true;

    friend bool operator==(const TerrainComponent&, const TerrainComponent&) = default;
};

} // namespace Brelk::Scene
