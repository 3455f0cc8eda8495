#include "tools/worldview/tests/PngDecode.h"
#include "tools/worldview/tests/ViewFixture.h"

#include "engine/core/NumberText.h"
#include "engine/platform/Files.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/InstallComponents.h"
#include "tests/support/TextCases.h"
#include "tools/worldview/CellDrawing.h"
#include "tools/worldview/WorldPicture.h"

#include <gmock/gmock.h>

#include <tuple>

namespace Brelk::WorldView {
namespace {

// The pixels one row a line, each as six hex digits.
std::string PixelRows(const DecodedPng& picture) {
    constexpr char kHex[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < picture.rgb.size(); ++i) {
        text += kHex[picture.rgb[i] >> 4];
        text += kHex[picture.rgb[i] & 15];
        if (i % 3 == 2) text += (i / 3 + 1) % picture.width == 0 ? '\n' : ' ';
    }
    return text;
}

using WorldPictureTest = ViewFixture;

// Five samples along a 64 m cell lie 16 m apart; four pixels each make 4 m pixels over the
// 128 m square from (-64, -64), north up: the relief shaded, the props in red.
TEST_F(WorldPictureTest, APictureOfTwoByTwoCellsDecodesWithItsReliefAndPropsAndADamagedWorldStillGetsOne) {
    const std::filesystem::path png = folder / "world.png";
    const Run run = View({"--png", png.string(), "--scale", "4"});
    ASSERT_EQ(run.status, kViewExitDone) << run.err;
    EXPECT_THAT(run.out, ::testing::EndsWith("; picture " + png.string() + ", 32 x 32 pixels.\n"));
    const DecodedPng picture = DecodeWithLibpng(png);
    ASSERT_EQ(std::tuple(picture.width, picture.height), std::tuple(32u, 32u));
    Testing::ExpectGoldenText(std::filesystem::path(BRELK_TEST_DATA_DIR) / "WorldPicture.txt", PixelRows(picture));

    const std::vector<std::uint8_t> first = Platform::ReadFileBytes(png).value();
    ASSERT_EQ(View({"--png", png.string(), "--scale", "4"}).status, kViewExitDone);
    EXPECT_EQ(Platform::ReadFileBytes(png).value(), first);

    // A damaged world still gets its picture, with the missing cell in the north-west quarter.
    std::filesystem::remove(Cell(-1, 0));
    EXPECT_EQ(View({"--png", png.string(), "--scale", "1"}).status, kViewExitError);
    const DecodedPng damaged = DecodeWithLibpng(png);
    ASSERT_EQ(damaged.width, 8u);
    EXPECT_EQ(std::vector<int>(damaged.At(1, 1), damaged.At(1, 1) + 3), (std::vector<int>{150, 20, 150}));
}

TEST(ExtractCellDrawing, PlacesChildrenThroughTheirParents) {
    Scene::InstallComponents();
    const std::filesystem::path cases = std::filesystem::path(BRELK_TEST_DATA_DIR) / "CellProps.txt";
    Testing::ExpectTextCases(cases, [](const Testing::TextCase& c) {
        WorldGen::CellPayload payload;
        payload.bytes.assign(c.input.begin(), c.input.end());
        std::string text;
        if (!WorldGen::ParseCellPayload(payload.bytes, payload, "c.bcell", &text)) return text;
        CellDrawing drawing;
        ExtractCellDrawing(payload, Scene::ComponentLoadTable(), drawing);
        for (const glm::vec3& prop : drawing.props) {
            for (const float value : {prop.x, prop.y, prop.z}) {
                Core::AppendFloat9(text, value);
                text += ' ';
            }
            text.back() = '\n';
        }
        return text;
    });
}

WorldGen::WorldAsset Grid(std::int32_t cellsX, std::int32_t cellsZ) {
    WorldGen::WorldAsset world;
    for (std::int32_t z = 0; z < cellsZ; ++z) {
        for (std::int32_t x = 0; x < cellsX; ++x) world.cells.push_back({{x - cellsX / 2, z - cellsZ / 2}});
    }
    return world;
}

struct PlanCase {
    const char* name;
    std::int32_t cellsX, cellsZ;
    double spacing;
    std::optional<std::uint32_t> scale;
    std::uint32_t width, height;
    const char* error;
};

const PlanCase kPlans[] = {
    {"DefaultWorld", 24, 24, 2.0, std::nullopt, 3840, 3840, ""},
    {"TooLargeForOnePixelPerSample", 200, 200, 2.0, std::nullopt, 4096, 4096, ""},
    {"GivenScale", 2, 1, 16.0, 3, 24, 12, ""},
    {"WithoutTerrain", 2, 2, 0.0, 1, 64, 64, ""},
    {"NoCells", 0, 0, 2.0, std::nullopt, 0, 0, "The world has no cells to draw."},
    {"HugeScale", 24, 24, 2.0, 100000, 0, 0,
     "The picture would be 76800000 x 76800000 pixels, more than 67108864; give a smaller --scale."},
};

class PlanPictureTest : public ::testing::TestWithParam<PlanCase> {};

TEST_P(PlanPictureTest, SizesThePicture) {
    const PlanCase& plan = GetParam();
    PictureGeometry geometry;
    std::string error;
    const bool planned = PlanPicture(Grid(plan.cellsX, plan.cellsZ), plan.spacing, plan.scale, geometry, &error);
    EXPECT_EQ(error, plan.error);
    EXPECT_EQ(planned, error.empty());
    EXPECT_EQ(geometry.width, plan.width);
    EXPECT_EQ(geometry.height, plan.height);
}

INSTANTIATE_TEST_SUITE_P(Plans, PlanPictureTest, ::testing::ValuesIn(kPlans),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
} // namespace Brelk::WorldView
