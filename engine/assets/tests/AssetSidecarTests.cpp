#include "engine/assets/AssetSidecar.h"

#include "engine/assets/AssetTypeWords.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Core::Guid;
using Testing::AgeFile;
using Testing::ListFiles;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

const Guid kGuid = *Guid::Parse("0123456789abcdef8123456789abcdef");
const Guid kSubGuid = *Guid::Parse("fedcba98765432108123456789abcdef");
const std::string kHeader = "bmeta 1\nguid 01234567-89ab-cdef-8123-456789abcdef\n";
const std::string kSubGuidText = "fedcba98-7654-3210-8123-456789abcdef";

TEST(AssetSidecar, WritesTheExactText) {
    EXPECT_EQ(SerializeSidecar(MakeDefaultSidecar(AssetType::Texture, "Rock.png", kGuid)),
              kHeader + "importer texture 1\nsettings\nencoding \"auto\"\nmax_size \"0\"\nend\n");
    // Settings and end even without settings; an empty importer is written as native.
    AssetSidecar bare;
    bare.guid = kGuid;
    bare.importerVersion = 3;
    EXPECT_EQ(SerializeSidecar(bare), kHeader + "importer native 3\nsettings\nend\n");
}

TEST(AssetSidecar, ReadsHandWrittenText) {
    const auto read = [](std::string_view text) {
        std::string error;
        const std::optional<AssetSidecar> sidecar = ParseSidecar(text, &error);
        return !sidecar ? error : SerializeSidecar(*sidecar) + (sidecar->importer.empty() ? "(no importer)" : "");
    };
    Brelk::Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "HandWrittenSidecars.txt",
                                    [&](const auto& c) { return read(c.input); });
    // CR LF line ends, and a line of spaces is blank.
    EXPECT_EQ(read("bmeta 1\r\n   \r\nguid 01234567-89ab-cdef-8123-456789abcdef\r\nimporter audio 1\r\nsettings\r\n"
                   "mode \"stream\"\r\nend\r\n"),
              kHeader + "importer audio 1\nsettings\nmode \"stream\"\nend\n");
}

TEST(AssetSidecar, RefusesBrokenTextWithTheExactMessage) {
    Brelk::Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "BrokenSidecars.txt", [](const auto& c) {
        std::string error;
        return ParseSidecar(c.input, &error) ? "read" : error;
    });
}

TEST(AssetSidecarFile, RoundTripsQuotesBackslashesAndSubAssetsWritesOnlyChangedTextAndReportsFailures) {
    ScratchFolder folder;
    const fs::path path = folder / "Rock.png.bmeta";
    WriteText(path, "old text");
    AssetSidecar sidecar{1, kGuid, "model", 7, {{"path", "C:\\Art\\\"Rock\" 1"}, {"empty", ""}, {"scale", "0.5"}},
                         {{"Body \"main\"", AssetType::Mesh, kSubGuid}, {"Walk", AssetType::Clip, kGuid}}};
    std::string error;
    ASSERT_TRUE(WriteSidecar(path, sidecar, &error)) << error;
    EXPECT_EQ(ReadText(path), SerializeSidecar(sidecar));
    EXPECT_EQ(ListFiles(folder.Path()), std::vector<std::string>{"Rock.png.bmeta"});
    const std::optional<AssetSidecar> read = ReadSidecar(path, &error);
    ASSERT_TRUE(read) << error;
    EXPECT_EQ(*read, sidecar);

    AgeFile(path);
    const auto before = fs::last_write_time(path);
    ASSERT_TRUE(WriteSidecar(path, sidecar));
    EXPECT_EQ(fs::last_write_time(path), before);
    SetSidecarSetting(sidecar, "max_size", "512");
    ASSERT_TRUE(WriteSidecar(path, sidecar));
    EXPECT_EQ(ReadText(path), SerializeSidecar(sidecar));
    EXPECT_FALSE(ReadSidecar(folder / "Missing.png.bmeta", &error));
    EXPECT_EQ(error, "Cannot open sidecar.");
    EXPECT_FALSE(WriteSidecar(folder / "Gone/Rock.png.bmeta", MakeDefaultSidecar(AssetType::Texture, "", kGuid), &error));
    EXPECT_EQ(error, "Cannot write sidecar.");
}

TEST(AssetSidecar, RecognisesSidecarPathsOnlyWithASourceExtension) {
    EXPECT_EQ(SidecarPath("Art/Rock.png"), fs::path("Art/Rock.png.bmeta"));
    Brelk::Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "SidecarPaths.txt", [](const auto& c) {
        const fs::path path = c.input.substr(0, c.input.size() - 1);
        return (IsSidecarPath(path) ? "sidecar of '" : "not a sidecar, source '") +
               SourcePathOfSidecar(path).generic_string() + "'";
    });
}

TEST(AssetSidecar, ChoosesTheDefaultImporterByTheFirstRuleThatFits) {
    Brelk::Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "DefaultImporters.txt", [](const auto& c) {
        const std::size_t space = c.input.find(' ');
        const std::string path = c.input.substr(space + 1, c.input.size() - space - 2);
        return MakeDefaultSidecar(AssetTypeFromWord(c.input.substr(0, space)), path, kGuid).importer;
    });
}

TEST(AssetSidecar, SetsTheFirstSettingOfAKeyAndFindsSettingsAndSubAssets) {
    AssetSidecar sidecar;
    sidecar.settings = {{"a", "1"}, {"b", "2"}, {"a", "3"}};
    EXPECT_FALSE(SetSidecarSetting(sidecar, "a", "1"));
    EXPECT_TRUE(SetSidecarSetting(sidecar, "a", "9"));
    EXPECT_TRUE(SetSidecarSetting(sidecar, "c", "4"));
    EXPECT_EQ(sidecar.settings,
              (std::vector<std::pair<std::string, std::string>>{{"a", "9"}, {"b", "2"}, {"a", "3"}, {"c", "4"}}));
    EXPECT_EQ(FindSidecarSetting(sidecar, "z"), nullptr);

    sidecar.subAssets = {{"Body", AssetType::Mesh, kSubGuid}, {"Body", AssetType::Material, kGuid}};
    EXPECT_EQ(FindSidecarSubAsset(sidecar, AssetType::Material, "Body"), &sidecar.subAssets[1]);
    EXPECT_EQ(FindSidecarSubAsset(sidecar, AssetType::Mesh, "body"), nullptr);
}

} // namespace
} // namespace Brelk::Assets
