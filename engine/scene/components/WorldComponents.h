#pragma once

#include <glm/vec3.hpp>

#include <cstdint>
#include <string>

// World streaming: sources that pull content in around them, hand-placed chunks, and the
// partition of a scene into the cells of a world asset.
namespace Brelk::Scene {

struct WorldStreamingSourceComponent {
    bool enabled = true;
    float radius = 120.0f;

    friend bool operator==(const WorldStreamingSourceComponent&, const WorldStreamingSourceComponent&) = default;
};

struct WorldChunkComponent {
    std::string chunkId = "Chunk";
    glm::vec3 center{0.0f, 0.0f, 0.0f};
    float loadDistance = 120.0f;
    float unloadDistance = 150.0f;
    bool affectRendering = true;
    bool affectLogic = true;

    friend bool operator==(const WorldChunkComponent&, const WorldChunkComponent&) = default;
};

// Makes its scene the persistent layer of a world asset whose cells stream in and out
// around the streaming sources, within the budgets below.
struct WorldPartitionComponent {
    std::uint64_t world = 0;
    bool enabled = true;
    float loadRadius = 192.0f;
    float unloadRadius = 256.0f;
    std::uint32_t minResidentFrames = 30;
    std::uint32_t maxConcurrentLoads = 4;
    float frameBudgetMilliseconds = 2.0f;
    float memoryBudgetMegabytes = 256.0f;
    float terrainLodDistance = 160.0f;
    std::uint32_t terrainMaxLod = 2;

    friend bool operator==(const WorldPartitionComponent&, const WorldPartitionComponent&) = default;
};

struct WorldPersistentComponent {
    bool persistent = true;

    friend bool operator==(const WorldPersistentComponent&, const WorldPersistentComponent&) = default;
};

// Marks what the editor's streaming preview created; never saved, copied or listed.
struct WorldCellPreviewComponent {
    friend bool operator==(const WorldCellPreviewComponent&, const WorldCellPreviewComponent&) = default;
};

} // namespace Brelk::Scene
