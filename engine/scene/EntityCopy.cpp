#include "engine/scene/EntityCopy.h"

#include "engine/core/Guid.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/Registry.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/CoreComponents.h"

#include <optional>
#include <string>
#include <vector>

namespace Brelk::Scene {

namespace {

constexpr std::uint32_t kNotCopiedFlags =
    static_cast<std::uint32_t>(ComponentFlags::Required) | static_cast<std::uint32_t>(ComponentFlags::RuntimeOnly);

std::vector<const ComponentTypeEntry*> CopiedEntries() {
    std::vector<const ComponentTypeEntry*> entries;
    ComponentRegistry::Instance().EntriesInRegistrationOrder(entries);
    return entries;
}

Core::Guid GuidOf(const Registry& registry, Entity entity) {
    if (!registry.IsAlive(entity)) return {};
    const auto* guid = registry.TryGet<EntityGuidComponent>(entity);
    return guid == nullptr ? Core::Guid{} : guid->guid;
}

class ReferenceRemapper final : public EntityReferenceRemapper {
public:
    ReferenceRemapper(const Registry& source, const Registry& target, const EntityMap& entities, bool keepUnmapped)
        : source_(&source), target_(&target), entities_(&entities), keepUnmapped_(keepUnmapped) {}

    void Add(const Core::Guid& from, const Core::Guid& to, Entity copy) {
        guids_[from] = to;
        entitiesByGuid_[from] = copy;
    }

    void RemapEntity(Entity& entity) const override {
        if (IsNullEntity(entity)) return;
        const auto found = entities_->find(entity);
        if (found != entities_->end()) {
            entity = found->second;
        } else if (!keepUnmapped_) {
            entity = kNullEntity;
        }
    }

    void RemapGuid(Core::Guid& guid) const override {
        if (!guid.IsValid()) return;
        const auto found = guids_.find(guid);
        if (found != guids_.end()) guid = found->second;
    }

    void RemapGuidText(Entity& entity, std::string& guidText) const override {
        const auto parsed = guidText.empty() ? std::nullopt : Core::Guid::Parse(guidText);
        Core::Guid guid = parsed.value_or(Core::Guid{});
        const bool wasValid = guid.IsValid();
        RemapLink(entity, guid);
        if (guid.IsValid()) {
            guidText = guid.ToString();
        } else if (wasValid) {
            guidText.clear();
        }
    }

    void RemapLink(Entity& entity, Core::Guid& guid) const override {
        if (!IsNullEntity(entity)) {
            const auto found = entities_->find(entity);
            if (found != entities_->end()) {
                entity = found->second;
                guid = GuidOf(*target_, entity);
                return;
            }
        }
        // A handle that was never resolved, or belongs to another registry, still names
        // its target through the Guid.
        if (guid.IsValid()) {
            const auto found = entitiesByGuid_.find(guid);
            if (found != entitiesByGuid_.end()) {
                entity = found->second;
                guid = GuidOf(*target_, entity);
                return;
            }
        }
        if (!keepUnmapped_) entity = kNullEntity;
    }

private:
    // Kept for remap hooks that will need to read the source side; none does yet.
    [[maybe_unused]] const Registry* source_;
    const Registry* target_;
    const EntityMap* entities_;
    bool keepUnmapped_;
    std::unordered_map<Core::Guid, Core::Guid, Core::GuidHasher> guids_;
    std::unordered_map<Core::Guid, Entity, Core::GuidHasher> entitiesByGuid_;
};

} // namespace

std::size_t EntityHasher::operator()(Entity entity) const noexcept {
    std::uint64_t hash = 0xcbf29ce484222325ull;
    for (int shift = 0; shift < 32; shift += 8) {
        hash ^= (entity >> shift) & 0xffu;
        hash *= 0x100000001b3ull;
    }
    return static_cast<std::size_t>(hash);
}

void CopyEntityComponents(const Registry& from, Registry& to, Entity source, Entity target, bool savedOnly,
                          ComponentCopyKind kind) {
    const bool sameRegistry = &from == &to;
    for (const ComponentTypeEntry* entry : CopiedEntries()) {
        if (savedOnly && !entry->saved) continue;
        if ((entry->flags & kNotCopiedFlags) != 0) continue;
        if (sameRegistry) {
            entry->copy(to, source, target, kind);
        } else {
            entry->copyAcross(from, to, source, target, kind);
        }
    }
}

namespace {

Entity DuplicateInto(Scene& scene, const std::vector<const ComponentTypeEntry*>& entries, Entity source,
                     Entity parent, EntityMap& out, std::string_view nameSuffix) {
    if (!IsSavedEntity(scene, source)) return kNullEntity;
    std::string name = scene.GetName(source);
    name += nameSuffix;
    const Entity copy = scene.CreateEntity(name);
    out[source] = copy;
    if (const auto* transform = scene.TryGet<TransformComponent>(source)) {
        scene.SetTransform(copy, transform->transform);
    }
    for (const ComponentTypeEntry* entry : entries) {
        if ((entry->flags & kNotCopiedFlags) != 0) continue;
        entry->copy(scene, source, copy, ComponentCopyKind::Duplicate);
    }
    if (!IsNullEntity(parent)) scene.SetParent(copy, parent);
    // The list is taken by value: attaching copies may grow the storage it lives in.
    const std::vector<Entity> children = scene.GetChildren(source);
    for (const Entity child : children) {
        DuplicateInto(scene, entries, child, copy, out, nameSuffix);
    }
    return copy;
}

} // namespace

Entity DuplicateEntitySubtree(Scene& scene, Entity source, Entity parent, EntityMap& out,
                              std::string_view nameSuffix) {
    return DuplicateInto(scene, CopiedEntries(), source, parent, out, nameSuffix);
}

void RemapEntityReferences(const Registry& from, Registry& to, const EntityMap& entities, bool keepUnmapped) {
    ReferenceRemapper remapper(from, to, entities, keepUnmapped);
    for (const auto& [source, copy] : entities) {
        const Core::Guid sourceGuid = GuidOf(from, source);
        if (!sourceGuid.IsValid()) continue;
        remapper.Add(sourceGuid, GuidOf(to, copy), copy);
    }
    std::vector<const ComponentTypeEntry*> entries;
    for (const ComponentTypeEntry* entry : CopiedEntries()) {
        if (!entry->remap.empty()) entries.push_back(entry);
    }
    for (const auto& [source, copy] : entities) {
        if (!to.IsAlive(copy)) continue;
        for (const ComponentTypeEntry* entry : entries) {
            void* component = entry->getMutable(to, copy);
            if (component == nullptr) continue;
            for (const auto& remap : entry->remap) remap(component, remapper);
        }
    }
}

} // namespace Brelk::Scene
