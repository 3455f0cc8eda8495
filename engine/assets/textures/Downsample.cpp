#include "engine/assets/textures/Downsample.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Brelk::Assets {

const std::array<float, 256>& SrgbToLinearTable() {
    static const std::array<float, 256> table = [] {
        std::array<float, 256> values{};
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double v = static_cast<double>(i) / 255.0;
            values[i] = static_cast<float>(v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4));
        }
        return values;
    }();
    return table;
}

std::uint8_t LinearToSrgbByte(float linear) noexcept {
    const double x = std::clamp(static_cast<double>(linear), 0.0, 1.0);
    const double srgb = x <= 0.0031308 ? 12.92 * x : 1.055 * std::pow(x, 1.0 / 2.4) - 0.055;
    return static_cast<std::uint8_t>(std::clamp(std::lround(srgb * 255.0), 0l, 255l));
}

MipImage Downsample(const MipImage& image, bool srgb) {
    MipImage next;
    next.width = std::max<std::uint32_t>(image.width / 2, 1);
    next.height = std::max<std::uint32_t>(image.height / 2, 1);
    next.pixels.resize(std::size_t{next.width} * next.height * 4);
    const std::array<float, 256>& toLinear = SrgbToLinearTable();
    const std::uint32_t lastX = image.width - 1;
    const std::uint32_t lastY = image.height - 1;
    for (std::uint32_t y = 0; y < next.height; ++y) {
        const std::size_t row0 = std::size_t{std::min(2 * y, lastY)} * image.width;
        const std::size_t row1 = std::size_t{std::min(2 * y + 1, lastY)} * image.width;
        for (std::uint32_t x = 0; x < next.width; ++x) {
            const std::size_t col0 = std::min(2 * x, lastX);
            const std::size_t col1 = std::min(2 * x + 1, lastX);
            const std::uint8_t* const quad[4] = {
                &image.pixels[(row0 + col0) * 4], &image.pixels[(row0 + col1) * 4],
                &image.pixels[(row1 + col0) * 4], &image.pixels[(row1 + col1) * 4]};
            std::uint8_t* out = &next.pixels[(std::size_t{y} * next.width + x) * 4];
            for (int c = 0; c < 4; ++c) {
                if (srgb && c < 3) {
                    const float mean =
                        (toLinear[quad[0][c]] + toLinear[quad[1][c]] + toLinear[quad[2][c]] + toLinear[quad[3][c]]) *
                        0.25f;
                    out[c] = LinearToSrgbByte(mean);
                } else {
                    out[c] = static_cast<std::uint8_t>((quad[0][c] + quad[1][c] + quad[2][c] + quad[3][c] + 2) >> 2);
                }
            }
        }
    }
    return next;
}

} // namespace Brelk::Assets
