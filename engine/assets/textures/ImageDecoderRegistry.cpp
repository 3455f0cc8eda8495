#include "engine/assets/textures/ImageDecoderRegistry.h"

#include "engine/assets/textures/HdrTextureImporter.h"
#include "engine/assets/textures/TgaTextureImporter.h"

namespace Brelk::Assets {
namespace {

std::string LowerExtension(std::string_view extension) {
    std::string lower(extension);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return lower;
}

} // namespace

ImageDecoderRegistry& ImageDecoderRegistry::Instance() {
    static ImageDecoderRegistry registry;
    return registry;
}

ImageDecoderRegistry::ImageDecoderRegistry() {
    decoders_.emplace(".tga", &TgaTextureImporter::ImportTexture);
    decoders_.emplace(".hdr", &HdrTextureImporter::ImportTexture);
}

void ImageDecoderRegistry::Register(std::string_view extension, ImageDecoder decoder) {
    const std::lock_guard lock(mutex_);
    decoders_[LowerExtension(extension)] = std::move(decoder);
}

ImageDecoder ImageDecoderRegistry::Find(std::string_view extension) const {
    const std::lock_guard lock(mutex_);
    const auto found = decoders_.find(LowerExtension(extension));
    return found == decoders_.end() ? ImageDecoder{} : found->second;
}

} // namespace Brelk::Assets
