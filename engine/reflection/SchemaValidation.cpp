#include "engine/reflection/SchemaValidation.h"

#include "engine/reflection/ReflectionRegistry.h"

#include <cmath>
#include <stdexcept>

namespace Brelk::Reflection {
namespace {

bool IsRangeKind(PropertyKind kind) noexcept {
    switch (kind) {
    case PropertyKind::Int:
    case PropertyKind::UInt:
    case PropertyKind::UInt64:
    case PropertyKind::Float:
    case PropertyKind::Vec2:
    case PropertyKind::Vec3:
    case PropertyKind::Vec4:
        return true;
    default:
        return false;
    }
}

// The checks that need the whole table; the message of the first one that fails.
const char* CheckAgainstTable(const ReflectionRegistry& registry, const TypeInfo& type, const PropertyInfo& property) {
    const PropertyAttributes& attributes = property.attributes;
    if (property.ownerType != type.type || property.valueType != property.schema.type) {
        return "Property schema disagrees with its checked accessor.";
    }
    if (attributes.sinceVersion > type.version ||
        (attributes.untilVersion != 0 && attributes.untilVersion > type.version)) {
        return "Property version exceeds the enclosing schema version.";
    }
    const ValueSchema& leaf = InnermostSchema(property.schema);
    if (leaf.shape == SchemaShape::Object && registry.FindType(leaf.type) == nullptr) {
        return "Nested object schema has not been registered.";
    }
    switch (leaf.kind) {
    case PropertyKind::Custom:
        return "Opaque custom property has no value schema.";
    case PropertyKind::Asset:
        if (registry.FindAssetType(attributes.assetType) == nullptr) {
            return "Asset-type constraint has not been registered.";
        }
        break;
    case PropertyKind::Enum: {
        const EnumInfo* info = registry.FindEnum(attributes.enumName);
        if (info == nullptr || info->type != leaf.type) {
            return "Enum schema is missing or belongs to another C++ enum.";
        }
        break;
    }
    default:
        break;
    }
    return nullptr;
}

} // namespace

void ValidateProperty(const std::string& name, const ValueSchema& schema, const PropertyAttributes& attributes) {
    const ValueSchema& leaf = InnermostSchema(schema);
    if (name.empty() || attributes.sinceVersion == 0 ||
        (attributes.untilVersion != 0 && attributes.untilVersion <= attributes.sinceVersion)) {
        throw std::invalid_argument("Property requires a name and valid schema-version interval: " + name);
    }
    if ((leaf.kind == PropertyKind::Enum) != !attributes.enumName.empty()) {
        throw std::invalid_argument("Enum property requires matching enum metadata: " + name);
    }
    if ((leaf.kind == PropertyKind::Asset) != !attributes.assetType.empty()) {
        throw std::invalid_argument("Asset property requires an asset-type constraint: " + name);
    }
    if (attributes.hasRange &&
        (!IsRangeKind(leaf.kind) || !std::isfinite(attributes.minimum) || !std::isfinite(attributes.maximum) ||
         attributes.minimum > attributes.maximum)) {
        throw std::invalid_argument("Property has an invalid numeric authoring range: " + name);
    }
}

bool ReflectionRegistry::Validate(std::string* error) const {
    if (error != nullptr) {
        error->clear();
    }
    for (const TypeInfo* type : Types()) {
        for (const PropertyInfo& property : type->properties) {
            std::string message;
            try {
                ValidateProperty(property.name, property.schema, property.attributes);
                if (const char* failure = CheckAgainstTable(*this, *type, property)) {
                    message = failure;
                }
            } catch (const std::invalid_argument& exception) {
                message = exception.what();
            }
            if (!message.empty()) {
                if (error != nullptr) {
                    *error = type->name + "." + property.name + ": " + message;
                }
                return false;
            }
        }
    }
    return true;
}

} // namespace Brelk::Reflection
