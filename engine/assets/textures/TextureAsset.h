#pragma once

#include "engine/assets/AssetHandle.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace Brelk::Assets {

enum class TextureFormat : std::uint8_t {
    Rgba8 = 0,
    Rgba32Float = 1,
    Bc7 = 2,
    Bc5 = 3,
};

enum class TextureEncoding : std::uint8_t {
    Color = 0, // sRGB colour
    LinearData = 1,
    Normal = 2,
};

// A texture in memory. Block-compressed pixels hold every mip from the largest down, each
// mip's 4x4 blocks row by row; RGBA8 and float textures hold one level.
struct TextureAsset {
    AssetHandle handle = kNullAssetHandle;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t channels = 4;
    bool hasAlpha = false;
    std::uint8_t format = static_cast<std::uint8_t>(TextureFormat::Rgba8);
    std::uint32_t mipCount = 1;
    std::vector<std::uint8_t> pixels;
    std::uint64_t sourceRevision = 0;
};

// One RGBA8 level, as the mip builder passes it along.
struct MipImage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> pixels;
};

inline constexpr std::size_t kBlockBytes = 16;

[[nodiscard]] constexpr bool IsBlockCompressed(std::uint8_t format) noexcept {
    return format == static_cast<std::uint8_t>(TextureFormat::Bc7) ||
           format == static_cast<std::uint8_t>(TextureFormat::Bc5);
}

// floor(log2(max(width, height))) + 1; 0 for an empty side.
std::uint32_t FullMipCount(std::uint32_t width, std::uint32_t height) noexcept;

// The side of mip `level`, halved per level and never below 1.
[[nodiscard]] constexpr std::uint32_t MipSide(std::uint32_t side, std::uint32_t level) noexcept {
    const std::uint32_t halved = level >= 32 ? 0 : side >> level;
    return halved == 0 ? 1 : halved;
}

[[nodiscard]] constexpr std::uint32_t BlocksAcross(std::uint32_t side) noexcept { return side / 4 + (side % 4 != 0); }

// Bytes of `mipCount` levels of the format from the given top size; none when the count
// would not fit in 64 bits.
std::optional<std::uint64_t> TexturePixelBytes(std::uint8_t format, std::uint32_t width, std::uint32_t height,
                                               std::uint32_t mipCount) noexcept;

// A texture's pixels are exactly what its format, size and mip count demand.
bool HasCompletePixels(const TextureAsset& texture) noexcept;

} // namespace Brelk::Assets
