#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace Brelk::WorldView {

// The rows of an image from the top, each width * 3 bytes of 8-bit RGB: called once per row,
// in order, and the bytes need to last only until the next call. What it throws passes
// through the encoder.
using PngRowSource = std::function<const std::uint8_t*(std::uint32_t row)>;

// An 8-bit RGB image in PNG form, through libpng. Fixed compression settings and no time
// stamp or other chunk that varies, so the same pixels always give the same bytes. False,
// with libpng's reason, when it refuses the image; `rgb` must hold width * height * 3 bytes.
[[nodiscard]] bool EncodePng(std::uint32_t width, std::uint32_t height, std::span<const std::uint8_t> rgb,
                             std::vector<std::uint8_t>& png, std::string* error);
[[nodiscard]] bool EncodePng(std::uint32_t width, std::uint32_t height, const PngRowSource& rows,
                             std::vector<std::uint8_t>& png, std::string* error);

// Encodes and replaces `path` atomically; after false an earlier file there is untouched.
[[nodiscard]] bool WritePngFile(const std::filesystem::path& path, std::uint32_t width, std::uint32_t height,
                                const PngRowSource& rows, std::string* error);

} // namespace Brelk::WorldView
