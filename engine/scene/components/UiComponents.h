#pragma once

#include "engine/scene/components/ComponentEnums.h"

#include <glm/vec2.hpp>

#include <cstdint>

namespace Brelk::Scene {

// Hosts a UI document on screen, or on a camera-facing quad of `worldSize` metres.
struct UICanvasComponent {
    std::uint64_t document = 0;
    UICanvasSpace space = UICanvasSpace::Screen;
    bool visible = true;
    bool receiveInput = true;
    std::int32_t sortOrder = 0;
    glm::vec2 screenOffset{0.0f, 0.0f};
    glm::vec2 worldSize{1.6f, 0.9f};
    glm::vec2 pivot{0.5f, 0.5f};
    float maxDistance = 60.0f;

    friend bool operator==(const UICanvasComponent&, const UICanvasComponent&) = default;
};

} // namespace Brelk::Scene
