#include "engine/scene/prefabs/PrefabInstance.h"

#include "engine/core/Logger.h"
#include "engine/platform/ErrorText.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/prefabs/PrefabOverrides.h"
#include "engine/scene/prefabs/PrefabResolver.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <typeindex>
#include <unordered_set>

namespace Brelk::Scene {

namespace {

using Reflection::SchemaRecord;

constexpr std::string_view kMissingRoot = "The prefab no longer contains the instance's root entity.";

bool IsTransform(const ComponentTypeEntry& entry) {
    return entry.type == std::type_index(typeid(TransformComponent));
}

Core::Guid DerivedInstanceGuid(const Core::Guid& root, const Core::Guid& source) {
    return Core::Guid::FromName("BrelkPrefabInstance:" + root.ToString() + "/" + source.ToString());
}

// Visits the subtree under `root` parents first, children in order.
template <class Visit>
void WalkSubtree(const Scene& scene, Entity root, Visit&& visit) {
    std::vector<Entity> stack{root};
    while (!stack.empty()) {
        const Entity entity = stack.back();
        stack.pop_back();
        if (!visit(entity)) continue;
        const std::vector<Entity>& children = scene.GetChildren(entity);
        for (auto child = children.rbegin(); child != children.rend(); ++child) stack.push_back(*child);
    }
}

PrefabExpectedInstance BuildExpectedInstance(const Scene& scene, const Scene& baseline, Entity baselineRoot,
                                             const Core::Guid& rootGuid, const CollectedInstance& collected,
                                             const std::unordered_set<Core::Guid>& removed,
                                             const PrefabResolver& resolver) {
    PrefabExpectedInstance expected;
    Scene& working = expected.scene;
    EntityMap copies;
    std::vector<Entity> order;
    WalkSubtree(baseline, baselineRoot, [&](Entity source) {
        const Core::Guid sourceGuid = baseline.GetEntityGuid(source);
        if (!IsSavedEntity(baseline, source) || !sourceGuid.IsValid() || removed.contains(sourceGuid)) return false;
        Core::Guid liveGuid;
        if (source == baselineRoot) {
            liveGuid = rootGuid;
        } else if (const auto found = collected.bySource.find(sourceGuid); found != collected.bySource.end()) {
            liveGuid = scene.GetEntityGuid(found->second);
        } else {
            liveGuid = DerivedInstanceGuid(rootGuid, sourceGuid);
        }
        const Entity copy = working.CreateEntity(baseline.GetName(source));
        working.SetEntityGuid(copy, liveGuid);
        if (const auto* transform = baseline.TryGet<TransformComponent>(source)) {
            working.SetTransform(copy, transform->transform);
        }
        if (source != baselineRoot) working.SetParent(copy, copies.at(baseline.GetParent(source)));
        CopyEntityComponents(baseline, working, source, copy, true, ComponentCopyKind::Transfer);
        // Nested instances are flattened into this one.
        working.Remove<PrefabInstanceComponent>(copy);
        copies.emplace(source, copy);
        order.push_back(source);
        return true;
    });
    RemapEntityReferences(baseline, working, copies, false);

    expected.rows.reserve(order.size());
    for (const Entity source : order) {
        PrefabExpectedEntity& row = expected.rows.emplace_back();
        row.sourceGuid = baseline.GetEntityGuid(source);
        if (source != baselineRoot) row.parentSourceGuid = baseline.GetEntityGuid(baseline.GetParent(source));
        row.entity = copies.at(source);
        row.name = baseline.GetName(source);
        for (const ComponentTypeEntry* entry : resolver.components) {
            if (entry->has(working, row.entity)) {
                row.components.emplace(entry, RenderComponent(resolver, working, row.entity, *entry));
            }
        }
        expected.rowOf.emplace(row.sourceGuid, expected.rows.size() - 1);
    }
    return expected;
}

Entity FindBaselineRoot(const Scene& baseline, const PrefabInstanceComponent& instance) {
    const Entity root = baseline.FindEntityByGuid(instance.sourceEntityGuid);
    if (IsNullEntity(root) || !baseline.IsAlive(root)) throw std::runtime_error(std::string(kMissingRoot));
    return root;
}

// The live entity of a row, or null.
Entity LiveEntityOf(const PrefabExpectedEntity& row, const Core::Guid& rootSource, Entity root,
                    const CollectedInstance& collected) {
    if (row.sourceGuid == rootSource) return root;
    const auto found = collected.bySource.find(row.sourceGuid);
    return found == collected.bySource.end() ? kNullEntity : found->second;
}

std::vector<Core::Guid> GuidsOf(const Scene& scene, const std::vector<Entity>& entities) {
    std::vector<Core::Guid> guids;
    guids.reserve(entities.size());
    for (const Entity entity : entities) guids.push_back(scene.GetEntityGuid(entity));
    return guids;
}

void LogWarning(const std::string& message) {
    Core::Logger::Get().Log(Core::LogCategory::Scene, Core::LogLevel::Warning, message);
}

bool ContainsChange(const std::vector<PrefabComponentChange>& changes, const Core::Guid& guid,
                    const std::string& component) {
    return std::any_of(changes.begin(), changes.end(), [&](const PrefabComponentChange& change) {
        return change.localGuid == guid && change.component == component;
    });
}

// The recorded changes that still have a target, put on the rows of `expected`.
struct SurvivingChanges {
    std::vector<PrefabOverride> overrides;
    std::vector<PrefabComponentChange> addedComponents;
    std::vector<PrefabComponentChange> removedComponents;
    std::vector<Core::Guid> removedEntities;
    std::uint64_t dropped = 0;
};

SurvivingChanges ApplyRecordedChanges(const PrefabInstanceComponent& instance, const Scene& scene,
                                      const Scene& baseline, Entity root, const CollectedInstance& collected,
                                      PrefabExpectedInstance& expected, const PrefabResolver& resolver) {
    SurvivingChanges kept;
    const auto rowOf = [&](const Core::Guid& guid) -> PrefabExpectedEntity* {
        const auto found = expected.rowOf.find(guid);
        return found == expected.rowOf.end() ? nullptr : &expected.rows[found->second];
    };
    const auto entryOf = [&](const std::string& name) -> const ComponentTypeEntry* {
        const auto found = resolver.componentsByName.find(name);
        return found == resolver.componentsByName.end() ? nullptr : found->second;
    };
    for (const PrefabOverride& change : instance.overrides) {
        PrefabExpectedEntity* row = rowOf(change.localGuid);
        if (row == nullptr) {
            ++kept.dropped;
            continue;
        }
        if (change.propertyPath == kPrefabNameOverridePath) {
            row->name = change.value;
            kept.overrides.push_back(change);
            continue;
        }
        const ComponentTypeEntry* entry = entryOf(change.propertyPath.substr(0, change.propertyPath.find('.')));
        const auto component = entry == nullptr ? row->components.end() : row->components.find(entry);
        if (component == row->components.end()) {
            ++kept.dropped;
            continue;
        }
        std::vector<SchemaRecord> records = component->second.records;
        try {
            ApplyOverrideToRecords(records, *entry, change.propertyPath, change.value);
        } catch (const std::exception& e) {
            LogWarning("Prefab override " + change.propertyPath + " no longer applies: " + e.what());
            continue;
        }
        component->second.text = RenderSchemaRecords(records);
        component->second.records = std::move(records);
        kept.overrides.push_back(change);
    }
    for (const PrefabComponentChange& change : instance.removedComponents) {
        PrefabExpectedEntity* row = rowOf(change.localGuid);
        const ComponentTypeEntry* entry = entryOf(change.component);
        if (row == nullptr || entry == nullptr || row->components.erase(entry) == 0) {
            ++kept.dropped;
            continue;
        }
        kept.removedComponents.push_back(change);
    }
    for (const PrefabComponentChange& change : instance.addedComponents) {
        const PrefabExpectedEntity* row = rowOf(change.localGuid);
        const ComponentTypeEntry* entry = entryOf(change.component);
        const Entity live = row == nullptr ? kNullEntity : LiveEntityOf(*row, instance.sourceEntityGuid, root, collected);
        if (entry == nullptr || IsNullEntity(live) || !entry->has(scene, live)) {
            ++kept.dropped;
            continue;
        }
        kept.addedComponents.push_back(change);
    }
    for (const Core::Guid& guid : instance.removedEntities) {
        if (IsNullEntity(baseline.FindEntityByGuid(guid))) {
            ++kept.dropped;
            continue;
        }
        kept.removedEntities.push_back(guid);
    }
    return kept;
}

// One row of a rebuild: the live entity, the records to load onto it and the components
// to take off.
struct RebuildItem {
    const PrefabExpectedEntity* row = nullptr;
    Entity entity = kNullEntity;
    ComponentLoadSession session;
    std::vector<const ComponentTypeEntry*> remove;
};

void RebuildInstance(Scene& scene, const Scene& baseline, Entity root, PrefabResolver& resolver,
                     PrefabRebuildMode mode) {
    const PrefabInstanceComponent instance = scene.Get<PrefabInstanceComponent>(root);
    const Entity baselineRoot = FindBaselineRoot(baseline, instance);
    const Core::Guid rootGuid = scene.GetEntityGuid(root);
    const CollectedInstance collected = CollectInstanceEntities(scene, root);
    const std::unordered_set<Core::Guid> removed(instance.removedEntities.begin(), instance.removedEntities.end());
    PrefabExpectedInstance expected =
        BuildExpectedInstance(scene, baseline, baselineRoot, rootGuid, collected, removed, resolver);
    const SurvivingChanges kept =
        ApplyRecordedChanges(instance, scene, baseline, root, collected, expected, resolver);

    // Everything that can fail on bad data happens before the scene is touched.
    std::vector<RebuildItem> items;
    items.reserve(expected.rows.size());
    for (const PrefabExpectedEntity& row : expected.rows) {
        const bool isRoot = row.sourceGuid == instance.sourceEntityGuid;
        RebuildItem& item = items.emplace_back(RebuildItem{&row, LiveEntityOf(row, instance.sourceEntityGuid, root,
                                                                              collected),
                                                           ComponentLoadSession(resolver.table, resolver.loadContext),
                                                           {}});
        for (const ComponentTypeEntry* entry : resolver.components) {
            if (isRoot && IsTransform(*entry)) continue;
            const bool liveHas = !IsNullEntity(item.entity) && entry->has(scene, item.entity);
            const auto wanted = row.components.find(entry);
            if (wanted == row.components.end()) {
                if (liveHas && !ContainsChange(kept.addedComponents, row.sourceGuid, entry->name)) {
                    item.remove.push_back(entry);
                }
                continue;
            }
            if (liveHas && RenderComponent(resolver, scene, item.entity, *entry).text == wanted->second.text) continue;
            for (SchemaRecord record : wanted->second.records) item.session.ReadRecord(std::move(record));
        }
        item.session.Finish(false);
    }

    for (RebuildItem& item : items) {
        if (!IsNullEntity(item.entity)) continue;
        Core::Guid guid = expected.scene.GetEntityGuid(item.row->entity);
        if (!IsNullEntity(scene.FindEntityByGuid(guid))) guid = Core::Guid::New();
        item.entity = scene.CreateEntity(item.row->name);
        scene.SetEntityGuid(item.entity, guid);
    }
    for (RebuildItem& item : items) {
        if (item.entity == root) continue;
        if (scene.GetName(item.entity) != item.row->name) scene.Get<NameComponent>(item.entity).name = item.row->name;
        const Entity parent = items[expected.rowOf.at(item.row->parentSourceGuid)].entity;
        if (scene.GetParent(item.entity) != parent) scene.SetParent(item.entity, parent);
    }

    std::vector<Entity> doomed;
    for (const auto& [source, entity] : collected.ordered) {
        if (!expected.rowOf.contains(source)) doomed.push_back(entity);
    }
    if (mode == PrefabRebuildMode::RemoveAdded) doomed.insert(doomed.end(), collected.addedTops.begin(), collected.addedTops.end());
    const std::unordered_set<Entity> scheduled(doomed.begin(), doomed.end());
    // What the user added under a part that goes survives, under the nearest part that stays.
    for (const Entity top : collected.addedTops) {
        if (scheduled.contains(top)) continue;
        Entity survivor = scene.GetParent(top);
        while (scheduled.contains(survivor)) survivor = scene.GetParent(survivor);
        if (survivor != scene.GetParent(top)) scene.SetParent(top, survivor);
    }
    for (const Entity entity : doomed) {
        if (scene.IsAlive(entity)) scene.DestroyEntity(entity);
    }

    for (RebuildItem& item : items) {
        item.session.Apply(scene, item.entity);
        for (const ComponentTypeEntry* entry : item.remove) entry->remove(scene, item.entity);
    }
    for (const RebuildItem& item : items) ResolveEntityComponents(resolver.table, scene, item.entity);

    for (const RebuildItem& item : items) {
        PrefabInstanceComponent written;
        written.prefab = instance.prefab;
        written.sourceEntityGuid = item.row->sourceGuid;
        written.instanceRootGuid = rootGuid;
        written.connected = true;
        if (item.entity == root) {
            written.overrides = kept.overrides;
            written.addedComponents = kept.addedComponents;
            written.removedComponents = kept.removedComponents;
            written.removedEntities = kept.removedEntities;
        }
        scene.Emplace<PrefabInstanceComponent>(item.entity, std::move(written));
    }
    scene.Get<PrefabInstanceComponent>(root).addedEntities = GuidsOf(scene, CollectInstanceEntities(scene, root).addedTops);

    if (kept.dropped != 0) {
        LogWarning("Prefab instance '" + scene.GetName(root) + "': dropped " + std::to_string(kept.dropped) +
                   " recorded change(s) whose target no longer exists in the prefab.");
    }
    for (const RebuildItem& item : items) scene.MarkTransformChanged(item.entity);
}

void RecordOverrides(Scene& scene, const Scene& baseline, Entity root, PrefabResolver& resolver) {
    PrefabInstanceComponent& instance = scene.Get<PrefabInstanceComponent>(root);
    const Entity baselineRoot = FindBaselineRoot(baseline, instance);
    const CollectedInstance collected = CollectInstanceEntities(scene, root);
    const PrefabExpectedInstance expected =
        BuildExpectedInstance(scene, baseline, baselineRoot, scene.GetEntityGuid(root), collected, {}, resolver);

    std::vector<PrefabOverride> overrides;
    std::vector<PrefabComponentChange> addedComponents;
    std::vector<PrefabComponentChange> removedComponents;
    std::vector<Core::Guid> removedEntities;
    std::unordered_set<Core::Guid> missing;
    for (const PrefabExpectedEntity& row : expected.rows) {
        const bool isRoot = row.sourceGuid == instance.sourceEntityGuid;
        const Entity live = LiveEntityOf(row, instance.sourceEntityGuid, root, collected);
        if (IsNullEntity(live)) {
            missing.insert(row.sourceGuid);
            // Only the top of a deleted subtree is recorded.
            if (!missing.contains(row.parentSourceGuid)) removedEntities.push_back(row.sourceGuid);
            continue;
        }
        if (!isRoot && scene.GetName(live) != row.name) {
            overrides.push_back({row.sourceGuid, std::string(kPrefabNameOverridePath), scene.GetName(live)});
        }
        for (const ComponentTypeEntry* entry : resolver.components) {
            if (isRoot && IsTransform(*entry)) continue;
            const auto wanted = row.components.find(entry);
            const bool liveHas = entry->has(scene, live);
            if (!liveHas) {
                if (wanted != row.components.end()) removedComponents.push_back({row.sourceGuid, entry->name});
                continue;
            }
            if (wanted == row.components.end()) {
                addedComponents.push_back({row.sourceGuid, entry->name});
                continue;
            }
            const PrefabComponentText current = RenderComponent(resolver, scene, live, *entry);
            DiffComponentRecords(*entry, row.sourceGuid, wanted->second.records, wanted->second.text, current.records,
                                 current.text, overrides);
        }
    }
    instance.overrides = std::move(overrides);
    instance.addedComponents = std::move(addedComponents);
    instance.removedComponents = std::move(removedComponents);
    instance.removedEntities = std::move(removedEntities);
    instance.addedEntities = GuidsOf(scene, collected.addedTops);
}

} // namespace

bool IsPrefabInstanceRoot(const Registry& registry, Entity entity) {
    const auto* instance = registry.TryGet<PrefabInstanceComponent>(entity);
    const auto* guid = registry.TryGet<EntityGuidComponent>(entity);
    return instance != nullptr && guid != nullptr && guid->guid.IsValid() && guid->guid == instance->instanceRootGuid;
}

CollectedInstance CollectInstanceEntities(const Scene& scene, Entity root) {
    CollectedInstance collected;
    const Core::Guid rootGuid = scene.GetEntityGuid(root);
    struct Step {
        Entity entity;
        bool parentInInstance;
        bool underAdded;
    };
    std::vector<Step> stack{{root, false, false}};
    while (!stack.empty()) {
        const Step step = stack.back();
        stack.pop_back();
        if (!IsSavedEntity(scene, step.entity)) continue;
        bool added = step.underAdded;
        if (!added) {
            const auto* instance = scene.TryGet<PrefabInstanceComponent>(step.entity);
            added = instance == nullptr || instance->instanceRootGuid != rootGuid ||
                    !instance->sourceEntityGuid.IsValid() ||
                    !collected.bySource.emplace(instance->sourceEntityGuid, step.entity).second;
            if (!added) collected.ordered.emplace_back(instance->sourceEntityGuid, step.entity);
        }
        if (added) {
            collected.added.push_back(step.entity);
            if (step.parentInInstance) collected.addedTops.push_back(step.entity);
        }
        const std::vector<Entity>& children = scene.GetChildren(step.entity);
        for (auto child = children.rbegin(); child != children.rend(); ++child) stack.push_back({*child, !added, added});
    }
    return collected;
}

PrefabComponentText RenderComponent(const PrefabResolver& resolver, const Registry& registry, Entity entity,
                                    const ComponentTypeEntry& entry) {
    PrefabComponentText rendered;
    const void* component = entry.getConst(registry, entity);
    if (component == nullptr) return rendered;
    entry.save(component, ComponentSaveContext{registry, entity, &resolver.codec}, rendered.records);
    rendered.text = RenderSchemaRecords(rendered.records);
    return rendered;
}

bool RecordPrefabOverrides(Scene& scene, const Scene& baseline, Entity root, PrefabResolver& resolver,
                           std::string* error) {
    try {
        RecordOverrides(scene, baseline, root, resolver);
        return true;
    } catch (const std::exception& e) {
        SetError(error, e.what() == kMissingRoot ? std::string(kMissingRoot)
                                                 : std::string("Failed to record prefab overrides: ") + e.what());
        return false;
    }
}

bool RebuildPrefabInstance(Scene& scene, const Scene& baseline, Entity root, PrefabResolver& resolver,
                           std::string* error, PrefabRebuildMode mode) {
    try {
        RebuildInstance(scene, baseline, root, resolver, mode);
        return true;
    } catch (const std::exception& e) {
        SetError(error, e.what() == kMissingRoot ? std::string(kMissingRoot)
                                                 : std::string("Failed to rebuild prefab instance: ") + e.what());
        return false;
    }
}

Entity CopySubtree(const Scene& scene, Scene& target, Entity root, EntityMap& copies, Entity targetParent) {
    std::unordered_set<Core::Guid> inside;
    WalkSubtree(scene, root, [&](Entity entity) {
        if (!IsSavedEntity(scene, entity)) return false;
        inside.insert(scene.GetEntityGuid(entity));
        return true;
    });
    Entity first = kNullEntity;
    WalkSubtree(scene, root, [&](Entity source) {
        if (!IsSavedEntity(scene, source)) return false;
        const Entity copy = target.CreateEntity(scene.GetName(source));
        const Core::Guid guid = scene.GetEntityGuid(source);
        if (guid.IsValid() && IsNullEntity(target.FindEntityByGuid(guid))) target.SetEntityGuid(copy, guid);
        if (const auto* transform = scene.TryGet<TransformComponent>(source)) {
            target.SetTransform(copy, transform->transform);
        }
        CopyEntityComponents(scene, target, source, copy, true, ComponentCopyKind::Transfer);
        if (const auto* instance = target.TryGet<PrefabInstanceComponent>(copy);
            instance != nullptr && !inside.contains(instance->instanceRootGuid)) {
            target.Remove<PrefabInstanceComponent>(copy);
        }
        target.SetParent(copy, source == root ? targetParent : copies.at(scene.GetParent(source)));
        copies[source] = copy;
        if (IsNullEntity(first)) first = copy;
        return true;
    });
    return first;
}

} // namespace Brelk::Scene
