#include "engine/scene/Scene.h"

#include "engine/scene/InstallComponents.h"
#include "engine/scene/components/LightComponents.h"
#include "engine/scene/components/RenderComponents.h"

#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/quaternion.hpp>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace Brelk::Scene {

namespace {

// Degrees to radians as the engine has always rounded it; matrices in files depend on it.
constexpr float kDegreesToRadians = 0.017453292f;

const std::vector<Entity>& EmptyChildren() {
    static const std::vector<Entity> empty;
    return empty;
}

const std::string& EmptyName() {
    static const std::string empty;
    return empty;
}

void EraseEvery(std::vector<Entity>& children, Entity entity) {
    children.erase(std::remove(children.begin(), children.end(), entity), children.end());
}

} // namespace

glm::mat4 LocalMatrix(const Transform& transform) {
    const glm::quat rotation(transform.rotation * kDegreesToRadians);
    const glm::mat4 identity(1.0f);
    return glm::translate(identity, transform.position) * glm::mat4_cast(rotation) *
           glm::scale(identity, transform.scale);
}

Scene::Scene() {
    InstallComponents();
}

// --- Entities ------------------------------------------------------------------------------

Entity Scene::CreateEntity(const std::string& name) {
    const Entity entity = Registry::CreateEntity();
    Emplace<NameComponent>(entity, NameComponent{name});
    Emplace<EntityGuidComponent>(entity, EntityGuidComponent{Core::Guid::New()});
    // A storage may still hold a component of an older handle of this slot's index; it is
    // replaced rather than added beside it.
    if (TransformComponent* transform = TryGet<TransformComponent>(entity)) {
        *transform = TransformComponent{};
    } else {
        Emplace<TransformComponent>(entity, TransformComponent{});
    }
    Emplace<HierarchyComponent>(entity, HierarchyComponent{});
    ++structureRevision;
    MarkTransformChanged(entity);
    ++sceneRevision;
    return entity;
}

Entity Scene::CreateEntity(Entity wanted, const std::string& name, const Core::Guid& guid, std::uint64_t position) {
    Entity entity = kNullEntity;
    if (!IsNullEntity(wanted) && !IsAlive(wanted) && RestoreEntity(wanted, position)) {
        entity = wanted;
    } else {
        entity = Registry::CreateEntity();
    }
    Emplace<NameComponent>(entity, NameComponent{name});
    Emplace<EntityGuidComponent>(entity, EntityGuidComponent{guid});
    if (TransformComponent* transform = TryGet<TransformComponent>(entity)) {
        *transform = TransformComponent{};
    } else {
        Emplace<TransformComponent>(entity, TransformComponent{});
    }
    Emplace<HierarchyComponent>(entity, HierarchyComponent{});
    ++structureRevision;
    MarkEverythingChanged();
    return entity;
}

void Scene::DestroyEntity(Entity entity) {
    if (!IsAlive(entity)) {
        return;
    }
    if (const HierarchyComponent* hierarchy = TryGet<HierarchyComponent>(entity)) {
        // Each child's destruction edits this very vector, so walk a copy.
        const std::vector<Entity> children = hierarchy->children;
        for (Entity child : children) {
            DestroyEntity(child);
        }
    }
    if (const HierarchyComponent* hierarchy = TryGet<HierarchyComponent>(entity)) {
        const Entity parent = hierarchy->parent;
        if (parent != kNullEntity && IsAlive(parent)) {
            if (HierarchyComponent* parentHierarchy = TryGet<HierarchyComponent>(parent)) {
                EraseEvery(parentHierarchy->children, entity);
            }
        }
    }
    Registry::DestroyEntity(entity);
    transformLog.changed.erase(entity);
    hierarchyLog.changed.erase(entity);
    ++structureRevision;
    ++transformLog.revision;
    ++sceneRevision;
}

void Scene::Clear() {
    Registry::Clear();
    ResetState();
}

void Scene::ResetState() {
    transformLog = SceneChangeLog{};
    hierarchyLog = SceneChangeLog{};
    sceneRevision = 1;
    structureRevision = 1;
    worldCacheRevision = 0;
    worldCache.clear();
    allTransformsDirty = true;
    dirtyRoots.clear();
    environment = EnvironmentSettings{};
}

namespace {

Transform Placement(glm::vec3 position, glm::vec3 rotationDegrees) {
    Transform transform;
    transform.position = position;
    transform.rotation = rotationDegrees;
    return transform;
}

} // namespace

Entity Scene::CreateCamera(const std::string& name, bool primary) {
    const Entity entity = CreateEntity(name);
    Get<TransformComponent>(entity).transform = Placement({0.0f, 0.0f, 6.0f}, {0.0f, 0.0f, 0.0f});
    CameraComponent camera;
    camera.primary = primary;
    Emplace<CameraComponent>(entity, camera);
    MarkAllTransformsChanged();
    return entity;
}

Entity Scene::CreatePrimaryCamera(const std::string& name) {
    return CreateCamera(name, true);
}

Entity Scene::CreateDirectionalLight(const std::string& name) {
    const Entity entity = CreateEntity(name);
    Get<TransformComponent>(entity).transform = Placement({3.0f, 4.0f, 3.0f}, {-45.0f, 45.0f, 0.0f});
    Emplace<DirectionalLightComponent>(entity, DirectionalLightComponent{});
    MarkAllTransformsChanged();
    return entity;
}

Entity Scene::CreatePointLight(const std::string& name) {
    const Entity entity = CreateEntity(name);
    Get<TransformComponent>(entity).transform = Placement({0.0f, 2.0f, 0.0f}, {0.0f, 0.0f, 0.0f});
    Emplace<PointLightComponent>(entity, PointLightComponent{});
    MarkAllTransformsChanged();
    return entity;
}

Entity Scene::CreateSpotLight(const std::string& name) {
    const Entity entity = CreateEntity(name);
    Get<TransformComponent>(entity).transform = Placement({0.0f, 3.0f, 3.0f}, {-35.0f, 180.0f, 0.0f});
    Emplace<SpotLightComponent>(entity, SpotLightComponent{});
    MarkAllTransformsChanged();
    return entity;
}

// --- Hierarchy -----------------------------------------------------------------------------

void Scene::SetParent(Entity child, Entity parent) {
    if (!IsAlive(child)) {
        return;
    }
    HierarchyComponent* hierarchy = TryGet<HierarchyComponent>(child);
    if (hierarchy == nullptr || hierarchy->parent == parent) {
        return;
    }
    const Entity oldParent = hierarchy->parent;
    if (oldParent != kNullEntity && IsAlive(oldParent)) {
        if (HierarchyComponent* oldHierarchy = TryGet<HierarchyComponent>(oldParent)) {
            EraseEvery(oldHierarchy->children, child);
        }
    }
    hierarchy->parent = parent;
    if (parent != kNullEntity && IsAlive(parent)) {
        if (HierarchyComponent* newHierarchy = TryGet<HierarchyComponent>(parent)) {
            if (std::find(newHierarchy->children.begin(), newHierarchy->children.end(), child) ==
                newHierarchy->children.end()) {
                newHierarchy->children.push_back(child);
            }
        }
    }
    ++structureRevision;
    MarkTransformChanged(child);
    hierarchyLog.changed[child] = ++hierarchyLog.revision;
    ++sceneRevision;
}

Entity Scene::GetParent(Entity entity) const {
    if (!IsAlive(entity)) {
        return kNullEntity;
    }
    const HierarchyComponent* hierarchy = TryGet<HierarchyComponent>(entity);
    return hierarchy != nullptr ? hierarchy->parent : kNullEntity;
}

const std::vector<Entity>& Scene::GetChildren(Entity entity) const {
    if (!IsAlive(entity)) {
        return EmptyChildren();
    }
    const HierarchyComponent* hierarchy = TryGet<HierarchyComponent>(entity);
    return hierarchy != nullptr ? hierarchy->children : EmptyChildren();
}

// --- Identity ------------------------------------------------------------------------------

void Scene::SetEntityGuid(Entity entity, const Core::Guid& guid) {
    if (IsAlive(entity)) {
        Emplace<EntityGuidComponent>(entity, EntityGuidComponent{guid});
    }
}

Core::Guid Scene::GetEntityGuid(Entity entity) const {
    if (!IsAlive(entity)) {
        return {};
    }
    const EntityGuidComponent* guid = TryGet<EntityGuidComponent>(entity);
    return guid != nullptr ? guid->guid : Core::Guid{};
}

const std::string& Scene::GetName(Entity entity) const {
    if (!IsAlive(entity)) {
        return EmptyName();
    }
    const NameComponent* name = TryGet<NameComponent>(entity);
    return name != nullptr ? name->name : EmptyName();
}

EntityRef Scene::MakeEntityRef(Entity entity) const {
    const Core::Guid guid = GetEntityGuid(entity);
    if (!guid.IsValid()) {
        return {};
    }
    return EntityRef{guid, entity};
}

Entity Scene::ResolveEntityRef(EntityRef& ref) const {
    if (!ref.guid.IsValid()) {
        ref.cachedEntity = kNullEntity;
        return kNullEntity;
    }
    if (IsAlive(ref.cachedEntity)) {
        const EntityGuidComponent* guid = TryGet<EntityGuidComponent>(ref.cachedEntity);
        if (guid != nullptr && guid->guid == ref.guid) {
            return ref.cachedEntity;
        }
    }
    ref.cachedEntity = FindEntityByGuid(ref.guid);
    return ref.cachedEntity;
}

// --- Transforms ----------------------------------------------------------------------------

void Scene::SetTransform(Entity entity, const Transform& transform) {
    if (!IsAlive(entity)) {
        return;
    }
    TransformComponent* component = TryGet<TransformComponent>(entity);
    if (component == nullptr) {
        return;
    }
    component->transform = transform;
    MarkTransformChanged(entity);
    ++sceneRevision;
}

bool Scene::HasTransformAlive(Entity entity) const {
    return entity != kNullEntity && IsAlive(entity) && Has<TransformComponent>(entity);
}

void Scene::MarkTransformChanged(Entity entity) {
    transformLog.changed[entity] = ++transformLog.revision;
    if (allTransformsDirty) {
        return;
    }
    if (HasTransformAlive(entity)) {
        if (std::find(dirtyRoots.begin(), dirtyRoots.end(), entity) == dirtyRoots.end()) {
            dirtyRoots.push_back(entity);
        }
        return;
    }
    allTransformsDirty = true;
    dirtyRoots.clear();
}

void Scene::MarkAllTransformsChanged() {
    transformLog.floor = ++transformLog.revision;
    transformLog.changed.clear();
    allTransformsDirty = true;
    dirtyRoots.clear();
}

void Scene::MarkEverythingChanged() {
    MarkAllTransformsChanged();
    hierarchyLog.floor = ++hierarchyLog.revision;
    hierarchyLog.changed.clear();
    ++sceneRevision;
}

void Scene::ClearDirtyTransforms() noexcept {
    allTransformsDirty = false;
    dirtyRoots.clear();
}

SceneChangeSet Scene::ChangedRootsSince(std::uint64_t revision) const {
    SceneChangeSet result;
    result.revision = transformLog.revision;
    if (revision == 0 || revision < transformLog.floor) {
        result.full = true;
        return result;
    }
    if (revision >= transformLog.revision) {
        return result;
    }
    std::vector<std::pair<std::uint64_t, Entity>> candidates;
    std::unordered_set<Entity> changed;
    for (const auto& [entity, changedAt] : transformLog.changed) {
        if (changedAt > revision && HasTransformAlive(entity)) {
            candidates.emplace_back(changedAt, entity);
            changed.insert(entity);
        }
    }
    // Answer in order of change, so that the result doesn't depend on hashing.
    std::sort(candidates.begin(), candidates.end());
    const std::size_t walkLimit = Entities().size();
    for (const auto& [changedAt, entity] : candidates) {
        bool covered = false;
        Entity parent = GetParent(entity);
        for (std::size_t steps = 0; parent != kNullEntity && IsAlive(parent) && steps < walkLimit; ++steps) {
            if (changed.count(parent) != 0) {
                covered = true;
                break;
            }
            parent = GetParent(parent);
        }
        if (!covered) {
            result.entities.push_back(entity);
        }
    }
    return result;
}

WorldTransformEntry& Scene::CacheEntry(Entity entity) {
    const std::size_t index = EntityIndex(entity);
    if (worldCache.size() <= index) {
        worldCache.resize(index + 1);
    }
    WorldTransformEntry& entry = worldCache[index];
    if (entry.owner != entity) {
        entry = WorldTransformEntry{glm::mat4(1.0f), 0, entity};
    }
    return entry;
}

const glm::mat4& Scene::RefreshChain(Entity entity) {
    // One scratch vector per thread: scenes on different threads may be read at once.
    thread_local std::vector<Entity> chain;
    chain.clear();
    const std::size_t walkLimit = Entities().size();
    for (Entity current = entity; HasTransformAlive(current) && chain.size() <= walkLimit;
         current = GetParent(current)) {
        chain.push_back(current);
    }
    std::uint64_t required = transformLog.floor;
    glm::mat4 parentWorld(1.0f);
    WorldTransformEntry* entry = nullptr;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        const Entity current = *it;
        if (auto changed = transformLog.changed.find(current); changed != transformLog.changed.end()) {
            required = std::max(required, changed->second);
        }
        entry = &CacheEntry(current);
        if (entry->revision < required) {
            entry->world = parentWorld * LocalMatrix(Get<TransformComponent>(current).transform);
            entry->revision = transformLog.revision;
        }
        parentWorld = entry->world;
    }
    return entry->world;
}

glm::mat4 Scene::GetWorldMatrix(Entity entity) {
    if (!HasTransformAlive(entity)) {
        return glm::mat4(1.0f);
    }
    return RefreshChain(entity);
}

void Scene::WalkSubtree(Entity root, const glm::mat4& parentWorld) {
    std::vector<std::pair<Entity, glm::mat4>> stack;
    stack.emplace_back(root, parentWorld);
    while (!stack.empty()) {
        const auto [entity, parentMatrix] = stack.back();
        stack.pop_back();
        if (!HasTransformAlive(entity)) {
            continue;
        }
        WorldTransformEntry& entry = CacheEntry(entity);
        entry.world = parentMatrix * LocalMatrix(Get<TransformComponent>(entity).transform);
        entry.revision = transformLog.revision;
        if (const HierarchyComponent* hierarchy = TryGet<HierarchyComponent>(entity)) {
            const glm::mat4 world = entry.world;
            // Reversed, so that the first child comes off the stack first.
            for (auto child = hierarchy->children.rbegin(); child != hierarchy->children.rend(); ++child) {
                stack.emplace_back(*child, world);
            }
        }
    }
}

void Scene::RefreshWorldTransforms() {
    if (worldCacheRevision == transformLog.revision) {
        return;
    }
    const SceneChangeSet changes = ChangedRootsSince(worldCacheRevision);
    if (!changes.full && !worldCache.empty()) {
        for (Entity root : changes.entities) {
            glm::mat4 parentWorld(1.0f);
            const Entity parent = GetParent(root);
            if (HasTransformAlive(parent)) {
                parentWorld = CacheEntry(parent).world;
            }
            WalkSubtree(root, parentWorld);
        }
        worldCacheRevision = transformLog.revision;
        return;
    }

    worldCache.clear();
    std::size_t largestIndex = 0;
    for (Entity entity : Entities()) {
        largestIndex = std::max<std::size_t>(largestIndex, EntityIndex(entity));
    }
    worldCache.resize(largestIndex + 1);
    const Storage<TransformComponent>* transforms = FindStorage<TransformComponent>();
    if (transforms != nullptr) {
        // A copy: the walk may not change storages, but the dense order must be the one
        // seen at the start.
        const std::vector<Entity> dense = transforms->Entities();
        for (Entity entity : dense) {
            const HierarchyComponent* hierarchy = TryGet<HierarchyComponent>(entity);
            if (hierarchy == nullptr || !IsAlive(entity)) {
                continue;
            }
            if (hierarchy->parent == kNullEntity || !IsAlive(hierarchy->parent)) {
                WalkSubtree(entity, glm::mat4(1.0f));
            }
        }
        // Transforms outside any hierarchy are their own world.
        for (Entity entity : dense) {
            if (!IsAlive(entity)) {
                continue;
            }
            WorldTransformEntry& entry = CacheEntry(entity);
            if (entry.revision == 0) {
                entry.world = LocalMatrix(Get<TransformComponent>(entity).transform);
                entry.revision = transformLog.revision;
            }
        }
    }
    worldCacheRevision = transformLog.revision;
}

// --- Environment and frame -------------------------------------------------------------------

void Scene::SetEnvironment(const EnvironmentSettings& settings) {
    if (settings == environment) {
        return;
    }
    environment = settings;
    ++sceneRevision;
}

void Scene::Update(float deltaSeconds, std::span<SceneSystem* const> systems) {
    std::vector<Entity> moved;
    bool anyChange = false;
    for (SceneSystem* system : systems) {
        moved.clear();
        const bool changed = system->Run(*this, deltaSeconds, moved);
        for (Entity entity : moved) {
            MarkTransformChanged(entity);
        }
        if (changed && system->ChangesParents()) {
            hierarchyLog.floor = ++hierarchyLog.revision;
            hierarchyLog.changed.clear();
        }
        anyChange = anyChange || changed || !moved.empty();
    }
    if (anyChange) {
        ++sceneRevision;
    }
}

} // namespace Brelk::Scene
