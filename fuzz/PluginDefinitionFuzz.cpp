// Plugin component definitions built from bytes: names of every length and byte, fields of
// every kind (and kinds that don't exist), defaults that don't match their kind, NaN and
// infinite defaults and ranges, duplicate, empty, overlong and non-ASCII field names, and
// the same definitions again, with and without a change. A reference model of the slot
// pool predicts each outcome: the exact refusal, a registration that fails after its slot
// is spent, the entry of an earlier definition, or a new entry whose layout, schema and
// default component are checked against the definition. Every entry a definition gets is
// then filled with values from the bytes and sent through a record, its text and a load.
//
// The pool has 64 slots for the whole process and a full pool refuses a new name before
// its fields are looked at. So the model keeps the last slots free: once they are reached,
// a definition that would take one gets a last field that spoils it, and the run keeps
// exercising the layout rules and the refusals that leave the pool untouched. The model
// remembers what the run has defined, so a failing input may fail only after the inputs
// that came before it; a failed check prints its line for that reason.

#include "engine/core/Guid.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaRecord.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/ComponentTypeEntry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Registry.h"
#include "engine/scene/plugins/PluginComponents.h"

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include <algorithm>
#include <any>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace {

using namespace Brelk;
using Reflection::PropertyFlags;
using Reflection::PropertyKind;
using Scene::ComponentFieldInfo;
using Scene::ComponentTypeEntry;
using Scene::PluginComponentDefinition;
using Scene::PluginFieldDefinition;
using Scene::PluginFieldKind;
using Scene::PluginFieldValue;
using Scene::SamePluginDefinition;
using Scene::SamePluginFieldValue;

// Names the line of a failed check, which a crash report of an inlined check can't.
void Check(bool condition, int line) {
    if (!condition) {
        std::fprintf(stderr, "Check failed at line %d.\n", line);
        std::abort();
    }
}

#define CHECK(condition) Check((condition), __LINE__)

constexpr std::size_t kSlots = 64;
// Two slots stay free so that a new name always reaches the layout rules.
constexpr std::size_t kSlotBudget = kSlots - 2;
constexpr std::size_t kDataBytes = 256;
constexpr std::size_t kStringCount = 8;
constexpr std::size_t kStringStride = 32;
constexpr std::size_t kMaxFields = 20;

struct KindShape {
    PropertyKind property;
    std::size_t size;
    std::size_t alignment;
    std::size_t floats; // float components that must be finite to be saved
};

constexpr KindShape kShapes[] = {
    {PropertyKind::Bool, 1, 1, 0},   {PropertyKind::Int, 4, 4, 0},    {PropertyKind::Float, 4, 4, 1},
    {PropertyKind::Vec2, 8, 4, 2},   {PropertyKind::Vec3, 12, 4, 3},  {PropertyKind::Vec4, 16, 4, 4},
    {PropertyKind::String, 32, 8, 0}, {PropertyKind::Guid, 16, 8, 0},
};
constexpr std::size_t kKindCount = std::size(kShapes);
constexpr auto kStringKind = static_cast<std::size_t>(PluginFieldKind::String);

// ---------------------------------------------------------------------------------------
// Reading the input
// ---------------------------------------------------------------------------------------

// Front to back, so that a seed can be written by hand; zeros once the bytes run out.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) noexcept : data_(data), size_(size) {}

    std::uint8_t Byte() noexcept { return at_ < size_ ? data_[at_++] : 0; }
    bool Empty() const noexcept { return at_ >= size_; }

    template <class T>
    T Raw() noexcept {
        static_assert(std::is_trivially_copyable_v<T>);
        unsigned char buffer[sizeof(T)] = {};
        const std::size_t take = std::min(sizeof(T), size_ - std::min(at_, size_));
        std::memcpy(buffer, data_ + at_, take);
        at_ += take;
        T value;
        std::memcpy(&value, buffer, sizeof(T));
        return value;
    }

    std::string Text(std::size_t maximum) {
        const std::size_t wanted = Byte() % (maximum + 1);
        const std::size_t take = std::min(wanted, size_ - std::min(at_, size_));
        std::string text(reinterpret_cast<const char*>(data_ + at_), take);
        at_ += take;
        return text;
    }

    // Mostly small values a plugin would write; a raw bit pattern, NaN and infinity
    // included, when the high bit says so.
    float Float() noexcept {
        const std::uint8_t mode = Byte();
        if ((mode & 0x80) == 0) {
            return static_cast<float>(static_cast<std::int8_t>(Byte())) / static_cast<float>((mode & 7) + 1);
        }
        return Raw<float>();
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

PluginFieldValue ValueOf(std::size_t alternative, Bytes& bytes) {
    switch (alternative) {
    case 0:
        return (bytes.Byte() & 1) != 0;
    case 1:
        return bytes.Raw<std::int32_t>();
    case 2:
        return bytes.Float();
    case 3:
        return glm::vec2(bytes.Float(), bytes.Float());
    case 4:
        return glm::vec3(bytes.Float(), bytes.Float(), bytes.Float());
    case 5:
        return glm::vec4(bytes.Float(), bytes.Float(), bytes.Float(), bytes.Float());
    case 6:
        return bytes.Text(24);
    default: {
        Core::Guid guid;
        if ((bytes.Byte() & 1) != 0) {
            guid.high = bytes.Raw<std::uint64_t>();
            guid.low = bytes.Raw<std::uint64_t>();
        }
        return guid;
    }
    }
}

std::string ComponentNameOf(Bytes& bytes) {
    static const std::string kTaken[] = {"Acme.Door", "Acme.Hatch", "Acme.Lamp", "Fuzz.A", "Fuzz.B", "Door", ""};
    const std::uint8_t mode = bytes.Byte() % 8;
    if (mode < 3) {
        return kTaken[bytes.Byte() % std::size(kTaken)];
    }
    if (mode == 3) {
        // Around the longest name allowed, 128 characters.
        return "Acme." + std::string(121 + bytes.Byte() % 4, 'x');
    }
    if (mode < 6) {
        return "Fuzz." + bytes.Text(40);
    }
    return bytes.Text(140);
}

std::string FieldNameOf(Bytes& bytes, const std::vector<PluginFieldDefinition>& before) {
    static const std::string kOdd[] = {"open", "speed", "Bad-Name", "", "_x", "9a", "a b", "t\xc3\xbcr",
                                       std::string(64, 'f'), std::string(65, 'f')};
    const std::uint8_t mode = bytes.Byte() % 8;
    if (mode < 4) {
        return "f" + std::to_string(before.size());
    }
    if (mode == 4) {
        return kOdd[bytes.Byte() % std::size(kOdd)];
    }
    if (mode == 5 && !before.empty()) {
        return before[bytes.Byte() % before.size()].name;
    }
    return bytes.Text(70);
}

PluginFieldDefinition FieldOf(Bytes& bytes, const std::vector<PluginFieldDefinition>& before) {
    PluginFieldDefinition field;
    field.name = FieldNameOf(bytes, before);
    const std::uint8_t kindByte = bytes.Byte();
    // Now and then a kind that no plugin can mean.
    field.kind = static_cast<PluginFieldKind>(kindByte >= 0xF0 ? kindByte : kindByte % kKindCount);
    const std::uint8_t alternativeByte = bytes.Byte();
    const auto kind = static_cast<std::size_t>(field.kind);
    field.defaultValue =
        ValueOf(kind < kKindCount && alternativeByte < 0xE0 ? kind : alternativeByte % kKindCount, bytes);
    const std::uint8_t flags = bytes.Byte();
    field.hidden = (flags & 1) != 0;
    field.readOnly = (flags & 2) != 0 && (flags & 0x80) != 0;
    field.color = (flags & 4) != 0;
    field.angle = (flags & 8) != 0;
    field.notSaved = (flags & 16) != 0;
    field.entityReference = (flags & 32) != 0;
    field.hasRange = (flags & 64) != 0;
    if ((flags & 0x80) != 0) {
        field.displayName = bytes.Text(12);
        field.category = bytes.Text(12);
    }
    if (field.hasRange) {
        field.minimum = bytes.Float();
        field.maximum = bytes.Float();
    }
    return field;
}

PluginComponentDefinition DefinitionOf(Bytes& bytes) {
    PluginComponentDefinition definition;
    definition.name = ComponentNameOf(bytes);
    const std::uint8_t texts = bytes.Byte();
    definition.pluginId = (texts & 1) != 0 ? bytes.Text(16) : "Acme";
    if ((texts & 2) != 0) definition.displayName = bytes.Text(16);
    if ((texts & 4) != 0) definition.group = bytes.Text(16);
    if ((texts & 8) != 0) definition.description = bytes.Text(16);
    definition.userAddable = (texts & 16) != 0;
    definition.saved = (texts & 32) != 0;
    definition.version = (texts & 64) != 0 ? bytes.Raw<std::uint32_t>() : bytes.Byte() % 4;
    const std::size_t count = bytes.Byte() % (kMaxFields + 1);
    for (std::size_t i = 0; i < count && !bytes.Empty(); ++i) {
        definition.fields.push_back(FieldOf(bytes, definition.fields));
    }
    return definition;
}

// ---------------------------------------------------------------------------------------
// The reference model
// ---------------------------------------------------------------------------------------

// Definitions are data: a NaN default is the same default as the NaN it was copied from,
// and a negative zero is not a zero, since the two are saved differently.
template <class T>
bool SameBits(const T& a, const T& b) noexcept {
    static_assert(std::has_unique_object_representations_v<T> || std::is_floating_point_v<T> ||
                  std::is_same_v<T, glm::vec2> || std::is_same_v<T, glm::vec3> || std::is_same_v<T, glm::vec4>);
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

bool IsLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

bool IsFieldName(std::string_view name) {
    return !name.empty() && name.size() <= 64 && IsLetter(name[0]) &&
           std::all_of(name.begin(), name.end(),
                       [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; });
}

bool IsRangeKind(PluginFieldKind kind) { return kind == PluginFieldKind::Int || kind == PluginFieldKind::Float; }

enum class Outcome { Refused, Failed, Registered, Existing };

struct Prediction {
    Outcome outcome = Outcome::Refused;
    std::string message;
    ComponentTypeEntry* entry = nullptr;
    std::vector<std::size_t> offsets; // of a new entry's fields, in declaration order
};

// A definition that took a slot, whether or not its registration went through.
struct Taken {
    PluginComponentDefinition definition;
    ComponentTypeEntry* entry = nullptr;
    std::string failure;
};

struct Pool {
    std::map<std::string, Taken, std::less<>> taken;
    std::size_t used = 0;
};

Pool& ThePool() {
    static Pool pool;
    return pool;
}

// The refusal of the fields, or an empty text with their offsets.
std::string LayOut(const PluginComponentDefinition& definition, std::vector<std::size_t>& offsets) {
    std::set<std::string_view> seen;
    std::size_t end = 0;
    std::size_t strings = 0;
    for (const PluginFieldDefinition& field : definition.fields) {
        if (!IsFieldName(field.name)) {
            return "Invalid field name '" + field.name + "' (letters, digits and '_', starting with a letter).";
        }
        if (!seen.insert(field.name).second) {
            return "Duplicate field '" + field.name + "'.";
        }
        const auto kind = static_cast<std::size_t>(field.kind);
        if (kind >= kKindCount || field.defaultValue.index() != kind) {
            return "The default of field '" + field.name + "' does not match its type.";
        }
        if (kind == kStringKind) {
            if (strings == kStringCount) {
                return "Too many string fields (limit 8).";
            }
            offsets.push_back(kDataBytes + kStringStride * strings++);
            continue;
        }
        const KindShape& shape = kShapes[kind];
        const std::size_t offset = (end + shape.alignment - 1) / shape.alignment * shape.alignment;
        if (offset + shape.size > kDataBytes) {
            return "The fields need more than 256 bytes.";
        }
        offsets.push_back(offset);
        end = offset + shape.size;
    }
    return {};
}

Prediction Predict(const PluginComponentDefinition& definition) {
    const Pool& pool = ThePool();
    const std::string& name = definition.name;
    Prediction prediction;
    if (name.empty() || name.size() > 128 || name.find('.') == std::string::npos) {
        prediction.message = "A plugin component name must be '<plugin id>.<name>'.";
        return prediction;
    }
    if (const auto found = pool.taken.find(name); found != pool.taken.end()) {
        if (!SamePluginDefinition(found->second.definition, definition)) {
            prediction.message = "The component '" + name +
                                 "' is already registered with a different definition in this session (restart "
                                 "to change its fields).";
        } else if (found->second.entry != nullptr) {
            prediction.outcome = Outcome::Existing;
            prediction.entry = found->second.entry;
        } else {
            prediction.message = found->second.failure;
        }
        return prediction;
    }
    if (Scene::ComponentRegistry::Instance().Find(name) != nullptr ||
        Reflection::ReflectionRegistry::Instance().FindType(std::string_view(name)) != nullptr) {
        prediction.message = "The name '" + name + "' is taken by another type.";
        return prediction;
    }
    if (pool.used == kSlots) {
        prediction.message = "No more plugin component types can be registered (limit 64).";
        return prediction;
    }
    prediction.message = LayOut(definition, prediction.offsets);
    if (!prediction.message.empty()) {
        return prediction;
    }
    for (const PluginFieldDefinition& field : definition.fields) {
        if (field.hasRange && IsRangeKind(field.kind) &&
            (!std::isfinite(field.minimum) || !std::isfinite(field.maximum) || field.minimum > field.maximum)) {
            prediction.outcome = Outcome::Failed;
            prediction.message = "The component '" + name +
                                 "' could not be registered: Property has an invalid numeric authoring range: " +
                                 field.name;
            return prediction;
        }
    }
    prediction.outcome = Outcome::Registered;
    return prediction;
}

bool TakesSlot(const Prediction& prediction) {
    return prediction.outcome == Outcome::Registered || prediction.outcome == Outcome::Failed;
}

std::string FreshFieldName(const PluginComponentDefinition& definition, std::size_t& counter) {
    for (;;) {
        std::string name = "spoil" + std::to_string(counter++);
        const bool used = std::any_of(definition.fields.begin(), definition.fields.end(),
                                      [&](const PluginFieldDefinition& field) { return field.name == name; });
        if (!used) {
            return name;
        }
    }
}

PluginFieldDefinition PlainField(std::string name, PluginFieldValue value) {
    PluginFieldDefinition field;
    field.name = std::move(name);
    field.kind = static_cast<PluginFieldKind>(value.index());
    field.defaultValue = std::move(value);
    return field;
}

// Appends what makes the layout refuse a definition whose fields are otherwise fine, so
// that every field before it is still laid out.
void Spoil(PluginComponentDefinition& definition, std::uint8_t how) {
    std::size_t counter = 0;
    switch (how % 5) {
    case 0:
        definition.fields.push_back(PlainField("Bad-Name", true));
        return;
    case 1:
        if (!definition.fields.empty()) {
            definition.fields.push_back(definition.fields[how % definition.fields.size()]);
            return;
        }
        definition.fields.push_back(PlainField("", 0.5f));
        return;
    case 2: {
        PluginFieldDefinition field = PlainField(FreshFieldName(definition, counter), true);
        field.kind = PluginFieldKind::Float;
        definition.fields.push_back(std::move(field));
        return;
    }
    case 3: {
        const auto strings = static_cast<std::size_t>(
            std::count_if(definition.fields.begin(), definition.fields.end(),
                          [](const PluginFieldDefinition& field) { return field.kind == PluginFieldKind::String; }));
        for (std::size_t i = strings; i <= kStringCount; ++i) {
            definition.fields.push_back(PlainField(FreshFieldName(definition, counter), std::string("x")));
        }
        return;
    }
    default:
        for (std::size_t i = 0; i <= kDataBytes / sizeof(glm::vec4); ++i) {
            definition.fields.push_back(PlainField(FreshFieldName(definition, counter), glm::vec4(1.0f)));
        }
        return;
    }
}

// ---------------------------------------------------------------------------------------
// Checks of an entry
// ---------------------------------------------------------------------------------------

const KindShape& ShapeOf(const PluginFieldDefinition& field) { return kShapes[static_cast<std::size_t>(field.kind)]; }

bool SameAsDefault(const std::byte* component, std::size_t offset, const PluginFieldValue& value) {
    return std::visit(
        [&](const auto& typed) {
            using V = std::decay_t<decltype(typed)>;
            if constexpr (std::is_same_v<V, std::string>) {
                return *reinterpret_cast<const std::string*>(component + offset) == typed;
            } else {
                return std::memcmp(component + offset, &typed, sizeof(V)) == 0;
            }
        },
        value);
}

bool SameAsAny(const std::any& stored, const PluginFieldValue& value) {
    return std::visit(
        [&](const auto& typed) {
            using V = std::decay_t<decltype(typed)>;
            const V* held = std::any_cast<V>(&stored);
            return held != nullptr && SamePluginFieldValue(PluginFieldValue(*held), value);
        },
        value);
}

std::uint32_t FlagsOf(const PluginFieldDefinition& field) {
    std::uint32_t flags = 0;
    if (field.hidden) flags |= PropertyFlags::Hidden;
    if (field.readOnly) flags |= PropertyFlags::ReadOnly;
    if (field.color) flags |= PropertyFlags::Color;
    if (field.angle) flags |= PropertyFlags::Angle;
    if (field.notSaved) flags |= PropertyFlags::NotSaved;
    if (field.entityReference) flags |= PropertyFlags::EntityReference;
    return flags;
}

void CheckRows(const ComponentTypeEntry& entry, const PluginComponentDefinition& definition,
               const std::vector<std::size_t>& offsets) {
    const std::vector<PluginFieldDefinition>& fields = definition.fields;
    CHECK(entry.fields.size() >= fields.size());
    std::vector<bool> covered(kDataBytes, false);
    std::vector<bool> stringTaken(kStringCount, false);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const ComponentFieldInfo& row = entry.fields[i];
        const bool text = fields[i].kind == PluginFieldKind::String;
        CHECK(row.name == fields[i].name && row.offset == offsets[i] && row.source == 0);
        CHECK(row.size == ShapeOf(fields[i]).size && row.alignment == ShapeOf(fields[i]).alignment);
        CHECK(row.offset % row.alignment == 0);
        if (text) {
            stringTaken[(row.offset - kDataBytes) / kStringStride] = true;
            continue;
        }
        CHECK(row.offset + row.size <= kDataBytes);
        for (std::size_t b = row.offset; b < row.offset + row.size; ++b) {
            CHECK(!covered[b]);
            covered[b] = true;
        }
    }
    // What no field took is accounted for, run by run in ascending order, then string by string.
    std::vector<ComponentFieldInfo> expected;
    for (std::size_t b = 0; b < kDataBytes;) {
        if (covered[b]) {
            ++b;
            continue;
        }
        std::size_t end = b;
        while (end < kDataBytes && !covered[end]) ++end;
        expected.push_back({"unused" + std::to_string(expected.size()), b, end - b, 1, 2});
        b = end;
    }
    for (std::size_t i = 0; i < kStringCount; ++i) {
        if (!stringTaken[i]) {
            expected.push_back({"unusedString" + std::to_string(i), kDataBytes + kStringStride * i, kStringStride, 8, 2});
        }
    }
    CHECK(entry.fields.size() == fields.size() + expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const ComponentFieldInfo& row = entry.fields[fields.size() + i];
        CHECK(row.name == expected[i].name && row.offset == expected[i].offset && row.size == expected[i].size &&
              row.alignment == expected[i].alignment && row.source == expected[i].source);
    }
    CHECK(entry.size >= kDataBytes + kStringStride * kStringCount);
}

void CheckSchema(const ComponentTypeEntry& entry, const PluginComponentDefinition& definition) {
    const Reflection::TypeInfo* type = Reflection::ReflectionRegistry::Instance().FindType(std::string_view(entry.name));
    CHECK(type != nullptr && type->type == entry.type);
    CHECK(type->version == std::max(definition.version, 1u));
    CHECK(type->properties.size() == definition.fields.size());
    for (std::size_t i = 0; i < definition.fields.size(); ++i) {
        const PluginFieldDefinition& field = definition.fields[i];
        const Reflection::PropertyInfo& property = type->properties[i];
        const Reflection::PropertyAttributes& attributes = property.attributes;
        CHECK(property.name == field.name && property.schema.kind == ShapeOf(field).property);
        CHECK(attributes.displayName == (field.displayName.empty() ? field.name : field.displayName));
        CHECK(attributes.category == field.category && attributes.flags == FlagsOf(field));
        const bool ranged = field.hasRange && IsRangeKind(field.kind);
        CHECK(attributes.hasRange == ranged);
        if (ranged) {
            CHECK(SameBits(attributes.minimum, field.minimum) && SameBits(attributes.maximum, field.maximum));
        }
        CHECK(SameAsAny(property.defaultValue, field.defaultValue));
    }
}

void CheckNewEntry(const ComponentTypeEntry& entry, const PluginComponentDefinition& definition,
                   const std::vector<std::size_t>& offsets) {
    CHECK(entry.name == definition.name);
    CHECK(entry.displayName == (definition.displayName.empty() ? definition.name : definition.displayName));
    CHECK(entry.group == (definition.group.empty() ? "Plugins" : definition.group));
    CHECK(entry.description == (definition.description.empty() ? "Plugin component of " + definition.pluginId + "."
                                                               : definition.description));
    CHECK(entry.flags == (definition.userAddable ? 1u : 0u) + (definition.saved ? 2u : 0u));
    CHECK(entry.userAddable == definition.userAddable && entry.saved == definition.saved);
    CHECK(entry.MainRecordName() == definition.name);
    const auto references = std::count_if(definition.fields.begin(), definition.fields.end(),
                                          [](const PluginFieldDefinition& field) {
                                              return field.kind == PluginFieldKind::Guid && field.entityReference;
                                          });
    CHECK(entry.remap.size() == static_cast<std::size_t>(references));
    CheckRows(entry, definition, offsets);
    CheckSchema(entry, definition);

    // A new component is the definition's defaults, and zeros wherever no field is.
    Scene::Registry registry;
    const Scene::Entity entity = registry.CreateEntity();
    entry.addDefault(registry, entity);
    const auto* component = static_cast<const std::byte*>(entry.getConst(registry, entity));
    CHECK(component != nullptr);
    std::vector<bool> covered(kDataBytes, false);
    for (std::size_t i = 0; i < definition.fields.size(); ++i) {
        CHECK(SameAsDefault(component, offsets[i], definition.fields[i].defaultValue));
        if (definition.fields[i].kind != PluginFieldKind::String) {
            std::fill_n(covered.begin() + static_cast<std::ptrdiff_t>(offsets[i]), ShapeOf(definition.fields[i]).size,
                        true);
        }
    }
    for (std::size_t b = 0; b < kDataBytes; ++b) {
        CHECK(covered[b] || component[b] == std::byte{0});
    }
}

// ---------------------------------------------------------------------------------------
// A record of the entry
// ---------------------------------------------------------------------------------------

// Fills the fields with values from the bytes, or leaves their defaults, and returns the
// message the save must give, if any: the first saved field that is read-only or holds a
// float that isn't finite.
std::string Fill(std::byte* component, const PluginComponentDefinition& definition,
                 const std::vector<std::size_t>& offsets, Bytes& bytes) {
    std::string failure;
    for (std::size_t i = 0; i < definition.fields.size(); ++i) {
        const PluginFieldDefinition& field = definition.fields[i];
        std::byte* at = component + offsets[i];
        if ((bytes.Byte() & 1) != 0) {
            const PluginFieldValue value = ValueOf(static_cast<std::size_t>(field.kind), bytes);
            std::visit(
                [&](const auto& typed) {
                    using V = std::decay_t<decltype(typed)>;
                    if constexpr (std::is_same_v<V, std::string>) {
                        *reinterpret_cast<std::string*>(at) = typed;
                    } else {
                        std::memcpy(at, &typed, sizeof(V));
                    }
                },
                value);
        }
        if (field.notSaved || !failure.empty()) {
            continue;
        }
        const std::string prefix = definition.name + "." + field.name + ": ";
        if (field.readOnly) {
            failure = prefix + "Schema record requires a writable property: " + field.name;
            continue;
        }
        for (std::size_t c = 0; c < ShapeOf(field).floats; ++c) {
            float value = 0.0f;
            std::memcpy(&value, at + c * sizeof(float), sizeof(float));
            if (!std::isfinite(value)) {
                failure = prefix + "Cannot save a non-finite schema value.";
                break;
            }
        }
    }
    return failure;
}

std::vector<std::size_t> OffsetsOf(const ComponentTypeEntry& entry, std::size_t count) {
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i < count; ++i) {
        offsets.push_back(static_cast<std::size_t>(entry.fields[i].offset));
    }
    return offsets;
}

void RoundTrip(const ComponentTypeEntry& entry, const PluginComponentDefinition& definition, Bytes& bytes) {
    const std::vector<std::size_t> offsets = OffsetsOf(entry, definition.fields.size());
    Scene::Registry registry;
    const Scene::Entity source = registry.CreateEntity();
    entry.addDefault(registry, source);
    auto* component = static_cast<std::byte*>(entry.getMutable(registry, source));
    const std::string failure = Fill(component, definition, offsets, bytes);

    std::vector<Reflection::SchemaRecord> records;
    try {
        entry.save(component, Scene::ComponentSaveContext{registry, source, nullptr}, records);
    } catch (const std::exception& exception) {
        // The text of an exception ends at the first NUL, which a component name may hold.
        CHECK(!failure.empty() && exception.what() == std::string_view(failure).substr(0, failure.find('\0')));
        return;
    }
    CHECK(failure.empty() && records.size() == 1);
    const Reflection::SchemaRecord& record = records.front();
    CHECK(record.name == definition.name && record.version == std::max(definition.version, 1u));
    std::size_t saved = 0;
    for (const PluginFieldDefinition& field : definition.fields) {
        if (field.notSaved) continue;
        CHECK(saved < record.fields.size() && record.fields[saved++].name == field.name);
    }
    CHECK(saved == record.fields.size());

    const std::string text = Reflection::FormatSchemaRecord(record);
    constexpr std::string_view kKeyword = "component_schema";
    CHECK(text.starts_with(kKeyword));
    const std::size_t headerEnd = text.find('\n');
    Reflection::SchemaLineCursor lines(std::string_view(text).substr(headerEnd + 1), 2);
    const Reflection::SchemaRecord reread =
        Reflection::ReadSchemaRecord(std::string_view(text).substr(kKeyword.size(), headerEnd - kKeyword.size()), lines);
    CHECK(reread == record && lines.AtEnd());

    const Scene::ComponentLoadContext context;
    const std::unique_ptr<Scene::ComponentLoadState> state = entry.createLoadState();
    entry.readRecord(*state, reread, 0, context);
    entry.finishLoad(*state, context);
    const Scene::Entity loaded = registry.CreateEntity();
    entry.applyLoad(*state, registry, loaded);
    const auto* before = static_cast<const std::byte*>(entry.getConst(registry, source));
    const auto* after = static_cast<const std::byte*>(entry.getConst(registry, loaded));
    CHECK(before != nullptr && after != nullptr);
    for (std::size_t i = 0; i < definition.fields.size(); ++i) {
        const PluginFieldDefinition& field = definition.fields[i];
        // A field that isn't saved comes back as its default.
        if (field.notSaved) {
            CHECK(SameAsDefault(after, offsets[i], field.defaultValue));
        } else if (field.kind == PluginFieldKind::String) {
            CHECK(*reinterpret_cast<const std::string*>(before + offsets[i]) ==
                  *reinterpret_cast<const std::string*>(after + offsets[i]));
        } else {
            CHECK(std::memcmp(before + offsets[i], after + offsets[i], ShapeOf(field).size) == 0);
        }
    }
}

// ---------------------------------------------------------------------------------------
// One definition
// ---------------------------------------------------------------------------------------

// Takes an earlier definition again, as it was or with one change.
bool Repeat(Bytes& bytes, PluginComponentDefinition& definition) {
    const Pool& pool = ThePool();
    if (pool.taken.empty()) {
        return false;
    }
    auto found = pool.taken.begin();
    std::advance(found, bytes.Byte() % pool.taken.size());
    definition = found->second.definition;
    const std::uint8_t change = bytes.Byte() % 6;
    std::vector<PluginFieldDefinition>& fields = definition.fields;
    if (change == 1) {
        definition.version += 1;
    } else if (change == 2 && !fields.empty()) {
        PluginFieldDefinition& field = fields[bytes.Byte() % fields.size()];
        field.defaultValue = ValueOf(static_cast<std::size_t>(field.kind) % kKindCount, bytes);
    } else if (change == 3) {
        fields.push_back(FieldOf(bytes, fields));
    } else if (change == 4 && !fields.empty()) {
        fields.pop_back();
    }
    return true;
}

void Define(PluginComponentDefinition definition, Bytes& bytes) {
    Pool& pool = ThePool();
    Prediction prediction = Predict(definition);
    if (TakesSlot(prediction) && pool.used >= kSlotBudget) {
        Spoil(definition, bytes.Byte());
        prediction = Predict(definition);
        CHECK(prediction.outcome == Outcome::Refused);
    }

    const std::size_t componentTypes = Scene::ComponentRegistry::Instance().Size();
    const bool known = pool.taken.contains(definition.name);
    if (prediction.outcome == Outcome::Refused && (bytes.Byte() & 1) != 0) {
        CHECK(Scene::DefinePluginComponent(definition, nullptr) == nullptr);
    }
    std::string error;
    ComponentTypeEntry* entry = Scene::DefinePluginComponent(definition, &error);
    CHECK(Scene::IsPluginComponentDefined(definition.name) == (known || TakesSlot(prediction)));

    switch (prediction.outcome) {
    case Outcome::Refused:
        CHECK(entry == nullptr && error == prediction.message);
        CHECK(Scene::ComponentRegistry::Instance().Size() == componentTypes);
        return;
    case Outcome::Failed:
        // The slot is spent, and its type may be half registered.
        CHECK(entry == nullptr && error == prediction.message);
        pool.taken.emplace(definition.name, Taken{definition, nullptr, error});
        ++pool.used;
        return;
    case Outcome::Existing:
        CHECK(entry == prediction.entry);
        RoundTrip(*entry, definition, bytes);
        return;
    case Outcome::Registered:
        CHECK(entry != nullptr);
        CheckNewEntry(*entry, definition, prediction.offsets);
        pool.taken.emplace(definition.name, Taken{definition, entry, {}});
        ++pool.used;
        RoundTrip(*entry, definition, bytes);
        return;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Scene::InstallComponents();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    PluginComponentDefinition definition;
    if (bytes.Byte() % 4 != 0 || !Repeat(bytes, definition)) {
        definition = DefinitionOf(bytes);
    }
    Define(std::move(definition), bytes);
    return 0;
}
