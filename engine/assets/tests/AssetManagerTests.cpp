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
using Testing::TempFolder;
using Testing::WriteText;

// Keeps the generated-shaders folder of these tests inside their own temporary folder.
class AssetManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* previous = std::getenv("BRELK_USER_SETTINGS_DIR");
        if (previous) {
            previousSettings_ = previous;
        }
        ::setenv("BRELK_USER_SETTINGS_DIR", (root_ / "Settings").c_str(), 1);
    }
    void TearDown() override {
        if (previousSettings_) {
            ::setenv("BRELK_USER_SETTINGS_DIR", previousSettings_->c_str(), 1);
        } else {
            ::unsetenv("BRELK_USER_SETTINGS_DIR");
        }
    }

    fs::path Content(std::string_view relative = {}) const {
        return relative.empty() ? root_ / "Content" : root_ / "Content" / relative;
    }

    TempFolder root_;
    std::optional<std::string> previousSettings_;
};

TEST_F(AssetManagerTest, CreatesAMissingContentFolderAndTheGeneratedShadersFolder) {
    AssetManager manager;
    manager.Initialize(Content("Project"), AssetSourceMode::Authoring);
    EXPECT_TRUE(fs::is_directory(Content("Project")));
    EXPECT_TRUE(fs::is_directory(root_ / "Settings" / "GeneratedShaders"));
    EXPECT_EQ(manager.GetRegistry().ContentRoot(), Content("Project"));
    EXPECT_EQ(manager.Mode(), AssetSourceMode::Authoring);
}

TEST_F(AssetManagerTest, ThrowsTheExactMessageForAMissingReadOnlyFolder) {
    AssetManager manager;
    try {
        manager.Initialize(Content("Missing"), AssetSourceMode::ReadOnly);
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()),
                  "Read-only asset content directory is missing: " + Content("Missing").string());
    }
    EXPECT_FALSE(fs::exists(Content("Missing")));
}

TEST_F(AssetManagerTest, EmptyContentFolderGivesExactlyTheFifteenBuiltinsInOrderAndNoFiles) {
    fs::create_directories(Content());
    AssetManager manager;
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    const std::vector<AssetRecord> records = manager.GetRegistry().AllRecords();
    ASSERT_EQ(records.size(), 15u);
    EXPECT_TRUE(ListFiles(Content()).empty());

    const std::vector<std::pair<AssetType, std::string>> expected = {
        {AssetType::Mesh, "Builtin/Cube"},          {AssetType::Mesh, "Builtin/Quad"},
        {AssetType::Mesh, "Builtin/Plane"},         {AssetType::Mesh, "Builtin/Sphere"},
        {AssetType::Mesh, "Builtin/MaterialPreviewSphere"}, {AssetType::Mesh, "Builtin/Cylinder"},
        {AssetType::Mesh, "Builtin/Cone"},          {AssetType::Mesh, "Builtin/Torus"},
        {AssetType::Mesh, "Builtin/Diamond"},       {AssetType::Mesh, "Builtin/Cube_LOD1"},
        {AssetType::Mesh, "Builtin/Cube_LOD2"},     {AssetType::Texture, "Builtin/White"},
        {AssetType::Texture, "Builtin/Black"},      {AssetType::Texture, "Builtin/FlatNormal"},
        {AssetType::Material, "Builtin/DefaultMaterial"},
    };
    const std::span<const BuiltinAssetDefinition> definitions = BuiltinAssetDefinitions();
    ASSERT_EQ(definitions.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(definitions[i].type, expected[i].first);
        EXPECT_EQ(definitions[i].name, expected[i].second);
        const AssetHandle handle = manager.GetRegistry().HandleOfBuiltin(expected[i].second);
        const AssetRecord* record = manager.GetRegistry().Find(handle);
        ASSERT_NE(record, nullptr) << expected[i].second;
        EXPECT_EQ(record->type, expected[i].first);
        EXPECT_TRUE(record->isBuiltin);
        EXPECT_EQ(record->guid, Guid::FromName("builtin:" + expected[i].second));
    }
}

TEST_F(AssetManagerTest, GettersGiveTheBuiltinHandles) {
    AssetManager manager;
    EXPECT_EQ(manager.GetBuiltinCube(), 0u);
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    const AssetRegistry& registry = manager.GetRegistry();
    EXPECT_EQ(manager.GetBuiltinCube(), registry.HandleOfBuiltin("Builtin/Cube"));
    EXPECT_EQ(manager.GetBuiltinQuad(), registry.HandleOfBuiltin("Builtin/Quad"));
    EXPECT_EQ(manager.GetBuiltinPlane(), registry.HandleOfBuiltin("Builtin/Plane"));
    EXPECT_EQ(manager.GetBuiltinSphere(), registry.HandleOfBuiltin("Builtin/Sphere"));
    EXPECT_EQ(manager.GetBuiltinMaterialPreviewSphere(), registry.HandleOfBuiltin("Builtin/MaterialPreviewSphere"));
    EXPECT_EQ(manager.GetBuiltinCylinder(), registry.HandleOfBuiltin("Builtin/Cylinder"));
    EXPECT_EQ(manager.GetBuiltinCone(), registry.HandleOfBuiltin("Builtin/Cone"));
    EXPECT_EQ(manager.GetBuiltinTorus(), registry.HandleOfBuiltin("Builtin/Torus"));
    EXPECT_EQ(manager.GetBuiltinDiamond(), registry.HandleOfBuiltin("Builtin/Diamond"));
    EXPECT_EQ(manager.GetBuiltinDefaultMaterial(), registry.HandleOfBuiltin("Builtin/DefaultMaterial"));
    EXPECT_EQ(manager.GetBuiltinWhite(), registry.HandleOfBuiltin("Builtin/White"));
    EXPECT_EQ(manager.GetBuiltinBlack(), registry.HandleOfBuiltin("Builtin/Black"));
    EXPECT_EQ(manager.GetBuiltinFlatNormal(), registry.HandleOfBuiltin("Builtin/FlatNormal"));
    EXPECT_NE(manager.GetBuiltinCube(), 0u);
    EXPECT_NE(manager.GetBuiltinCube(), manager.GetBuiltinQuad());
}

TEST_F(AssetManagerTest, SecondInitializeGivesEqualHandlesForEqualAssets) {
    WriteText(Content("Art/Rock.png"), "png");
    WriteText(Content("Materials/Stone.bmat"), "mat");
    AssetManager manager;
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    const std::vector<AssetRecord> first = manager.GetRegistry().AllRecords();
    const std::uint64_t revision = manager.ContentRevision();
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    const std::vector<AssetRecord> second = manager.GetRegistry().AllRecords();
    ASSERT_EQ(first.size(), 17u);
    ASSERT_EQ(second.size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(second[i].name, first[i].name);
        EXPECT_EQ(second[i].handle, first[i].handle);
        EXPECT_EQ(second[i].guid, first[i].guid);
    }
    EXPECT_GT(manager.ContentRevision(), revision);
}

TEST_F(AssetManagerTest, ReadOnlyInitializeWritesNothingIntoTheContentFolder) {
    WriteText(Content("Art/Rock.png"), "png");
    AssetManager manager;
    manager.Initialize(Content(), AssetSourceMode::ReadOnly);
    EXPECT_EQ(ListFiles(Content()), std::vector<std::string>{"Art/Rock.png"});
    EXPECT_NE(manager.GetRegistry().HandleOfPath(Content("Art/Rock.png")), 0u);
    EXPECT_EQ(manager.Mode(), AssetSourceMode::ReadOnly);
}

TEST_F(AssetManagerTest, LogsTheInitializedLineWithTheCanonicalContentFolder) {
    fs::create_directories(Content("Sub"));
    LogCapture log;
    AssetManager manager;
    manager.Initialize(Content("Sub/.."), AssetSourceMode::Authoring);
    EXPECT_EQ(log.Messages(Core::LogLevel::Info),
              std::vector<std::string>{"Asset manager initialized: " + Content().string()});
}

TEST_F(AssetManagerTest, BuiltinCubeReferenceResolvesInAnEmptyProject) {
    AssetManager manager;
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    EXPECT_EQ(ResolveAssetReference(manager.GetRegistry(), "builtin:Builtin/Cube", AssetType::Mesh),
              manager.GetBuiltinCube());
    EXPECT_EQ(AssetReferenceOf(manager.GetRegistry(), manager.GetBuiltinDefaultMaterial()),
              "builtin:Builtin/DefaultMaterial");
}

TEST_F(AssetManagerTest, PassesToleratedMissingTypesToEachNewRegistry) {
    AssetManager manager;
    manager.SetToleratedMissingTypes({static_cast<std::uint32_t>(AssetType::Texture)});
    EXPECT_TRUE(manager.GetRegistry().IsToleratedMissingType(4));
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    EXPECT_TRUE(manager.GetRegistry().IsToleratedMissingType(4));
    EXPECT_FALSE(manager.GetRegistry().IsToleratedMissingType(3));
}

TEST_F(AssetManagerTest, RecordsTheConstructingThread) {
    AssetManager manager;
    EXPECT_EQ(manager.OwnerThread(), std::this_thread::get_id());
}

TEST_F(AssetManagerTest, InitializeIsAProfilerZoneInTheAssetsCategory) {
    Core::ProfilerRecorder& recorder = Core::ProfilerRecorder::Instance();
    recorder.Clear();
    recorder.SetCpuProfilingEnabled(true);
    {
        AssetManager manager;
        manager.Initialize(Content(), AssetSourceMode::Authoring);
    }
    recorder.SetCpuProfilingEnabled(false);
    bool found = false;
    for (const Core::ProfilerFrame& frame : recorder.Snapshot().frames) {
        for (const Core::ProfilerEvent& event : frame.events) {
            found = found || (event.name == "AssetManager::Initialize" && event.category == "Assets" && event.complete);
        }
    }
    recorder.Clear();
    EXPECT_TRUE(found);
}

} // namespace
} // namespace Brelk::Assets
