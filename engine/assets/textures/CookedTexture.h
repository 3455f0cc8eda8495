#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

inline constexpr std::uint32_t kCookedTextureMagic = 0x58455442; // "BTEX"
inline constexpr std::uint32_t kCookedTextureVersion = 3;
inline constexpr std::size_t kCookedTextureHeaderBytes = 56;

// The .btex bytes: the 56-byte header, then the pixels, through zlib when that is smaller.
// Throws std::invalid_argument "Cooked texture requires a complete block-compressed mip
// chain or one RGBA level." for anything else.
std::vector<std::uint8_t> EncodeCookedTexture(const TextureAsset& texture);

// Throws std::runtime_error "Invalid cooked texture: <name>" for a header that fails a
// check, "Corrupt cooked texture (checksum mismatch): <name>" when the stored bytes don't
// hash to the checksum, "Corrupt cooked texture: <name>" when they don't inflate to the
// size the header gives.
TextureAsset DecodeCookedTexture(std::span<const std::uint8_t> bytes, std::string_view name);

// As DecodeCookedTexture, named by the path; "Failed to open cooked texture: <path>" when the
// file can't be read, "Truncated cooked texture: <path>" when it ends before the header or
// the stored bytes the header announces.
TextureAsset LoadCookedTexture(const std::filesystem::path& path);
[[nodiscard]] bool SaveCookedTexture(const TextureAsset& texture, const std::filesystem::path& path,
                                     std::string* error = nullptr);

// The file begins with the .btex magic.
bool IsCookedTexture(const std::filesystem::path& path);

} // namespace Brelk::Assets
