#include "engine/assets/image/ImageDocumentFile.h"

#include "engine/assets/ByteStream.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"

#include <stdexcept>

namespace Brelk::Assets {
namespace {

constexpr std::uint64_t kNameLimit = 256;
// Identity, the settings with an empty name, and the mask flag.
constexpr std::uint64_t kMinimumLayerBytes = 16 + 4 + 1 + 1 + 4 + 4 + 12 + 1;

void WriteGuid(ByteWriter& writer, const Core::Guid& guid) {
    writer.WriteU64(guid.high);
    writer.WriteU64(guid.low);
}

Core::Guid ReadGuid(ByteReader& reader) {
    Core::Guid guid;
    guid.high = reader.ReadU64();
    guid.low = reader.ReadU64();
    return guid;
}

void ReadLayer(ByteReader& reader, std::uint64_t pixelCount, ImageLayer& layer) {
    layer.identity = ReadGuid(reader);
    ImageLayerSettings& settings = layer.settings;
    settings.name = reader.ReadString(kNameLimit);
    settings.visible = reader.ReadU8() != 0;
    settings.locked = reader.ReadU8() != 0;
    settings.opacity = reader.ReadF32();
    settings.blendMode = static_cast<ImageBlendMode>(reader.ReadU32());
    settings.adjustment.brightness = reader.ReadF32();
    settings.adjustment.contrast = reader.ReadF32();
    settings.adjustment.saturation = reader.ReadF32();
    const bool hasMask = reader.ReadU8() != 0;
    // Checked against what is left before anything is reserved.
    const std::uint64_t bytesPerPixel = kImagePixelBytes + (hasMask ? kImageMaskValueBytes : 0);
    if (pixelCount > reader.Remaining() / bytesPerPixel) throw std::runtime_error("");
    layer.pixels.resize(pixelCount);
    for (ImagePixel& pixel : layer.pixels) {
        pixel.r = reader.ReadF32();
        pixel.g = reader.ReadF32();
        pixel.b = reader.ReadF32();
        pixel.a = reader.ReadF32();
    }
    if (hasMask) {
        layer.mask.resize(pixelCount);
        for (float& value : layer.mask) value = reader.ReadF32();
    }
}

} // namespace

std::vector<std::uint8_t> SerializeImageDocument(const ImageDocument& document) {
    ByteWriter writer;
    WriteGuid(writer, document.identity);
    writer.WriteU32(document.width);
    writer.WriteU32(document.height);
    writer.WriteU32(document.maxDimension);
    writer.WriteU32(document.maxLayers);
    writer.WriteU64(document.imageMemoryLimit);
    writer.WriteF32(document.framesPerSecond);
    writer.WriteU32(document.flipbookColumns);
    writer.WriteU32(document.flipbookMode);
    writer.WriteU64(document.historyBudget);
    writer.WriteU32(static_cast<std::uint32_t>(document.layers.size()));
    for (const ImageLayer& layer : document.layers) {
        WriteGuid(writer, layer.identity);
        writer.WriteString(layer.settings.name);
        writer.WriteU8(layer.settings.visible ? 1 : 0);
        writer.WriteU8(layer.settings.locked ? 1 : 0);
        writer.WriteF32(layer.settings.opacity);
        writer.WriteU32(static_cast<std::uint32_t>(layer.settings.blendMode));
        writer.WriteF32(layer.settings.adjustment.brightness);
        writer.WriteF32(layer.settings.adjustment.contrast);
        writer.WriteF32(layer.settings.adjustment.saturation);
        writer.WriteU8(layer.mask.empty() ? 0 : 1);
        for (const ImagePixel& pixel : layer.pixels) {
            writer.WriteF32(pixel.r);
            writer.WriteF32(pixel.g);
            writer.WriteF32(pixel.b);
            writer.WriteF32(pixel.a);
        }
        for (const float value : layer.mask) writer.WriteF32(value);
    }
    return WriteCookedContainer(kCookedKindImage, kImageDocumentFormatVersion, writer.Bytes());
}

bool SaveImageDocument(const std::filesystem::path& path, const ImageDocument& document, std::string* error) {
    if (!ValidateImageDocument(document, error)) return false;
    std::string reason;
    if (Platform::WriteFileAtomic(path, SerializeImageDocument(document), &reason)) return true;
    SetError(error, "Failed to write image document: " + reason);
    return false;
}

bool ParseImageDocument(std::span<const std::uint8_t> bytes, std::string_view name, ImageDocument* document,
                        std::string* error) {
    const auto payload = OpenCookedContainer(bytes, kCookedKindImage, kImageDocumentFormatVersion, name, error);
    if (!payload) return false;
    ImageDocument parsed;
    try {
        ByteReader reader(*payload);
        parsed.identity = ReadGuid(reader);
        parsed.width = reader.ReadU32();
        parsed.height = reader.ReadU32();
        parsed.maxDimension = reader.ReadU32();
        parsed.maxLayers = reader.ReadU32();
        parsed.imageMemoryLimit = reader.ReadU64();
        parsed.framesPerSecond = reader.ReadF32();
        parsed.flipbookColumns = reader.ReadU32();
        parsed.flipbookMode = reader.ReadU32();
        parsed.historyBudget = reader.ReadU64();
        const std::uint32_t layerCount = reader.ReadCount(kMinimumLayerBytes, 0xFFFFFFFFu);
        const std::uint64_t pixelCount = std::uint64_t{parsed.width} * parsed.height;
        parsed.layers.resize(layerCount);
        for (ImageLayer& layer : parsed.layers) ReadLayer(reader, pixelCount, layer);
        if (!reader.AtEnd()) throw std::runtime_error("");
    } catch (const std::runtime_error&) {
        SetError(error, "Invalid image document payload.");
        return false;
    }
    if (!ValidateImageDocument(parsed, error)) return false;
    *document = std::move(parsed);
    return true;
}

bool LoadImageDocument(const std::filesystem::path& path, ImageDocument* document, std::string* error) {
    std::string reason;
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path, &reason);
    if (!bytes) {
        SetError(error, "Failed to read image document: " + reason);
        return false;
    }
    return ParseImageDocument(*bytes, Platform::PathToUtf8(path), document, error);
}

} // namespace Brelk::Assets
