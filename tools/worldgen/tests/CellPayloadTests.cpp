#include "tools/worldgen/CellPayload.h"

#include "engine/platform/Files.h"
#include "engine/scene/CookedScene.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/SceneTextParser.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;

std::string Names(const CellPayload& payload) {
    std::string names;
    for (const Scene::SceneEntityBlock& entity : payload.document.entities) {
        names += entity.name;
    }
    return names;
}

// Parents come first in file order and a cycle is broken; only the current version is a cell,
// also when cooked.
TEST(CellPayloadTest, PutsParentsFirstEstimatesItsBytesAndTakesOnlyTheCurrentVersion) {
    Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "CellPayloads.txt", [](const Testing::TextCase& c) {
        CellPayload payload;
        payload.bytes.assign(c.input.begin(), c.input.end());
        std::string error;
        if (!ParseCellPayload(payload.bytes, payload, "c.bcell", &error)) return error;
        return Names(payload) + ", " + std::to_string(payload.estimatedBytes) + " bytes estimated";
    });
    Scene::SceneDocument legacy;
    legacy.version = 5;
    CellPayload payload;
    std::string error;
    EXPECT_FALSE(ParseCellPayload(Scene::EncodeCookedScene(legacy), payload, "c.bcell", &error));
    EXPECT_EQ(error, "Invalid cooked scene c.bcell: Cooked scene holds scene version 5; recook the content.");
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
