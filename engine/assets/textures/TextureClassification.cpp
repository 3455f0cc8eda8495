#include "engine/assets/textures/TextureClassification.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {
namespace {

constexpr std::array<std::string_view, 18> kLinearDataWords{
    "rough",  "roughness", "metal",        "metallic", "metalness", "ao",   "occlusion", "ambientocclusion", "height",
    "displacement", "disp", "orm", "arm", "mask", "opacity", "gloss", "specular", "bump"};

char LowerAscii(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool IsAlphanumeric(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

std::vector<std::string> StemWords(const std::filesystem::path& path) {
    const std::string text = path.generic_string();
    const std::size_t slash = text.find_last_of("/\\");
    std::string stem = slash == std::string::npos ? text : text.substr(slash + 1);
    const std::size_t dot = stem.find_last_of('.');
    if (dot != std::string::npos) {
        stem.resize(dot);
    }
    std::vector<std::string> words;
    std::string word;
    for (const char c : stem) {
        if (IsAlphanumeric(c)) {
            word.push_back(LowerAscii(c));
        } else if (!word.empty()) {
            words.push_back(std::move(word));
            word.clear();
        }
    }
    if (!word.empty()) {
        words.push_back(std::move(word));
    }
    return words;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) noexcept {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

} // namespace

bool LooksLikeNormalMap(const TextureAsset& image) {
    const std::size_t count = std::size_t{image.width} * image.height;
    if (image.format != static_cast<std::uint8_t>(TextureFormat::Rgba8) || count == 0 || image.pixels.size() < count * 4) {
        return false;
    }
    const std::size_t step = count >= 4096 ? count / 4096 : 1;
    double sumRed = 0.0;
    double sumGreen = 0.0;
    double sumBlue = 0.0;
    std::size_t samples = 0;
    std::size_t unitSamples = 0;
    for (std::size_t i = 0; i < count; i += step) {
        const std::uint8_t* pixel = &image.pixels[i * 4];
        sumRed += pixel[0];
        sumGreen += pixel[1];
        sumBlue += pixel[2];
        ++samples;
        const double x = pixel[0] / 127.5 - 1.0;
        const double y = pixel[1] / 127.5 - 1.0;
        const double z = pixel[2] / 127.5 - 1.0;
        if (pixel[2] > 127 && std::abs(std::sqrt(x * x + y * y + z * z) - 1.0) <= 0.12) {
            ++unitSamples;
        }
    }
    const double n = static_cast<double>(samples);
    return std::abs(sumRed / n - 128.0) <= 20.0 && std::abs(sumGreen / n - 128.0) <= 20.0 && sumBlue / n > 200.0 &&
           static_cast<double>(unitSamples) >= 0.9 * n;
}

TextureEncoding ClassifyTextureEncoding(const std::filesystem::path& path, const TextureAsset& image) {
    const std::vector<std::string> words = StemWords(path);
    for (const std::string& word : words) {
        if (word == "normal" || word == "normals") {
            return TextureEncoding::Normal;
        }
    }
    if (LooksLikeNormalMap(image)) {
        return TextureEncoding::Normal;
    }
    for (const std::string& word : words) {
        if (std::find(kLinearDataWords.begin(), kLinearDataWords.end(), word) != kLinearDataWords.end()) {
            return TextureEncoding::LinearData;
        }
    }
    return TextureEncoding::Color;
}

bool IsCompressibleTextureSource(const std::filesystem::path& path) {
    const std::string extension = path.extension().string();
    constexpr std::array<std::string_view, 5> kExtensions{".png", ".jpg", ".jpeg", ".bmp", ".tga"};
    if (std::none_of(kExtensions.begin(), kExtensions.end(),
                     [&](std::string_view candidate) { return EqualsIgnoringCase(extension, candidate); })) {
        return false;
    }
    for (const std::filesystem::path& component : path) {
        if (EqualsIgnoringCase(component.string(), "UI")) {
            return false;
        }
    }
    return true;
}

} // namespace Brelk::Assets
