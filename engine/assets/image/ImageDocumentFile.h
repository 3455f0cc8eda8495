#pragma once

#include "engine/assets/cooked/CookedContainer.h"
#include "engine/assets/image/ImageDocument.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace Brelk::Assets {

// A `.bimg` is a cooked container of kind BIMG, format version 1, whose payload holds the
// document's identity, size, limits and flipbook settings, then each layer bottom first:
// identity, settings, a mask flag, the pixels as four f32 each and the mask as one f32 each,
// rows from the top. The undo history is not kept.
inline constexpr std::uint32_t kCookedKindImage = MakeCookedKind('B', 'I', 'M', 'G');
inline constexpr std::uint32_t kImageDocumentFormatVersion = 1;

[[nodiscard]] std::vector<std::uint8_t> SerializeImageDocument(const ImageDocument& document);
// Replaces the file atomically; "Failed to write image document: <reason>" on failure. A
// document that fails ValidateImageDocument is refused with its message.
[[nodiscard]] bool SaveImageDocument(const std::filesystem::path& path, const ImageDocument& document,
                                     std::string* error = nullptr);

// The container's own messages ("Invalid cooked file ..."), "Invalid image document
// payload." for a payload that is short, long or holds more pixels than its bytes, and then
// the messages of ValidateImageDocument.
[[nodiscard]] bool ParseImageDocument(std::span<const std::uint8_t> bytes, std::string_view name,
                                      ImageDocument* document, std::string* error = nullptr);
[[nodiscard]] bool LoadImageDocument(const std::filesystem::path& path, ImageDocument* document,
                                     std::string* error = nullptr);

} // namespace Brelk::Assets
