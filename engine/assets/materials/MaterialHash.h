#pragma once

#include "engine/core/Hash.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Brelk::Assets {

// The material tables are keyed by ids and names through FNV-1a 64 over their bytes.
struct MaterialIdHash {
    std::size_t operator()(std::uint64_t id) const noexcept {
        std::uint8_t bytes[8];
        for (int i = 0; i < 8; ++i) bytes[i] = static_cast<std::uint8_t>(id >> (8 * i));
        return static_cast<std::size_t>(Core::Fnv1a64(std::span<const std::uint8_t>(bytes)));
    }
};

struct MaterialNameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const noexcept {
        return static_cast<std::size_t>(Core::Fnv1a64(name));
    }
};

} // namespace Brelk::Assets
