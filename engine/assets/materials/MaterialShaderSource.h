#pragma once

#include "engine/assets/materials/MaterialCompiledState.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Brelk::Assets {

// The templates around generated material code. The option bits each template allows
// are the five of MaterialTemplateOptions(); bit 32 (skinning) is allowed by every
// template but PostProcess.
struct MaterialTemplate {
    std::uint32_t id = 0;
    std::string_view name;
    std::string_view fragmentInclude;
    std::string_view vertexInclude;
    std::string_view entrySignature;
    bool hasOptions = true;
};

struct MaterialTemplateOption {
    std::uint32_t bit = 0;
    std::string_view macro;
    std::string_view description;
};

enum MaterialTemplateId : std::uint32_t {
    kTemplateSurface = 0,
    kTemplateDecal = 1,
    kTemplateParticle = 2,
    kTemplateUnlit = 3,
    kTemplatePostProcess = 4,
};

inline constexpr std::uint32_t kVariantAlphaTest = 1;
inline constexpr std::uint32_t kVariantObjectRows = 2;
inline constexpr std::uint32_t kVariantDecal = 4;
inline constexpr std::uint32_t kVariantSkinning = 32;

std::span<const MaterialTemplate> MaterialTemplates() noexcept;
std::span<const MaterialTemplateOption> MaterialTemplateOptions() noexcept;
// The row of an id; the Surface row for an unknown one.
const MaterialTemplate& FindMaterialTemplate(std::uint32_t id) noexcept;
std::span<const std::string_view> MaterialTemplateFiles() noexcept;

// `bits` less those the template doesn't allow.
std::uint32_t NormalizeVariant(std::uint32_t templateId, std::uint32_t bits) noexcept;

// The shipped shader folder: the first of the installed "Shaders", <program>/Assets/Shaders
// and <engine root>/Assets/Shaders that holds "brelk_surface.glsl"; empty if none does.
std::filesystem::path LocateShaderFolder();

// FNV-1a 64 over the template files (carriage returns removed; "<missing>" for one that
// can't be read) in `folder`, in their fixed order.
std::uint64_t ComputeTemplateStamp(const std::filesystem::path& folder);
// ComputeTemplateStamp of LocateShaderFolder(), once per process; changed templates need a
// restart.
std::uint64_t TemplateStamp();
std::uint64_t PermutationStamp(std::uint64_t templateStamp, std::uint32_t templateId, std::uint32_t variant);

struct FragmentSource {
    std::string text;
    // Line number, from 1, to the node whose code stands there.
    std::unordered_map<std::uint32_t, std::uint64_t> lineNodes;
};

FragmentSource BuildFragmentSource(std::uint32_t templateId, std::uint32_t variant,
                                   std::span<const MaterialHelperFunction> helpers,
                                   std::span<const MaterialStatement> statements,
                                   std::span<const std::string> tailLines);
std::string BuildVertexSource(std::uint32_t templateId, std::uint32_t variant);

} // namespace Brelk::Assets
