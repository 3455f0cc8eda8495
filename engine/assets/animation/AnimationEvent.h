#pragma once

#include "engine/assets/AssetHandle.h"

#include <cstdint>
#include <string>

namespace Brelk::Assets {

// A timed event of a clip, a controller state or a blend-tree child. The meaning of the
// plain-labelled fields belongs to the animation runtime; the files only carry them.
struct AnimationEvent {
    float time = 0.0f;
    std::string name;
    float value = 0.0f;
    bool flag = false;
    std::string textA;
    std::string textB;
    std::int32_t action = 0;
    // An Audio asset. A clip file can't hold it: a handle means nothing outside the process.
    AssetHandle audio = kNullAssetHandle;
    float audioValue = 0.0f;
    bool audioFlag = false;
    std::string actionText;

    friend bool operator==(const AnimationEvent&, const AnimationEvent&) = default;
};

} // namespace Brelk::Assets
