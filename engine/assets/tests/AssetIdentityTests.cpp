#include "engine/assets/AssetHandle.h"
#include "engine/assets/AssetIdentity.h"
#include "engine/assets/AssetTypeWords.h"

#include "engine/core/Hash.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <array>

namespace Brelk::Assets {
namespace {

using Core::Guid;

TEST(AssetIdentity, KeysPathsWithSlashesInTheirCaseAndHoldsOnlyKeysBelowTheRoot) {
    EXPECT_EQ(AssetPathKey("C:\\Game\\Content/Rock.PNG"), "C:/Game/Content/Rock.PNG");
    EXPECT_EQ(ContentRootKey("/game/content//"), "/game/content");
    EXPECT_EQ(ContentRootKey("/"), "/");
    EXPECT_EQ(ContentRootKey("C:\\Game\\"), "C:/Game");
    EXPECT_TRUE(IsKeyInsideRoot("/a", "/a/b"));
    for (const char* key : {"/ab", "/a", "/A/b"}) EXPECT_FALSE(IsKeyInsideRoot("/a", key)) << key;
    EXPECT_FALSE(IsKeyInsideRoot("", "/a/b"));
}

// Content, path and built-in names are checked through the registry; these two are not.
TEST(AssetIdentity, NamesDuplicatesAndSubAssetsByTheirTextAndContentAlikeUnderAnyRoot) {
    EXPECT_EQ(DerivedAssetGuid("/home/a/Game/Content", "/home/a/Game/Content/x/y.bmat"),
              DerivedAssetGuid("/mnt/copy/Content", "/mnt/copy/Content/x/y.bmat"));
    const Guid old = *Guid::Parse("0123456789abcdef8123456789abcdef");
    EXPECT_EQ(DuplicateAssetGuid(old, "/c/b.png"),
              Guid::FromName("brelk-duplicate:01234567-89ab-cdef-8123-456789abcdef:/c/b.png"));
    EXPECT_EQ(SubAssetGuid(old, AssetType::Mesh, "Trunk#2"),
              Guid::FromName("brelk-subasset:01234567-89ab-cdef-8123-456789abcdef|mesh|Trunk#2"));
}

TEST(AssetIdentity, StemsASubkeyByItsTrailingNumber) {
    Brelk::Testing::ExpectTextCases(std::filesystem::path(BRELK_TEST_DATA_DIR) / "SubkeyStems.txt",
                                    [](const auto& c) { return std::string(SubkeyStem(c.input.substr(0, c.input.size() - 1))); });
}

TEST(AssetIdentity, StampsSizeThenTimeAsLittleEndianBytes) {
    std::array<std::uint8_t, 16> bytes{0x10, 0x32, 0, 0, 0, 0, 0, 0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};
    EXPECT_EQ(FileStamp(0x3210, 0x0807060504030201), Core::Fnv1a64(std::span<const std::uint8_t>(bytes)));
    EXPECT_NE(FileStamp(1, 2), FileStamp(2, 1));
}

// One past the last type reads as unknown; a word that reads back as another type says so.
TEST(AssetTypeWords, MapsEveryWordBothWays) {
    std::string words;
    for (std::uint32_t value = 0; value <= 21; ++value) {
        const std::string_view word = AssetTypeWord(static_cast<AssetType>(value));
        const std::uint32_t back = static_cast<std::uint32_t>(AssetTypeFromWord(word));
        words += std::to_string(value) + " " + std::string(word) + (back == value ? "\n" : " reads as " + std::to_string(back) + "\n");
    }
    Brelk::Testing::ExpectGoldenText(std::filesystem::path(BRELK_TEST_DATA_DIR) / "AssetTypeWords.txt", words);
    EXPECT_EQ(AssetTypeFromWord("Mesh"), AssetType::Unknown);
    EXPECT_EQ(AssetTypeFromWord(""), AssetType::Unknown);
}

TEST(AssetTypeWords, TypesSourcesByTheirExtensionInLowerCase) {
    Brelk::Testing::ExpectTextCases(std::filesystem::path(BRELK_TEST_DATA_DIR) / "AssetTypesOfPaths.txt", [](const auto& c) {
        return std::string(AssetTypeWord(AssetTypeOfPath(c.input.substr(0, c.input.size() - 1))));
    });
    EXPECT_EQ(AssetTypeOfExtension(".averyveryverylongextension"), AssetType::Unknown);
}

TEST(AssetHandle, GivesAGuidTheSameHandleForTheLifeOfTheProcess) {
    const Guid first = Guid::New();
    const Guid second = Guid::New();
    const AssetHandle a = HandleForGuid(first);
    EXPECT_GT(a, 0x100000000ull);
    EXPECT_EQ(HandleForGuid(second), a + 1);
    EXPECT_EQ(HandleForGuid(first), a);
}

} // namespace
} // namespace Brelk::Assets
