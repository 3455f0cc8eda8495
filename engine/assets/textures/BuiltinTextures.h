#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <string_view>

namespace Brelk::Assets {

// The 1x1 RGBA8 textures that exist in no file: White, Black and FlatNormal (a normal
// pointing straight out of the surface). Null for any other name.
const TextureAsset* FindBuiltinTexture(std::string_view name) noexcept;

// A 1x1 RGBA8 texture of the given bytes; it has alpha when alpha is below 255.
TextureAsset MakeSolidTexture(std::uint8_t red, std::uint8_t green, std::uint8_t blue, std::uint8_t alpha);

} // namespace Brelk::Assets
