#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace Brelk::Assets {

// A fixed shader template: the library file that hosts a material's fragment code, the
// vertex program beside it, the signature of the function the generated code defines, and
// the option bits it accepts.
struct MaterialTemplate {
    std::uint32_t id;
    std::string_view name;
    std::string_view fragmentInclude;
    std::string_view vertexInclude;
    std::string_view entrySignature;
    std::uint32_t options;
};

// One option bit of a template and the macro that switches it on in the fragment stage.
struct MaterialTemplateOption {
    std::uint32_t bit;
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

// Option bits of a variant, as the option table lists them.
inline constexpr std::uint32_t kVariantAlphaTest = 1;
inline constexpr std::uint32_t kVariantObjectRows = 2;
inline constexpr std::uint32_t kVariantDecal = 4;
// Skinning is chosen in the vertex stage, so no fragment macro stands for it.
inline constexpr std::uint32_t kVariantSkinning = 32;

// The five rows, by id.
std::span<const MaterialTemplate> MaterialTemplates();
// The five option bits in table order.
std::span<const MaterialTemplateOption> MaterialTemplateOptions();
// The row of `id`; ids past the table give the Surface row, so a damaged material still
// generates valid text.
const MaterialTemplate& FindMaterialTemplate(std::uint32_t id);

// The bits of `variant` that the template allows: its options, and skinning unless it is
// the post-process template.
std::uint32_t NormalizeVariant(std::uint32_t templateId, std::uint32_t variant);

// The template files in the order in which they enter the template stamp.
std::span<const std::string_view> MaterialTemplateFiles();

} // namespace Brelk::Assets
