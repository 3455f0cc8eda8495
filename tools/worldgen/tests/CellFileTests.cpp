#include "tools/worldgen/CellFile.h"

#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
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

    std::string Write(std::initializer_list<Entity> entities) {
        const std::vector<Entity> list(entities);
        std::string error;
        EXPECT_TRUE(WriteCellFile(CellPath(), scene, list, assets, &error)) << error;
        return ReadText(CellPath());
    }

    std::string WriteError(std::initializer_list<Entity> entities) {
        const std::vector<Entity> list(entities);
        std::string error;
        EXPECT_FALSE(WriteCellFile(CellPath(), scene, list, assets, &error));
        return error;
    }

    // The entity lines of a cell text: the names in file order, each with its parent token.
    static std::vector<std::string> EntityLines(const std::string& text) {
        std::vector<std::string> lines;
        std::size_t at = 0;
        while ((at = text.find("\nentity ", at)) != std::string::npos) {
            const std::size_t nameStart = text.find("\" \"", at) + 2;
            const std::size_t parentStart = text.find("\nparent ", at) + 8;
            lines.push_back(text.substr(nameStart, text.find('\n', nameStart) - nameStart) + " <- " +
                            text.substr(parentStart, text.find('\n', parentStart) - parentStart));
            at = parentStart;
        }
        return lines;
    }

    Scene::Scene scene;
};

std::string GuidToken(const std::string& name) {
    return "\"" + Core::Guid::FromName(name).ToString() + "\"";
}

TEST_F(WriteCellFileTest, WritesListedEntitiesEachFollowedByItsDescendantsDepthFirst) {
    const Entity a = Make("a");
    const Entity child = Make("a.child", a);
    Make("a.child.leaf", child);
    const Entity b = Make("b");
    const std::string text = Write({b, a});
    EXPECT_EQ(EntityLines(text), (std::vector<std::string>{"\"b\" <- \"\"", "\"a\" <- \"\"",
                                                           "\"a.child\" <- " + GuidToken("a"),
                                                           "\"a.child.leaf\" <- " + GuidToken("a.child")}));
    EXPECT_EQ(text.find('\r'), std::string::npos);
}

TEST_F(WriteCellFileTest, LeavesOutTransientEntitiesWithTheirSubtrees) {
    const Entity root = Make("root");
    const Entity transient = Make("transient", root);
    const Entity hidden = Make("hidden", transient);
    scene.Emplace<Scene::TransientComponent>(transient, Scene::TransientComponent{});
    EXPECT_EQ(EntityLines(Write({root})), (std::vector<std::string>{"\"root\" <- \"\""}));
    // Listed on its own, the child of a left-out parent has no parent in the file.
    EXPECT_EQ(EntityLines(Write({root, hidden})),
              (std::vector<std::string>{"\"root\" <- \"\"", "\"hidden\" <- \"\""}));
}

TEST_F(WriteCellFileTest, NamesWithQuotesAndBackslashesReadBackWhole) {
    const Entity entity = Make("say \"hi\" \\ there");
    const std::string text = Write({entity});
    EXPECT_NE(text.find("\"say \\\"hi\\\" \\\\ there\""), std::string::npos);
    Scene::Scene loaded;
    std::string error;
    ASSERT_TRUE(Scene::LoadScene(CellPath(), loaded, assets, &error)) << error;
    EXPECT_EQ(loaded.GetName(loaded.FindEntityByGuid(Core::Guid::FromName("say \"hi\" \\ there"))),
              "say \"hi\" \\ there");
}

TEST_F(WriteCellFileTest, AnEmptyListIsAnEmptySceneWithTheDefaultEnvironment) {
    Scene::EnvironmentSettings changed;
    changed.lightIntensity = 3.0f;
    scene.SetEnvironment(changed);
    const std::string text = Write({});
    EXPECT_EQ(text.rfind("scene_version 6\ncomponent_schema \"EnvironmentSettings\" 1 7\n", 0), 0u);
    EXPECT_NE(text.find("property \"lightIntensity\" \"1\"\n"), std::string::npos);
    EXPECT_EQ(text.find("entity "), std::string::npos);
    Scene::Scene loaded;
    std::string error;
    ASSERT_TRUE(Scene::LoadScene(CellPath(), loaded, assets, &error)) << error;
    EXPECT_TRUE(loaded.Entities().empty());
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
