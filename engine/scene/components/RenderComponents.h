#pragma once

#include "engine/scene/components/ComponentEnums.h"

#include <glm/vec2.hpp>

#include <cstdint>
#include <vector>

// The rendering components the scene core and the world generator use. Asset ids are
// run-time handles (0 is none); files store them as asset references.
namespace Brelk::Scene {

struct MeshRendererComponent {
    std::uint64_t mesh = 0;
    std::uint64_t material = 0;
    std::vector<std::uint64_t> materialSlots;
    std::uint64_t skeleton = 0;
    bool skinningEnabled = true;
    bool visible = true;
    bool occluder = true;
    bool allowOcclusion = true;
    bool enableLod = false;
    bool forceLodLevel = false;
    std::uint32_t forcedLodLevel = 0;
    float lodDistanceScale = 1.0f;
    float maxDrawDistance = 250.0f;

    friend bool operator==(const MeshRendererComponent&, const MeshRendererComponent&) = default;
};

// A camera-facing quad of `size` metres, pivoting about `pivot` in its own 0..1 space.
struct BillboardComponent {
    std::uint64_t material = 0;
    glm::vec2 size{1.0f, 1.0f};
    glm::vec2 pivot{0.5f, 0.5f};
    BillboardFacingMode facingMode = BillboardFacingMode::ScreenAligned;
    bool visible = true;
    float rotationDegrees = 0.0f;
    bool allowOcclusion = true;
    float maxDrawDistance = 250.0f;
    float sortBias = 0.0f;

    friend bool operator==(const BillboardComponent&, const BillboardComponent&) = default;
};

struct CameraComponent {
    float verticalFovDegrees = 45.0f;
    float nearClip = 0.1f;
    float farClip = 500.0f;
    bool primary = false;

    friend bool operator==(const CameraComponent&, const CameraComponent&) = default;
};

} // namespace Brelk::Scene
