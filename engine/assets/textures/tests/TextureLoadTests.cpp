#include "engine/assets/textures/BuiltinTextures.h"
#include "engine/assets/textures/CookedTexture.h"
#include "engine/assets/textures/TextureCache.h"
#include "engine/assets/textures/TextureLoad.h"
#include "engine/core/TaskSystem.h"
#include "engine/platform/Files.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Brelk::Testing::ListFiles;
using Brelk::Testing::ScratchFolder;
using Brelk::Testing::ThrownMessage;

// An uncompressed 24-bit TGA of one grey level, top-down.
void WriteTga(const fs::path& path, std::uint8_t width, std::uint8_t height, std::uint8_t widthHigh = 0) {
    std::vector<std::uint8_t> bytes{0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, width, widthHigh, height, 0, 24, 0x20};
    bytes.resize(bytes.size() + (std::size_t{width} + widthHigh * 256u) * height * 3, 90);
    ASSERT_TRUE(Platform::WriteFileAtomic(path, bytes));
}

class TextureLoadTest : public ::testing::Test {
protected:
    ScratchFolder folder_;
    TextureLoadOptions editing_{true, folder_ / "cache"};
    Core::Tasks::ScopedTaskSystem tasks_{Core::Tasks::TaskSystemConfig{1, 0, std::nullopt}};
};

TEST_F(TextureLoadTest, ASideOf256IsCompressedIntoTheCookedCacheAndReadFromItNextTime) {
    const fs::path source = folder_ / "wall.tga";
    WriteTga(source, 0, 4, 1);
    const TextureAsset first = LoadTextureAsset(source, editing_);
    EXPECT_EQ(first.format, 2);
    EXPECT_EQ(first.mipCount, 9u);
    const fs::path cooked = CookedTextureCachePath(folder_ / "cache", source, *ReadTextureSourceStamp(source));
    ASSERT_TRUE(fs::is_regular_file(cooked));
    EXPECT_EQ(ListFiles(folder_ / "cache").size(), 1u);

    // The cache is what the next load reads: a different cooked texture under its name shows it.
    ASSERT_TRUE(SaveCookedTexture(*FindBuiltinTexture("Builtin/Black"), cooked));
    EXPECT_EQ(LoadTextureAsset(source, editing_).width, 1u);
}

// A source under a UI folder is never compressed, whatever its size.
TEST_F(TextureLoadTest, AUiSourceOf256GoesToTheDecodedCache) {
    WriteTga(folder_ / "UI/button.tga", 0, 2, 1);
    EXPECT_EQ(LoadTextureAsset(folder_ / "UI/button.tga", editing_).format, 0);
    EXPECT_TRUE(fs::is_regular_file(DecodedTextureCachePath(folder_ / "cache", folder_ / "UI/button.tga")));
}

TEST_F(TextureLoadTest, TheDecodedCacheStandsInForTheSourceUntilTheSourceChanges) {
    const fs::path source = folder_ / "a.tga";
    WriteTga(source, 2, 2);
    ASSERT_EQ(LoadTextureAsset(source, editing_).pixels[0], 90);
    TextureAsset marked = *FindBuiltinTexture("Builtin/White");
    ASSERT_TRUE(WriteDecodedTextureCache(source, marked, folder_ / "cache"));
    EXPECT_EQ(LoadTextureAsset(source, editing_).width, 1u);
    WriteTga(source, 2, 2);
    fs::last_write_time(source, fs::last_write_time(source) + std::chrono::seconds(3));
    EXPECT_EQ(LoadTextureAsset(source, editing_).width, 2u);
    // The miss rewrote the entry for the source as it is now.
    EXPECT_EQ(ReadDecodedTextureCache(source, folder_ / "cache")->width, 2u);
}

// Cooked sources and decoders through the asset manager are the manager's tests; this is the case fold.
TEST_F(TextureLoadTest, AFormatWithoutADecoderIsNamedInLowerCase) {
    Brelk::Testing::WriteText(folder_ / "photo.JPG", "jpeg bytes");
    EXPECT_EQ(ThrownMessage([&] { (void)LoadTextureAsset(folder_ / "photo.JPG", editing_); }),
              "No image decoder for '.jpg' is registered in this program (source importers are authoring-only): " +
                  (folder_ / "photo.JPG").string());
}

} // namespace
} // namespace Brelk::Assets
