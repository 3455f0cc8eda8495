#include "engine/assets/textures/BlockCodecs.h"
#include "engine/assets/textures/Downsample.h"
#include "engine/assets/textures/TextureCompression.h"
#include "engine/assets/textures/tests/TextureTestImages.h"
#include "engine/core/TaskSystem.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <tuple>

namespace Brelk::Assets {
namespace {

using Brelk::Testing::ThrownMessage;
using namespace Testing;

class TextureCompressionTest : public ::testing::Test {
    Core::Tasks::ScopedTaskSystem tasks_{Core::Tasks::TaskSystemConfig{2, 0, std::nullopt}};
};

struct ErrorFigures {
    double rms = 0.0;
    int worst = 0;
};

// Error of the channels [first, last) between two RGBA8 images of one size.
ErrorFigures Compare(const TextureAsset& a, const TextureAsset& b, int first, int last) {
    double sum = 0.0;
    int worst = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.pixels.size(); i += 4) {
        for (int c = first; c < last; ++c) {
            const int d = std::abs(int{a.pixels[i + c]} - int{b.pixels[i + c]});
            sum += d * d;
            worst = std::max(worst, d);
            ++count;
        }
    }
    return {std::sqrt(sum / static_cast<double>(count)), worst};
}

TEST(TextureMips, ChainsHalveEachSideDownToOneBlock) {
    EXPECT_EQ(FullMipCount(1, 1), 1u);
    EXPECT_EQ(FullMipCount(256, 255), 9u);
    EXPECT_EQ(*TexturePixelBytes(2, 1, 1, 1), 16u);
    // The 5x3 chain's three levels and their blocks are pinned by the compression test below.
    EXPECT_EQ(*TexturePixelBytes(1, 3, 2, 1), 3u * 2 * 16);
    EXPECT_EQ(*TexturePixelBytes(2, 1, 1, 0xFFFFFFFFu), 0xFFFFFFFFull * 16);
    EXPECT_FALSE(TexturePixelBytes(1, 0xFFFFFFFFu, 0xFFFFFFFFu, 1).has_value());
}

TEST(Downsample, AveragesColourInLinearLightAndAlphaAsStored) {
    MipImage image{2, 2, {0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255, 255, 255, 255}};
    const MipImage srgb = Downsample(image, true);
    const MipImage linear = Downsample(image, false);
    ASSERT_EQ(srgb.width, 1u);
    ASSERT_EQ(srgb.height, 1u);
    // Half the light of white is 188 in sRGB, not 128.
    EXPECT_EQ(srgb.pixels, (std::vector<std::uint8_t>{188, 188, 188, 128}));
    EXPECT_EQ(linear.pixels, (std::vector<std::uint8_t>{128, 128, 128, 128}));
    // An odd side clamps its last pair, and no side goes below one.
    const MipImage odd = Downsample(MipImage{3, 1, {10, 0, 0, 255, 20, 0, 0, 255, 40, 0, 0, 255}}, false);
    EXPECT_EQ(std::tuple(odd.width, odd.height, odd.pixels[0]), std::tuple(1u, 1u, std::uint8_t{15}));
}

TEST_F(TextureCompressionTest, ColourTexturesBecomeBc7Mode6WithTheFullChainAfterTheMaximumSide) {
    const TextureAsset result = CompressTexture(SmoothImage(5, 3), TextureEncoding::Color, 0, nullptr);
    EXPECT_EQ(result.format, 2);
    EXPECT_EQ(result.mipCount, 3u);
    ASSERT_EQ(result.pixels.size(), 4u * 16);
    // That the blocks are mode 6 shows in the decodes below: the decoder reads no other mode.
    const TextureAsset tiny = CompressTexture(SmoothImage(2, 2), TextureEncoding::LinearData, 0, nullptr);
    EXPECT_EQ(tiny.mipCount, 2u);
    EXPECT_EQ(tiny.pixels.size(), 32u);
    // A maximum side halves the source before the chain is built.
    const TextureAsset capped = CompressTexture(SmoothImage(64, 16), TextureEncoding::Color, 20, nullptr);
    EXPECT_EQ(std::tuple(capped.width, capped.height, capped.mipCount), std::tuple(16u, 4u, 5u));
}

TEST_F(TextureCompressionTest, DecodedImagesStayWithinTheErrorBoundOfTheirKind) {
    struct Case {
        const char* name;
        TextureAsset image;
        TextureEncoding encoding;
        int firstChannel;
        int lastChannel;
        double rmsBound;
        int worstBound;
    };
    const Case cases[] = {
        {"smooth colour", SmoothImage(64, 64), TextureEncoding::Color, 0, 4, 3.0, 10},
        {"smooth data", SmoothImage(64, 64), TextureEncoding::LinearData, 0, 4, 3.0, 10},
        {"noise", MakeImage(32, 32, [](std::uint32_t x, std::uint32_t y, std::uint8_t* out) {
             for (std::uint32_t c = 0; c < 3; ++c) out[c] = NoiseByte(x, y, c);
         }), TextureEncoding::LinearData, 0, 4, 60.0, 200},
        {"alpha", MakeImage(32, 32, [](std::uint32_t x, std::uint32_t y, std::uint8_t* out) {
             out[0] = static_cast<std::uint8_t>(x * 8);
             out[1] = 90;
             out[2] = static_cast<std::uint8_t>(y * 8);
             out[3] = static_cast<std::uint8_t>((x + y) * 4);
         }), TextureEncoding::Color, 0, 4, 6.0, 20},
        {"normal map", NormalMapImage(64, 64), TextureEncoding::Normal, 0, 3, 1.5, 4},
        // Fully transparent and fully opaque pixels keep their alpha exactly.
        {"binary alpha", MakeImage(8, 8, [](std::uint32_t x, std::uint32_t y, std::uint8_t* out) {
             out[0] = static_cast<std::uint8_t>(x * 30);
             out[1] = static_cast<std::uint8_t>(y * 30);
             out[2] = 200;
             out[3] = (x + y) % 3 == 0 ? 0 : 255;
         }), TextureEncoding::Color, 3, 4, 0.0, 0},
    };
    for (const Case& c : cases) {
        const TextureAsset decoded = DecompressTexture(CompressTexture(c.image, c.encoding, 0, nullptr));
        ASSERT_EQ(decoded.width, c.image.width) << c.name;
        ASSERT_EQ(decoded.format, 0) << c.name;
        EXPECT_EQ(decoded.hasAlpha, c.image.hasAlpha) << c.name;
        const ErrorFigures error = Compare(c.image, decoded, c.firstChannel, c.lastChannel);
        EXPECT_LE(error.rms, c.rmsBound) << c.name;
        EXPECT_LE(error.worst, c.worstBound) << c.name;
    }
}

TEST_F(TextureCompressionTest, ASetCancelFlagStopsBeforeTheFirstMip) {
    std::atomic<bool> cancel{true};
    try {
        (void)CompressTexture(SmoothImage(8, 8), TextureEncoding::Color, 0, &cancel);
        ADD_FAILURE() << "no cancellation";
    } catch (const TextureCompressionCancelled& cancelled) {
        EXPECT_STREQ(cancelled.what(), "Texture compression cancelled.");
    }
}

TEST_F(TextureCompressionTest, RefusesWhatItCannotRead) {
    TextureAsset partial = SmoothImage(4, 4);
    partial.pixels.pop_back();
    TextureAsset floats = SmoothImage(4, 4);
    floats.format = 1;
    for (const TextureAsset& image : {partial, floats, TextureAsset{}}) {
        EXPECT_EQ(ThrownMessage([&] { (void)CompressTexture(image, TextureEncoding::Color, 0, nullptr); }),
                  "Texture compression requires complete RGBA8 pixels.");
    }
    TextureAsset rgba = SmoothImage(4, 4);
    TextureAsset shortBc = CompressTexture(rgba, TextureEncoding::Color, 0, nullptr);
    shortBc.pixels.resize(15);
    for (const TextureAsset& texture : {rgba, shortBc}) {
        EXPECT_EQ(ThrownMessage([&] { (void)DecompressTexture(texture); }),
                  "Texture decode requires block-compressed pixels.");
    }
    TextureAsset otherMode = CompressTexture(rgba, TextureEncoding::Color, 0, nullptr);
    otherMode.pixels[0] = 0x20; // mode 5
    EXPECT_EQ(ThrownMessage([&] { (void)DecompressTexture(otherMode); }),
              "Cooked texture holds a BC7 mode this decoder does not read.");
}

// A gradient's error is bounded through the normal-map row above; these are the block vectors.
TEST(BlockCodecs, Bc4KeepsTheEndsAndReadsTheSixValueForm) {
    std::array<std::uint8_t, 8> block{};
    std::array<std::uint8_t, 16> decoded{};
    std::array<std::uint8_t, 16> flat{};
    flat.fill(77);
    EncodeBc4Block(flat, block);
    EXPECT_EQ(block, (std::array<std::uint8_t, 8>{77, 77, 0, 0, 0, 0, 0, 0}));
    // 6-value form: first end not above the second; selectors 6 and 7 are 0 and 255.
    const std::array<std::uint8_t, 8> sixValue{10, 60, 0b10'111'110, 0, 0, 0, 0, 0};
    DecodeBc4Block(sixValue, decoded);
    EXPECT_EQ(decoded[0], 0);
    EXPECT_EQ(decoded[1], 255);
    EXPECT_EQ(decoded[2], 20); // (4 * 10 + 60 + 2) / 5
}

} // namespace
} // namespace Brelk::Assets
