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

TEST(CookedManifestTest, ReadsOlderVersionsWithTheirDefaultsAndRefusesBadTextWithItsMessage) {
    ScratchFolder folder;
    const std::string path = Platform::PathToUtf8(folder / "m");
    Brelk::Testing::ExpectTextCases(Data("ReadManifests.txt"), [&](const auto& c) {
        WriteText(folder / "m", c.input);
        CookedAssetManifest manifest;
        std::string error;
        if (ReadCookedManifest(folder / "m", manifest, &error)) {
            EXPECT_TRUE(WriteCookedManifest(manifest, folder / "again", nullptr));
            return "read as version " + std::to_string(manifest.version) + "\n" + Testing::ReadText(folder / "again");
        }
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
    int edits = 0;
    Brelk::Testing::ExpectTextCases(Data("CookedSceneFlags.txt"), [&](const auto& c) {
        WriteText(manifest, c.input);
        // Each version gets a distinct time, as an edit on disk would.
        Testing::AgeFile(manifest);
        std::filesystem::last_write_time(manifest, std::filesystem::last_write_time(manifest) +
                                                       std::chrono::seconds(edits++));
        return RequiresCookedScenes(folder.Path()) ? "required" : "not required";
    });
}

} // namespace
} // namespace Brelk::Assets
