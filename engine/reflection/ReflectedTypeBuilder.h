#pragma once

#include "engine/reflection/PropertyAttributes.h"
#include "engine/reflection/ReflectionRegistry.h"

#include <cstdint>
#include <string>
#include <type_traits>

namespace Brelk::Reflection {

// What every registrar's Field does: the display name falls back to the field name, the
// kind comes from the attributes if they set one, else from V.
template <class T, class V>
TypeInfo& AddReflectedField(ReflectionRegistry& registry, const std::string& typeName, const char* name,
                            V T::*member, const PropertyAttributes& attributes) {
    PropertyAttributes resolved = attributes;
    if (resolved.displayName.empty()) {
        resolved.displayName = name;
    }
    const PropertyKind kind = ResolvePropertyKind<V>(resolved);
    return registry.AddProperty<T, V>(typeName, name, member, kind, std::move(resolved));
}

// Throws std::invalid_argument "Value schema versions start at 1: " with the type name.
[[noreturn]] void ThrowZeroSchemaVersion(const std::string& typeName);

// The fluent registrar of value structures that aren't components:
//   ReflectedTypeBuilder<Transform>("Transform", "Transform", "Core")
//       .Field("position", &Transform::position)
//       .Field("rotation", &Transform::rotation, FieldAttr().Angle());
template <class T>
class ReflectedTypeBuilder {
public:
    explicit ReflectedTypeBuilder(std::string name, std::string displayName = {}, std::string group = {},
                                  ReflectionRegistry& registry = ReflectionRegistry::Instance())
        : registry_(&registry), type_(&registry.RegisterType<T>(std::move(name), std::move(displayName),
                                                                 std::move(group), 1)) {}

    template <class V, class Owner>
        requires std::is_base_of_v<Owner, T>
    ReflectedTypeBuilder& Field(const char* name, V Owner::*member, const FieldAttr& attributes = {}) {
        type_ = &AddReflectedField<T, V>(*registry_, type_->name, name, static_cast<V T::*>(member), attributes);
        return *this;
    }

    ReflectedTypeBuilder& Version(std::uint32_t version) {
        if (version == 0) {
            ThrowZeroSchemaVersion(type_->name);
        }
        type_->version = version;
        return *this;
    }

    TypeInfo& Type() const noexcept { return *type_; }

private:
    ReflectionRegistry* registry_;
    TypeInfo* type_;
};

} // namespace Brelk::Reflection
