#include "tools/worldgen/WorldGenerator.h"

#include "engine/assets/AssetReference.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/WorldComponents.h"
#include "tests/support/TextCases.h"
#include "tools/worldgen/CommandLine.h"
#include "tools/worldgen/PersistentScene.h"
#include "tools/worldgen/Sampling.h"
#include "tools/worldgen/WorldAsset.h"
#include "tools/worldgen/tests/WorldFixture.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <tuple>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;
using Testing::WriteText;

using GenerateProceduralWorldTest = WorldFixture;

TEST_F(GenerateProceduralWorldTest, RefusesAnEmptyGridOrABadCellSizeAndTouchesNothing) {
    WriteText(WorldPath(), "earlier");
    for (const auto& [cellsX, cellsZ, cellSize] : std::initializer_list<std::tuple<int, int, float>>{
             {0, 1, 64.0f}, {1, -3, 64.0f}, {1, 1, 0.0f}, {1, 1, -1.0f}, {1, 1, std::nanf("")}}) {
        ProceduralWorldSettings bad = Grid(1);
        std::tie(bad.cellsX, bad.cellsZ, bad.cellSize) = std::tie(cellsX, cellsZ, cellSize);
        std::string error;
        EXPECT_FALSE(GenerateProceduralWorld(assets, WorldPath(), bad, nullptr, &error));
        EXPECT_EQ(error, "The world needs at least one cell and a positive cell size.");
    }
    EXPECT_FALSE(fs::exists(CellsFolder(WorldPath())));
    EXPECT_EQ(ReadText(WorldPath()), "earlier");
}

// The golden world pins an even grid with terrain; an odd one has a centre cell, a terrain
// needs two samples a side, and more props keep the places of the first ones.
TEST_F(GenerateProceduralWorldTest, CentresAnOddGridAndStartsGuidsAtTheFirstPropWithoutTerrain) {
    std::vector<Scene::TransformComponent> firstProps;
    for (const auto& [props, terrain] : {std::pair{2u, 0u}, std::pair{5u, 1u}}) {
        std::string error;
        ASSERT_TRUE(GenerateProceduralWorld(assets, WorldPath(), Grid(3, props, terrain), nullptr, &error)) << error;
        WorldAsset world;
        ASSERT_TRUE(ReadWorldAsset(WorldPath(), world, &error)) << error;
        ASSERT_EQ(world.cells.size(), 9u);
        EXPECT_EQ(std::tuple(world.cells.front().coord, world.cells.back().coord),
                  std::tuple(CellCoord{-1, -1}, CellCoord{1, 1}));
        for (const WorldCellEntry& cell : world.cells)
            EXPECT_EQ(std::tuple(cell.entityCount, cell.terrainCount), std::tuple(props, 0u));
        Scene::Scene scene;
        ASSERT_TRUE(Scene::LoadScene(CellFilePath(WorldPath(), {-1, -1}), scene, assets, &error)) << error;
        for (std::uint32_t index = 0; index < 2; ++index) {
            const Scene::Entity prop = scene.FindEntityByGuid(MakeProceduralGuid(1, -1, -1, index));
            ASSERT_NE(prop, Scene::kNullEntity);
            EXPECT_EQ(scene.GetName(prop), "Prop " + std::to_string(index));
            if (props == 2)
                firstProps.push_back(scene.Get<Scene::TransformComponent>(prop));
            else
                EXPECT_EQ(scene.Get<Scene::TransformComponent>(prop), firstProps[index]);
        }
    }
}

// The cells' folder and the world file itself, each blocked.
TEST_F(GenerateProceduralWorldTest, ReportsACellsFolderOrAWorldThatCannotBeWritten) {
    WriteText(folder / "file", "x");
    fs::create_directories(folder / "w.bworld" / "inside");
    const fs::path underFile = folder / "file/w.bworld", blocked = folder / "w.bworld";
    for (const auto& [worldPath, prefix] :
         {std::pair{underFile, "Cannot create " + CellsFolder(underFile).string() + ": "},
          std::pair{blocked, "Failed to replace " + blocked.string() + ": "}}) {
        std::string error;
        EXPECT_FALSE(GenerateProceduralWorld(assets, worldPath, Grid(1), nullptr, &error));
        EXPECT_EQ(error.rfind(prefix, 0), 0u) << error;
        EXPECT_GT(error.size(), prefix.size());
    }
}

// A 2 by 2 world of one prop and a four-sample terrain per cell, seed 7, pinned byte for
// byte: any change to sampling, record order, number text or file layout shows here, and the
// summary's figures follow from the same files.
using GoldenWorldTest = WorldFixture;

TEST_F(GoldenWorldTest, SmallWorldMatchesItsGoldenFiles) {
    ProceduralWorldSettings settings = Grid(2, 1, 2);
    settings.seed = 7;
    WorldGenerationResult result;
    std::string error;
    ASSERT_TRUE(GenerateProceduralWorld(assets, WorldPath(), settings, &result, &error)) << error;

    const fs::path golden = fs::path(BRELK_TEST_DATA_DIR) / "SmallWorld";
    EXPECT_EQ(ReadText(WorldPath()), ReadText(golden / "Procedural.bworld"));
    const std::vector<std::string> cells = Testing::ListFiles(CellsFolder(WorldPath()));
    for (const std::string& cell : cells)
        EXPECT_EQ(ReadText(CellsFolder(WorldPath()) / cell), ReadText(golden / cell)) << cell;
    EXPECT_EQ(std::tuple(cells.size(), result.worldPath, result.cellCount, result.entityCount, result.cellFileBytes,
                         result.residentBytes),
              std::tuple(4u, WorldPath(), 4u, 8u, 20471u, 49134u));
    EXPECT_NE(assets.GetRegistry().HandleOfPath(WorldPath()), Assets::kNullAssetHandle);
}

// The golden world pins seed 7 through every cell key, draw and name it makes; these pin the
// seed bits that survive, other scales, and the extremes of the names.
TEST(CellKeys, PackCoordinatesAndKeepOnlyTheLow24SeedBits) {
    EXPECT_EQ((CellCoord{3, -5}.Packed()), 0xFFFFFFFB00000003ull);
    EXPECT_EQ(CellCoord::FromPacked(0xFFFFFFFB00000003ull), (CellCoord{3, -5}));
    EXPECT_EQ(MakeCellKey(0x01000001u, 7, 9), MakeCellKey(1, 7, 9));
    EXPECT_NE(MakeCellKey(0x00800001u, 7, 9), MakeCellKey(1, 7, 9));
}

// The cells draw by low end and span; the draw between two ends rounds its span first.
TEST(RandomStream, NextFloatDrawsOverTheSpanBetweenItsEnds) {
    RandomStream stream{MakeCellKey(1, -12, -12)};
    EXPECT_EQ(stream.NextFloat(0.0f, 1.0f), static_cast<float>(0x321B8D) * 0x1p-24f);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(stream.NextFloat(0.8f, 4.0f)), 0x3FEEAEFAu);
}

// Pinned bit for bit: every step of the formula is rounded in single precision, so any change
// to a constant, an order of operations or a fused step moves at least one of these. Seeds
// 1023 and 1024 differ above the ten bits the terrain reads, 0xDEADBEEF far above.
TEST(SampleHeight, GivesTheKnownHeightsForAnySeedAndScale) {
    const struct {
        float x, z;
        std::uint32_t seed;
        float heightScale;
        std::uint32_t heightBits;
    } table[] = {
        {0.0f, 0.0f, 1, 8.0f, 0x4099E485u},          {-4999.5f, 4321.25f, 0xDEADBEEFu, 19.5f, 0x41371F01u},
        {12.75f, -3.5f, 1023, 0.5f, 0x3E762C51u},     {2500.0f, 2500.0f, 1024, 8.0f, 0x4087F5F9u},
        {-131.0f, 77.0f, 7, 1.0f, 0x3EBBDBF4u},
    };
    for (const auto& row : table) {
        ProceduralWorldSettings settings;
        settings.seed = row.seed;
        settings.heightScale = row.heightScale;
        EXPECT_EQ(std::bit_cast<std::uint32_t>(SampleHeight(row.x, row.z, settings)), row.heightBits)
            << row.x << ", " << row.z << ", seed " << row.seed;
    }
}

TEST(ProceduralNames, NameGuidsAndCellsAtTheExtremes) {
    const std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(MakeProceduralGuid(4294967295u, lowest, 2147483647, 4294967295u),
              Core::Guid::FromName("brelk-procedural-world:4294967295:-2147483648:2147483647:4294967295"));
    EXPECT_EQ(CellDisplayName({lowest, 7}), "-2147483648,7");
}

// Blanks out the 36 characters of each entity's GUID token.
std::string WithoutEntityGuids(std::string text) {
    for (std::size_t at = text.find("\nentity \""); at != std::string::npos; at = text.find("\nentity \"", at + 1)) {
        text.replace(at + 9, 36, 36, '*');
    }
    return text;
}

using WritePersistentSceneTest = WorldFixture;

// Camera, sun and partition in that order, radii and budgets as given whatever their order, and
// the world named by its GUID: the whole text is pinned, with the run's own GUIDs blanked out,
// and a second run differs in those GUIDs alone.
TEST_F(WritePersistentSceneTest, WritesTheGoldenSceneThatLoadsAndNamesAFailedSave) {
    WriteText(WorldPath(), "brelk_world 1\n");
    const fs::path scenePath = Content() / "Scenes" / "Main.bscene";
    Scene::WorldPartitionComponent partition = DefaultPartition();
    partition.loadRadius = 300.0f;
    partition.unloadRadius = 200.0f;
    partition.memoryBudgetMegabytes = 0.5f;
    std::string error;
    std::string texts[2];
    for (std::string& text : texts) {
        ASSERT_TRUE(WritePersistentScene(assets, scenePath, WorldPath(), partition, &error)) << error;
        text = ReadText(scenePath);
    }
    EXPECT_NE(texts[0], texts[1]);
    EXPECT_EQ(WithoutEntityGuids(texts[0]), WithoutEntityGuids(texts[1]));
    const std::string world =
        Assets::AssetReferenceOf(assets.GetRegistry(), assets.GetRegistry().HandleOfPath(WorldPath()));
    ASSERT_EQ(world.rfind("guid:", 0), 0u) << world;
    const std::size_t at = texts[1].find("\"" + world + "\"");
    ASSERT_NE(at, std::string::npos);
    texts[1].replace(at + 1, world.size(), "<world>");
    Testing::ExpectGoldenText(fs::path(BRELK_TEST_DATA_DIR) / "PersistentScene.bscene", WithoutEntityGuids(texts[1]));
    Scene::Scene scene;
    ASSERT_TRUE(Scene::LoadScene(scenePath, scene, assets, &error)) << error;
    ASSERT_EQ(scene.Entities().size(), 3u);
    EXPECT_EQ(scene.Get<Scene::WorldPartitionComponent>(scene.Entities()[2]).world,
              assets.GetRegistry().HandleOfPath(WorldPath()));

    fs::create_directories(Content() / "Blocked.bscene" / "inside");
    EXPECT_FALSE(WritePersistentScene(assets, Content() / "Blocked.bscene", WorldPath(), partition, &error));
    EXPECT_EQ(error.rfind("Failed to save scene: Failed to replace scene file: ", 0), 0u) << error;
}

} // namespace
} // namespace Brelk::WorldGen
