#pragma once

#include "engine/core/Guid.h"
#include "engine/scene/Entity.h"
#include "engine/scene/components/ComponentEnums.h"

#include <glm/vec3.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Brelk::Scene {

// A simulated body. `inertiaTensor` is the diagonal of the local inertia, used as given.
struct RigidBodyComponent {
    BodyType bodyType = BodyType::Dynamic;
    float mass = 1.0f;
    float linearDamping = 0.05f;
    float angularDamping = 0.05f;
    float gravityScale = 1.0f;
    bool enabled = true;
    bool useGravity = true;
    bool allowSleep = true;
    glm::vec3 inertiaTensor{1.0f, 1.0f, 1.0f};
    bool lockPositionX = false;
    bool lockPositionY = false;
    bool lockPositionZ = false;
    bool lockRotationX = false;
    bool lockRotationY = false;
    bool lockRotationZ = false;

    // Run-time state of the simulation: never in a scene file, carried by save games.
    // A new body starts awake, so that it settles under gravity before it may sleep.
    glm::vec3 linearVelocity{0.0f, 0.0f, 0.0f};
    glm::vec3 angularVelocity{0.0f, 0.0f, 0.0f};
    bool isAwake = true;

    friend bool operator==(const RigidBodyComponent&, const RigidBodyComponent&) = default;
};

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

// Joins this body to the body of `connectedEntity`. The handle is saved as the target's
// Guid in `connectedEntityGuid`; each anchor is in its own body's local space.
struct ConstraintComponent {
    bool enabled = true;
    Entity connectedEntity = kNullEntity;
    glm::vec3 localAnchor{0.0f, 0.0f, 0.0f};
    glm::vec3 connectedAnchor{0.0f, 0.0f, 0.0f};
    float linearStiffness = 0.85f;
    Core::Guid connectedEntityGuid;
    bool debugDraw = false;

    friend bool operator==(const ConstraintComponent&, const ConstraintComponent&) = default;
};

// One sample point of a custom buoyancy hull, in the body's local space.
struct BuoyancyPoint {
    glm::vec3 localPosition{0.0f, 0.0f, 0.0f};
    float immersionDepth = 1.0f;
    float liftWeight = 1.0f;
    bool enabled = true;

    friend bool operator==(const BuoyancyPoint&, const BuoyancyPoint&) = default;
};

inline constexpr std::size_t kMaxBuoyancyCustomPoints = 32;

// Floats a dynamic rigid body on the water of `waterBody`, an entity with an OceanComponent
// (saved as its Guid in `waterBodyGuid`). `customPoints` replace the hull-bounds samples
// when `samplingMode` is CustomPoints; at most kMaxBuoyancyCustomPoints of them.
struct BuoyancyComponent {
    bool enabled = true;
    bool simulateInEditMode = false;
    BuoyancySamplingMode samplingMode = BuoyancySamplingMode::HullBounds;
    bool autoFitCollider = true;
    Entity waterBody = kNullEntity;
    Core::Guid waterBodyGuid;
    glm::vec3 localCenter{0.0f, 0.0f, 0.0f};
    glm::vec3 localHalfExtents{0.5f, 0.5f, 0.5f};
    std::uint32_t samplePointCount = 8;
    BuoyancyForceModel forceModel = BuoyancyForceModel::AutoTrim;
    float fluidDensity = 1025.0f;
    float buoyancyScale = 1.0f;
    float targetSubmersion = 0.45f;
    float hullVolumeScale = 0.65f;
    float maxSubmersionDepth = 1.0f;
    float linearDrag = 1.5f;
    float angularDrag = 0.8f;
    float surfaceAlignment = 0.18f;
    bool canFlip = false;
    float uprightStiffness = 1.0f;
    float uprightDamping = 0.65f;
    bool generateWake = false;
    float wakeStrength = 0.18f;
    float wakeWidth = 1.2f;
    float wakeLifetime = 4.0f;
    float wakeSpacing = 0.65f;
    float wakeMinimumSpeed = 0.6f;
    std::uint32_t maximumWakePoints = 24;
    bool debugDraw = false;
    std::vector<BuoyancyPoint> customPoints;

    friend bool operator==(const BuoyancyComponent&, const BuoyancyComponent&) = default;
};

} // namespace Brelk::Scene
