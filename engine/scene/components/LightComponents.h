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

// Version 1 lights fell off linearly; `inverseSquareFalloff` is true for new lights only.
struct PointLightComponent {
    glm::vec3 color{1.0f, 0.82f, 0.62f};
    float intensity = 18.0f;
    float range = 10.0f;
    bool inverseSquareFalloff = true;
    bool enabled = true;
    bool castsShadows = false;
    float shadowBias = 0.0015f;
    float shadowNormalBias = 0.01f;
    float shadowSlopeBias = 1.0f;
    float shadowStrength = 0.78f;
    std::int32_t shadowPcfRadius = 1;
    std::uint32_t shadowResolution = 512;
    float shadowNearPlane = 0.05f;
    float shadowFarPlane = 0.0f;

    friend bool operator==(const PointLightComponent&, const PointLightComponent&) = default;
};

struct SpotLightComponent {
    glm::vec3 color{1.0f, 0.9f, 0.72f};
    float intensity = 24.0f;
    float range = 14.0f;
    bool inverseSquareFalloff = true;
    float innerAngleDegrees = 20.0f;
    float outerAngleDegrees = 32.0f;
    bool enabled = true;
    bool castsShadows = false;
    float shadowBias = 0.0015f;
    float shadowNormalBias = 0.01f;
    float shadowSlopeBias = 1.0f;
    float shadowStrength = 0.78f;
    std::int32_t shadowPcfRadius = 1;
    std::uint32_t shadowResolution = 1024;
    float shadowNearPlane = 0.05f;
    float shadowFarPlane = 0.0f;

    friend bool operator==(const SpotLightComponent&, const SpotLightComponent&) = default;
};

// Captured reflections for the surfaces inside its box, `boxExtents` half sizes around
// the entity moved by `boxOffset`.
struct ReflectionProbeComponent {
    glm::vec3 boxExtents{4.0f, 2.5f, 4.0f};
    glm::vec3 boxOffset{0.0f, 0.0f, 0.0f};
    float blendDistance = 0.5f;
    std::int32_t priority = 0;
    float intensity = 1.0f;
    bool parallaxCorrection = true;
    bool enabled = true;
    bool bakeOnStart = false;
    std::uint64_t bakedTexture = 0;
    bool bakeRequested = false;

    friend bool operator==(const ReflectionProbeComponent&, const ReflectionProbeComponent&) = default;
};

// Baked indirect diffuse light on a grid of probes over its box.
struct ProbeVolumeComponent {
    glm::vec3 boxExtents{8.0f, 3.0f, 8.0f};
    glm::vec3 boxOffset{0.0f, 0.0f, 0.0f};
    std::int32_t probeCountX = 8;
    std::int32_t probeCountY = 4;
    std::int32_t probeCountZ = 8;
    float blendDistance = 1.0f;
    float normalBias = 0.25f;
    float intensity = 1.0f;
    std::int32_t priority = 0;
    bool enabled = true;
    std::uint64_t bakedData = 0;
    bool bakeRequested = false;

    friend bool operator==(const ProbeVolumeComponent&, const ProbeVolumeComponent&) = default;
};

} // namespace Brelk::Scene
