#pragma once

#include <glm/vec3.hpp>

#include <cstdint>

namespace Brelk::Scene {

// A sun or moon: lights the whole scene from the entity's forward direction.
struct DirectionalLightComponent {
    glm::vec3 color{1.0f, 0.96f, 0.88f};
    float intensity = 1.75f;
    bool enabled = true;
    bool castsShadows = false;
    std::uint32_t shadowResolution = 2048;
    float shadowMaxDistance = 120.0f;
    float shadowBias = 0.0008f;
    float shadowNormalBias = 0.0035f;
    float shadowSlopeBias = 1.25f;
    float shadowStrength = 0.82f;
    std::int32_t shadowPcfRadius = 1;
    std::uint32_t shadowCascadeCount = 4;
    float shadowCascadeLambda = 0.65f;
    bool showCascadeDebug = false;

    friend bool operator==(const DirectionalLightComponent&, const DirectionalLightComponent&) = default;
};

} // namespace Brelk::Scene
