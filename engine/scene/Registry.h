#pragma once

#include "engine/core/Guid.h"
#include "engine/scene/CommandBuffer.h"
#include "engine/scene/Entity.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Brelk::Scene {

struct EntityGuidComponent;
struct PreservedRecordSet;

namespace Detail {
// The process-wide table behind ComponentTypeId; takes its mutex.
std::size_t AssignComponentTypeId(const std::type_info& type);

[[noreturn]] void ThrowMissingStorage();
[[noreturn]] void ThrowMissingComponent();
} // namespace Detail

// Dense ids of component types, shared by every registry of the process so that the
// storage tables of two registries line up by index. Ids follow the order of first use,
// so they differ between runs and are never written anywhere.
template <class T>
std::size_t ComponentTypeId() {
    static const std::size_t id = Detail::AssignComponentTypeId(typeid(std::remove_cv_t<T>));
    return id;
}

enum class EntityState : std::uint8_t {
    Free = 0,
    // Taken by a deferred create; not alive until its command runs.
    Reserved = 1,
    Alive = 2,
};

struct EntitySlot {
    // The full counter; only its low 12 bits are compared with a handle.
    std::uint32_t generation = 0;
    // The lowest value `generation` may take when the slot is next freed. Raised by
    // RestoreEntity and AdvanceGenerationsPast so that no generation is handed out twice.
    std::uint32_t generationFloor = 0;
    EntityState state = EntityState::Free;
};

// The entity-component store under every scene: generational handles, one paged sparse
// set per component type, the live entities in creation order, the index from entity GUID
// to handle, the embedded deferred command buffer and the records kept per entity that no
// installed component understood. One thread at a time; no lock.
//
// Operations on a dead or null handle ask for nothing: they are ignored or give an empty
// result. The exceptions are `Get`, which throws, and `Emplace`, which does not check
// liveness so that components can be attached to a reserved handle.
class Registry {
public:
    class IStorage {
    public:
        virtual ~IStorage() = default;
        // True only if this exact handle, generation included, is stored.
        [[nodiscard]] virtual bool Contains(Entity entity) const noexcept = 0;
        // The stored handles in dense order, parallel to the component values.
        [[nodiscard]] virtual const std::vector<Entity>& Entities() const noexcept = 0;
        // Swap-removes the entity's component; a handle that isn't stored is ignored.
        virtual void Remove(Registry& registry, Entity entity) = 0;
        // A deep copy, revision included.
        [[nodiscard]] virtual std::unique_ptr<IStorage> Clone() const = 0;

        // Rises on every insert into and removal from this storage.
        [[nodiscard]] std::uint64_t Revision() const noexcept { return revision; }

    protected:
        friend class Registry;
        std::uint64_t revision = 0;
    };

    template <class T>
    class Storage;

    static constexpr std::uint32_t kDefaultMinimumFreeIndices = 1024;

    Registry();
    // Deep: slots, free queue, entities, GUID index, revision and every storage. Queued
    // deferred commands are cloned but the copy's buffer targets nothing until Defer().
    // Preserved record sets are shared with the source, never copied.
    Registry(const Registry& other);
    Registry& operator=(const Registry& other);
    Registry(Registry&& other) noexcept;
    Registry& operator=(Registry&& other) noexcept;
    virtual ~Registry();

    // --- Entities ------------------------------------------------------------------

    // Throws std::length_error "Entity index space exhausted." when every index is taken.
    Entity CreateEntity();
    // Takes an index without making the entity alive; CommitEntity finishes the job.
    Entity ReserveEntity();
    // Makes a reserved handle alive; any other handle is ignored.
    void CommitEntity(Entity entity);
    // Gives back the index of a reserved handle whose create was dropped. Only a Reserved
    // slot is released; any other index is ignored.
    void ReleaseIndex(std::uint32_t index);
    [[nodiscard]] bool IsAlive(Entity entity) const noexcept;
    // Removes every component and the preserved records, frees the index and keeps the
    // order of the remaining entities.
    void DestroyEntity(Entity entity);
    // Brings a destroyed entity back under its old handle at `position` in Entities()
    // (clamped to the end). False, with nothing changed, if the slot isn't free or the
    // handle's generation lies ahead of the slot's counter.
    [[nodiscard]] bool RestoreEntity(Entity entity, std::uint64_t position);
    // Destroys everything and drops queued commands. Generations keep rising across a
    // clear, so no handle from before it is alive afterwards.
    void Clear();

    // Live entities in creation order; removal keeps the order of the rest.
    [[nodiscard]] const std::vector<Entity>& Entities() const noexcept { return entities; }
    // Rises on every structural change: create, commit, destroy, restore, clear, a new
    // component, the removal of a present one. Assigning over a component doesn't count.
    [[nodiscard]] std::uint64_t Revision() const noexcept { return revision; }
    // A freed index is reused only once more than this many are queued, which spreads the
    // wear of the 12 generation bits over many slots.
    void SetMinimumFreeIndices(std::uint32_t minimum) noexcept { minimumFreeIndices = minimum; }
    [[nodiscard]] std::uint32_t MinimumFreeIndices() const noexcept { return minimumFreeIndices; }
    [[nodiscard]] std::size_t FreeIndexCount() const noexcept { return freeIndices.size(); }
    // Slot 0 is the null slot; the span is empty before the first index is taken.
    [[nodiscard]] std::span<const EntitySlot> Slots() const noexcept { return slots; }

    // Raises this registry's generations past every generation `other` has used, so that
    // no handle of `other` is alive here. Used when a freshly built registry replaces it.
    void AdvanceGenerationsPast(const Registry& other);

    // --- Deferred commands -----------------------------------------------------------

    CommandBuffer& Defer() noexcept;
    [[nodiscard]] bool HasDeferred() const noexcept { return !deferred.Empty(); }
    // Runs the queued commands in order; what they record runs in further rounds of the
    // same flush, until a round records nothing.
    void FlushDeferred();

    // --- Components ------------------------------------------------------------------

    // Inserts the component, or assigns over the one the entity has. Doesn't check that
    // the entity is alive.
    template <class T>
    T& Emplace(Entity entity, T value = T{});
    template <class T>
    [[nodiscard]] bool Has(Entity entity) const noexcept;
    template <class T>
    [[nodiscard]] T* TryGet(Entity entity) noexcept;
    template <class T>
    [[nodiscard]] const T* TryGet(Entity entity) const noexcept;
    // Throws std::runtime_error "Component storage does not exist." or std::out_of_range
    // "Entity does not have the requested component.".
    template <class T>
    [[nodiscard]] T& Get(Entity entity);
    template <class T>
    [[nodiscard]] const T& Get(Entity entity) const;
    template <class T>
    void Remove(Entity entity);

    template <class T>
    [[nodiscard]] Storage<T>* FindStorage() noexcept;
    template <class T>
    [[nodiscard]] const Storage<T>* FindStorage() const noexcept;
    template <class T>
    Storage<T>& GetOrCreateStorage();

    // The storage of a type id, or null if this registry never stored that type.
    [[nodiscard]] IStorage* FindStorage(std::size_t typeId) noexcept;
    [[nodiscard]] const IStorage* FindStorage(std::size_t typeId) const noexcept;

    // Calls fn(entity, A&, B&, ...) for each entity that has all the named types. The
    // first type's storage drives the walk in its dense order and is re-read at every
    // step: an element appended during the walk is visited, and removing the current
    // element skips the one swapped into its place. References passed to fn are valid
    // until fn changes the storages they live in.
    template <class First, class... Rest, class Fn>
    void Each(Fn&& fn);
    template <class First, class... Rest, class Fn>
    void Each(Fn&& fn) const;

    // --- GUID index ------------------------------------------------------------------

    // Equal GUIDs may coexist; a new pair goes behind those of the same GUID.
    void IndexGuid(Entity entity, const Core::Guid& guid);
    void UnindexGuid(Entity entity, const Core::Guid& guid);
    // The first indexed entity that is alive and whose EntityGuidComponent still holds
    // `guid`; 0 if none, and always 0 for the null GUID.
    [[nodiscard]] Entity FindEntityByGuid(const Core::Guid& guid) const;

    // --- Preserved records -----------------------------------------------------------

    // Stores the set for a live entity, replacing any older one; a null set or a dead
    // entity erases the entry instead.
    void SetPreservedRecords(Entity entity, std::shared_ptr<PreservedRecordSet> records);
    [[nodiscard]] std::shared_ptr<PreservedRecordSet> GetPreservedRecords(Entity entity) const;
    // In the map's own order, which is no order a file may rely on.
    [[nodiscard]] std::vector<Entity> EntitiesWithPreservedRecords() const;

private:
    std::uint32_t TakeIndex();
    void FreeSlot(std::uint32_t index);
    template <class Self, class First, class... Rest, class Fn>
    static void EachIn(Self& self, Fn& fn);

    std::vector<EntitySlot> slots;
    std::deque<std::uint32_t> freeIndices;
    std::uint32_t minimumFreeIndices = kDefaultMinimumFreeIndices;
    std::vector<Entity> entities;
    std::vector<std::unique_ptr<IStorage>> storages;
    // One vector per GUID rather than a multimap: the order among equal GUIDs decides
    // FindEntityByGuid, and a vector keeps it whatever the hash table does.
    std::unordered_map<Core::Guid, std::vector<Entity>, Core::GuidHasher> guidIndex;
    CommandBuffer deferred;
    std::uint64_t revision = 1;
    std::unordered_map<Entity, std::shared_ptr<PreservedRecordSet>> preservedRecords;
};

// A paged sparse set: `sparse` maps a slot index to its dense position + 1 (0 absent) in
// pages of 512 entries that exist only where an index has been stored, `dense` holds the
// full handles and `components` the values, contiguously and in the same order.
template <class T>
class Registry::Storage final : public Registry::IStorage {
public:
    static constexpr std::uint32_t kPageShift = 9;
    static constexpr std::uint32_t kPageSize = 1u << kPageShift;
    static constexpr std::uint32_t kPageMask = kPageSize - 1;

    [[nodiscard]] bool Contains(Entity entity) const noexcept override { return Position(entity) != 0; }
    [[nodiscard]] const std::vector<Entity>& Entities() const noexcept override { return dense; }
    void Remove(Registry& registry, Entity entity) override;
    [[nodiscard]] std::unique_ptr<IStorage> Clone() const override { return std::make_unique<Storage>(*this); }

    // Appends the component. A component of another handle of the same index, left by a
    // stale handle, is removed first.
    T& Insert(Registry& registry, Entity entity, T value);

    [[nodiscard]] T* Find(Entity entity) noexcept {
        const std::uint32_t position = Position(entity);
        return position != 0 ? &components[position - 1] : nullptr;
    }
    [[nodiscard]] const T* Find(Entity entity) const noexcept {
        const std::uint32_t position = Position(entity);
        return position != 0 ? &components[position - 1] : nullptr;
    }

    [[nodiscard]] std::size_t Size() const noexcept { return dense.size(); }
    [[nodiscard]] bool Empty() const noexcept { return dense.empty(); }
    [[nodiscard]] std::span<T> Components() noexcept { return components; }
    [[nodiscard]] std::span<const T> Components() const noexcept { return components; }
    // Pages allocated so far, for tests and memory reports.
    [[nodiscard]] std::size_t PageCount() const noexcept {
        std::size_t count = 0;
        for (const auto& page : sparse) {
            count += page.empty() ? 0 : 1;
        }
        return count;
    }

private:
    friend class Registry;

    // The raw sparse entry of the handle's index: dense position + 1, or 0.
    [[nodiscard]] std::uint32_t Entry(Entity entity) const noexcept {
        const std::uint32_t index = EntityIndex(entity);
        const std::uint32_t page = index >> kPageShift;
        if (page >= sparse.size() || sparse[page].empty()) {
            return 0;
        }
        return sparse[page][index & kPageMask];
    }
    // As Entry, but 0 unless the stored handle is this one exactly.
    [[nodiscard]] std::uint32_t Position(Entity entity) const noexcept {
        const std::uint32_t entry = Entry(entity);
        return entry != 0 && dense[entry - 1] == entity ? entry : 0;
    }
    void SetEntry(std::uint32_t index, std::uint32_t value) noexcept {
        sparse[index >> kPageShift][index & kPageMask] = value;
    }
    void RemoveAt(Registry& registry, std::uint32_t position);

    std::vector<std::vector<std::uint32_t>> sparse;
    std::vector<Entity> dense;
    std::vector<T> components;
};

// --- Storage ---------------------------------------------------------------------------

template <class T>
void Registry::Storage<T>::Remove(Registry& registry, Entity entity) {
    const std::uint32_t position = Position(entity);
    if (position != 0) {
        RemoveAt(registry, position - 1);
    }
}

template <class T>
void Registry::Storage<T>::RemoveAt(Registry& registry, std::uint32_t position) {
    const Entity removed = dense[position];
    if constexpr (std::is_same_v<T, EntityGuidComponent>) {
        registry.UnindexGuid(removed, components[position].guid);
    }
    const std::size_t last = dense.size() - 1;
    if (position != last) {
        components[position] = std::move(components[last]);
        dense[position] = dense[last];
        SetEntry(EntityIndex(dense[position]), position + 1);
    }
    components.pop_back();
    dense.pop_back();
    SetEntry(EntityIndex(removed), 0);
    ++revision;
}

template <class T>
T& Registry::Storage<T>::Insert(Registry& registry, Entity entity, T value) {
    const std::uint32_t occupant = Entry(entity);
    if (occupant != 0) {
        RemoveAt(registry, occupant - 1);
    }
    components.push_back(std::move(value));
    dense.push_back(entity);
    const std::uint32_t index = EntityIndex(entity);
    const std::uint32_t page = index >> kPageShift;
    if (page >= sparse.size()) {
        sparse.resize(page + 1);
    }
    if (sparse[page].empty()) {
        sparse[page].assign(kPageSize, 0);
    }
    SetEntry(index, static_cast<std::uint32_t>(dense.size()));
    ++revision;
    return components.back();
}

// --- Registry templates ----------------------------------------------------------------

template <class T>
Registry::Storage<T>* Registry::FindStorage() noexcept {
    const std::size_t id = ComponentTypeId<T>();
    return id < storages.size() ? static_cast<Storage<T>*>(storages[id].get()) : nullptr;
}

template <class T>
const Registry::Storage<T>* Registry::FindStorage() const noexcept {
    const std::size_t id = ComponentTypeId<T>();
    return id < storages.size() ? static_cast<const Storage<T>*>(storages[id].get()) : nullptr;
}

template <class T>
Registry::Storage<T>& Registry::GetOrCreateStorage() {
    const std::size_t id = ComponentTypeId<T>();
    if (id >= storages.size()) {
        storages.resize(id + 1);
    }
    if (!storages[id]) {
        storages[id] = std::make_unique<Storage<T>>();
    }
    return static_cast<Storage<T>&>(*storages[id]);
}

template <class T>
T& Registry::Emplace(Entity entity, T value) {
    Storage<T>& storage = GetOrCreateStorage<T>();
    if (T* existing = storage.Find(entity)) {
        if constexpr (std::is_same_v<T, EntityGuidComponent>) {
            UnindexGuid(entity, existing->guid);
            *existing = std::move(value);
            IndexGuid(entity, existing->guid);
        } else {
            *existing = std::move(value);
        }
        return *existing;
    }
    T& inserted = storage.Insert(*this, entity, std::move(value));
    if constexpr (std::is_same_v<T, EntityGuidComponent>) {
        IndexGuid(entity, inserted.guid);
    }
    ++revision;
    return inserted;
}

template <class T>
bool Registry::Has(Entity entity) const noexcept {
    const Storage<T>* storage = FindStorage<T>();
    return storage != nullptr && storage->Contains(entity);
}

template <class T>
T* Registry::TryGet(Entity entity) noexcept {
    Storage<T>* storage = FindStorage<T>();
    return storage != nullptr ? storage->Find(entity) : nullptr;
}

template <class T>
const T* Registry::TryGet(Entity entity) const noexcept {
    const Storage<T>* storage = FindStorage<T>();
    return storage != nullptr ? storage->Find(entity) : nullptr;
}

template <class T>
T& Registry::Get(Entity entity) {
    Storage<T>* storage = FindStorage<T>();
    if (storage == nullptr) {
        Detail::ThrowMissingStorage();
    }
    T* component = storage->Find(entity);
    if (component == nullptr) {
        Detail::ThrowMissingComponent();
    }
    return *component;
}

template <class T>
const T& Registry::Get(Entity entity) const {
    const Storage<T>* storage = FindStorage<T>();
    if (storage == nullptr) {
        Detail::ThrowMissingStorage();
    }
    const T* component = storage->Find(entity);
    if (component == nullptr) {
        Detail::ThrowMissingComponent();
    }
    return *component;
}

template <class T>
void Registry::Remove(Entity entity) {
    Storage<T>* storage = FindStorage<T>();
    if (storage != nullptr && storage->Contains(entity)) {
        storage->Remove(*this, entity);
        ++revision;
    }
}

template <class First, class... Rest, class Fn>
void Registry::Each(Fn&& fn) {
    EachIn<Registry, First, Rest...>(*this, fn);
}

template <class First, class... Rest, class Fn>
void Registry::Each(Fn&& fn) const {
    EachIn<const Registry, First, Rest...>(*this, fn);
}

template <class Self, class First, class... Rest, class Fn>
void Registry::EachIn(Self& self, Fn& fn) {
    auto* first = self.template FindStorage<First>();
    if (first == nullptr) {
        return;
    }
    const auto others = std::make_tuple(self.template FindStorage<Rest>()...);
    const bool allPresent = std::apply([](const auto*... storage) { return ((storage != nullptr) && ...); }, others);
    if (!allPresent || first->dense.empty()) {
        return;
    }
    // By position and re-reading the size: fn may grow or shrink the storages.
    for (std::size_t position = 0; position < first->dense.size(); ++position) {
        const Entity entity = first->dense[position];
        if constexpr (sizeof...(Rest) == 0) {
            fn(entity, first->components[position]);
        } else {
            std::apply(
                [&](auto*... storage) {
                    const auto found = std::make_tuple(storage->Find(entity)...);
                    std::apply(
                        [&](auto*... component) {
                            if (((component != nullptr) && ...)) {
                                fn(entity, first->components[position], *component...);
                            }
                        },
                        found);
                },
                others);
        }
    }
}

} // namespace Brelk::Scene
