#pragma once

#include "engine/core/Guid.h"
#include "engine/scene/components/ComponentEnums.h"
#include "engine/scene/components/ParticleComponents.h"

#include <glm/vec2.hpp>
#include <glm/vec4.hpp>

#include <cstdint>
#include <string>
#include <vector>

// Effects: a .bvfx effect is a scene of emitters whose root carries the definition (its
// parameters, bindings, events and graph layout); VfxEffectComponent plays one. Emitters
// are named by the Guids of their entities inside the effect.
namespace Brelk::Scene {

struct VfxParameterDefinition {
    Core::Guid id;
    std::string name;
    VfxParameterType type = VfxParameterType::Float;
    glm::vec4 defaultValue{1.0f, 1.0f, 1.0f, 1.0f};
    float minimum = 0.0f;
    float maximum = 10.0f;
    std::string description;
    glm::vec2 graphPosition{0.0f, 0.0f};

    friend bool operator==(const VfxParameterDefinition&, const VfxParameterDefinition&) = default;
};

struct VfxParameterBinding {
    Core::Guid parameter;
    Core::Guid emitter;
    VfxParameterTarget target = VfxParameterTarget::EmissionRate;
    VfxBindingMode mode = VfxBindingMode::Multiply;

    friend bool operator==(const VfxParameterBinding&, const VfxParameterBinding&) = default;
};

struct VfxEventDefinition {
    Core::Guid id;
    std::string name;
    Core::Guid emitter;
    VfxEventTrigger trigger = VfxEventTrigger::OnDeath;
    VfxEventAction action = VfxEventAction::SpawnEffect;
    std::uint64_t effect = 0;
    Core::Guid targetEmitter;
    std::uint32_t count = 8;
    float probability = 1.0f;
    float maxPerSecond = 30.0f;
    glm::vec2 graphPosition{0.0f, 0.0f};

    friend bool operator==(const VfxEventDefinition&, const VfxEventDefinition&) = default;
};

struct VfxGraphNodeLayout {
    Core::Guid emitter;
    glm::vec2 position{0.0f, 0.0f};

    friend bool operator==(const VfxGraphNodeLayout&, const VfxGraphNodeLayout&) = default;
};

struct VfxParameterValue {
    std::string name;
    glm::vec4 value{0.0f, 0.0f, 0.0f, 0.0f};

    friend bool operator==(const VfxParameterValue&, const VfxParameterValue&) = default;
};

struct VfxEffectDefinitionComponent {
    std::string description;
    std::string tags;
    glm::vec2 effectNodePosition{640.0f, 0.0f};
    std::vector<VfxParameterDefinition> parameters;
    std::vector<VfxParameterBinding> bindings;
    std::vector<VfxEventDefinition> events;
    std::vector<VfxGraphNodeLayout> layout;

    friend bool operator==(const VfxEffectDefinitionComponent&, const VfxEffectDefinitionComponent&) = default;
};

struct VfxEffectComponent {
    std::uint64_t effect = 0;
    bool autoPlay = true;
    bool loop = false;
    float intensity = 1.0f;
    glm::vec4 tint{1.0f, 1.0f, 1.0f, 1.0f};
    float sizeScale = 1.0f;
    float speedScale = 1.0f;
    std::vector<VfxParameterValue> parameters;

    friend bool operator==(const VfxEffectComponent&, const VfxEffectComponent&) = default;
};

// What an emitter of a playing effect was authored with, so that parameters can be applied
// over it again and again without compounding.
struct VfxEmitterBaseline {
    ParticleEmitterComponent emitter;

    friend bool operator==(const VfxEmitterBaseline&, const VfxEmitterBaseline&) = default;
};

} // namespace Brelk::Scene
