#pragma once

#include "engine/core/Guid.h"
#include "engine/scene/Entity.h"
#include "engine/scene/Registry.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/EnvironmentSettings.h"

#include <glm/mat4x4.hpp>

#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace Brelk::Scene {

// Which entities changed, and at which revision. Used for transforms and for parent links.
struct SceneChangeLog {
    std::uint64_t revision = 1;
    // Revisions below this can't be answered entity by entity any more.
    std::uint64_t floor = 1;
    // The revision of each entity's latest change.
    std::unordered_map<Entity, std::uint64_t> changed;
};

struct WorldTransformEntry {
    glm::mat4 world{1.0f};
    // The transform log revision `world` was computed at; 0 for none.
    std::uint64_t revision = 0;
    // Entries are indexed by slot, so a reused slot is told apart by its full handle.
    Entity owner = kNullEntity;
};

// The answer to ChangedRootsSince.
struct SceneChangeSet {
    // The caller must rebuild from everything; `entities` is empty then.
    bool full = false;
    std::uint64_t revision = 0;
    // The topmost changed entities; a moved parent stands for its subtree.
    std::vector<Entity> entities;
};

// A reference that survives reloads: the Guid is the identity, the handle a cache of it.
struct EntityRef {
    Core::Guid guid;
    Entity cachedEntity = kNullEntity;
};

class Scene;

// A per-frame system that Update drives. It reports the entities it moved, and whether
// it changed anything at all.
class SceneSystem {
public:
    virtual ~SceneSystem() = default;
    virtual bool Run(Scene& scene, float deltaSeconds, std::vector<Entity>& moved) = 0;
    // Systems that reparent entities say so, so that the hierarchy log moves with them.
    virtual bool ChangesParents() const { return false; }
};

// The unit that files load into and save from. Every entity made through CreateEntity has
// a name, a Guid, a transform and a place in the parent and child tree; world matrices
// are computed from the tree on demand and cached; two change logs let outside consumers
// update incrementally. Belongs to one thread at a time. Operations on a dead entity are
// ignored or give an empty result; they never throw.
class Scene : public Registry {
public:
    // Installs the component table if no one has yet.
    Scene();
    Scene(const Scene&) = default;
    Scene& operator=(const Scene&) = default;
    Scene(Scene&&) noexcept = default;
    Scene& operator=(Scene&&) noexcept = default;
    ~Scene() override = default;

    Registry& GetRegistry() noexcept { return *this; }
    const Registry& GetRegistry() const noexcept { return *this; }

    // --- Entities ----------------------------------------------------------------------

    // A root with a fresh random Guid and the identity transform.
    Entity CreateEntity(const std::string& name);
    // Restores an entity under a known handle at `position` in Entities(), or makes a
    // fresh one when `wanted` is null, alive or can't be restored; either way with `guid`.
    Entity CreateEntity(Entity wanted, const std::string& name, const Core::Guid& guid, std::uint64_t position);
    // Destroys the entity and its whole subtree, children first.
    void DestroyEntity(Entity entity);
    // Destroys everything and puts the logs, caches and environment back to their start.
    void Clear();

    // Factories with the engine's default placements, at the given name.
    Entity CreateCamera(const std::string& name, bool primary);
    Entity CreatePrimaryCamera(const std::string& name);
    Entity CreateDirectionalLight(const std::string& name);
    Entity CreatePointLight(const std::string& name);
    Entity CreateSpotLight(const std::string& name);

    // --- Hierarchy ---------------------------------------------------------------------

    // Attaches `child` as the last child of `parent`; a null parent detaches. A dead
    // parent is stored but adds no child anywhere. Cycles are not checked: callers must
    // not make one.
    void SetParent(Entity child, Entity parent);
    [[nodiscard]] Entity GetParent(Entity entity) const;
    // In attachment order; an empty list for a dead entity.
    [[nodiscard]] const std::vector<Entity>& GetChildren(Entity entity) const;

    // --- Identity ----------------------------------------------------------------------

    // Also re-indexes the Guid; a dead entity is ignored.
    void SetEntityGuid(Entity entity, const Core::Guid& guid);
    // The null Guid unless the entity is alive and has one.
    [[nodiscard]] Core::Guid GetEntityGuid(Entity entity) const;
    // Empty unless the entity is alive and named.
    [[nodiscard]] const std::string& GetName(Entity entity) const;
    [[nodiscard]] EntityRef MakeEntityRef(Entity entity) const;
    // Refreshes the cached handle from the Guid when it no longer matches.
    Entity ResolveEntityRef(EntityRef& ref) const;

    // --- Transforms --------------------------------------------------------------------

    // Replaces the local transform and records the change; a dead entity is ignored.
    void SetTransform(Entity entity, const Transform& transform);
    // Identity unless the entity is alive and has a transform. Refreshes the cache along
    // the entity's chain, so it counts as a write.
    glm::mat4 GetWorldMatrix(Entity entity);
    void RefreshWorldTransforms();
    void MarkTransformChanged(Entity entity);
    // For bulk changes: everything counts as moved, and older revisions get `full`.
    void MarkAllTransformsChanged();
    // MarkAllTransformsChanged, and the same for the hierarchy log; the scene content
    // revision rises. Loads call it when the new content stands.
    void MarkEverythingChanged();
    [[nodiscard]] SceneChangeSet ChangedRootsSince(std::uint64_t revision) const;

    // --- Environment and frame -----------------------------------------------------------

    // An equal value changes nothing, not even the revision.
    void SetEnvironment(const EnvironmentSettings& environment);
    [[nodiscard]] const EnvironmentSettings& GetEnvironment() const noexcept { return environment; }

    // Runs the systems in the given order; the tool never runs a frame.
    void Update(float deltaSeconds, std::span<SceneSystem* const> systems = {});

    // --- Revisions and change logs ---------------------------------------------------------

    [[nodiscard]] const SceneChangeLog& TransformLog() const noexcept { return transformLog; }
    [[nodiscard]] const SceneChangeLog& HierarchyLog() const noexcept { return hierarchyLog; }
    [[nodiscard]] std::uint64_t SceneRevision() const noexcept { return sceneRevision; }
    [[nodiscard]] std::uint64_t StructureRevision() const noexcept { return structureRevision; }
    [[nodiscard]] std::uint64_t WorldCacheRevision() const noexcept { return worldCacheRevision; }
    // Entities whose transform changed, each once, in order of first change; not to be
    // trusted while AllTransformsDirty() holds.
    [[nodiscard]] const std::vector<Entity>& DirtyRoots() const noexcept { return dirtyRoots; }
    [[nodiscard]] bool AllTransformsDirty() const noexcept { return allTransformsDirty; }
    // For the consumer of the dirty list once it has caught up.
    void ClearDirtyTransforms() noexcept;

private:
    WorldTransformEntry& CacheEntry(Entity entity);
    const glm::mat4& RefreshChain(Entity entity);
    void WalkSubtree(Entity root, const glm::mat4& parentWorld);
    [[nodiscard]] bool HasTransformAlive(Entity entity) const;
    void ResetState();

    SceneChangeLog transformLog;
    SceneChangeLog hierarchyLog;
    std::uint64_t sceneRevision = 1;
    std::uint64_t structureRevision = 1;
    std::uint64_t worldCacheRevision = 0;
    std::vector<WorldTransformEntry> worldCache;
    bool allTransformsDirty = true;
    std::vector<Entity> dirtyRoots;
    EnvironmentSettings environment;
};

// The local matrix of a transform: translation, then rotation from Euler degrees, then scale.
[[nodiscard]] glm::mat4 LocalMatrix(const Transform& transform);

} // namespace Brelk::Scene
