#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/assets/animation/AnimationEvent.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Brelk::Assets {

enum class AnimatorParameterType : std::int32_t { Bool = 0, Float = 1, Int = 2, Trigger = 3 };
enum class AnimatorLayerMode : std::int32_t { Override = 0, Additive = 1 };

// Plain-labelled fields (flag, valueA, intA, values...) belong to the animation runtime;
// the file carries them unchanged. Weights and speeds default to 1.

struct AnimatorParameter {
    std::string name;
    AnimatorParameterType type = AnimatorParameterType::Float;
    bool boolValue = false;
    float floatValue = 0.0f;
    std::int32_t intValue = 0;
    bool flag = false;
    float valueA = 0.0f;
    float valueB = 0.0f;
    std::int32_t intA = 0;
    std::int32_t intB = 0;
    friend bool operator==(const AnimatorParameter&, const AnimatorParameter&) = default;
};

struct AnimatorMotionChild {
    std::uint64_t id = 0;
    std::string name;
    AssetHandle clip = kNullAssetHandle;
    // The runtime reads the last two as a speed and a weight.
    std::array<float, 5> values{0.0f, 0.0f, 0.0f, 1.0f, 1.0f};
    std::vector<AnimationEvent> events;
    friend bool operator==(const AnimatorMotionChild&, const AnimatorMotionChild&) = default;
};

struct AnimatorMotion {
    std::uint64_t id = 0;
    std::string name;
    std::int32_t type = 0;
    AssetHandle clip = kNullAssetHandle;
    std::string textA;
    std::string textB;
    std::vector<AnimatorMotionChild> children;
    friend bool operator==(const AnimatorMotion&, const AnimatorMotion&) = default;
};

struct AnimatorBoneMask {
    std::string boneName;
    bool includeDescendants = true;
    float weight = 1.0f;
    friend bool operator==(const AnimatorBoneMask&, const AnimatorBoneMask&) = default;
};

struct AnimatorStateLayer {
    std::string name;
    bool enabled = true;
    AnimatorLayerMode mode = AnimatorLayerMode::Override;
    AssetHandle clip = kNullAssetHandle;
    float timeSeconds = 0.0f;
    float speed = 1.0f;
    float weight = 1.0f;
    bool looping = true;
    std::vector<AnimatorBoneMask> masks;
    friend bool operator==(const AnimatorStateLayer&, const AnimatorStateLayer&) = default;
};

struct AnimatorState {
    std::string name;
    // The motion by stable id, and its name for display.
    std::uint64_t motionId = 0;
    std::string motion;
    bool looping = true;
    float speed = 1.0f;
    bool flag = false;
    std::array<float, 6> values{};
    std::vector<AnimationEvent> events;
    std::vector<AnimatorStateLayer> layers;
    friend bool operator==(const AnimatorState&, const AnimatorState&) = default;
};

struct AnimatorLayerGroup {
    std::uint64_t id = 0;
    std::string name;
    bool enabled = true;
    AnimatorLayerMode mode = AnimatorLayerMode::Override;
    AssetHandle clip = kNullAssetHandle;
    float timeSeconds = 0.0f;
    float speed = 1.0f;
    float weight = 1.0f;
    bool looping = true;
    std::array<float, 4> values{};
    std::vector<AnimatorBoneMask> masks;
    // States by name.
    std::vector<std::string> members;
    friend bool operator==(const AnimatorLayerGroup&, const AnimatorLayerGroup&) = default;
};

struct AnimatorCondition {
    std::string parameter;
    std::int32_t intA = 0;
    float value = 0.0f;
    std::int32_t intB = 0;
    bool flag = false;
    friend bool operator==(const AnimatorCondition&, const AnimatorCondition&) = default;
};

struct AnimatorTransition {
    std::uint64_t id = 0;
    // States by name; empty for none.
    std::string source;
    std::string target;
    float valueA = 0.0f;
    bool flagA = false;
    float valueB = 0.0f;
    float valueC = 0.0f;
    std::int32_t intA = 0;
    bool flagB = false;
    std::vector<AnimatorCondition> conditions;
    friend bool operator==(const AnimatorTransition&, const AnimatorTransition&) = default;
};

// The stable id of each state name, and the counter that every new id of the controller
// (states, motions, children, layer groups, transitions) is taken from.
class AnimatorStableIds {
public:
    void Clear() noexcept { ids_.clear(); }
    // The id of `name`, giving it the next one if it has none.
    std::uint64_t Assign(std::string_view name);
    // Keeps the first id a name is given; the counter stays above every id it has seen.
    void Set(std::string_view name, std::uint64_t id);
    // 0 for a name without an id.
    [[nodiscard]] std::uint64_t Find(std::string_view name) const;
    // Empty for an id no name has.
    [[nodiscard]] std::string_view NameOf(std::uint64_t id) const;
    [[nodiscard]] std::uint64_t Take() noexcept { return nextId_++; }
    [[nodiscard]] std::uint64_t NextId() const noexcept { return nextId_; }
    void SetNextId(std::uint64_t next) noexcept { nextId_ = next; }
    // Raises the counter above `id`.
    void Reserve(std::uint64_t id) noexcept {
        if (id >= nextId_) nextId_ = id + 1;
    }
    friend bool operator==(const AnimatorStableIds&, const AnimatorStableIds&) = default;

private:
    std::unordered_map<std::string, std::uint64_t> ids_;
    std::uint64_t nextId_ = 1;
};

struct AnimatorController {
    std::string name;
    AssetHandle skeleton = kNullAssetHandle;
    std::string defaultState;
    std::vector<AnimatorParameter> parameters;
    std::vector<AnimatorMotion> motions;
    std::vector<AnimatorState> states;
    std::vector<AnimatorLayerGroup> layerGroups;
    std::vector<AnimatorTransition> transitions;
    AnimatorStableIds stableIds;
    friend bool operator==(const AnimatorController&, const AnimatorController&) = default;
};

// A new controller as the editor creates one: the name, nothing else.
[[nodiscard]] AnimatorController MakeAnimatorController(std::string_view name);

} // namespace Brelk::Assets
