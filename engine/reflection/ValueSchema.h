#pragma once

#include <cstdint>
#include <memory>
#include <typeindex>
#include <typeinfo>

namespace Brelk::Reflection {

// What a reflected value holds. The numbers are fixed: tools and cooked data store them.
enum class PropertyKind : std::uint8_t {
    Bool = 0,
    Int = 1,
    UInt = 2,
    UInt64 = 3,
    Float = 4,
    String = 5,
    Vec2 = 6,
    Vec3 = 7,
    Vec4 = 8,
    Quat = 9,
    Enum = 10,       // stored by enumerator name
    Asset = 11,      // u64 asset id; the attribute assetType constrains it
    Entity = 12,     // u32 entity handle, stored as the target's Guid
    Guid = 13,
    Custom = 14,     // not expressible by a schema; the kind of a collection itself
    Object = 15,     // a reflected structure
    EntityGuid = 16, // a link value, reached through the view's entity-link operations
};

inline constexpr std::uint8_t kPropertyKindCount = 17;

enum class SchemaShape : std::uint8_t {
    Scalar = 0,
    Object = 1,
    Collection = 2,
};

// The shape of a value as its native type describes it. Collections chain through
// `element`; a collection's own kind is Custom and its element carries the property's
// kind, so the innermost schema is the one that attribute checks look at.
struct ValueSchema {
    std::type_index type = typeid(void);
    SchemaShape shape = SchemaShape::Scalar;
    PropertyKind kind = PropertyKind::Custom;
    std::uint64_t extent = 0; // element count of a fixed array, 0 otherwise
    std::shared_ptr<const ValueSchema> element;
};

// Follows `element` to its end.
const ValueSchema& InnermostSchema(const ValueSchema& schema) noexcept;

// The engine's name of a kind ("Vec3"), for tools and messages.
const char* PropertyKindName(PropertyKind kind) noexcept;

} // namespace Brelk::Reflection
