#include "engine/reflection/ReflectionRegistry.h"

#include <algorithm>
#include <stdexcept>
#include <unordered_set>

namespace Brelk::Reflection {

namespace Detail {

void BindOffsetAccessors(PropertyInfo& property, std::size_t offset, const ObjectViewOperations* operations) {
    const std::type_index valueType = property.valueType;
    property.constPointer = [offset](const void* owner) -> const void* {
        return static_cast<const char*>(owner) + offset;
    };
    property.mutablePointer = [offset](void* owner) -> void* { return static_cast<char*>(owner) + offset; };
    property.constView = [offset, valueType, operations](const void* owner) {
        return ObjectView::Const(valueType, static_cast<const char*>(owner) + offset, operations);
    };
    property.mutableView = [offset, valueType, operations](void* owner) {
        return ObjectView::Mutable(valueType, static_cast<char*>(owner) + offset, operations);
    };
}

} // namespace Detail

ReflectionRegistry::ReflectionRegistry() = default;
ReflectionRegistry::~ReflectionRegistry() = default;

ReflectionRegistry& ReflectionRegistry::Instance() {
    static ReflectionRegistry instance;
    return instance;
}

void ReflectionRegistry::ThrowMissingMemberPointer(const std::string& propertyName) {
    throw std::invalid_argument("Reflection property requires a member pointer: " + propertyName);
}

void ReflectionRegistry::ThrowEnumOutOfRange(const std::string& enumName) {
    throw std::invalid_argument("Enum value is outside its C++ storage range: " + enumName);
}

TypeInfo& ReflectionRegistry::RegisterTypeCore(std::type_index type, std::string name, std::string displayName,
                                               std::string group, std::uint32_t version) {
    if (name.empty() || version == 0) {
        throw std::invalid_argument("Reflection schema requires a name and a positive version.");
    }
    if (const auto named = byName.find(name); named != byName.end() && named->second->type != type) {
        throw std::invalid_argument("Reflection type name already belongs to another C++ type: " + name);
    }
    auto& slot = byType[type];
    if (!slot) {
        slot = std::make_unique<TypeInfo>();
    } else if (slot->name != name) {
        if (const auto old = byName.find(slot->name); old != byName.end() && old->second == slot.get()) {
            byName.erase(old);
        }
    }
    TypeInfo& info = *slot;
    info.type = type;
    info.version = version;
    info.name = std::move(name);
    info.displayName = displayName.empty() ? info.name : std::move(displayName);
    info.group = std::move(group);
    byName.insert_or_assign(info.name, &info);
    sortedDirty = true;
    return info;
}

TypeInfo& ReflectionRegistry::AddPropertyCore(std::type_index ownerType, const std::string& typeName,
                                              PropertyInfo&& property) {
    TypeInfo* info = FindType(std::string_view(typeName));
    if (info == nullptr) {
        info = &RegisterTypeCore(ownerType, typeName, {}, {}, 1);
    }
    if (info->type != ownerType) {
        throw std::invalid_argument("Reflection property owner does not match type: " + typeName);
    }
    if (info->FindProperty(property.name) != nullptr) {
        throw std::invalid_argument("Duplicate reflection property: " + typeName + "." + property.name);
    }
    if (property.attributes.displayName.empty()) {
        property.attributes.displayName = property.name;
    }
    info->properties.push_back(std::move(property));
    return *info;
}

TypeInfo& ReflectionRegistry::AddOffsetPropertyCore(const std::string& typeName, PropertyInfo&& property) {
    TypeInfo* info = FindType(std::string_view(typeName));
    if (info == nullptr) {
        throw std::invalid_argument("Reflection offset property needs a registered owner type: " + typeName);
    }
    if (info->FindProperty(property.name) != nullptr) {
        throw std::invalid_argument("Duplicate reflection property: " + typeName + "." + property.name);
    }
    property.ownerType = info->type;
    if (property.attributes.displayName.empty()) {
        property.attributes.displayName = property.name;
    }
    info->properties.push_back(std::move(property));
    return *info;
}

void ReflectionRegistry::RegisterEnumCore(std::string name, std::type_index type, std::vector<EnumValue> values) {
    if (name.empty() || values.empty()) {
        throw std::invalid_argument("Enum schema requires a name and values.");
    }
    std::unordered_set<std::string_view> seen;
    for (const EnumValue& value : values) {
        if (value.name.empty() || !seen.insert(value.name).second) {
            throw std::invalid_argument("Enum schema contains an empty or duplicate name: " + name);
        }
    }
    for (const auto& [existingName, existing] : enums) {
        const bool sameName = existingName == name;
        const bool sameType = existing.type == type;
        if (sameName != sameType) {
            throw std::invalid_argument("Enum schema name and C++ type disagree: " + name);
        }
    }
    EnumInfo info;
    info.name = name;
    info.type = type;
    info.values = std::move(values);
    enums.insert_or_assign(std::move(name), std::move(info));
}

void ReflectionRegistry::RegisterAssetType(std::string name, std::uint32_t nativeId) {
    if (name.empty() || nativeId == 0) {
        throw std::invalid_argument("Asset schema requires a name and a nonzero native ID.");
    }
    bool samePairKnown = false;
    for (const auto& [existingName, existing] : assetTypes) {
        const bool sameName = existingName == name;
        const bool sameId = existing.nativeId == nativeId;
        if (sameName != sameId) {
            throw std::invalid_argument("Asset schema name and native ID disagree: " + name);
        }
        samePairKnown = samePairKnown || sameName;
    }
    if (!samePairKnown) {
        Assets::AssetTypeInfo info;
        info.name = name;
        info.nativeId = nativeId;
        assetTypes.emplace(std::move(name), std::move(info));
    }
}

TypeInfo* ReflectionRegistry::FindType(std::type_index type) noexcept {
    const auto found = byType.find(type);
    return found == byType.end() ? nullptr : found->second.get();
}

const TypeInfo* ReflectionRegistry::FindType(std::type_index type) const noexcept {
    const auto found = byType.find(type);
    return found == byType.end() ? nullptr : found->second.get();
}

TypeInfo* ReflectionRegistry::FindType(std::string_view name) noexcept {
    const auto found = byName.find(name);
    return found == byName.end() ? nullptr : found->second;
}

const TypeInfo* ReflectionRegistry::FindType(std::string_view name) const noexcept {
    const auto found = byName.find(name);
    return found == byName.end() ? nullptr : found->second;
}

const EnumInfo* ReflectionRegistry::FindEnum(std::string_view name) const noexcept {
    const auto found = enums.find(name);
    return found == enums.end() ? nullptr : &found->second;
}

const Assets::AssetTypeInfo* ReflectionRegistry::FindAssetType(std::string_view name) const noexcept {
    const auto found = assetTypes.find(name);
    return found == assetTypes.end() ? nullptr : &found->second;
}

std::span<const TypeInfo* const> ReflectionRegistry::Types() const {
    if (sortedDirty) {
        sorted.clear();
        sorted.reserve(byType.size());
        for (const auto& [type, info] : byType) {
            sorted.push_back(info.get());
        }
        // The name breaks ties so that the listing never depends on hash order.
        std::sort(sorted.begin(), sorted.end(), [](const TypeInfo* a, const TypeInfo* b) {
            if (a->group != b->group) {
                return a->group < b->group;
            }
            if (a->displayName != b->displayName) {
                return a->displayName < b->displayName;
            }
            return a->name < b->name;
        });
        sortedDirty = false;
    }
    return sorted;
}

} // namespace Brelk::Reflection
