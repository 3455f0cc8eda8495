#include "engine/scene/Registry.h"

#include "engine/scene/PreservedRecordSet.h"
#include "engine/scene/components/CoreComponents.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <typeindex>

namespace Brelk::Scene {

namespace Detail {

std::size_t AssignComponentTypeId(const std::type_info& type) {
    static std::mutex mutex;
    static std::unordered_map<std::type_index, std::size_t> ids;
    const std::lock_guard lock(mutex);
    const auto [it, inserted] = ids.try_emplace(std::type_index(type), ids.size());
    return it->second;
}

void ThrowMissingStorage() {
    throw std::runtime_error("Component storage does not exist.");
}

void ThrowMissingComponent() {
    throw std::out_of_range("Entity does not have the requested component.");
}

} // namespace Detail

namespace {

constexpr std::size_t kFullSlotTable = std::size_t{kMaxEntityIndex} + 1;

// The generation a slot takes when it is freed: one more than it had, but never below the
// floor that a restore or a replaced registry left behind.
std::uint32_t NextGeneration(const EntitySlot& slot) noexcept {
    return std::max(slot.generation + 1, slot.generationFloor);
}

} // namespace

Registry::Registry() = default;

Registry::Registry(const Registry& other)
    : slots(other.slots),
      freeIndices(other.freeIndices),
      minimumFreeIndices(other.minimumFreeIndices),
      entities(other.entities),
      guidIndex(other.guidIndex),
      deferred(other.deferred),
      revision(other.revision),
      preservedRecords(other.preservedRecords) {
    storages.reserve(other.storages.size());
    for (const auto& storage : other.storages) {
        storages.push_back(storage ? storage->Clone() : nullptr);
    }
}

Registry& Registry::operator=(const Registry& other) {
    if (this != &other) {
        Registry copy(other);
        *this = std::move(copy);
    }
    return *this;
}

Registry::Registry(Registry&& other) noexcept
    : slots(std::move(other.slots)),
      freeIndices(std::move(other.freeIndices)),
      minimumFreeIndices(other.minimumFreeIndices),
      entities(std::move(other.entities)),
      storages(std::move(other.storages)),
      guidIndex(std::move(other.guidIndex)),
      deferred(std::move(other.deferred)),
      revision(other.revision),
      preservedRecords(std::move(other.preservedRecords)) {
    // A buffer that targeted the source now belongs to this registry.
    if (deferred.registry != nullptr) {
        deferred.registry = this;
    }
}

Registry& Registry::operator=(Registry&& other) noexcept {
    if (this != &other) {
        slots = std::move(other.slots);
        freeIndices = std::move(other.freeIndices);
        minimumFreeIndices = other.minimumFreeIndices;
        entities = std::move(other.entities);
        storages = std::move(other.storages);
        guidIndex = std::move(other.guidIndex);
        deferred = std::move(other.deferred);
        if (deferred.registry != nullptr) {
            deferred.registry = this;
        }
        revision = other.revision;
        preservedRecords = std::move(other.preservedRecords);
    }
    return *this;
}

Registry::~Registry() = default;

// --- Entities ------------------------------------------------------------------------

std::uint32_t Registry::TakeIndex() {
    if (slots.empty()) {
        slots.emplace_back();
    }
    const std::size_t queued = freeIndices.size();
    // A full table leaves recycling as the only way, whatever the minimum says.
    const bool reuse = queued > minimumFreeIndices || (queued != 0 && slots.size() >= kFullSlotTable);
    if (!reuse) {
        if (slots.size() >= kFullSlotTable) {
            throw std::length_error("Entity index space exhausted.");
        }
        slots.emplace_back();
        return static_cast<std::uint32_t>(slots.size() - 1);
    }
    const std::uint32_t index = freeIndices.front();
    freeIndices.pop_front();
    return index;
}

void Registry::FreeSlot(std::uint32_t index) {
    EntitySlot& slot = slots[index];
    slot.state = EntityState::Free;
    slot.generation = NextGeneration(slot);
    freeIndices.push_back(index);
}

Entity Registry::CreateEntity() {
    const std::uint32_t index = TakeIndex();
    EntitySlot& slot = slots[index];
    slot.state = EntityState::Alive;
    const Entity entity = MakeEntity(index, slot.generation);
    entities.push_back(entity);
    ++revision;
    return entity;
}

Entity Registry::ReserveEntity() {
    const std::uint32_t index = TakeIndex();
    EntitySlot& slot = slots[index];
    slot.state = EntityState::Reserved;
    return MakeEntity(index, slot.generation);
}

void Registry::CommitEntity(Entity entity) {
    const std::uint32_t index = EntityIndex(entity);
    if (index == 0 || index >= slots.size()) {
        return;
    }
    EntitySlot& slot = slots[index];
    if (slot.state != EntityState::Reserved || (slot.generation & kEntityGenerationMask) != EntityGeneration(entity)) {
        return;
    }
    slot.state = EntityState::Alive;
    entities.push_back(entity);
    ++revision;
}

void Registry::ReleaseIndex(std::uint32_t index) {
    if (index == 0 || index >= slots.size() || slots[index].state != EntityState::Reserved) {
        return;
    }
    FreeSlot(index);
}

bool Registry::IsAlive(Entity entity) const noexcept {
    const std::uint32_t index = EntityIndex(entity);
    if (index == 0 || index >= slots.size()) {
        return false;
    }
    const EntitySlot& slot = slots[index];
    return slot.state == EntityState::Alive && (slot.generation & kEntityGenerationMask) == EntityGeneration(entity);
}

void Registry::DestroyEntity(Entity entity) {
    if (!IsAlive(entity)) {
        return;
    }
    for (const auto& storage : storages) {
        if (storage && storage->Contains(entity)) {
            storage->Remove(*this, entity);
        }
    }
    preservedRecords.erase(entity);
    FreeSlot(EntityIndex(entity));
    // From the back: Clear destroys last to first and short-lived entities are the recent
    // ones, so the handle is usually found at once.
    const auto it = std::find(entities.rbegin(), entities.rend(), entity);
    if (it != entities.rend()) {
        entities.erase(std::next(it).base());
    }
    ++revision;
}

bool Registry::RestoreEntity(Entity entity, std::uint64_t position) {
    const std::uint32_t index = EntityIndex(entity);
    if (index == 0 || index >= slots.size()) {
        return false;
    }
    EntitySlot& slot = slots[index];
    if (slot.state != EntityState::Free) {
        return false;
    }
    const std::uint32_t stepsBack = (slot.generation - EntityGeneration(entity)) & kEntityGenerationMask;
    if (stepsBack > slot.generation) {
        return false;
    }
    const auto queued = std::find(freeIndices.begin(), freeIndices.end(), index);
    if (queued != freeIndices.end()) {
        freeIndices.erase(queued);
    }
    // The next destroy must skip every generation a handle of this slot has carried,
    // including the ones between the restored generation and the current counter.
    slot.generationFloor = std::max(slot.generationFloor, stepsBack == 0 ? slot.generation + 1 : slot.generation);
    slot.generation -= stepsBack;
    slot.state = EntityState::Alive;
    const std::size_t at = static_cast<std::size_t>(std::min<std::uint64_t>(position, entities.size()));
    entities.insert(entities.begin() + static_cast<std::ptrdiff_t>(at), entity);
    ++revision;
    return true;
}

void Registry::Clear() {
    const std::vector<Entity> alive = entities;
    for (auto it = alive.rbegin(); it != alive.rend(); ++it) {
        DestroyEntity(*it);
    }
    deferred.Clear();
    for (std::size_t index = 1; index < slots.size(); ++index) {
        if (slots[index].state == EntityState::Reserved) {
            FreeSlot(static_cast<std::uint32_t>(index));
        }
    }
    // Components attached to reserved or stale handles have no live owner left.
    for (const auto& storage : storages) {
        if (!storage) {
            continue;
        }
        while (!storage->Entities().empty()) {
            storage->Remove(*this, storage->Entities().back());
        }
    }
    guidIndex.clear();
    preservedRecords.clear();
    ++revision;
}

void Registry::AdvanceGenerationsPast(const Registry& other) {
    if (&other == this) {
        return;
    }
    if (slots.empty()) {
        slots.emplace_back();
    }
    for (std::size_t index = 1; index < other.slots.size(); ++index) {
        const EntitySlot& theirs = other.slots[index];
        const std::uint32_t inUse = theirs.state != EntityState::Free ? 1 : 0;
        const std::uint32_t past = std::max(theirs.generation + inUse, theirs.generationFloor);
        if (index >= slots.size()) {
            slots.push_back(EntitySlot{past, 0, EntityState::Free});
            freeIndices.push_back(static_cast<std::uint32_t>(index));
            continue;
        }
        EntitySlot& ours = slots[index];
        if (ours.state != EntityState::Free) {
            ours.generationFloor = std::max(ours.generationFloor, past);
        } else {
            ours.generation = std::max(ours.generation, past);
        }
    }
    revision = std::max(revision, other.revision) + 1;
    for (std::size_t id = 0; id < storages.size(); ++id) {
        if (!storages[id]) {
            continue;
        }
        const IStorage* theirs = other.FindStorage(id);
        const std::uint64_t theirRevision = theirs != nullptr ? theirs->revision : 0;
        storages[id]->revision = std::max(storages[id]->revision, theirRevision) + 1;
    }
}

// --- Deferred commands ---------------------------------------------------------------

CommandBuffer& Registry::Defer() noexcept {
    deferred.registry = this;
    return deferred;
}

void Registry::FlushDeferred() {
    // Commands may record more commands; those run in a further round of this flush.
    while (!deferred.commands.empty()) {
        const std::vector<std::unique_ptr<CommandBuffer::ICommand>> batch = std::move(deferred.commands);
        deferred.commands.clear();
        for (const auto& command : batch) {
            command->Execute(*this);
        }
    }
}

// --- Storages ------------------------------------------------------------------------

Registry::IStorage* Registry::FindStorage(std::size_t typeId) noexcept {
    return typeId < storages.size() ? storages[typeId].get() : nullptr;
}

const Registry::IStorage* Registry::FindStorage(std::size_t typeId) const noexcept {
    return typeId < storages.size() ? storages[typeId].get() : nullptr;
}

// --- GUID index ----------------------------------------------------------------------

void Registry::IndexGuid(Entity entity, const Core::Guid& guid) {
    guidIndex[guid].push_back(entity);
}

void Registry::UnindexGuid(Entity entity, const Core::Guid& guid) {
    const auto found = guidIndex.find(guid);
    if (found == guidIndex.end()) {
        return;
    }
    std::vector<Entity>& holders = found->second;
    const auto it = std::find(holders.begin(), holders.end(), entity);
    if (it == holders.end()) {
        return;
    }
    holders.erase(it);
    if (holders.empty()) {
        guidIndex.erase(found);
    }
}

Entity Registry::FindEntityByGuid(const Core::Guid& guid) const {
    if (!guid.IsValid()) {
        return kNullEntity;
    }
    const auto found = guidIndex.find(guid);
    if (found == guidIndex.end()) {
        return kNullEntity;
    }
    const std::size_t guidType = ComponentTypeId<EntityGuidComponent>();
    const auto* storage = static_cast<const Storage<EntityGuidComponent>*>(FindStorage(guidType));
    if (storage == nullptr) {
        return kNullEntity;
    }
    for (const Entity entity : found->second) {
        if (IsNullEntity(entity) || !IsAlive(entity)) {
            continue;
        }
        const EntityGuidComponent* component = storage->Find(entity);
        if (component != nullptr && component->guid == guid) {
            return entity;
        }
    }
    return kNullEntity;
}

// --- Preserved records ---------------------------------------------------------------

void Registry::SetPreservedRecords(Entity entity, std::shared_ptr<PreservedRecordSet> records) {
    if (records && IsAlive(entity)) {
        preservedRecords.insert_or_assign(entity, std::move(records));
    } else {
        preservedRecords.erase(entity);
    }
}

std::shared_ptr<PreservedRecordSet> Registry::GetPreservedRecords(Entity entity) const {
    const auto found = preservedRecords.find(entity);
    return found != preservedRecords.end() ? found->second : nullptr;
}

std::vector<Entity> Registry::EntitiesWithPreservedRecords() const {
    // In creation order, as files list entities, never in the hash table's order.
    std::vector<Entity> result;
    result.reserve(preservedRecords.size());
    for (const Entity entity : entities) {
        if (preservedRecords.contains(entity)) result.push_back(entity);
    }
    return result;
}

} // namespace Brelk::Scene
