#include "engine/assets/AssetManager.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetTypeWords.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Core::Guid;
using Testing::ListFiles;
using Testing::LogCapture;
using Testing::ThrownMessage;
using Testing::WriteText;

using AssetManagerTest = Testing::ProjectTest;

TEST_F(AssetManagerTest, CreatesAMissingFolderInAuthoringThrowsForOneInReadOnlyAndARestartKeepsEveryIdentity) {
    AssetManager manager;
    EXPECT_EQ(ThrownMessage([&] { manager.Initialize(Content("Project"), AssetSourceMode::ReadOnly); }),
              "Read-only asset content directory is missing: " + Content("Project").string());
    EXPECT_FALSE(fs::exists(Content("Project")));
    const std::set<std::string> zones = Testing::ProfiledZones(
        "Assets", [&] { manager.Initialize(Content("Project"), AssetSourceMode::Authoring); });
    EXPECT_TRUE(zones.count("AssetManager::Initialize"));
    EXPECT_TRUE(fs::is_directory(Content("Project")));
    EXPECT_TRUE(fs::is_directory(root_ / "Settings" / "GeneratedShaders"));

    // A second start gives equal handles; a read-only one derives the identity a sidecar lacks and writes none.
    WriteText(Content("Project/Art/Rock.png"), "png");
    WriteText(Content("Project/Materials/Stone.bmat"), "mat");
    manager.Initialize(Content("Project"), AssetSourceMode::Authoring);
    const std::vector<AssetRecord> first = manager.GetRegistry().AllRecords();
    fs::remove(Content("Project/Art/Rock.png.bmeta"));
    const std::vector<std::string> files = ListFiles(Content("Project"));
    const std::uint64_t revision = manager.ContentRevision();
    LogCapture log;
    manager.Initialize(Content("Project/Art/.."), AssetSourceMode::ReadOnly);
    EXPECT_EQ(log.Messages(Core::LogLevel::Info),
              std::vector<std::string>{"Asset manager initialized: " + Content("Project").string()});
    EXPECT_EQ(ListFiles(Content("Project")), files);
    const std::vector<AssetRecord> second = manager.GetRegistry().AllRecords();
    ASSERT_EQ(first.size(), 17u);
    ASSERT_EQ(second.size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i)
        EXPECT_EQ(std::tie(second[i].name, second[i].handle, second[i].guid),
                  std::tie(first[i].name, first[i].handle, first[i].guid));
    EXPECT_GT(manager.ContentRevision(), revision);
}

TEST_F(AssetManagerTest, EmptyContentFolderGivesExactlyTheFifteenBuiltinsInOrderAndNoFiles) {
    fs::create_directories(Content());
    AssetManager manager;
    EXPECT_EQ(manager.GetBuiltinCube(), 0u);
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    const AssetRegistry& registry = manager.GetRegistry();
    EXPECT_EQ(registry.AllRecords().size(), 15u);
    EXPECT_TRUE(ListFiles(Content()).empty());
    std::string names;
    std::vector<AssetHandle> withGetters;
    for (const BuiltinAssetDefinition& builtin : BuiltinAssetDefinitions()) {
        const std::string name(builtin.name);
        names += std::string(AssetTypeWord(builtin.type)) + " " + name + "\n";
        const AssetHandle handle = registry.HandleOfBuiltin(name);
        const AssetRecord* record = registry.Find(handle);
        ASSERT_NE(record, nullptr) << name;
        EXPECT_EQ(std::tuple(record->type, record->isBuiltin, record->guid),
                  std::tuple(builtin.type, true, Guid::FromName("builtin:" + name)));
        EXPECT_EQ(ResolveAssetReference(registry, "builtin:" + name, builtin.type), handle);
        if (builtin.slot) withGetters.push_back(handle);
    }
    Brelk::Testing::ExpectGoldenText(std::filesystem::path(BRELK_TEST_DATA_DIR) / "BuiltinAssets.txt", names);
    const AssetManager& m = manager;
    EXPECT_EQ(withGetters, (std::vector<AssetHandle>{m.GetBuiltinCube(), m.GetBuiltinQuad(), m.GetBuiltinPlane(),
                                                     m.GetBuiltinSphere(), m.GetBuiltinMaterialPreviewSphere(),
                                                     m.GetBuiltinCylinder(), m.GetBuiltinCone(), m.GetBuiltinTorus(),
                                                     m.GetBuiltinDiamond(), m.GetBuiltinWhite(), m.GetBuiltinBlack(),
                                                     m.GetBuiltinFlatNormal(), m.GetBuiltinDefaultMaterial()}));
    EXPECT_EQ(AssetReferenceOf(registry, manager.GetBuiltinDefaultMaterial()), "builtin:Builtin/DefaultMaterial");
}

} // namespace
} // namespace Brelk::Assets
