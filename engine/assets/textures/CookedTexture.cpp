#include "engine/assets/textures/CookedTexture.h"

#include "engine/assets/ByteStream.h"
#include "engine/assets/textures/ZlibBytes.h"
#include "engine/platform/Files.h"

#include <xxhash.h>

#include <fstream>
#include <optional>
#include <stdexcept>

namespace Brelk::Assets {
namespace {

struct CookedTextureHeader {
    std::uint32_t magic = 0;
    std::uint32_t version = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t mipCount = 0;
    std::uint32_t hasAlpha = 0;
    std::uint32_t compressed = 0;
    std::uint32_t format = 0;
    std::uint64_t rawSize = 0;
    std::uint64_t storedSize = 0;
    std::uint64_t checksum = 0;
};

CookedTextureHeader ReadHeader(std::span<const std::uint8_t> bytes) {
    ByteReader reader(bytes.first(kCookedTextureHeaderBytes));
    CookedTextureHeader header;
    header.magic = reader.ReadU32();
    header.version = reader.ReadU32();
    header.width = reader.ReadU32();
    header.height = reader.ReadU32();
    header.mipCount = reader.ReadU32();
    header.hasAlpha = reader.ReadU32();
    header.compressed = reader.ReadU32();
    header.format = reader.ReadU32();
    header.rawSize = reader.ReadU64();
    header.storedSize = reader.ReadU64();
    header.checksum = reader.ReadU64();
    return header;
}

bool HeaderIsValid(const CookedTextureHeader& header, std::size_t storedBytes) {
    if (header.magic != kCookedTextureMagic || header.version != kCookedTextureVersion || header.width == 0 ||
        header.height == 0 || header.compressed > 1 || header.format > 3 || header.rawSize == 0) {
        return false;
    }
    const std::optional<std::uint64_t> demanded = TexturePixelBytes(static_cast<std::uint8_t>(header.format),
                                                                    header.width, header.height, header.mipCount);
    return demanded && *demanded == header.rawSize && header.storedSize == storedBytes &&
           (header.compressed == 1 || header.storedSize == header.rawSize);
}

} // namespace

std::vector<std::uint8_t> EncodeCookedTexture(const TextureAsset& texture) {
    const bool oneLevel = !IsBlockCompressed(texture.format) && texture.format <= 1 && texture.mipCount == 1;
    const bool fullChain =
        IsBlockCompressed(texture.format) && texture.mipCount == FullMipCount(texture.width, texture.height);
    if (!(oneLevel || fullChain) || texture.width == 0 || texture.height == 0 || !HasCompletePixels(texture)) {
        throw std::invalid_argument("Cooked texture requires a complete block-compressed mip chain or one RGBA level.");
    }
    std::vector<std::uint8_t> deflated = ZlibCompress(texture.pixels);
    const bool compressed = !deflated.empty() && deflated.size() < texture.pixels.size();
    const std::span<const std::uint8_t> stored = compressed ? std::span<const std::uint8_t>(deflated) : texture.pixels;

    ByteWriter writer;
    writer.WriteU32(kCookedTextureMagic);
    writer.WriteU32(kCookedTextureVersion);
    writer.WriteU32(texture.width);
    writer.WriteU32(texture.height);
    writer.WriteU32(texture.mipCount);
    writer.WriteU32(texture.hasAlpha ? 1 : 0);
    writer.WriteU32(compressed ? 1 : 0);
    writer.WriteU32(texture.format);
    writer.WriteU64(texture.pixels.size());
    writer.WriteU64(stored.size());
    writer.WriteU64(XXH64(stored.data(), stored.size(), 0));
    writer.WriteBytes(stored);
    return writer.TakeBytes();
}

TextureAsset DecodeCookedTexture(std::span<const std::uint8_t> bytes, std::string_view name) {
    if (bytes.size() < kCookedTextureHeaderBytes) {
        throw std::runtime_error("Invalid cooked texture: " + std::string(name));
    }
    const CookedTextureHeader header = ReadHeader(bytes);
    const std::span<const std::uint8_t> stored = bytes.subspan(kCookedTextureHeaderBytes);
    if (!HeaderIsValid(header, stored.size())) {
        throw std::runtime_error("Invalid cooked texture: " + std::string(name));
    }
    if (XXH64(stored.data(), stored.size(), 0) != header.checksum) {
        throw std::runtime_error("Corrupt cooked texture (checksum mismatch): " + std::string(name));
    }
    TextureAsset texture;
    texture.width = header.width;
    texture.height = header.height;
    texture.channels = 4;
    texture.hasAlpha = header.hasAlpha != 0;
    texture.format = static_cast<std::uint8_t>(header.format);
    texture.mipCount = header.mipCount;
    if (header.compressed == 0) {
        texture.pixels.assign(stored.begin(), stored.end());
    } else if (!ZlibInflate(stored, header.rawSize, texture.pixels)) {
        throw std::runtime_error("Corrupt cooked texture: " + std::string(name));
    }
    return texture;
}

TextureAsset LoadCookedTexture(const std::filesystem::path& path) {
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    if (!bytes) {
        throw std::runtime_error("Failed to open cooked texture: " + Platform::PathToUtf8(path));
    }
    if (bytes->size() < kCookedTextureHeaderBytes ||
        ReadHeader(*bytes).storedSize > bytes->size() - kCookedTextureHeaderBytes) {
        throw std::runtime_error("Truncated cooked texture: " + Platform::PathToUtf8(path));
    }
    return DecodeCookedTexture(*bytes, Platform::PathToUtf8(path));
}

bool SaveCookedTexture(const TextureAsset& texture, const std::filesystem::path& path, std::string* error) {
    std::vector<std::uint8_t> bytes;
    try {
        bytes = EncodeCookedTexture(texture);
    } catch (const std::invalid_argument& failure) {
        if (error != nullptr) {
            *error = failure.what();
        }
        return false;
    }
    return Platform::WriteFileAtomic(path, bytes, error);
}

bool IsCookedTexture(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    char magic[4] = {};
    if (!file.read(magic, sizeof(magic))) {
        return false;
    }
    return magic[0] == 'B' && magic[1] == 'T' && magic[2] == 'E' && magic[3] == 'X';
}

} // namespace Brelk::Assets
