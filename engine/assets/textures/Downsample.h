#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <array>
#include <cstdint>

namespace Brelk::Assets {

// The next mip of an RGBA8 image: each side halves (never below 1) and each pixel is the
// mean of the 2x2 pixels above it, coordinates clamped to the image. With `srgb` the
// colour channels are averaged in linear light; alpha always averages as stored.
MipImage Downsample(const MipImage& image, bool srgb);

// Byte to linear light, built once on first use from any thread.
const std::array<float, 256>& SrgbToLinearTable();
std::uint8_t LinearToSrgbByte(float linear) noexcept;

} // namespace Brelk::Assets
