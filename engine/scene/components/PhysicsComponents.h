#pragma once

#include "engine/scene/components/ComponentEnums.h"

#include <glm/vec3.hpp>

#include <cstdint>

namespace Brelk::Scene {

struct PhysicsMaterial {
    float staticFriction = 0.6f;
    float dynamicFriction = 0.6f;
    float restitution = 0.0f;
    float density = 1000.0f;

    friend bool operator==(const PhysicsMaterial&, const PhysicsMaterial&) = default;
};

// `layer` is this body's bit index; `mask` the set of layers it collides with.
struct CollisionFilter {
    std::uint32_t layer = 0;
    std::uint32_t mask = 0xffffffffu;

    friend bool operator==(const CollisionFilter&, const CollisionFilter&) = default;
};

// One query and collision shape. Only the members of the selected `shape` apply; the
// others keep their values so that switching shapes back and forth loses nothing.
struct ColliderComponent {
    PhysicsMaterial material;
    CollisionFilter filter;
    ColliderShapeType shape = ColliderShapeType::Box;
    GameplayLayer gameplayLayer = GameplayLayer::Default;
    glm::vec3 localOffset{0.0f, 0.0f, 0.0f};
    glm::vec3 localRotation{0.0f, 0.0f, 0.0f};
    glm::vec3 boxHalfExtents{0.5f, 0.5f, 0.5f};
    float sphereRadius = 0.5f;
    float capsuleRadius = 0.5f;
    float capsuleHeight = 1.8f;
    std::uint64_t mesh = 0;
    MeshColliderGeometry meshGeometry = MeshColliderGeometry::Auto;
    std::uint32_t convexHullMaxPoints = 256;
    bool useMeshFromRenderer = true;
    bool enabled = true;
    bool isTrigger = false;
    bool debugDraw = true;

    friend bool operator==(const ColliderComponent&, const ColliderComponent&) = default;
};

} // namespace Brelk::Scene
