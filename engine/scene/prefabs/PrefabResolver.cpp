#include "engine/scene/prefabs/PrefabResolver.h"

#include "engine/assets/AssetManager.h"
#include "engine/core/Hash.h"
#include "engine/core/Logger.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"
#include "engine/platform/Paths.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/prefabs/PrefabInstance.h"

#include <algorithm>
#include <typeindex>
#include <unordered_set>

namespace Brelk::Scene {

PrefabBaselineCache& PrefabBaselineCache::Instance() {
    static PrefabBaselineCache cache;
    return cache;
}

std::size_t PrefabBaselineCache::KeyHasher::operator()(const std::string& key) const noexcept {
    return static_cast<std::size_t>(Core::Fnv1a64(key));
}

std::shared_ptr<const Scene> PrefabBaselineCache::Find(const std::string& key) const {
    std::lock_guard lock(mutex_);
    const auto found = baselines_.find(key);
    return found == baselines_.end() ? nullptr : found->second;
}

void PrefabBaselineCache::Store(const std::string& key, std::shared_ptr<const Scene> baseline) {
    std::lock_guard lock(mutex_);
    baselines_[key] = std::move(baseline);
}

PrefabResolver::PrefabResolver(const Assets::AssetManager& manager, bool onlyCached)
    : assetManager(&manager),
      baselineOnly(onlyCached),
      codec(MakeSceneCodecContext(manager.GetRegistry())),
      loadContext{&codec} {
    const std::type_index instanceType(typeid(PrefabInstanceComponent));
    for (const ComponentTypeEntry* entry : table.entries) {
        if (entry->type == instanceType) continue;
        components.push_back(entry);
        componentsByName.emplace(entry->name, entry);
    }
}

std::string PrefabLabel(const Assets::AssetManager& manager, Assets::AssetHandle handle) {
    const std::optional<Assets::AssetRecord> record = manager.GetRegistry().Copy(handle);
    if (!record) return "prefab " + std::to_string(handle);
    return Platform::PathToUtf8(record->sourcePath);
}

bool CheckPrefabAsset(const Assets::AssetManager& manager, Assets::AssetHandle handle, std::string* cacheKey,
                      std::string* error) {
    const std::optional<Assets::AssetRecord> record = manager.GetRegistry().Copy(handle);
    if (!record || (record->type != Assets::AssetType::Prefab && record->type != Assets::AssetType::Vfx)) {
        SetError(error, "Prefab asset handle is invalid.");
        return false;
    }
    if (record->sourcePath.empty()) {
        SetError(error, "Prefab asset has no source path.");
        return false;
    }
    if (cacheKey != nullptr) {
        *cacheKey = std::to_string(manager.InstanceId()) + "|" +
                    Platform::PathToUtf8(Platform::CanonicalPath(record->sourcePath));
    }
    return true;
}

namespace {

std::string CycleMessage(const PrefabResolver& resolver, std::vector<Assets::AssetHandle>::const_iterator from,
                         Assets::AssetHandle handle) {
    std::string message = "Prefab contains itself through nested instances: ";
    for (auto it = from; it != resolver.loading.end(); ++it) {
        message += PrefabLabel(*resolver.assetManager, *it);
        message += " -> ";
    }
    message += PrefabLabel(*resolver.assetManager, handle);
    return message;
}

// Rebuilds each connected nested instance of a freshly loaded prefab against its own
// baseline, so that the prefab shows what its nested prefabs hold today.
bool UpdateNestedInstances(PrefabResolver& resolver, Assets::AssetHandle handle, Scene& scene, std::string* error) {
    std::vector<Assets::AssetHandle>& nested = resolver.nested[handle];
    std::vector<Entity> roots;
    for (const Entity entity : scene.Entities()) {
        if (IsPrefabInstanceRoot(scene, entity) && scene.Get<PrefabInstanceComponent>(entity).connected) {
            roots.push_back(entity);
        }
    }
    for (const Entity root : roots) {
        if (!scene.IsAlive(root)) continue;
        const Assets::AssetHandle prefab = scene.Get<PrefabInstanceComponent>(root).prefab;
        if (std::find(nested.begin(), nested.end(), prefab) == nested.end()) nested.push_back(prefab);
        std::string message;
        const std::shared_ptr<const Scene> baseline = ResolveBaseline(resolver, prefab, &message);
        if (baseline != nullptr &&
            RebuildPrefabInstance(scene, *baseline, root, resolver, &message, PrefabRebuildMode::KeepAdded)) {
            continue;
        }
        if (resolver.cycleFound) {
            SetError(error, message);
            return false;
        }
        Core::Logger::Get().Log(Core::LogCategory::Scene, Core::LogLevel::Warning,
                                "Nested prefab instance in " + PrefabLabel(*resolver.assetManager, handle) +
                                    " was not updated: " + message);
    }
    return true;
}

} // namespace

std::shared_ptr<const Scene> ResolveBaseline(PrefabResolver& resolver, Assets::AssetHandle handle,
                                             std::string* error) {
    if (const auto found = resolver.baselines.find(handle); found != resolver.baselines.end()) return found->second;
    if (const auto onStack = std::find(resolver.loading.begin(), resolver.loading.end(), handle);
        onStack != resolver.loading.end()) {
        resolver.cycleFound = true;
        SetError(error, CycleMessage(resolver, onStack, handle));
        return nullptr;
    }
    std::string key;
    if (!CheckPrefabAsset(*resolver.assetManager, handle, &key, error)) return nullptr;

    auto scene = std::make_shared<Scene>();
    if (resolver.baselineOnly) {
        const std::shared_ptr<const Scene> cached = PrefabBaselineCache::Instance().Find(key);
        if (cached == nullptr) {
            SetError(error, "No baseline for " + PrefabLabel(*resolver.assetManager, handle) + ".");
            return nullptr;
        }
        *scene = *cached;
    } else {
        const std::optional<Assets::AssetRecord> record = resolver.assetManager->GetRegistry().Copy(handle);
        if (!LoadScene(record->sourcePath, *scene, *resolver.assetManager, error)) return nullptr;
    }

    resolver.loading.push_back(handle);
    resolver.nested[handle].clear();
    const bool updated = UpdateNestedInstances(resolver, handle, *scene, error);
    resolver.loading.pop_back();
    if (!updated) return nullptr;
    resolver.cacheKeys[handle] = key;
    return resolver.baselines[handle] = std::move(scene);
}

bool PrefabReaches(PrefabResolver& resolver, Assets::AssetHandle from, Assets::AssetHandle to, std::string* error) {
    std::vector<Assets::AssetHandle> stack{from};
    std::unordered_set<Assets::AssetHandle> visited{from};
    while (!stack.empty()) {
        const Assets::AssetHandle handle = stack.back();
        stack.pop_back();
        if (handle == to) return true;
        std::string message;
        if (ResolveBaseline(resolver, handle, &message) == nullptr) {
            SetError(error, message);
            continue;
        }
        for (const Assets::AssetHandle next : resolver.nested[handle]) {
            if (visited.insert(next).second) stack.push_back(next);
        }
    }
    return false;
}

void PublishBaselines(const PrefabResolver& resolver) {
    for (const auto& [handle, baseline] : resolver.baselines) {
        PrefabBaselineCache::Instance().Store(resolver.cacheKeys.at(handle), baseline);
    }
}

} // namespace Brelk::Scene
