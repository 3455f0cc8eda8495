#pragma once

#include <glm/gtc/quaternion.hpp>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Brelk::Assets {

struct SkeletonBone {
    std::string name;
    // -1 for a root bone.
    std::int32_t parent = -1;
    glm::vec3 bindTranslation{0.0f};
    glm::quat bindRotation{1.0f, 0.0f, 0.0f, 0.0f};
    glm::vec3 bindScale{1.0f};
};

// Bones and their bind pose, relative to the parent. Parents need not come first.
struct Skeleton {
    std::string name;
    std::vector<SkeletonBone> bones;
    // Built by RebuildNameMap; FindBone falls back to a linear search without it.
    std::unordered_map<std::string, std::int32_t> boneByName;

    // The first bone of each name.
    void RebuildNameMap();
    // -1 for an empty or unknown name.
    [[nodiscard]] std::int32_t FindBone(std::string_view name) const;
    // The bind pose of every bone in model space. A parent index out of range, or a cycle,
    // makes a bone a root.
    [[nodiscard]] std::vector<glm::mat4> ModelSpaceBindPose() const;
};

} // namespace Brelk::Assets
