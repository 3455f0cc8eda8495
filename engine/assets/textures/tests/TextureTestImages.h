#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>

namespace Brelk::Assets::Testing {

// An RGBA8 image whose pixel (x, y) is `pixel(x, y, out)`.
inline TextureAsset MakeImage(std::uint32_t width, std::uint32_t height,
                              const std::function<void(std::uint32_t, std::uint32_t, std::uint8_t*)>& pixel) {
    TextureAsset image;
    image.width = width;
    image.height = height;
    image.pixels.resize(std::size_t{width} * height * 4);
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            std::uint8_t* out = &image.pixels[(std::size_t{y} * width + x) * 4];
            out[3] = 255;
            pixel(x, y, out);
            image.hasAlpha = image.hasAlpha || out[3] != 255;
        }
    }
    return image;
}

// A fixed pseudo-random byte per position, the same on every run.
inline std::uint8_t NoiseByte(std::uint32_t x, std::uint32_t y, std::uint32_t channel) {
    std::uint32_t h = x * 73856093u ^ y * 19349663u ^ channel * 83492791u;
    h ^= h >> 13;
    h *= 0x5bd1e995u;
    h ^= h >> 15;
    return static_cast<std::uint8_t>(h);
}

inline TextureAsset SmoothImage(std::uint32_t width, std::uint32_t height) {
    return MakeImage(width, height, [&](std::uint32_t x, std::uint32_t y, std::uint8_t* out) {
        out[0] = static_cast<std::uint8_t>(x * 255 / (width - 1));
        out[1] = static_cast<std::uint8_t>(y * 255 / (height - 1));
        out[2] = static_cast<std::uint8_t>((x + y) * 255 / (width + height - 2));
    });
}

// A tangent-space normal map of gentle bumps: unit vectors around +z, encoded v * 127.5 + 127.5.
inline TextureAsset NormalMapImage(std::uint32_t width, std::uint32_t height) {
    return MakeImage(width, height, [](std::uint32_t x, std::uint32_t y, std::uint8_t* out) {
        const float nx = 0.3f * std::sin(static_cast<float>(x) * 0.2f);
        const float ny = 0.3f * std::cos(static_cast<float>(y) * 0.15f);
        const float nz = std::sqrt(1.0f - nx * nx - ny * ny);
        out[0] = static_cast<std::uint8_t>(std::lround(nx * 127.5f + 127.5f));
        out[1] = static_cast<std::uint8_t>(std::lround(ny * 127.5f + 127.5f));
        out[2] = static_cast<std::uint8_t>(std::lround(nz * 127.5f + 127.5f));
    });
}

} // namespace Brelk::Assets::Testing
