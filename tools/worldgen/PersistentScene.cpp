#include "tools/worldgen/PersistentScene.h"

#include "engine/assets/AssetManager.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/platform/Files.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/WorldComponents.h"

namespace Brelk::WorldGen {

bool WritePersistentScene(Assets::AssetManager& assetManager, const std::filesystem::path& scenePath,
                          const std::filesystem::path& worldPath, Scene::WorldPartitionComponent& partition,
                          std::string* error) {
    Scene::InstallComponents();
    // Registering a known path gives its handle again, so this is also the lookup.
    const Assets::AssetHandle world = assetManager.GetRegistry().RegisterFile(Assets::AssetType::World, worldPath);
    if (world == Assets::kNullAssetHandle) {
        if (error) *error = "The world asset is not registered: " + Platform::PathToUtf8(worldPath);
        return false;
    }

    Scene::Scene scene;
    const Scene::Entity camera = scene.CreateCamera("Fly Camera", true);
    scene.Get<Scene::TransformComponent>(camera).transform.position = {0.0f, 30.0f, 0.0f};
    scene.Emplace<Scene::WorldStreamingSourceComponent>(camera, Scene::WorldStreamingSourceComponent{true, 120.0f});

    const Scene::Entity sun = scene.CreateDirectionalLight("Sun");
    scene.Get<Scene::TransformComponent>(sun).transform.rotation = {-50.0f, 30.0f, 0.0f};

    const Scene::Entity partitionEntity = scene.CreateEntity("World Partition");
    partition.world = world;
    scene.Emplace<Scene::WorldPartitionComponent>(partitionEntity, partition);

    if (scenePath.has_parent_path()) {
        // A failure here shows again, with its reason, when the save opens its file.
        std::error_code ignored;
        std::filesystem::create_directories(scenePath.parent_path(), ignored);
    }
    return Scene::SaveScene(scenePath, scene, assetManager, error);
}

} // namespace Brelk::WorldGen
