// A .btex comes from disk or a cooked package. The decoder must either throw one of its
// messages or give pixels of exactly the size its header promises, and a decoded texture
// must encode and decode to the same pixels.
#include "engine/assets/textures/CookedTexture.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    TextureAsset texture;
    try {
        texture = DecodeCookedTexture(std::span(data, size), "fuzz.btex");
    } catch (const std::runtime_error&) {
        return 0;
    }
    if (!HasCompletePixels(texture)) {
        std::abort();
    }
    // Only complete chains and single levels are written back.
    if (texture.mipCount == (IsBlockCompressed(texture.format) ? FullMipCount(texture.width, texture.height) : 1u)) {
        const TextureAsset again = DecodeCookedTexture(EncodeCookedTexture(texture), "again.btex");
        if (again.pixels != texture.pixels || again.width != texture.width || again.format != texture.format) {
            std::abort();
        }
    }
    return 0;
}
