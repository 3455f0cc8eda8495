#include "engine/assets/textures/BuiltinTextures.h"

#include "engine/assets/BuiltinAssets.h"

namespace Brelk::Assets {

TextureAsset MakeSolidTexture(std::uint8_t red, std::uint8_t green, std::uint8_t blue, std::uint8_t alpha) {
    TextureAsset texture;
    texture.width = 1;
    texture.height = 1;
    texture.channels = 4;
    texture.format = static_cast<std::uint8_t>(TextureFormat::Rgba8);
    texture.mipCount = 1;
    texture.hasAlpha = alpha < 255;
    texture.pixels = {red, green, blue, alpha};
    return texture;
}

const TextureAsset* FindBuiltinTexture(std::string_view name) noexcept {
    static const TextureAsset white = MakeSolidTexture(255, 255, 255, 255);
    static const TextureAsset black = MakeSolidTexture(0, 0, 0, 255);
    static const TextureAsset flatNormal = MakeSolidTexture(128, 128, 255, 255);
    if (name == kBuiltinWhite) {
        return &white;
    }
    if (name == kBuiltinBlack) {
        return &black;
    }
    if (name == kBuiltinFlatNormal) {
        return &flatNormal;
    }
    return nullptr;
}

} // namespace Brelk::Assets
