#include "engine/assets/animation/AnimationClip.h"

#include <algorithm>

namespace Brelk::Assets {

void AnimationClip::RebuildDerivedData() {
    trackOfBone.clear();
    trackOfBone.reserve(tracks.size());
    lastKeyTime = 0.0f;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const AnimationTrack& track = tracks[i];
        trackOfBone.emplace(track.boneName, i);
        if (!track.positionKeys.empty()) lastKeyTime = std::max(lastKeyTime, track.positionKeys.back().time);
        if (!track.rotationKeys.empty()) lastKeyTime = std::max(lastKeyTime, track.rotationKeys.back().time);
        if (!track.scaleKeys.empty()) lastKeyTime = std::max(lastKeyTime, track.scaleKeys.back().time);
    }
}

std::int64_t AnimationClip::FindTrack(std::string_view boneName) const {
    const auto found = trackOfBone.find(std::string(boneName));
    return found == trackOfBone.end() ? -1 : static_cast<std::int64_t>(found->second);
}

} // namespace Brelk::Assets
