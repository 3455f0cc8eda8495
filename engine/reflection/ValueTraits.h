#pragma once

// The compile-time half of reflection: how a native value type maps to a schema and to
// its static table of view operations. Registration instantiates these per member type;
// everything that doesn't depend on the type lives in ValueTraits.cpp.

#include "engine/reflection/EnumInfo.h"
#include "engine/reflection/ObjectView.h"
#include "engine/reflection/PropertyAttributes.h"
#include "engine/reflection/ValueSchema.h"

#include <glm/fwd.hpp>

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Brelk::Core {
struct Guid;
}

namespace Brelk::Reflection {

// Opt-in for value types that link to an entity through a stored Guid (kind EntityGuid).
// A specialisation sets `isLink` and provides
//   static const Core::Guid* GetGuid(const V&);
//   static void SetGuid(V&, const Core::Guid&);
template <class V>
struct EntityLinkTraits {
    static constexpr bool isLink = false;
};

namespace Detail {

enum class ValueCategory : std::uint8_t {
    Bool,
    Int,
    UInt,
    UInt64,
    Float,
    String,
    Vec2,
    Vec3,
    Vec4,
    Quat,
    Guid,
    Enum,
    EntityLink,
    Structure,
};

template <class V>
struct CollectionTraits {
    static constexpr bool isCollection = false;
};
template <class E, class A>
struct CollectionTraits<std::vector<E, A>> {
    static constexpr bool isCollection = true;
    static constexpr std::uint64_t extent = 0;
    using Element = E;
};
template <class E, std::size_t N>
struct CollectionTraits<std::array<E, N>> {
    static constexpr bool isCollection = true;
    static constexpr std::uint64_t extent = N;
    using Element = E;
};

template <class V>
inline constexpr bool kIsCollection = CollectionTraits<V>::isCollection;

template <class V>
consteval ValueCategory CategoryOf() {
    if constexpr (std::is_same_v<V, bool>) {
        return ValueCategory::Bool;
    } else if constexpr (std::is_same_v<V, std::int32_t>) {
        return ValueCategory::Int;
    } else if constexpr (std::is_same_v<V, std::uint32_t>) {
        return ValueCategory::UInt;
    } else if constexpr (std::is_same_v<V, std::uint64_t>) {
        return ValueCategory::UInt64;
    } else if constexpr (std::is_same_v<V, float>) {
        return ValueCategory::Float;
    } else if constexpr (std::is_same_v<V, std::string>) {
        return ValueCategory::String;
    } else if constexpr (std::is_same_v<V, glm::vec2>) {
        return ValueCategory::Vec2;
    } else if constexpr (std::is_same_v<V, glm::vec3>) {
        return ValueCategory::Vec3;
    } else if constexpr (std::is_same_v<V, glm::vec4>) {
        return ValueCategory::Vec4;
    } else if constexpr (std::is_same_v<V, glm::quat>) {
        return ValueCategory::Quat;
    } else if constexpr (std::is_same_v<V, Core::Guid>) {
        return ValueCategory::Guid;
    } else if constexpr (std::is_enum_v<V>) {
        return ValueCategory::Enum;
    } else if constexpr (EntityLinkTraits<V>::isLink) {
        return ValueCategory::EntityLink;
    } else {
        static_assert(std::is_class_v<V> && !kIsCollection<V>,
                      "A reflected value is bool, i32, u32, u64, float, string, a glm vector or quaternion, "
                      "Guid, an enum, an entity link, a reflected structure, or a vector or array of these.");
        return ValueCategory::Structure;
    }
}

template <class V>
inline constexpr bool kEqualityComparable = std::equality_comparable<V>;
template <class E, class A>
inline constexpr bool kEqualityComparable<std::vector<E, A>> = kEqualityComparable<E>;
template <class E, std::size_t N>
inline constexpr bool kEqualityComparable<std::array<E, N>> = kEqualityComparable<E>;

std::uint32_t AllowedKindMask(ValueCategory category) noexcept;
PropertyKind DefaultKind(ValueCategory category, const PropertyAttributes& attributes) noexcept;
// Throw std::invalid_argument for a kind outside the category's allowed set.
ValueSchema MakeScalarSchema(std::type_index type, ValueCategory category, PropertyKind kind);
ValueSchema MakeCollectionSchema(std::type_index type, std::uint64_t extent, ValueSchema element);
bool AcceptsScalar(const ValueSchema& schema, std::type_index type, ValueCategory category) noexcept;
bool AcceptsCollection(const ValueSchema& schema, std::type_index type, std::uint64_t extent,
                       bool (*acceptsElement)(const ValueSchema&));

template <class U>
bool EnumNumberToStorage(const EnumNumber& number, U& out) noexcept {
    if (const auto* signedValue = std::get_if<std::int64_t>(&number)) {
        if (!std::in_range<U>(*signedValue)) {
            return false;
        }
        out = static_cast<U>(*signedValue);
        return true;
    }
    const std::uint64_t unsignedValue = std::get<std::uint64_t>(number);
    if (!std::in_range<U>(unsignedValue)) {
        return false;
    }
    out = static_cast<U>(unsignedValue);
    return true;
}

template <class V>
struct ViewOperationsTable;

} // namespace Detail

template <class V>
const ObjectViewOperations& ViewOperationsFor() noexcept {
    return Detail::ViewOperationsTable<V>::value;
}

template <class V>
ObjectView MakeConstView(const V& value) noexcept {
    return ObjectView::Const(typeid(V), &value, &ViewOperationsFor<V>());
}

template <class V>
ObjectView MakeView(V& value) noexcept {
    return ObjectView::Mutable(typeid(V), &value, &ViewOperationsFor<V>());
}

// The schema of a member of type V declared with `kind`. A collection's schema has kind
// Custom and carries `kind` down to its element. Throws std::invalid_argument "Reflection
// property kind does not match its C++ value type." for a kind that V doesn't allow.
template <class V>
ValueSchema MakeValueSchema(PropertyKind kind) {
    if constexpr (Detail::kIsCollection<V>) {
        using Element = typename Detail::CollectionTraits<V>::Element;
        return Detail::MakeCollectionSchema(typeid(V), Detail::CollectionTraits<V>::extent,
                                            MakeValueSchema<Element>(kind));
    } else {
        return Detail::MakeScalarSchema(typeid(V), Detail::CategoryOf<V>(), kind);
    }
}

// The kind a field of type V gets when its attributes set none: the natural kind of V,
// Asset for a u64 whose attributes name an asset type, the element's for a collection.
template <class V>
PropertyKind DefaultPropertyKind(const PropertyAttributes& attributes) noexcept {
    if constexpr (Detail::kIsCollection<V>) {
        return DefaultPropertyKind<typename Detail::CollectionTraits<V>::Element>(attributes);
    } else {
        return Detail::DefaultKind(Detail::CategoryOf<V>(), attributes);
    }
}

template <class V>
PropertyKind ResolvePropertyKind(const PropertyAttributes& attributes) noexcept {
    return attributes.hasKind ? attributes.kind : DefaultPropertyKind<V>(attributes);
}

namespace Detail {

template <class V>
struct ViewOperationsTable {
    static_assert(!std::is_same_v<V, std::vector<bool>>,
                  "std::vector<bool> has no addressable elements; use a vector of std::uint8_t.");

    static bool Accepts(const ValueSchema& schema) {
        if constexpr (kIsCollection<V>) {
            using Element = typename CollectionTraits<V>::Element;
            return AcceptsCollection(schema, typeid(V), CollectionTraits<V>::extent,
                                     ViewOperationsTable<Element>::Accepts);
        } else {
            return AcceptsScalar(schema, typeid(V), CategoryOf<V>());
        }
    }

    static constexpr ObjectViewOperations Make() noexcept {
        ObjectViewOperations operations;
        operations.accepts = &Accepts;
        if constexpr (kIsCollection<V>) {
            using Element = typename CollectionTraits<V>::Element;
            operations.shape = 2;
            operations.size = [](const void* data) -> std::uint64_t { return static_cast<const V*>(data)->size(); };
            operations.resize = [](void* data, std::uint64_t count) -> bool {
                if constexpr (CollectionTraits<V>::extent == 0) {
                    static_cast<V*>(data)->resize(static_cast<std::size_t>(count));
                    return true;
                } else {
                    return count == CollectionTraits<V>::extent;
                }
            };
            operations.visitConst = [](const void* data, std::uint64_t index, ViewVisitor visitor) -> bool {
                const V& collection = *static_cast<const V*>(data);
                if (index >= collection.size()) {
                    return false;
                }
                visitor(MakeConstView(collection[static_cast<std::size_t>(index)]));
                return true;
            };
            operations.visitMutable = [](void* data, std::uint64_t index, ViewVisitor visitor) -> bool {
                V& collection = *static_cast<V*>(data);
                if (index >= collection.size()) {
                    return false;
                }
                visitor(MakeView(collection[static_cast<std::size_t>(index)]));
                return true;
            };
            (void)sizeof(Element);
        } else if constexpr (std::is_enum_v<V>) {
            operations.getEnumValue = [](const void* data) { return ToEnumNumber(*static_cast<const V*>(data)); };
            operations.setEnumValue = [](void* data, const EnumValue& value) -> bool {
                std::underlying_type_t<V> storage{};
                if (!EnumNumberToStorage(value.value, storage)) {
                    return false;
                }
                *static_cast<V*>(data) = static_cast<V>(storage);
                return true;
            };
        } else if constexpr (EntityLinkTraits<V>::isLink) {
            operations.getEntityGuid = [](const void* data) -> const Core::Guid* {
                return EntityLinkTraits<V>::GetGuid(*static_cast<const V*>(data));
            };
            operations.setEntityGuid = [](void* data, const Core::Guid& guid) {
                EntityLinkTraits<V>::SetGuid(*static_cast<V*>(data), guid);
            };
        }
        return operations;
    }

    static constexpr ObjectViewOperations value = Make();
};

} // namespace Detail

} // namespace Brelk::Reflection
