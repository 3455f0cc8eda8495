#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <atomic>
#include <cstdint>
#include <stdexcept>

namespace Brelk::Assets {

// Thrown between mips when the caller's cancel flag is set: "Texture compression cancelled.".
class TextureCompressionCancelled : public std::runtime_error {
public:
    TextureCompressionCancelled() : std::runtime_error("Texture compression cancelled.") {}
};

// The full mip chain of an RGBA8 texture as BC5 (normal maps) or BC7 mode 6 (all else),
// each mip's block rows spread over the task system's workers. The image is first halved
// until its larger side is at most `maxDimension` (0: no limit). `cancel` may be null.
// Throws std::invalid_argument "Texture compression requires complete RGBA8 pixels." for
// any other input.
TextureAsset CompressTexture(const TextureAsset& image, TextureEncoding encoding, std::uint32_t maxDimension,
                             const std::atomic<bool>* cancel);

// The top mip of a BC7 or BC5 texture as RGBA8 of the same size and hasAlpha. Throws
// std::invalid_argument "Texture decode requires block-compressed pixels." without a whole
// top mip of a block format, and std::runtime_error "Cooked texture holds a BC7 mode this
// decoder does not read." for any BC7 block of a mode but 6.
TextureAsset DecompressTexture(const TextureAsset& texture);

} // namespace Brelk::Assets
