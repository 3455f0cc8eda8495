#pragma once

#include "engine/core/Hash.h"
#include "engine/reflection/AssetType.h"
#include "engine/reflection/EnumInfo.h"
#include "engine/reflection/ObjectView.h"
#include "engine/reflection/PropertyAttributes.h"
#include "engine/reflection/SchemaValidation.h"
#include "engine/reflection/TypeInfo.h"
#include "engine/reflection/ValueSchema.h"
#include "engine/reflection/ValueTraits.h"

#include <any>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeindex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Brelk::Reflection {

namespace Detail {

// Names hash their bytes with 64-bit FNV-1a and compare exactly.
struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const noexcept {
        return static_cast<std::size_t>(Core::Fnv1a64(name));
    }
};

template <class Value>
using NameMap = std::unordered_map<std::string, Value, NameHash, std::equal_to<>>;

// Sets constPointer, mutablePointer, constView and mutableView from the member's offset,
// `valueType` and the value type's operations table.
void BindOffsetAccessors(PropertyInfo& property, std::size_t offset, const ObjectViewOperations* operations);

template <class V>
void BindTypedAccessors(PropertyInfo& property, std::size_t offset) {
    property.applyDefault = [offset](void* owner, const std::any& value) {
        const V* source = std::any_cast<V>(&value);
        if (source == nullptr) {
            // Registration always stores a V; anything else is a broken program.
            std::terminate();
        }
        *reinterpret_cast<V*>(static_cast<char*>(owner) + offset) = *source;
    };
    if constexpr (kEqualityComparable<V>) {
        property.equalsDefault = [offset](const void* owner, const std::any& value) -> bool {
            const V* expected = std::any_cast<V>(&value);
            return expected != nullptr &&
                   *reinterpret_cast<const V*>(static_cast<const char*>(owner) + offset) == *expected;
        };
    }
    if constexpr (std::is_enum_v<V>) {
        property.getEnumValue = [offset](const void* owner) {
            return ToEnumNumber(*reinterpret_cast<const V*>(static_cast<const char*>(owner) + offset));
        };
        property.setEnumValue = [offset](void* owner, const EnumNumber& value) -> bool {
            std::underlying_type_t<V> storage{};
            if (!EnumNumberToStorage(value, storage)) {
                return false;
            }
            *reinterpret_cast<V*>(static_cast<char*>(owner) + offset) = static_cast<V>(storage);
            return true;
        };
    }
}

template <class V>
inline constexpr bool kOffsetPropertyValue =
    std::is_same_v<V, bool> || std::is_same_v<V, std::int32_t> || std::is_same_v<V, float> ||
    std::is_same_v<V, std::string> || std::is_same_v<V, glm::vec2> || std::is_same_v<V, glm::vec3> ||
    std::is_same_v<V, glm::vec4> || std::is_same_v<V, Core::Guid>;

} // namespace Detail

// The process-wide table of reflected types, enums and asset types. It fills during the
// one-time install on one thread and is read without locks afterwards; plugin component
// types may join later. Registration failures throw std::invalid_argument.
class ReflectionRegistry {
public:
    ReflectionRegistry();
    ~ReflectionRegistry();
    ReflectionRegistry(const ReflectionRegistry&) = delete;
    ReflectionRegistry& operator=(const ReflectionRegistry&) = delete;

    static ReflectionRegistry& Instance();

    // Registers T under `name` or updates its header; registering a type again keeps its
    // properties, and a new name makes the old one unknown. An empty display name shows
    // the name.
    template <class T>
    TypeInfo& RegisterType(std::string name, std::string displayName = {}, std::string group = {},
                           std::uint32_t version = 1) {
        return RegisterTypeCore(typeid(T), std::move(name), std::move(displayName), std::move(group), version);
    }

    // Adds the member as a property of the type registered under `typeName`, which is
    // created at version 1 if it doesn't exist yet. The schema default is the member's
    // value in a default-constructed T.
    template <class T, class V>
    TypeInfo& AddProperty(const std::string& typeName, const std::string& propertyName, V T::*member,
                          PropertyKind kind, PropertyAttributes attributes) {
        static_assert(std::is_default_constructible_v<T>, "A reflected type must be default-constructible.");
        if (member == nullptr) {
            ThrowMissingMemberPointer(propertyName);
        }
        ValueSchema schema = MakeValueSchema<V>(kind);
        ValidateProperty(propertyName, schema, attributes);

        const T sample{};
        const std::size_t offset = static_cast<std::size_t>(reinterpret_cast<const char*>(&(sample.*member)) -
                                                            reinterpret_cast<const char*>(&sample));
        PropertyInfo property;
        property.name = propertyName;
        property.schema = std::move(schema);
        property.size = sizeof(V);
        property.attributes = std::move(attributes);
        property.ownerType = typeid(T);
        property.valueType = typeid(V);
        property.defaultValue = sample.*member;
        Detail::BindOffsetAccessors(property, offset, &ViewOperationsFor<V>());
        Detail::BindTypedAccessors<V>(property, offset);
        return AddPropertyCore(typeid(T), typeName, std::move(property));
    }

    // For owners that exist only at run time: the owner type must be registered already,
    // the offset is taken as given and the default comes from the argument.
    template <class V>
    TypeInfo& AddOffsetProperty(const std::string& typeName, const std::string& propertyName, std::size_t offset,
                                PropertyKind kind, PropertyAttributes attributes, V defaultValue) {
        static_assert(Detail::kOffsetPropertyValue<V>,
                      "An offset property is bool, i32, float, string, vec2, vec3, vec4 or Guid.");
        ValueSchema schema = MakeValueSchema<V>(kind);
        ValidateProperty(propertyName, schema, attributes);

        PropertyInfo property;
        property.name = propertyName;
        property.schema = std::move(schema);
        property.size = sizeof(V);
        property.attributes = std::move(attributes);
        property.valueType = typeid(V);
        property.defaultValue = std::move(defaultValue);
        Detail::BindOffsetAccessors(property, offset, &ViewOperationsFor<V>());
        Detail::BindTypedAccessors<V>(property, offset);
        return AddOffsetPropertyCore(typeName, std::move(property));
    }

    // Inserts or replaces the enum `name`. Each value must fit E's underlying type.
    template <class E>
    void RegisterEnum(std::string name, std::vector<EnumValue> values) {
        static_assert(std::is_enum_v<E>, "RegisterEnum needs an enum type.");
        for (const EnumValue& value : values) {
            std::underlying_type_t<E> storage{};
            if (!Detail::EnumNumberToStorage(value.value, storage)) {
                ThrowEnumOutOfRange(name);
            }
        }
        RegisterEnumCore(std::move(name), typeid(E), std::move(values));
    }

    // Registering the same pair again changes nothing.
    void RegisterAssetType(std::string name, std::uint32_t nativeId);

    TypeInfo* FindType(std::type_index type) noexcept;
    const TypeInfo* FindType(std::type_index type) const noexcept;
    TypeInfo* FindType(std::string_view name) noexcept;
    const TypeInfo* FindType(std::string_view name) const noexcept;
    const EnumInfo* FindEnum(std::string_view name) const noexcept;
    const Assets::AssetTypeInfo* FindAssetType(std::string_view name) const noexcept;

    // Sorted by group, then display name, as byte strings. The cache is rebuilt on first
    // use after a registration, so the first call must not race another.
    std::span<const TypeInfo* const> Types() const;

    // Walks every property of every type and stops at the first inconsistency. On failure
    // `error` holds "Type.property: message". Clears `error` first.
    [[nodiscard]] bool Validate(std::string* error) const;

private:
    TypeInfo& RegisterTypeCore(std::type_index type, std::string name, std::string displayName, std::string group,
                               std::uint32_t version);
    TypeInfo& AddPropertyCore(std::type_index ownerType, const std::string& typeName, PropertyInfo&& property);
    TypeInfo& AddOffsetPropertyCore(const std::string& typeName, PropertyInfo&& property);
    void RegisterEnumCore(std::string name, std::type_index type, std::vector<EnumValue> values);
    [[noreturn]] static void ThrowMissingMemberPointer(const std::string& propertyName);
    [[noreturn]] static void ThrowEnumOutOfRange(const std::string& enumName);

    std::unordered_map<std::type_index, std::unique_ptr<TypeInfo>> byType;
    Detail::NameMap<TypeInfo*> byName;
    Detail::NameMap<EnumInfo> enums;
    Detail::NameMap<Assets::AssetTypeInfo> assetTypes;
    mutable std::vector<const TypeInfo*> sorted;
    mutable bool sortedDirty = true;
};

} // namespace Brelk::Reflection
