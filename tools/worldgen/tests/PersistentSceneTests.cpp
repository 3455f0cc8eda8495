#include "tools/worldgen/PersistentScene.h"

#include "engine/assets/AssetReference.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/LightComponents.h"
#include "engine/scene/components/RenderComponents.h"
#include "engine/scene/components/WorldComponents.h"
#include "tools/worldgen/CommandLine.h"
#include "tools/worldgen/tests/WorldFixture.h"


namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;
using Testing::WriteText;

class WritePersistentSceneTest : public WorldFixture {
protected:
    void SetUp() override {
        WorldFixture::SetUp();
        WriteText(WorldPath(), "brelk_world 1\n");
    }

    fs::path ScenePath() const { return Content() / "Scenes" / "Main.bscene"; }

    std::string Write(Scene::WorldPartitionComponent partition = DefaultPartition()) {
        std::string error;
        EXPECT_TRUE(WritePersistentScene(assets, ScenePath(), WorldPath(), partition, &error)) << error;
        return ReadText(ScenePath());
    }

    Scene::Scene Load() {
        Scene::Scene scene;
        std::string error;
        EXPECT_TRUE(Scene::LoadScene(ScenePath(), scene, assets, &error)) << error;
        return scene;
    }
};

TEST_F(WritePersistentSceneTest, HoldsCameraSunAndPartitionInThatOrder) {
    (void)Write();
    Scene::Scene scene = Load();
    ASSERT_EQ(scene.Entities().size(), 3u);
    const Scene::Entity camera = scene.Entities()[0];
    const Scene::Entity sun = scene.Entities()[1];
    const Scene::Entity partition = scene.Entities()[2];
    EXPECT_EQ(scene.GetName(camera), "Fly Camera");
    EXPECT_EQ(scene.GetName(sun), "Sun");
    EXPECT_EQ(scene.GetName(partition), "World Partition");
    for (const Scene::Entity entity : scene.Entities()) EXPECT_EQ(scene.GetParent(entity), Scene::kNullEntity);

    const Scene::Transform& cameraPlace = scene.Get<Scene::TransformComponent>(camera).transform;
    EXPECT_EQ(cameraPlace.position, glm::vec3(0.0f, 30.0f, 0.0f));
    EXPECT_EQ(cameraPlace.rotation, glm::vec3(0.0f));
    EXPECT_TRUE(scene.Get<Scene::CameraComponent>(camera).primary);
    EXPECT_EQ(scene.Get<Scene::CameraComponent>(camera).farClip, 500.0f);
    EXPECT_EQ(scene.Get<Scene::WorldStreamingSourceComponent>(camera),
              (Scene::WorldStreamingSourceComponent{true, 120.0f}));

    const Scene::Transform& sunPlace = scene.Get<Scene::TransformComponent>(sun).transform;
    EXPECT_EQ(sunPlace.position, glm::vec3(3.0f, 4.0f, 3.0f));
    EXPECT_EQ(sunPlace.rotation, glm::vec3(-50.0f, 30.0f, 0.0f));
    EXPECT_EQ(scene.Get<Scene::DirectionalLightComponent>(sun).intensity, 1.75f);

    EXPECT_EQ(scene.Get<Scene::TransformComponent>(partition).transform, Scene::Transform{});
    const auto& stored = scene.Get<Scene::WorldPartitionComponent>(partition);
    EXPECT_EQ(stored.world, assets.GetRegistry().HandleOfPath(WorldPath()));
    EXPECT_EQ(stored.memoryBudgetMegabytes, 64.0f);
}

TEST_F(WritePersistentSceneTest, NamesTheWorldByItsGuid) {
    Scene::WorldPartitionComponent partition = DefaultPartition();
    const std::string text = Write(partition);
    const Assets::AssetHandle world = assets.GetRegistry().HandleOfPath(WorldPath());
    EXPECT_NE(text.find("property \"world\" \"" + Assets::AssetReferenceOf(assets.GetRegistry(), world) + "\"\n"),
              std::string::npos);
    EXPECT_NE(text.find("property \"world\" \"guid:"), std::string::npos);
}

TEST_F(WritePersistentSceneTest, WritesRadiiAndBudgetsAsGivenWhateverTheirOrder) {
    Scene::WorldPartitionComponent partition = DefaultPartition();
    partition.loadRadius = 300.0f;
    partition.unloadRadius = 200.0f;
    partition.memoryBudgetMegabytes = 0.5f;
    const std::string text = Write(partition);
    EXPECT_NE(text.find("property \"loadRadius\" \"300\"\nproperty \"unloadRadius\" \"200\"\n"), std::string::npos);
    EXPECT_NE(text.find("property \"memoryBudgetMegabytes\" \"0.5\"\n"), std::string::npos);
    EXPECT_NE(text.find("property \"radius\" \"120\"\n"), std::string::npos);
}

TEST_F(WritePersistentSceneTest, TwoRunsDifferInTheThreeEntityGuidsAlone) {
    const std::string first = Write();
    const std::string second = Write();
    EXPECT_NE(first, second);
    // Blank out the 36 characters of each entity's GUID token.
    const auto withoutEntityGuids = [](std::string text) {
        for (std::size_t at = text.find("\nentity \""); at != std::string::npos; at = text.find("\nentity \"", at + 1)) {
            text.replace(at + 9, 36, 36, '*');
        }
        return text;
    };
    EXPECT_EQ(withoutEntityGuids(first), withoutEntityGuids(second));
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
