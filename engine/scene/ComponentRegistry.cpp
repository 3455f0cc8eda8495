#include "engine/scene/ComponentRegistry.h"

#include "engine/scene/components/CoreComponents.h"

#include <algorithm>
#include <unordered_set>

namespace Brelk::Scene {

ComponentRegistry& ComponentRegistry::Instance() {
    static ComponentRegistry registry;
    return registry;
}

ComponentTypeEntry& ComponentRegistry::Store(ComponentTypeEntry&& entry) {
    auto found = byType_.find(entry.type);
    if (found != byType_.end()) {
        ComponentTypeEntry& existing = found->second;
        entry.registrationIndex = existing.registrationIndex;
        auto named = byName_.find(existing.name);
        if (named != byName_.end() && named->second == &existing) {
            byName_.erase(named);
        }
        existing = std::move(entry);
        byName_[existing.name] = &existing;
        sortedDirty_ = true;
        return existing;
    }
    entry.registrationIndex = nextRegistrationIndex_++;
    const std::type_index type = entry.type;
    ComponentTypeEntry& stored = byType_.emplace(type, std::move(entry)).first->second;
    byName_[stored.name] = &stored;
    sortedDirty_ = true;
    return stored;
}

const ComponentTypeEntry* ComponentRegistry::Find(const std::type_info& type) const {
    auto found = byType_.find(std::type_index(type));
    return found == byType_.end() ? nullptr : &found->second;
}

const ComponentTypeEntry* ComponentRegistry::Find(const std::string& name) const {
    auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second;
}

ComponentTypeEntry* ComponentRegistry::FindMutable(const std::type_info& type) {
    auto found = byType_.find(std::type_index(type));
    return found == byType_.end() ? nullptr : &found->second;
}

std::span<const ComponentTypeEntry* const> ComponentRegistry::Entries() {
    if (sortedDirty_) {
        sorted_.clear();
        sorted_.reserve(byType_.size());
        for (const auto& [type, entry] : byType_) {
            sorted_.push_back(&entry);
        }
        // The registration index breaks ties, so the listing doesn't depend on hashing.
        std::sort(sorted_.begin(), sorted_.end(), [](const ComponentTypeEntry* a, const ComponentTypeEntry* b) {
            if (a->group != b->group) {
                return a->group < b->group;
            }
            if (a->displayName != b->displayName) {
                return a->displayName < b->displayName;
            }
            return a->registrationIndex < b->registrationIndex;
        });
        sortedDirty_ = false;
    }
    return sorted_;
}

void ComponentRegistry::EntriesInRegistrationOrder(std::vector<const ComponentTypeEntry*>& out) const {
    out.clear();
    out.reserve(byType_.size());
    for (const auto& [type, entry] : byType_) {
        out.push_back(&entry);
    }
    std::sort(out.begin(), out.end(), [](const ComponentTypeEntry* a, const ComponentTypeEntry* b) {
        return a->registrationIndex < b->registrationIndex;
    });
}

void ValidateComponentEntry(const ComponentTypeEntry& entry) {
    if (entry.records.empty()) {
        throw std::invalid_argument("Component records need a main record: " + entry.name);
    }
    std::unordered_set<std::string_view> seen;
    for (const ReplicatedField& field : entry.replicatedFields) {
        if (field.path.empty()) {
            throw std::invalid_argument("Replicated field path is empty: " + entry.name);
        }
        if (!seen.insert(field.path).second) {
            throw std::invalid_argument("Field replicated twice: " + entry.name + "." + field.path);
        }
    }
    seen.clear();
    for (const SaveGameField& field : entry.saveGameFields.fields) {
        if (!seen.insert(field.name).second) {
            throw std::invalid_argument("Duplicate save-game field: " + entry.name + "." + field.name);
        }
    }
}

namespace Detail {

const Reflection::SchemaCodecContext& CodecOrEmpty(const Reflection::SchemaCodecContext* codec) noexcept {
    static const Reflection::SchemaCodecContext empty{};
    return codec != nullptr ? *codec : empty;
}

Core::Guid StableGuidOf(const Registry& registry, Entity entity) {
    if (!registry.IsAlive(entity)) {
        return {};
    }
    const EntityGuidComponent* guid = registry.TryGet<EntityGuidComponent>(entity);
    return guid != nullptr ? guid->guid : Core::Guid{};
}

Entity FindEntityByStableGuid(const Registry& registry, const Core::Guid& guid) {
    return guid.IsValid() ? registry.FindEntityByGuid(guid) : kNullEntity;
}

} // namespace Detail

} // namespace Brelk::Scene
