#include "engine/assets/image/ImageDocument.h"

#include "engine/platform/ErrorText.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace Brelk::Assets {
namespace {

bool InRange(float value, float low, float high) { return std::isfinite(value) && value >= low && value <= high; }

std::uint32_t CeilSqrt(std::uint32_t value) {
    auto root = static_cast<std::uint32_t>(std::sqrt(static_cast<double>(value)));
    while (std::uint64_t{root} * root < value) ++root;
    while (root > 0 && std::uint64_t{root - 1} * (root - 1) >= value) --root;
    return root;
}

} // namespace

ImageDocument MakeImageDocument(std::uint32_t width, std::uint32_t height) {
    ImageDocument document;
    document.identity = Core::Guid::New();
    document.width = width;
    document.height = height;
    return document;
}

bool IsValidLayerSettings(const ImageLayerSettings& settings) noexcept {
    return settings.name.size() <= 256 && InRange(settings.opacity, 0.0f, 1.0f) &&
           static_cast<std::uint32_t>(settings.blendMode) <= 3 &&
           InRange(settings.adjustment.brightness, -1.0f, 1.0f) && InRange(settings.adjustment.contrast, 0.0f, 4.0f) &&
           InRange(settings.adjustment.saturation, 0.0f, 4.0f);
}

bool IsValidFlipbookSettings(float framesPerSecond, std::uint32_t columns, std::uint32_t mode) noexcept {
    return std::isfinite(framesPerSecond) && framesPerSecond > 0.0f && framesPerSecond <= 240.0f && columns <= 255 &&
           mode <= 2;
}

std::uint64_t ImageLayerMemory(const ImageDocument& document) noexcept {
    std::uint64_t bytes = 0;
    for (const ImageLayer& layer : document.layers) {
        bytes += layer.pixels.size() * kImagePixelBytes + layer.mask.size() * kImageMaskValueBytes;
    }
    return bytes;
}

bool ValidateImageDocument(const ImageDocument& document, std::string* error) {
    const std::uint64_t pixelCount = std::uint64_t{document.width} * document.height;
    if (!document.identity.IsValid() || document.width == 0 || document.height == 0 ||
        document.width > document.maxDimension || document.height > document.maxDimension ||
        pixelCount > document.imageMemoryLimit / kImagePixelBytes ||
        !IsValidFlipbookSettings(document.framesPerSecond, document.flipbookColumns, document.flipbookMode)) {
        SetError(error, "Invalid image document identity, dimensions or flipbook settings.");
        return false;
    }
    if (document.layers.size() > document.maxLayers || ImageLayerMemory(document) > document.imageMemoryLimit) {
        SetError(error, "Image layer memory exceeds limits.");
        return false;
    }
    std::unordered_set<Core::Guid> identities;
    for (const ImageLayer& layer : document.layers) {
        if (!layer.identity.IsValid() || !identities.insert(layer.identity).second ||
            !IsValidLayerSettings(layer.settings) || layer.pixels.size() != pixelCount ||
            (!layer.mask.empty() && layer.mask.size() != pixelCount)) {
            SetError(error, "Invalid image layer identity, settings or pixels.");
            return false;
        }
    }
    return true;
}

void ApplyImageAdjustments(std::vector<ImagePixel>& pixels, const ImageAdjustment& adjustment) {
    if (adjustment == ImageAdjustment{}) return;
    auto adjust = [&](float channel, float luma) {
        float value = luma + (channel - luma) * adjustment.saturation;
        value = (value - 0.5f) * adjustment.contrast + 0.5f + adjustment.brightness;
        return std::clamp(value, 0.0f, 1.0f);
    };
    for (ImagePixel& pixel : pixels) {
        const float luma = 0.2126f * pixel.r + 0.7152f * pixel.g + 0.0722f * pixel.b;
        pixel.r = adjust(pixel.r, luma);
        pixel.g = adjust(pixel.g, luma);
        pixel.b = adjust(pixel.b, luma);
    }
}

bool PlanFlipbookAtlas(const ImageDocument& document, FlipbookAtlasLayout* layout, std::string* error) {
    FlipbookAtlasLayout plan;
    for (const ImageLayer& layer : document.layers) plan.frames += layer.settings.visible ? 1 : 0;
    if (plan.frames == 0) {
        SetError(error, "A flipbook needs at least one visible frame.");
        return false;
    }
    plan.columns = document.flipbookColumns != 0 ? document.flipbookColumns : CeilSqrt(plan.frames);
    plan.rows = (plan.frames + plan.columns - 1) / plan.columns;
    const std::uint64_t width = std::uint64_t{plan.columns} * document.width;
    const std::uint64_t height = std::uint64_t{plan.rows} * document.height;
    if (plan.columns > 255 || plan.rows > 255 || width > document.maxDimension || height > document.maxDimension ||
        width * height > kFlipbookAtlasMaxPixels) {
        SetError(error, "Flipbook atlas exceeds its size limit; reduce frames or canvas size.");
        return false;
    }
    plan.width = static_cast<std::uint32_t>(width);
    plan.height = static_cast<std::uint32_t>(height);
    *layout = plan;
    return true;
}

bool BuildFlipbookAtlas(const ImageDocument& document, FlipbookAtlasLayout* layout, std::vector<ImagePixel>* pixels,
                        std::string* error) {
    FlipbookAtlasLayout plan;
    if (!PlanFlipbookAtlas(document, &plan, error)) return false;
    std::vector<ImagePixel> atlas(std::size_t{plan.width} * plan.height);
    std::uint32_t frame = 0;
    std::vector<ImagePixel> drawn;
    for (const ImageLayer& layer : document.layers) {
        if (!layer.settings.visible) continue;
        drawn = layer.pixels;
        ApplyImageAdjustments(drawn, layer.settings.adjustment);
        const std::size_t left = std::size_t{frame % plan.columns} * document.width;
        const std::size_t top = std::size_t{frame / plan.columns} * document.height;
        for (std::size_t y = 0; y < document.height; ++y) {
            for (std::size_t x = 0; x < document.width; ++x) {
                const std::size_t source = y * document.width + x;
                ImagePixel pixel = drawn[source];
                pixel.a *= layer.settings.opacity * (layer.mask.empty() ? 1.0f : layer.mask[source]);
                atlas[(top + y) * plan.width + left + x] = pixel;
            }
        }
        ++frame;
    }
    *layout = plan;
    *pixels = std::move(atlas);
    return true;
}

} // namespace Brelk::Assets
