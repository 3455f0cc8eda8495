#include "engine/assets/rig/RigDefinition.h"
#include "engine/assets/rig/Skeleton.h"

#include <glm/gtc/quaternion.hpp>
#include <glm/mat3x3.hpp>

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace Brelk::Assets {
namespace {

using Role = RigBoneRole;

bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsLower(char c) { return c >= 'a' && c <= 'z'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool ContainsAny(std::string_view text, std::initializer_list<std::string_view> fragments) {
    return std::any_of(fragments.begin(), fragments.end(),
                       [&](std::string_view fragment) { return text.find(fragment) != std::string_view::npos; });
}

// 1 left, 2 right, 0 none; the token found is replaced by one "_".
int TakeSide(std::string& name) {
    constexpr std::array<std::pair<std::string_view, int>, 4> tokens = {
        {{"left", 1}, {"right", 2}, {"_l_", 1}, {"_r_", 2}}};
    for (const auto& [token, side] : tokens) {
        const std::size_t at = name.find(token);
        if (at != std::string::npos) {
            name.replace(at, token.size(), "_");
            return side;
        }
    }
    return 0;
}

struct LimbRow {
    std::initializer_list<std::string_view> fragments;
    Role left;
    Role right;
};

Role LimbRole(std::string_view name, int side) {
    if (side == 0) return Role::None;
    static const LimbRow rows[] = {
        {{"shoulder", "clavicle", "collar"}, Role::LeftShoulder, Role::RightShoulder},
        {{"forearm", "fore_arm", "lower_arm", "lowerarm", "elbow"}, Role::LeftLowerArm, Role::RightLowerArm},
        {{"hand", "wrist"}, Role::LeftHand, Role::RightHand},
        {{"up_leg", "upleg", "upper_leg", "upperleg", "thigh"}, Role::LeftUpperLeg, Role::RightUpperLeg},
        {{"foot", "ankle"}, Role::LeftFoot, Role::RightFoot},
        {{"calf", "shin", "knee", "leg"}, Role::LeftLowerLeg, Role::RightLowerLeg},
        {{"arm"}, Role::LeftUpperArm, Role::RightUpperArm},
    };
    for (const LimbRow& row : rows) {
        if (ContainsAny(name, row.fragments)) return side == 1 ? row.left : row.right;
    }
    return Role::None;
}

Role CandidateRole(std::string name) {
    if (ContainsAny(name, {"twist", "roll", "_end_", "nub", "helper", "_ik_", "pole", "thumb", "index", "middle",
                           "ring", "pinky", "finger", "toe", "top", "eye", "jaw", "weapon", "prop"})) {
        return Role::None;
    }
    if (ContainsAny(name, {"_hips_", "pelvis"})) return Role::Hips;
    if (name == "_root_" || ContainsAny(name, {"_motion_"})) return Role::Root;
    if (ContainsAny(name, {"neck"})) return Role::Neck;
    if (ContainsAny(name, {"head"})) return Role::Head;
    const int side = TakeSide(name);
    return LimbRole(name, side);
}

struct BodyRow {
    Role from;
    Role to;
    Role fallback;
    float radius;
    float mass;
    glm::vec2 swing;
    glm::vec2 twist;
    float strength;
};

constexpr BodyRow kBodyRows[] = {
    {Role::Hips, Role::Spine, Role::Spine2, 0.075f, 12.0f, {0, 0}, {0, 0}, 1.0f},
    {Role::Spine, Role::Spine2, Role::Neck, 0.07f, 10.0f, {20, 20}, {-15, 15}, 1.0f},
    {Role::Spine2, Role::Neck, Role::Head, 0.075f, 12.0f, {20, 20}, {-15, 15}, 1.0f},
    {Role::Head, Role::None, Role::None, 0.055f, 5.0f, {35, 35}, {-40, 40}, 0.8f},
    {Role::LeftUpperArm, Role::LeftLowerArm, Role::None, 0.03f, 2.5f, {70, 70}, {-45, 45}, 0.6f},
    {Role::LeftLowerArm, Role::LeftHand, Role::None, 0.025f, 1.5f, {70, 10}, {-20, 20}, 0.5f},
    {Role::RightUpperArm, Role::RightLowerArm, Role::None, 0.03f, 2.5f, {70, 70}, {-45, 45}, 0.6f},
    {Role::RightLowerArm, Role::RightHand, Role::None, 0.025f, 1.5f, {70, 10}, {-20, 20}, 0.5f},
    {Role::LeftUpperLeg, Role::LeftLowerLeg, Role::None, 0.045f, 8.0f, {50, 30}, {-20, 20}, 0.8f},
    {Role::LeftLowerLeg, Role::LeftFoot, Role::None, 0.035f, 4.5f, {60, 5}, {-5, 5}, 0.7f},
    {Role::RightUpperLeg, Role::RightLowerLeg, Role::None, 0.045f, 8.0f, {50, 30}, {-20, 20}, 0.8f},
    {Role::RightLowerLeg, Role::RightFoot, Role::None, 0.035f, 4.5f, {60, 5}, {-5, 5}, 0.7f},
};

// The shortest rotation that turns +Y onto `direction` (not normalised).
glm::quat RotationFromUp(glm::vec3 direction) {
    const glm::vec3 to = glm::normalize(direction);
    const float d = to.y;
    if (d < -0.999999f) return glm::quat(0.0f, 1.0f, 0.0f, 0.0f);  // half a turn about X
    const glm::vec3 axis = glm::cross(glm::vec3(0.0f, 1.0f, 0.0f), to);
    return glm::normalize(glm::quat(1.0f + d, axis.x, axis.y, axis.z));
}

bool IsFinite(glm::vec3 v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

} // namespace

std::string NormalizeBoneName(std::string_view name) {
    const std::size_t colon = name.rfind(':');
    if (colon != std::string_view::npos) name.remove_prefix(colon + 1);
    std::string result;
    result.reserve(name.size() + 8);
    char previous = 0;
    for (const char c : name) {
        if (IsUpper(c) || IsLower(c) || IsDigit(c)) {
            if (IsUpper(c) && IsLower(previous)) result.push_back('_');
            result.push_back(IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c);
        } else if (result.empty() || result.back() != '_') {
            result.push_back('_');
        }
        previous = c;
    }
    constexpr std::string_view prefix = "mixamorig_";
    if (result.starts_with(prefix)) result.erase(0, prefix.size());
    return "_" + result + "_";
}

RigDefinition InferRigDefinition(const Skeleton& skeleton) {
    RigDefinition definition;
    definition.name = skeleton.name.empty() ? "Rig" : skeleton.name;
    if (skeleton.bones.empty()) return RigDefinition{};
    const std::size_t count = skeleton.bones.size();
    std::array<std::int32_t, kRigBoneRoleCount> bones;
    bones.fill(-1);
    for (std::size_t i = 0; i < count; ++i) {
        const Role role = CandidateRole(NormalizeBoneName(skeleton.bones[i].name));
        if (role != Role::None && bones[static_cast<std::size_t>(role)] < 0) {
            bones[static_cast<std::size_t>(role)] = static_cast<std::int32_t>(i);
        }
    }
    auto boneOf = [&](Role role) { return bones[static_cast<std::size_t>(role)]; };
    auto parentOf = [&](std::int32_t bone) {
        const std::int32_t parent = skeleton.bones[static_cast<std::size_t>(bone)].parent;
        return parent >= 0 && static_cast<std::size_t>(parent) < count ? parent : -1;
    };

    const std::int32_t hips = boneOf(Role::Hips);
    const std::int32_t top = boneOf(Role::Neck) >= 0 ? boneOf(Role::Neck) : boneOf(Role::Head);
    if (hips >= 0 && top >= 0) {
        std::vector<std::int32_t> spine;
        std::int32_t bone = parentOf(top);
        // The step limit stops a walk through a cycle of parents.
        while (bone >= 0 && bone != hips && spine.size() <= count) {
            spine.push_back(bone);
            bone = parentOf(bone);
        }
        if (bone == hips && !spine.empty()) {
            std::reverse(spine.begin(), spine.end());
            bones[static_cast<std::size_t>(Role::Spine)] = spine.front();
            if (spine.size() >= 3) bones[static_cast<std::size_t>(Role::Spine1)] = spine[1];
            if (spine.size() >= 2) bones[static_cast<std::size_t>(Role::Spine2)] = spine.back();
        }
    }
    if (boneOf(Role::Root) < 0 && hips >= 0) {
        std::int32_t topmost = -1;
        for (std::int32_t bone = parentOf(hips), steps = 0; bone >= 0 && steps <= static_cast<std::int32_t>(count);
             bone = parentOf(bone), ++steps) {
            topmost = bone;
        }
        bones[static_cast<std::size_t>(Role::Root)] = topmost;
    }
    for (std::size_t role = 0; role < kRigBoneRoleCount; ++role) {
        if (bones[role] >= 0) definition.roles[role] = skeleton.bones[static_cast<std::size_t>(bones[role])].name;
    }

    const std::vector<glm::mat4> model = skeleton.ModelSpaceBindPose();
    glm::vec3 low(model[0][3]);
    glm::vec3 high = low;
    for (const glm::mat4& matrix : model) {
        low = glm::min(low, glm::vec3(matrix[3]));
        high = glm::max(high, glm::vec3(matrix[3]));
    }
    const glm::vec3 extent = high - low;
    float scale = std::max({extent.x, extent.y, extent.z});
    if (!(scale >= 0.0001f)) scale = 1.0f;

    for (const BodyRow& row : kBodyRows) {
        const std::int32_t bone = boneOf(row.from);
        if (bone < 0) continue;
        std::int32_t target = row.to == Role::None ? -1 : boneOf(row.to);
        if (target < 0 && row.fallback != Role::None) target = boneOf(row.fallback);
        RagdollBodyDefinition body;
        body.bone = skeleton.bones[static_cast<std::size_t>(bone)].name;
        body.radius = row.radius * scale;
        body.mass = row.mass;
        body.swing = row.swing;
        body.twist = row.twist;
        body.strength = row.strength;
        const glm::mat4& frame = model[static_cast<std::size_t>(bone)];
        const glm::mat3 toLocal = glm::inverse(glm::mat3(frame));
        const glm::vec3 toTarget =
            target >= 0 ? glm::vec3(model[static_cast<std::size_t>(target)][3]) - glm::vec3(frame[3]) : glm::vec3(0.0f);
        if (target >= 0 && glm::dot(toTarget, toTarget) > 1e-10f) {
            body.shape = RagdollBodyShape::Capsule;
            const glm::vec3 local = toLocal * toTarget;
            body.halfHeight = std::max(scale * 0.01f, glm::length(local) * 0.5f - body.radius);
            body.offset = local * 0.5f;
            if (glm::dot(local, local) > 1e-12f) {
                body.rotation = glm::eulerAngles(RotationFromUp(local)) * 57.29578f;
            }
        } else {
            body.shape = RagdollBodyShape::Sphere;
            body.offset = toLocal * glm::vec3(0.0f, body.radius, 0.0f);
        }
        if (!IsFinite(body.offset) || !IsFinite(body.rotation) || !std::isfinite(body.halfHeight)) continue;
        definition.bodies.push_back(std::move(body));
    }
    return definition;
}

} // namespace Brelk::Assets
