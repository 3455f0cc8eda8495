#include "engine/assets/textures/TextureLoad.h"

#include "engine/assets/textures/CookedTexture.h"
#include "engine/assets/textures/ImageDecoderRegistry.h"
#include "engine/assets/textures/TextureCache.h"
#include "engine/assets/textures/TextureClassification.h"
#include "engine/assets/textures/TextureCompression.h"
#include "engine/core/Profiler.h"
#include "engine/platform/Files.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Brelk::Assets {
namespace {

constexpr std::uint32_t kLeastSideCompressedForEditing = 256;

std::string LowerExtension(const std::filesystem::path& path) {
    std::string extension = path.extension().string();
    for (char& c : extension) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return extension;
}

} // namespace

TextureAsset LoadTextureAsset(const std::filesystem::path& path, const TextureLoadOptions& options) {
    if (IsCookedTexture(path)) {
        return LoadCookedTexture(path);
    }
    const std::filesystem::path cacheFolder = options.cacheFolder.empty() ? TextureCacheFolder() : options.cacheFolder;
    const bool compressible = IsCompressibleTextureSource(path);
    const std::optional<TextureSourceStamp> stamp = ReadTextureSourceStamp(path);
    if (compressible && stamp) {
        const std::filesystem::path cooked = CookedTextureCachePath(cacheFolder, path, *stamp);
        std::error_code error;
        if (std::filesystem::is_regular_file(cooked, error)) {
            try {
                return LoadCookedTexture(cooked);
            } catch (const std::exception&) {
                // A broken cache entry is rebuilt from the source below.
            }
        }
    }
    {
        BRELK_PROFILE_ZONE("Assets", "Load Decoded Texture Cache");
        if (std::optional<TextureAsset> cached = ReadDecodedTextureCache(path, cacheFolder)) {
            return std::move(*cached);
        }
    }
    TextureAsset texture;
    {
        BRELK_PROFILE_ZONE("Import", "Decode Source Texture");
        const std::string extension = LowerExtension(path);
        const ImageDecoder decoder = ImageDecoderRegistry::Instance().Find(extension);
        if (!decoder) {
            throw std::runtime_error("No image decoder for '" + extension +
                                     "' is registered in this program (source importers are authoring-only): " +
                                     Platform::PathToUtf8(path));
        }
        texture = decoder(path);
    }
    if (options.compressForEditing && compressible && stamp &&
        texture.format == static_cast<std::uint8_t>(TextureFormat::Rgba8) &&
        std::max(texture.width, texture.height) >= kLeastSideCompressedForEditing) {
        BRELK_PROFILE_ZONE("Assets", "Compress Texture For Editing");
        TextureAsset compressed = CompressTexture(texture, ClassifyTextureEncoding(path, texture), 0, nullptr);
        // The cache only saves later loads the work; this load has its texture either way.
        (void)SaveCookedTexture(compressed, CookedTextureCachePath(cacheFolder, path, *stamp));
        return compressed;
    }
    {
        BRELK_PROFILE_ZONE("Assets", "Write Decoded Texture Cache");
        (void)WriteDecodedTextureCache(path, texture, cacheFolder);
    }
    return texture;
}

} // namespace Brelk::Assets
