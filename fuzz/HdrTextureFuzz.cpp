// Radiance files are user content. The decoder throws one of its messages or gives one
// float level of the size its resolution line names.
#include "engine/assets/textures/HdrTextureImporter.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    try {
        const TextureAsset texture = HdrTextureImporter::DecodeTexture(std::span(data, size), "fuzz.hdr");
        if (!HasCompletePixels(texture) || texture.format != 1) {
            std::abort();
        }
    } catch (const std::runtime_error&) {
    }
    return 0;
}
