#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <cstdint>
#include <filesystem>
#include <span>

namespace Brelk::Assets {

// Truevision TGA: colour-mapped, true-colour and greyscale images (types 1, 2, 3) and their
// run-length forms (9, 10, 11), as one RGBA8 level with rows top-down. Every failure throws
// std::runtime_error with its message.
class TgaTextureImporter {
public:
    static TextureAsset ImportTexture(const std::filesystem::path& path);
    // The same from bytes in memory; `path` only names the source in messages.
    static TextureAsset DecodeTexture(std::span<const std::uint8_t> bytes, const std::filesystem::path& path);
};

} // namespace Brelk::Assets
