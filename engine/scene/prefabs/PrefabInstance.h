#pragma once

#include "engine/core/Guid.h"
#include "engine/reflection/SchemaRecord.h"
#include "engine/scene/ComponentTypeEntry.h"
#include "engine/scene/EntityCopy.h"
#include "engine/scene/Scene.h"

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

// The core of prefab instances: what an instance holds, what it should hold according to
// its prefab and its recorded changes, and the two ways of reconciling them: recording the
// differences, or rebuilding the live entities. Component data is compared and carried as
// schema records only, never as memory.
namespace Brelk::Scene {

struct PrefabResolver;

// True for the entity that holds an instance's recorded changes.
[[nodiscard]] bool IsPrefabInstanceRoot(const Registry& registry, Entity entity);

// A component as records, and the text they render to: two components are equal exactly
// when their texts are.
struct PrefabComponentText {
    std::vector<Reflection::SchemaRecord> records;
    std::string text;
};

struct ByRegistrationIndex {
    bool operator()(const ComponentTypeEntry* a, const ComponentTypeEntry* b) const noexcept {
        return a->registrationIndex < b->registrationIndex;
    }
};

struct PrefabExpectedEntity {
    Core::Guid sourceGuid;
    Core::Guid parentSourceGuid;
    // In the expected instance's own scene; its Guid is the live Guid the entity should have.
    Entity entity = kNullEntity;
    std::string name;
    std::map<const ComponentTypeEntry*, PrefabComponentText, ByRegistrationIndex> components;
};

// What an instance should look like, built afresh for every record and rebuild.
struct PrefabExpectedInstance {
    Scene scene;
    // Parents before children.
    std::vector<PrefabExpectedEntity> rows;
    std::unordered_map<Core::Guid, std::size_t> rowOf;
};

// The live entities of an instance.
struct CollectedInstance {
    // Source Guid to live entity, and the same pairs in walk order.
    std::unordered_map<Core::Guid, Entity> bySource;
    std::vector<std::pair<Core::Guid, Entity>> ordered;
    // Entities the user put into the instance, and the tops of those subtrees.
    std::vector<Entity> added;
    std::vector<Entity> addedTops;
};

[[nodiscard]] CollectedInstance CollectInstanceEntities(const Scene& scene, Entity root);

// The records of one component of an entity, rendered.
[[nodiscard]] PrefabComponentText RenderComponent(const PrefabResolver& resolver, const Registry& registry,
                                                  Entity entity, const ComponentTypeEntry& entry);

// Compares the instance under `root` with `baseline` and stores the differences in the
// root's component; the lists stay as they were on failure.
[[nodiscard]] bool RecordPrefabOverrides(Scene& scene, const Scene& baseline, Entity root, PrefabResolver& resolver,
                                         std::string* error);

enum class PrefabRebuildMode : std::uint8_t {
    KeepAdded = 0,
    RemoveAdded = 1,
};

// Brings the live entities of the instance under `root` in line with the baseline and the
// recorded changes.
[[nodiscard]] bool RebuildPrefabInstance(Scene& scene, const Scene& baseline, Entity root, PrefabResolver& resolver,
                                         std::string* error, PrefabRebuildMode mode);

// Copies the saved part of the subtree under `root` into `target` below `targetParent`,
// keeping each source Guid that is free there; fills `copies` with source to copy and
// gives the copy of `root`. Instance links to roots outside the subtree are cut.
Entity CopySubtree(const Scene& scene, Scene& target, Entity root, EntityMap& copies, Entity targetParent);

} // namespace Brelk::Scene
