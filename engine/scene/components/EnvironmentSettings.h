#pragma once

#include <glm/vec3.hpp>

#include <cstdint>
#include <vector>

// The scene's environment. Scene files store these as records of their own, not as
// components of an entity.
namespace Brelk::Scene {

// `debugView`, `exposureMode` and `toneMapper` stay plain integers: the renderer that
// interprets them owns their meaning.
struct PostProcessSettings {
    bool enabled = true;
    std::int32_t debugView = 0;
    float exposure = 1.0f;
    std::int32_t exposureMode = 0;
    float exposureEv100 = 9.7027f;
    float exposureCompensation = 0.0f;
    float autoExposureMinEv100 = 6.0f;
    float autoExposureMaxEv100 = 16.0f;
    float autoExposureSpeedUp = 3.0f;
    float autoExposureSpeedDown = 1.0f;
    std::int32_t toneMapper = 0;
    float gamma = 2.2f;
    bool applyGamma = false;
    float contrast = 1.0f;
    float saturation = 1.0f;
    glm::vec3 tintColor{1.0f, 1.0f, 1.0f};
    float tintStrength = 0.0f;
    bool vignetteEnabled = true;
    float vignetteStrength = 0.25f;
    float vignetteRadius = 0.75f;
    float vignetteSoftness = 0.35f;
    bool bloomEnabled = true;
    float bloomThreshold = 1.0f;
    float bloomKnee = 0.5f;
    float bloomIntensity = 0.65f;
    float bloomRadius = 1.0f;
    std::int32_t bloomIterations = 6;
    bool atmosphericFogEnabled = false;
    glm::vec3 atmosphericFogColor{0.55f, 0.62f, 0.72f};
    float atmosphericFogDensity = 0.008f;
    float atmosphericFogStartDistance = 8.0f;
    float atmosphericFogMaxOpacity = 0.92f;
    float atmosphericFogBaseHeight = 0.0f;
    float atmosphericFogHeightFalloff = 0.08f;
    bool atmosphericFogAffectSky = true;
    bool atmosphericFogDirectionalScattering = true;
    float atmosphericFogScatteringStrength = 1.0f;
    float atmosphericFogAnisotropy = 0.65f;
    bool ambientOcclusionEnabled = true;
    float ambientOcclusionRadius = 0.6f;
    float ambientOcclusionIntensity = 1.0f;
    // Filled each frame from the active camera; never saved.
    float cameraNear = 0.1f;
    float cameraFar = 1000.0f;

    friend bool operator==(const PostProcessSettings&, const PostProcessSettings&) = default;
};

struct EnvironmentSettings {
    std::uint64_t texture = 0;
    float lightIntensity = 1.0f;
    float backgroundIntensity = 1.0f;
    float rotationDegrees = 0.0f;
    bool showBackground = true;
    PostProcessSettings postProcess;
    std::vector<std::uint64_t> postProcessMaterials;

    friend bool operator==(const EnvironmentSettings&, const EnvironmentSettings&) = default;
};

} // namespace Brelk::Scene
