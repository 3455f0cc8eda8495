#include "engine/assets/AssetRegistry.h"

#include "engine/assets/AssetCompanions.h"
#include "engine/assets/AssetIdentity.h"
#include "engine/assets/AssetSidecar.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/core/Hash.h"
#include "tests/support/Deadline.h"

#include <gtest/gtest.h>

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
using Testing::ThrownMessage;
using Testing::WriteText;

const Guid kGuid = *Guid::Parse("11111111222233334444555555555555");

// The sidecar's exact text is held by its own suite; here only which one was written.
std::string DefaultSidecarText(AssetType type, std::string_view name, const Guid& guid) {
    return SerializeSidecar(MakeDefaultSidecar(type, name, guid));
}

Guid ContentGuid(std::string_view relative) { return Guid::FromName("brelk-asset:content:" + std::string(relative)); }

// A registry over a fresh "Content" folder of a scratch folder.
class AssetRegistryTest : public ::testing::Test {
protected:
    fs::path Content(std::string_view relative) const { return root_ / "Content" / relative; }
    fs::path ContentRoot() const { return root_ / "Content"; }
    std::string Key(std::string_view relative) const { return AssetPathKey(Content(relative)); }
    void Scan(AssetSourceMode mode = AssetSourceMode::Authoring) { registry_.SetContentRoot(ContentRoot(), mode); }
    Guid GuidOf(std::string_view relative, const AssetRegistry* registry = nullptr) const {
        registry = registry ? registry : &registry_;
        const std::optional<AssetRecord> record = registry->Copy(registry->HandleOfPath(Content(relative)));
        return record ? record->guid : Guid();
    }
    std::string SidecarText(std::string_view relative) const { return ReadText(Content(std::string(relative) + ".bmeta")); }

    Testing::ScratchFolder root_;
    AssetRegistry registry_;
};

TEST_F(AssetRegistryTest, FirstScanWritesASidecarBesideEachRecognisedSourceOnlyAndARescanWritesNothing) {
    for (const char* name : {"Art/Rock.png", "Art/Sand.jpg", "Levels/Start.bscene", "W.bworld.cells/c_0_0.bcell",
                             "Notes.txt"})
        WriteText(Content(name), name);
    WriteText(Content("Notes.bmeta"), "not a sidecar");
    EXPECT_EQ(registry_.Revision(), 0u);
    Scan();
    EXPECT_EQ(registry_.Revision(), 4u); // one for the scan, one for each record
    const std::vector<std::string> files = ListFiles(ContentRoot());
    EXPECT_EQ(files, (std::vector<std::string>{"Art/Rock.png", "Art/Rock.png.bmeta", "Art/Sand.jpg", "Art/Sand.jpg.bmeta",
                                               "Levels/Start.bscene", "Levels/Start.bscene.bmeta", "Notes.bmeta",
                                               "Notes.txt", "W.bworld.cells/c_0_0.bcell"}));
    EXPECT_EQ(SidecarText("Art/Rock.png"), DefaultSidecarText(AssetType::Texture, "Rock.png", ContentGuid("Art/Rock.png")));

    const AssetHandle handle = registry_.HandleOfPath(Content("Levels/Start.bscene"));
    const AssetRecord* record = registry_.Find(handle);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(std::tuple(record->handle, record->type, record->name, record->sourcePath, record->path, record->guid,
                         record->isBuiltin || record->isSubAsset),
              std::tuple(handle, AssetType::Scene, "Start.bscene", Content("Levels/Start.bscene"),
                         Content("Levels/Start.bscene"), ContentGuid("Levels/Start.bscene"), false));
    EXPECT_EQ(registry_.HandleOfGuid(record->guid), handle);
    const std::optional<AssetSourceInfo> info = registry_.SourceInfoOf(record->guid);
    ASSERT_TRUE(info);
    EXPECT_EQ(std::tuple(info->sidecarVersion, info->stamp), std::tuple(1u, ReadFileStamp(Content("Levels/Start.bscene"))));

    // Nothing changed: the rescan keeps every identity and touches no sidecar.
    const std::vector<AssetRecord> first = registry_.AllRecords();
    std::vector<fs::file_time_type> aged;
    for (const AssetRecord& r : first) {
        AgeFile(r.sourcePath.string() + ".bmeta");
        aged.push_back(fs::last_write_time(r.sourcePath.string() + ".bmeta"));
    }
    registry_.Rescan();
    EXPECT_EQ(registry_.Revision(), 8u);
    EXPECT_EQ(ListFiles(ContentRoot()), files);
    const std::vector<AssetRecord> second = registry_.AllRecords();
    ASSERT_EQ(second.size(), 3u);
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(std::tie(second[i].guid, second[i].handle), std::tie(first[i].guid, first[i].handle));
        EXPECT_EQ(fs::last_write_time(first[i].sourcePath.string() + ".bmeta"), aged[i]) << first[i].name;
    }
}

// Any sidecar that does not read is handled alike, whatever its reason; one that is newer stands for all.
TEST_F(AssetRegistryTest, ReplacesAnUnreadableSidecarAndLogsItButOnlyLogsInReadOnlyMode) {
    WriteText(Content("Rock.png"), "png");
    WriteText(Content("Rock.png.bmeta"), "bmeta 2\nguid " + kGuid.ToString() + "\n");
    {
        LogCapture log;
        Scan();
        EXPECT_EQ(GuidOf("Rock.png"), ContentGuid("Rock.png"));
        EXPECT_EQ(SidecarText("Rock.png"), DefaultSidecarText(AssetType::Texture, "Rock.png", ContentGuid("Rock.png")));
        EXPECT_EQ(log.Messages(LogLevel::Warning),
                  std::vector<std::string>{"Ignoring unreadable asset sidecar " + Content("Rock.png.bmeta").string() +
                                           ": bmeta version 2 is newer than this engine reads. A new identity is "
                                           "assigned."});
    }
    WriteText(Content("Rock.png.bmeta"), "garbage\n");
    WriteText(Content("Sand.png"), "png");
    LogCapture log;
    Scan(AssetSourceMode::ReadOnly);
    EXPECT_EQ(log.Messages(LogLevel::Warning),
              std::vector<std::string>{"Ignoring unreadable asset sidecar " + Content("Rock.png.bmeta").string() +
                                       ": Missing bmeta header."});
    EXPECT_EQ(ListFiles(ContentRoot()), (std::vector<std::string>{"Rock.png", "Rock.png.bmeta", "Sand.png"}));
    EXPECT_EQ(SidecarText("Rock.png"), "garbage\n");
    EXPECT_EQ(GuidOf("Sand.png"), ContentGuid("Sand.png"));
    EXPECT_EQ(registry_.SourceInfoOf(ContentGuid("Sand.png"))->sidecarVersion, 0u);
    const std::optional<AssetSidecar> sidecar = registry_.SidecarOf(Content("Sand.png"));
    ASSERT_TRUE(sidecar);
    EXPECT_EQ(std::tie(sidecar->version, sidecar->importer), std::tuple(0u, "texture"));
}

TEST_F(AssetRegistryTest, OnlyAFileWithTheStampAndExtensionOfExactlyOneOrphanTakesItsIdentity) {
    // Every source a size of its own, so that only the times chosen here make stamps alike.
    for (const auto& [name, text] : {std::pair{"Rock.png", "png"}, {"Gone.png", "gone"}, {"Sand.png", "a sand png"},
                                     {"a.png", "same same"}, {"b.png", "same same"}, {"x.png", "other"}})
        WriteText(Content(name), text);
    fs::last_write_time(Content("b.png"), fs::last_write_time(Content("a.png")));
    Scan();
    const Guid gone = GuidOf("Gone.png");
    const Guid guid = GuidOf("Rock.png");
    const AssetHandle handle = registry_.HandleOfGuid(guid);
    fs::create_directories(Content("Moved"));
    fs::rename(Content("Rock.png"), Content("Moved/Stone.png"));
    fs::remove(Content("Gone.png"));
    fs::rename(Content("Sand.png"), Content("Dune.png"));
    WriteText(Content("Dune.png"), "a longer sand png");
    fs::rename(Content("a.png"), Content("c.png")); // a.png and b.png left orphans alike
    fs::remove(Content("b.png"));
    fs::rename(Content("x.png"), Content("x.jpg"));
    LogCapture log;
    registry_.Rescan();
    EXPECT_EQ(GuidOf("Moved/Stone.png"), guid);
    EXPECT_EQ(registry_.HandleOfPath(Content("Moved/Stone.png")), handle);
    EXPECT_EQ(log.Messages(LogLevel::Info),
              std::vector<std::string>{"Asset sidecar followed renamed file: " + Content("Moved/Stone.png").string()});
    EXPECT_EQ(registry_.HandleOfGuid(gone) + registry_.HandleOfPath(Content("Gone.png")), 0u);
    for (const char* fresh : {"Dune.png", "c.png", "x.jpg"}) EXPECT_EQ(GuidOf(fresh), ContentGuid(fresh)) << fresh;
    EXPECT_EQ(ListFiles(ContentRoot()),
              (std::vector<std::string>{"Dune.png", "Dune.png.bmeta", "Gone.png.bmeta", "Moved/Stone.png",
                                        "Moved/Stone.png.bmeta", "Sand.png.bmeta", "a.png.bmeta", "b.png.bmeta",
                                        "c.png", "c.png.bmeta", "x.jpg", "x.jpg.bmeta", "x.png.bmeta"}));
}

TEST_F(AssetRegistryTest, CopiedSidecarKeepsTheGuidForTheFileThatHadItOrTheFirstPath) {
    const std::string sidecar = "bmeta 1\nguid " + kGuid.ToString() + "\nimporter texture 1\nsettings\nend\n";
    WriteText(Content("b/Rock.png"), "one");
    WriteText(Content("b/Rock.png.bmeta"), sidecar);
    WriteText(Content("a/Rock.png"), "two");
    WriteText(Content("a/Rock.png.bmeta"), sidecar);
    LogCapture log;
    Scan();
    EXPECT_EQ(GuidOf("a/Rock.png"), kGuid);
    const Guid copy = GuidOf("b/Rock.png");
    EXPECT_TRUE(copy != kGuid && copy.IsValid());
    EXPECT_EQ(SidecarText("b/Rock.png"), "bmeta 1\nguid " + copy.ToString() + "\nimporter texture 1\nsettings\nend\n");
    EXPECT_EQ(SidecarText("a/Rock.png"), sidecar);
    EXPECT_EQ(log.Messages(LogLevel::Warning),
              std::vector<std::string>{"Duplicate asset GUID " + kGuid.ToString() + " in " +
                                       Content("b/Rock.png").string() + " (copied sidecar); assigning a new identity."});
    // At a rescan the file that had the GUID before keeps it, though the copy comes first.
    WriteText(Content("0/Rock.png"), "three");
    fs::copy_file(Content("a/Rock.png.bmeta"), Content("0/Rock.png.bmeta"));
    registry_.Rescan();
    EXPECT_EQ(GuidOf("a/Rock.png"), kGuid);
    EXPECT_NE(GuidOf("0/Rock.png"), kGuid);
}

TEST_F(AssetRegistryTest, CopiedSidecarsInReadOnlyModeGetAReproducibleGuidAndNothingIsWritten) {
    const Guid sub = *Guid::Parse("99999999222233334444555555555555");
    const std::string sidecar = "bmeta 1\nguid " + kGuid.ToString() + "\nsubassets\nmesh \"Body\" " + sub.ToString() +
                                "\nend\n";
    for (const char* name : {"a/Tree.fbx", "b/Tree.fbx"}) {
        WriteText(Content(name), name);
        WriteText(Content(std::string(name) + ".bmeta"), sidecar);
    }
    for (int run = 0; run < 2; ++run) {
        AssetRegistry registry;
        registry.SetContentRoot(ContentRoot(), AssetSourceMode::ReadOnly);
        EXPECT_EQ(GuidOf("b/Tree.fbx", &registry), DuplicateAssetGuid(kGuid, Key("b/Tree.fbx")));
        const std::optional<AssetSidecar> copied = registry.SidecarOf(Content("b/Tree.fbx"));
        ASSERT_TRUE(copied);
        ASSERT_EQ(copied->subAssets.size(), 1u);
        EXPECT_EQ(copied->subAssets[0].guid, DuplicateAssetGuid(sub, Key("b/Tree.fbx")));
        EXPECT_EQ(SidecarText("b/Tree.fbx"), sidecar);
    }
}

TEST_F(AssetRegistryTest, RegisterFileGivesANewFileOrACopyANewIdentityAndAKnownOrMovedOneItsOld) {
    WriteText(Content("a.bworld"), "world");
    WriteText(Content("m.bworld"), "moved world");
    Scan();
    const std::uint64_t revision = registry_.Revision();
    WriteText(Content("Worlds/Island.bworld"), "world");
    const AssetHandle handle = registry_.RegisterFile(AssetType::World, Content("Worlds/Island.bworld"));
    EXPECT_EQ(handle, HandleForGuid(ContentGuid("Worlds/Island.bworld")));
    EXPECT_EQ(registry_.HandleOfPath(Content("Worlds/Island.bworld")), handle);
    EXPECT_EQ(registry_.Find(handle)->type, AssetType::World);
    EXPECT_EQ(SidecarText("Worlds/Island.bworld"),
              DefaultSidecarText(AssetType::World, "Island.bworld", ContentGuid("Worlds/Island.bworld")));
    EXPECT_GT(registry_.Revision(), revision);

    AssetRegistry rescanned;
    rescanned.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    WriteText(Content("Worlds/Island.bworld"), "world, written again");
    EXPECT_EQ(rescanned.RegisterFile(AssetType::World, Content("Worlds/Island.bworld")), handle);
    EXPECT_EQ(rescanned.RegisterFile(AssetType::World, Content("Worlds/../Worlds/Island.bworld")), handle);
    WriteText(root_ / "Outside/Far.bworld", "world");
    const AssetHandle outside = registry_.RegisterFile(AssetType::World, root_ / "Outside/Far.bworld");
    EXPECT_EQ(registry_.Find(outside)->guid,
              Guid::FromName("brelk-asset:path:" + AssetPathKey(root_ / "Outside/Far.bworld")));
    EXPECT_FALSE(fs::exists(root_ / "Outside/Far.bworld.bmeta"));

    const AssetHandle original = registry_.HandleOfPath(Content("a.bworld"));
    fs::copy_file(Content("a.bworld"), Content("b.bworld"));
    fs::copy_file(Content("a.bworld.bmeta"), Content("b.bworld.bmeta"));
    EXPECT_NE(registry_.RegisterFile(AssetType::World, Content("b.bworld")), original);
    EXPECT_EQ(registry_.HandleOfPath(Content("a.bworld")), original);
    EXPECT_NE(SidecarText("b.bworld"), SidecarText("a.bworld"));
    const AssetHandle moved = registry_.HandleOfPath(Content("m.bworld"));
    ASSERT_TRUE(RenameAssetSource(Content("m.bworld"), Content("n.bworld")));
    EXPECT_EQ(registry_.RegisterFile(AssetType::World, Content("n.bworld")), moved);
    EXPECT_EQ(registry_.HandleOfPath(Content("m.bworld")), 0u);
    EXPECT_EQ(registry_.HandleOfPath(Content("n.bworld")), moved);
}

TEST_F(AssetRegistryTest, BuiltinsSurviveRescansAndListLastWhileTypesListByPath) {
    for (const char* name : {"z.png", "m/b.png", "a.png", "m/a.png", "b.bmat"}) WriteText(Content(name), name);
    Scan();
    const AssetHandle cube = registry_.RegisterBuiltin(AssetType::Mesh, "Builtin/Cube");
    registry_.RegisterBuiltin(AssetType::Mesh, "Builtin/Anvil");
    registry_.Rescan();
    EXPECT_EQ(registry_.HandleOfBuiltin("Builtin/Cube"), cube);
    EXPECT_EQ(registry_.HandleOfBuiltin("Builtin/Sphere"), 0u);
    EXPECT_TRUE(registry_.Find(cube)->sourcePath.empty());

    std::vector<std::string> names;
    for (const AssetRecord& r : registry_.AllRecords()) names.push_back(r.name);
    EXPECT_EQ(names, (std::vector<std::string>{"a.png", "a.png", "b.bmat", "b.png", "z.png", "Builtin/Anvil",
                                               "Builtin/Cube"}));
    names.clear();
    for (const AssetRecord& r : registry_.RecordsOfType(AssetType::Texture))
        names.push_back(fs::relative(r.path, ContentRoot()).generic_string());
    EXPECT_EQ(names, (std::vector<std::string>{"a.png", "m/a.png", "m/b.png", "z.png"}));
}

TEST_F(AssetRegistryTest, RegistersSubAssetsIntoTheSourcesSidecarRemapsLegacyHashesAndRenumbersSubkeys) {
    WriteText(Content("Tree.fbx"), "fbx");
    Scan();
    const Guid source = GuidOf("Tree.fbx");
    const AssetHandle trunk = registry_.RegisterSubAsset(AssetType::Mesh, Content("Tree.fbx"),
                                                         Content("Tree/0_Trunk.bmesh"), "Trunk#1", "Trunk");
    const Guid trunkGuid = SubAssetGuid(source, AssetType::Mesh, "Trunk#1");
    EXPECT_EQ(trunk, HandleForGuid(trunkGuid));
    EXPECT_EQ(SidecarText("Tree.fbx"), "bmeta 1\nguid " + source.ToString() +
                                           "\nimporter model 1\nsettings\nend\nsubassets\nmesh \"Trunk#1\" " +
                                           trunkGuid.ToString() + "\nend\n");
    const AssetRecord* record = registry_.Find(trunk);
    ASSERT_NE(record, nullptr);
    EXPECT_TRUE(record->isSubAsset);
    EXPECT_EQ(std::tie(record->name, record->subkey, record->sourcePath, record->path),
              std::tuple("Trunk", "Trunk#1", Content("Tree.fbx"), Content("Tree/0_Trunk.bmesh")));
    EXPECT_EQ(registry_.SourceOfSubAsset(trunkGuid), Content("Tree.fbx"));
    EXPECT_EQ(registry_.SourceInfoOf(trunkGuid)->dependencies, std::vector<Guid>{source});

    const fs::path tree = Content("Tree.fbx");
    EXPECT_EQ(registry_.FindSubAsset(tree, "Trunk#1", AssetType::Unknown), trunk);
    EXPECT_EQ(registry_.FindSubAsset(tree, "Trunk#1", AssetType::Material), 0u);
    EXPECT_EQ(registry_.FindDerived(tree, Content("Tree/7_Trunk.bmesh"), false, AssetType::Unknown), 0u);
    EXPECT_EQ(registry_.FindDerived(tree, Content("Tree/7_Trunk.bmesh"), true, AssetType::Unknown), trunk);
    EXPECT_EQ(registry_.RegisterSubAsset(AssetType::Mesh, tree, {}, "Trunk#1", "Trunk"), trunk);
    AssetRegistry fresh;
    fresh.SetContentRoot(ContentRoot(), AssetSourceMode::Authoring);
    EXPECT_EQ(fresh.SourceOfSubAsset(trunkGuid), tree);
    EXPECT_EQ(fresh.RegisterSubAsset(AssetType::Mesh, tree, {}, "Trunk#1", "Trunk"), trunk);

    // A legacy path hash finds the live record, also one taken under another root.
    const std::vector<fs::path> roots{"/old/Project/Content", {}};
    const AssetHandle handle = registry_.HandleOfPath(tree);
    EXPECT_EQ(registry_.RemapLegacyHandle(Core::Fnv1a64(Key("Tree.fbx")), roots), handle);
    EXPECT_EQ(registry_.RemapLegacyHandle(Core::Fnv1a64("/old/Project/Content/Tree.fbx"), roots), handle);
    EXPECT_EQ(registry_.RemapLegacyHandle(Core::Fnv1a64("/old/Project/Content/Sand.png"), roots), 0u);
    EXPECT_EQ(registry_.RemapLegacyHandle(handle, roots), handle);
    EXPECT_EQ(registry_.RemapLegacyHandle(Core::Fnv1a64(Key("Tree.fbx") + "#Trunk#1"), roots), trunk);

    // A renumbered subkey adopts the identity that nothing live uses.
    const AssetHandle old = registry_.RegisterSubAsset(AssetType::Mesh, tree, {}, "Mesh#2", "Mesh");
    const AssetHandle other = registry_.RegisterSubAsset(AssetType::Mesh, tree, {}, "Leaf#1", "Leaf");
    registry_.RemoveSubAssetsOf(tree);
    EXPECT_EQ(registry_.Find(old), nullptr);
    EXPECT_EQ(registry_.RegisterSubAsset(AssetType::Mesh, tree, {}, "Leaf#1", "Leaf"), other);
    EXPECT_EQ(registry_.RegisterSubAsset(AssetType::Mesh, tree, {}, "Mesh#3", "Mesh"), old);
    ASSERT_EQ(registry_.SidecarOf(tree)->subAssets.size(), 3u); // Trunk#1's entry first
    EXPECT_EQ(registry_.SidecarOf(tree)->subAssets[1].subkey, "Mesh#3");
    EXPECT_NE(registry_.RegisterSubAsset(AssetType::Mesh, tree, {}, "Mesh#4", "Mesh"), old);
    EXPECT_EQ(registry_.SidecarOf(tree)->subAssets.size(), 4u);
    // A sub-asset of a missing source is derived and stored nowhere.
    const AssetHandle gone = registry_.RegisterSubAsset(AssetType::Mesh, Content("Gone.fbx"), {}, "Body", "Body");
    EXPECT_EQ(registry_.Find(gone)->guid, SubAssetGuid(ContentGuid("Gone.fbx"), AssetType::Mesh, "Body"));
    EXPECT_FALSE(registry_.SidecarOf(Content("Gone.fbx")));
    EXPECT_EQ(ListFiles(ContentRoot()), (std::vector<std::string>{"Tree.fbx", "Tree.fbx.bmeta"}));
}

TEST_F(AssetRegistryTest, ReadersSeeAWholeTableWhileScansRun) {
    for (int i = 0; i < 20; ++i) WriteText(Content("f" + std::to_string(i) + ".png"), "x");
    Scan();
    Brelk::Testing::RunWithDeadline(Brelk::Testing::kDeadline, [&] {
        std::atomic<bool> done{false};
        std::atomic<int> partial{0};
        std::thread reader([&] {
            while (!done.load())
                if (registry_.RecordsOfType(AssetType::Texture).size() != 20) partial.fetch_add(1);
        });
        for (int i = 0; i < 10; ++i) registry_.Rescan();
        done = true;
        reader.join();
        EXPECT_EQ(partial.load(), 0);
    });
}

} // namespace
} // namespace Brelk::Assets
