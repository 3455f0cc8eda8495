#include "engine/assets/shaders/MaterialTemplates.h"
#include "engine/assets/shaders/ShaderSource.h"
#include "engine/assets/shaders/ShaderStamps.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;

TEST(MaterialTemplates, NormalizeKeepsTheRowsOptionsAndSkinningOutsidePostProcess) {
    struct Row {
        std::uint32_t templateId;
        std::uint32_t variant;
        std::uint32_t normalized;
    };
    for (const Row& row : std::vector<Row>{{0, 0xFFu, 63}, {3, 64 | 32 | 1, 33}, {4, 0xFFu, 0}, {2, 8, 8}, {9, 0xFFu, 63}}) {
        EXPECT_EQ(NormalizeVariant(row.templateId, row.variant), row.normalized) << row.templateId;
    }
    EXPECT_EQ(MaterialTemplateFiles().size(), 17u);
    EXPECT_EQ(FindMaterialTemplate(1).fragmentInclude, "brelk_domain_decal.glsl");
    // Without the skinning bit the vertex program says so (the compiler's suite pins the skinned one).
    EXPECT_EQ(BuildVertexSource(2, 31), "#version 450\n#extension GL_GOOGLE_include_directive : require\n"
                                        "#define BRELK_SKINNING 0\n#include \"brelk_vertex.glsl\"\n");
}

TEST(BuildFragmentSource, WritesTheMaterialAroundTheTemplateAndTiesLinesToNodes) {
    const std::vector<ShaderHelperFunction> helpers = {{85, "float CustomNode_85(float arg0)\n{\n    return arg0;\n}\n\n"}};
    const std::vector<MaterialStatement> statements = {{12, "vec4", "node_12_sample", "texture(BRELK_MATERIAL_TEXTURE(0), inTexCoord)"},
                                                       {85, "float", "node_85_custom", "CustomNode_85(node_12_sample.x)"}};
    const std::vector<std::string> tail = {"BrelkSurface surface = BrelkDefaultSurface();", "#ifndef BRELK_SHADOW_PASS",
                                           "surface.roughness = node_85_custom;", "#endif", "return surface;"};
    const GeneratedFragmentSource fragment = BuildFragmentSource(0, 1 | 8 | 16 | 32 | 64, helpers, statements, tail);
    std::vector<std::pair<std::uint32_t, std::uint64_t>> lines;
    for (const ShaderLineNode& entry : fragment.lines.entries) lines.emplace_back(entry.line, entry.node);
    EXPECT_EQ(lines, (std::vector<std::pair<std::uint32_t, std::uint64_t>>{
                         {10, 85}, {11, 85}, {12, 85}, {13, 85}, {17, 12}, {18, 85}}));
    EXPECT_EQ(fragment.lines.NodeAt(17), 12u);
    EXPECT_EQ(fragment.lines.NodeAt(16), 0u);

    // Both templates' text, the surface one with its defines and helper, is pinned in the golden file.
    const GeneratedFragmentSource post = BuildFragmentSource(4, 63, {}, {}, std::vector<std::string>{"return vec4(1.0);"});
    const fs::path data = fs::path(BRELK_TEST_DATA_DIR).parent_path().parent_path() / "shaders/tests/data";
    Testing::ExpectGoldenText(data / "GeneratedFragments.glsl", fragment.text + "== post process\n" + post.text);
}

TEST(MakeShadowFragmentSource, DefinesTheShadowPassBeforeTheFirstQuotedInclude) {
    EXPECT_EQ(MakeShadowFragmentSource("#version 450\n#include <x>\n#include \"a.glsl\"\n#include \"b.glsl\"\n"),
              "#version 450\n#include <x>\n#define BRELK_SHADOW_PASS\n#include \"a.glsl\"\n#include \"b.glsl\"\n");
    EXPECT_EQ(MakeShadowFragmentSource("void main() {}\n"), "#define BRELK_SHADOW_PASS\nvoid main() {}\n");
}

TEST(TemplateStamp, HashesEveryFileWithoutCarriageReturnsAndMarksMissingOnes) {
    constexpr std::uint64_t kNoFolder = 6399484028662489159ull;
    EXPECT_EQ(ComputeTemplateStamp({}), kNoFolder);
    EXPECT_EQ(PermutationStamp(kNoFolder, 0, 32), 12184181351849905621ull);
    EXPECT_EQ(PermutationStamp(kNoFolder, 0, 32 | 64), PermutationStamp(kNoFolder, 0, 32));
    EXPECT_NE(PermutationStamp(kNoFolder, 1, 32), PermutationStamp(kNoFolder, 0, 32));

    Testing::ScratchFolder lf;
    Testing::ScratchFolder crlf;
    for (const std::string_view name : MaterialTemplateFiles()) {
        Testing::WriteText(lf / name, "// " + std::string(name) + "\nvoid f() {}\n");
        Testing::WriteText(crlf / name, "// " + std::string(name) + "\r\nvoid f() {}\r\n");
    }
    const std::uint64_t stamp = ComputeTemplateStamp(lf.Path());
    EXPECT_EQ(ComputeTemplateStamp(crlf.Path()), stamp);
    EXPECT_NE(stamp, kNoFolder);
    fs::remove(lf / "brelk_lighting.glsl");
    const std::uint64_t missingOne = ComputeTemplateStamp(lf.Path());
    EXPECT_NE(missingOne, stamp);
    EXPECT_EQ(ComputeTemplateStamp(lf.Path()), missingOne);
}

} // namespace
} // namespace Brelk::Assets
