#include "tools/worldgen/PersistentScene.h"

#include "engine/assets/AssetReference.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/WorldComponents.h"
#include "tools/worldgen/CommandLine.h"
#include "tools/worldgen/tests/WorldFixture.h"

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;
using Testing::WriteText;

// Blanks out the 36 characters of each entity's GUID token.
std::string WithoutEntityGuids(std::string text) {
    for (std::size_t at = text.find("\nentity \""); at != std::string::npos; at = text.find("\nentity \"", at + 1)) {
        text.replace(at + 9, 36, 36, '*');
    }
    return text;
}

class WritePersistentSceneTest : public WorldFixture {
protected:
    void SetUp() override {
        WorldFixture::SetUp();
        WriteText(WorldPath(), "brelk_world 1\n");
    }

    fs::path ScenePath() const { return Content() / "Scenes" / "Main.bscene"; }

    std::string Write(Scene::WorldPartitionComponent partition) {
        std::string error;
        EXPECT_TRUE(WritePersistentScene(assets, ScenePath(), WorldPath(), partition, &error)) << error;
        return ReadText(ScenePath());
    }

};

// Camera, sun and partition in that order, radii and budgets as given whatever their order, and
// the world named by its GUID: the whole text is pinned, with the run's own GUIDs blanked out,
// and a second run differs in those GUIDs alone.
TEST_F(WritePersistentSceneTest, WritesTheGoldenSceneAndItLoads) {
    Scene::WorldPartitionComponent partition = DefaultPartition();
    partition.loadRadius = 300.0f;
    partition.unloadRadius = 200.0f;
    partition.memoryBudgetMegabytes = 0.5f;
    std::string text = Write(partition);
    const std::string again = Write(partition);
    EXPECT_NE(text, again);
    EXPECT_EQ(WithoutEntityGuids(text), WithoutEntityGuids(again));
    const std::string world =
        Assets::AssetReferenceOf(assets.GetRegistry(), assets.GetRegistry().HandleOfPath(WorldPath()));
    ASSERT_EQ(world.rfind("guid:", 0), 0u) << world;
    const std::size_t at = text.find("\"" + world + "\"");
    ASSERT_NE(at, std::string::npos);
    text.replace(at + 1, world.size(), "<world>");
    EXPECT_EQ(WithoutEntityGuids(text), ReadText(fs::path(BRELK_TEST_DATA_DIR) / "PersistentScene.bscene"));
    Scene::Scene scene;
    std::string error;
    ASSERT_TRUE(Scene::LoadScene(ScenePath(), scene, assets, &error)) << error;
    ASSERT_EQ(scene.Entities().size(), 3u);
    EXPECT_EQ(scene.Get<Scene::WorldPartitionComponent>(scene.Entities()[2]).world,
              assets.GetRegistry().HandleOfPath(WorldPath()));
}

TEST_F(WritePersistentSceneTest, AFailedSaveKeepsTheOldScene) {
    WriteText(ScenePath(), "old");
    fs::create_directories(Content() / "Blocked.bscene" / "inside");
    Scene::WorldPartitionComponent partition = DefaultPartition();
    std::string error;
    EXPECT_FALSE(WritePersistentScene(assets, Content() / "Blocked.bscene", WorldPath(), partition, &error));
    EXPECT_EQ(error.rfind("Failed to save scene: Failed to replace scene file: ", 0), 0u) << error;
    EXPECT_EQ(ReadText(ScenePath()), "old");
}

} // namespace
} // namespace Brelk::WorldGen
