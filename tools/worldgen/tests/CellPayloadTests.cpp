#include "tools/worldgen/CellPayload.h"

#include "engine/platform/Files.h"
#include "engine/scene/CookedScene.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/SceneTextParser.h"

#include <gtest/gtest.h>

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

// C is a grandchild written first; O's parent is not in the file; X and Y are each other's
// parent. Each entity costs 1024 and its name; record R takes 89: R 16+1, a 1+8+2,
// o 1+(16+1+1+8), l 1+16+(8+1)+8.
TEST(CellPayloadTest, PutsParentsFirstInFileOrderEndsACycleAndEstimatesNamesRecordsAndArrays) {
    const std::string record = "component_schema \"R\" 1 3\n"
                               "property \"a\" \"xy\"\n"
                               "object_property \"o\" \"N\" 1 1\nproperty \"b\" \"\"\nend_component_schema\n"
                               "array_property \"l\" 2\nvalue \"z\"\nvalue \"\"\nend_array\n"
                               "end_component_schema\n";
    const std::string text = "scene_version 6\n" + Entity('C', 'B', record) + Entity('A', 0) + Entity('B', 'A') +
                             Entity('D', 'A') + Entity('O', 'f') + Entity('X', 'Y') + Entity('Y', 'X');
    CellPayload payload;
    payload.bytes = Bytes(text);
    std::string error;
    ASSERT_TRUE(ParseCellPayload(payload.bytes, payload, "c.bcell", &error)) << error;
    EXPECT_EQ(Names(payload), "AOBDCXY");
    EXPECT_EQ(payload.estimatedBytes, text.size() + 7 * (1024 + 1) + 89);
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

// A golden cell parses alike as text and cooked: the same entities in the same order, which
// cook back to the same bytes, and an estimate that differs only by the file's size.
TEST(CellPayloadTest, AGoldenCellReadsAlikeAsTextAndCooked) {
    Scene::InstallComponents();
    const fs::path path = fs::path(BRELK_TEST_DATA_DIR) / "SmallWorld" / "cell_-1_0.bcell";
    CellPayload text;
    text.bytes = *Platform::ReadFileBytes(path);
    std::string error;
    ASSERT_TRUE(ParseCellPayload(text.bytes, text, path, &error)) << error;
    EXPECT_EQ(Names(text), "Terrain -1,0Prop 0");
    CellPayload cooked;
    cooked.bytes = Scene::EncodeCookedScene(text.document);
    ASSERT_TRUE(ParseCellPayload(cooked.bytes, cooked, path, &error)) << error;
    EXPECT_EQ(Names(cooked), Names(text));
    EXPECT_EQ(Scene::EncodeCookedScene(cooked.document), cooked.bytes);
    EXPECT_EQ(cooked.estimatedBytes - cooked.bytes.size(), text.estimatedBytes - text.bytes.size());
}

} // namespace
} // namespace Brelk::WorldGen
