#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <filesystem>

namespace Brelk::Assets {

// Normal when the file's stem has the word "normal" or "normals" or the pixels look like a
// tangent-space normal map; LinearData for stems that name a data channel ("rough", "ao",
// "mask", ...); Color otherwise. Words are the stem's runs of letters and digits.
TextureEncoding ClassifyTextureEncoding(const std::filesystem::path& path, const TextureAsset& image);

// RGBA8 pixels whose sampled means sit near (128, 128, >200) and of which nine in ten are
// unit vectors pointing out of the surface.
bool LooksLikeNormalMap(const TextureAsset& image);

// A .png, .jpg, .jpeg, .bmp or .tga source outside any folder named "UI" (either case):
// the kinds of image that are block-compressed for editing.
bool IsCompressibleTextureSource(const std::filesystem::path& path);

} // namespace Brelk::Assets
