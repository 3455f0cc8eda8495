#include "tools/worldgen/CellFile.h"

#include "engine/scene/Scene.h"
#include "engine/scene/SceneDocument.h"
#include "engine/scene/SceneTextParser.h"
#include "engine/scene/components/CoreComponents.h"
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

    std::string WriteError(const std::vector<Entity>& entities) {
        std::string error;
        EXPECT_FALSE(WriteCellFile(CellPath(), scene, entities, assets, &error));
        return error;
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
    EXPECT_EQ(WriteError({nameless}),
              "Failed to write cell " + CellPath().string() + ": a cell entity is missing its name, GUID or transform");
    const Entity nullGuid = Make("null");
    scene.Get<Scene::EntityGuidComponent>(nullGuid).guid = Core::Guid{};
    EXPECT_EQ(WriteError({nullGuid}), "Failed to write cell " + CellPath().string() + ": a cell entity has a null GUID");
    EXPECT_EQ(ReadText(CellPath()), "old");
}

} // namespace
} // namespace Brelk::WorldGen
