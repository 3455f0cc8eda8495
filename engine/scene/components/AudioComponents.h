#pragma once

#include "engine/scene/components/ComponentEnums.h"

#include <glm/vec3.hpp>

#include <cstdint>
#include <string>

namespace Brelk::Scene {

// Plays `clip` from the entity. `customCurve` shapes the Custom attenuation model.
struct AudioSourceComponent {
    std::uint64_t clip = 0;
    bool enabled = true;
    bool playOnAwake = true;
    bool loop = false;
    bool spatial = true;
    float volume = 1.0f;
    float pitch = 1.0f;
    bool muted = false;
    bool playing = false;
    bool previewInEditor = false;
    float minDistance = 1.0f;
    float maxDistance = 30.0f;
    float rolloff = 1.0f;
    float dopplerScale = 1.0f;
    std::string bus = "SFX";
    std::uint32_t priority = 128;
    AudioAttenuationModel attenuation = AudioAttenuationModel::Smooth;
    glm::vec3 customCurve{0.6f, 0.25f, 0.0f};
    float spread = 0.0f;
    float coneInnerAngle = 360.0f;
    float coneOuterAngle = 360.0f;
    float coneOuterVolume = 0.0f;
    float lowPassCutoff = 0.0f;

    friend bool operator==(const AudioSourceComponent&, const AudioSourceComponent&) = default;
};

struct AudioListenerComponent {
    bool enabled = true;
    float gain = 1.0f;

    friend bool operator==(const AudioListenerComponent&, const AudioListenerComponent&) = default;
};

} // namespace Brelk::Scene
