// Takes the input as the text of a prefab file, places it, changes the instance a little,
// records the changes, rebuilds from the file and reverts. Every step either fails with a
// message or succeeds; after a revert the instance matches its prefab, so recording again
// finds nothing.

#include "engine/assets/AssetManager.h"
#include "engine/core/Guid.h"
#include "engine/core/Logger.h"
#include "engine/platform/Files.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/GameplayComponents.h"
#include "engine/scene/prefabs/Prefabs.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace Assets = Brelk::Assets;
namespace Core = Brelk::Core;
namespace Platform = Brelk::Platform;
using namespace Brelk::Scene;
namespace fs = std::filesystem;

void Check(bool condition) {
    if (!condition) std::abort();
}

struct Project {
    Project() {
        InstallComponents();
        Core::Logger::Get().SetAllThresholds(Core::LogLevel::Off);
        folder = fs::temp_directory_path() / ("brelk-prefab-fuzz-" + Core::Guid::New().ToString());
        assets.Initialize(folder / "Content", Assets::AssetSourceMode::Authoring);
        path = folder / "Content" / "Fuzz.bprefab";
    }
    ~Project() {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }
    fs::path folder;
    fs::path path;
    Assets::AssetManager assets;
};

// Renames the first child, drops the last, adds a rotator to the root's first child and
// hangs a new entity under the root.
void Edit(Scene& scene, Entity root) {
    const std::vector<Entity> children = scene.GetChildren(root);
    if (!children.empty()) {
        scene.Get<NameComponent>(children.front()).name += " edited";
        scene.Emplace<RotatorComponent>(children.front()).degreesPerSecond = 7.0f;
        if (children.size() > 1) scene.DestroyEntity(children.back());
    }
    scene.SetParent(scene.CreateEntity("Added"), root);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Project project;
    if (!Platform::WriteFileAtomic(project.path, std::span<const std::uint8_t>(data, size), nullptr)) return 0;
    const Assets::AssetHandle prefab = project.assets.GetRegistry().RegisterFile(Assets::AssetType::Prefab, project.path);
    Scene scene;
    std::string error;
    const std::vector<Entity> roots = InstantiatePrefab(scene, project.assets, prefab, kNullEntity, &error);
    Check(!roots.empty() || !error.empty());
    for (const Entity root : roots) {
        Edit(scene, root);
        if (!RecordInstanceChanges(scene, project.assets, root, &error)) Check(!error.empty());
    }
    const std::vector<Core::Guid> guids = PrefabGuidsOfInstances(scene);
    (void)UpdatePrefabInstances(scene, project.assets, guids, 0, true, &error);
    for (const Entity root : roots) {
        if (!scene.IsAlive(root)) continue;
        if (!RevertPrefabInstance(scene, project.assets, root, &error)) continue;
        Check(RecordInstanceChanges(scene, project.assets, root, &error));
        const auto& links = scene.Get<PrefabInstanceComponent>(root);
        Check(links.overrides.empty() && links.addedComponents.empty() && links.removedComponents.empty() &&
              links.addedEntities.empty() && links.removedEntities.empty());
    }
    return 0;
}
