#include "engine/assets/textures/TextureCache.h"

#include "engine/assets/ByteStream.h"
#include "engine/assets/textures/ZlibBytes.h"
#include "engine/core/Hash.h"
#include "engine/platform/Files.h"
#include "engine/platform/Folders.h"

#include <stdexcept>
#include <string>
#include <system_error>

namespace Brelk::Assets {
namespace {

constexpr std::uint8_t kRgba8 = static_cast<std::uint8_t>(TextureFormat::Rgba8);
constexpr std::uint8_t kRgba32Float = static_cast<std::uint8_t>(TextureFormat::Rgba32Float);

} // namespace

std::optional<TextureSourceStamp> ReadTextureSourceStamp(const std::filesystem::path& source) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(source, error)) {
        return std::nullopt;
    }
    const std::uintmax_t size = std::filesystem::file_size(source, error);
    if (error) {
        return std::nullopt;
    }
    const std::filesystem::file_time_type time = std::filesystem::last_write_time(source, error);
    if (error) {
        return std::nullopt;
    }
    return TextureSourceStamp{static_cast<std::uint64_t>(time.time_since_epoch().count()),
                              static_cast<std::uint64_t>(size)};
}

std::uint64_t TexturePathHash(const std::filesystem::path& path) {
    std::error_code error;
    std::filesystem::path canonical = std::filesystem::weakly_canonical(path, error);
    if (error) {
        canonical = std::filesystem::absolute(path, error);
        if (error) {
            canonical = path;
        }
    }
    const std::u8string generic = canonical.generic_u8string();
    std::string text(generic.begin(), generic.end());
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return Core::Fnv1a64(std::string_view(text));
}

std::filesystem::path TextureCacheFolder() { return Platform::GetUserSettingsFolder() / "TextureCache"; }

std::filesystem::path DecodedTextureCachePath(const std::filesystem::path& cacheFolder,
                                              const std::filesystem::path& source) {
    return cacheFolder / (std::to_string(TexturePathHash(source)) + ".btxcache");
}

std::filesystem::path CookedTextureCachePath(const std::filesystem::path& cacheFolder,
                                             const std::filesystem::path& source, const TextureSourceStamp& stamp) {
    return cacheFolder / (std::to_string(TexturePathHash(source)) + "-" + std::to_string(stamp.writeTime) +
                                   "-" + std::to_string(stamp.size) + "-3.btex");
}

std::vector<std::uint8_t> EncodeDecodedTextureCache(const TextureAsset& texture, const TextureSourceStamp& stamp) {
    std::vector<std::uint8_t> deflated = ZlibCompress(texture.pixels);
    const bool compressed = !deflated.empty() && deflated.size() < texture.pixels.size();
    const std::span<const std::uint8_t> stored = compressed ? std::span<const std::uint8_t>(deflated) : texture.pixels;
    ByteWriter writer;
    writer.WriteU32(kDecodedTextureCacheMagic);
    writer.WriteU32(kDecodedTextureCacheVersion);
    writer.WriteU64(stamp.writeTime);
    writer.WriteU64(stamp.size);
    writer.WriteU32(texture.width);
    writer.WriteU32(texture.height);
    writer.WriteU32(4);
    writer.WriteU8(texture.hasAlpha ? 1 : 0);
    writer.WriteU8(texture.format);
    writer.WriteU8(compressed ? 1 : 0);
    writer.WriteU64(texture.pixels.size());
    writer.WriteU64(stored.size());
    writer.WriteBytes(stored);
    return writer.TakeBytes();
}

std::optional<TextureAsset> DecodeDecodedTextureCache(std::span<const std::uint8_t> bytes,
                                                      const TextureSourceStamp& stamp) {
    try {
        ByteReader reader(bytes);
        if (reader.ReadU32() != kDecodedTextureCacheMagic || reader.ReadU32() != kDecodedTextureCacheVersion ||
            reader.ReadU64() != stamp.writeTime || reader.ReadU64() != stamp.size) {
            return std::nullopt;
        }
        TextureAsset texture;
        texture.width = reader.ReadU32();
        texture.height = reader.ReadU32();
        texture.channels = reader.ReadU32();
        const std::uint8_t hasAlpha = reader.ReadU8();
        texture.format = reader.ReadU8();
        const std::uint8_t compressed = reader.ReadU8();
        const std::uint64_t rawSize = reader.ReadU64();
        const std::uint64_t storedSize = reader.ReadU64();
        if (texture.channels != 4 || hasAlpha > 1 || texture.format > kRgba32Float || compressed > 1) {
            return std::nullopt;
        }
        texture.hasAlpha = hasAlpha == 1;
        if (std::uint64_t{texture.width} * texture.height > (std::uint64_t{1} << 58)) {
            return std::nullopt;
        }
        const std::uint64_t pixelBytes = std::uint64_t{texture.width} * texture.height * 4 *
                                         (texture.format == kRgba8 ? 1 : 4);
        if (texture.width == 0 || texture.height == 0 || rawSize != pixelBytes || storedSize != reader.Remaining() ||
            (compressed == 0 && storedSize != rawSize)) {
            return std::nullopt;
        }
        const std::span<const std::uint8_t> stored = bytes.subspan(reader.Position());
        if (compressed == 0) {
            texture.pixels.assign(stored.begin(), stored.end());
        } else if (!ZlibInflate(stored, rawSize, texture.pixels)) {
            return std::nullopt;
        }
        return texture;
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

std::optional<TextureAsset> ReadDecodedTextureCache(const std::filesystem::path& source,
                                                    const std::filesystem::path& cacheFolder) {
    const std::optional<TextureSourceStamp> stamp = ReadTextureSourceStamp(source);
    if (!stamp) {
        return std::nullopt;
    }
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(DecodedTextureCachePath(cacheFolder, source));
    if (!bytes) {
        return std::nullopt;
    }
    return DecodeDecodedTextureCache(*bytes, *stamp);
}

bool WriteDecodedTextureCache(const std::filesystem::path& source, const TextureAsset& texture,
                              const std::filesystem::path& cacheFolder) {
    const std::optional<TextureSourceStamp> stamp = ReadTextureSourceStamp(source);
    if (!stamp || texture.format > kRgba32Float || texture.mipCount != 1 || !HasCompletePixels(texture)) {
        return false;
    }
    return Platform::WriteFileAtomic(DecodedTextureCachePath(cacheFolder, source), EncodeDecodedTextureCache(texture, *stamp));
}

} // namespace Brelk::Assets
