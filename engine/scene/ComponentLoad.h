#pragma once

#include "engine/reflection/SchemaRecord.h"
#include "engine/scene/ComponentTypeEntry.h"
#include "engine/scene/Entity.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <typeinfo>
#include <unordered_map>
#include <vector>

namespace Brelk::Scene {

class ComponentRegistry;
class Registry;

// Where a record name leads: the component, which of its records, and for an older name
// the rewrite into the current form.
struct ComponentRecordTarget {
    const ComponentTypeEntry* entry = nullptr;
    std::uint64_t recordIndex = 0;
    const std::function<void(Reflection::SchemaRecord&)>* upgrade = nullptr;
};

// A snapshot of the component table for one whole load or save: the record names and the
// saved components in registration order. Rebuild it after plugin components change.
class ComponentLoadTable {
public:
    // From the process-wide table.
    ComponentLoadTable();
    // Throws std::logic_error when two components claim one record name.
    explicit ComponentLoadTable(const ComponentRegistry& registry);

    [[nodiscard]] const ComponentRecordTarget* FindRecord(const std::string& name) const;

    // Only the components stored as records: Saved and not EntityHeader.
    std::vector<const ComponentTypeEntry*> entries;
    std::unordered_map<std::string, ComponentRecordTarget> byRecordName;
};

// Turns the records of one entity into components. Use: ReadRecord for each record in file
// order, Finish, Apply; after all entities of the file are applied, ResolveEntityComponents.
// Nothing reaches a Registry before Apply, so a session that throws leaves no trace.
class ComponentLoadSession {
public:
    // Both must outlive the session.
    ComponentLoadSession(const ComponentLoadTable& table, const ComponentLoadContext& context);
    ~ComponentLoadSession();
    ComponentLoadSession(ComponentLoadSession&&) noexcept;
    ComponentLoadSession& operator=(ComponentLoadSession&&) noexcept;

    // Takes one record. Throws std::runtime_error with the bare message; the caller adds
    // where the record stood. A retired component is dropped with a warning, once per
    // process; a plugin's record that no loaded code knows is kept for saving back.
    void ReadRecord(Reflection::SchemaRecord&& record);
    // The same, with the record's size in its source for this one record.
    void ReadRecord(Reflection::SchemaRecord&& record, std::uint64_t sourceBytes);

    // Completes every opened component; with `requireAll` an entity missing a Required
    // component fails: "Entity is missing its <record> record.".
    void Finish(bool requireAll);

    // Moves the loaded components onto the entity and stores the preserved records. With
    // a filter, components it refuses stay in the session for a later call.
    void Apply(Registry& registry, Entity entity,
               const std::function<bool(const ComponentTypeEntry&)>& filter = {});

    // True if a record of this component type was read.
    [[nodiscard]] bool Has(const std::type_info& type) const;

    [[nodiscard]] std::span<const Reflection::SchemaRecord> Preserved() const noexcept { return preserved_; }

private:
    struct StateRow {
        const ComponentTypeEntry* entry = nullptr;
        std::unique_ptr<ComponentLoadState> state;
        std::vector<std::uint64_t> seenRecords;
        bool applied = false;
    };

    StateRow* FindState(const ComponentTypeEntry* entry);
    void ReadWithContext(Reflection::SchemaRecord&& record, const ComponentLoadContext& context);

    const ComponentLoadTable* table_;
    const ComponentLoadContext* context_;
    std::vector<StateRow> states_;
    std::vector<Reflection::SchemaRecord> preserved_;
    bool preservedStored_ = false;
};

// Appends the records of one entity in file order: components in registration order (a
// component may give several records), then the entity's preserved records unchanged.
// A component's failure is rethrown as std::runtime_error "<component>: <message>".
void SaveEntityComponents(const ComponentLoadTable& table, const ComponentSaveContext& context,
                          std::vector<Reflection::SchemaRecord>& out);

// Runs the second-pass hooks of the entity's components, once every entity of a file exists.
void ResolveEntityComponents(const ComponentLoadTable& table, Registry& registry, Entity entity);

// The components that game scripts replaced; their records are skipped with a warning.
[[nodiscard]] bool IsRetiredComponent(std::string_view name) noexcept;

} // namespace Brelk::Scene
