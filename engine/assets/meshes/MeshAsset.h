#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/core/Guid.h"

#include <glm/glm.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Brelk::Assets {

// One vertex as the renderer uploads it and as a .bmesh stores it, byte for byte.
struct MeshVertex {
    glm::vec3 position{0.0f};
    glm::vec4 color{1.0f};
    glm::vec3 normal{0.0f, 1.0f, 0.0f};
    glm::vec2 uv{0.0f};
    glm::vec4 tangent{1.0f, 0.0f, 0.0f, 1.0f};
    glm::uvec4 boneIndices{0u};
    glm::vec4 boneWeights{0.0f};
};
static_assert(sizeof(MeshVertex) == 96, "MeshVertex is written to files as it lies in memory");

struct MeshSubmesh {
    std::uint32_t firstIndex = 0;
    std::uint32_t indexCount = 0;
    std::uint32_t materialSlot = 0;
    std::string name;
};

// A level of detail: the mesh drawn from `distance` on.
struct MeshLod {
    AssetHandle mesh = kNullAssetHandle;
    float distance = 0.0f;
};

struct MeshAsset {
    AssetHandle handle = kNullAssetHandle;
    std::uint64_t revision = 0;
    std::vector<MeshVertex> vertices;
    std::vector<std::uint32_t> indices;
    glm::vec3 boundsMin{0.0f};
    glm::vec3 boundsMax{0.0f};
    float radius = 0.0f;
    std::vector<MeshSubmesh> submeshes;
    std::vector<MeshLod> lods;

    // What the skinning code keeps with a mesh; carried through files as it stands.
    std::uint8_t skinFlags = 0;
    std::uint32_t skinBoneCount = 0;
    glm::mat4 skinBindMatrix{1.0f};
    std::vector<glm::mat4> skinInverseBindMatrices;
    std::vector<std::uint32_t> skinBoneMap;

    // The Guid that a .bmesh trailer named, when the file had one.
    Core::Guid fileGuid;
    bool hasFileGuid = false;
};

} // namespace Brelk::Assets
