#include "engine/scene/plugins/PluginComponents.h"

#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/PluginComponentNames.h"
#include "engine/scene/PreservedRecordSet.h"
#include "engine/scene/Registry.h"
#include "engine/scene/plugins/PluginSlotRegistration.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <set>
#include <type_traits>
#include <utility>
#include <variant>

namespace Brelk::Scene {

namespace {

constexpr std::size_t kStringBytes = 32;
static_assert(sizeof(std::string) == kStringBytes, "Plugin string fields stand 32 bytes apart.");

struct SlotState {
    bool used = false;
    PluginComponentDefinition definition;
    std::array<std::byte, kPluginDataBytes> defaults{};
    std::array<std::string, kPluginStringCount> stringDefaults;
    ComponentTypeEntry* entry = nullptr;
    // Why registration threw, for a definition that comes again after its slot was spent.
    std::string failure;
};

struct KindLayout {
    Reflection::PropertyKind property;
    std::size_t size;
    std::size_t alignment;
};

constexpr KindLayout kKindLayouts[] = {
    {Reflection::PropertyKind::Bool, 1, 1},   {Reflection::PropertyKind::Int, 4, 4},
    {Reflection::PropertyKind::Float, 4, 4},  {Reflection::PropertyKind::Vec2, 8, 4},
    {Reflection::PropertyKind::Vec3, 12, 4},  {Reflection::PropertyKind::Vec4, 16, 4},
    {Reflection::PropertyKind::String, kStringBytes, 8}, {Reflection::PropertyKind::Guid, 16, 8},
};

std::array<SlotState, kPluginComponentSlots>& Slots() {
    static std::array<SlotState, kPluginComponentSlots> slots;
    return slots;
}

std::mutex& SlotMutex() {
    static std::mutex mutex;
    return mutex;
}

template <class T>
bool SameBits(const T& a, const T& b) noexcept {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

bool SameValue(const PluginFieldValue& a, const PluginFieldValue& b) {
    if (a.index() != b.index()) return false;
    return std::visit(
        [&](const auto& left) {
            using V = std::decay_t<decltype(left)>;
            const V& right = std::get<V>(b);
            if constexpr (std::is_same_v<V, float> || std::is_same_v<V, glm::vec2> || std::is_same_v<V, glm::vec3> ||
                          std::is_same_v<V, glm::vec4>) {
                return SameBits(left, right);
            } else {
                return left == right;
            }
        },
        a);
}

bool SameField(const PluginFieldDefinition& a, const PluginFieldDefinition& b) {
    return a.name == b.name && a.displayName == b.displayName && a.category == b.category && a.kind == b.kind &&
           SameValue(a.defaultValue, b.defaultValue) && a.hidden == b.hidden && a.readOnly == b.readOnly &&
           a.color == b.color && a.angle == b.angle && a.notSaved == b.notSaved &&
           a.entityReference == b.entityReference && a.hasRange == b.hasRange && SameBits(a.minimum, b.minimum) &&
           SameBits(a.maximum, b.maximum);
}

bool SameDefinition(const PluginComponentDefinition& a, const PluginComponentDefinition& b) {
    return a.name == b.name && a.displayName == b.displayName && a.group == b.group &&
           a.description == b.description && a.pluginId == b.pluginId && a.version == b.version &&
           a.userAddable == b.userAddable && a.saved == b.saved &&
           std::equal(a.fields.begin(), a.fields.end(), b.fields.begin(), b.fields.end(), SameField);
}

bool Fail(std::string* error, std::string message) {
    if (error != nullptr) *error = std::move(message);
    return false;
}

// Offsets of each field inside the slot type, in declaration order.
bool LayOutFields(const PluginComponentDefinition& definition, std::size_t stringOffset,
                  std::vector<std::size_t>& offsets, std::string* error) {
    std::size_t cursor = 0;
    std::size_t strings = 0;
    std::set<std::string, std::less<>> seen;
    for (const PluginFieldDefinition& field : definition.fields) {
        if (!IsValidPluginFieldName(field.name)) {
            return Fail(error, "Invalid field name '" + field.name +
                                   "' (letters, digits and '_', starting with a letter).");
        }
        if (!seen.insert(field.name).second) return Fail(error, "Duplicate field '" + field.name + "'.");
        const auto kind = static_cast<std::size_t>(field.kind);
        if (kind >= std::size(kKindLayouts) || field.defaultValue.index() != kind) {
            return Fail(error, "The default of field '" + field.name + "' does not match its type.");
        }
        if (field.kind == PluginFieldKind::String) {
            if (strings == kPluginStringCount) return Fail(error, "Too many string fields (limit 8).");
            offsets.push_back(stringOffset + kStringBytes * strings++);
            continue;
        }
        const KindLayout& layout = kKindLayouts[kind];
        const std::size_t offset = (cursor + layout.alignment - 1) / layout.alignment * layout.alignment;
        if (offset + layout.size > kPluginDataBytes) return Fail(error, "The fields need more than 256 bytes.");
        offsets.push_back(offset);
        cursor = offset + layout.size;
    }
    return true;
}

void WriteDefaults(SlotState& slot, std::size_t stringOffset, const std::vector<std::size_t>& offsets) {
    slot.defaults.fill(std::byte{0});
    for (auto& text : slot.stringDefaults) text.clear();
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        const PluginFieldValue& value = slot.definition.fields[i].defaultValue;
        if (const auto* text = std::get_if<std::string>(&value)) {
            slot.stringDefaults[(offsets[i] - stringOffset) / kStringBytes] = *text;
            continue;
        }
        std::visit(
            [&](const auto& typed) {
                if constexpr (!std::is_same_v<std::decay_t<decltype(typed)>, std::string>) {
                    std::memcpy(slot.defaults.data() + offsets[i], &typed, sizeof(typed));
                }
            },
            value);
    }
}

Reflection::PropertyAttributes AttributesOf(const PluginFieldDefinition& field) {
    using Reflection::PropertyFlags;
    Reflection::PropertyAttributes attributes;
    attributes.displayName = field.displayName;
    attributes.category = field.category;
    const std::pair<bool, std::uint32_t> flags[] = {
        {field.hidden, PropertyFlags::Hidden},     {field.readOnly, PropertyFlags::ReadOnly},
        {field.color, PropertyFlags::Color},       {field.angle, PropertyFlags::Angle},
        {field.notSaved, PropertyFlags::NotSaved}, {field.entityReference, PropertyFlags::EntityReference},
    };
    for (const auto& [set, flag] : flags) {
        if (set) attributes.flags |= flag;
    }
    if (field.hasRange && (field.kind == PluginFieldKind::Int || field.kind == PluginFieldKind::Float)) {
        attributes.hasRange = true;
        attributes.minimum = field.minimum;
        attributes.maximum = field.maximum;
    }
    return attributes;
}

// The rows that account for every byte of the slot type that no field took.
void AddUnusedRows(ComponentTypeEntry& entry, std::size_t stringOffset, const std::vector<bool>& stringUsed) {
    std::vector<std::pair<std::size_t, std::size_t>> taken;
    for (const ComponentFieldInfo& field : entry.fields) {
        if (field.offset < stringOffset) taken.emplace_back(field.offset, field.size);
    }
    std::sort(taken.begin(), taken.end());
    std::size_t cursor = 0;
    std::size_t gaps = 0;
    const auto addGap = [&](std::size_t end) {
        if (end <= cursor) return;
        entry.fields.push_back(ComponentFieldInfo{"unused" + std::to_string(gaps++), cursor, end - cursor, 1,
                                                  static_cast<std::uint8_t>(ComponentFieldSource::Transient)});
    };
    for (const auto& [offset, size] : taken) {
        addGap(offset);
        cursor = std::max(cursor, offset + size);
    }
    addGap(kPluginDataBytes);
    for (std::size_t i = 0; i < kPluginStringCount; ++i) {
        if (stringUsed[i]) continue;
        entry.fields.push_back(ComponentFieldInfo{"unusedString" + std::to_string(i),
                                                  stringOffset + kStringBytes * i, kStringBytes, 8,
                                                  static_cast<std::uint8_t>(ComponentFieldSource::Transient)});
    }
}

Detail::PluginSlotRegistrar RegistrarOf(std::size_t index) {
    using namespace Detail;
    const std::array<PluginSlotRegistrar, kPluginSlotsPerFile>* files[] = {
        &kPluginSlotRegistrars0, &kPluginSlotRegistrars1, &kPluginSlotRegistrars2, &kPluginSlotRegistrars3};
    return (*files[index / kPluginSlotsPerFile])[index % kPluginSlotsPerFile];
}

} // namespace

namespace Detail {

ComponentFlags PluginComponentFlags(const PluginComponentDefinition& definition) {
    ComponentFlags flags = ComponentFlags::None;
    if (definition.userAddable) flags = flags | ComponentFlags::UserAddable;
    if (definition.saved) flags = flags | ComponentFlags::Saved;
    return flags;
}

ComponentTypeEntry& FinishPluginSlotEntry(ComponentTypeEntry& entry, const PluginComponentDefinition& definition,
                                          const std::vector<std::size_t>& offsets) {
    entry.description = definition.description.empty()
                            ? "Plugin component of " + definition.pluginId + "."
                            : definition.description;
    auto& reflection = Reflection::ReflectionRegistry::Instance();
    std::vector<bool> stringUsed(kPluginStringCount, false);
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        const PluginFieldDefinition& field = definition.fields[i];
        const KindLayout& layout = kKindLayouts[static_cast<std::size_t>(field.kind)];
        std::visit(
            [&](const auto& value) {
                reflection.AddOffsetProperty(entry.name, field.name, offsets[i], layout.property,
                                             AttributesOf(field), value);
            },
            field.defaultValue);
        entry.fields.push_back(ComponentFieldInfo{field.name, offsets[i], layout.size, layout.alignment,
                                                  static_cast<std::uint8_t>(ComponentFieldSource::SchemaProperty)});
        if (field.kind == PluginFieldKind::String) {
            stringUsed[(offsets[i] - kPluginStringOffset) / kStringBytes] = true;
        }
        if (field.kind == PluginFieldKind::Guid && field.entityReference) {
            entry.remap.push_back([offset = offsets[i]](void* component, const EntityReferenceRemapper& remapper) {
                auto* bytes = static_cast<std::byte*>(component) + offset;
                Core::Guid guid;
                std::memcpy(&guid, bytes, sizeof(guid));
                remapper.RemapGuid(guid);
                std::memcpy(bytes, &guid, sizeof(guid));
            });
        }
    }
    AddUnusedRows(entry, kPluginStringOffset, stringUsed);
    // The install validated the table before this type joined it.
    ValidateComponentEntry(entry);
    return entry;
}

const std::array<std::byte, kPluginDataBytes>& PluginSlotDefaults(std::size_t index) noexcept {
    return Slots()[index].defaults;
}

const std::array<std::string, kPluginStringCount>& PluginSlotStringDefaults(std::size_t index) noexcept {
    return Slots()[index].stringDefaults;
}

} // namespace Detail

ComponentTypeEntry* DefinePluginComponent(const PluginComponentDefinition& definition, std::string* error) {
    const std::string& name = definition.name;
    if (name.empty() || name.size() > 128 || name.find('.') == std::string::npos) {
        Fail(error, "A plugin component name must be '<plugin id>.<name>'.");
        return nullptr;
    }
    InstallComponents();
    std::lock_guard lock(SlotMutex());
    auto& slots = Slots();
    for (const SlotState& slot : slots) {
        if (!slot.used || slot.definition.name != name) continue;
        if (SameDefinition(slot.definition, definition)) {
            if (slot.entry == nullptr) Fail(error, slot.failure);
            return slot.entry;
        }
        Fail(error, "The component '" + name +
                        "' is already registered with a different definition in this session (restart to change "
                        "its fields).");
        return nullptr;
    }
    if (ComponentRegistry::Instance().Find(name) != nullptr ||
        Reflection::ReflectionRegistry::Instance().FindType(std::string_view(name)) != nullptr) {
        Fail(error, "The name '" + name + "' is taken by another type.");
        return nullptr;
    }
    const auto free = std::find_if(slots.begin(), slots.end(), [](const SlotState& slot) { return !slot.used; });
    if (free == slots.end()) {
        Fail(error, "No more plugin component types can be registered (limit 64).");
        return nullptr;
    }
    const auto index = static_cast<std::size_t>(free - slots.begin());
    std::vector<std::size_t> offsets;
    if (!LayOutFields(definition, Detail::kPluginStringOffset, offsets, error)) return nullptr;

    SlotState& slot = *free;
    slot.definition = definition;
    WriteDefaults(slot, Detail::kPluginStringOffset, offsets);
    // From here the slot is spent even if registration fails: its native type may be
    // half registered, so a later definition takes the next one.
    slot.used = true;
    try {
        slot.entry = RegistrarOf(index)(slot.definition, offsets);
    } catch (const std::exception& exception) {
        slot.failure = "The component '" + name + "' could not be registered: " + exception.what();
        Fail(error, slot.failure);
        return nullptr;
    }
    return slot.entry;
}

bool IsPluginComponentDefined(const std::string& name) {
    std::lock_guard lock(SlotMutex());
    return std::any_of(Slots().begin(), Slots().end(),
                       [&](const SlotState& slot) { return slot.used && slot.definition.name == name; });
}

std::uint64_t RehydratePreservedComponents(Registry& registry, const Reflection::SchemaCodecContext& codec,
                                           std::vector<std::string>* errors) {
    const ComponentLoadTable table;
    const ComponentLoadContext context{&codec};
    std::uint64_t applied = 0;
    for (const Entity entity : registry.EntitiesWithPreservedRecords()) {
        const std::shared_ptr<PreservedRecordSet> kept = registry.GetPreservedRecords(entity);
        auto replacement = std::make_shared<PreservedRecordSet>();
        for (const Reflection::SchemaRecord& record : kept->records) {
            const ComponentRecordTarget* target = table.FindRecord(record.name);
            if (target == nullptr || target->recordIndex != 0) {
                replacement->records.push_back(record);
                continue;
            }
            try {
                ComponentLoadSession session(table, context);
                session.ReadRecord(Reflection::SchemaRecord(record));
                session.Finish(false);
                session.Apply(registry, entity);
                ++applied;
            } catch (const std::exception& exception) {
                replacement->records.push_back(record);
                if (errors != nullptr) errors->push_back(record.name + ": " + exception.what());
            }
        }
        registry.SetPreservedRecords(entity, replacement->records.empty() ? nullptr : std::move(replacement));
    }
    return applied;
}

bool SamePluginFieldValue(const PluginFieldValue& a, const PluginFieldValue& b) {
    return SameValue(a, b);
}

bool SamePluginDefinition(const PluginComponentDefinition& a, const PluginComponentDefinition& b) {
    return SameDefinition(a, b);
}

} // namespace Brelk::Scene
