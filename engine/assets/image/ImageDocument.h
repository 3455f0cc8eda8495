#pragma once

#include "engine/core/Guid.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Brelk::Assets {

struct ImagePixel {
    float r = 0.0f, g = 0.0f, b = 0.0f, a = 0.0f;
    friend bool operator==(const ImagePixel&, const ImagePixel&) = default;
};

inline constexpr std::uint64_t kImagePixelBytes = 16;
inline constexpr std::uint64_t kImageMaskValueBytes = 4;

enum class ImageBlendMode : std::uint32_t { Normal = 0, Multiply = 1, Screen = 2, Add = 3 };

// Per-layer colour adjustments, applied on top of the pixels when the layer is drawn and
// written into them by a bake. The neutral value changes nothing.
struct ImageAdjustment {
    float brightness = 0.0f;  // -1..1, added
    float contrast = 1.0f;    // 0..4, around mid grey
    float saturation = 1.0f;  // 0..4, away from the luma
    friend bool operator==(const ImageAdjustment&, const ImageAdjustment&) = default;
};

struct ImageLayerSettings {
    std::string name;  // at most 256 bytes
    bool visible = true;
    bool locked = false;
    float opacity = 1.0f;  // 0..1
    ImageBlendMode blendMode = ImageBlendMode::Normal;
    ImageAdjustment adjustment;
    friend bool operator==(const ImageLayerSettings&, const ImageLayerSettings&) = default;
};

struct ImageLayer {
    Core::Guid identity;
    ImageLayerSettings settings;
    // width * height, rows from the top.
    std::vector<ImagePixel> pixels;
    // Empty, or width * height coverage values of 0..1.
    std::vector<float> mask;
    friend bool operator==(const ImageLayer&, const ImageLayer&) = default;
};

// A layered float picture edited inside the engine. `flipbookMode` 0 plays once, 1 loops,
// 2 plays forward and back.
struct ImageDocument {
    Core::Guid identity;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t maxDimension = 8192;
    std::uint32_t maxLayers = 256;
    std::uint64_t imageMemoryLimit = 2ull << 30;
    // Bottom first.
    std::vector<ImageLayer> layers;
    float framesPerSecond = 12.0f;
    std::uint32_t flipbookColumns = 0;
    std::uint32_t flipbookMode = 0;
    std::uint64_t historyBudget = 256ull << 20;
    friend bool operator==(const ImageDocument&, const ImageDocument&) = default;
};

// A new document of the given size, with a new identity and no layers.
[[nodiscard]] ImageDocument MakeImageDocument(std::uint32_t width, std::uint32_t height);

[[nodiscard]] bool IsValidLayerSettings(const ImageLayerSettings& settings) noexcept;
[[nodiscard]] bool IsValidFlipbookSettings(float framesPerSecond, std::uint32_t columns, std::uint32_t mode) noexcept;

// The bytes that the layers and masks of `document` hold.
[[nodiscard]] std::uint64_t ImageLayerMemory(const ImageDocument& document) noexcept;

// The three invariants in order: "Invalid image document identity, dimensions or flipbook
// settings.", "Image layer memory exceeds limits.", "Invalid image layer identity, settings
// or pixels.".
[[nodiscard]] bool ValidateImageDocument(const ImageDocument& document, std::string* error = nullptr);

// The layer's pixels as drawn: adjustments applied, colour clamped to 0..1 afterwards only
// where the adjustment moved it.
void ApplyImageAdjustments(std::vector<ImagePixel>& pixels, const ImageAdjustment& adjustment);

struct FlipbookAtlasLayout {
    std::uint32_t frames = 0;
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    friend bool operator==(const FlipbookAtlasLayout&, const FlipbookAtlasLayout&) = default;
};

inline constexpr std::uint64_t kFlipbookAtlasMaxPixels = 67108864;

// The grid of the visible layers: `flipbookColumns` columns, or ceil(sqrt(frames)) when that
// is 0. "A flipbook needs at least one visible frame." or "Flipbook atlas exceeds its size
// limit; reduce frames or canvas size.".
[[nodiscard]] bool PlanFlipbookAtlas(const ImageDocument& document, FlipbookAtlasLayout* layout,
                                     std::string* error = nullptr);
// The atlas itself: each visible layer, bottom first, with its adjustments, opacity and mask
// in its alpha, left to right and top to bottom.
[[nodiscard]] bool BuildFlipbookAtlas(const ImageDocument& document, FlipbookAtlasLayout* layout,
                                      std::vector<ImagePixel>* pixels, std::string* error = nullptr);

} // namespace Brelk::Assets
