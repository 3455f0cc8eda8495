#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <filesystem>

namespace Brelk::Assets {

struct TextureLoadOptions {
    // Compress large sources to BC and keep them in the cooked cache, as an editing session
    // wants; a run-time load keeps plain pixels.
    bool compressForEditing = false;
    // Where both caches live; empty for the user settings' "TextureCache".
    std::filesystem::path cacheFolder;
};

// A texture from the first form that gives one: the source itself if it is a .btex; the
// cooked cache of a compressible source; the decoded-pixel cache; the source through the
// image decoder registry. A decoded RGBA8 source of a side of 256 or more is then compressed
// into the cooked cache when the options allow and the source is compressible, otherwise
// its pixels go to the decoded cache. Throws std::runtime_error when no form gives a texture.
TextureAsset LoadTextureAsset(const std::filesystem::path& path, const TextureLoadOptions& options);

} // namespace Brelk::Assets
