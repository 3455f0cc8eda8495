#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/core/Guid.h"
#include "engine/scene/Entity.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace Brelk::Assets {
class AssetManager;
} // namespace Brelk::Assets

// Prefabs are scene files (.bprefab, and effects, .bvfx); an instance is a set of live
// entities that remembers its prefab, and what the user changed in it as text overrides on
// its root. An instance can be rebuilt from the current prefab file at any time.
//
// All operations run on the thread that owns the scene, and fail with one message in
// `error` (may be null).
namespace Brelk::Scene {

class Scene;

// Saves the entity and its saved subtree as a prefab file. An extension other than
// ".bprefab" or ".bvfx" becomes ".bprefab". The new file is registered with the manager.
[[nodiscard]] bool CreatePrefabFromEntity(Scene& scene, Assets::AssetManager& assetManager, Entity entity,
                                          const std::filesystem::path& path, std::string* error);

// One instance per root of the prefab, each under `parent` (none when null). Empty on
// failure, with nothing left in the scene.
[[nodiscard]] std::vector<Entity> InstantiatePrefab(Scene& scene, Assets::AssetManager& assetManager,
                                                    Assets::AssetHandle prefab, Entity parent, std::string* error);

// Stores what the user changed in the instance holding `entity` as its overrides.
[[nodiscard]] bool RecordInstanceChanges(Scene& scene, Assets::AssetManager& assetManager, Entity entity,
                                         std::string* error);

// Forgets every change of the instance, including what the user added, and rebuilds it.
[[nodiscard]] bool RevertPrefabInstance(Scene& scene, Assets::AssetManager& assetManager, Entity entity,
                                        std::string* error);

// Writes the instance back to its prefab file and brings the other instances of the scene
// up to date. The file is untouched on failure.
[[nodiscard]] bool ApplyPrefabInstance(Scene& scene, Assets::AssetManager& assetManager, Entity entity,
                                       std::string* error);

// Rebuilds the instances whose roots are listed (PrefabGuidsOfInstances gives all), or with
// `changed` only those whose prefab reaches it. With `recordFirst` the user's changes are
// recorded against the baseline each instance was last built from. Gives the number
// rebuilt; a failure is logged and left in `error`, and the others go on.
std::uint64_t UpdatePrefabInstances(Scene& scene, Assets::AssetManager& assetManager,
                                    std::span<const Core::Guid> roots, Assets::AssetHandle changed, bool recordFirst,
                                    std::string* error);

// The root of the connected instance that holds `entity`.
[[nodiscard]] bool ResolvePrefabInstance(const Scene& scene, Entity entity, Entity& root, std::string* error);

// Loads the baseline of every instance in the scene into the process's baseline cache.
void PrefabBaselines(const Scene& scene, const Assets::AssetManager& assetManager);

// The Guids of the connected instance roots, in entity order.
[[nodiscard]] std::vector<Core::Guid> PrefabGuidsOfInstances(const Scene& scene);

} // namespace Brelk::Scene
