#pragma once

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

struct Skeleton;

// The humanoid parts a bone can play; the number is the index into RigDefinition::roles.
enum class RigBoneRole : std::uint32_t {
    Root, Hips, Spine, Spine1, Spine2, Neck, Head,
    LeftShoulder, LeftUpperArm, LeftLowerArm, LeftHand,
    RightShoulder, RightUpperArm, RightLowerArm, RightHand,
    LeftUpperLeg, LeftLowerLeg, LeftFoot,
    RightUpperLeg, RightLowerLeg, RightFoot,
    None,
};

inline constexpr std::size_t kRigBoneRoleCount = 21;

enum class RagdollBodyShape : std::uint32_t { Capsule = 0, Box = 1, Sphere = 2 };

struct RagdollBodyDefinition {
    std::string bone;
    RagdollBodyShape shape = RagdollBodyShape::Capsule;
    float radius = 0.08f;
    float halfHeight = 0.12f;
    glm::vec3 halfExtents{0.1f};
    glm::vec3 offset{0.0f};
    // Euler degrees.
    glm::vec3 rotation{0.0f};
    float mass = 4.0f;
    // Degrees; twist is the minimum and the maximum.
    glm::vec2 swing{45.0f, 45.0f};
    glm::vec2 twist{-30.0f, 30.0f};
    float strength = 1.0f;
    friend bool operator==(const RagdollBodyDefinition&, const RagdollBodyDefinition&) = default;
};

struct RigDefinition {
    std::string name;
    // The bone name of each role, or empty.
    std::array<std::string, kRigBoneRoleCount> roles;
    std::vector<RagdollBodyDefinition> bodies;
    friend bool operator==(const RigDefinition&, const RigDefinition&) = default;

    [[nodiscard]] const std::string& Role(RigBoneRole role) const { return roles[static_cast<std::size_t>(role)]; }
};

// "Root" for a value out of range.
std::string_view RigRoleName(std::uint32_t value) noexcept;
inline std::string_view RigRoleName(RigBoneRole role) noexcept { return RigRoleName(static_cast<std::uint32_t>(role)); }
[[nodiscard]] bool ParseRigRole(std::string_view text, RigBoneRole* role) noexcept;
std::string_view RagdollBodyShapeName(RagdollBodyShape shape) noexcept;

// The lower-case, underscore-separated form that inference matches fragments against:
// "mixamorig:LeftUpLeg" and "Left_Up_Leg" both give "_left_up_leg_".
std::string NormalizeBoneName(std::string_view name);

// Roles from bone names, the spine from the chain between hips and neck, and ragdoll bodies
// sized from the bind pose. An empty skeleton gives the empty definition.
[[nodiscard]] RigDefinition InferRigDefinition(const Skeleton& skeleton);

// The text "brelk_rig_definition 1". Saving replaces the file atomically; a failure gives
// "Could not write rig definition: <path>".
[[nodiscard]] std::string SerializeRigDefinition(const RigDefinition& definition);
[[nodiscard]] bool SaveRigDefinition(const RigDefinition& definition, const std::filesystem::path& path,
                                     std::string* error = nullptr);

// Errors read "Rig definition line <n>: <what>", the first one found; "Could not read rig
// definition: <path>" when the file can't be read.
[[nodiscard]] bool LoadRigDefinition(const std::filesystem::path& path, RigDefinition* definition,
                                     std::string* error = nullptr);
[[nodiscard]] bool ParseRigDefinition(std::string_view text, RigDefinition* definition, std::string* error = nullptr);

// The asset manager's load of one definition: a failure logs "Rig definition '<path>' was
// not loaded: <reason>" and gives nothing.
[[nodiscard]] std::optional<RigDefinition> LoadRigDefinitionAsset(const std::filesystem::path& path);

} // namespace Brelk::Assets
