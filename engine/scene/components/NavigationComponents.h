#pragma once

#include "engine/scene/components/ComponentEnums.h"

#include <glm/vec3.hpp>

#include <cstdint>
#include <string>
#include <vector>

// Navigation: how objects take part in navmesh baking, the baked surface, and the agents,
// areas and links that use it.
namespace Brelk::Scene {

struct NavigationBakeComponent {
    bool includeInBake = true;
    NavigationBakeRole role = NavigationBakeRole::Obstacle;
    std::string layer = "Default";

    friend bool operator==(const NavigationBakeComponent&, const NavigationBakeComponent&) = default;
};

// Walks to `destination`, or through `destinationPoints` in turn, each at the speed of the
// same index in `destinationPointSpeeds` when it has one.
struct PathWalkerComponent {
    std::uint64_t navigationMesh = 0;
    glm::vec3 destination{0.0f, 0.0f, 0.0f};
    float speed = 3.5f;
    float acceleration = 20.0f;
    float radius = 0.35f;
    float height = 1.8f;
    float stoppingDistance = 0.1f;
    bool autoRepath = true;
    bool previewInEditMode = false;
    PathShapeMode pathShape = PathShapeMode::Linear;
    float pathSmoothing = 0.65f;
    std::uint32_t pathSubdivisions = 4;
    float pathVariation = 0.35f;
    std::uint32_t pathVariationSeed = 1;
    std::uint32_t selectedDestinationPoint = 0;
    std::vector<glm::vec3> destinationPoints;
    std::vector<float> destinationPointSpeeds;

    friend bool operator==(const PathWalkerComponent&, const PathWalkerComponent&) = default;
};

struct NavMeshSurfaceComponent {
    bool enabled = true;
    std::uint64_t navMesh = 0;
    float agentRadius = 0.35f;
    float agentHeight = 1.8f;
    float agentMaxClimb = 0.35f;
    float agentMaxSlopeDegrees = 50.0f;
    float cellSize = 0.2f;
    float cellHeight = 0.1f;
    std::uint32_t tileSizeCells = 64;
    glm::vec3 boundsCenter{0.0f, 0.0f, 0.0f};
    glm::vec3 boundsSize{0.0f, 0.0f, 0.0f};
    std::string layerFilter;
    bool bakeAtRuntimeIfMissing = true;
    bool dynamicTiles = false;
    float dynamicCheckIntervalSeconds = 0.5f;

    friend bool operator==(const NavMeshSurfaceComponent&, const NavMeshSurfaceComponent&) = default;
};

// `status` is run-time state of the path query.
struct NavAgentComponent {
    bool enabled = true;
    float radius = 0.35f;
    float height = 1.8f;
    float maxSpeed = 3.5f;
    float maxAcceleration = 12.0f;
    float stoppingDistance = 0.3f;
    NavAgentAvoidance avoidance = NavAgentAvoidance::Medium;
    float separationWeight = 2.0f;
    bool useJumpLinks = true;
    bool useLadderLinks = true;
    NavAgentStatus status = NavAgentStatus::Idle;

    friend bool operator==(const NavAgentComponent&, const NavAgentComponent&) = default;
};

struct NavAreaComponent {
    bool enabled = true;
    std::uint32_t area = 1;
    float cost = 1.0f;
    bool volume = false;
    glm::vec3 volumeHalfExtents{1.0f, 1.0f, 1.0f};

    friend bool operator==(const NavAreaComponent&, const NavAreaComponent&) = default;
};

struct NavOffMeshLinkComponent {
    bool enabled = true;
    glm::vec3 localStart{0.0f, 0.0f, 0.0f};
    glm::vec3 localEnd{0.0f, 0.0f, 2.0f};
    float radius = 0.5f;
    bool bidirectional = true;
    NavLinkType type = NavLinkType::Jump;
    float cost = 1.0f;

    friend bool operator==(const NavOffMeshLinkComponent&, const NavOffMeshLinkComponent&) = default;
};

} // namespace Brelk::Scene
