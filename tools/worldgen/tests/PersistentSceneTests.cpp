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
    EXPECT_EQ(WithoutEntityGuids(texts[1]), ReadText(fs::path(BRELK_TEST_DATA_DIR) / "PersistentScene.bscene"));
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
