// TGA files are user content. The decoder throws one of its messages or gives one RGBA8
// level of the size its header names.
#include "engine/assets/textures/TgaTextureImporter.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    try {
        const TextureAsset texture = TgaTextureImporter::DecodeTexture(std::span(data, size), "fuzz.tga");
        if (!HasCompletePixels(texture) || texture.format != 0) {
            std::abort();
        }
    } catch (const std::runtime_error&) {
    }
    return 0;
}
