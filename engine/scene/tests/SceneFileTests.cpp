#include "engine/scene/SceneFile.h"

#include "engine/assets/AssetManager.h"
#include "engine/core/Guid.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/components/CoreComponents.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <functional>

namespace Brelk::Scene {
namespace {

namespace fs = std::filesystem;

const Core::Guid kDoorGuid = *Core::Guid::Parse("3f2a9c1e-7b40-4e11-9a6d-5c0d2e8f1b77");
const Core::Guid kHandleGuid = *Core::Guid::Parse("a04e5d12-19c3-4b8a-8e27-6d1f0c3ab945");

using Testing::ReadText;
using Testing::WriteText;

class SceneFileTests : public ::testing::Test {
protected:
    void SetUp() override {
        InstallComponents();
        assets_.Initialize(root_ / "Content", Assets::AssetSourceMode::Authoring);
    }

    fs::path ScenePath() const { return root_ / "Content" / "Main.bscene"; }

    // The door and its handle, the smallest scene that shows names, parents and transforms.
    Scene MakeDoorScene() {
        Scene scene;
        const Entity door = scene.CreateEntity("Door \"A\"");
        scene.SetEntityGuid(door, kDoorGuid);
        scene.SetTransform(door, Transform{{1.0f, 2.5f, -3.0f}, {0.0f, 90.0f, 0.0f}, {1.0f, 1.0f, 1.0f}});
        const Entity handle = scene.CreateEntity("Handle");
        scene.SetEntityGuid(handle, kHandleGuid);
        scene.SetParent(handle, door);
        return scene;
    }

    bool NoTemporaryFilesLeft() const {
        for (const auto& entry : fs::directory_iterator(ScenePath().parent_path())) {
            if (entry.path().extension() == ".tmp") return false;
        }
        return true;
    }

    Testing::ScratchFolder root_;
    Assets::AssetManager assets_;
};

TEST_F(SceneFileTests, SavesTheDoorSceneByteForByteAndALoadReplacesEveryOldHandle) {
    std::string error;
    ASSERT_TRUE(SaveScene(ScenePath(), MakeDoorScene(), assets_, &error)) << error;
    EXPECT_EQ(ReadText(ScenePath()), ReadText(fs::path(BRELK_TEST_DATA_DIR) / "DoorAndHandle.bscene"));
    EXPECT_TRUE(NoTemporaryFilesLeft());

    Scene scene = MakeDoorScene();
    const std::vector<Entity> old = scene.Entities();
    ASSERT_TRUE(LoadScene(ScenePath(), scene, assets_, &error)) << error;
    for (const Entity entity : old) EXPECT_FALSE(scene.IsAlive(entity));
    // Names, parents and transforms come back exactly when the loaded scene saves the same bytes.
    const fs::path again = root_ / "Content" / "Again.bscene";
    ASSERT_TRUE(SaveScene(again, scene, assets_, &error)) << error;
    EXPECT_EQ(ReadText(again), ReadText(ScenePath()));
}

// A load's outcome is each entity with its parent, or the message; a failed load leaves
// the caller's scene as it was.
TEST_F(SceneFileTests, LoadsLinkParentsInAnyOrderAndFailedLoadsLeaveTheCallersScene) {
    Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "SceneLoads.txt", [&](const Testing::TextCase& c) {
        WriteText(ScenePath(), c.input);
        Scene scene = MakeDoorScene();
        std::string error;
        if (!LoadScene(ScenePath(), scene, assets_, &error)) {
            EXPECT_EQ(scene.GetName(scene.FindEntityByGuid(kDoorGuid)), "Door \"A\"") << c.title;
            return error;
        }
        std::string out;
        for (const Entity entity : scene.Entities()) {
            const Entity parent = scene.GetParent(entity);
            out += scene.GetName(entity) + (IsNullEntity(parent) ? "" : " < " + scene.GetName(parent)) + "\n";
        }
        return out;
    });
}

TEST_F(SceneFileTests, FailedSavesKeepTheOldFileAndSayWhy) {
    const struct {
        std::function<void(Scene&)> breakScene;
        const char* message;
    } cases[] = {
        {[](Scene& scene) { scene.Emplace<TransientComponent>(scene.FindEntityByGuid(kDoorGuid)); },
         "Failed to save scene: Scene hierarchy references a missing parent."},
        {[](Scene& scene) { scene.Get<EntityGuidComponent>(scene.FindEntityByGuid(kHandleGuid)).guid = kDoorGuid; },
         "Failed to save scene: Cannot save duplicate entity GUIDs."},
        {[](Scene& scene) { scene.Get<EntityGuidComponent>(scene.FindEntityByGuid(kHandleGuid)).guid = Core::Guid{}; },
         "Failed to save scene: Cannot save an entity with a null GUID."},
        {[](Scene& scene) { scene.Remove<NameComponent>(scene.FindEntityByGuid(kDoorGuid)); },
         "Failed to save scene: Cannot save an entity missing its name, GUID, or transform."},
    };
    WriteText(ScenePath(), "old");
    for (const auto& c : cases) {
        Scene scene = MakeDoorScene();
        c.breakScene(scene);
        std::string error;
        EXPECT_FALSE(SaveScene(ScenePath(), scene, assets_, &error));
        EXPECT_EQ(error, c.message);
        EXPECT_EQ(ReadText(ScenePath()), "old");
        EXPECT_TRUE(NoTemporaryFilesLeft());
    }
    std::string error;
    EXPECT_FALSE(SaveScene(root_ / "Missing" / "Main.bscene", MakeDoorScene(), assets_, &error));
    EXPECT_EQ(error, "Failed to open scene file for writing.");
}

TEST_F(SceneFileTests, AnEmptySceneSavesItsEnvironmentAndLoadsEmpty) {
    std::string error;
    ASSERT_TRUE(SaveScene(ScenePath(), Scene{}, assets_, &error)) << error;
    Scene loaded = MakeDoorScene();
    ASSERT_TRUE(LoadScene(ScenePath(), loaded, assets_, &error)) << error;
    EXPECT_TRUE(loaded.Entities().empty());
}

} // namespace
} // namespace Brelk::Scene
