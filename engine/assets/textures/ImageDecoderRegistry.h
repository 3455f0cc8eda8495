#pragma once

#include "engine/assets/textures/TextureAsset.h"

#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Brelk::Assets {

// Source image decoders by lower-case extension (".tga"). A decoder throws with its own
// message on failure.
using ImageDecoder = std::function<TextureAsset(const std::filesystem::path&)>;

// The process-wide table of image decoders, holding the engine's own ".tga" and ".hdr"
// from the start; other formats come from importers that only authoring builds register.
class ImageDecoderRegistry {
public:
    static ImageDecoderRegistry& Instance();

    // Replaces any decoder of the extension, matched without case.
    void Register(std::string_view extension, ImageDecoder decoder);
    // The decoder of the extension, or an empty function.
    ImageDecoder Find(std::string_view extension) const;

private:
    ImageDecoderRegistry();

    mutable std::mutex mutex_;
    std::unordered_map<std::string, ImageDecoder> decoders_;
};

} // namespace Brelk::Assets
