#pragma once

#include <cstdint>

namespace Brelk::Scene {

// A generational handle into a Registry: bits 0 to 19 are the slot index, bits 20 to 31
// the low 12 bits of the slot's generation when the handle was issued. Index 0 is never
// issued, so every handle with index 0, and the value 0 above all, is "no entity".
// A plain integer on purpose: components and files store handles as their raw value.
using Entity = std::uint32_t;

inline constexpr Entity kNullEntity = 0;
inline constexpr std::uint32_t kEntityIndexBits = 20;
inline constexpr std::uint32_t kEntityIndexMask = 0xfffff;
inline constexpr std::uint32_t kEntityGenerationMask = 0xfff;
inline constexpr std::uint32_t kMaxEntityIndex = kEntityIndexMask;

// `generation` may be a slot's full counter; only its low 12 bits survive the shift.
constexpr Entity MakeEntity(std::uint32_t index, std::uint32_t generation) noexcept {
    return (generation << kEntityIndexBits) | (index & kEntityIndexMask);
}

constexpr std::uint32_t EntityIndex(Entity entity) noexcept {
    return entity & kEntityIndexMask;
}

constexpr std::uint32_t EntityGeneration(Entity entity) noexcept {
    return entity >> kEntityIndexBits;
}

// True for every handle that names no slot, not only for the value 0.
constexpr bool IsNullEntity(Entity entity) noexcept {
    return EntityIndex(entity) == 0;
}

class Registry;
class CommandBuffer;

} // namespace Brelk::Scene
