#include "engine/assets/textures/BuiltinTextures.h"
#include "engine/assets/textures/CookedTexture.h"
#include "engine/assets/textures/TextureCache.h"
#include "engine/assets/textures/tests/TextureTestImages.h"
#include "engine/assets/BuiltinAssets.h"
#include "engine/platform/Files.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

namespace Brelk::Assets {
namespace {

using Brelk::Testing::ScratchFolder;
using Brelk::Testing::ThrownMessage;

void PutU32(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint32_t value) {
    std::memcpy(&bytes[offset], &value, 4);
}
void PutU64(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint64_t value) {
    std::memcpy(&bytes[offset], &value, 8);
}

TEST(CookedTexture, TheWhiteTextureIsSixtyBytes) {
    const std::vector<std::uint8_t> bytes = EncodeCookedTexture(*FindBuiltinTexture(kBuiltinWhite));
    const std::vector<std::uint8_t> expected{
        'B', 'T', 'E', 'X', 3, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        4, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 0, 0, 0x93, 0xdf, 0xad, 0xa3, 0xbd, 0xe4, 0x78, 0x7f,
        0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(bytes, expected);
}

TEST(CookedTexture, RoundTripsEachFormThroughZlibWhenThatIsSmaller) {
    TextureAsset flat = Testing::MakeImage(64, 64, [](std::uint32_t, std::uint32_t, std::uint8_t* out) { out[0] = 9; });
    TextureAsset floats = Testing::SmoothImage(3, 2);
    floats.format = 1;
    floats.pixels.resize(3 * 2 * 16, 7);
    TextureAsset bc{
        .width = 5, .height = 3, .hasAlpha = true, .format = 3, .mipCount = 3, .pixels = std::vector<std::uint8_t>(64)};
    for (std::size_t i = 0; i < bc.pixels.size(); ++i) bc.pixels[i] = static_cast<std::uint8_t>(i * 37);
    for (const TextureAsset& texture : {flat, floats, bc}) {
        const std::vector<std::uint8_t> bytes = EncodeCookedTexture(texture);
        const TextureAsset decoded = DecodeCookedTexture(bytes, "t");
        const auto fields = [](const TextureAsset& t) {
            return std::tie(t.width, t.height, t.format, t.mipCount, t.hasAlpha, t.pixels);
        };
        EXPECT_EQ(fields(decoded), fields(texture));
    }
    EXPECT_EQ(EncodeCookedTexture(flat)[24], 1); // compressed
}

TEST(CookedTexture, EveryBrokenHeaderGetsItsMessage) {
    const std::vector<std::uint8_t> white = EncodeCookedTexture(*FindBuiltinTexture(kBuiltinWhite));
    const std::string invalid = "Invalid cooked texture: w.btex";
    struct Case {
        const char* what;
        std::size_t offset;
        std::uint32_t value;
        std::string message;
    };
    const Case cases[] = {
        {"magic", 0, 0x58455443, invalid},
        {"version", 4, 2, invalid},
        {"width", 8, 0, invalid},
        {"height", 12, 0, invalid},
        {"compressed", 24, 2, invalid},
        {"format", 28, 4, invalid},
        {"raw size", 32, 0, invalid},
        {"size for the format", 28, 1, invalid},
        {"size for the mips", 16, 2, invalid},
        {"stored size", 40, 3, invalid},
        {"inflate", 24, 1, "Corrupt cooked texture: w.btex"},
        {"stored byte", 56, 0xFFFFFFFE, "Corrupt cooked texture (checksum mismatch): w.btex"},
    };
    for (const Case& c : cases) {
        std::vector<std::uint8_t> bytes = white;
        PutU32(bytes, c.offset, c.value);
        if (c.offset == 24 && c.value == 1) {
            // Stored bytes that aren't a zlib stream, with a checksum that matches them.
            PutU64(bytes, 48, 0x7f78e4bda3addf93ull);
        }
        EXPECT_EQ(ThrownMessage([&] { (void)DecodeCookedTexture(bytes, "w.btex"); }), c.message) << c.what;
    }
    EXPECT_EQ(ThrownMessage([&] { (void)DecodeCookedTexture(std::span(white).first(55), "w.btex"); }), invalid);
    std::vector<std::uint8_t> longer = white;
    longer.push_back(0);
    EXPECT_EQ(ThrownMessage([&] { (void)DecodeCookedTexture(longer, "w.btex"); }), invalid);
}

TEST(CookedTexture, LoadsAndSavesFilesWithTheirOwnMessages) {
    ScratchFolder folder;
    const TextureAsset black = *FindBuiltinTexture(kBuiltinBlack);
    ASSERT_TRUE(SaveCookedTexture(black, folder / "black.btex"));
    EXPECT_TRUE(IsCookedTexture(folder / "black.btex"));
    EXPECT_EQ(LoadCookedTexture(folder / "black.btex").pixels, black.pixels);

    const std::string path = (folder / "missing.btex").string();
    EXPECT_EQ(ThrownMessage([&] { (void)LoadCookedTexture(path); }), "Failed to open cooked texture: " + path);
    EXPECT_FALSE(IsCookedTexture(path));
    std::vector<std::uint8_t> bytes = EncodeCookedTexture(black);
    bytes.pop_back();
    ASSERT_TRUE(Platform::WriteFileAtomic(folder / "short.btex", bytes));
    EXPECT_EQ(ThrownMessage([&] { (void)LoadCookedTexture(folder / "short.btex"); }),
              "Truncated cooked texture: " + (folder / "short.btex").string());
    // A partial chain or level is refused before anything is written.
    TextureAsset twoLevels = Testing::SmoothImage(2, 2);
    twoLevels.mipCount = 2;
    TextureAsset missingByte = Testing::SmoothImage(2, 2);
    missingByte.pixels.pop_back();
    const TextureAsset shortChain{
        .width = 4, .height = 4, .format = 2, .mipCount = 2, .pixels = std::vector<std::uint8_t>(32)};
    for (const TextureAsset& texture : {shortChain, twoLevels, missingByte, TextureAsset{}}) {
        std::string error;
        EXPECT_FALSE(SaveCookedTexture(texture, folder / "refused.btex", &error));
        EXPECT_EQ(error, "Cooked texture requires a complete block-compressed mip chain or one RGBA level.");
    }
    EXPECT_FALSE(IsCookedTexture(folder / "refused.btex"));
}

// White is pinned byte for byte above.
TEST(BuiltinTextures, AreOnePixelOfTheirColour) {
    EXPECT_EQ(FindBuiltinTexture(kBuiltinBlack)->pixels, (std::vector<std::uint8_t>{0, 0, 0, 255}));
    EXPECT_EQ(FindBuiltinTexture(kBuiltinFlatNormal)->pixels, (std::vector<std::uint8_t>{128, 128, 255, 255}));
    EXPECT_FALSE(FindBuiltinTexture(kBuiltinFlatNormal)->hasAlpha);
    EXPECT_EQ(FindBuiltinTexture(kBuiltinCube), nullptr);
    EXPECT_TRUE(MakeSolidTexture(1, 2, 3, 254).hasAlpha);
}

TEST(DecodedTextureCache, AnyBrokenFieldIsAMiss) {
    const TextureSourceStamp stamp{123, 456};
    const std::vector<std::uint8_t> good = EncodeDecodedTextureCache(Testing::SmoothImage(2, 2), stamp);
    ASSERT_EQ(good.size(), 55u + 16);
    ASSERT_TRUE(DecodeDecodedTextureCache(good, stamp).has_value());
    for (const std::size_t offset : {0, 4, 8, 16, 24, 32, 36, 37, 38, 39, 47}) {
        std::vector<std::uint8_t> bytes = good;
        bytes[offset] ^= 0x40;
        EXPECT_FALSE(DecodeDecodedTextureCache(bytes, stamp).has_value()) << offset;
    }
    EXPECT_FALSE(DecodeDecodedTextureCache(std::span(good).first(70), stamp).has_value());
    EXPECT_FALSE(DecodeDecodedTextureCache(good, {123, 457}).has_value());
}

TEST(TextureCachePaths, NameTheSourceByItsLowerCasePathHashAndStamp) {
    EXPECT_EQ(TexturePathHash("/Content/Rock.PNG"), TexturePathHash("/content/rock.png"));
    EXPECT_EQ(CookedTextureCachePath("/cache", "/content/rock.png", {77, 12}).string(),
              "/cache/" + std::to_string(TexturePathHash("/content/rock.png")) + "-77-12-3.btex");
    EXPECT_EQ(TextureCacheFolder().filename(), "TextureCache");
    EXPECT_EQ(DecodedTextureCachePath("/cache", "/content/rock.png").string(),
              "/cache/" + std::to_string(TexturePathHash("/content/rock.png")) + ".btxcache");
    ScratchFolder folder;
    EXPECT_FALSE(WriteDecodedTextureCache(folder.Path(), Testing::SmoothImage(2, 2), folder / "cache"));
}

} // namespace
} // namespace Brelk::Assets
