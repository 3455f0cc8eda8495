#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <variant>
#include <vector>

namespace Brelk::Reflection {

// The number of an enumerator: i64 for enums with a signed underlying type, u64 otherwise.
using EnumNumber = std::variant<std::int64_t, std::uint64_t>;

struct EnumValue {
    EnumNumber value;
    std::string name;        // the stable text written to files
    std::string displayName;
};

struct EnumInfo {
    std::string name;
    std::type_index type = typeid(void);
    std::vector<EnumValue> values;
};

// i64 and u64 numbers are equal only if both are non-negative and the same.
bool EnumNumbersEqual(const EnumNumber& a, const EnumNumber& b) noexcept;

// Linear lookups; null when nothing matches. Names compare exactly.
const EnumValue* FindEnumValue(const EnumInfo& info, std::string_view name) noexcept;
const EnumValue* FindEnumValue(const EnumInfo& info, const EnumNumber& value) noexcept;

template <class E>
    requires std::is_enum_v<E>
EnumNumber ToEnumNumber(E value) noexcept {
    using Underlying = std::underlying_type_t<E>;
    if constexpr (std::is_signed_v<Underlying>) {
        return EnumNumber{std::in_place_index<0>, static_cast<std::int64_t>(value)};
    } else {
        return EnumNumber{std::in_place_index<1>, static_cast<std::uint64_t>(value)};
    }
}

// An enumerator row for RegisterEnum; the display name defaults to the stable name.
template <class E>
    requires std::is_enum_v<E>
EnumValue EnumValueOf(E value, std::string name, std::string displayName = {}) {
    EnumValue row{ToEnumNumber(value), std::move(name), std::move(displayName)};
    if (row.displayName.empty()) {
        row.displayName = row.name;
    }
    return row;
}

} // namespace Brelk::Reflection
