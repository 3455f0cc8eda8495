#include "engine/assets/rig/Skeleton.h"

#include <glm/gtc/matrix_transform.hpp>

namespace Brelk::Assets {

void Skeleton::RebuildNameMap() {
    boneByName.clear();
    for (std::size_t i = 0; i < bones.size(); ++i) boneByName.try_emplace(bones[i].name, static_cast<std::int32_t>(i));
}

std::int32_t Skeleton::FindBone(std::string_view name) const {
    if (name.empty()) return -1;
    const auto found = boneByName.find(std::string(name));
    if (found != boneByName.end()) return found->second;
    for (std::size_t i = 0; i < bones.size(); ++i) {
        if (bones[i].name == name) return static_cast<std::int32_t>(i);
    }
    return -1;
}

std::vector<glm::mat4> Skeleton::ModelSpaceBindPose() const {
    enum class State : std::uint8_t { Pending, Visiting, Done };
    std::vector<glm::mat4> model(bones.size(), glm::mat4(1.0f));
    std::vector<State> state(bones.size(), State::Pending);
    std::vector<std::size_t> chain;
    for (std::size_t start = 0; start < bones.size(); ++start) {
        // Walk up to a finished bone or a root, then fill the chain downwards.
        std::size_t bone = start;
        while (state[bone] == State::Pending) {
            state[bone] = State::Visiting;
            chain.push_back(bone);
            const std::int32_t parent = bones[bone].parent;
            if (parent < 0 || static_cast<std::size_t>(parent) >= bones.size()) break;
            bone = static_cast<std::size_t>(parent);
        }
        for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
            const SkeletonBone& current = bones[*it];
            const glm::mat4 local = glm::translate(glm::mat4(1.0f), current.bindTranslation) *
                                    glm::mat4_cast(current.bindRotation) * glm::scale(glm::mat4(1.0f), current.bindScale);
            const std::int32_t parent = current.parent;
            const bool hasParent = parent >= 0 && static_cast<std::size_t>(parent) < bones.size() &&
                                   state[static_cast<std::size_t>(parent)] == State::Done;
            model[*it] = hasParent ? model[static_cast<std::size_t>(parent)] * local : local;
            state[*it] = State::Done;
        }
        chain.clear();
    }
    return model;
}

} // namespace Brelk::Assets
