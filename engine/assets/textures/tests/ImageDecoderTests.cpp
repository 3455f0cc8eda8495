#include "engine/assets/textures/HdrTextureImporter.h"
#include "engine/assets/textures/TgaTextureImporter.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace Brelk::Assets {
namespace {

using Brelk::Testing::ThrownMessage;

std::vector<std::uint8_t> Bytes(std::string_view text) { return {text.begin(), text.end()}; }

void Append(std::vector<std::uint8_t>& bytes, std::initializer_list<int> values) {
    for (const int v : values) bytes.push_back(static_cast<std::uint8_t>(v));
}

// A file and the exact message its decode throws.
struct BrokenImage {
    std::vector<std::uint8_t> bytes;
    std::string message;
};

std::vector<float> Floats(const TextureAsset& texture) {
    std::vector<float> values(texture.pixels.size() / 4);
    std::memcpy(values.data(), texture.pixels.data(), texture.pixels.size());
    return values;
}

TEST(HdrTextureImporter, ReadsFlatScanlinesWhenTheWidthIsBelowEight) {
    std::vector<std::uint8_t> bytes = Bytes("#?RADIANCE\r\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 7\n");
    for (int x = 0; x < 7; ++x) Append(bytes, {128, 64, 0, 129 + x});
    const TextureAsset texture = HdrTextureImporter::DecodeTexture(bytes, "a.hdr");
    EXPECT_EQ(texture.format, 1);
    EXPECT_EQ(texture.width, 7u);
    const std::vector<float> values = Floats(texture);
    // 128 * 2^(129 - 136) = 1; the exponent doubles it per pixel; alpha is 1.
    EXPECT_EQ(std::vector<float>(values.begin(), values.begin() + 8),
              (std::vector<float>{1.0f, 0.5f, 0.0f, 1.0f, 2.0f, 1.0f, 0.0f, 1.0f}));
}

TEST(HdrTextureImporter, ReadsRunLengthScanlinesAndFlipsAsTheResolutionSays) {
    std::vector<std::uint8_t> bytes = Bytes("#?RGBE\nFORMAT=32-bit_rle_rgbe\n\n+Y 2 -X 8\n");
    for (int row = 0; row < 2; ++row) {
        Append(bytes, {2, 2, 0, 8});
        Append(bytes, {2, 10 + row, 20, 6, 64, 64, 64, 64, 64, 64}); // red: two literals, a run of six
        Append(bytes, {136, 0});                                     // green: a run of zeros
        Append(bytes, {136, 0});                                     // blue
        Append(bytes, {136, 137});                                   // exponent
    }
    const TextureAsset texture = HdrTextureImporter::DecodeTexture(bytes, "b.hdr");
    ASSERT_EQ(texture.height, 2u);
    const std::vector<float> values = Floats(texture);
    // "+Y" puts the file's last row on top; "-X" puts its first column on the right.
    EXPECT_EQ(values[7 * 4], 22.0f);
    EXPECT_EQ(values[8 * 4 + 7 * 4], 20.0f);
    EXPECT_EQ(values[0], 128.0f);
}

TEST(HdrTextureImporter, EveryFailureHasItsMessage) {
    const std::string rle = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 8\n";
    const auto withScanline = [&](std::initializer_list<int> values) {
        std::vector<std::uint8_t> bytes = Bytes(rle);
        Append(bytes, {2, 2, 0, 8});
        Append(bytes, values);
        return bytes;
    };
    const BrokenImage cases[] = {
        {{}, "HDR texture is empty: x.hdr"},
        {Bytes("P6\n"), "Unsupported HDR signature: x.hdr"},
        {Bytes("#?RADIANCE\n\n-Y 1 +X 1\n"), "Unsupported HDR pixel format: x.hdr"},
        {Bytes("#?RADIANCE\nFORMAT=32-bit_rle_xyze\n\n-Y 1 +X 1\n"), "Unsupported HDR pixel format: x.hdr"},
        {Bytes("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n"), "Missing HDR resolution line: x.hdr"},
        {Bytes("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 X 1\n"), "Invalid HDR resolution line."},
        {Bytes("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1\n"), "Invalid HDR resolution line."},
        {Bytes("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n+X 1 -Y 1\n"), "Unsupported HDR orientation."},
        {Bytes("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 0 +X 1\n"), "Unsupported HDR orientation."},
        {Bytes(rle + "\x02\x02"), "Unexpected end of HDR scanline data."},
        {Bytes("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X 1\n\x01\x01\x01\x01\x01"),
         "Unexpected end of HDR pixel data."},
        {withScanline({}), "Unexpected end of HDR RLE data."},
        {withScanline({136}), "Unexpected end of HDR RLE run."},
        {withScanline({137, 0}), "HDR RLE run exceeds scanline width."},
        {withScanline({0}), "Encountered invalid zero-length HDR RLE packet."},
        {withScanline({9}), "HDR RLE literal exceeds scanline width."},
        {withScanline({8, 1, 2}), "Unexpected end of HDR literal data."},
    };
    for (const BrokenImage& c : cases) {
        EXPECT_EQ(ThrownMessage([&] { (void)HdrTextureImporter::DecodeTexture(c.bytes, "x.hdr"); }), c.message);
    }
    EXPECT_EQ(ThrownMessage([] { (void)HdrTextureImporter::ImportTexture("/no/such.hdr"); }),
              "Failed to open HDR texture: /no/such.hdr");
}

std::vector<std::uint8_t> TgaHeader(int type, int width, int height, int bits, int descriptor, int mapType = 0,
                                    int mapLength = 0, int mapBits = 0) {
    return {0, static_cast<std::uint8_t>(mapType), static_cast<std::uint8_t>(type), 0, 0,
            static_cast<std::uint8_t>(mapLength), 0, static_cast<std::uint8_t>(mapBits), 0, 0, 0, 0,
            static_cast<std::uint8_t>(width), 0, static_cast<std::uint8_t>(height), 0, static_cast<std::uint8_t>(bits),
            static_cast<std::uint8_t>(descriptor)};
}

TEST(TgaTextureImporter, DecodesEachTypeToTopDownRgba) {
    struct Case {
        const char* name;
        std::vector<std::uint8_t> bytes;
        std::vector<std::uint8_t> pixels;
        bool hasAlpha;
    };
    std::vector<std::uint8_t> trueColour = TgaHeader(2, 2, 2, 32, 8); // bottom-up
    Append(trueColour, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 255, 12, 13, 14, 255});
    std::vector<std::uint8_t> rle24 = TgaHeader(10, 3, 1, 24, 0x20);
    Append(rle24, {0x81, 10, 20, 30, 0x00, 40, 50, 60});
    std::vector<std::uint8_t> grey = TgaHeader(3, 2, 1, 8, 0x30); // top-down, right to left
    Append(grey, {7, 9});
    std::vector<std::uint8_t> greyRle = TgaHeader(11, 2, 1, 8, 0x20);
    Append(greyRle, {0x81, 5});
    std::vector<std::uint8_t> mapped = TgaHeader(1, 2, 1, 8, 0x20, 1, 2, 24);
    Append(mapped, {1, 2, 3, 4, 5, 6, 1, 0});
    std::vector<std::uint8_t> mappedRle = TgaHeader(9, 2, 1, 8, 0x20, 1, 1, 16);
    Append(mappedRle, {0x1F, 0x7C, 0x81, 0});
    const Case cases[] = {
        {"type 2", trueColour, {11, 10, 9, 255, 14, 13, 12, 255, 3, 2, 1, 4, 7, 6, 5, 8}, true},
        {"type 10", rle24, {30, 20, 10, 255, 30, 20, 10, 255, 60, 50, 40, 255}, false},
        {"type 3", grey, {9, 9, 9, 255, 7, 7, 7, 255}, false},
        {"type 11", greyRle, {5, 5, 5, 255, 5, 5, 5, 255}, false},
        {"type 1", mapped, {6, 5, 4, 255, 3, 2, 1, 255}, false},
        {"type 9", mappedRle, {255, 0, 255, 255, 255, 0, 255, 255}, false},
    };
    for (const Case& c : cases) {
        const TextureAsset texture = TgaTextureImporter::DecodeTexture(c.bytes, "t.tga");
        EXPECT_EQ(texture.pixels, c.pixels) << c.name;
        EXPECT_EQ(texture.hasAlpha, c.hasAlpha) << c.name;
        EXPECT_EQ(texture.format, 0) << c.name;
    }
}

TEST(TgaTextureImporter, EveryFailureHasItsMessage) {
    std::vector<std::uint8_t> truncated = TgaHeader(2, 2, 2, 24, 0);
    Append(truncated, {1, 2, 3});
    const BrokenImage cases[] = {
        {{0, 0, 2}, "TGA texture header is incomplete: t.tga"},
        {TgaHeader(2, 0, 4, 24, 0), "TGA texture has invalid dimensions: t.tga"},
        {TgaHeader(4, 1, 1, 24, 0), "Unsupported TGA image type: t.tga"},
        {TgaHeader(2, 1, 1, 12, 0), "Unsupported TGA pixel depth."},
        {TgaHeader(3, 1, 1, 24, 0), "Unsupported TGA pixel depth."},
        {TgaHeader(1, 1, 1, 24, 0, 1, 1, 24), "Unsupported TGA color map index size."},
        {TgaHeader(1, 1, 1, 8, 0, 1, 1, 12), "Unsupported TGA color map entry size."},
        {TgaHeader(2, 1, 1, 24, 0x40), "Unsupported TGA pixel layout."},
        {TgaHeader(1, 1, 1, 8, 0), "Color-mapped TGA texture is missing a palette: t.tga"},
        {TgaHeader(1, 1, 1, 8, 0, 1, 0, 24), "Color-mapped TGA texture has an empty palette: t.tga"},
        {TgaHeader(1, 1, 1, 8, 0, 1, 2, 24), "TGA texture header is incomplete: t.tga"},
        {truncated, "TGA texture pixel data is incomplete: t.tga"},
        {TgaHeader(10, 200, 200, 32, 0), "TGA texture pixel data is incomplete: t.tga"},
    };
    for (const BrokenImage& c : cases) {
        EXPECT_EQ(ThrownMessage([&] { (void)TgaTextureImporter::DecodeTexture(c.bytes, "t.tga"); }), c.message);
    }
    EXPECT_EQ(ThrownMessage([] { (void)TgaTextureImporter::ImportTexture("/no/such.tga"); }),
              "Failed to open TGA texture: /no/such.tga");
}

} // namespace
} // namespace Brelk::Assets
