#include "engine/assets/textures/TgaTextureImporter.h"

#include "engine/core/Profiler.h"
#include "engine/platform/Files.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {
namespace {

constexpr std::size_t kHeaderBytes = 18;

[[noreturn]] void Fail(std::string_view message) { throw std::runtime_error(std::string(message)); }

[[noreturn]] void FailFor(std::string_view message, const std::filesystem::path& path) {
    throw std::runtime_error(std::string(message) + Platform::PathToUtf8(path));
}

struct TgaHeader {
    std::uint8_t idLength = 0;
    std::uint8_t colorMapType = 0;
    std::uint8_t imageType = 0;
    std::uint16_t colorMapFirst = 0;
    std::uint16_t colorMapLength = 0;
    std::uint8_t colorMapEntryBits = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint8_t pixelBits = 0;
    std::uint8_t descriptor = 0;
};

std::uint16_t U16(const std::uint8_t* bytes) noexcept { return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8); }

// One stored value of `bits` (8 to 32) as RGBA. Greyscale bytes are grey, 15/16-bit
// values are 5-5-5 with the top bit as alpha when the image says it has alpha.
std::array<std::uint8_t, 4> ToRgba(const std::uint8_t* value, unsigned bits, bool grey, bool alphaBit) noexcept {
    if (grey) {
        return {value[0], value[0], value[0], bits == 16 ? value[1] : std::uint8_t{255}};
    }
    switch (bits) {
    case 15:
    case 16: {
        const unsigned packed = U16(value);
        const auto expand = [](unsigned five) { return static_cast<std::uint8_t>((five << 3) | (five >> 2)); };
        const bool opaque = !alphaBit || bits == 15 || (packed & 0x8000u) != 0;
        return {expand((packed >> 10) & 31u), expand((packed >> 5) & 31u), expand(packed & 31u),
                opaque ? std::uint8_t{255} : std::uint8_t{0}};
    }
    case 24:
        return {value[2], value[1], value[0], 255};
    default:
        return {value[2], value[1], value[0], value[3]};
    }
}

class TgaCursor {
public:
    explicit TgaCursor(std::span<const std::uint8_t> bytes) noexcept : bytes_(bytes) {}
    const std::uint8_t* Take(std::size_t count) noexcept {
        if (bytes_.size() - position_ < count) {
            return nullptr;
        }
        const std::uint8_t* at = bytes_.data() + position_;
        position_ += count;
        return at;
    }
    [[nodiscard]] std::size_t Remaining() const noexcept { return bytes_.size() - position_; }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

} // namespace

TextureAsset TgaTextureImporter::ImportTexture(const std::filesystem::path& path) {
    BRELK_PROFILE_ZONE("Import", "Import TGA Texture");
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    if (!bytes) {
        FailFor("Failed to open TGA texture: ", path);
    }
    return DecodeTexture(*bytes, path);
}

TextureAsset TgaTextureImporter::DecodeTexture(std::span<const std::uint8_t> bytes, const std::filesystem::path& path) {
    TgaCursor cursor(bytes);
    const std::uint8_t* raw = cursor.Take(kHeaderBytes);
    if (raw == nullptr) {
        FailFor("TGA texture header is incomplete: ", path);
    }
    TgaHeader header;
    header.idLength = raw[0];
    header.colorMapType = raw[1];
    header.imageType = raw[2];
    header.colorMapFirst = U16(raw + 3);
    header.colorMapLength = U16(raw + 5);
    header.colorMapEntryBits = raw[7];
    header.width = U16(raw + 12);
    header.height = U16(raw + 14);
    header.pixelBits = raw[16];
    header.descriptor = raw[17];

    if (header.width == 0 || header.height == 0) {
        FailFor("TGA texture has invalid dimensions: ", path);
    }
    const std::uint8_t baseType = header.imageType & 7u;
    const bool rle = (header.imageType & 8u) != 0;
    if ((header.imageType & ~std::uint8_t{11}) != 0 || baseType < 1 || baseType > 3) {
        FailFor("Unsupported TGA image type: ", path);
    }
    const bool mapped = baseType == 1;
    const bool grey = baseType == 3;
    const unsigned alphaBits = header.descriptor & 15u;
    if (mapped) {
        if (header.pixelBits != 8 && header.pixelBits != 16) {
            Fail("Unsupported TGA color map index size.");
        }
    } else if (grey ? (header.pixelBits != 8 && header.pixelBits != 16)
                    : (header.pixelBits != 15 && header.pixelBits != 16 && header.pixelBits != 24 &&
                       header.pixelBits != 32)) {
        Fail("Unsupported TGA pixel depth.");
    }
    // Interleaved rows (the descriptor's top two bits) belong to a layout no tool still writes.
    if ((header.descriptor & 0xC0u) != 0) {
        Fail("Unsupported TGA pixel layout.");
    }
    if (cursor.Take(header.idLength) == nullptr) {
        FailFor("TGA texture header is incomplete: ", path);
    }

    std::vector<std::array<std::uint8_t, 4>> palette;
    if (header.colorMapType != 0 || mapped) {
        if (mapped && header.colorMapType == 0) {
            FailFor("Color-mapped TGA texture is missing a palette: ", path);
        }
        const unsigned entryBits = header.colorMapEntryBits;
        if (entryBits != 15 && entryBits != 16 && entryBits != 24 && entryBits != 32) {
            Fail("Unsupported TGA color map entry size.");
        }
        if (mapped && header.colorMapLength == 0) {
            FailFor("Color-mapped TGA texture has an empty palette: ", path);
        }
        const std::size_t entryBytes = (entryBits + 7) / 8;
        const std::uint8_t* entries = cursor.Take(entryBytes * header.colorMapLength);
        if (entries == nullptr) {
            FailFor("TGA texture header is incomplete: ", path);
        }
        // Palette indices count from colorMapFirst; entries below it don't exist.
        palette.assign(std::size_t{header.colorMapFirst} + header.colorMapLength, {0, 0, 0, 0});
        for (std::size_t i = 0; i < header.colorMapLength; ++i) {
            palette[header.colorMapFirst + i] = ToRgba(entries + i * entryBytes, entryBits, false, alphaBits > 0);
        }
    }

    const std::size_t pixelBytes = (header.pixelBits + 7u) / 8u;
    const std::size_t count = std::size_t{header.width} * header.height;
    const auto decodeValue = [&](const std::uint8_t* value) -> std::array<std::uint8_t, 4> {
        if (mapped) {
            const std::size_t index = pixelBytes == 1 ? value[0] : U16(value);
            return index < palette.size() ? palette[index] : std::array<std::uint8_t, 4>{0, 0, 0, 0};
        }
        return ToRgba(value, header.pixelBits, grey, alphaBits > 0);
    };

    // The least data that can cover the image (full run packets for RLE), checked before the
    // pixels are allocated, so a header can't ask for memory its file doesn't back.
    const std::size_t leastData = rle ? (count + 127) / 128 * (1 + pixelBytes) : count * pixelBytes;
    if (cursor.Remaining() < leastData) {
        FailFor("TGA texture pixel data is incomplete: ", path);
    }
    std::vector<std::uint8_t> pixels(count * 4);
    std::size_t written = 0;
    if (!rle) {
        const std::uint8_t* data = cursor.Take(count * pixelBytes);
        if (data == nullptr) {
            FailFor("TGA texture pixel data is incomplete: ", path);
        }
        if (!mapped && !grey && header.pixelBits == 32) {
            for (; written < count; ++written, data += 4) {
                std::uint8_t* out = &pixels[written * 4];
                out[0] = data[2];
                out[1] = data[1];
                out[2] = data[0];
                out[3] = data[3];
            }
        } else if (!mapped && !grey && header.pixelBits == 24) {
            for (; written < count; ++written, data += 3) {
                std::uint8_t* out = &pixels[written * 4];
                out[0] = data[2];
                out[1] = data[1];
                out[2] = data[0];
                out[3] = 255;
            }
        }
        for (; written < count; ++written) {
            const std::array<std::uint8_t, 4> rgba = decodeValue(data + written * pixelBytes);
            std::memcpy(&pixels[written * 4], rgba.data(), 4);
        }
    }
    while (written < count) {
        const std::uint8_t* packet = cursor.Take(1);
        if (packet == nullptr) {
            FailFor("TGA texture pixel data is incomplete: ", path);
        }
        const std::size_t length = std::min<std::size_t>((packet[0] & 0x7Fu) + 1u, count - written);
        if ((packet[0] & 0x80u) != 0) {
            const std::uint8_t* value = cursor.Take(pixelBytes);
            if (value == nullptr) {
                FailFor("TGA texture pixel data is incomplete: ", path);
            }
            const std::array<std::uint8_t, 4> rgba = decodeValue(value);
            for (std::size_t i = 0; i < length; ++i, ++written) {
                std::memcpy(&pixels[written * 4], rgba.data(), 4);
            }
        } else {
            const std::uint8_t* values = cursor.Take(length * pixelBytes);
            if (values == nullptr) {
                FailFor("TGA texture pixel data is incomplete: ", path);
            }
            for (std::size_t i = 0; i < length; ++i, ++written) {
                const std::array<std::uint8_t, 4> rgba = decodeValue(values + i * pixelBytes);
                std::memcpy(&pixels[written * 4], rgba.data(), 4);
            }
        }
    }

    const std::size_t rowBytes = std::size_t{header.width} * 4;
    // Rows are stored bottom-up unless the descriptor says the origin is at the top.
    if ((header.descriptor & 0x20u) == 0) {
        for (std::size_t y = 0; y < header.height / 2u; ++y) {
            std::swap_ranges(pixels.begin() + std::ptrdiff_t(y * rowBytes), pixels.begin() + std::ptrdiff_t((y + 1) * rowBytes),
                             pixels.begin() + std::ptrdiff_t((header.height - 1 - y) * rowBytes));
        }
    }
    if ((header.descriptor & 0x10u) != 0) {
        for (std::size_t y = 0; y < header.height; ++y) {
            std::uint8_t* line = &pixels[y * rowBytes];
            for (std::size_t x = 0; x < header.width / 2u; ++x) {
                std::swap_ranges(line + x * 4, line + x * 4 + 4, line + (header.width - 1 - x) * 4);
            }
        }
    }

    TextureAsset texture;
    texture.width = header.width;
    texture.height = header.height;
    texture.channels = 4;
    texture.format = static_cast<std::uint8_t>(TextureFormat::Rgba8);
    texture.mipCount = 1;
    texture.hasAlpha = false;
    for (std::size_t i = 3; i < pixels.size(); i += 4) {
        if (pixels[i] != 255) {
            texture.hasAlpha = true;
            break;
        }
    }
    texture.pixels = std::move(pixels);
    return texture;
}

} // namespace Brelk::Assets
