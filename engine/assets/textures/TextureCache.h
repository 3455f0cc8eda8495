#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace Brelk::Assets {

inline constexpr std::uint32_t kDecodedTextureCacheMagic = 0x42545843; // "CXTB"
inline constexpr std::uint32_t kDecodedTextureCacheVersion = 2;

// What a cache entry is checked against: the source's last write time and size.
struct TextureSourceStamp {
    std::uint64_t writeTime = 0;
    std::uint64_t size = 0;
};

// The stamp of a regular file; none for anything else.
std::optional<TextureSourceStamp> ReadTextureSourceStamp(const std::filesystem::path& source);

// FNV-1a of the weakly canonical path (the absolute one if that fails), generic UTF-8, lower-cased.
std::uint64_t TexturePathHash(const std::filesystem::path& path);

// <user settings>/TextureCache.
std::filesystem::path TextureCacheFolder();
// <cache folder>/<PathHash>.btxcache
std::filesystem::path DecodedTextureCachePath(const std::filesystem::path& cacheFolder,
                                              const std::filesystem::path& source);
// <cache folder>/<PathHash>-<write time>-<size>-3.btex
std::filesystem::path CookedTextureCachePath(const std::filesystem::path& cacheFolder,
                                             const std::filesystem::path& source, const TextureSourceStamp& stamp);

// The decoded-pixel cache in memory. Decode gives none for anything that isn't a whole,
// current entry for `stamp`; neither has a message, since a cache is optional.
std::vector<std::uint8_t> EncodeDecodedTextureCache(const TextureAsset& texture, const TextureSourceStamp& stamp);
std::optional<TextureAsset> DecodeDecodedTextureCache(std::span<const std::uint8_t> bytes,
                                                      const TextureSourceStamp& stamp);

// The cache entry of a source, if the source is a regular file and the entry is current.
std::optional<TextureAsset> ReadDecodedTextureCache(const std::filesystem::path& source,
                                                    const std::filesystem::path& cacheFolder = TextureCacheFolder());
// Writes the entry of a source; false on any failure, which the caller may ignore. Only
// one-level RGBA8 and float textures have an entry.
bool WriteDecodedTextureCache(const std::filesystem::path& source, const TextureAsset& texture,
                              const std::filesystem::path& cacheFolder = TextureCacheFolder());

} // namespace Brelk::Assets
