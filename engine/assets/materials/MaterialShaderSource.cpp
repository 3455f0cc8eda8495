#include "engine/assets/materials/MaterialShaderSource.h"

#include "engine/core/Hash.h"
#include "engine/core/NumberText.h"
#include "engine/platform/Files.h"
#include "engine/platform/Folders.h"

#include <array>
#include <mutex>
#include <system_error>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kMaterialEntry = "BrelkSurface EvaluateMaterial()";

constexpr std::array<MaterialTemplate, 5> kTemplates{{
    {0, "Surface", "brelk_domain_surface.glsl", "brelk_vertex.glsl", kMaterialEntry, true},
    {1, "Decal", "brelk_domain_decal.glsl", "brelk_vertex.glsl", kMaterialEntry, true},
    {2, "Particle", "brelk_domain_particle.glsl", "brelk_vertex.glsl", kMaterialEntry, true},
    {3, "Unlit", "brelk_domain_unlit.glsl", "brelk_vertex.glsl", kMaterialEntry, true},
    {4, "PostProcess", "brelk_domain_postprocess.glsl", "brelk_postprocess_vertex.glsl", "vec4 EvaluatePostProcess()",
     false},
}};

constexpr std::array<MaterialTemplateOption, 5> kOptions{{
    {1, "BRELK_ALPHA_TEST", "Alpha-mask discard (gated by the material's alpha-masked flag)."},
    {2, "BRELK_OBJECT_ROWS", "Object transform rows in the fragment stage."},
    {4, "BRELK_DECAL", "Scene projection into the object box."},
    {8, "BRELK_SHADOW_PASS", "Coverage-only shadow and depth variant."},
    {16, "BRELK_AO_DARKENS_AMBIENT", "Occlusion scales the flat ambient term."},
}};

constexpr std::array<std::string_view, 17> kTemplateFiles{"bindless.glsl",
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
                                                          "brelk_shadow_vertex.glsl"};

bool HoldsSurfaceTemplate(const fs::path& folder) {
    std::error_code ignored;
    return !folder.empty() && fs::is_regular_file(folder / "brelk_surface.glsl", ignored);
}

class LineWriter {
public:
    explicit LineWriter(FragmentSource& source) : source_(source) {}

    void Add(std::string_view text, std::uint64_t node = 0) {
        while (true) {
            const std::size_t end = text.find('\n');
            source_.text.append(text.substr(0, end));
            source_.text += '\n';
            ++line_;
            if (node != 0) source_.lineNodes[line_] = node;
            if (end == std::string_view::npos) break;
            text.remove_prefix(end + 1);
        }
    }

private:
    FragmentSource& source_;
    std::uint32_t line_ = 0;
};

} // namespace

std::span<const MaterialTemplate> MaterialTemplates() noexcept {
    return kTemplates;
}
std::span<const MaterialTemplateOption> MaterialTemplateOptions() noexcept {
    return kOptions;
}
std::span<const std::string_view> MaterialTemplateFiles() noexcept {
    return kTemplateFiles;
}

const MaterialTemplate& FindMaterialTemplate(std::uint32_t id) noexcept {
    return id < kTemplates.size() ? kTemplates[id] : kTemplates[0];
}

std::uint32_t NormalizeVariant(std::uint32_t templateId, std::uint32_t bits) noexcept {
    const MaterialTemplate& row = FindMaterialTemplate(templateId);
    std::uint32_t allowed = 0;
    if (row.hasOptions) {
        for (const MaterialTemplateOption& option : kOptions) allowed |= option.bit;
        allowed |= kVariantSkinning;
    }
    return bits & allowed;
}

fs::path LocateShaderFolder() {
    // Each candidate depends on the program's location, which a host may fail to tell.
    const auto attempt = [](auto&& candidate) -> fs::path {
        try {
            fs::path folder = candidate();
            return HoldsSurfaceTemplate(folder) ? folder : fs::path();
        } catch (const std::exception&) {
            return {};
        }
    };
    for (fs::path folder : {attempt([] { return Platform::ResolveInstalledAsset("Shaders"); }),
                            attempt([] { return Platform::GetExecutableFolder() / "Assets" / "Shaders"; }),
                            attempt([] { return Platform::GetEngineRoot() / "Assets" / "Shaders"; })}) {
        if (!folder.empty()) return folder;
    }
    return {};
}

std::uint64_t ComputeTemplateStamp(const fs::path& folder) {
    std::uint64_t hash = Core::Fnv1a64("brelk_material_templates_v1");
    for (const std::string_view file : kTemplateFiles) {
        hash = Core::Fnv1a64(file, hash);
        const auto bytes = folder.empty() ? std::nullopt : Platform::ReadFileBytes(folder / file);
        if (!bytes) {
            hash = Core::Fnv1a64("<missing>", hash);
            continue;
        }
        for (const std::uint8_t byte : *bytes) {
            if (byte == '\r') continue;
            hash ^= byte;
            hash *= Core::kFnv1aPrime;
        }
    }
    return hash;
}

std::uint64_t TemplateStamp() {
    static std::mutex mutex;
    static bool computed = false;
    static std::uint64_t stamp = 0;
    std::lock_guard lock(mutex);
    if (!computed) {
        stamp = ComputeTemplateStamp(LocateShaderFolder());
        computed = true;
    }
    return stamp;
}

std::uint64_t PermutationStamp(std::uint64_t templateStamp, std::uint32_t templateId, std::uint32_t variant) {
    std::string text = "brelk_material_permutation|";
    Core::AppendInteger(text, templateStamp);
    text += '|';
    text += FindMaterialTemplate(templateId).name;
    text += '|';
    Core::AppendInteger(text, NormalizeVariant(templateId, variant));
    return Core::Fnv1a64(text);
}

std::string BuildVertexSource(std::uint32_t templateId, std::uint32_t variant) {
    const MaterialTemplate& row = FindMaterialTemplate(templateId);
    std::string text = "#version 450\n#extension GL_GOOGLE_include_directive : require\n";
    if (row.hasOptions) {
        text += (NormalizeVariant(templateId, variant) & kVariantSkinning) ? "#define BRELK_SKINNING 1\n"
                                                                           : "#define BRELK_SKINNING 0\n";
    }
    text += "#include \"";
    text += row.vertexInclude;
    text += "\"\n";
    return text;
}

FragmentSource BuildFragmentSource(std::uint32_t templateId, std::uint32_t variant,
                                   std::span<const MaterialHelperFunction> helpers,
                                   std::span<const MaterialStatement> statements,
                                   std::span<const std::string> tailLines) {
    const MaterialTemplate& row = FindMaterialTemplate(templateId);
    FragmentSource source;
    LineWriter out(source);
    out.Add("#version 450");
    out.Add("#extension GL_GOOGLE_include_directive : require");
    out.Add("#extension GL_EXT_nonuniform_qualifier : require");
    out.Add("// Generated by the Brelk material compiler: " + std::string(row.name) + " template, see " +
            std::string(row.fragmentInclude) + ".");
    const std::uint32_t bits = NormalizeVariant(templateId, variant);
    for (const MaterialTemplateOption& option : kOptions) {
        if (bits & option.bit) out.Add("#define " + std::string(option.macro));
    }
    out.Add("#include \"" + std::string(row.fragmentInclude) + "\"");
    out.Add("");
    for (const MaterialHelperFunction& helper : helpers) {
        std::string_view text = helper.text;
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.remove_suffix(1);
        out.Add(text, helper.node);
        out.Add("");
    }
    out.Add(row.entrySignature);
    out.Add("{");
    for (const MaterialStatement& statement : statements) {
        out.Add("    " + statement.type + " " + statement.name + " = " + statement.value + ";", statement.node);
    }
    for (const std::string& line : tailLines) {
        out.Add(line.starts_with("#") ? line : "    " + line);
    }
    out.Add("}");
    return source;
}

} // namespace Brelk::Assets
