#pragma once

#include "engine/reflection/EnumInfo.h"
#include "engine/reflection/ObjectView.h"
#include "engine/reflection/PropertyAttributes.h"
#include "engine/reflection/ValueSchema.h"

#include <any>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <typeindex>
#include <typeinfo>
#include <vector>

namespace Brelk::Reflection {

// One reflected member. The accessors are captured at registration, so that untyped
// code can read, write, reset and compare the member of any type without templates.
// The checked operations below return a null or empty result instead of throwing.
struct PropertyInfo {
    std::string name;
    ValueSchema schema;
    std::uint64_t size = 0;
    PropertyAttributes attributes;
    std::type_index ownerType = typeid(void);
    std::type_index valueType = typeid(void);
    std::function<const void*(const void* owner)> constPointer;
    std::function<void*(void* owner)> mutablePointer;
    std::function<ObjectView(const void* owner)> constView;
    std::function<ObjectView(void* owner)> mutableView;
    std::any defaultValue; // a value of the member's type, as T's default constructor gives it
    std::function<void(void* owner, const std::any& value)> applyDefault;
    std::function<bool(const void* owner, const std::any& value)> equalsDefault;
    std::function<EnumNumber(const void* owner)> getEnumValue;               // enum members only
    std::function<bool(void* owner, const EnumNumber& value)> setEnumValue; // enum members only

    bool IsReadOnly() const noexcept { return attributes.Has(PropertyFlags::ReadOnly); }

    ObjectView ConstView(const ObjectView& owner) const;
    ObjectView MutableView(const ObjectView& owner) const;
    bool ApplyDefault(const ObjectView& owner) const;
    bool EqualsDefault(const ObjectView& owner) const;
    std::optional<EnumNumber> GetEnumValue(const ObjectView& owner) const;
    bool SetEnumValue(const ObjectView& owner, const EnumNumber& value) const;
};

// A reflected type: its stable name (the record name in files), its current schema
// version and its properties in declaration order, which is the field order in files.
struct TypeInfo {
    std::string name;
    std::string displayName;
    std::string group;
    std::type_index type = typeid(void);
    std::uint32_t version = 1;
    std::vector<PropertyInfo> properties;

    // Linear search; null if absent.
    const PropertyInfo* FindProperty(std::string_view propertyName) const noexcept;
    PropertyInfo* FindProperty(std::string_view propertyName) noexcept;
};

} // namespace Brelk::Reflection
