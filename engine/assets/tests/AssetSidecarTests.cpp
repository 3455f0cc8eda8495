#include "engine/assets/AssetSidecar.h"

#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

using Core::Guid;
using Testing::AgeFile;
using Testing::ListFiles;
using Testing::ReadText;
using Testing::TempFolder;
using Testing::WriteText;

const Guid kGuid = *Guid::Parse("0123456789abcdef8123456789abcdef");
const Guid kSubGuid = *Guid::Parse("fedcba98765432108123456789abcdef");
constexpr std::string_view kGuidText = "01234567-89ab-cdef-8123-456789abcdef";

std::string Header() { return "bmeta 1\nguid " + std::string(kGuidText) + "\n"; }

TEST(AssetSidecar, WritesTheDefaultTextureSidecarAsSevenLines) {
    const AssetSidecar sidecar = MakeDefaultSidecar(AssetType::Texture, "Rock.png", kGuid);
    EXPECT_EQ(SerializeSidecar(sidecar), "bmeta 1\n"
                                         "guid 01234567-89ab-cdef-8123-456789abcdef\n"
                                         "importer texture 1\n"
                                         "settings\n"
                                         "encoding \"auto\"\n"
                                         "max_size \"0\"\n"
                                         "end\n");
}

TEST(AssetSidecar, WritesSettingsAndEndEvenWithoutSettingsAndNativeForAnEmptyImporter) {
    AssetSidecar sidecar;
    sidecar.guid = kGuid;
    sidecar.importerVersion = 3;
    EXPECT_EQ(SerializeSidecar(sidecar), Header() + "importer native 3\nsettings\nend\n");
}

TEST(AssetSidecar, WritesSubAssetsOnlyWhenThereAreSome) {
    AssetSidecar sidecar = MakeDefaultSidecar(AssetType::Scene, "Tree.fbx", kGuid);
    sidecar.subAssets.push_back(SidecarSubAsset{"Trunk#1", AssetType::Mesh, kSubGuid});
    EXPECT_EQ(SerializeSidecar(sidecar), Header() +
                                             "importer model 1\nsettings\nend\nsubassets\n"
                                             "mesh \"Trunk#1\" fedcba98-7654-3210-8123-456789abcdef\nend\n");
}

TEST(AssetSidecar, RoundTripsSettingsWithQuotesAndBackslashesAndSubAssets) {
    AssetSidecar sidecar;
    sidecar.guid = kGuid;
    sidecar.importer = "model";
    sidecar.importerVersion = 7;
    sidecar.settings = {{"path", "C:\\Art\\\"Rock\" 1"}, {"empty", ""}, {"scale", "0.5"}};
    sidecar.subAssets = {{"Body \"main\"", AssetType::Mesh, kSubGuid}, {"Walk", AssetType::Clip, kGuid}};
    std::string error;
    const std::optional<AssetSidecar> read = ParseSidecar(SerializeSidecar(sidecar), &error);
    ASSERT_TRUE(read) << error;
    EXPECT_EQ(*read, sidecar);
}

TEST(AssetSidecar, SkipsBlankLinesCommentsAndUnknownKeys) {
    const std::string text = "\n# made by hand\nbmeta 1\n   \nfuture_key 12 \"x\"\nguid " + std::string(kGuidText) +
                             "\n#importer audio 4\nimporter texture 2\nsettings\n# a comment\n\nmax_size \"64\"\n"
                             "end\nend\nsubassets\n# mesh\nmesh \"A\" fedcba98-7654-3210-8123-456789abcdef\nend\n";
    const std::optional<AssetSidecar> read = ParseSidecar(text);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->version, 1u);
    EXPECT_EQ(read->guid, kGuid);
    EXPECT_EQ(read->importer, "texture");
    EXPECT_EQ(read->importerVersion, 2u);
    ASSERT_EQ(read->settings.size(), 1u);
    EXPECT_EQ(read->settings[0], (std::pair<std::string, std::string>{"max_size", "64"}));
    ASSERT_EQ(read->subAssets.size(), 1u);
    EXPECT_EQ(read->subAssets[0], (SidecarSubAsset{"A", AssetType::Mesh, kSubGuid}));
}

TEST(AssetSidecar, ReadsCarriageReturnLineEndings) {
    const std::string text = "bmeta 1\r\nguid " + std::string(kGuidText) + "\r\nimporter audio 1\r\nsettings\r\n"
                             "mode \"stream\"\r\nend\r\n";
    const std::optional<AssetSidecar> read = ParseSidecar(text);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->importer, "audio");
    ASSERT_EQ(read->settings.size(), 1u);
    EXPECT_EQ(read->settings[0].second, "stream");
}

TEST(AssetSidecar, GivesAMissingSettingValueTheEmptyStringAndReadsAPlainWord) {
    const std::optional<AssetSidecar> read = ParseSidecar(Header() + "settings\nflag\nmode plain words\nend\n");
    ASSERT_TRUE(read);
    ASSERT_EQ(read->settings.size(), 2u);
    EXPECT_EQ(read->settings[0], (std::pair<std::string, std::string>{"flag", ""}));
    EXPECT_EQ(read->settings[1], (std::pair<std::string, std::string>{"mode", "plain"}));
}

TEST(AssetSidecar, KeepsTheImporterVersionWhenTheLineHasNone) {
    const std::optional<AssetSidecar> read = ParseSidecar(Header() + "importer audio\n");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->importer, "audio");
    EXPECT_EQ(read->importerVersion, 1u);
}

struct BrokenSidecar {
    std::string text;
    std::string message;
};

TEST(AssetSidecar, RefusesBrokenTextWithTheExactMessage) {
    const std::string guidLine = "guid " + std::string(kGuidText) + "\n";
    const std::string sub = Header() + "subassets\n";
    const std::vector<BrokenSidecar> cases = {
        {"", "Missing bmeta header."},
        {"# nothing\n\n", "Missing bmeta header."},
        {guidLine, "Missing bmeta header."},
        {"bmeta 1\n", "Missing bmeta guid."},
        {"bmeta 1\nimporter native 1\n", "Missing bmeta guid."},
        {"bmeta\n" + guidLine, "Invalid bmeta version."},
        {"bmeta 0\n" + guidLine, "Invalid bmeta version."},
        {"bmeta one\n" + guidLine, "Invalid bmeta version."},
        {"bmeta -1\n" + guidLine, "Invalid bmeta version."},
        {"bmeta 1x\n" + guidLine, "Invalid bmeta version."},
        {"bmeta 4294967296\n" + guidLine, "Invalid bmeta version."},
        {"bmeta 2\n" + guidLine, "bmeta version 2 is newer than this engine reads."},
        {"bmeta 4294967295\n", "bmeta version 4294967295 is newer than this engine reads."},
        {"bmeta 1\nguid\n", "Invalid bmeta guid."},
        {"bmeta 1\nguid 0123456789abcdef\n", "Invalid bmeta guid."},
        {"bmeta 1\nguid 00000000-0000-0000-0000-000000000000\n", "Invalid bmeta guid."},
        {"bmeta 1\nguid 0123456789abcdef8123456789abcdeg\n", "Invalid bmeta guid."},
        {sub + "mesh\n", "Malformed sub-asset at line 4."},
        {sub + "mesh \"Body\"\n", "Malformed sub-asset at line 4."},
        {sub + "\n# c\nmesh \"Body fedcba98-7654-3210-8123-456789abcdef\n", "Malformed sub-asset at line 6."},
        {sub + "mesh \"Body\" nope\n", "Invalid sub-asset at line 4."},
        {sub + "mesh \"Body\" 00000000000000000000000000000000\n", "Invalid sub-asset at line 4."},
        {sub + "unknown \"Body\" fedcba98-7654-3210-8123-456789abcdef\n", "Invalid sub-asset at line 4."},
        {sub + "Mesh \"Body\" fedcba98-7654-3210-8123-456789abcdef\n", "Invalid sub-asset at line 4."},
        {sub + "end\nbmeta 3\n", "bmeta version 3 is newer than this engine reads."},
    };
    for (const BrokenSidecar& broken : cases) {
        std::string error;
        EXPECT_FALSE(ParseSidecar(broken.text, &error)) << broken.text;
        EXPECT_EQ(error, broken.message) << broken.text;
    }
}

TEST(AssetSidecar, FailsToReadAMissingFileWithCannotOpen) {
    TempFolder folder;
    std::string error;
    EXPECT_FALSE(ReadSidecar(folder / "Missing.png.bmeta", &error));
    EXPECT_EQ(error, "Cannot open sidecar.");
}

TEST(AssetSidecar, ReadsTheFileItWrote) {
    TempFolder folder;
    const std::filesystem::path path = folder / "Rock.png.bmeta";
    const AssetSidecar sidecar = MakeDefaultSidecar(AssetType::Texture, "Rock.png", kGuid);
    std::string error;
    ASSERT_TRUE(WriteSidecar(path, sidecar, &error)) << error;
    EXPECT_EQ(ReadText(path), SerializeSidecar(sidecar));
    const std::optional<AssetSidecar> read = ReadSidecar(path, &error);
    ASSERT_TRUE(read) << error;
    EXPECT_EQ(*read, sidecar);
}

TEST(AssetSidecar, LeavesAFileWithTheSameTextUntouched) {
    TempFolder folder;
    const std::filesystem::path path = folder / "Rock.png.bmeta";
    const AssetSidecar sidecar = MakeDefaultSidecar(AssetType::Texture, "Rock.png", kGuid);
    ASSERT_TRUE(WriteSidecar(path, sidecar));
    AgeFile(path);
    const auto before = std::filesystem::last_write_time(path);
    ASSERT_TRUE(WriteSidecar(path, sidecar));
    EXPECT_EQ(std::filesystem::last_write_time(path), before);
}

TEST(AssetSidecar, ReplacesAFileWithOtherTextAndLeavesNoTemporaryFile) {
    TempFolder folder;
    const std::filesystem::path path = folder / "Rock.png.bmeta";
    WriteText(path, "old text");
    AssetSidecar sidecar = MakeDefaultSidecar(AssetType::Texture, "Rock.png", kGuid);
    SetSidecarSetting(sidecar, "max_size", "512");
    ASSERT_TRUE(WriteSidecar(path, sidecar));
    EXPECT_EQ(ReadText(path), SerializeSidecar(sidecar));
    EXPECT_EQ(ListFiles(folder.Path()), std::vector<std::string>{"Rock.png.bmeta"});
}

TEST(AssetSidecar, ReportsCannotWriteWhenTheFolderIsMissing) {
    TempFolder folder;
    std::string error;
    EXPECT_FALSE(WriteSidecar(folder / "Gone" / "Rock.png.bmeta", MakeDefaultSidecar(AssetType::Texture, "", kGuid),
                              &error));
    EXPECT_EQ(error, "Cannot write sidecar.");
}

TEST(AssetSidecar, RecognisesSidecarPathsOnlyWithASourceExtension) {
    EXPECT_EQ(SidecarPath("Art/Rock.png"), std::filesystem::path("Art/Rock.png.bmeta"));
    EXPECT_TRUE(IsSidecarPath("Art/Rock.png.bmeta"));
    EXPECT_TRUE(IsSidecarPath("Notes.txt.bmeta"));
    EXPECT_TRUE(IsSidecarPath("Rock.png.BMeta"));
    EXPECT_FALSE(IsSidecarPath("Notes.bmeta"));
    EXPECT_FALSE(IsSidecarPath("Rock.png"));
    EXPECT_FALSE(IsSidecarPath("Rock.png.bmeta.tmp"));
    EXPECT_EQ(SourcePathOfSidecar("Art/Rock.png.bmeta"), std::filesystem::path("Art/Rock.png"));
    EXPECT_EQ(SourcePathOfSidecar("Notes.txt.bmeta"), std::filesystem::path("Notes.txt"));
    EXPECT_EQ(SourcePathOfSidecar("Notes.bmeta"), std::filesystem::path());
}

TEST(AssetSidecar, ChoosesTheDefaultImporterByTheFirstRuleThatFits) {
    EXPECT_EQ(MakeDefaultSidecar(AssetType::Mesh, "Rock.obj", kGuid).importer, "model");
    EXPECT_EQ(MakeDefaultSidecar(AssetType::Scene, "Tree.FBX", kGuid).importer, "model");
    EXPECT_EQ(MakeDefaultSidecar(AssetType::Scene, "Tree.glb", kGuid).importer, "model");
    EXPECT_EQ(MakeDefaultSidecar(AssetType::Scene, "Level.bscene", kGuid).importer, "native");
    EXPECT_EQ(MakeDefaultSidecar(AssetType::Audio, "Wind.wav", kGuid).importer, "audio");
    EXPECT_EQ(MakeDefaultSidecar(AssetType::World, "Island.bworld", kGuid).importer, "native");
    const AssetSidecar mesh = MakeDefaultSidecar(AssetType::Mesh, "Rock.bmesh", kGuid);
    EXPECT_EQ(mesh.importer, "native");
    EXPECT_EQ(mesh.version, 1u);
    EXPECT_EQ(mesh.importerVersion, 1u);
    EXPECT_EQ(mesh.guid, kGuid);
    EXPECT_TRUE(mesh.settings.empty());
    EXPECT_TRUE(mesh.subAssets.empty());
}

TEST(AssetSidecar, SetsTheFirstSettingOfAKeyOrAppendsOne) {
    AssetSidecar sidecar;
    sidecar.settings = {{"a", "1"}, {"b", "2"}, {"a", "3"}};
    EXPECT_FALSE(SetSidecarSetting(sidecar, "a", "1"));
    EXPECT_TRUE(SetSidecarSetting(sidecar, "a", "9"));
    EXPECT_TRUE(SetSidecarSetting(sidecar, "c", "4"));
    const std::vector<std::pair<std::string, std::string>> expected = {{"a", "9"}, {"b", "2"}, {"a", "3"}, {"c", "4"}};
    EXPECT_EQ(sidecar.settings, expected);
    ASSERT_NE(FindSidecarSetting(sidecar, "b"), nullptr);
    EXPECT_EQ(*FindSidecarSetting(sidecar, "b"), "2");
    EXPECT_EQ(FindSidecarSetting(sidecar, "z"), nullptr);
}

TEST(AssetSidecar, FindsASubAssetOnlyWhenTypeAndSubkeyBothMatch) {
    AssetSidecar sidecar;
    sidecar.subAssets = {{"Body", AssetType::Mesh, kSubGuid}, {"Body", AssetType::Material, kGuid}};
    ASSERT_NE(FindSidecarSubAsset(sidecar, AssetType::Material, "Body"), nullptr);
    EXPECT_EQ(FindSidecarSubAsset(sidecar, AssetType::Material, "Body")->guid, kGuid);
    EXPECT_EQ(FindSidecarSubAsset(sidecar, AssetType::Clip, "Body"), nullptr);
    EXPECT_EQ(FindSidecarSubAsset(sidecar, AssetType::Mesh, "body"), nullptr);
}

} // namespace
} // namespace Brelk::Assets
