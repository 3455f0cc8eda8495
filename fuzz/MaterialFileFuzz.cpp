// The material reader takes whatever lies in a content folder, as text or as a cooked BMAT
// container. Whatever it makes of the bytes must write, and the written text must read back
// to a material that writes the same text again.
#include "engine/assets/materials/MaterialFile.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    MaterialAsset material;
    std::string error;
    if (!ReadMaterialAssetBytes(std::span<const std::uint8_t>(data, size), "Fuzz.bmat", material, nullptr, &error)) {
        if (error.empty()) std::abort();
        return 0;
    }
    const std::string written = SerializeMaterialAsset(material, nullptr);
    MaterialAsset reread;
    ParseMaterialText(written, "Fuzz.bmat", reread, nullptr);
    const std::string again = SerializeMaterialAsset(reread, nullptr);
    MaterialAsset third;
    ParseMaterialText(again, "Fuzz.bmat", third, nullptr);
    // Duplicate node ids may move pins between nodes once; after that the text is stable.
    if (SerializeMaterialAsset(third, nullptr) != again) std::abort();
    return 0;
}
