#pragma once

#include "engine/scene/components/ComponentEnums.h"
#include "engine/scene/components/PhysicsComponents.h"

#include <glm/vec3.hpp>

#include <cstdint>
#include <vector>

namespace Brelk::Physics {

enum class ClothPinMode : std::uint8_t { TopEdge, VertexColorRed, BoneWeights, Painted };

struct ClothSettings {
    bool simulateInEditMode = true;
    bool useWorldGravity = true;
    glm::vec3 gravity{0.0f, -9.81f, 0.0f};
    glm::vec3 windDirection{1.0f, 0.0f, 0.25f};
    float windStrength = 0.0f;
    float damping = 0.015f;
    float animatedMotionTransfer = 1.0f;
    bool skinFreeParticles = false;
    float stretchStiffness = 0.95f;
    float shearStiffness = 0.75f;
    float bendStiffness = 0.45f;
    float stretchCompliance = 0.00002f;
    float shearCompliance = 0.00008f;
    float bendCompliance = 0.00035f;
    std::uint32_t solverIterations = 4;
    std::uint32_t substeps = 1;
    std::uint32_t maxSimulationStepsPerFrame = 1;
    float particleRadius = 0.035f;
    float collisionFriction = 0.12f;
    bool collisionEnabled = true;
    std::uint32_t collisionMask = 0xffffffffu;
    Scene::GameplayLayer gameplayLayer = Scene::GameplayLayer::Default;
    Scene::CollisionFilter filter;
    bool collideWithOwnerHierarchy = false;
    ClothPinMode pinMode = ClothPinMode::TopEdge;
    float topPinPercent = 0.08f;
    float vertexColorPinThreshold = 0.85f;
    float seamWeldDistance = 0.0015f;
    float seamWeldStiffness = 1.0f;
    float seamWeldCompliance = 0.000001f;
    float teleportDistance = 2.5f;

    friend bool operator==(const ClothSettings&, const ClothSettings&) = default;
};

// Declares how many pin weights the chunk records of one cloth will deliver.
struct ClothPinWeightCount {
    std::uint64_t count = 0;

    friend bool operator==(const ClothPinWeightCount&, const ClothPinWeightCount&) = default;
};

struct ClothPinWeightChunk {
    std::uint64_t offset = 0;
    std::vector<float> values;

    friend bool operator==(const ClothPinWeightChunk&, const ClothPinWeightChunk&) = default;
};

// Simulates the entity's mesh (`sourceMesh`) as cloth.
struct ClothComponent {
    bool enabled = true;
    bool paused = false;
    bool debugDraw = false;
    bool showParticles = true;
    bool showConstraints = true;
    std::uint64_t sourceMesh = 0;
    bool showPinned = true;
    bool showColliders = false;
    bool followSkinning = true;
    bool selfCollisionEnabled = false;
    bool paintPinsInViewport = false;
    float pinPaintRadius = 0.25f;
    float pinPaintStrength = 2.5f;
    float pinPaintHardness = 0.65f;
    ClothSettings settings;

    // One weight per vertex of the source mesh, 0 free to 1 pinned. Saved in pin-weight
    // records of their own, not as a field.
    std::vector<float> pinWeights;

    // The deformed mesh the simulation renders; a copy builds its own.
    std::uint64_t runtimeMesh = 0;

    friend bool operator==(const ClothComponent&, const ClothComponent&) = default;
};

} // namespace Brelk::Physics
