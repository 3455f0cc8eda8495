#pragma once

#include "engine/reflection/ValueSchema.h"

#include <cstdint>
#include <string>

namespace Brelk::Reflection {

// Bits of PropertyAttributes::flags.
struct PropertyFlags {
    static constexpr std::uint32_t Hidden = 1;           // tool hint: an internal member
    static constexpr std::uint32_t ReadOnly = 2;         // no writable reflected access; refused by schema coding
    static constexpr std::uint32_t Color = 4;            // tool hint: the vector is a colour
    static constexpr std::uint32_t Angle = 8;            // tool hint: degrees
    static constexpr std::uint32_t NotSaved = 16;        // never part of a schema record
    static constexpr std::uint32_t EntityReference = 128; // a Guid member that names an entity
};

// Authoring metadata and schema-version lifetime of one property.
struct PropertyAttributes {
    std::string displayName; // falls back to the property name at registration
    std::string description;
    std::string category;
    std::string enumName;  // name in the enum table; set exactly for enum kinds
    std::string assetType; // name in the asset-type table; set exactly for asset kinds
    float minimum = 0.0f;
    float maximum = 0.0f;
    bool hasRange = false;
    std::uint32_t flags = 0;
    std::uint32_t sinceVersion = 1; // first schema version with this property
    std::uint32_t untilVersion = 0; // first schema version without it, 0 for none
    PropertyKind kind = PropertyKind::Custom;
    bool hasKind = false;

    bool Has(std::uint32_t flag) const noexcept { return (flags & flag) != 0; }
    // Live in `version`: since <= version and (until == 0 or until > version).
    bool IsLiveIn(std::uint32_t version) const noexcept {
        return sinceVersion <= version && (untilVersion == 0 || untilVersion > version);
    }
};

// The registrar's chained builder around PropertyAttributes:
//   FieldAttr("Vertical FOV").Range(1.0f, 179.0f).Angle()
class FieldAttr {
public:
    FieldAttr() = default;
    explicit FieldAttr(std::string displayName) { attributes.displayName = std::move(displayName); }
    FieldAttr(const char* displayName) : FieldAttr(std::string(displayName)) {}

    FieldAttr& Description(std::string text) { attributes.description = std::move(text); return *this; }
    FieldAttr& Category(std::string text) { attributes.category = std::move(text); return *this; }
    FieldAttr& Enum(std::string name) { attributes.enumName = std::move(name); return *this; }
    FieldAttr& AssetType(std::string name) { attributes.assetType = std::move(name); return *this; }
    FieldAttr& Range(float minimum, float maximum) {
        attributes.minimum = minimum;
        attributes.maximum = maximum;
        attributes.hasRange = true;
        return *this;
    }
    FieldAttr& Kind(PropertyKind kind) { attributes.kind = kind; attributes.hasKind = true; return *this; }
    FieldAttr& Since(std::uint32_t version) { attributes.sinceVersion = version; return *this; }
    FieldAttr& Until(std::uint32_t version) { attributes.untilVersion = version; return *this; }
    FieldAttr& Flags(std::uint32_t flags) { attributes.flags |= flags; return *this; }
    FieldAttr& Hidden() { return Flags(PropertyFlags::Hidden); }
    FieldAttr& ReadOnly() { return Flags(PropertyFlags::ReadOnly); }
    FieldAttr& Color() { return Flags(PropertyFlags::Color); }
    FieldAttr& Angle() { return Flags(PropertyFlags::Angle); }
    FieldAttr& NotSaved() { return Flags(PropertyFlags::NotSaved); }
    FieldAttr& EntityReference() { return Flags(PropertyFlags::EntityReference); }

    operator const PropertyAttributes&() const noexcept { return attributes; }

    PropertyAttributes attributes;
};

} // namespace Brelk::Reflection
