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

struct AnimationVectorKey {
    float time = 0.0f;
    float x = 0.0f, y = 0.0f, z = 0.0f;
    friend bool operator==(const AnimationVectorKey&, const AnimationVectorKey&) = default;
};

struct AnimationRotationKey {
    float time = 0.0f;
    float x = 0.0f, y = 0.0f, z = 0.0f, w = 1.0f;
    friend bool operator==(const AnimationRotationKey&, const AnimationRotationKey&) = default;
};

struct AnimationTrack {
    std::string boneName;
    std::int32_t index = -1;
    std::vector<AnimationVectorKey> positionKeys;
    std::vector<AnimationRotationKey> rotationKeys;
    std::vector<AnimationVectorKey> scaleKeys;
    friend bool operator==(const AnimationTrack&, const AnimationTrack&) = default;
};

inline constexpr std::size_t kAnimationClipModeCount = 7;

// Key tracks and events for one skeleton. Plain-labelled fields belong to the animation
// runtime; the file carries them unchanged.
struct AnimationClip {
    std::string name;
    AssetHandle skeleton = kNullAssetHandle;
    float duration = 0.0f;
    float valueA = 0.0f;
    bool looping = false;
    std::array<std::int32_t, kAnimationClipModeCount> modes{};
    bool flagA = false, flagB = false, flagC = false;
    float valueB = 0.0f;
    bool flagD = false;
    std::string text;
    std::uint32_t count = 0;
    std::vector<AnimationEvent> events;
    std::vector<AnimationTrack> tracks;

    // Derived data, rebuilt by RebuildDerivedData: the track of each bone name (the first
    // track wins for a name given twice) and the time of the last key of any track.
    std::unordered_map<std::string, std::size_t> trackOfBone;
    float lastKeyTime = 0.0f;

    void RebuildDerivedData();
    // Index into `tracks`, or -1.
    [[nodiscard]] std::int64_t FindTrack(std::string_view boneName) const;
};

} // namespace Brelk::Assets
