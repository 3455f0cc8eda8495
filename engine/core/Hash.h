#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace Brelk::Core {

inline constexpr std::uint64_t kFnv1aOffset = 0xcbf29ce484222325ull;
inline constexpr std::uint64_t kFnv1aPrime = 0x100000001b3ull;

// 64-bit FNV-1a, the engine's hash for map keys and file stamps. `seed` continues a
// running hash.
constexpr std::uint64_t Fnv1a64(std::string_view bytes, std::uint64_t seed = kFnv1aOffset) noexcept {
    std::uint64_t hash = seed;
    for (const char c : bytes) {
        hash ^= static_cast<unsigned char>(c);
        hash *= kFnv1aPrime;
    }
    return hash;
}

constexpr std::uint64_t Fnv1a64(std::span<const std::uint8_t> bytes, std::uint64_t seed = kFnv1aOffset) noexcept {
    std::uint64_t hash = seed;
    for (const std::uint8_t b : bytes) {
        hash ^= b;
        hash *= kFnv1aPrime;
    }
    return hash;
}

} // namespace Brelk::Core
