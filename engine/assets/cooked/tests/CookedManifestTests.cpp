#include "engine/assets/cooked/CookedManifest.h"

#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/platform/Files.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

using Testing::ScratchFolder;
using Testing::WriteText;

std::filesystem::path Data(std::string_view name) { return std::filesystem::path(BRELK_TEST_DATA_DIR) / "cooked" / name; }

CookedAssetManifest SampleManifest() {
    CookedAssetManifest manifest;
    manifest.platform = "linux";
    manifest.cookerVersion = 7;
    manifest.contentRoot = "C:/Game/Content";
    manifest.outputRoot = "Out dir";
    manifest.requireCookedScenes = true;
    CookedAssetEntry entry;
    entry.guid = Core::Guid::FromName("rock");
    entry.type = AssetType::Material;
    entry.name = "Rock \"wet\"";
    entry.sourcePath = "Materials/Rock.bmat";
    entry.cookedPath = "Cooked\\Rock.bmat";
    entry.label = "a\\b";
    entry.valueA = 18446744073709551615ull;
    entry.flag = true;
    entry.hashA = 0xabc;
    entry.hashC = 1;
    entry.textD = "d";
    entry.valueC = 4294967295u;
    entry.dependencies = {{"Textures/Rock.png", 0x0123456789abcdefull}};
    manifest.assets = {entry, CookedAssetEntry{}};
    return manifest;
}

TEST(CookedManifestTest, WritesVersionThreeAndReadsItBack) {
    ScratchFolder folder;
    const CookedAssetManifest written = SampleManifest();
    ASSERT_TRUE(WriteCookedManifest(written, folder / "m.bmanifest", nullptr));
    const std::string text = Testing::ReadText(folder / "m.bmanifest");
    Brelk::Testing::ExpectGoldenText(Data("Sample.bmanifest"), text);

    // Read back and written again, every field comes out as it went in.
    CookedAssetManifest read;
    std::string error;
    ASSERT_TRUE(ReadCookedManifest(folder / "m.bmanifest", read, &error)) << error;
    ASSERT_TRUE(WriteCookedManifest(read, folder / "again.bmanifest", nullptr));
    EXPECT_EQ(Testing::ReadText(folder / "again.bmanifest"), text);
}

TEST(CookedManifestTest, ReadsOlderVersionsAndTheirDefaults) {
    ScratchFolder folder;
    WriteText(folder / "v1", "brelk_cooked_manifest 1\nasset 42 Texture \"T\" \"s\" \"c\" \"t\" \"l\" 1 2 0\nunknown_key 5\n");
    WriteText(folder / "v2", "\nbrelk_cooked_manifest 2\n\nasset not-a-guid Nonsense \"T\" \"s\" \"c\" \"t\" \"l\" 1 2 1\n"
                             "require_cooked_scenes 2\n");
    CookedAssetManifest manifest;
    ASSERT_TRUE(ReadCookedManifest(folder / "v1", manifest, nullptr));
    EXPECT_EQ(manifest.version, 1u);
    EXPECT_EQ(manifest.platform, "windows");
    ASSERT_EQ(manifest.assets.size(), 1u);
    EXPECT_EQ(manifest.assets[0].type, AssetType::Texture);
    EXPECT_EQ(manifest.assets[0].valueB, 2u);
    ASSERT_TRUE(ReadCookedManifest(folder / "v2", manifest, nullptr));
    EXPECT_EQ(manifest.assets[0].type, AssetType::Unknown);
    EXPECT_FALSE(manifest.assets[0].guid.IsValid());
    EXPECT_TRUE(manifest.assets[0].flag);
    EXPECT_TRUE(manifest.requireCookedScenes);
}

TEST(CookedManifestTest, BadTextGivesItsMessage) {
    ScratchFolder folder;
    const std::string path = Platform::PathToUtf8(folder / "m");
    Brelk::Testing::ExpectTextCases(Data("BrokenManifests.txt"), [&](const auto& c) {
        WriteText(folder / "m", c.input);
        CookedAssetManifest manifest;
        std::string error;
        if (ReadCookedManifest(folder / "m", manifest, &error)) return std::string("read");
        return error.ends_with(path) ? error.substr(0, error.size() - path.size()) + "<path>" : error;
    });
    std::string error;
    CookedAssetManifest manifest;
    EXPECT_FALSE(ReadCookedManifest(folder / "none", manifest, &error));
    EXPECT_EQ(error, "Failed to open cooked asset manifest: " + Platform::PathToUtf8(folder / "none"));
}

TEST(CookedManifestTest, RequiresCookedScenesReadsUpToTheFirstAssetAndFollowsChanges) {
    ScratchFolder folder;
    const std::filesystem::path manifest = folder / "CookedAssetManifest.bmanifest";
    EXPECT_FALSE(RequiresCookedScenes(folder.Path()));
    const std::pair<const char*, bool> rows[] = {
        {"brelk_cooked_manifest 3\nrequire_cooked_scenes 1\n", true},
        {"brelk_cooked_manifest 3\nrequire_cooked_scenes 0\n", false},
        {"brelk_cooked_manifest 3\nrequire_cooked_scenes 2\n", true},
        {"brelk_cooked_manifest 3\nasset x\nrequire_cooked_scenes 1\n", false},
    };
    for (std::size_t index = 0; index < std::size(rows); ++index) {
        const auto& [text, expected] = rows[index];
        WriteText(manifest, text);
        // Each version gets a distinct time, as an edit on disk would.
        Testing::AgeFile(manifest);
        std::filesystem::last_write_time(manifest, std::filesystem::last_write_time(manifest) +
                                                       std::chrono::seconds(index));
        EXPECT_EQ(RequiresCookedScenes(folder.Path()), expected) << text;
    }
}

} // namespace
} // namespace Brelk::Assets
