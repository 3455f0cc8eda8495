#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <cstdint>
#include <span>

namespace Brelk::Assets {

// One 4x4 block: 16 RGBA8 pixels row by row, 64 bytes.
using BlockPixels = std::span<const std::uint8_t, 64>;

// BC7 in mode 6 only: one RGBA endpoint pair with a p-bit each and 4-bit selectors. Colour
// blocks weigh the channels by how much each shows (R 3, G 6, B 1, A 3), data blocks evenly.
void EncodeBc7Mode6Block(BlockPixels pixels, TextureEncoding encoding, std::span<std::uint8_t, 16> out) noexcept;
// False, leaving `out` as it was, for a block of any mode but 6.
[[nodiscard]] bool DecodeBc7Mode6Block(std::span<const std::uint8_t, 16> block, std::span<std::uint8_t, 64> out) noexcept;

// BC4 over one channel of 16 values; always the 8-value form.
void EncodeBc4Block(std::span<const std::uint8_t, 16> values, std::span<std::uint8_t, 8> out) noexcept;
// Reads both the 8-value and the 6-value forms.
void DecodeBc4Block(std::span<const std::uint8_t, 8> block, std::span<std::uint8_t, 16> values) noexcept;

// BC5: a BC4 block of red, then one of green.
void EncodeBc5Block(BlockPixels pixels, std::span<std::uint8_t, 16> out) noexcept;
// Blue is rebuilt as the unit normal's z from red and green; alpha is 255.
void DecodeBc5Block(std::span<const std::uint8_t, 16> block, std::span<std::uint8_t, 64> out) noexcept;

} // namespace Brelk::Assets
