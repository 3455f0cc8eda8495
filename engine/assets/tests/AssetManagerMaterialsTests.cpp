#include "engine/assets/AssetManager.h"

#include "engine/assets/cooked/CookedContainer.h"
#include "engine/assets/cooked/CookedMaterial.h"
#include "engine/assets/materials/MaterialDefaults.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/core/TaskSystem.h"
#include "tests/support/Deadline.h"

#include <gtest/gtest.h>


namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Core::LogLevel;
using Testing::ListFiles;
using Testing::LogCapture;
using Testing::ReadText;
using Testing::ThrownMessage;
using Testing::WriteText;

const std::string kSpirvMagic("\x03\x02\x23\x07", 4);

// A content folder, a settings folder for the generated shaders, and a search path that
// holds only the compiler script a test installs.
class AssetManagerMaterialsTest : public Testing::ProjectTest {
protected:
    AssetManagerMaterialsTest() { fs::create_directories(root_ / "bin"); }

    fs::path Shaders() const { return root_ / "Settings/GeneratedShaders"; }

    // The script writes the SPIR-V magic to its output and logs the source it was given.
    void InstallCompiler(std::string_view body = "printf '\\003\\002\\043\\007' > \"$out\"") {
        WriteText(root_ / "bin/glslc",
                  "#!/bin/sh\n"
                  "while [ $# -gt 0 ]; do case \"$1\" in -I) shift;; -o) out=\"$2\"; shift;; *) src=\"$1\";; esac; "
                  "shift; done\n"
                  "echo \"${src##*/}\" >> \"" + (root_ / "calls.log").string() + "\"\n" + std::string(body) + "\n");
        fs::permissions(root_ / "bin/glslc", fs::perms::owner_all);
    }
    std::size_t CompilerRuns() const {
        if (!fs::exists(root_ / "calls.log")) return 0;
        const std::string log = ReadText(root_ / "calls.log");
        return static_cast<std::size_t>(std::count(log.begin(), log.end(), '\n'));
    }

    void Initialize(AssetManager& manager, AssetSourceMode mode = AssetSourceMode::Authoring) {
        Brelk::Testing::RunWithDeadline(Brelk::Testing::kDeadline, [&] {
            const Core::Tasks::ScopedTaskSystem tasks(Core::Tasks::TaskSystemConfig{2, 1, std::nullopt});
            manager.Initialize(Content(), mode);
        });
    }
    AssetHandle Handle(const AssetManager& manager, std::string_view name) const {
        return manager.GetRegistry().HandleOfPath(Content(name));
    }

    Testing::ScopedEnvironmentVariable path_{"PATH", root_ / "bin"};
};

TEST_F(AssetManagerMaterialsTest, InitializeBuildsMissingShadersOnceAndARequestedCompileBuildsInTheBackground) {
    InstallCompiler();
    WriteText(Content("Rock.bmat"), "");
    WriteText(Content("Sand.bmat"), "version 3\nroughness 0.25\n");
    WriteText(Content("Function.bmatfunc"), "kind Function\n");
    WriteText(Content("Wet.bmatinst"), "version 3\nis_instance 1\nparent_material_ref \"content:Rock.bmat\"\n");
    AssetManager first;
    Initialize(first);
    const AssetHandle rock = Handle(first, "Rock.bmat");

    const MaterialEntry* entry = first.GetMaterial(rock);
    ASSERT_NE(entry, nullptr);
    EXPECT_TRUE(entry->compiled.succeeded);
    EXPECT_TRUE(entry->compiled.diagnostics.empty());
    EXPECT_EQ(ReadText(entry->compiled.fragmentSpirvPath), kSpirvMagic);
    EXPECT_EQ(ReadText(entry->compiled.fragmentPath), entry->compiled.fragmentSource);
    // Two materials, two stages each; the function has no shaders.
    EXPECT_EQ(CompilerRuns(), 4u);
    const std::string stem = entry->compiled.shaderName;
    const std::string sand = first.GetMaterial(Handle(first, "Sand.bmat"))->compiled.shaderName;
    EXPECT_EQ(ListFiles(Shaders()),
              (std::vector<std::string>{stem + ".frag", stem + ".frag.spv", stem + ".vert", stem + ".vert.spv",
                                        sand + ".frag", sand + ".frag.spv", sand + ".vert", sand + ".vert.spv"}));
    EXPECT_EQ(first.ResolveMaterial(rock), &entry->material);

    // A second start finds every file and starts no child process.
    AssetManager second;
    Initialize(second);
    EXPECT_EQ(CompilerRuns(), 4u);
    EXPECT_TRUE(second.GetMaterial(rock)->compiled.succeeded);
    EXPECT_TRUE(second.EnsureMaterialCompiled(rock, true));
    EXPECT_EQ(CompilerRuns(), 4u);

    // Without its files, a requested compile builds in the background until an update collects it.
    fs::remove_all(Shaders());
    Brelk::Testing::RunWithDeadline(Brelk::Testing::kDeadline, [&] {
        const Core::Tasks::ScopedTaskSystem tasks(Core::Tasks::TaskSystemConfig{2, 1, std::nullopt});
        EXPECT_TRUE(second.RequestMaterialCompile(rock));
        EXPECT_FALSE(second.RequestMaterialCompile(rock));
        while (second.IsMaterialCompilePending(rock)) second.UpdateAsyncLoads();
    });
    const MaterialEntry* rebuilt = second.GetMaterial(rock);
    EXPECT_TRUE(rebuilt->compiled.succeeded);
    EXPECT_EQ(CompilerRuns(), 6u);
    EXPECT_EQ(ReadText(rebuilt->compiled.vertexSpirvPath), kSpirvMagic);
    EXPECT_EQ(second.GetMaterial(Handle(second, "Wet.bmatinst"))->compiled.shaderName, stem);
    EXPECT_TRUE(second.RequestMaterialCompile(Handle(second, "Wet.bmatinst")));
    EXPECT_FALSE(second.RequestMaterialCompile(12345));
    EXPECT_FALSE(second.EnsureMaterialCompiled(12345));
}

// How each kind of compiler failure reads is the shader build's own; here only what the start does with one.
TEST_F(AssetManagerMaterialsTest, WithoutACompilerTheMaterialKeepsItsTextAndTheStartGoesOn) {
    WriteText(Content("Rock.bmat"), "");
    AssetManager manager;
    LogCapture log;
    Initialize(manager);
    EXPECT_EQ(log.Messages(LogLevel::Error),
              std::vector<std::string>{"Failed to compile material asset 'Rock.bmat': glslc was not found on this "
                                       "machine."});
    const MaterialCompiledState& compiled = manager.GetMaterial(Handle(manager, "Rock.bmat"))->compiled;
    EXPECT_FALSE(compiled.succeeded);
    EXPECT_FALSE(compiled.parameters.empty());
    EXPECT_EQ(ListFiles(Shaders()),
              (std::vector<std::string>{compiled.shaderName + ".frag", compiled.shaderName + ".vert"}));
}

TEST_F(AssetManagerMaterialsTest, ACompilerErrorOnAGeneratedLineNamesTheNodeThatWroteIt) {
    // The fragment's first assignment is the first statement of the material's code.
    // Only shell builtins: the search path holds nothing but the script.
    InstallCompiler("case \"$src\" in *.frag) n=0; while IFS= read -r line; do n=$((n+1)); "
                    "case \"$line\" in *' = '*) break;; esac; done < \"$src\"; "
                    "echo \"$src:$n: error: 'x' : undeclared identifier\" >&2; exit 1;; esac; : > \"$out\"");
    // A texture sample into the base colour: a statement of its own.
    WriteText(Content("Rock.bmat"), "version 1\ngraph_next_id 26\n"
                                    "node 7 MaterialOutput 70 20 \"Material Output\"\n"
                                    "pin 7 8 Input Color 1 0 \"Base Color\"\n"
                                    "node 18 Texture2D 0 0 \"Texture2D\"\n"
                                    "pin 18 19 Output Texture2D 0 0 \"Texture\"\n"
                                    "node 20 TextureSample2D 0 0 \"Texture Sample\"\n"
                                    "pin 20 21 Input Texture2D 0 0 \"Texture\"\n"
                                    "pin 20 22 Input Vec2 1 0 \"UV\"\n"
                                    "pin 20 23 Output Color 0 0 \"Color\"\n"
                                    "link 24 19 21\nlink 25 23 8\n");
    AssetManager manager;
    Initialize(manager);
    const MaterialCompiledState& compiled = manager.GetMaterial(Handle(manager, "Rock.bmat"))->compiled;
    EXPECT_FALSE(compiled.succeeded);
    // Behind the compile's own warnings: the mapped error, then the compiler's whole output.
    ASSERT_GE(compiled.diagnostics.size(), 2u);
    ASSERT_FALSE(compiled.statements.empty());
    EXPECT_EQ(compiled.diagnostics[compiled.diagnostics.size() - 2],
              (MaterialDiagnostic{kMaterialError, compiled.statements.front().node,
                                  "Shader error in node " + std::to_string(compiled.statements.front().node) +
                                      ": 'x' : undeclared identifier"}));
    EXPECT_EQ(compiled.diagnostics.back().node, 0u);
}

TEST_F(AssetManagerMaterialsTest, ACookedMaterialBringsItsShadersAndNoCompilerRuns) {
    InstallCompiler("exit 1");
    AssetRecord record;
    record.name = "Rock.bmat";
    MaterialAsset source;
    source.graph = MakeDefaultSurfaceGraph();
    CookedMaterial cooked;
    cooked.shaderName = CompileMaterialForAsset(record, source, nullptr, Shaders()).shaderName;
    cooked.flags = 2;
    cooked.vertexSpirv = {3, 2, 0x23, 7, 1, 0, 0, 0};
    cooked.fragmentSpirv = {3, 2, 0x23, 7, 2, 0, 0, 0};
    const std::vector<std::uint8_t> file =
        WriteCookedContainer(kCookedKindMaterial, kCookedMaterialFormatVersion, EncodeCookedMaterial(cooked));
    WriteText(Content("Rock.bmat"), std::string(file.begin(), file.end()));

    AssetManager manager;
    Initialize(manager);
    const MaterialEntry* entry = manager.GetMaterial(Handle(manager, "Rock.bmat"));
    ASSERT_NE(entry, nullptr);
    EXPECT_TRUE(entry->compiled.succeeded);
    EXPECT_EQ(entry->compiled.shaderName, cooked.shaderName);
    EXPECT_EQ(CompilerRuns(), 0u);
    EXPECT_EQ(ReadText(entry->compiled.fragmentSpirvPath), std::string("\x03\x02\x23\x07\x02\0\0\0", 8));
    EXPECT_EQ(manager.PackagedShaders().size(), 2u);
}

TEST_F(AssetManagerMaterialsTest, TheDefaultMaterialTheLoadOfOneThatIsNotThereAndCreatedOnesNamedByKind) {
    WriteText(Content("Bad.bmat"), "version 3\nnode 1 Texture2D 0 0 \"T\"\nprop 1 \"asset\" \"x\"\n");
    AssetManager manager;
    LogCapture log;
    Initialize(manager);
    EXPECT_EQ(log.Messages(LogLevel::Warning),
              std::vector<std::string>{"Failed to load material asset 'Bad.bmat': stoull"});
    const MaterialEntry* fallback = manager.GetMaterial(manager.GetBuiltinDefaultMaterial());
    ASSERT_NE(fallback, nullptr);
    MaterialAsset expected = MakeDefaultMaterial(manager.GetBuiltinHandles());
    expected.handle = manager.GetBuiltinDefaultMaterial();
    EXPECT_EQ(fallback->material, expected);

    const AssetHandle bad = Handle(manager, "Bad.bmat");
    const AssetLoadLease lease = manager.RequestLoad(bad, kAssetLoadPriorityTouch);
    manager.UpdateAsyncLoads();
    EXPECT_EQ(lease.State(), AssetLoadState::Failed);
    EXPECT_EQ(lease.Error(), "Unknown material asset " + std::to_string(bad) + ".");
    EXPECT_FALSE(manager.ReloadAsset(manager.GetBuiltinDefaultMaterial()));

    // New materials are named by their kind, and read-only sources refuse every write.
    struct Row {
        std::string_view name;
        std::uint32_t domain;
        bool isInstance;
        std::string file;
    };
    const Row rows[] = {
        {"My Rock!", 0, false, "My_Rock_.bmat"},    {"My Rock!", 0, false, "My_Rock__1.bmat"},
        {"__", 1, false, "Material.bmatfunc"},       {"Grade", 2, false, "Grade.bmatpp"},
        {"Wet", 0, true, "Wet.bmatinst"},
    };
    for (const Row& row : rows) {
        const AssetHandle handle = manager.CreateMaterialAsset("", row.name, row.domain, row.isInstance, 0);
        EXPECT_EQ(handle, Handle(manager, row.file)) << row.file;
        ASSERT_NE(manager.GetMaterial(handle), nullptr);
        EXPECT_EQ(manager.GetMaterial(handle)->material.graph.domain, row.domain) << row.file;
        EXPECT_TRUE(manager.SaveMaterialAsset(handle)) << row.file;
    }

    WriteText(Content("Rock.bmat"), "version 3\nroughness 0.25\n");
    const std::string before = ReadText(Content("Rock.bmat"));
    AssetManager readOnly;
    Initialize(readOnly, AssetSourceMode::ReadOnly);
    EXPECT_EQ(ThrownMessage([&] { (void)readOnly.SaveMaterialAsset(Handle(readOnly, "Rock.bmat")); }),
              "SaveMaterialAsset is unavailable with read-only asset sources.");
    EXPECT_EQ(ThrownMessage([&] { (void)readOnly.CreateMaterialAsset("", "New", 0, false, 0); }),
              "CreateMaterialAsset is unavailable with read-only asset sources.");
    EXPECT_EQ(ReadText(Content("Rock.bmat")), before);
}

} // namespace
} // namespace Brelk::Assets
