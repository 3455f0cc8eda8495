#include "engine/reflection/EnumInfo.h"

namespace Brelk::Reflection {

bool EnumNumbersEqual(const EnumNumber& a, const EnumNumber& b) noexcept {
    if (a.index() == b.index()) {
        return a == b;
    }
    const std::int64_t signedValue = a.index() == 0 ? std::get<0>(a) : std::get<0>(b);
    const std::uint64_t unsignedValue = a.index() == 1 ? std::get<1>(a) : std::get<1>(b);
    return signedValue >= 0 && static_cast<std::uint64_t>(signedValue) == unsignedValue;
}

const EnumValue* FindEnumValue(const EnumInfo& info, std::string_view name) noexcept {
    for (const EnumValue& value : info.values) {
        if (value.name == name) {
            return &value;
        }
    }
    return nullptr;
}

const EnumValue* FindEnumValue(const EnumInfo& info, const EnumNumber& number) noexcept {
    for (const EnumValue& value : info.values) {
        if (EnumNumbersEqual(value.value, number)) {
            return &value;
        }
    }
    return nullptr;
}

} // namespace Brelk::Reflection
