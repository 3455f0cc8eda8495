#include "engine/scene/ComponentLoad.h"

#include "engine/core/Logger.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/PluginComponentNames.h"
#include "engine/scene/PreservedRecordSet.h"
#include "engine/scene/Registry.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <typeindex>

namespace Brelk::Scene {

namespace {

struct RetiredComponent {
    std::string_view name;
    std::string_view replacement;
    std::atomic<bool> warned{false};
};

// Components whose game rules moved into scripts. Their records still stand in old files;
// loading skips them and says once per process where the rules went.
RetiredComponent gRetiredComponents[] = {
    {"WeaponComponent", "a game script (see the Weapon script of the project templates)"},
    {"PickupComponent", "a game script (see the Pickup script of the Duel Court template)"},
    {"DamageComponent", "a game script (see the DamageZone script of the Duel Court template)"},
};

RetiredComponent* FindRetired(std::string_view name) noexcept {
    for (RetiredComponent& row : gRetiredComponents) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

[[noreturn]] void FailDuplicate(const std::string& name) {
    throw std::runtime_error("Duplicate component schema: " + name);
}

} // namespace

bool IsRetiredComponent(std::string_view name) noexcept {
    return FindRetired(name) != nullptr;
}

ComponentLoadTable::ComponentLoadTable() : ComponentLoadTable(ComponentRegistry::Instance()) {}

ComponentLoadTable::ComponentLoadTable(const ComponentRegistry& registry) {
    std::vector<const ComponentTypeEntry*> ordered;
    registry.EntriesInRegistrationOrder(ordered);
    const std::uint32_t recordMask = static_cast<std::uint32_t>(ComponentFlags::Saved | ComponentFlags::EntityHeader);
    const auto claim = [this](const std::string& name, ComponentRecordTarget target) {
        if (!byRecordName.emplace(name, target).second) {
            throw std::logic_error("Two components claim the scene record name: " + name);
        }
    };
    for (const ComponentTypeEntry* entry : ordered) {
        if ((entry->flags & recordMask) != static_cast<std::uint32_t>(ComponentFlags::Saved)) {
            continue;
        }
        entries.push_back(entry);
        for (std::uint64_t index = 0; index < entry->records.size(); ++index) {
            claim(entry->records[index].name, ComponentRecordTarget{entry, index, nullptr});
        }
        for (const ComponentRecordAlias& alias : entry->aliases) {
            claim(alias.name, ComponentRecordTarget{entry, 0, &alias.upgrade});
        }
    }
}

const ComponentRecordTarget* ComponentLoadTable::FindRecord(const std::string& name) const {
    auto found = byRecordName.find(name);
    return found == byRecordName.end() ? nullptr : &found->second;
}

ComponentLoadSession::ComponentLoadSession(const ComponentLoadTable& table, const ComponentLoadContext& context)
    : table_(&table), context_(&context) {}

ComponentLoadSession::~ComponentLoadSession() = default;
ComponentLoadSession::ComponentLoadSession(ComponentLoadSession&&) noexcept = default;
ComponentLoadSession& ComponentLoadSession::operator=(ComponentLoadSession&&) noexcept = default;

ComponentLoadSession::StateRow* ComponentLoadSession::FindState(const ComponentTypeEntry* entry) {
    for (StateRow& row : states_) {
        if (row.entry == entry) {
            return &row;
        }
    }
    return nullptr;
}

void ComponentLoadSession::ReadRecord(Reflection::SchemaRecord&& record) {
    ReadWithContext(std::move(record), *context_);
}

void ComponentLoadSession::ReadRecord(Reflection::SchemaRecord&& record, std::uint64_t sourceBytes) {
    ComponentLoadContext context = *context_;
    context.sourceBytes = sourceBytes;
    ReadWithContext(std::move(record), context);
}

void ComponentLoadSession::ReadWithContext(Reflection::SchemaRecord&& record, const ComponentLoadContext& context) {
    const ComponentRecordTarget* target = table_->FindRecord(record.name);
    if (target == nullptr) {
        if (RetiredComponent* retired = FindRetired(record.name)) {
            if (!retired->warned.exchange(true)) {
                Core::Logger::Get().Log(Core::LogCategory::Scene, Core::LogLevel::Warning,
                                        std::string(retired->name) +
                                            " is no longer an engine component (D-01); its data is skipped. "
                                            "Game rules belong to " +
                                            std::string(retired->replacement) + ".");
            }
            return;
        }
        if (!IsPluginComponentName(record.name)) {
            throw std::runtime_error("Unsupported component schema: " + record.name);
        }
        NoteUnloadedPlugin(record.name);
        preserved_.push_back(std::move(record));
        return;
    }

    const ComponentTypeEntry& entry = *target->entry;
    StateRow* row = FindState(&entry);
    if (target->recordIndex == 0) {
        if (row != nullptr) {
            FailDuplicate(record.name);
        }
        if (target->upgrade != nullptr && *target->upgrade) {
            (*target->upgrade)(record);
        }
        const Reflection::TypeInfo* type = Reflection::ReflectionRegistry::Instance().FindType(record.name);
        if (type != nullptr && record.version != 0 && record.version < type->version && entry.migrate) {
            entry.migrate(record, record.version);
            record.version = type->version;
        }
        states_.push_back(StateRow{&entry, entry.createLoadState(), {0}, false});
        row = &states_.back();
    } else {
        if (row == nullptr) {
            throw std::runtime_error(record.name + " requires its " + entry.MainRecordName() + " record first.");
        }
        const bool repeatable = entry.records[target->recordIndex].repeatable;
        const bool seen = std::find(row->seenRecords.begin(), row->seenRecords.end(), target->recordIndex) !=
                          row->seenRecords.end();
        if (!repeatable && seen) {
            FailDuplicate(record.name);
        }
        if (!seen) {
            row->seenRecords.push_back(target->recordIndex);
        }
    }
    entry.readRecord(*row->state, record, target->recordIndex, context);
}

void ComponentLoadSession::Finish(bool requireAll) {
    for (StateRow& row : states_) {
        row.entry->finishLoad(*row.state, *context_);
    }
    if (!requireAll) {
        return;
    }
    for (const ComponentTypeEntry* entry : table_->entries) {
        if (entry->HasFlag(ComponentFlags::Required) && FindState(entry) == nullptr) {
            throw std::runtime_error("Entity is missing its " + entry->MainRecordName() + " record.");
        }
    }
}

void ComponentLoadSession::Apply(Registry& registry, Entity entity,
                                 const std::function<bool(const ComponentTypeEntry&)>& filter) {
    if (!preservedStored_ && !preserved_.empty()) {
        preservedStored_ = true;
        auto set = std::make_shared<PreservedRecordSet>();
        set->records = preserved_;
        registry.SetPreservedRecords(entity, std::move(set));
    }
    for (StateRow& row : states_) {
        if (row.applied) {
            continue;
        }
        if (filter && !filter(*row.entry)) {
            continue;
        }
        row.entry->applyLoad(*row.state, registry, entity);
        row.applied = true;
    }
}

bool ComponentLoadSession::Has(const std::type_info& type) const {
    const std::type_index wanted(type);
    return std::any_of(states_.begin(), states_.end(), [&](const StateRow& row) { return row.entry->type == wanted; });
}

void SaveEntityComponents(const ComponentLoadTable& table, const ComponentSaveContext& context,
                          std::vector<Reflection::SchemaRecord>& out) {
    for (const ComponentTypeEntry* entry : table.entries) {
        const void* component = entry->getConst(context.registry, context.entity);
        if (component == nullptr) {
            continue;
        }
        try {
            entry->save(component, context, out);
        } catch (const std::exception& error) {
            throw std::runtime_error(entry->name + ": " + error.what());
        }
    }
    if (const auto preserved = context.registry.GetPreservedRecords(context.entity)) {
        out.insert(out.end(), preserved->records.begin(), preserved->records.end());
    }
}

void ResolveEntityComponents(const ComponentLoadTable& table, Registry& registry, Entity entity) {
    for (const ComponentTypeEntry* entry : table.entries) {
        if (entry->onResolve.empty()) {
            continue;
        }
        void* component = entry->getMutable(registry, entity);
        if (component == nullptr) {
            continue;
        }
        for (const auto& hook : entry->onResolve) {
            hook(component, registry, entity);
        }
    }
}

} // namespace Brelk::Scene
