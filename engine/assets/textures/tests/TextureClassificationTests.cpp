#include "engine/assets/textures/TextureClassification.h"
#include "engine/assets/textures/tests/TextureTestImages.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

TEST(ClassifyTextureEncoding, NamesDecideBeforePixelsExceptForNormalMaps) {
    const TextureAsset plain = Testing::SmoothImage(16, 16);
    const TextureAsset normals = Testing::NormalMapImage(100, 100);
    // Right means, but vectors far from unit length; and normals stored as floats.
    const TextureAsset notUnit = Testing::MakeImage(8, 8, [](std::uint32_t x, std::uint32_t, std::uint8_t* out) {
        out[0] = 128;
        out[1] = 128;
        out[2] = x % 2 == 0 ? 255 : 180;
    });
    TextureAsset floats = Testing::NormalMapImage(4, 4);
    floats.format = 1;
    struct Case {
        const char* path;
        const TextureAsset* image;
        TextureEncoding expected;
    };
    const Case cases[] = {
        {"Content/wall_normal.png", &plain, TextureEncoding::Normal},
        {"Content/Rock-Normals.tga", &plain, TextureEncoding::Normal},
        {"Content/wall.png", &normals, TextureEncoding::Normal},
        {"Content/rock_rough.png", &normals, TextureEncoding::Normal},
        {"Content/Rock_Roughness.png", &plain, TextureEncoding::LinearData},
        {"Content/brick ORM.png", &plain, TextureEncoding::LinearData},
        {"Content/ao.png", &plain, TextureEncoding::LinearData},
        {"Content/normalized.png", &plain, TextureEncoding::Color},
        {"Content/roughly.png", &plain, TextureEncoding::Color},
        {"Content/mask.dir/wall.png", &plain, TextureEncoding::Color},
        {"Content/wall.png", &plain, TextureEncoding::Color},
        {"Content/wall.png", &notUnit, TextureEncoding::Color},
        {"Content/wall.png", &floats, TextureEncoding::Color},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ClassifyTextureEncoding(c.path, *c.image), c.expected) << c.path;
    }
}

TEST(IsCompressibleTextureSource, TakesCommonImagesOutsideUiFolders) {
    for (const char* path : {"Content/rock.PNG", "Content/rock.jpeg", "Content/rock.tga", "Content/build/button.png"})
        EXPECT_TRUE(IsCompressibleTextureSource(path)) << path;
    for (const char* path : {"Content/ui/button.png", "Content/UI/button.png", "Content/sky.hdr", "Content/sky.exr"})
        EXPECT_FALSE(IsCompressibleTextureSource(path)) << path;
}

} // namespace
} // namespace Brelk::Assets
