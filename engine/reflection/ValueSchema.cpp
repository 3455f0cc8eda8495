#include "engine/reflection/ValueSchema.h"

#include <array>

namespace Brelk::Reflection {

const ValueSchema& InnermostSchema(const ValueSchema& schema) noexcept {
    const ValueSchema* current = &schema;
    while (current->element) {
        current = current->element.get();
    }
    return *current;
}

const char* PropertyKindName(PropertyKind kind) noexcept {
    static constexpr std::array<const char*, kPropertyKindCount> kNames{
        "Bool", "Int",  "UInt", "UInt64", "Float",  "String", "Vec2",   "Vec3",      "Vec4",
        "Quat", "Enum", "Asset", "Entity", "Guid", "Custom", "Object", "EntityGuid",
    };
    const auto index = static_cast<std::uint8_t>(kind);
    return index < kPropertyKindCount ? kNames[index] : "Unknown";
}

} // namespace Brelk::Reflection
