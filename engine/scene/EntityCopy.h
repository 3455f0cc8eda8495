#pragma once

#include "engine/scene/Entity.h"
#include "engine/scene/EntityReferenceRemapper.h"

#include <cstddef>
#include <string_view>
#include <unordered_map>

namespace Brelk::Scene {

class Scene;

// Hashes the handle's four bytes, low byte first, by 64-bit FNV-1a, so that the buckets
// of an entity map do not depend on the standard library's integer hash.
struct EntityHasher {
    std::size_t operator()(Entity entity) const noexcept;
};

// Source entity to its copy.
using EntityMap = std::unordered_map<Entity, Entity, EntityHasher>;

// Copies every component of `source` onto `target` except the required header components
// (name, Guid, transform, hierarchy), which the caller sets, and run-time-only ones. With
// `savedOnly`, components that are never saved stay behind. References are copied as
// they are; RemapEntityReferences turns them afterwards.
void CopyEntityComponents(const Registry& from, Registry& to, Entity source, Entity target, bool savedOnly,
                          ComponentCopyKind kind);

// Copies `source` and its non-transient subtree under `parent` (none when null), each copy
// named after its source followed by `nameSuffix` and given a fresh Guid. Fills `out` with
// source to copy for every entity copied. Returns the copy's root, or the null entity when
// `source` is dead or transient. References are left for RemapEntityReferences.
Entity DuplicateEntitySubtree(Scene& scene, Entity source, Entity parent, EntityMap& out,
                              std::string_view nameSuffix);

// Points the references of the copies in `to` that name a source in `entities` at the
// matching copy. A handle outside the map becomes null unless `keepUnmapped`; a Guid
// outside it keeps its target either way.
void RemapEntityReferences(const Registry& from, Registry& to, const EntityMap& entities, bool keepUnmapped);

} // namespace Brelk::Scene
