#pragma once

#include "engine/core/Guid.h"
#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecord.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/ComponentTypeEntry.h"
#include "engine/scene/Entity.h"
#include "engine/scene/Registry.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace Brelk::Scene {

// The process-wide table of component types. Registration runs once, on one thread, at
// start-up (InstallComponents); afterwards the table is read without locks, but for
// plugin components, which join later under their own lock.
class ComponentRegistry {
public:
    // A registry of its own, apart from the process-wide one; tests build small tables.
    ComponentRegistry() = default;
    ComponentRegistry(const ComponentRegistry&) = delete;
    ComponentRegistry& operator=(const ComponentRegistry&) = delete;

    static ComponentRegistry& Instance();

    // Registers T, or registers it again (the new entry replaces the old, but keeps the
    // old registration index). Also registers T's reflected type under `name`, version 1.
    // Registrars call the free RegisterComponent<T>, which wraps the entry in a builder.
    template <class T>
    ComponentTypeEntry& RegisterComponent(std::string name, std::string displayName, std::string group,
                                          ComponentFlags flags);

    [[nodiscard]] const ComponentTypeEntry* Find(const std::type_info& type) const;
    [[nodiscard]] const ComponentTypeEntry* Find(const std::string& name) const;
    template <class T>
    [[nodiscard]] const ComponentTypeEntry* Find() const { return Find(typeid(T)); }
    [[nodiscard]] ComponentTypeEntry* FindMutable(const std::type_info& type);

    // The listing order for users: by group, then display name, as byte strings.
    // Rebuilt after a registration; not safe to call from two threads before that.
    [[nodiscard]] std::span<const ComponentTypeEntry* const> Entries();
    // The order of every saved file: by registration index.
    void EntriesInRegistrationOrder(std::vector<const ComponentTypeEntry*>& out) const;

    [[nodiscard]] std::size_t Size() const noexcept { return byType_.size(); }

private:
    ComponentTypeEntry& Store(ComponentTypeEntry&& entry);

    // Node-based: entry addresses stay put while others join, and a type registered
    // again is assigned over its old entry in place.
    std::unordered_map<std::type_index, ComponentTypeEntry> byType_;
    std::unordered_map<std::string, ComponentTypeEntry*> byName_;
    std::vector<const ComponentTypeEntry*> sorted_;
    bool sortedDirty_ = true;
    std::uint64_t nextRegistrationIndex_ = 0;
};

// The checks over a whole entry, also for entries filled without the builder: replicated
// paths and save-game field names must be unique, and the entry must have a main record.
// Throws std::invalid_argument.
void ValidateComponentEntry(const ComponentTypeEntry& entry);

namespace Detail {

// One default-constructed T per type: the source of schema defaults, member offsets and
// the reset values of transient members.
template <class T>
const T& DefaultInstance() {
    static const T instance{};
    return instance;
}

template <class T, class V>
std::uint64_t MemberOffset(V T::*member) {
    const T& probe = DefaultInstance<T>();
    return static_cast<std::uint64_t>(reinterpret_cast<const unsigned char*>(&(probe.*member)) -
                                      reinterpret_cast<const unsigned char*>(&probe));
}

const Reflection::SchemaCodecContext& CodecOrEmpty(const Reflection::SchemaCodecContext* codec) noexcept;

// The Guid of a live entity that has one, else the null Guid.
Core::Guid StableGuidOf(const Registry& registry, Entity entity);
Entity FindEntityByStableGuid(const Registry& registry, const Core::Guid& guid);

// Installs `save` from a step that appends the records of a (possibly hook-edited) copy
// of the component. With `onSave` hooks the step sees a private copy; without, the live
// component itself.
template <class T, class Write>
void InstallComponentSaver(ComponentTypeEntry& entry, Write write) {
    entry.save = [&entry, write = std::move(write)](const void* component, const ComponentSaveContext& context,
                                                     std::vector<Reflection::SchemaRecord>& out) mutable {
        const T& live = *static_cast<const T*>(component);
        if (entry.onSave.empty()) {
            write(live, context, out);
            return;
        }
        T copy = live;
        for (const auto& hook : entry.onSave) {
            hook(&copy, context);
        }
        write(std::as_const(copy), context, out);
    };
}

// Installs the four load functions. `read` takes each record of the component into the
// state's value and extra parts; `finish` checks the parts once all records are in.
// `onLoad` hooks run after `finish`, in order.
template <class T, class Extra, class Read, class Finish>
void InstallComponentLoader(ComponentTypeEntry& entry, Read read, Finish finish) {
    using State = ComponentLoadValue<T, Extra>;
    entry.createLoadState = [] { return std::unique_ptr<ComponentLoadState>(std::make_unique<State>()); };
    entry.readRecord = [read = std::move(read)](ComponentLoadState& state, const Reflection::SchemaRecord& record,
                                                std::uint64_t recordIndex, const ComponentLoadContext& context) mutable {
        auto& typed = static_cast<State&>(state);
        read(typed.value, typed.extra, record, recordIndex, context);
    };
    entry.finishLoad = [&entry, finish = std::move(finish)](ComponentLoadState& state,
                                                            const ComponentLoadContext& context) mutable {
        auto& typed = static_cast<State&>(state);
        finish(typed.value, typed.extra);
        for (const auto& hook : entry.onLoad) {
            hook(&typed.value, context);
        }
    };
    entry.applyLoad = [](ComponentLoadState& state, Registry& registry, Entity entity) {
        registry.Emplace<T>(entity, std::move(static_cast<State&>(state).value));
    };
}

// The default record form: one record, the component's reflected fields.
template <class T>
void InstallDefaultRecordForm(ComponentTypeEntry& entry) {
    InstallComponentSaver<T>(entry, [](const T& component, const ComponentSaveContext& context,
                                       std::vector<Reflection::SchemaRecord>& out) {
        out.push_back(Reflection::EncodeObject(Reflection::MakeConstView(component),
                                               Reflection::ReflectionRegistry::Instance(),
                                               CodecOrEmpty(context.codec)));
    });
    InstallComponentLoader<T, std::monostate>(
        entry,
        [](T& value, std::monostate&, const Reflection::SchemaRecord& record, std::uint64_t,
           const ComponentLoadContext& context) {
            // Decoding stops half way on a bad field, so it goes into a fresh value.
            T fresh{};
            Reflection::DecodeObject(record, Reflection::MakeView(fresh),
                                     Reflection::ReflectionRegistry::Instance(), CodecOrEmpty(context.codec));
            value = std::move(fresh);
        },
        [](T&, std::monostate&) {});
}

template <class T>
void InstallComponentOperations(ComponentTypeEntry& entry) {
    entry.has = [](const Registry& registry, Entity entity) { return registry.Has<T>(entity); };
    entry.addDefault = [](Registry& registry, Entity entity) { registry.Emplace<T>(entity, T{}); };
    entry.remove = [](Registry& registry, Entity entity) { registry.Remove<T>(entity); };
    entry.getMutable = [](Registry& registry, Entity entity) -> void* { return registry.TryGet<T>(entity); };
    entry.getConst = [](const Registry& registry, Entity entity) -> const void* {
        return registry.TryGet<T>(entity);
    };
    entry.view = [](Registry& registry, Entity entity) {
        T* component = registry.TryGet<T>(entity);
        return component ? Reflection::MakeView(*component) : Reflection::ObjectView{};
    };
    entry.constView = [](const Registry& registry, Entity entity) {
        const T* component = registry.TryGet<T>(entity);
        return component ? Reflection::MakeConstView(*component) : Reflection::ObjectView{};
    };
    // A copy loses its run-time state before it lands, so that it starts as a fresh load would.
    const auto makeCopy = [&entry](const T& source, ComponentCopyKind kind) {
        T copy = source;
        for (const auto& reset : entry.resetTransient) {
            reset(&copy);
        }
        if (entry.onCopy) {
            entry.onCopy(&copy, kind);
        }
        return copy;
    };
    entry.copy = [makeCopy](Registry& registry, Entity from, Entity to, ComponentCopyKind kind) {
        const T* source = registry.TryGet<T>(from);
        if (source == nullptr) {
            return;
        }
        T copy = makeCopy(*source, kind);
        registry.Emplace<T>(to, std::move(copy));
    };
    entry.copyAcross = [makeCopy](const Registry& from, Registry& to, Entity source, Entity target,
                                  ComponentCopyKind kind) {
        const T* value = from.TryGet<T>(source);
        if (value == nullptr) {
            return;
        }
        to.Emplace<T>(target, makeCopy(*value, kind));
    };
}

} // namespace Detail

template <class T>
ComponentTypeEntry& ComponentRegistry::RegisterComponent(std::string name, std::string displayName,
                                                         std::string group, ComponentFlags flags) {
    static_assert(std::is_default_constructible_v<T>, "A component's default constructor is its schema default.");
    static_assert(std::is_copy_constructible_v<T>, "Components are copied by entity copy and save hooks.");

    ComponentTypeEntry local;
    local.name = std::move(name);
    local.displayName = std::move(displayName);
    local.group = std::move(group);
    local.flags = static_cast<std::uint32_t>(flags);
    local.userAddable = HasComponentFlag(local.flags, ComponentFlags::UserAddable);
    local.saved = HasComponentFlag(local.flags, ComponentFlags::Saved);
    local.type = typeid(T);
    local.size = sizeof(T);
    local.alignment = alignof(T);

    Reflection::ReflectionRegistry::Instance().RegisterType<T>(local.name, local.displayName, local.group, 1);

    ComponentTypeEntry& entry = Store(std::move(local));
    entry.records = {ComponentRecordSpec{entry.name, false}};
    // The functions capture the stored entry, whose address is stable for the process.
    Detail::InstallComponentOperations<T>(entry);
    Detail::InstallDefaultRecordForm<T>(entry);
    return entry;
}

// The fluent face of registration. Each call records what it is told; the checks that
// span several calls run once, in ValidateComponentEntry, when the install is complete.
template <class T>
class ComponentBuilder {
public:
    explicit ComponentBuilder(ComponentTypeEntry& entry) noexcept : entry_(&entry) {}

    ComponentTypeEntry& Entry() const noexcept { return *entry_; }

    ComponentBuilder& Description(std::string text) {
        entry_->description = std::move(text);
        return *this;
    }

    // A reflected property, in record order. The kind comes from the attribute if it sets
    // one, else from V. A Guid member flagged as an entity reference is also remapped
    // when entities are copied.
    template <class V, class Owner>
        requires std::is_base_of_v<Owner, T>
    ComponentBuilder& Field(const char* name, V Owner::*member, const Reflection::FieldAttr& attribute = {}) {
        const auto typedMember = static_cast<V T::*>(member);
        const bool entityReference = attribute.attributes.Has(Reflection::PropertyFlags::EntityReference);
        Reflection::AddReflectedField<T, V>(Reflection::ReflectionRegistry::Instance(), entry_->name, name,
                                            typedMember, attribute);
        AddFieldRow(name, Detail::MemberOffset(typedMember), sizeof(V), alignof(V),
                    ComponentFieldSource::SchemaProperty);
        if constexpr (std::is_same_v<V, Core::Guid>) {
            if (entityReference) {
                entry_->remap.push_back([typedMember](void* component, const EntityReferenceRemapper& remapper) {
                    remapper.RemapGuid(static_cast<T*>(component)->*typedMember);
                });
            }
        }
        return *this;
    }

    // A member that is no property but whose data the component saves by its own
    // records (the sample arrays of a terrain).
    template <class V>
    ComponentBuilder& AddCustom(V T::*member) {
        const std::uint64_t offset = Detail::MemberOffset(member);
        AddFieldRow("custom@" + std::to_string(offset), offset, sizeof(V), alignof(V), ComponentFieldSource::Custom);
        return *this;
    }

    // A run-time member: never saved, and put back to the type's default on every copy.
    template <class V>
    ComponentBuilder& AddTransient(V T::*member) {
        const std::uint64_t offset = Detail::MemberOffset(member);
        AddFieldRow("transient@" + std::to_string(offset), offset, sizeof(V), alignof(V),
                    ComponentFieldSource::Transient);
        entry_->resetTransient.push_back([member](void* component) {
            static_cast<T*>(component)->*member = Detail::DefaultInstance<T>().*member;
        });
        return *this;
    }

    // An older name of the main record and the rewrite into the current form.
    ComponentBuilder& RecordAlias(std::string name, std::function<void(Reflection::SchemaRecord&)> upgrade) {
        entry_->aliases.push_back(ComponentRecordAlias{std::move(name), std::move(upgrade)});
        return *this;
    }

    // Upgrades a record written in an older schema version before it is decoded.
    ComponentBuilder& Migrate(std::function<void(Reflection::SchemaRecord&, std::uint32_t fromVersion)> migrate) {
        entry_->migrate = std::move(migrate);
        return *this;
    }

    // The current schema version of the component's record.
    ComponentBuilder& Version(std::uint32_t version) {
        if (version == 0) {
            throw std::invalid_argument("Value schema versions start at 1: " + entry_->name);
        }
        Reflection::ReflectionRegistry::Instance().RegisterType<T>(entry_->name, entry_->displayName, entry_->group,
                                                                    version);
        return *this;
    }

    // fn(T& copy, const ComponentSaveContext&), run on the private copy that is saved.
    template <class F>
        requires std::invocable<F&, T&, const ComponentSaveContext&>
    ComponentBuilder& OnSave(F fn) {
        entry_->onSave.push_back([fn = std::move(fn)](void* component, const ComponentSaveContext& context) mutable {
            fn(*static_cast<T*>(component), context);
        });
        return *this;
    }

    // fn(T& loaded, const ComponentLoadContext&), run once all records of the entity are in.
    template <class F>
        requires std::invocable<F&, T&, const ComponentLoadContext&>
    ComponentBuilder& OnLoad(F fn) {
        entry_->onLoad.push_back([fn = std::move(fn)](void* component, const ComponentLoadContext& context) mutable {
            fn(*static_cast<T*>(component), context);
        });
        return *this;
    }

    // fn(T& component, const Registry&, Entity), run after every entity of a file exists.
    template <class F>
        requires std::invocable<F&, T&, const Registry&, Entity>
    ComponentBuilder& OnResolve(F fn) {
        entry_->onResolve.push_back([fn = std::move(fn)](void* component, const Registry& registry,
                                                         Entity entity) mutable {
            fn(*static_cast<T*>(component), registry, entity);
        });
        return *this;
    }

    // fn(T& component, const EntityReferenceRemapper&), run on a copied component.
    template <class F>
        requires std::invocable<F&, T&, const EntityReferenceRemapper&>
    ComponentBuilder& AddRemap(F fn) {
        entry_->remap.push_back([fn = std::move(fn)](void* component, const EntityReferenceRemapper& remapper) mutable {
            fn(*static_cast<T*>(component), remapper);
        });
        return *this;
    }

    template <class F>
        requires std::invocable<F&, T&, const EntityReferenceRemapper&>
    ComponentBuilder& OnRemap(F fn) {
        return AddRemap(std::move(fn));
    }

    // fn(T& copy, ComponentCopyKind), run on a copy before it lands on its entity.
    template <class F>
        requires std::invocable<F&, T&, ComponentCopyKind>
    ComponentBuilder& OnCopy(F fn) {
        entry_->onCopy = [fn = std::move(fn)](void* component, ComponentCopyKind kind) mutable {
            fn(*static_cast<T*>(component), kind);
        };
        return *this;
    }

    ComponentBuilder& Replicated(std::string path, ReplicationSettings settings = {}) {
        if (path.empty()) {
            throw std::invalid_argument("Replicated field path is empty: " + entry_->name);
        }
        for (const ReplicatedField& field : entry_->replicatedFields) {
            if (field.path == path) {
                throw std::invalid_argument("Field replicated twice: " + entry_->name + "." + path);
            }
        }
        entry_->replicatedFields.push_back(ReplicatedField{std::move(path), settings});
        return *this;
    }

    // A handle member (not saved) paired with the Guid member saved in its place. Copies
    // remap the pair together. With `resolve`, saving refreshes the Guid from a live
    // handle and loading turns the Guid back into a handle once all entities exist.
    ComponentBuilder& EntityLink(Entity T::*entity, Core::Guid T::*guid, bool resolve = true) {
        entry_->remap.push_back([entity, guid](void* component, const EntityReferenceRemapper& remapper) {
            T& typed = *static_cast<T*>(component);
            remapper.RemapLink(typed.*entity, typed.*guid);
        });
        if (resolve) {
            entry_->onSave.push_back([entity, guid](void* component, const ComponentSaveContext& context) {
                T& typed = *static_cast<T*>(component);
                const Core::Guid current = Detail::StableGuidOf(context.registry, typed.*entity);
                // A handle into another scene (or none) keeps the Guid that was loaded.
                if (current.IsValid()) {
                    typed.*guid = current;
                }
            });
            entry_->onResolve.push_back([entity, guid](void* component, const Registry& registry, Entity) {
                T& typed = *static_cast<T*>(component);
                typed.*entity = Detail::FindEntityByStableGuid(registry, typed.*guid);
            });
        }
        return *this;
    }

    // A save-game field with the encoding of V (f32, bool, vec3 or string).
    template <class V>
    ComponentBuilder& SaveGame(const char* name, V T::*member) {
        return AddSaveGameField(
            name,
            [member](const void* component, Assets::ByteWriter& writer, const SaveGameFieldCodecContext&) {
                Detail::WriteSaveGameValue(writer, static_cast<const T*>(component)->*member);
            },
            [member](void* component, Assets::ByteReader& reader, const SaveGameFieldCodecContext&) {
                Detail::ReadSaveGameValue(reader, static_cast<T*>(component)->*member);
            });
    }

    // A save-game field holding an entity, stored as its Guid.
    ComponentBuilder& SaveGameEntity(const char* name, Entity T::*member) {
        return AddSaveGameField(
            name,
            [member](const void* component, Assets::ByteWriter& writer, const SaveGameFieldCodecContext& context) {
                Detail::WriteSaveGameEntity(writer, static_cast<const T*>(component)->*member, context);
            },
            [member](void* component, Assets::ByteReader& reader, const SaveGameFieldCodecContext& context) {
                static_cast<T*>(component)->*member = Detail::ReadSaveGameEntity(reader, context);
            });
    }

    // A save-game field with codec functions of its own:
    // write(const T&, ByteWriter&, const SaveGameFieldCodecContext&) and
    // read(T&, ByteReader&, const SaveGameFieldCodecContext&).
    template <class Write, class Read>
        requires std::invocable<Write&, const T&, Assets::ByteWriter&, const SaveGameFieldCodecContext&> &&
                 std::invocable<Read&, T&, Assets::ByteReader&, const SaveGameFieldCodecContext&>
    ComponentBuilder& SaveGameValue(const char* name, Write write, Read read) {
        return AddSaveGameField(
            name,
            [write = std::move(write)](const void* component, Assets::ByteWriter& writer,
                                       const SaveGameFieldCodecContext& context) mutable {
                write(*static_cast<const T*>(component), writer, context);
            },
            [read = std::move(read)](void* component, Assets::ByteReader& reader,
                                     const SaveGameFieldCodecContext& context) mutable {
                read(*static_cast<T*>(component), reader, context);
            });
    }

    // The common step of the three above. A repeated name throws std::invalid_argument.
    ComponentBuilder& AddSaveGameField(std::string name, decltype(SaveGameField::write) write,
                                       decltype(SaveGameField::read) read) {
        for (const SaveGameField& field : entry_->saveGameFields.fields) {
            if (field.name == name) {
                throw std::invalid_argument("Duplicate save-game field: " + entry_->name + "." + name);
            }
        }
        entry_->saveGameFields.fields.push_back(SaveGameField{std::move(name), std::move(write), std::move(read)});
        if (!entry_->saveGameFields.applyGuard) {
            // Apply to a copy and assign it back only when every field read cleanly.
            entry_->saveGameFields.applyGuard = [](void* component, const std::function<void(void*)>& applyFields) {
                T& live = *static_cast<T*>(component);
                T staged = live;
                applyFields(&staged);
                live = std::move(staged);
            };
        }
        return *this;
    }

    // Saves the component as one record of reflected type R:
    // toRecord(const T&, R&) and fromRecord(const R&, T&), each optionally taking the save
    // or load context as a third argument.
    template <class R, class ToRecord, class FromRecord>
    ComponentBuilder& SaveAs(ToRecord toRecord, FromRecord fromRecord) {
        const Reflection::TypeInfo* recordType = Reflection::ReflectionRegistry::Instance().FindType(typeid(R));
        if (recordType == nullptr) {
            throw std::invalid_argument("SaveAs record type is not reflected: " + entry_->name);
        }
        entry_->records = {ComponentRecordSpec{recordType->name, false}};
        entry_->customRecords = true;
        Detail::InstallComponentSaver<T>(
            *entry_, [toRecord = std::move(toRecord)](const T& component, const ComponentSaveContext& context,
                                                      std::vector<Reflection::SchemaRecord>& out) mutable {
                R record{};
                if constexpr (std::is_invocable_v<ToRecord&, const T&, R&, const ComponentSaveContext&>) {
                    toRecord(component, record, context);
                } else {
                    toRecord(component, record);
                }
                out.push_back(Reflection::EncodeObject(Reflection::MakeConstView(record),
                                                       Reflection::ReflectionRegistry::Instance(),
                                                       Detail::CodecOrEmpty(context.codec)));
            });
        Detail::InstallComponentLoader<T, std::monostate>(
            *entry_,
            [fromRecord = std::move(fromRecord)](T& value, std::monostate&, const Reflection::SchemaRecord& record,
                                                 std::uint64_t, const ComponentLoadContext& context) mutable {
                R decoded{};
                Reflection::DecodeObject(record, Reflection::MakeView(decoded),
                                         Reflection::ReflectionRegistry::Instance(),
                                         Detail::CodecOrEmpty(context.codec));
                T fresh{};
                if constexpr (std::is_invocable_v<FromRecord&, const R&, T&, const ComponentLoadContext&>) {
                    fromRecord(std::as_const(decoded), fresh, context);
                } else {
                    fromRecord(std::as_const(decoded), fresh);
                }
                value = std::move(fresh);
            },
            [](T&, std::monostate&) {});
        return *this;
    }

    // Saves the component as a series of records (a main record, then parts). Extra is
    // the parts bookkeeping of one load:
    //   writeParts(const T&, std::vector<SchemaRecord>& out, const ComponentSaveContext&)
    //   readParts(T&, Extra&, const SchemaRecord&, std::uint64_t sourceBytes, const ComponentLoadContext&)
    //   finishParts(T&, Extra&), the check once all records of the entity are in.
    template <class Extra, class WriteParts, class ReadParts, class FinishParts>
    ComponentBuilder& Records(std::vector<ComponentRecordSpec> records, WriteParts writeParts, ReadParts readParts,
                              FinishParts finishParts) {
        if (records.empty()) {
            throw std::invalid_argument("Component records need a main record: " + entry_->name);
        }
        entry_->records = std::move(records);
        entry_->customRecords = true;
        Detail::InstallComponentSaver<T>(
            *entry_, [writeParts = std::move(writeParts)](const T& component, const ComponentSaveContext& context,
                                                          std::vector<Reflection::SchemaRecord>& out) mutable {
                writeParts(component, out, context);
            });
        Detail::InstallComponentLoader<T, Extra>(
            *entry_,
            [readParts = std::move(readParts)](T& value, Extra& parts, const Reflection::SchemaRecord& record,
                                               std::uint64_t, const ComponentLoadContext& context) mutable {
                readParts(value, parts, record, context.sourceBytes, context);
            },
            std::move(finishParts));
        return *this;
    }

    // Runs the checks that span several calls now rather than at the end of the install.
    const ComponentBuilder& Validate() const {
        ValidateComponentEntry(*entry_);
        return *this;
    }

private:
    void AddFieldRow(std::string name, std::uint64_t offset, std::uint64_t size, std::uint64_t alignment,
                     ComponentFieldSource source) {
        entry_->fields.push_back(
            ComponentFieldInfo{std::move(name), offset, size, alignment, static_cast<std::uint8_t>(source)});
    }

    ComponentTypeEntry* entry_;
};

// Registers T with the process-wide table and returns the builder for its declarations.
template <class T>
ComponentBuilder<T> RegisterComponent(std::string name, std::string displayName, std::string group,
                                      ComponentFlags flags) {
    return ComponentBuilder<T>(ComponentRegistry::Instance().RegisterComponent<T>(
        std::move(name), std::move(displayName), std::move(group), flags));
}

} // namespace Brelk::Scene
