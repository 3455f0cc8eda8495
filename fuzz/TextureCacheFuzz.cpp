// The decoded-texture cache is read without a message: any input is a hit or a miss, and a
// hit holds exactly the pixels its size demands. The first 16 bytes pick the stamp that
// the entry is checked against, so that both outcomes are reachable.
#include "engine/assets/textures/TextureCache.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    if (size < 16) {
        return 0;
    }
    TextureSourceStamp stamp;
    std::memcpy(&stamp.writeTime, data, 8);
    std::memcpy(&stamp.size, data + 8, 8);
    const std::optional<TextureAsset> texture = DecodeDecodedTextureCache(std::span(data + 16, size - 16), stamp);
    if (texture && !HasCompletePixels(*texture)) {
        std::abort();
    }
    if (texture && DecodeDecodedTextureCache(EncodeDecodedTextureCache(*texture, stamp), stamp)->pixels !=
                       texture->pixels) {
        std::abort();
    }
    return 0;
}
