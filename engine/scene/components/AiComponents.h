#pragma once

#include "engine/scene/components/ComponentEnums.h"

#include <glm/vec3.hpp>

#include <cstdint>
#include <string>
#include <vector>

// AI: the blackboard that behaviour trees read and write, the controller that runs a tree,
// and the senses.
namespace Brelk::Scene {

// One named value; only the member of its `type` applies.
struct BlackboardValue {
    std::string key;
    BlackboardValueType type = BlackboardValueType::Bool;
    bool boolValue = false;
    float floatValue = 0.0f;
    glm::vec3 vec3Value{0.0f, 0.0f, 0.0f};
    std::string stringValue;

    friend bool operator==(const BlackboardValue&, const BlackboardValue&) = default;
};

struct BlackboardComponent {
    std::vector<BlackboardValue> values;

    friend bool operator==(const BlackboardComponent&, const BlackboardComponent&) = default;
};

// `debugState` is the run-time text of the running node, for tools.
struct AIControllerComponent {
    bool enabled = true;
    std::uint64_t behaviorTree = 0;
    bool restartOnTreeChange = true;
    std::string debugState;

    friend bool operator==(const AIControllerComponent&, const AIControllerComponent&) = default;
};

struct AIPerceptionComponent {
    bool enabled = true;
    float sightRange = 20.0f;
    float sightAngleDegrees = 120.0f;
    float eyeHeight = 1.6f;
    bool requireLineOfSight = true;
    float hearingRange = 15.0f;
    float updateIntervalSeconds = 0.2f;
    float memorySeconds = 3.0f;
    std::uint32_t team = 0;
    std::string targetKey = "Target";

    friend bool operator==(const AIPerceptionComponent&, const AIPerceptionComponent&) = default;
};

struct AIPerceivableComponent {
    bool enabled = true;
    std::uint32_t team = 0;
    float targetHeight = 1.0f;

    friend bool operator==(const AIPerceivableComponent&, const AIPerceivableComponent&) = default;
};

} // namespace Brelk::Scene
