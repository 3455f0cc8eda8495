#pragma once

#include "engine/reflection/ObjectView.h"
#include "engine/reflection/SchemaRecord.h"
#include "engine/scene/Entity.h"
#include "engine/scene/EntityReferenceRemapper.h"
#include "engine/scene/SaveGameFields.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <typeindex>
#include <typeinfo>
#include <variant>
#include <vector>

namespace Brelk::Reflection {
struct SchemaCodecContext;
} // namespace Brelk::Reflection

namespace Brelk::Scene {

class Registry;

// What a component type is to the engine. The numbers are those that registrars pass:
// 3 for an ordinary component, 2, 18 for the transform, 82 for the header components
// (name, Guid, hierarchy) and 32 for run-time tags.
enum class ComponentFlags : std::uint32_t {
    None = 0,
    UserAddable = 1,
    Saved = 2,
    // Every entity has it; entity copy neither removes nor duplicates it.
    Required = 16,
    // Never saved, copied or listed.
    RuntimeOnly = 32,
    // Its data travels in the entity header lines of a scene file, not as a record.
    EntityHeader = 64,
};

constexpr ComponentFlags operator|(ComponentFlags a, ComponentFlags b) noexcept {
    return static_cast<ComponentFlags>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}

constexpr std::uint32_t operator&(ComponentFlags a, ComponentFlags b) noexcept {
    return static_cast<std::uint32_t>(a) & static_cast<std::uint32_t>(b);
}

constexpr bool HasComponentFlag(std::uint32_t flags, ComponentFlags flag) noexcept {
    return (flags & static_cast<std::uint32_t>(flag)) != 0;
}

// Where a row of ComponentTypeEntry::fields comes from.
enum class ComponentFieldSource : std::uint8_t {
    SchemaProperty = 0,
    Custom = 1,
    Transient = 2,
};

// One member of the component's native type. Together the rows account for every member,
// so that tools can tell saved data from run-time state without knowing the type.
struct ComponentFieldInfo {
    // The property name, or "custom@<offset>" / "transient@<offset>" for members that are
    // no property.
    std::string name;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::uint64_t alignment = 0;
    std::uint8_t source = 0;
};

struct ComponentRecordSpec {
    std::string name;
    // The record may stand several times under one entity (the chunks of a series).
    bool repeatable = false;
};

// An older name of the main record, with the rewrite that turns such a record into the
// current form before it is decoded.
struct ComponentRecordAlias {
    std::string name;
    std::function<void(Reflection::SchemaRecord&)> upgrade;
};

// How one replicated value is sent. The network layer that reads it lives outside the
// scene code; the table only carries it.
struct ReplicationSettings {
    // 1 sends a value only when it moved beyond `tolerance`; 0 sends every change.
    std::uint32_t mode = 0;
    float tolerance = 0.0f;
    float minimum = 0.0f;
    float maximum = 0.0f;
    bool reliable = false;
    bool hasTolerance = false;
    bool hasRange = false;
};

struct ReplicatedField {
    // Property path from the component, "transform.position".
    std::string path;
    ReplicationSettings settings;
};

// What the load functions of a component hand to each other while one entity is read.
// The only virtual operation is the destructor: each entry knows its own state type.
class ComponentLoadState {
public:
    virtual ~ComponentLoadState() = default;
};

// The value being loaded and, for a component saved as a series of records, the parts
// bookkeeping of that series.
template <class T, class Extra = std::monostate>
class ComponentLoadValue final : public ComponentLoadState {
public:
    T value{};
    Extra extra{};
};

struct ComponentLoadContext {
    const Reflection::SchemaCodecContext* codec = nullptr;
    // Bytes that the current record took up in its source; all ones when the source
    // cannot tell (a record built in memory).
    std::uint64_t sourceBytes = ~std::uint64_t{0};
};

struct ComponentSaveContext {
    const Registry& registry;
    Entity entity = kNullEntity;
    const Reflection::SchemaCodecContext* codec = nullptr;
};

// The table row of one component type: its names and flags, and the type-erased
// operations through which files, copies and tools treat it without knowing the type.
struct ComponentTypeEntry {
    std::string name;
    std::string displayName;
    std::string group;
    std::string description;
    std::uint32_t flags = 0;
    bool userAddable = false;
    bool saved = false;
    std::type_index type = typeid(void);
    std::uint64_t size = 0;
    std::uint64_t alignment = 0;
    // Position in registration order, which is the order of records in every saved file.
    // A type registered again keeps its first index.
    std::uint64_t registrationIndex = 0;
    std::vector<ComponentFieldInfo> fields;
    // Record 0 is the main record.
    std::vector<ComponentRecordSpec> records;
    std::vector<ComponentRecordAlias> aliases;
    std::function<void(Reflection::SchemaRecord&, std::uint32_t fromVersion)> migrate;
    // Appends the component's record or records.
    std::function<void(const void* component, const ComponentSaveContext&,
                       std::vector<Reflection::SchemaRecord>&)>
        save;
    std::function<std::unique_ptr<ComponentLoadState>()> createLoadState;
    std::function<void(ComponentLoadState&, const Reflection::SchemaRecord&, std::uint64_t recordIndex,
                       const ComponentLoadContext&)>
        readRecord;
    std::function<void(ComponentLoadState&, const ComponentLoadContext&)> finishLoad;
    std::function<void(ComponentLoadState&, Registry&, Entity)> applyLoad;
    // Second-pass fix-ups once every entity of a file exists.
    std::vector<std::function<void(void* component, const Registry&, Entity)>> onResolve;
    // Run on a private copy before it is encoded; the live component never changes.
    std::vector<std::function<void(void* component, const ComponentSaveContext&)>> onSave;
    std::vector<std::function<void(void* component, const ComponentLoadContext&)>> onLoad;
    // Set when SaveAs or Records replaced the default record form.
    bool customRecords = false;
    ComponentSaveGameFields saveGameFields;
    std::vector<ReplicatedField> replicatedFields;
    std::function<bool(const Registry&, Entity)> has;
    std::function<void(Registry&, Entity)> addDefault;
    std::function<void(Registry&, Entity)> remove;
    std::function<void(Registry&, Entity from, Entity to, ComponentCopyKind)> copy;
    std::function<void(const Registry&, Registry&, Entity from, Entity to, ComponentCopyKind)> copyAcross;
    // Null when the entity has no such component.
    std::function<void*(Registry&, Entity)> getMutable;
    std::function<const void*(const Registry&, Entity)> getConst;
    std::function<Reflection::ObjectView(Registry&, Entity)> view;
    std::function<Reflection::ObjectView(const Registry&, Entity)> constView;
    // Put run-time members of a copy back to their default values.
    std::vector<std::function<void(void* component)>> resetTransient;
    std::function<void(void* component, ComponentCopyKind)> onCopy;
    std::vector<std::function<void(void* component, const EntityReferenceRemapper&)>> remap;

    bool HasFlag(ComponentFlags flag) const noexcept { return HasComponentFlag(flags, flag); }
    const std::string& MainRecordName() const noexcept { return records.empty() ? name : records.front().name; }
};

} // namespace Brelk::Scene
