#include "engine/assets/shaders/ShaderErrors.h"
#include "engine/assets/shaders/ShaderTools.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;

TEST(LocateGlslc, TakesTheFirstOfItsFivePlacesInOrder) {
    Testing::ScratchFolder folder;
    const fs::path root = folder / "root";
    const fs::path program = folder / "program";
    const fs::path sdk = folder / "sdk";
    const fs::path tool = fs::path("Tools") / "ShaderCompiler" / "glslc";
    const std::vector<fs::path> places = {root / tool, program / tool, sdk / "Bin" / "glslc", folder / "path2" / "glslc"};
    for (const fs::path& place : places) Testing::WriteText(place, "#!/bin/sh\n");
    fs::create_directories(folder / "path1" / "glslc");
    ShaderToolOptions options{program, root, sdk, "::" + (folder / "path1").string() + "::" + (folder / "path2").string()};

    // The engine root's own compiler comes first only in a source tree.
    EXPECT_EQ(LocateGlslc(options), program / tool);
    Testing::WriteText(root / "CMakeLists.txt", "");
    Testing::WriteText(root / "Config" / "EngineVersion.json", "{}");
    EXPECT_EQ(LocateGlslc(options), root / tool);
    fs::remove(root / "CMakeLists.txt");
    fs::remove(program / tool);
    EXPECT_EQ(LocateGlslc(options), root / tool);
    fs::remove(root / tool);
    EXPECT_EQ(LocateGlslc(options), sdk / "Bin" / "glslc");
    options.vulkanSdk = fs::path();
    EXPECT_EQ(LocateGlslc(options), folder / "path2" / "glslc");
    options.pathVariable.reset();
    EXPECT_EQ(LocateGlslc(options), fs::path());
    EXPECT_EQ(LocateGlslc(ShaderToolOptions{}), fs::path());
}

TEST(MapShaderErrors, TiesErrorsOnGeneratedLinesToTheirNodesAndKeepsTheRestLocated) {
    const ShaderLineTable lines{{{12, 7}, {13, 9}}};
    const std::string output =
        "/cache/Rock_42.frag:12: error: 'node_3_value' : undeclared identifier\r\n"
        "/cache/Rock_42.frag:13: warning: unused\n"
        "/cache/Rock_42.frag:14: error: '' : syntax error\n"
        "brelk_surface.glsl:12: error: 'x' : no such field\n"
        "/cache/Rock_42.vert:13: error: vertex trouble\n"
        "Rock_42.frag:4294967296: error: too far\n"
        "Rock_42.frag:4294967295: error: far\n"
        "Rock_42.frag:1x: error: not a number\n"
        "Rock_42.frag:: error: empty number\n"
        "no location: error: here\n"
        "2 errors generated.\n"
        "Rock_42.frag:13: error: last line without end";
    std::vector<std::tuple<std::uint8_t, std::uint64_t, std::string>> got;
    for (const MaterialDiagnostic& diagnostic : MapShaderErrors(output, "/cache/Rock_42.frag", lines)) {
        got.emplace_back(diagnostic.severity, diagnostic.node, diagnostic.message);
    }
    EXPECT_EQ(got, (std::vector<std::tuple<std::uint8_t, std::uint64_t, std::string>>{
                       {1, 7, "Shader error in node 7: 'node_3_value' : undeclared identifier"},
                       {1, 0, "Shader error (/cache/Rock_42.frag:14): '' : syntax error"},
                       {1, 0, "Shader error (brelk_surface.glsl:12): 'x' : no such field"},
                       {1, 0, "Shader error (/cache/Rock_42.vert:13): vertex trouble"},
                       {1, 0, "Shader error (Rock_42.frag:4294967295): far"},
                       {1, 9, "Shader error in node 9: last line without end"},
                   }));
}

} // namespace
} // namespace Brelk::Assets
