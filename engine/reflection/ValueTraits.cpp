#include "engine/reflection/ValueTraits.h"

#include <stdexcept>

namespace Brelk::Reflection::Detail {
namespace {

constexpr std::uint32_t Bit(PropertyKind kind) noexcept { return 1u << static_cast<std::uint8_t>(kind); }

constexpr std::uint32_t kCustom = Bit(PropertyKind::Custom);
constexpr std::uint32_t kObject = Bit(PropertyKind::Object);

} // namespace

std::uint32_t AllowedKindMask(ValueCategory category) noexcept {
    switch (category) {
    case ValueCategory::Bool: return Bit(PropertyKind::Bool) | kCustom;
    case ValueCategory::Int: return Bit(PropertyKind::Int) | kCustom;
    case ValueCategory::UInt: return Bit(PropertyKind::UInt) | Bit(PropertyKind::Entity) | kCustom;
    case ValueCategory::UInt64: return Bit(PropertyKind::UInt64) | Bit(PropertyKind::Asset) | kCustom;
    case ValueCategory::Float: return Bit(PropertyKind::Float) | kCustom;
    case ValueCategory::String: return Bit(PropertyKind::String) | kCustom | kObject;
    case ValueCategory::Vec2: return Bit(PropertyKind::Vec2) | kCustom | kObject;
    case ValueCategory::Vec3: return Bit(PropertyKind::Vec3) | kCustom | kObject;
    case ValueCategory::Vec4: return Bit(PropertyKind::Vec4) | kCustom | kObject;
    case ValueCategory::Quat: return Bit(PropertyKind::Quat) | kCustom | kObject;
    case ValueCategory::Guid: return Bit(PropertyKind::Guid) | kCustom | kObject;
    case ValueCategory::Enum: return Bit(PropertyKind::Enum) | kCustom;
    case ValueCategory::EntityLink: return Bit(PropertyKind::EntityGuid) | kCustom;
    case ValueCategory::Structure: return kCustom | kObject;
    }
    return 0;
}

PropertyKind DefaultKind(ValueCategory category, const PropertyAttributes& attributes) noexcept {
    switch (category) {
    case ValueCategory::Bool: return PropertyKind::Bool;
    case ValueCategory::Int: return PropertyKind::Int;
    case ValueCategory::UInt: return PropertyKind::UInt;
    case ValueCategory::UInt64: return attributes.assetType.empty() ? PropertyKind::UInt64 : PropertyKind::Asset;
    case ValueCategory::Float: return PropertyKind::Float;
    case ValueCategory::String: return PropertyKind::String;
    case ValueCategory::Vec2: return PropertyKind::Vec2;
    case ValueCategory::Vec3: return PropertyKind::Vec3;
    case ValueCategory::Vec4: return PropertyKind::Vec4;
    case ValueCategory::Quat: return PropertyKind::Quat;
    case ValueCategory::Guid: return PropertyKind::Guid;
    case ValueCategory::Enum: return PropertyKind::Enum;
    case ValueCategory::EntityLink: return PropertyKind::EntityGuid;
    case ValueCategory::Structure: return PropertyKind::Object;
    }
    return PropertyKind::Custom;
}

ValueSchema MakeScalarSchema(std::type_index type, ValueCategory category, PropertyKind kind) {
    const auto index = static_cast<std::uint8_t>(kind);
    if (index >= kPropertyKindCount || (AllowedKindMask(category) & (1u << index)) == 0) {
        throw std::invalid_argument("Reflection property kind does not match its C++ value type.");
    }
    ValueSchema schema;
    schema.type = type;
    schema.kind = kind;
    schema.shape = kind == PropertyKind::Object ? SchemaShape::Object : SchemaShape::Scalar;
    return schema;
}

ValueSchema MakeCollectionSchema(std::type_index type, std::uint64_t extent, ValueSchema element) {
    ValueSchema schema;
    schema.type = type;
    schema.shape = SchemaShape::Collection;
    schema.kind = PropertyKind::Custom;
    schema.extent = extent;
    schema.element = std::make_shared<const ValueSchema>(std::move(element));
    return schema;
}

bool AcceptsScalar(const ValueSchema& schema, std::type_index type, ValueCategory category) noexcept {
    const auto index = static_cast<std::uint8_t>(schema.kind);
    if (schema.type != type || schema.element || schema.extent != 0 || index >= kPropertyKindCount ||
        (AllowedKindMask(category) & (1u << index)) == 0) {
        return false;
    }
    const SchemaShape expected = schema.kind == PropertyKind::Object ? SchemaShape::Object : SchemaShape::Scalar;
    return schema.shape == expected;
}

bool AcceptsCollection(const ValueSchema& schema, std::type_index type, std::uint64_t extent,
                       bool (*acceptsElement)(const ValueSchema&)) {
    return schema.type == type && schema.shape == SchemaShape::Collection && schema.kind == PropertyKind::Custom &&
           schema.extent == extent && schema.element && acceptsElement(*schema.element);
}

} // namespace Brelk::Reflection::Detail
