#include "engine/assets/AssetManager.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/core/Profiler.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Core::Guid;
using Testing::ListFiles;
using Testing::LogCapture;
using Testing::ThrownMessage;
using Testing::WriteText;

// Keeps the generated-shaders folder inside the scratch folder.
class AssetManagerTest : public ::testing::Test {
protected:
    fs::path Content(std::string_view relative = {}) const {
        return relative.empty() ? root_ / "Content" : root_ / "Content" / relative;
    }

    Testing::ScratchFolder root_;
    Testing::ScopedEnvironmentVariable settings_{"BRELK_USER_SETTINGS_DIR", root_ / "Settings"};
};

TEST_F(AssetManagerTest, CreatesAMissingFolderInAuthoringAndThrowsForOneInReadOnlyInAProfilerZone) {
    AssetManager manager;
    EXPECT_EQ(ThrownMessage([&] { manager.Initialize(Content("Project"), AssetSourceMode::ReadOnly); }),
              "Read-only asset content directory is missing: " + Content("Project").string());
    EXPECT_FALSE(fs::exists(Content("Project")));
    Core::ProfilerRecorder& recorder = Core::ProfilerRecorder::Instance();
    recorder.Clear();
    recorder.SetCpuProfilingEnabled(true);
    manager.Initialize(Content("Project"), AssetSourceMode::Authoring);
    recorder.SetCpuProfilingEnabled(false);
    EXPECT_TRUE(fs::is_directory(Content("Project")));
    EXPECT_TRUE(fs::is_directory(root_ / "Settings" / "GeneratedShaders"));
    bool found = false;
    for (const Core::ProfilerFrame& frame : recorder.Snapshot().frames)
        for (const Core::ProfilerEvent& event : frame.events)
            found = found || (event.name == "AssetManager::Initialize" && event.category == "Assets" && event.complete);
    recorder.Clear();
    EXPECT_TRUE(found);
}

TEST_F(AssetManagerTest, EmptyContentFolderGivesExactlyTheFifteenBuiltinsInOrderAndNoFiles) {
    fs::create_directories(Content());
    AssetManager manager;
    EXPECT_EQ(manager.GetBuiltinCube(), 0u);
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    const AssetRegistry& registry = manager.GetRegistry();
    EXPECT_EQ(registry.AllRecords().size(), 15u);
    EXPECT_TRUE(ListFiles(Content()).empty());
    using Getter = AssetHandle (AssetManager::*)() const;
    const struct {
        AssetType type;
        std::string name;
        Getter getter;
    } expected[] = {
        {AssetType::Mesh, "Builtin/Cube", &AssetManager::GetBuiltinCube},
        {AssetType::Mesh, "Builtin/Quad", &AssetManager::GetBuiltinQuad},
        {AssetType::Mesh, "Builtin/Plane", &AssetManager::GetBuiltinPlane},
        {AssetType::Mesh, "Builtin/Sphere", &AssetManager::GetBuiltinSphere},
        {AssetType::Mesh, "Builtin/MaterialPreviewSphere", &AssetManager::GetBuiltinMaterialPreviewSphere},
        {AssetType::Mesh, "Builtin/Cylinder", &AssetManager::GetBuiltinCylinder},
        {AssetType::Mesh, "Builtin/Cone", &AssetManager::GetBuiltinCone},
        {AssetType::Mesh, "Builtin/Torus", &AssetManager::GetBuiltinTorus},
        {AssetType::Mesh, "Builtin/Diamond", &AssetManager::GetBuiltinDiamond},
        {AssetType::Mesh, "Builtin/Cube_LOD1", nullptr},
        {AssetType::Mesh, "Builtin/Cube_LOD2", nullptr},
        {AssetType::Texture, "Builtin/White", &AssetManager::GetBuiltinWhite},
        {AssetType::Texture, "Builtin/Black", &AssetManager::GetBuiltinBlack},
        {AssetType::Texture, "Builtin/FlatNormal", &AssetManager::GetBuiltinFlatNormal},
        {AssetType::Material, "Builtin/DefaultMaterial", &AssetManager::GetBuiltinDefaultMaterial},
    };
    const std::span<const BuiltinAssetDefinition> definitions = BuiltinAssetDefinitions();
    ASSERT_EQ(definitions.size(), std::size(expected));
    for (std::size_t i = 0; i < definitions.size(); ++i) {
        const auto& e = expected[i];
        EXPECT_EQ(definitions[i].type, e.type);
        EXPECT_EQ(definitions[i].name, e.name);
        const AssetHandle handle = registry.HandleOfBuiltin(e.name);
        const AssetRecord* record = registry.Find(handle);
        ASSERT_NE(record, nullptr) << e.name;
        EXPECT_EQ(std::tuple(record->type, record->isBuiltin, record->guid),
                  std::tuple(e.type, true, Guid::FromName("builtin:" + e.name)));
        EXPECT_EQ(e.getter ? (manager.*e.getter)() : handle, handle) << e.name;
        EXPECT_EQ(ResolveAssetReference(registry, "builtin:" + e.name, e.type), handle);
    }
    EXPECT_EQ(AssetReferenceOf(registry, manager.GetBuiltinDefaultMaterial()), "builtin:Builtin/DefaultMaterial");
}

TEST_F(AssetManagerTest, ASecondInitializeGivesEqualHandlesAndAReadOnlyOneWritesNothing) {
    WriteText(Content("Art/Rock.png"), "png");
    WriteText(Content("Materials/Stone.bmat"), "mat");
    AssetManager manager;
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    const std::vector<AssetRecord> first = manager.GetRegistry().AllRecords();
    // Without its sidecar the read-only start derives the same identity and writes none.
    fs::remove(Content("Art/Rock.png.bmeta"));
    const std::vector<std::string> files = ListFiles(Content());
    const std::uint64_t revision = manager.ContentRevision();
    LogCapture log;
    manager.Initialize(Content("Art/.."), AssetSourceMode::ReadOnly);
    EXPECT_EQ(log.Messages(Core::LogLevel::Info),
              std::vector<std::string>{"Asset manager initialized: " + Content().string()});
    EXPECT_EQ(ListFiles(Content()), files);
    const std::vector<AssetRecord> second = manager.GetRegistry().AllRecords();
    ASSERT_EQ(first.size(), 17u);
    ASSERT_EQ(second.size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i)
        EXPECT_EQ(std::tie(second[i].name, second[i].handle, second[i].guid),
                  std::tie(first[i].name, first[i].handle, first[i].guid));
    EXPECT_GT(manager.ContentRevision(), revision);
}

} // namespace
} // namespace Brelk::Assets
