#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace Brelk::Scene {

inline constexpr std::size_t kPluginDataBytes = 256;
inline constexpr std::size_t kPluginStringCount = 8;

namespace Detail {
// The default block and strings of slot `index`, as its definition laid them out.
const std::array<std::byte, kPluginDataBytes>& PluginSlotDefaults(std::size_t index) noexcept;
const std::array<std::string, kPluginStringCount>& PluginSlotStringDefaults(std::size_t index) noexcept;
} // namespace Detail

// One of the fixed pool of component types that plugin components are mapped onto. Every
// slot type has the full block whatever its plugin declares, so storages treat it as any
// other component; the default value is the definition's.
template <std::size_t N>
struct DynamicComponentSlot {
    alignas(8) std::array<std::byte, kPluginDataBytes> data;
    std::array<std::string, kPluginStringCount> strings;

    DynamicComponentSlot()
        : data(Detail::PluginSlotDefaults(N)), strings(Detail::PluginSlotStringDefaults(N)) {}
};

} // namespace Brelk::Scene
