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

#include <cmath>

namespace Brelk::WorldView {
namespace {

std::vector<CellDrawing> DrawingsOf(const std::filesystem::path& world) {
    WorldGen::WorldAsset asset;
    EXPECT_TRUE(WorldGen::ReadWorldAsset(world, asset, nullptr));
    const Scene::ComponentLoadTable table;
    std::vector<CellDrawing> drawings;
    for (const WorldGen::WorldCellEntry& cell : asset.cells) {
        WorldGen::CellPayload payload;
        const std::filesystem::path path = WorldGen::CellFilePath(world, cell.coord);
        payload.bytes = Platform::ReadFileBytes(path).value();
        EXPECT_TRUE(WorldGen::ParseCellPayload(payload.bytes, payload, path, nullptr));
        ExtractCellDrawing(payload, table, drawings.emplace_back());
    }
    return drawings;
}

int Brightness(const std::uint8_t* pixel) {
    return pixel[0] + pixel[1] + pixel[2];
}

using WorldPictureTest = ViewFixture;

TEST_F(WorldPictureTest, APictureOfTwoByTwoCellsDecodesWithItsReliefAndPropsAndADamagedWorldStillGetsOne) {
    const std::filesystem::path png = folder / "world.png";
    const Run run = View({"--png", png.string(), "--scale", "4"});
    ASSERT_EQ(run.status, kViewExitDone) << run.err;
    EXPECT_THAT(run.out, ::testing::EndsWith("; picture " + png.string() + ", 32 x 32 pixels.\n"));

    // Five samples along a 64 m cell lie 16 m apart; four pixels each make 4 m pixels over
    // the 128 m square from (-64, -64), north up.
    const DecodedPng picture = DecodeWithLibpng(png);
    ASSERT_EQ(picture.width, 32u);
    ASSERT_EQ(picture.height, 32u);
    const auto pixelOf = [&](float x, float z) {
        const auto column = static_cast<std::uint32_t>(std::min(31.0f, std::floor((x + 64.0f) / 4.0f)));
        const auto fromBottom = static_cast<std::uint32_t>(std::min(31.0f, std::floor((z + 64.0f) / 4.0f)));
        return picture.At(column, 31 - fromBottom);
    };

    const std::vector<CellDrawing> drawings = DrawingsOf(WorldPath());
    float lowest = INFINITY, highest = -INFINITY;
    const std::uint8_t* lowestPixel = nullptr;
    const std::uint8_t* highestPixel = nullptr;
    for (const CellDrawing& drawing : drawings) {
        ASSERT_EQ(drawing.terrains.size(), 1u);
        const TerrainTile& tile = drawing.terrains[0];
        for (std::uint32_t j = 0; j < tile.resolutionZ; ++j) {
            for (std::uint32_t i = 0; i < tile.resolutionX; ++i) {
                const float h = tile.heights[j * tile.resolutionX + i];
                const float x = tile.minX + static_cast<float>(i) * 16.0f;
                const float z = tile.minZ + static_cast<float>(j) * 16.0f;
                if (h < lowest) lowest = h, lowestPixel = pixelOf(x, z);
                if (h > highest) highest = h, highestPixel = pixelOf(x, z);
            }
        }
        for (const glm::vec3& prop : drawing.props) {
            const std::uint8_t* pixel = pixelOf(prop.x, prop.z);
            EXPECT_EQ(std::vector<int>(pixel, pixel + 3), (std::vector<int>{178, 34, 34}));
        }
    }
    ASSERT_LT(lowest, highest);
    EXPECT_GT(Brightness(highestPixel), Brightness(lowestPixel));

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
