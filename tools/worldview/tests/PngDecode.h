#pragma once

#include "engine/platform/Files.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace Brelk::WorldView {

// A PNG read back through libpng's own decoder, as 8-bit RGB.
struct DecodedPng {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> rgb;

    const std::uint8_t* At(std::uint32_t column, std::uint32_t row) const {
        return rgb.data() + (std::size_t{row} * width + column) * 3;
    }
};

inline DecodedPng DecodeWithLibpng(std::span<const std::uint8_t> bytes) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    DecodedPng decoded;
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) {
        ADD_FAILURE() << image.message;
        return decoded;
    }
    image.format = PNG_FORMAT_RGB;
    decoded.width = image.width;
    decoded.height = image.height;
    decoded.rgb.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, decoded.rgb.data(), 0, nullptr)) ADD_FAILURE() << image.message;
    return decoded;
}

inline DecodedPng DecodeWithLibpng(const std::filesystem::path& path) {
    return DecodeWithLibpng(Platform::ReadFileBytes(path).value());
}

} // namespace Brelk::WorldView
