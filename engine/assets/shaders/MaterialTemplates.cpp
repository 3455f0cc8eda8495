#include "engine/assets/shaders/MaterialTemplates.h"

namespace Brelk::Assets {

namespace {

constexpr std::string_view kMaterialEntry = "BrelkSurface EvaluateMaterial()";
constexpr std::uint32_t kAllOptions = 1 | 2 | 4 | 8 | 16;

constexpr std::array<MaterialTemplate, 5> kTemplates = {{
    {0, "Surface", "brelk_domain_surface.glsl", "brelk_vertex.glsl", kMaterialEntry, kAllOptions},
    {1, "Decal", "brelk_domain_decal.glsl", "brelk_vertex.glsl", kMaterialEntry, kAllOptions},
    {2, "Particle", "brelk_domain_particle.glsl", "brelk_vertex.glsl", kMaterialEntry, kAllOptions},
    {3, "Unlit", "brelk_domain_unlit.glsl", "brelk_vertex.glsl", kMaterialEntry, kAllOptions},
    {4, "PostProcess", "brelk_domain_postprocess.glsl", "brelk_postprocess_vertex.glsl",
     "vec4 EvaluatePostProcess()", 0},
}};

constexpr std::array<MaterialTemplateOption, 5> kOptions = {{
    {1, "BRELK_ALPHA_TEST", "Alpha-mask discard (gated by the material's alpha-masked flag)."},
    {2, "BRELK_OBJECT_ROWS", "Object transform rows in the fragment stage."},
    {4, "BRELK_DECAL", "Scene projection into the object box."},
    {8, "BRELK_SHADOW_PASS", "Coverage-only shadow and depth variant."},
    {16, "BRELK_AO_DARKENS_AMBIENT", "Occlusion scales the flat ambient term."},
}};

constexpr std::array<std::string_view, 17> kFiles = {
    "bindless.glsl",
    "brelk_common.glsl",
    "brelk_frame_data.glsl",
    "brelk_frame.glsl",
    "brelk_lighting.glsl",
    "brelk_debug_views.glsl",
    "brelk_material_library.glsl",
    "brelk_surface.glsl",
    "brelk_domain_surface.glsl",
    "brelk_domain_decal.glsl",
    "brelk_domain_particle.glsl",
    "brelk_domain_unlit.glsl",
    "brelk_domain_postprocess.glsl",
    "brelk_vertex_input.glsl",
    "brelk_vertex.glsl",
    "brelk_postprocess_vertex.glsl",
    "brelk_shadow_vertex.glsl",
};

} // namespace

std::span<const MaterialTemplate> MaterialTemplates() { return kTemplates; }

std::span<const MaterialTemplateOption> MaterialTemplateOptions() { return kOptions; }

const MaterialTemplate& FindMaterialTemplate(std::uint32_t id) {
    return id < kTemplates.size() ? kTemplates[id] : kTemplates[0];
}

std::uint32_t NormalizeVariant(std::uint32_t templateId, std::uint32_t variant) {
    std::uint32_t allowed = FindMaterialTemplate(templateId).options;
    if (templateId != kTemplatePostProcess) allowed |= kVariantSkinning;
    return variant & allowed;
}

std::span<const std::string_view> MaterialTemplateFiles() { return kFiles; }

} // namespace Brelk::Assets
