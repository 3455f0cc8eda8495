#include "tools/worldview/PngFile.h"

#include "tools/worldview/tests/PngDecode.h"
#include "tests/support/TestSupport.h"

#include <stdexcept>

namespace Brelk::WorldView {
namespace {

TEST(PngFile, PixelsComeBackThroughLibpng) {
    std::vector<std::uint8_t> rgb(3 * 2 * 3);
    for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<std::uint8_t>(i * 14 + 1);
    std::vector<std::uint8_t> png;
    std::string error;
    ASSERT_TRUE(EncodePng(3, 2, rgb, png, &error)) << error;
    const DecodedPng decoded = DecodeWithLibpng(png);
    EXPECT_EQ(decoded.width, 3u);
    EXPECT_EQ(decoded.height, 2u);
    EXPECT_EQ(decoded.rgb, rgb);
}

TEST(PngFile, RefusedImagesSayWhy) {
    std::vector<std::uint8_t> png{1, 2, 3};
    std::string error;
    EXPECT_FALSE(EncodePng(2, 2, std::vector<std::uint8_t>(11), png, &error));
    EXPECT_EQ(error, "The image's pixels do not match its size.");
    EXPECT_FALSE(EncodePng(0, 0, std::vector<std::uint8_t>(), png, &error));
    EXPECT_EQ(error, "Cannot encode the picture: Invalid IHDR data.");
    EXPECT_TRUE(png.empty());
}

TEST(PngFile, ARowSourceThatThrowsLeavesTheOldFile) {
    Testing::ScratchFolder folder;
    const std::filesystem::path path = folder / "picture.png";
    Testing::WriteText(path, "old");
    const std::vector<std::uint8_t> row(3 * 4);
    const std::string thrown = Testing::ThrownMessage([&] {
        (void)WritePngFile(path, 4, 4, [&](std::uint32_t index) -> const std::uint8_t* {
            if (index == 2) throw std::runtime_error("no third row");
            return row.data();
        }, nullptr);
    });
    EXPECT_EQ(thrown, "no third row");
    EXPECT_EQ(Testing::ReadText(path), "old");
    EXPECT_EQ(Testing::CountEntries(folder.Path()), 1u);
}

} // namespace
} // namespace Brelk::WorldView
