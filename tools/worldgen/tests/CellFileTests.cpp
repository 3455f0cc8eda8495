#include "tools/worldgen/CellFile.h"
#include "tools/worldgen/CellPayload.h"

#include "engine/platform/Files.h"
#include "engine/scene/CookedScene.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneDocument.h"
#include "engine/scene/SceneTextParser.h"
#include "engine/scene/components/CoreComponents.h"
#include "tests/support/TextCases.h"
#include "tools/worldgen/tests/WorldFixture.h"

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Scene::Entity;
using Testing::ReadText;
using Testing::WriteText;

class WriteCellFileTest : public WorldFixture {
protected:
    fs::path CellPath() const { return folder / "Cells" / "cell_0_0.bcell"; }

    Entity Make(const std::string& name, Entity parent = Scene::kNullEntity) {
        const Entity entity = scene.CreateEntity(name);
        scene.SetEntityGuid(entity, Core::Guid::FromName(name));
        if (parent != Scene::kNullEntity) scene.SetParent(entity, parent);
        return entity;
    }

    Scene::Scene scene;
};

// The golden world pins a cell's layout but holds no hierarchy, no transient entity and only
// the default environment.
TEST_F(WriteCellFileTest, WritesListedEntitiesThenTheirSavedDescendantsDepthFirstInTheDefaultEnvironment) {
    Scene::EnvironmentSettings changed;
    changed.lightIntensity = 3.0f;
    scene.SetEnvironment(changed);
    const Entity a = Make("a");
    const Entity child = Make("a.child", a);
    Make("a.child.leaf", child);
    const Entity transient = Make("transient", a);
    const Entity hidden = Make("hidden", transient);
    scene.Emplace<Scene::TransientComponent>(transient, Scene::TransientComponent{});
    const Entity b = Make("b");
    std::string error;
    // Listed on its own, the child of a left-out parent has no parent in the file.
    ASSERT_TRUE(WriteCellFile(CellPath(), scene, std::vector<Entity>{b, a, hidden}, assets, &error)) << error;
    const std::string text = ReadText(CellPath());
    EXPECT_NE(text.find("property \"lightIntensity\" \"1\"\n"), std::string::npos);
    Scene::SceneDocument document;
    ASSERT_TRUE(Scene::ParseSceneText(text, document, CellPath(), &error)) << error;
    std::vector<std::string> lines;
    for (const Scene::SceneEntityBlock& entity : document.entities)
        lines.push_back(entity.name + " <- " + (entity.parent.IsValid() ? entity.parent.ToString() : ""));
    EXPECT_EQ(lines, (std::vector<std::string>{"b <- ", "a <- ", "a.child <- " + Core::Guid::FromName("a").ToString(),
                                               "a.child.leaf <- " + Core::Guid::FromName("a.child").ToString(),
                                               "hidden <- "}));
}

TEST_F(WriteCellFileTest, RefusesEntitiesWithoutIdentityAndKeepsTheOldFile) {
    WriteText(CellPath(), "old");
    const Entity nameless = Make("nameless");
    scene.Remove<Scene::NameComponent>(nameless);
    const Entity nullGuid = Make("null");
    scene.Get<Scene::EntityGuidComponent>(nullGuid).guid = Core::Guid{};
    for (const auto& [entity, reason] : {std::pair{nameless, "a cell entity is missing its name, GUID or transform"},
                                         std::pair{nullGuid, "a cell entity has a null GUID"}}) {
        std::string error;
        EXPECT_FALSE(WriteCellFile(CellPath(), scene, std::vector<Entity>{entity}, assets, &error));
        EXPECT_EQ(error, "Failed to write cell " + CellPath().string() + ": " + reason);
    }
    EXPECT_EQ(ReadText(CellPath()), "old");
}

std::string Names(const CellPayload& payload) {
    std::string names;
    for (const Scene::SceneEntityBlock& entity : payload.document.entities) names += entity.name;
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
