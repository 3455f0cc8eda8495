#include "engine/scene/prefabs/Prefabs.h"

#include "engine/assets/AssetManager.h"
#include "engine/core/Logger.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/prefabs/PrefabInstance.h"
#include "engine/scene/prefabs/PrefabResolver.h"

#include <algorithm>
#include <system_error>
#include <unordered_set>

namespace Brelk::Scene {

namespace {

void LogWarning(const std::string& message) {
    Core::Logger::Get().Log(Core::LogCategory::Scene, Core::LogLevel::Warning, message);
}

// Letter case aside, as the asset registry tells types by extension.
bool HasExtension(const std::filesystem::path& path, std::string_view wanted) {
    const std::string text = Platform::PathToUtf8(path.extension());
    return std::equal(text.begin(), text.end(), wanted.begin(), wanted.end(),
                      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? char(a - 'A' + 'a') : a) == b; });
}

// The prefabs of the instances rooted inside a set of entities, each once.
std::vector<Assets::AssetHandle> NestedPrefabsOf(const Scene& scene, const std::vector<Entity>& entities) {
    std::vector<Assets::AssetHandle> prefabs;
    for (const Entity entity : entities) {
        if (!IsPrefabInstanceRoot(scene, entity)) continue;
        const auto& instance = scene.Get<PrefabInstanceComponent>(entity);
        if (!instance.connected) continue;
        if (std::find(prefabs.begin(), prefabs.end(), instance.prefab) == prefabs.end()) {
            prefabs.push_back(instance.prefab);
        }
    }
    return prefabs;
}

bool AnyReaches(PrefabResolver& resolver, const std::vector<Assets::AssetHandle>& from, Assets::AssetHandle to) {
    return std::any_of(from.begin(), from.end(),
                       [&](Assets::AssetHandle handle) { return PrefabReaches(resolver, handle, to, nullptr); });
}

std::vector<Entity> SavedSubtree(const Scene& scene, Entity root) {
    std::vector<Entity> entities;
    std::vector<Entity> stack{root};
    while (!stack.empty()) {
        const Entity entity = stack.back();
        stack.pop_back();
        if (!IsSavedEntity(scene, entity)) continue;
        entities.push_back(entity);
        const std::vector<Entity>& children = scene.GetChildren(entity);
        stack.insert(stack.end(), children.rbegin(), children.rend());
    }
    return entities;
}

bool ApplyInstance(Scene& scene, Assets::AssetManager& assetManager, Entity entity, std::string* error) {
    Entity root = kNullEntity;
    if (!ResolvePrefabInstance(scene, entity, root, error)) return false;
    const PrefabInstanceComponent instance = scene.Get<PrefabInstanceComponent>(root);
    if (!CheckPrefabAsset(assetManager, instance.prefab, nullptr, error)) return false;
    const std::filesystem::path path = assetManager.GetRegistry().Copy(instance.prefab)->sourcePath;

    PrefabResolver resolver(assetManager);
    const std::shared_ptr<const Scene> baseline = ResolveBaseline(resolver, instance.prefab, error);
    if (baseline == nullptr) return false;
    const CollectedInstance collected = CollectInstanceEntities(scene, root);
    if (AnyReaches(resolver, NestedPrefabsOf(scene, collected.added), instance.prefab)) {
        SetError(error, "A prefab cannot contain an instance of itself: " + PrefabLabel(assetManager, instance.prefab));
        return false;
    }
    // Other instances that see this prefab keep their own changes across the new file.
    for (const Core::Guid& guid : PrefabGuidsOfInstances(scene)) {
        const Entity other = scene.FindEntityByGuid(guid);
        if (other == root) continue;
        const Assets::AssetHandle prefab = scene.Get<PrefabInstanceComponent>(other).prefab;
        if (!PrefabReaches(resolver, prefab, instance.prefab, nullptr)) continue;
        if (const auto otherBaseline = ResolveBaseline(resolver, prefab, nullptr)) {
            (void)RecordPrefabOverrides(scene, *otherBaseline, other, resolver, nullptr);
        }
    }

    Scene next = *baseline;
    const Entity nextRoot = next.FindEntityByGuid(instance.sourceEntityGuid);
    if (IsNullEntity(nextRoot)) {
        SetError(error, "The prefab no longer contains the instance's root entity.");
        return false;
    }
    std::vector<const ComponentTypeEntry*> carried;
    for (const ComponentTypeEntry* entry : resolver.components) {
        if (entry->saved && !entry->HasFlag(ComponentFlags::Required) && !entry->HasFlag(ComponentFlags::RuntimeOnly)) {
            carried.push_back(entry);
        }
    }
    EntityMap toNext;
    std::vector<Entity> mapped;
    for (const auto& [source, live] : collected.ordered) {
        const Entity target = next.FindEntityByGuid(source);
        if (IsNullEntity(target)) continue;
        toNext[live] = target;
        mapped.push_back(live);
        if (target != nextRoot) {
            next.Get<NameComponent>(target).name = scene.GetName(live);
            next.SetTransform(target, scene.Get<TransformComponent>(live).transform);
        }
        for (const ComponentTypeEntry* entry : carried) {
            entry->remove(next, target);
            entry->copyAcross(scene, next, live, target, ComponentCopyKind::Transfer);
        }
    }
    for (const Entity top : collected.addedTops) {
        const auto parent = toNext.find(scene.GetParent(top));
        (void)CopySubtree(scene, next, top, toNext, parent == toNext.end() ? nextRoot : parent->second);
    }
    for (const auto& [live, target] : toNext) {
        if (target == nextRoot) continue;
        const auto parent = toNext.find(scene.GetParent(live));
        if (parent != toNext.end() && next.GetParent(target) != parent->second) next.SetParent(target, parent->second);
    }
    RemapEntityReferences(scene, next, toNext, false);

    // What the user deleted from the instance leaves the prefab.
    std::unordered_set<Entity> kept;
    for (const auto& [live, target] : toNext) kept.insert(target);
    std::vector<Entity> gone;
    for (const Entity candidate : SavedSubtree(next, nextRoot)) {
        if (!kept.contains(candidate)) gone.push_back(candidate);
    }
    for (const Entity doomed : gone) {
        if (next.IsAlive(doomed)) next.DestroyEntity(doomed);
    }

    for (const Entity nestedRoot : std::vector<Entity>(next.Entities())) {
        if (!IsPrefabInstanceRoot(next, nestedRoot)) continue;
        const auto& nested = next.Get<PrefabInstanceComponent>(nestedRoot);
        if (!nested.connected) continue;
        const std::shared_ptr<const Scene> nestedBaseline = ResolveBaseline(resolver, nested.prefab, error);
        if (nestedBaseline == nullptr || !RecordPrefabOverrides(next, *nestedBaseline, nestedRoot, resolver, error)) {
            return false;
        }
    }
    if (!SaveScene(path, next, assetManager, error)) return false;

    for (const auto& [live, target] : toNext) {
        PrefabInstanceComponent written;
        written.prefab = instance.prefab;
        written.sourceEntityGuid = next.GetEntityGuid(target);
        written.instanceRootGuid = instance.instanceRootGuid;
        written.connected = true;
        scene.Emplace<PrefabInstanceComponent>(live, std::move(written));
    }

    std::string message;
    const std::vector<Core::Guid> roots = PrefabGuidsOfInstances(scene);
    (void)UpdatePrefabInstances(scene, assetManager, roots, instance.prefab, false, &message);
    if (!message.empty()) LogWarning("Prefab applied; some instances were not updated: " + message);
    return true;
}

} // namespace

std::vector<Core::Guid> PrefabGuidsOfInstances(const Scene& scene) {
    std::vector<Core::Guid> guids;
    for (const Entity entity : scene.Entities()) {
        if (IsPrefabInstanceRoot(scene, entity) && scene.Get<PrefabInstanceComponent>(entity).connected) {
            guids.push_back(scene.GetEntityGuid(entity));
        }
    }
    return guids;
}

bool ResolvePrefabInstance(const Scene& scene, Entity entity, Entity& root, std::string* error) {
    const auto* instance = scene.IsAlive(entity) ? scene.TryGet<PrefabInstanceComponent>(entity) : nullptr;
    const Entity found = instance == nullptr ? kNullEntity : scene.FindEntityByGuid(instance->instanceRootGuid);
    if (IsNullEntity(found) || !IsPrefabInstanceRoot(scene, found)) {
        SetError(error, "Selected entity is not part of a prefab instance.");
        return false;
    }
    if (!scene.Get<PrefabInstanceComponent>(found).connected) {
        SetError(error, "The prefab instance is disconnected from its prefab.");
        return false;
    }
    root = found;
    return true;
}

void PrefabBaselines(const Scene& scene, const Assets::AssetManager& assetManager) {
    PrefabResolver resolver(assetManager);
    for (const Core::Guid& guid : PrefabGuidsOfInstances(scene)) {
        const Entity root = scene.FindEntityByGuid(guid);
        (void)ResolveBaseline(resolver, scene.Get<PrefabInstanceComponent>(root).prefab, nullptr);
    }
    PublishBaselines(resolver);
}

std::vector<Entity> InstantiatePrefab(Scene& scene, Assets::AssetManager& assetManager, Assets::AssetHandle prefab,
                                      Entity parent, std::string* error) {
    PrefabResolver resolver(assetManager);
    const std::shared_ptr<const Scene> baseline = ResolveBaseline(resolver, prefab, error);
    if (baseline == nullptr) return {};
    std::vector<Entity> roots;
    for (const Entity source : baseline->Entities()) {
        if (!IsSavedEntity(*baseline, source) || !IsNullEntity(baseline->GetParent(source))) continue;
        const Entity root = scene.CreateEntity(baseline->GetName(source));
        roots.push_back(root);
        if (const auto* transform = baseline->TryGet<TransformComponent>(source)) {
            scene.SetTransform(root, transform->transform);
        }
        PrefabInstanceComponent instance;
        instance.prefab = prefab;
        instance.sourceEntityGuid = baseline->GetEntityGuid(source);
        instance.instanceRootGuid = scene.GetEntityGuid(root);
        scene.Emplace<PrefabInstanceComponent>(root, std::move(instance));
        if (!IsNullEntity(parent)) scene.SetParent(root, parent);
        if (!RebuildPrefabInstance(scene, *baseline, root, resolver, error, PrefabRebuildMode::KeepAdded)) {
            for (const Entity made : roots) {
                if (scene.IsAlive(made)) scene.DestroyEntity(made);
            }
            return {};
        }
    }
    // These instances were built from this baseline: a later update compares against it.
    PublishBaselines(resolver);
    return roots;
}

bool RecordInstanceChanges(Scene& scene, Assets::AssetManager& assetManager, Entity entity, std::string* error) {
    Entity root = kNullEntity;
    if (!ResolvePrefabInstance(scene, entity, root, error)) return false;
    PrefabResolver resolver(assetManager);
    const auto baseline = ResolveBaseline(resolver, scene.Get<PrefabInstanceComponent>(root).prefab, error);
    return baseline != nullptr && RecordPrefabOverrides(scene, *baseline, root, resolver, error);
}

bool RevertPrefabInstance(Scene& scene, Assets::AssetManager& assetManager, Entity entity, std::string* error) {
    Entity root = kNullEntity;
    if (!ResolvePrefabInstance(scene, entity, root, error)) return false;
    PrefabResolver resolver(assetManager);
    auto& instance = scene.Get<PrefabInstanceComponent>(root);
    const auto baseline = ResolveBaseline(resolver, instance.prefab, error);
    if (baseline == nullptr) return false;
    instance.overrides.clear();
    instance.addedComponents.clear();
    instance.removedComponents.clear();
    instance.addedEntities.clear();
    instance.removedEntities.clear();
    if (!RebuildPrefabInstance(scene, *baseline, root, resolver, error, PrefabRebuildMode::RemoveAdded)) return false;
    PublishBaselines(resolver);
    return true;
}

bool ApplyPrefabInstance(Scene& scene, Assets::AssetManager& assetManager, Entity entity, std::string* error) {
    try {
        return ApplyInstance(scene, assetManager, entity, error);
    } catch (const std::exception& e) {
        SetError(error, std::string("Failed to apply prefab instance: ") + e.what());
        return false;
    }
}

std::uint64_t UpdatePrefabInstances(Scene& scene, Assets::AssetManager& assetManager,
                                    std::span<const Core::Guid> roots, Assets::AssetHandle changed, bool recordFirst,
                                    std::string* error) {
    PrefabResolver files(assetManager);
    PrefabResolver lastBuilt(assetManager, true);
    std::uint64_t rebuilt = 0;
    for (const Core::Guid& guid : roots) {
        const Entity root = scene.FindEntityByGuid(guid);
        if (IsNullEntity(root) || !IsPrefabInstanceRoot(scene, root)) continue;
        const Assets::AssetHandle prefab = scene.Get<PrefabInstanceComponent>(root).prefab;
        if (!scene.Get<PrefabInstanceComponent>(root).connected) continue;
        if (changed != Assets::kNullAssetHandle && !PrefabReaches(files, prefab, changed, nullptr)) continue;
        if (recordFirst) {
            if (const auto previous = ResolveBaseline(lastBuilt, prefab, nullptr)) {
                (void)RecordPrefabOverrides(scene, *previous, root, lastBuilt, nullptr);
            }
        }
        std::string message;
        const auto baseline = ResolveBaseline(files, prefab, &message);
        if (baseline != nullptr &&
            RebuildPrefabInstance(scene, *baseline, root, files, &message, PrefabRebuildMode::KeepAdded)) {
            ++rebuilt;
            continue;
        }
        LogWarning("Prefab instance '" + scene.GetName(root) + "' was not updated: " + message);
        SetError(error, message);
    }
    PublishBaselines(files);
    return rebuilt;
}

bool CreatePrefabFromEntity(Scene& scene, Assets::AssetManager& assetManager, Entity entity,
                            const std::filesystem::path& path, std::string* error) {
    if (!scene.IsAlive(entity)) {
        SetError(error, "Cannot create prefab from an invalid entity.");
        return false;
    }
    std::filesystem::path target = path;
    const bool isEffect = HasExtension(target, ".bvfx");
    if (!isEffect && !HasExtension(target, ".bprefab")) target.replace_extension(".bprefab");

    const std::vector<Entity> subtree = SavedSubtree(scene, entity);
    Assets::AssetRegistry& registry = assetManager.GetRegistry();
    if (const Assets::AssetHandle existing = registry.HandleOfPath(target); existing != Assets::kNullAssetHandle) {
        PrefabResolver resolver(assetManager);
        if (AnyReaches(resolver, NestedPrefabsOf(scene, subtree), existing)) {
            SetError(error, "A prefab cannot contain an instance of itself: " + Platform::PathToUtf8(target.filename()));
            return false;
        }
    }
    std::error_code failure;
    if (target.has_parent_path()) std::filesystem::create_directories(target.parent_path(), failure);
    if (failure) {
        SetError(error, "Failed to create prefab folder: " + failure.message());
        return false;
    }
    Scene prefab;
    EntityMap copies;
    (void)CopySubtree(scene, prefab, entity, copies, kNullEntity);
    RemapEntityReferences(scene, prefab, copies, false);
    if (!SaveScene(target, prefab, assetManager, error)) return false;
    (void)registry.RegisterFile(isEffect ? Assets::AssetType::Vfx : Assets::AssetType::Prefab, target);
    return true;
}

} // namespace Brelk::Scene
