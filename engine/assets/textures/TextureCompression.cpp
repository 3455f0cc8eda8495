#include "engine/assets/textures/TextureCompression.h"

#include "engine/assets/textures/BlockCodecs.h"
#include "engine/assets/textures/Downsample.h"
#include "engine/core/TaskSystem.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Brelk::Assets {
namespace {

using Core::Tasks::TaskSystem;

void GatherBlock(const MipImage& image, std::uint32_t blockX, std::uint32_t blockY, std::array<std::uint8_t, 64>& block) {
    // Partial blocks repeat the edge pixels, so the encoder never sees made-up colours.
    for (std::uint32_t y = 0; y < 4; ++y) {
        const std::size_t row = std::min(blockY * 4 + y, image.height - 1);
        for (std::uint32_t x = 0; x < 4; ++x) {
            const std::size_t column = std::min(blockX * 4 + x, image.width - 1);
            const std::uint8_t* pixel = &image.pixels[(row * image.width + column) * 4];
            std::copy_n(pixel, 4, &block[(y * 4 + x) * 4]);
        }
    }
}

void CompressMip(const MipImage& image, TextureEncoding encoding, std::uint8_t* out) {
    const std::uint32_t across = BlocksAcross(image.width);
    const std::uint32_t down = BlocksAcross(image.height);
    TaskSystem::Get().ParallelFor(down, 1, std::nullopt, [&](std::size_t blockY) {
        std::array<std::uint8_t, 64> block{};
        for (std::uint32_t blockX = 0; blockX < across; ++blockX) {
            GatherBlock(image, blockX, static_cast<std::uint32_t>(blockY), block);
            const std::span<std::uint8_t, 16> target(out + (blockY * across + blockX) * kBlockBytes, 16);
            if (encoding == TextureEncoding::Normal) {
                EncodeBc5Block(block, target);
            } else {
                EncodeBc7Mode6Block(block, encoding, target);
            }
        }
    });
}

void ThrowIfCancelled(const std::atomic<bool>* cancel) {
    if (cancel != nullptr && cancel->load(std::memory_order_acquire)) {
        throw TextureCompressionCancelled();
    }
}

} // namespace

TextureAsset CompressTexture(const TextureAsset& image, TextureEncoding encoding, std::uint32_t maxDimension,
                             const std::atomic<bool>* cancel) {
    if (image.format != static_cast<std::uint8_t>(TextureFormat::Rgba8) || image.width == 0 || image.height == 0 ||
        image.pixels.size() != std::uint64_t{image.width} * image.height * 4) {
        throw std::invalid_argument("Texture compression requires complete RGBA8 pixels.");
    }
    const bool srgb = encoding == TextureEncoding::Color;
    MipImage mip{image.width, image.height, image.pixels};
    while (maxDimension != 0 && std::max(mip.width, mip.height) > maxDimension) {
        mip = Downsample(mip, srgb);
    }

    TextureAsset result;
    result.handle = image.handle;
    result.sourceRevision = image.sourceRevision;
    result.width = mip.width;
    result.height = mip.height;
    result.channels = 4;
    result.hasAlpha = image.hasAlpha;
    result.format = static_cast<std::uint8_t>(encoding == TextureEncoding::Normal ? TextureFormat::Bc5 : TextureFormat::Bc7);
    result.mipCount = FullMipCount(mip.width, mip.height);
    result.pixels.resize(*TexturePixelBytes(result.format, result.width, result.height, result.mipCount));

    std::size_t offset = 0;
    for (std::uint32_t level = 0; level < result.mipCount; ++level) {
        ThrowIfCancelled(cancel);
        CompressMip(mip, encoding, result.pixels.data() + offset);
        ThrowIfCancelled(cancel);
        offset += std::size_t{BlocksAcross(mip.width)} * BlocksAcross(mip.height) * kBlockBytes;
        if (level + 1 < result.mipCount) {
            mip = Downsample(mip, srgb);
        }
    }
    return result;
}

TextureAsset DecompressTexture(const TextureAsset& texture) {
    const std::size_t across = BlocksAcross(texture.width);
    const std::size_t down = BlocksAcross(texture.height);
    if (!IsBlockCompressed(texture.format) || texture.width == 0 || texture.height == 0 || texture.mipCount == 0 ||
        texture.pixels.size() < across * down * kBlockBytes) {
        throw std::invalid_argument("Texture decode requires block-compressed pixels.");
    }
    TextureAsset result;
    result.handle = texture.handle;
    result.sourceRevision = texture.sourceRevision;
    result.width = texture.width;
    result.height = texture.height;
    result.channels = 4;
    result.hasAlpha = texture.hasAlpha;
    result.format = static_cast<std::uint8_t>(TextureFormat::Rgba8);
    result.mipCount = 1;
    result.pixels.resize(std::size_t{texture.width} * texture.height * 4);
    const bool bc5 = texture.format == static_cast<std::uint8_t>(TextureFormat::Bc5);
    TaskSystem::Get().ParallelFor(down, 1, std::nullopt, [&](std::size_t blockY) {
        std::array<std::uint8_t, 64> block{};
        for (std::size_t blockX = 0; blockX < across; ++blockX) {
            const std::span<const std::uint8_t, 16> source(&texture.pixels[(blockY * across + blockX) * kBlockBytes], 16);
            if (bc5) {
                DecodeBc5Block(source, block);
            } else if (!DecodeBc7Mode6Block(source, block)) {
                throw std::runtime_error("Cooked texture holds a BC7 mode this decoder does not read.");
            }
            for (std::size_t y = 0; y < 4 && blockY * 4 + y < texture.height; ++y) {
                const std::size_t columns = std::min<std::size_t>(4, texture.width - blockX * 4);
                std::copy_n(&block[y * 16], columns * 4,
                            &result.pixels[((blockY * 4 + y) * texture.width + blockX * 4) * 4]);
            }
        }
    });
    return result;
}

} // namespace Brelk::Assets
