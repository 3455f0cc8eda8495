#include "engine/assets/shaders/MaterialTemplates.h"
#include "engine/assets/shaders/ShaderBuild.h"
#include "engine/assets/shaders/ShaderStamps.h"

#include "engine/core/Hash.h"
#include "tests/support/Deadline.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <sys/stat.h>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Diagnostics = std::vector<std::tuple<std::uint8_t, std::uint64_t, std::string>>;

Diagnostics Flatten(const std::vector<MaterialDiagnostic>& diagnostics) {
    Diagnostics flat;
    for (const MaterialDiagnostic& d : diagnostics) flat.emplace_back(d.severity, d.node, d.message);
    return flat;
}

std::vector<std::string> FilesEndingIn(const fs::path& folder, std::string_view suffix) {
    std::vector<std::string> found;
    for (const std::string& file : Testing::ListFiles(folder)) {
        if (std::string_view(file).ends_with(suffix)) found.push_back(file);
    }
    return found;
}

// An alpha-masked surface material of two statements, as the compiler would hand it over,
// and a compiler script that stands first on the search path.
class ShaderBuildFixture : public ::testing::Test {
protected:
    ShaderBuildFixture() {
        const std::vector<MaterialStatement> statements = {{7, "float", "node_7_value", "node_3_value * 2.0"},
                                                           {8, "vec3", "node_8_color", "vec3(node_7_value)"}};
        const std::vector<std::string> tail = {"BrelkSurface surface = BrelkDefaultSurface();",
                                               "surface.baseColor = node_8_color;", "return surface;"};
        fragment_ = BuildFragmentSource(0, 1 | 32, {}, statements, tail);
        vertex_ = BuildVertexSource(0, 1 | 32);
        const fs::path out = folder_ / "GeneratedShaders";
        files_ = {out / "Rock_1.vert",     out / "Rock_1.frag",        out / "Rock_1.vert.spv",
                  out / "Rock_1.frag.spv", out / "Rock_1.shadow.frag", out / "Rock_1.shadow.frag.spv"};
        options_.pathVariable = (folder_ / "bin").string();
    }

    // The script sees the source in $src and the output in $out, and logs each run.
    void InstallCompiler(std::string_view body, fs::perms mode = fs::perms::owner_all) {
        Testing::WriteText(folder_ / "bin" / "glslc",
                           "#!/bin/sh\n"
                           "while [ $# -gt 0 ]; do case \"$1\" in -I) shift;; -o) out=\"$2\"; shift;; *) src=\"$1\";; esac; shift; done\n"
                           "echo \"${src##*/}\" >> \"" + (folder_ / "calls.log").string() + "\"\n" + std::string(body) + "\n");
        fs::permissions(folder_ / "bin" / "glslc", mode);
    }

    bool Build(std::vector<MaterialDiagnostic>& diagnostics) {
        bool built = false;
        Testing::RunWithDeadline(Testing::kDeadline, [&] {
            built = BuildShaderFiles(files_, vertex_, fragment_.text, fragment_.lines, {}, options_, diagnostics);
        });
        return built;
    }

    std::string Calls() const { return Testing::ReadText(folder_ / "calls.log"); }

    Testing::ScratchFolder folder_;
    GeneratedFragmentSource fragment_;
    std::string vertex_;
    ShaderBuildFiles files_;
    ShaderToolOptions options_;
};

constexpr std::string_view kWriteOutput = "printf 'spirv of %s' \"${src##*/}\" > \"$out\"";

TEST_F(ShaderBuildFixture, CompilesOnceAndStartsNoCompilerWhenTheFilesStand) {
    InstallCompiler(kWriteOutput);
    std::vector<MaterialDiagnostic> diagnostics;
    ASSERT_TRUE(Build(diagnostics));
    EXPECT_TRUE(diagnostics.empty());
    EXPECT_EQ(Calls(), "Rock_1.vert\nRock_1.frag\nRock_1.shadow.frag\n");
    EXPECT_EQ(Testing::ReadText(files_.fragmentSource), fragment_.text);
    EXPECT_EQ(Testing::ReadText(files_.shadowFragmentSource), MakeShadowFragmentSource(fragment_.text));
    EXPECT_EQ(Testing::ReadText(files_.fragmentSpirv), "spirv of Rock_1.frag");

    ASSERT_TRUE(Build(diagnostics));
    EXPECT_EQ(Calls(), "Rock_1.vert\nRock_1.frag\nRock_1.shadow.frag\n");

    // A stage whose output stands passes without a run, also when the other one must be built; a
    // source written again with the text it holds is left alone.
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::last_write_time(files_.vertexSource, old);
    fs::remove(files_.vertexSpirv);
    ASSERT_TRUE(Build(diagnostics));
    EXPECT_EQ(Calls(), "Rock_1.vert\nRock_1.frag\nRock_1.shadow.frag\nRock_1.vert\n");
    EXPECT_EQ(fs::last_write_time(files_.vertexSource), old);
    EXPECT_TRUE(FilesEndingIn(folder_.Path(), ".partial").empty());
}

TEST_F(ShaderBuildFixture, ReportsEachFailureOrShadowWarningAndLeavesNoPartialFile) {
    struct Row {
        std::string script;
        fs::perms mode;
        bool withCompiler;
        Diagnostics expected;
        bool built = false;
    };
    // The line that the compiler's error names is the one the statement of node 7 stands on.
    const std::string line =
        std::to_string(std::ranges::find(fragment_.lines.entries, 7u, &ShaderLineNode::node)->line);
    const std::string frag = files_.fragmentSource.string();
    const std::string mapped = frag + ":" + line + ": error: 'node_3_value' : undeclared identifier\n1 error generated.\n";
    const std::vector<Row> rows = {
        {"case \"$src\" in *.frag) echo \"$src:" + line + ": error: 'node_3_value' : undeclared identifier\"; "
         "echo '1 error generated.'; exit 1;; esac; " + std::string(kWriteOutput),
         fs::perms::owner_all, true,
         {{1, 7, "Shader error in node 7: 'node_3_value' : undeclared identifier"}, {1, 0, mapped}}},
        {"exit 2", fs::perms::owner_all, true, {{1, 0, "glslc failed to compile generated shaders."}}},
        {"", fs::perms::owner_read, true, {{1, 0, "Failed to launch process: Permission denied"}}},
        {"", fs::perms::owner_all, false, {{1, 0, "glslc was not found on this machine."}}},
        // A failed shadow variant only warns.
        {"case \"$src\" in *.shadow.frag) echo 'no holes'; exit 1;; esac; " + std::string(kWriteOutput),
         fs::perms::owner_all, true, {{0, 0, "Shadow will ignore this material's holes: no holes\n"}}, true},
    };
    for (const Row& row : rows) {
        fs::remove_all(folder_ / "GeneratedShaders");
        fs::remove_all(folder_ / "bin");
        if (row.withCompiler) InstallCompiler(row.script, row.mode);
        std::vector<MaterialDiagnostic> diagnostics;
        EXPECT_EQ(Build(diagnostics), row.built) << row.script;
        EXPECT_EQ(Flatten(diagnostics), row.expected);
        EXPECT_EQ(Testing::ReadText(files_.fragmentSource), fragment_.text);
        EXPECT_EQ(fs::exists(files_.fragmentSpirv), row.built);
        EXPECT_TRUE(FilesEndingIn(folder_.Path(), ".partial").empty());
    }
}

TEST_F(ShaderBuildFixture, SourcesThatCannotBeWrittenFailBeforeAnyCompile) {
    InstallCompiler(kWriteOutput);
    Testing::WriteText(folder_ / "GeneratedShaders", "a file where the folder should be");
    std::vector<MaterialDiagnostic> diagnostics;
    EXPECT_FALSE(Build(diagnostics));
    EXPECT_EQ(Flatten(diagnostics), (Diagnostics{{1, 0, "Failed to write generated shader source files."}}));
    EXPECT_EQ(Calls(), "");
}

TEST_F(ShaderBuildFixture, PackagedShadersStandInForTheCompiler) {
    InstallCompiler(kWriteOutput);
    const std::vector<std::uint8_t> cooked = {3, 2, 0x23, 7};
    InstallPackagedShaders({{"Rock_1.vert.spv", cooked}, {"Rock_1.frag.spv", cooked}, {"Other.frag.spv", {}}}, files_);
    std::vector<MaterialDiagnostic> diagnostics;
    ASSERT_TRUE(Build(diagnostics));
    EXPECT_EQ(Calls(), "Rock_1.shadow.frag\n");
    EXPECT_EQ(Testing::ReadText(files_.vertexSpirv), std::string("\x03\x02\x23\x07", 4));
}

// That equal content is left alone shows in the build above.
TEST(WriteTextIfChanged, WritesThroughAPartialFile) {
    Testing::ScratchFolder folder;
    const fs::path path = folder / "deep" / "a.frag";
    ASSERT_TRUE(WriteTextIfChanged(path, "one"));
    ASSERT_TRUE(WriteTextIfChanged(path, "two"));
    EXPECT_EQ(Testing::ReadText(path), "two");
    EXPECT_EQ(Testing::ListFiles(folder.Path()), std::vector<std::string>{"deep/a.frag"});

    fs::create_directories(folder / "b.frag.partial");
    std::string error;
    EXPECT_FALSE(WriteTextIfChanged(folder / "b.frag", "x", &error));
    EXPECT_EQ(error, "Failed to write " + (folder / "b.frag.partial").string() + ".");
    EXPECT_FALSE(fs::exists(folder / "b.frag"));
}

// Statements that reach every name the templates declare for generated code.
const std::vector<MaterialStatement> kSurfaceStatements = {
    {1, "vec4", "node_1_sample", "texture(BRELK_MATERIAL_TEXTURE(13), ComputeSurfaceUv(inTexCoord * material.uvScaleAlphaCutoff.xy))"},
    {2, "float", "node_2_noise", "ValueNoise(inTexCoord * 8.0) + BrelkDepthFade(0.5)"},
    {3, "vec3", "node_3_hsv", "HSVToRGB(RGBToHSV(node_1_sample.rgb))"},
    {4, "vec4", "node_4_decal", "BrelkDecalProjection()"},
    {5, "vec3", "node_5_volume", "BrelkVolumeSphere(1.5)"},
    {6, "vec4", "node_6_scene", "texture(sceneColorSnapshot, BrelkScreenUv() + vec2(0.01))"},
    {7, "vec3", "node_7_view", "normalize(frame.cameraPosition.xyz - inWorldPosition) * frame.timeData.x"},
    {8, "vec4", "node_8_particle", "inParticleData + vec4(inParticleVelocity, inParticleCustom.x) + inVertexColor"},
    {9, "vec3", "node_9_tangent", "normalize(inWorldTangent.xyz) + material.parameterVectors[31].xyz"},
};
const std::vector<std::string> kSurfaceTail = {
    "BrelkSurface surface = BrelkDefaultSurface();",
    "surface.uv = ComputeSurfaceUv(inTexCoord * material.uvScaleAlphaCutoff.xy);",
    "vec4 surfaceBaseColor = node_1_sample * node_8_particle + node_6_scene * node_4_decal.w;",
    "surface.baseColor = surfaceBaseColor.rgb + node_3_hsv;",
    "surface.previewTint = surfaceBaseColor.rgb;",
    "surface.alpha = clamp(surfaceBaseColor.a * clamp(node_2_noise + node_5_volume.y, 0.0, 1.0), 0.0, 1.0);",
    "#ifndef BRELK_SHADOW_PASS",
    "surface.normal = normalize(ComputeMaterialNormal(surface.uv) + node_9_tangent);",
    "surface.roughness = clamp(0.65, 0.045, 1.0);",
    "surface.metallic = clamp(0.0, 0.0, 1.0);",
    "surface.emissive = (node_7_view + material.emissiveFactor.rgb) * material.emissiveFactor.a;",
    "surface.ambientOcclusion = clamp(1.0, 0.0, 1.0);",
    "#endif",
    "return surface;",
};
const std::vector<MaterialStatement> kPostProcessStatements = {
    {1, "vec4", "node_1_scene", "texture(sceneColorTexture, vUv)"},
    {2, "float", "node_2_depth", "texture(sceneDepthTexture, vUv).r * pc.cameraPositionWaterHeight.w"},
    {3, "vec3", "node_3_hsv", "HSVToRGB(RGBToHSV(node_1_scene.rgb)) * ValueNoise(vUv * pc.viewportSize.xy)"},
    {4, "vec4", "node_4_sample", "texture(BRELK_MATERIAL_TEXTURE(0), vUv) * material.parameterVectors[0]"},
};

const std::vector<ShaderHelperFunction> kHelpers = {{10, "float CustomNode_10(float arg0)\n{\n    return arg0;\n}\n"}};

bool StartsWithSpirvMagic(const fs::path& path) {
    const std::string bytes = Testing::ReadText(path);
    return bytes.size() >= 4 && bytes.substr(0, 4) == std::string("\x03\x02\x23\x07", 4);
}

TEST(GeneratedShaders, EveryTemplateAndOptionBitCompilesWithTheRealCompiler) {
    ShaderToolOptions options = MakeShaderToolOptions();
    if (LocateGlslc(options).empty()) GTEST_SKIP() << "glslc is not installed";
    const fs::path templates = BRELK_SHADER_TEMPLATE_DIR;
    Testing::ScratchFolder folder;
    std::vector<std::uint32_t> variants = {0, 63};
    for (const MaterialTemplateOption& option : MaterialTemplateOptions()) variants.push_back(option.bit);
    variants.push_back(kVariantSkinning);
    for (const MaterialTemplate& row : MaterialTemplates()) {
        const bool post = row.id == kTemplatePostProcess;
        for (const std::uint32_t variant : post ? std::vector<std::uint32_t>{0} : variants) {
            const GeneratedFragmentSource fragment =
                post ? BuildFragmentSource(row.id, variant, {}, kPostProcessStatements,
                                           std::vector<std::string>{"return node_1_scene + vec4(node_3_hsv, node_2_depth) + node_4_sample;"})
                     : BuildFragmentSource(row.id, variant, kHelpers, kSurfaceStatements, kSurfaceTail);
            const std::string name = std::string(row.name) + "_" + std::to_string(variant);
            const fs::path out = folder / name;
            const bool masked = (variant & 1) != 0;
            // Vertex programs differ only by skinning; like the engine, name them by their text.
            const std::string vertex = BuildVertexSource(row.id, variant);
            const fs::path vertexOut = folder / ("vertex_" + std::to_string(Core::Fnv1a64(vertex)));
            const ShaderBuildFiles files{vertexOut.string() + ".vert",     out.string() + ".frag",
                                         vertexOut.string() + ".vert.spv", out.string() + ".frag.spv",
                                         masked ? out.string() + ".shadow.frag" : "",
                                         masked ? out.string() + ".shadow.frag.spv" : ""};
            std::vector<MaterialDiagnostic> diagnostics;
            EXPECT_TRUE(BuildShaderFiles(files, vertex, fragment.text, fragment.lines,
                                         templates, options, diagnostics))
                << name;
            EXPECT_TRUE(diagnostics.empty()) << name << ": " << (diagnostics.empty() ? "" : diagnostics.back().message);
            EXPECT_TRUE(StartsWithSpirvMagic(files.vertexSpirv)) << name;
            EXPECT_TRUE(StartsWithSpirvMagic(files.fragmentSpirv)) << name;
            if (masked) {
                EXPECT_TRUE(StartsWithSpirvMagic(files.shadowFragmentSpirv)) << name;
            }
        }
    }
    // The shadow vertex program is no generated text, but ships with the others.
    Testing::WriteText(folder / "shadow.vert", "#version 450\n#extension GL_GOOGLE_include_directive : require\n"
                                               "#define BRELK_SKINNING 1\n#include \"brelk_shadow_vertex.glsl\"\n");
    std::string output;
    EXPECT_TRUE(CompileShaderStage(LocateGlslc(options), folder / "shadow.vert", folder / "shadow.vert.spv", templates, output))
        << output;
    // A mistake in generated code comes back on its node.
    const GeneratedFragmentSource broken = BuildFragmentSource(0, 0, {}, std::vector<MaterialStatement>{{42, "float", "node_42_x", "missingThing"}},
                                                               std::vector<std::string>{"return BrelkDefaultSurface();"});
    const fs::path out = folder / "Broken";
    std::vector<MaterialDiagnostic> diagnostics;
    EXPECT_FALSE(BuildShaderFiles({out.string() + ".vert", out.string() + ".frag", out.string() + ".vert.spv",
                                   out.string() + ".frag.spv", "", ""},
                                  BuildVertexSource(0, 0), broken.text, broken.lines, templates, options, diagnostics));
    ASSERT_FALSE(diagnostics.empty());
    EXPECT_EQ(diagnostics.front().node, 42u);
    EXPECT_EQ(diagnostics.front().message, "Shader error in node 42: 'missingThing' : undeclared identifier");
}

} // namespace
} // namespace Brelk::Assets
