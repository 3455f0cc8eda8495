#include "engine/assets/rig/RigDefinition.h"

#include "engine/assets/text/LineTokens.h"
#include "engine/core/Logger.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace Brelk::Assets {
namespace {

constexpr std::array<std::string_view, kRigBoneRoleCount> kRoleNames = {
    "Root",         "Hips",          "Spine",         "Spine1",       "Spine2",        "Neck",          "Head",
    "LeftShoulder", "LeftUpperArm",  "LeftLowerArm",  "LeftHand",     "RightShoulder", "RightUpperArm", "RightLowerArm",
    "RightHand",    "LeftUpperLeg",  "LeftLowerLeg",  "LeftFoot",     "RightUpperLeg", "RightLowerLeg", "RightFoot",
};
constexpr std::array<std::string_view, 3> kShapeNames = {"Capsule", "Box", "Sphere"};

struct LineFailure {
    std::string what;
};

void AppendFloats(std::string& out, std::string_view field, std::span<const float> values) {
    out.push_back(' ');
    out.append(field);
    for (const float value : values) AppendFloatField(out, value);
}

// One numeric field of a body line: every number must parse and be finite.
void ReadBodyField(LineTokens& line, std::string_view field, std::span<float> values) {
    for (float& value : values) {
        if (!line.Float(&value)) throw LineFailure{"bad value for '" + std::string(field) + "'"};
        if (!std::isfinite(value)) throw LineFailure{"non-finite value"};
    }
}

void ReadBodyLine(LineTokens& line, RagdollBodyDefinition& body) {
    std::string_view shape;
    if (!line.Quoted(&body.bone) || !line.Word(&shape)) throw LineFailure{"bad body bone or shape"};
    const auto found = std::find(kShapeNames.begin(), kShapeNames.end(), shape);
    if (found == kShapeNames.end()) throw LineFailure{"bad body bone or shape"};
    body.shape = static_cast<RagdollBodyShape>(found - kShapeNames.begin());
    std::string_view field;
    while (line.Word(&field)) {
        if (field == "radius") {
            ReadBodyField(line, field, std::span(&body.radius, 1));
        } else if (field == "halfHeight") {
            ReadBodyField(line, field, std::span(&body.halfHeight, 1));
        } else if (field == "halfExtents") {
            ReadBodyField(line, field, std::span(&body.halfExtents.x, 3));
        } else if (field == "offset") {
            ReadBodyField(line, field, std::span(&body.offset.x, 3));
        } else if (field == "rotation") {
            ReadBodyField(line, field, std::span(&body.rotation.x, 3));
        } else if (field == "mass") {
            ReadBodyField(line, field, std::span(&body.mass, 1));
        } else if (field == "swing") {
            ReadBodyField(line, field, std::span(&body.swing.x, 2));
        } else if (field == "twist") {
            ReadBodyField(line, field, std::span(&body.twist.x, 2));
        } else if (field == "strength") {
            ReadBodyField(line, field, std::span(&body.strength, 1));
            body.strength = std::clamp(body.strength, 0.0f, 1.0f);
        } else {
            throw LineFailure{"unknown body field '" + std::string(field) + "'"};
        }
    }
}

} // namespace

std::string_view RigRoleName(std::uint32_t value) noexcept {
    return value < kRoleNames.size() ? kRoleNames[value] : kRoleNames[0];
}

bool ParseRigRole(std::string_view text, RigBoneRole* role) noexcept {
    const auto found = std::find(kRoleNames.begin(), kRoleNames.end(), text);
    if (found == kRoleNames.end()) return false;
    *role = static_cast<RigBoneRole>(found - kRoleNames.begin());
    return true;
}

std::string_view RagdollBodyShapeName(RagdollBodyShape shape) noexcept {
    const auto index = static_cast<std::size_t>(shape);
    return index < kShapeNames.size() ? kShapeNames[index] : kShapeNames[0];
}

std::string SerializeRigDefinition(const RigDefinition& definition) {
    std::string out = "brelk_rig_definition 1\nname ";
    AppendQuoted(out, definition.name);
    out.push_back('\n');
    for (std::size_t role = 0; role < kRigBoneRoleCount; ++role) {
        if (definition.roles[role].empty()) continue;
        out.append("role ").append(kRoleNames[role]).push_back(' ');
        AppendQuoted(out, definition.roles[role]);
        out.push_back('\n');
    }
    for (const RagdollBodyDefinition& body : definition.bodies) {
        out.append("body ");
        AppendQuoted(out, body.bone);
        out.push_back(' ');
        out.append(RagdollBodyShapeName(body.shape));
        AppendFloats(out, "radius", std::span(&body.radius, 1));
        AppendFloats(out, "halfHeight", std::span(&body.halfHeight, 1));
        AppendFloats(out, "halfExtents", std::span(&body.halfExtents.x, 3));
        AppendFloats(out, "offset", std::span(&body.offset.x, 3));
        AppendFloats(out, "rotation", std::span(&body.rotation.x, 3));
        AppendFloats(out, "mass", std::span(&body.mass, 1));
        AppendFloats(out, "swing", std::span(&body.swing.x, 2));
        AppendFloats(out, "twist", std::span(&body.twist.x, 2));
        AppendFloats(out, "strength", std::span(&body.strength, 1));
        out.push_back('\n');
    }
    return out;
}

bool SaveRigDefinition(const RigDefinition& definition, const std::filesystem::path& path, std::string* error) {
    if (Platform::WriteFileAtomic(path, SerializeRigDefinition(definition))) return true;
    SetError(error, "Could not write rig definition: " + Platform::PathToUtf8(path));
    return false;
}

bool ParseRigDefinition(std::string_view text, RigDefinition* definition, std::string* error) {
    *definition = RigDefinition{};
    const std::vector<std::string_view> lines = SplitLines(text);
    bool headerSeen = false;
    std::size_t number = 0;
    try {
        for (const std::string_view content : lines) {
            ++number;
            LineTokens line(content);
            std::string_view keyword;
            if (!line.Word(&keyword) || keyword.starts_with('#')) continue;
            if (!headerSeen) {
                std::uint32_t version = 0;
                if (keyword != "brelk_rig_definition" || !line.U32(&version) || version != 1) {
                    throw LineFailure{"expected 'brelk_rig_definition 1'"};
                }
                headerSeen = true;
            } else if (keyword == "name") {
                if (!line.Quoted(&definition->name)) throw LineFailure{"bad name"};
            } else if (keyword == "role") {
                std::string_view word;
                line.Word(&word);
                RigBoneRole role = RigBoneRole::None;
                std::string bone;
                if (!ParseRigRole(word, &role) || !line.Quoted(&bone)) {
                    throw LineFailure{"bad role '" + std::string(word) + "'"};
                }
                definition->roles[static_cast<std::size_t>(role)] = std::move(bone);
            } else if (keyword == "body") {
                RagdollBodyDefinition body;
                ReadBodyLine(line, body);
                definition->bodies.push_back(std::move(body));
            } else {
                throw LineFailure{"unknown keyword '" + std::string(keyword) + "'"};
            }
        }
        if (!headerSeen) {
            // A file of nothing but blanks and comments has no line to blame; it counts as
            // its first.
            number = 1;
            throw LineFailure{"empty file"};
        }
    } catch (const LineFailure& failure) {
        SetError(error, "Rig definition line " + std::to_string(number) + ": " + failure.what);
        return false;
    }
    return true;
}

bool LoadRigDefinition(const std::filesystem::path& path, RigDefinition* definition, std::string* error) {
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    if (!bytes) {
        SetError(error, "Could not read rig definition: " + Platform::PathToUtf8(path));
        return false;
    }
    return ParseRigDefinition(std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size()),
                              definition, error);
}

std::optional<RigDefinition> LoadRigDefinitionAsset(const std::filesystem::path& path) {
    RigDefinition definition;
    std::string error;
    if (LoadRigDefinition(path, &definition, &error)) return definition;
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Warning,
                            "Rig definition '" + Platform::PathToUtf8(path) + "' was not loaded: " + error);
    return std::nullopt;
}

} // namespace Brelk::Assets
