#include "engine/assets/AssetRegistry.h"

#include "engine/assets/AssetCompanions.h"
#include "engine/assets/AssetIdentity.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/core/Hash.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Core::Guid;
using Core::LogLevel;
using Testing::AgeFile;
using Testing::ListFiles;
using Testing::LogCapture;
using Testing::ReadText;
using Testing::TempFolder;
using Testing::WriteText;

std::string DefaultSidecarText(const Guid& guid, std::string_view importer) {
    std::string text = "bmeta 1\nguid " + guid.ToString() + "\nimporter " + std::string(importer) + " 1\nsettings\n";
    if (importer == "texture") {
        text += "encoding \"auto\"\nmax_size \"0\"\n";
    }
    return text + "end\n";
}

Guid GuidOfFile(const AssetRegistry& registry, const fs::path& path) {
    const std::optional<AssetRecord> record = registry.Copy(registry.HandleOfPath(path));
    return record ? record->guid : Guid();
}

class AssetRegistryTest : public ::testing::Test {
protected:
    fs::path Content(std::string_view relative) const { return root_ / "Content" / relative; }
    fs::path ContentRoot() const { return root_ / "Content"; }
    std::string Key(std::string_view relative) const { return AssetPathKey(Content(relative)); }

    TempFolder root_;
};

TEST_F(AssetRegistryTest, FirstScanWritesASidecarBesideEachRecognisedSourceOnly) {
    WriteText(Content("Art/Rock.png"), "png");
    WriteText(Content("Art/Sand.jpg"), "jpg");
    WriteText(Content("Art/deep/Sky.hdr"), "hdr");
    WriteText(Content("Island.bworld.cells/cell_0_0.bcell"), "cell");
    WriteText(Content("Notes.txt"), "notes");
    WriteText(Content("Notes.bmeta"), "not a sidecar");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);

    EXPECT_EQ(ListFiles(ContentRoot()),
              (std::vector<std::string>{"Art/Rock.png", "Art/Rock.png.bmeta", "Art/Sand.jpg", "Art/Sand.jpg.bmeta",
                                        "Art/deep/Sky.hdr", "Art/deep/Sky.hdr.bmeta",
                                        "Island.bworld.cells/cell_0_0.bcell", "Notes.bmeta", "Notes.txt"}));
    EXPECT_EQ(registry.AllRecords().size(), 3u);
    EXPECT_EQ(ReadText(Content("Art/Rock.png.bmeta")),
              DefaultSidecarText(Guid::FromName("brelk-asset:content:Art/Rock.png"), "texture"));
}

TEST_F(AssetRegistryTest, RecordsAFileAssetByNamePathTypeAndGuid) {
    WriteText(Content("Levels/Start.bscene"), "scene");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const AssetHandle handle = registry.HandleOfPath(Content("Levels/Start.bscene"));
    const AssetRecord* record = registry.Find(handle);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->handle, handle);
    EXPECT_EQ(record->type, AssetType::Scene);
    EXPECT_EQ(record->name, "Start.bscene");
    EXPECT_EQ(record->sourcePath, Content("Levels/Start.bscene"));
    EXPECT_EQ(record->path, Content("Levels/Start.bscene"));
    EXPECT_FALSE(record->isBuiltin);
    EXPECT_FALSE(record->isSubAsset);
    EXPECT_EQ(record->guid, Guid::FromName("brelk-asset:content:Levels/Start.bscene"));
    EXPECT_EQ(registry.HandleOfGuid(record->guid), handle);
    const std::optional<AssetSourceInfo> info = registry.SourceInfoOf(record->guid);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->sidecarVersion, 1u);
    EXPECT_EQ(info->stamp, ReadFileStamp(Content("Levels/Start.bscene")));
    EXPECT_EQ(registry.ContentRoot(), ContentRoot());
    EXPECT_EQ(registry.Mode(), AssetSourceMode::Authoring);
}

TEST_F(AssetRegistryTest, RescanWithNothingChangedWritesNothingAndKeepsGuidsAndHandles) {
    WriteText(Content("a.png"), "a");
    WriteText(Content("b.png"), "b");
    WriteText(Content("c/c.png"), "c");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const std::vector<AssetRecord> first = registry.AllRecords();
    const std::array<const char*, 3> sidecars{"a.png.bmeta", "b.png.bmeta", "c/c.png.bmeta"};
    std::vector<fs::file_time_type> aged;
    for (const char* sidecar : sidecars) {
        AgeFile(Content(sidecar));
        aged.push_back(fs::last_write_time(Content(sidecar)));
    }
    const std::vector<std::string> files = ListFiles(ContentRoot());

    registry.Rescan();

    EXPECT_EQ(ListFiles(ContentRoot()), files);
    for (std::size_t i = 0; i < sidecars.size(); ++i) {
        EXPECT_EQ(fs::last_write_time(Content(sidecars[i])), aged[i]) << sidecars[i];
    }
    const std::vector<AssetRecord> second = registry.AllRecords();
    ASSERT_EQ(second.size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(second[i].guid, first[i].guid);
        EXPECT_EQ(second[i].handle, first[i].handle);
    }
}

TEST_F(AssetRegistryTest, ScanOfOnlyCellFilesRegistersAndWritesNothing) {
    WriteText(Content("W.bworld.cells/a.bcell"), "a");
    WriteText(Content("W.bworld.cells/b.bcell"), "b");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    EXPECT_TRUE(registry.AllRecords().empty());
    EXPECT_EQ(ListFiles(ContentRoot()), (std::vector<std::string>{"W.bworld.cells/a.bcell", "W.bworld.cells/b.bcell"}));
}

TEST_F(AssetRegistryTest, KeepsTheGuidOfASidecarOverTheDerivedOne) {
    const Guid guid = *Guid::Parse("11111111222233334444555555555555");
    WriteText(Content("Rock.png"), "png");
    WriteText(Content("Rock.png.bmeta"), "bmeta 1\nguid " + guid.ToString() + "\n");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    EXPECT_EQ(GuidOfFile(registry, Content("Rock.png")), guid);
    EXPECT_EQ(ReadText(Content("Rock.png.bmeta")), "bmeta 1\nguid " + guid.ToString() + "\n");
}

TEST_F(AssetRegistryTest, ReplacesACorruptSidecarAndLogsIt) {
    WriteText(Content("Rock.png"), "png");
    WriteText(Content("Rock.png.bmeta"), "garbage\n");
    LogCapture log;
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const Guid derived = Guid::FromName("brelk-asset:content:Rock.png");
    EXPECT_EQ(GuidOfFile(registry, Content("Rock.png")), derived);
    EXPECT_EQ(ReadText(Content("Rock.png.bmeta")), DefaultSidecarText(derived, "texture"));
    EXPECT_EQ(log.Messages(LogLevel::Warning),
              std::vector<std::string>{"Ignoring unreadable asset sidecar " +
                                       Content("Rock.png.bmeta").string() +
                                       ": Missing bmeta header. A new identity is assigned."});
}

TEST_F(AssetRegistryTest, RefusesANewerSidecarAndReplacesIt) {
    WriteText(Content("Rock.png"), "png");
    WriteText(Content("Rock.png.bmeta"), "bmeta 2\nguid 11111111222233334444555555555555\n");
    LogCapture log;
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    EXPECT_EQ(log.Messages(LogLevel::Warning),
              std::vector<std::string>{"Ignoring unreadable asset sidecar " + Content("Rock.png.bmeta").string() +
                                       ": bmeta version 2 is newer than this engine reads. A new identity is "
                                       "assigned."});
    EXPECT_EQ(ReadText(Content("Rock.png.bmeta")),
              DefaultSidecarText(Guid::FromName("brelk-asset:content:Rock.png"), "texture"));
}

TEST_F(AssetRegistryTest, ReadOnlyModeLogsACorruptSidecarWithoutTheSuffixAndWritesNothing) {
    WriteText(Content("Rock.png"), "png");
    WriteText(Content("Rock.png.bmeta"), "garbage\n");
    WriteText(Content("Sand.png"), "png");
    LogCapture log;
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::ReadOnly);
    EXPECT_EQ(log.Messages(LogLevel::Warning),
              std::vector<std::string>{"Ignoring unreadable asset sidecar " + Content("Rock.png.bmeta").string() +
                                       ": Missing bmeta header."});
    EXPECT_EQ(ListFiles(ContentRoot()), (std::vector<std::string>{"Rock.png", "Rock.png.bmeta", "Sand.png"}));
    EXPECT_EQ(ReadText(Content("Rock.png.bmeta")), "garbage\n");
    EXPECT_EQ(GuidOfFile(registry, Content("Sand.png")), Guid::FromName("brelk-asset:content:Sand.png"));
    const std::optional<AssetSourceInfo> info = registry.SourceInfoOf(GuidOfFile(registry, Content("Sand.png")));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->sidecarVersion, 0u);
    const std::optional<AssetSidecar> sidecar = registry.SidecarOf(Content("Sand.png"));
    ASSERT_TRUE(sidecar);
    EXPECT_EQ(sidecar->version, 0u);
    EXPECT_EQ(sidecar->importer, "texture");
}

TEST_F(AssetRegistryTest, ReadOnlyContentFolderThatIsMissingThrowsTheExactMessage) {
    AssetRegistry registry;
    try {
        registry.SetContentRoot(ContentRoot(), AssetSourceMode::ReadOnly);
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()), "Read-only asset content directory is missing: " + ContentRoot().string());
    }
    EXPECT_FALSE(fs::exists(ContentRoot()));
}

TEST_F(AssetRegistryTest, AuthoringCreatesAMissingContentFolder) {
    AssetRegistry registry;
    registry.SetContentRoot(Content("Deep/Er"), AssetSourceMode::Authoring);
    EXPECT_TRUE(fs::is_directory(Content("Deep/Er")));
    EXPECT_TRUE(registry.AllRecords().empty());
}

TEST_F(AssetRegistryTest, DeletingASourceDropsItsRecordAndLeavesItsSidecar) {
    WriteText(Content("Rock.png"), "png");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const Guid guid = GuidOfFile(registry, Content("Rock.png"));
    fs::remove(Content("Rock.png"));
    registry.Rescan();
    EXPECT_EQ(registry.HandleOfGuid(guid), 0u);
    EXPECT_EQ(registry.HandleOfPath(Content("Rock.png")), 0u);
    EXPECT_TRUE(fs::exists(Content("Rock.png.bmeta")));
}

TEST_F(AssetRegistryTest, RenamedFileKeepsItsGuidAndHandleAndItsSidecarFollows) {
    WriteText(Content("Rock.png"), "png");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const Guid guid = GuidOfFile(registry, Content("Rock.png"));
    const AssetHandle handle = registry.HandleOfGuid(guid);
    fs::create_directories(Content("Moved"));
    fs::rename(Content("Rock.png"), Content("Moved/Stone.png"));
    LogCapture log;
    registry.Rescan();
    EXPECT_EQ(GuidOfFile(registry, Content("Moved/Stone.png")), guid);
    EXPECT_EQ(registry.HandleOfPath(Content("Moved/Stone.png")), handle);
    EXPECT_EQ(ListFiles(ContentRoot()), (std::vector<std::string>{"Moved/Stone.png", "Moved/Stone.png.bmeta"}));
    EXPECT_EQ(log.Messages(LogLevel::Info),
              std::vector<std::string>{"Asset sidecar followed renamed file: " + Content("Moved/Stone.png").string()});
}

TEST_F(AssetRegistryTest, RenamedFileWithChangedContentGetsANewIdentity) {
    WriteText(Content("Rock.png"), "png");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const Guid guid = GuidOfFile(registry, Content("Rock.png"));
    fs::rename(Content("Rock.png"), Content("Stone.png"));
    WriteText(Content("Stone.png"), "a longer png");
    registry.Rescan();
    EXPECT_EQ(GuidOfFile(registry, Content("Stone.png")), Guid::FromName("brelk-asset:content:Stone.png"));
    EXPECT_NE(GuidOfFile(registry, Content("Stone.png")), guid);
    EXPECT_TRUE(fs::exists(Content("Rock.png.bmeta")));
}

TEST_F(AssetRegistryTest, TwoMatchingOrphansAreNotAdopted) {
    WriteText(Content("a.png"), "same");
    WriteText(Content("b.png"), "same");
    const auto time = fs::last_write_time(Content("a.png"));
    fs::last_write_time(Content("b.png"), time);
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    fs::rename(Content("a.png"), Content("c.png"));
    fs::remove(Content("b.png"));
    registry.Rescan();
    EXPECT_EQ(GuidOfFile(registry, Content("c.png")), Guid::FromName("brelk-asset:content:c.png"));
    EXPECT_EQ(ListFiles(ContentRoot()), (std::vector<std::string>{"a.png.bmeta", "b.png.bmeta", "c.png", "c.png.bmeta"}));
}

TEST_F(AssetRegistryTest, OrphanOfAnotherExtensionIsNotAdopted) {
    WriteText(Content("a.png"), "same");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    fs::rename(Content("a.png"), Content("a.jpg"));
    registry.Rescan();
    EXPECT_EQ(GuidOfFile(registry, Content("a.jpg")), Guid::FromName("brelk-asset:content:a.jpg"));
    EXPECT_TRUE(fs::exists(Content("a.png.bmeta")));
}

TEST_F(AssetRegistryTest, CopiedSidecarsKeepTheGuidForTheFirstPathAndGiveTheSecondANewOne) {
    const Guid guid = *Guid::Parse("11111111222233334444555555555555");
    const std::string sidecar = "bmeta 1\nguid " + guid.ToString() + "\nimporter texture 1\nsettings\nend\n";
    WriteText(Content("b/Rock.png"), "one");
    WriteText(Content("b/Rock.png.bmeta"), sidecar);
    WriteText(Content("a/Rock.png"), "two");
    WriteText(Content("a/Rock.png.bmeta"), sidecar);
    LogCapture log;
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);

    EXPECT_EQ(GuidOfFile(registry, Content("a/Rock.png")), guid);
    const Guid copy = GuidOfFile(registry, Content("b/Rock.png"));
    EXPECT_NE(copy, guid);
    EXPECT_TRUE(copy.IsValid());
    EXPECT_EQ(ReadText(Content("b/Rock.png.bmeta")),
              "bmeta 1\nguid " + copy.ToString() + "\nimporter texture 1\nsettings\nend\n");
    EXPECT_EQ(ReadText(Content("a/Rock.png.bmeta")), sidecar);
    EXPECT_EQ(log.Messages(LogLevel::Warning),
              std::vector<std::string>{"Duplicate asset GUID " + guid.ToString() + " in " +
                                       Content("b/Rock.png").string() +
                                       " (copied sidecar); assigning a new identity."});
}

TEST_F(AssetRegistryTest, TheFileThatHadTheGuidBeforeKeepsItWhenACopyAppearsEarlierInOrder) {
    WriteText(Content("m/Rock.png"), "one");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const Guid guid = GuidOfFile(registry, Content("m/Rock.png"));
    WriteText(Content("a/Rock.png"), "two");
    fs::copy_file(Content("m/Rock.png.bmeta"), Content("a/Rock.png.bmeta"));
    registry.Rescan();
    EXPECT_EQ(GuidOfFile(registry, Content("m/Rock.png")), guid);
    EXPECT_NE(GuidOfFile(registry, Content("a/Rock.png")), guid);
}

TEST_F(AssetRegistryTest, CopiedSidecarsInReadOnlyModeGetAReproducibleGuidAndNothingIsWritten) {
    const Guid guid = *Guid::Parse("11111111222233334444555555555555");
    const Guid sub = *Guid::Parse("99999999222233334444555555555555");
    const std::string sidecar = "bmeta 1\nguid " + guid.ToString() + "\nsubassets\nmesh \"Body\" " + sub.ToString() +
                                "\nend\n";
    WriteText(Content("a/Tree.fbx"), "one");
    WriteText(Content("a/Tree.fbx.bmeta"), sidecar);
    WriteText(Content("b/Tree.fbx"), "two");
    WriteText(Content("b/Tree.fbx.bmeta"), sidecar);
    for (int run = 0; run < 2; ++run) {
        AssetRegistry registry;
        registry.SetContentRoot(ContentRoot(), AssetSourceMode::ReadOnly);
        const std::string key = Key("b/Tree.fbx");
        EXPECT_EQ(GuidOfFile(registry, Content("b/Tree.fbx")), DuplicateAssetGuid(guid, key));
        const std::optional<AssetSidecar> copied = registry.SidecarOf(Content("b/Tree.fbx"));
        ASSERT_TRUE(copied);
        ASSERT_EQ(copied->subAssets.size(), 1u);
        EXPECT_EQ(copied->subAssets[0].guid, DuplicateAssetGuid(sub, key));
        EXPECT_EQ(ReadText(Content("b/Tree.fbx.bmeta")), sidecar);
    }
}

TEST_F(AssetRegistryTest, RegisterFileOfAScannedPathGivesTheSameHandle) {
    WriteText(Content("Worlds/Island.bworld"), "world");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const AssetHandle scanned = registry.HandleOfPath(Content("Worlds/Island.bworld"));
    ASSERT_NE(scanned, 0u);
    WriteText(Content("Worlds/Island.bworld"), "world, written again");
    EXPECT_EQ(registry.RegisterFile(AssetType::World, Content("Worlds/Island.bworld")), scanned);
    EXPECT_EQ(registry.RegisterFile(AssetType::World, Content("Worlds/../Worlds/Island.bworld")), scanned);
}

TEST_F(AssetRegistryTest, RegisterFileGivesANewFileASidecarAndARecord) {
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const std::uint64_t revision = registry.Revision();
    WriteText(Content("Worlds/Island.bworld"), "world");
    const AssetHandle handle = registry.RegisterFile(AssetType::World, Content("Worlds/Island.bworld"));
    const Guid guid = Guid::FromName("brelk-asset:content:Worlds/Island.bworld");
    EXPECT_EQ(handle, HandleForGuid(guid));
    EXPECT_EQ(registry.HandleOfPath(Content("Worlds/Island.bworld")), handle);
    EXPECT_EQ(registry.Find(handle)->type, AssetType::World);
    EXPECT_EQ(ReadText(Content("Worlds/Island.bworld.bmeta")), DefaultSidecarText(guid, "native"));
    EXPECT_GT(registry.Revision(), revision);
}

TEST_F(AssetRegistryTest, RegisterFileOfACopyOfALiveFileGivesTheCopyANewIdentity) {
    WriteText(Content("a.bworld"), "world");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const AssetHandle original = registry.HandleOfPath(Content("a.bworld"));
    fs::copy_file(Content("a.bworld"), Content("b.bworld"));
    fs::copy_file(Content("a.bworld.bmeta"), Content("b.bworld.bmeta"));
    const AssetHandle copy = registry.RegisterFile(AssetType::World, Content("b.bworld"));
    EXPECT_NE(copy, original);
    EXPECT_EQ(registry.HandleOfPath(Content("a.bworld")), original);
    EXPECT_NE(ReadText(Content("b.bworld.bmeta")), ReadText(Content("a.bworld.bmeta")));
}

TEST_F(AssetRegistryTest, RegisterFileOfAMovedFileKeepsItsIdentity) {
    WriteText(Content("a.bworld"), "world");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const AssetHandle original = registry.HandleOfPath(Content("a.bworld"));
    ASSERT_TRUE(RenameAssetSource(Content("a.bworld"), Content("b.bworld")));
    EXPECT_EQ(registry.RegisterFile(AssetType::World, Content("b.bworld")), original);
    EXPECT_EQ(registry.HandleOfPath(Content("a.bworld")), 0u);
    EXPECT_EQ(registry.HandleOfPath(Content("b.bworld")), original);
}

TEST_F(AssetRegistryTest, RegisterFileOutsideTheContentFolderDerivesAPathGuidAndWritesNothing) {
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    WriteText(root_ / "Outside/Far.bworld", "world");
    const AssetHandle handle = registry.RegisterFile(AssetType::World, root_ / "Outside/Far.bworld");
    EXPECT_EQ(registry.Find(handle)->guid, Guid::FromName("brelk-asset:path:" + AssetPathKey(root_ / "Outside/Far.bworld")));
    EXPECT_FALSE(fs::exists(root_ / "Outside/Far.bworld.bmeta"));
}

TEST_F(AssetRegistryTest, BuiltinsSurviveRescans) {
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const AssetHandle cube = registry.RegisterBuiltin(AssetType::Mesh, "Builtin/Cube");
    registry.Rescan();
    EXPECT_EQ(registry.HandleOfBuiltin("Builtin/Cube"), cube);
    const AssetRecord* record = registry.Find(cube);
    ASSERT_NE(record, nullptr);
    EXPECT_TRUE(record->isBuiltin);
    EXPECT_EQ(record->name, "Builtin/Cube");
    EXPECT_TRUE(record->sourcePath.empty());
    EXPECT_EQ(record->guid, Guid::FromName("builtin:Builtin/Cube"));
    EXPECT_EQ(registry.HandleOfBuiltin("Builtin/Sphere"), 0u);
}

TEST_F(AssetRegistryTest, ListsRecordsOfATypeByPathWhateverTheFileSystemOrder) {
    for (const char* name : {"z.png", "m/b.png", "a.png", "m/a.png", "b.bmat"}) {
        WriteText(Content(name), name);
    }
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    std::vector<std::string> names;
    for (const AssetRecord& record : registry.RecordsOfType(AssetType::Texture)) {
        names.push_back(fs::relative(record.path, ContentRoot()).generic_string());
    }
    EXPECT_EQ(names, (std::vector<std::string>{"a.png", "m/a.png", "m/b.png", "z.png"}));
}

TEST_F(AssetRegistryTest, ListsAllRecordsByNameWithBuiltinsLast) {
    WriteText(Content("z.png"), "z");
    WriteText(Content("a/y.bmat"), "y");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    registry.RegisterBuiltin(AssetType::Mesh, "Builtin/Cube");
    registry.RegisterBuiltin(AssetType::Mesh, "Builtin/Anvil");
    std::vector<std::string> names;
    for (const AssetRecord& record : registry.AllRecords()) {
        names.push_back(record.name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"y.bmat", "z.png", "Builtin/Anvil", "Builtin/Cube"}));
}

TEST_F(AssetRegistryTest, RegistersSubAssetsIntoTheSourcesSidecar) {
    WriteText(Content("Tree.fbx"), "fbx");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const Guid source = GuidOfFile(registry, Content("Tree.fbx"));
    const AssetHandle trunk =
        registry.RegisterSubAsset(AssetType::Mesh, Content("Tree.fbx"), Content("Tree/0_Trunk.bmesh"), "Trunk#1", "Trunk");
    const Guid trunkGuid = SubAssetGuid(source, AssetType::Mesh, "Trunk#1");
    EXPECT_EQ(trunk, HandleForGuid(trunkGuid));
    EXPECT_EQ(ReadText(Content("Tree.fbx.bmeta")), "bmeta 1\nguid " + source.ToString() +
                                                      "\nimporter model 1\nsettings\nend\nsubassets\nmesh \"Trunk#1\" " +
                                                      trunkGuid.ToString() + "\nend\n");
    const AssetRecord* record = registry.Find(trunk);
    ASSERT_NE(record, nullptr);
    EXPECT_TRUE(record->isSubAsset);
    EXPECT_EQ(record->name, "Trunk");
    EXPECT_EQ(record->subkey, "Trunk#1");
    EXPECT_EQ(record->sourcePath, Content("Tree.fbx"));
    EXPECT_EQ(record->path, Content("Tree/0_Trunk.bmesh"));
    EXPECT_EQ(registry.SourceOfSubAsset(trunkGuid), Content("Tree.fbx"));
    EXPECT_EQ(registry.SourceInfoOf(trunkGuid)->dependencies, std::vector<Guid>{source});

    EXPECT_EQ(registry.FindSubAsset(Content("Tree.fbx"), "Trunk#1", AssetType::Mesh), trunk);
    EXPECT_EQ(registry.FindSubAsset(Content("Tree.fbx"), "Trunk#1", AssetType::Unknown), trunk);
    EXPECT_EQ(registry.FindSubAsset(Content("Tree.fbx"), "Trunk#1", AssetType::Material), 0u);
    EXPECT_EQ(registry.FindDerived(Content("Tree.fbx"), Content("Tree/0_Trunk.bmesh"), false, AssetType::Unknown), trunk);
    EXPECT_EQ(registry.FindDerived(Content("Tree.fbx"), Content("Tree/7_Trunk.bmesh"), false, AssetType::Unknown), 0u);
    EXPECT_EQ(registry.FindDerived(Content("Tree.fbx"), Content("Tree/7_Trunk.bmesh"), true, AssetType::Unknown), trunk);
    EXPECT_EQ(registry.FindDerived(Content("Tree.fbx"), Content("Tree/Trunk.bmesh"), true, AssetType::Unknown), trunk);

    // The same registration again, and in a new registry, gives the same handle.
    EXPECT_EQ(registry.RegisterSubAsset(AssetType::Mesh, Content("Tree.fbx"), {}, "Trunk#1", "Trunk"), trunk);
    AssetRegistry fresh;
    fresh.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    EXPECT_EQ(fresh.SidecarOf(Content("Tree.fbx"))->subAssets.size(), 1u);
    EXPECT_EQ(fresh.SourceOfSubAsset(trunkGuid), Content("Tree.fbx"));
    EXPECT_EQ(fresh.RegisterSubAsset(AssetType::Mesh, Content("Tree.fbx"), {}, "Trunk#1", "Trunk"), trunk);
}

TEST_F(AssetRegistryTest, RenumberedSubkeyAdoptsTheIdentityThatNothingLiveUses) {
    WriteText(Content("Tree.fbx"), "fbx");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const AssetHandle old = registry.RegisterSubAsset(AssetType::Mesh, Content("Tree.fbx"), {}, "Mesh#2", "Mesh");
    const AssetHandle other = registry.RegisterSubAsset(AssetType::Mesh, Content("Tree.fbx"), {}, "Leaf#1", "Leaf");
    registry.RemoveSubAssetsOf(Content("Tree.fbx"));
    EXPECT_EQ(registry.Find(old), nullptr);
    EXPECT_EQ(registry.RegisterSubAsset(AssetType::Mesh, Content("Tree.fbx"), {}, "Leaf#1", "Leaf"), other);
    EXPECT_EQ(registry.RegisterSubAsset(AssetType::Mesh, Content("Tree.fbx"), {}, "Mesh#3", "Mesh"), old);
    const std::optional<AssetSidecar> sidecar = registry.SidecarOf(Content("Tree.fbx"));
    ASSERT_TRUE(sidecar);
    ASSERT_EQ(sidecar->subAssets.size(), 2u);
    EXPECT_EQ(sidecar->subAssets[0].subkey, "Mesh#3");
    // With Mesh#3 live, Mesh#4 cannot take its identity and gets one of its own.
    const AssetHandle fourth = registry.RegisterSubAsset(AssetType::Mesh, Content("Tree.fbx"), {}, "Mesh#4", "Mesh");
    EXPECT_NE(fourth, old);
    EXPECT_EQ(registry.SidecarOf(Content("Tree.fbx"))->subAssets.size(), 3u);
}

TEST_F(AssetRegistryTest, SubAssetOfAMissingSourceIsDerivedAndStoredNowhere) {
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const AssetHandle handle = registry.RegisterSubAsset(AssetType::Mesh, Content("Gone.fbx"), {}, "Body", "Body");
    const Guid source = Guid::FromName("brelk-asset:content:Gone.fbx");
    EXPECT_EQ(registry.Find(handle)->guid, SubAssetGuid(source, AssetType::Mesh, "Body"));
    EXPECT_FALSE(registry.SidecarOf(Content("Gone.fbx")));
    EXPECT_TRUE(ListFiles(ContentRoot()).empty());
}

TEST_F(AssetRegistryTest, SetsAnImporterSettingOnlyForSidecarBackedSourcesInAuthoring) {
    WriteText(Content("Rock.png"), "png");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const std::uint64_t revision = registry.Revision();
    EXPECT_TRUE(registry.SetImporterSetting(Content("Rock.png"), "max_size", "256"));
    EXPECT_EQ(registry.Revision(), revision + 1);
    EXPECT_EQ(*FindSidecarSetting(*ReadSidecar(Content("Rock.png.bmeta")), "max_size"), "256");
    EXPECT_TRUE(registry.SetImporterSetting(Content("Rock.png"), "max_size", "256"));
    EXPECT_EQ(registry.Revision(), revision + 1);
    EXPECT_FALSE(registry.SetImporterSetting(Content("Unknown.png"), "max_size", "1"));

    AssetRegistry readOnly;
    readOnly.SetContentRoot(ContentRoot(), AssetSourceMode::ReadOnly);
    EXPECT_FALSE(readOnly.SetImporterSetting(Content("Rock.png"), "max_size", "1"));
}

TEST_F(AssetRegistryTest, RevisionRisesAtAScanAndForEachRegisteredRecord) {
    WriteText(Content("a.png"), "a");
    WriteText(Content("b.png"), "b");
    AssetRegistry registry;
    EXPECT_EQ(registry.Revision(), 0u);
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    EXPECT_EQ(registry.Revision(), 3u);
    registry.Rescan();
    EXPECT_EQ(registry.Revision(), 6u);
}

TEST_F(AssetRegistryTest, MovedFromRegistryIsEmptyAndUsable) {
    WriteText(Content("a.png"), "a");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    AssetRegistry moved;
    moved = std::move(registry);
    EXPECT_EQ(moved.AllRecords().size(), 1u);
    EXPECT_TRUE(registry.AllRecords().empty());
    EXPECT_TRUE(registry.ContentRoot().empty());
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::ReadOnly);
    EXPECT_EQ(registry.AllRecords().size(), 1u);
    AssetRegistry constructed(std::move(moved));
    EXPECT_EQ(constructed.AllRecords().size(), 1u);
    EXPECT_TRUE(moved.AllRecords().empty());
}

TEST_F(AssetRegistryTest, KeepsToleratedMissingTypes) {
    AssetRegistry registry;
    registry.SetToleratedMissingTypes({4, 9});
    EXPECT_TRUE(registry.IsToleratedMissingType(9));
    EXPECT_FALSE(registry.IsToleratedMissingType(3));
}

TEST_F(AssetRegistryTest, RemapsALegacyPathHashToTheLiveRecordAlsoUnderAnotherRoot) {
    WriteText(Content("Art/Rock.png"), "png");
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    const AssetHandle handle = registry.HandleOfPath(Content("Art/Rock.png"));
    const std::vector<fs::path> roots{"/old/Project/Content", {}};
    EXPECT_EQ(registry.RemapLegacyHandle(Core::Fnv1a64(Key("Art/Rock.png")), roots), handle);
    EXPECT_EQ(registry.RemapLegacyHandle(Core::Fnv1a64("/old/Project/Content/Art/Rock.png"), roots), handle);
    EXPECT_EQ(registry.RemapLegacyHandle(Core::Fnv1a64("/old/Project/Content/Art/Sand.png"), roots), 0u);
    EXPECT_EQ(registry.RemapLegacyHandle(handle, roots), handle);

    const AssetHandle sub = registry.RegisterSubAsset(AssetType::Mesh, Content("Art/Rock.png"), {}, "Body", "Body");
    EXPECT_EQ(registry.RemapLegacyHandle(Core::Fnv1a64(Key("Art/Rock.png") + "#Body"), roots), sub);
}

TEST_F(AssetRegistryTest, ReadersSeeAWholeTableWhileScansRun) {
    for (int i = 0; i < 20; ++i) {
        WriteText(Content("f" + std::to_string(i) + ".png"), "x");
    }
    AssetRegistry registry;
    registry.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    std::atomic<bool> done{false};
    std::atomic<int> partial{0};
    std::thread reader([&] {
        while (!done.load()) {
            const std::size_t count = registry.RecordsOfType(AssetType::Texture).size();
            if (count != 20) {
                partial.fetch_add(1);
            }
        }
    });
    for (int i = 0; i < 10; ++i) {
        registry.Rescan();
    }
    done = true;
    reader.join();
    EXPECT_EQ(partial.load(), 0);
}

} // namespace
} // namespace Brelk::Assets
