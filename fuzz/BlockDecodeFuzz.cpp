// Decoding blocks of any content: the first byte picks BC7 or BC5 and the next two the size;
// the rest are the blocks. Every BC5 block and every mode-6 BC7 block decodes; any other BC7
// mode throws the decoder's message.
#include "engine/assets/textures/TextureCompression.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    if (size < 3) {
        return 0;
    }
    TextureAsset texture;
    texture.format = (data[0] & 1) != 0 ? 3 : 2;
    texture.width = data[1] % 64 + 1;
    texture.height = data[2] % 64 + 1;
    texture.mipCount = FullMipCount(texture.width, texture.height);
    texture.pixels.assign(data + 3, data + size);
    const std::size_t topBytes = std::size_t{BlocksAcross(texture.width)} * BlocksAcross(texture.height) * 16;
    try {
        const TextureAsset decoded = DecompressTexture(texture);
        if (texture.pixels.size() < topBytes || decoded.pixels.size() != std::size_t{texture.width} * texture.height * 4) {
            std::abort();
        }
    } catch (const std::invalid_argument&) {
        if (texture.pixels.size() >= topBytes) {
            std::abort();
        }
    } catch (const std::runtime_error&) {
        if (texture.format != 2) {
            std::abort();
        }
    }
    return 0;
}
