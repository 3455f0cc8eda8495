#include "engine/assets/textures/HdrTextureImporter.h"

#include "engine/core/Profiler.h"
#include "engine/platform/Files.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {
namespace {

class HdrCursor {
public:
    explicit HdrCursor(std::span<const std::uint8_t> bytes) noexcept : bytes_(bytes) {}

    // A line without its "\n" and a final "\r"; none at the end of the data.
    std::optional<std::string_view> ReadLine() noexcept {
        if (position_ >= bytes_.size()) {
            return std::nullopt;
        }
        const auto* begin = reinterpret_cast<const char*>(bytes_.data()) + position_;
        const std::size_t left = bytes_.size() - position_;
        const void* newline = std::memchr(begin, '\n', left);
        const std::size_t length = newline == nullptr ? left : static_cast<const char*>(newline) - begin;
        position_ += newline == nullptr ? length : length + 1;
        std::string_view line(begin, length);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        return line;
    }

    bool Read(std::uint8_t* out, std::size_t count) noexcept {
        if (bytes_.size() - position_ < count) {
            return false;
        }
        std::memcpy(out, bytes_.data() + position_, count);
        position_ += count;
        return true;
    }

    void Back(std::size_t count) noexcept { position_ -= count; }
    [[nodiscard]] std::size_t Remaining() const noexcept { return bytes_.size() - position_; }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

[[noreturn]] void Fail(std::string_view message) { throw std::runtime_error(std::string(message)); }

[[noreturn]] void FailFor(std::string_view message, const std::filesystem::path& path) {
    throw std::runtime_error(std::string(message) + Platform::PathToUtf8(path));
}

struct Resolution {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool flipVertical = false;
    bool flipHorizontal = false;
};

std::optional<std::string_view> NextWord(std::string_view& text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t end = text.find_first_of(" \t", begin);
    const std::string_view word = text.substr(begin, end == std::string_view::npos ? text.size() - begin : end - begin);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end);
    return word;
}

std::optional<long long> NextInteger(std::string_view& text) {
    const std::optional<std::string_view> word = NextWord(text);
    if (!word) {
        return std::nullopt;
    }
    long long value = 0;
    const auto [end, status] = std::from_chars(word->data(), word->data() + word->size(), value);
    if (status != std::errc() || end != word->data() + word->size()) {
        return std::nullopt;
    }
    return value;
}

Resolution ParseResolution(std::string_view line) {
    const std::optional<std::string_view> first = NextWord(line);
    const std::optional<long long> rows = NextInteger(line);
    const std::optional<std::string_view> second = NextWord(line);
    const std::optional<long long> columns = NextInteger(line);
    if (!first || !rows || !second || !columns || first->size() != 2 || second->size() != 2) {
        Fail("Invalid HDR resolution line.");
    }
    if (first->back() != 'Y' || second->back() != 'X' || *rows <= 0 || *columns <= 0 || *rows > 0x7FFFFFFF ||
        *columns > 0x7FFFFFFF) {
        Fail("Unsupported HDR orientation.");
    }
    return {static_cast<std::uint32_t>(*columns), static_cast<std::uint32_t>(*rows), first->front() == '+',
            second->front() == '-'};
}

// One new-style scanline: four channel planes, each a series of runs and literals.
void ReadRleScanline(HdrCursor& cursor, std::uint32_t width, std::vector<std::uint8_t>& planes) {
    for (std::uint32_t channel = 0; channel < 4; ++channel) {
        std::uint8_t* plane = &planes[std::size_t{channel} * width];
        std::uint32_t x = 0;
        while (x < width) {
            std::uint8_t count = 0;
            if (!cursor.Read(&count, 1)) {
                Fail("Unexpected end of HDR RLE data.");
            }
            if (count > 128) {
                const std::uint32_t run = count - 128u;
                std::uint8_t value = 0;
                if (!cursor.Read(&value, 1)) {
                    Fail("Unexpected end of HDR RLE run.");
                }
                if (run > width - x) {
                    Fail("HDR RLE run exceeds scanline width.");
                }
                std::fill_n(plane + x, run, value);
                x += run;
            } else if (count == 0) {
                Fail("Encountered invalid zero-length HDR RLE packet.");
            } else {
                if (count > width - x) {
                    Fail("HDR RLE literal exceeds scanline width.");
                }
                if (!cursor.Read(plane + x, count)) {
                    Fail("Unexpected end of HDR literal data.");
                }
                x += count;
            }
        }
    }
}

// 2^(e - 136) for each exponent byte, so a pixel costs three multiplications; the products
// are exact, a power of two times a byte.
const std::array<float, 256>& ExponentScales() {
    static const std::array<float, 256> scales = [] {
        std::array<float, 256> values{};
        for (int e = 1; e < 256; ++e) {
            values[static_cast<std::size_t>(e)] = std::ldexp(1.0f, e - 136);
        }
        return values;
    }();
    return scales;
}

void StorePixel(const std::uint8_t rgbe[4], const std::array<float, 256>& scales, float* out) noexcept {
    const float scale = scales[rgbe[3]];
    out[0] = static_cast<float>(rgbe[0]) * scale;
    out[1] = static_cast<float>(rgbe[1]) * scale;
    out[2] = static_cast<float>(rgbe[2]) * scale;
    out[3] = 1.0f;
}

} // namespace

TextureAsset HdrTextureImporter::ImportTexture(const std::filesystem::path& path) {
    BRELK_PROFILE_ZONE("Import", "Import HDR Texture");
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    if (!bytes) {
        FailFor("Failed to open HDR texture: ", path);
    }
    return DecodeTexture(*bytes, path);
}

TextureAsset HdrTextureImporter::DecodeTexture(std::span<const std::uint8_t> bytes, const std::filesystem::path& path) {
    HdrCursor cursor(bytes);
    const std::optional<std::string_view> signature = cursor.ReadLine();
    if (!signature) {
        FailFor("HDR texture is empty: ", path);
    }
    if (*signature != "#?RADIANCE" && *signature != "#?RGBE") {
        FailFor("Unsupported HDR signature: ", path);
    }
    bool formatSeen = false;
    for (;;) {
        const std::optional<std::string_view> line = cursor.ReadLine();
        if (!line || line->empty()) {
            break;
        }
        if (line->starts_with("FORMAT=")) {
            if (*line != "FORMAT=32-bit_rle_rgbe") {
                FailFor("Unsupported HDR pixel format: ", path);
            }
            formatSeen = true;
        }
    }
    if (!formatSeen) {
        FailFor("Unsupported HDR pixel format: ", path);
    }
    const std::optional<std::string_view> resolutionLine = cursor.ReadLine();
    if (!resolutionLine) {
        FailFor("Missing HDR resolution line: ", path);
    }
    const Resolution resolution = ParseResolution(*resolutionLine);
    const std::uint32_t width = resolution.width;
    const std::uint32_t height = resolution.height;

    // Rows are added as they are read, so a header that claims more pixels than the data
    // holds fails on the data before it costs that memory.
    const std::array<float, 256>& scales = ExponentScales();
    std::vector<float> pixels;
    // As much as the data left could honestly hold, uncompressed; more only as rows arrive.
    pixels.reserve(static_cast<std::size_t>(
        std::min<std::uint64_t>(std::uint64_t{width} * height, cursor.Remaining()) * 4));
    std::vector<std::uint8_t> planes;
    std::uint32_t row = 0;
    for (; row < height; ++row) {
        std::uint8_t head[4] = {};
        if (!cursor.Read(head, 4)) {
            Fail("Unexpected end of HDR scanline data.");
        }
        const std::uint32_t lineWidth = (std::uint32_t{head[2]} << 8) | head[3];
        if (head[0] != 2 || head[1] != 2 || lineWidth != width || width < 8 || width > 32767) {
            cursor.Back(4);
            break;
        }
        planes.resize(std::size_t{width} * 4);
        ReadRleScanline(cursor, width, planes);
        const std::size_t start = pixels.size();
        pixels.resize(start + std::size_t{width} * 4);
        for (std::uint32_t x = 0; x < width; ++x) {
            const std::uint8_t rgbe[4] = {planes[x], planes[width + x], planes[2 * std::size_t{width} + x],
                                          planes[3 * std::size_t{width} + x]};
            StorePixel(rgbe, scales, &pixels[start + std::size_t{x} * 4]);
        }
    }
    if (row < height) {
        const std::uint64_t rest = std::uint64_t{height - row} * width;
        if (rest > cursor.Remaining() / 4) {
            Fail("Unexpected end of HDR pixel data.");
        }
        std::size_t start = pixels.size();
        pixels.resize(start + rest * 4);
        for (std::uint64_t i = 0; i < rest; ++i, start += 4) {
            std::uint8_t rgbe[4] = {};
            cursor.Read(rgbe, 4);
            StorePixel(rgbe, scales, &pixels[start]);
        }
    }

    if (resolution.flipVertical) {
        for (std::uint32_t y = 0; y < height / 2; ++y) {
            std::swap_ranges(pixels.begin() + std::ptrdiff_t(std::size_t{y} * width * 4),
                             pixels.begin() + std::ptrdiff_t(std::size_t{y + 1} * width * 4),
                             pixels.begin() + std::ptrdiff_t(std::size_t{height - 1 - y} * width * 4));
        }
    }
    if (resolution.flipHorizontal) {
        for (std::uint32_t y = 0; y < height; ++y) {
            float* line = &pixels[std::size_t{y} * width * 4];
            for (std::uint32_t x = 0; x < width / 2; ++x) {
                std::swap_ranges(line + std::size_t{x} * 4, line + std::size_t{x} * 4 + 4,
                                 line + std::size_t{width - 1 - x} * 4);
            }
        }
    }

    TextureAsset texture;
    texture.width = width;
    texture.height = height;
    texture.channels = 4;
    texture.hasAlpha = false;
    texture.format = static_cast<std::uint8_t>(TextureFormat::Rgba32Float);
    texture.mipCount = 1;
    texture.pixels.resize(pixels.size() * sizeof(float));
    std::memcpy(texture.pixels.data(), pixels.data(), texture.pixels.size());
    return texture;
}

} // namespace Brelk::Assets
