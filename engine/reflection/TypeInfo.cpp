#include "engine/reflection/TypeInfo.h"

namespace Brelk::Reflection {

ObjectView PropertyInfo::ConstView(const ObjectView& owner) const {
    if (owner.constData == nullptr || owner.type != ownerType || schema.type != valueType || !constView) {
        return {};
    }
    return constView(owner.constData);
}

ObjectView PropertyInfo::MutableView(const ObjectView& owner) const {
    if (owner.mutableData == nullptr || owner.type != ownerType || schema.type != valueType || IsReadOnly() ||
        !mutableView) {
        return {};
    }
    return mutableView(owner.mutableData);
}

bool PropertyInfo::ApplyDefault(const ObjectView& owner) const {
    if (owner.mutableData == nullptr || owner.type != ownerType || !defaultValue.has_value() || !applyDefault ||
        IsReadOnly()) {
        return false;
    }
    applyDefault(owner.mutableData, defaultValue);
    return true;
}

bool PropertyInfo::EqualsDefault(const ObjectView& owner) const {
    if (owner.constData == nullptr || owner.type != ownerType || !defaultValue.has_value() || !equalsDefault) {
        return false;
    }
    return equalsDefault(owner.constData, defaultValue);
}

std::optional<EnumNumber> PropertyInfo::GetEnumValue(const ObjectView& owner) const {
    if (owner.constData == nullptr || owner.type != ownerType || !getEnumValue) {
        return std::nullopt;
    }
    return getEnumValue(owner.constData);
}

bool PropertyInfo::SetEnumValue(const ObjectView& owner, const EnumNumber& value) const {
    if (owner.mutableData == nullptr || owner.type != ownerType || IsReadOnly() || !setEnumValue) {
        return false;
    }
    return setEnumValue(owner.mutableData, value);
}

const PropertyInfo* TypeInfo::FindProperty(std::string_view propertyName) const noexcept {
    for (const PropertyInfo& property : properties) {
        if (property.name == propertyName) {
            return &property;
        }
    }
    return nullptr;
}

PropertyInfo* TypeInfo::FindProperty(std::string_view propertyName) noexcept {
    for (PropertyInfo& property : properties) {
        if (property.name == propertyName) {
            return &property;
        }
    }
    return nullptr;
}

} // namespace Brelk::Reflection
