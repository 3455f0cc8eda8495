#include "engine/assets/textures/TextureAsset.h"

#include <bit>

namespace Brelk::Assets {
namespace {

std::optional<std::uint64_t> LevelBytes(std::uint8_t format, std::uint32_t width, std::uint32_t height) noexcept {
    switch (static_cast<TextureFormat>(format)) {
    case TextureFormat::Rgba8:
        return std::uint64_t{width} * height * 4;
    case TextureFormat::Rgba32Float: {
        const std::uint64_t pixels = std::uint64_t{width} * height;
        if (pixels > (~std::uint64_t{0}) / 16) {
            return std::nullopt;
        }
        return pixels * 16;
    }
    case TextureFormat::Bc7:
    case TextureFormat::Bc5:
        return std::uint64_t{BlocksAcross(width)} * BlocksAcross(height) * kBlockBytes;
    }
    return std::nullopt;
}

} // namespace

std::uint32_t FullMipCount(std::uint32_t width, std::uint32_t height) noexcept {
    const std::uint32_t side = width > height ? width : height;
    return side == 0 ? 0 : static_cast<std::uint32_t>(std::bit_width(side));
}

std::optional<std::uint64_t> TexturePixelBytes(std::uint8_t format, std::uint32_t width, std::uint32_t height,
                                               std::uint32_t mipCount) noexcept {
    std::uint64_t total = 0;
    std::uint32_t level = 0;
    // Past the full chain every level is 1x1, so the rest is one multiplication rather than
    // a loop that a hostile count could make four billion rounds long.
    const std::uint32_t walked = mipCount < 33 ? mipCount : 33;
    for (; level < walked; ++level) {
        const std::optional<std::uint64_t> bytes = LevelBytes(format, MipSide(width, level), MipSide(height, level));
        if (!bytes || total > ~std::uint64_t{0} - *bytes) {
            return std::nullopt;
        }
        total += *bytes;
    }
    if (mipCount > walked) {
        const std::uint64_t rest = mipCount - walked;
        const std::uint64_t each = *LevelBytes(format, 1, 1);
        if (each != 0 && rest > (~std::uint64_t{0} - total) / each) {
            return std::nullopt;
        }
        total += rest * each;
    }
    return total;
}

bool HasCompletePixels(const TextureAsset& texture) noexcept {
    const std::optional<std::uint64_t> bytes =
        TexturePixelBytes(texture.format, texture.width, texture.height, texture.mipCount);
    return bytes && *bytes == texture.pixels.size();
}

} // namespace Brelk::Assets
