#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/scene/ComponentLoad.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace Brelk::Assets {
class AssetManager;
} // namespace Brelk::Assets

namespace Brelk::Scene {

class Scene;

// The baselines from which instances were last built, per asset manager and prefab file,
// shared by every scene of the process. The scenes in it never change; a user copies one
// before touching it.
class PrefabBaselineCache {
public:
    static PrefabBaselineCache& Instance();

    [[nodiscard]] std::shared_ptr<const Scene> Find(const std::string& key) const;
    void Store(const std::string& key, std::shared_ptr<const Scene> baseline);

private:
    struct KeyHasher {
        std::size_t operator()(const std::string& key) const noexcept;
    };

    mutable std::mutex mutex_;
    std::unordered_map<std::string, std::shared_ptr<const Scene>, KeyHasher> baselines_;
};

// The state of one prefab operation: the baselines it has loaded, the chain of prefabs
// being loaded (to catch a prefab that contains itself), and the tables every rebuild and
// comparison of the operation share.
struct PrefabResolver {
    // With `baselineOnly`, baselines come from PrefabBaselineCache instead of the files.
    explicit PrefabResolver(const Assets::AssetManager& manager, bool baselineOnly = false);
    // The load context points at the codec.
    PrefabResolver(const PrefabResolver&) = delete;
    PrefabResolver& operator=(const PrefabResolver&) = delete;

    const Assets::AssetManager* assetManager;
    std::unordered_map<Assets::AssetHandle, std::shared_ptr<const Scene>> baselines;
    std::unordered_map<Assets::AssetHandle, std::string> cacheKeys;
    std::vector<Assets::AssetHandle> loading;
    bool cycleFound = false;
    bool baselineOnly = false;
    // The prefabs that each loaded prefab holds instances of.
    std::unordered_map<Assets::AssetHandle, std::vector<Assets::AssetHandle>> nested;
    // The components an instance compares and carries: saved as records, in registration
    // order, without the instance bookkeeping itself.
    std::vector<const ComponentTypeEntry*> components;
    std::unordered_map<std::string, const ComponentTypeEntry*> componentsByName;
    ComponentLoadTable table;
    Reflection::SchemaCodecContext codec;
    ComponentLoadContext loadContext;
};

// The file's path for messages, or "prefab <handle>" when the handle names nothing.
[[nodiscard]] std::string PrefabLabel(const Assets::AssetManager& manager, Assets::AssetHandle handle);

// The handle must name a prefab or effect with a source file. Fills the cache key.
[[nodiscard]] bool CheckPrefabAsset(const Assets::AssetManager& manager, Assets::AssetHandle handle,
                                    std::string* cacheKey, std::string* error);

// The prefab's scene with its nested instances brought up to date; null with `error` set
// when it can't be had. The result is shared and must not change.
[[nodiscard]] std::shared_ptr<const Scene> ResolveBaseline(PrefabResolver& resolver, Assets::AssetHandle handle,
                                                           std::string* error);

// Whether `from` is `to` or holds an instance of it at any depth. A prefab whose baseline
// fails to load is taken to hold nothing; the last such failure is left in `error`.
[[nodiscard]] bool PrefabReaches(PrefabResolver& resolver, Assets::AssetHandle from, Assets::AssetHandle to,
                                 std::string* error);

// Puts every baseline the resolver loaded into PrefabBaselineCache.
void PublishBaselines(const PrefabResolver& resolver);

} // namespace Brelk::Scene
