#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <cstdint>
#include <filesystem>
#include <span>

namespace Brelk::Assets {

// Radiance .hdr images, run-length and flat scanlines alike, as one level of RGBA 32-bit
// floats with alpha 1. Every failure throws std::runtime_error with its message.
class HdrTextureImporter {
public:
    static TextureAsset ImportTexture(const std::filesystem::path& path);
    // The same from bytes in memory; `path` only names the source in messages.
    static TextureAsset DecodeTexture(std::span<const std::uint8_t> bytes, const std::filesystem::path& path);
};

} // namespace Brelk::Assets
