#include "tools/worldgen/CellPayload.h"

#include "engine/platform/Files.h"
#include "engine/scene/CookedScene.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/SceneTextParser.h"
#include "tools/worldgen/WorldAsset.h"
#include "tools/worldgen/WorldGenerator.h"
#include "tools/worldgen/tests/WorldFixture.h"

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;

std::vector<std::uint8_t> Bytes(std::string_view text) { return {text.begin(), text.end()}; }

std::string Entity(char id, char parent, std::string_view records = {}) {
    const auto guid = [](char c) {
        constexpr char kHex[] = "0123456789abcdef";
        return std::string("00000000-0000-4000-8000-0000000000") + kHex[(c >> 4) & 15] + kHex[c & 15];
    };
    return "entity \"" + guid(id) + "\" \"" + id + "\"\nparent \"" + (parent == 0 ? std::string() : guid(parent)) +
           "\"\n" + std::string(records) + "end_entity\n";
}

std::string Names(const CellPayload& payload) {
    std::string names;
    for (const Scene::SceneEntityBlock& entity : payload.document.entities) {
        names += entity.name;
    }
    return names;
}

TEST(CellPayloadTest, ParentsComeFirstInFileOrderAndACycleEndsItsWalk) {
    // C is a grandchild written first; O's parent is not in the file; X and Y are each
    // other's parent.
    const std::string text = "scene_version 6\n" + Entity('C', 'B') + Entity('A', 0) + Entity('B', 'A') +
                             Entity('D', 'A') + Entity('O', 'f') + Entity('X', 'Y') + Entity('Y', 'X');
    CellPayload payload;
    std::string error;
    ASSERT_TRUE(ParseCellPayload(Bytes(text), payload, "c.bcell", &error)) << error;
    EXPECT_EQ(Names(payload), "AOBDCXY");
}

TEST(CellPayloadTest, TheEstimateCountsFileNamesStringsRecordsAndArrays) {
    const std::string record = "component_schema \"R\" 1 3\n"
                               "property \"a\" \"xy\"\n"
                               "object_property \"o\" \"N\" 1 1\nproperty \"b\" \"\"\nend_component_schema\n"
                               "array_property \"l\" 2\nvalue \"z\"\nvalue \"\"\nend_array\n"
                               "end_component_schema\n";
    const std::string text = "scene_version 6\n" + Entity('E', 0, record) + Entity('F', 0);
    CellPayload payload;
    payload.bytes = Bytes(text);
    std::string error;
    ASSERT_TRUE(ParseCellPayload(payload.bytes, payload, "c.bcell", &error)) << error;
    // R: 16+1, a: 1+8+2, o: 1+(16+1+1+8), l: 1+16+(8+1)+8.
    EXPECT_EQ(EstimateRecordBytes(payload.document.entities[0].records[0].record), 89u);
    EXPECT_EQ(payload.estimatedBytes, text.size() + (1024 + 1 + 89) + (1024 + 1));
}

TEST(CellPayloadTest, OnlyTheCurrentVersionIsACell) {
    const fs::path path = "old.bcell";
    Scene::SceneDocument legacy;
    legacy.version = 5;
    const struct {
        std::vector<std::uint8_t> bytes;
        std::string message;
    } cases[] = {
        {Bytes("scene_version 5\n"), Scene::SceneVersionMessage(5, path)},
        {Bytes("scene_version 7\n"), Scene::SceneVersionMessage(7, path)},
        {Scene::EncodeCookedScene(legacy), "Invalid cooked scene old.bcell: Cooked scene holds scene version 5; "
                                           "recook the content."},
    };
    for (const auto& c : cases) {
        CellPayload payload;
        std::string error;
        EXPECT_FALSE(ParseCellPayload(c.bytes, payload, path, &error));
        EXPECT_EQ(error, c.message);
    }
}

class GeneratedCellsTest : public WorldFixture {};

TEST_F(GeneratedCellsTest, EveryCellReadsAndLoadsAlikeAsTextAndCooked) {
    std::string error;
    ASSERT_TRUE(GenerateProceduralWorld(assets, WorldPath(), Grid(2, 3), nullptr, &error)) << error;
    WorldAsset world;
    ASSERT_TRUE(ReadWorldAsset(WorldPath(), world, &error)) << error;
    ASSERT_EQ(world.cells.size(), 4u);

    for (const WorldCellEntry& cell : world.cells) {
        const fs::path textPath = CellFilePath(WorldPath(), cell.coord);
        SCOPED_TRACE(textPath.filename().string());
        CellPayload text;
        text.bytes = *Platform::ReadFileBytes(textPath);
        ASSERT_TRUE(ParseCellPayload(text.bytes, text, textPath, &error)) << error;
        EXPECT_EQ(text.document.entities.size(), cell.entityCount);

        CellPayload cooked;
        cooked.bytes = Scene::EncodeCookedScene(text.document);
        ASSERT_TRUE(ParseCellPayload(cooked.bytes, cooked, textPath, &error)) << error;
        // The same names, GUIDs, parents and records in the same order cook to the same bytes.
        EXPECT_EQ(Names(cooked), Names(text));
        EXPECT_EQ(Scene::EncodeCookedScene(cooked.document), cooked.bytes);
        EXPECT_EQ(cooked.estimatedBytes - cooked.bytes.size(), text.estimatedBytes - text.bytes.size());

        const fs::path cookedPath = folder / "Cooked.bcell";
        ASSERT_TRUE(Platform::WriteFileAtomic(cookedPath, cooked.bytes));
        Scene::Scene fromText;
        Scene::Scene fromCooked;
        ASSERT_TRUE(Scene::LoadScene(textPath, fromText, assets, &error)) << error;
        ASSERT_TRUE(Scene::LoadScene(cookedPath, fromCooked, assets, &error)) << error;
        ASSERT_TRUE(Scene::SaveScene(folder / "a.bscene", fromText, assets, &error)) << error;
        ASSERT_TRUE(Scene::SaveScene(folder / "b.bscene", fromCooked, assets, &error)) << error;
        EXPECT_EQ(Testing::ReadText(folder / "a.bscene"), Testing::ReadText(folder / "b.bscene"));
    }
}

} // namespace
} // namespace Brelk::WorldGen
