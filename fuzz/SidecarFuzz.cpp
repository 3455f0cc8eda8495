// The sidecar reader takes whatever lies beside an asset. Whatever it accepts must come
// back unchanged through the writer, and the writer's text must read back to the same value.
#include "engine/assets/AssetSidecar.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::string error;
    std::optional<Brelk::Assets::AssetSidecar> sidecar = Brelk::Assets::ParseSidecar(text, &error);
    if (!sidecar) {
        if (error.empty()) {
            std::abort();
        }
        return 0;
    }
    const std::string written = Brelk::Assets::SerializeSidecar(*sidecar);
    std::optional<Brelk::Assets::AssetSidecar> reread = Brelk::Assets::ParseSidecar(written, &error);
    if (!reread) {
        std::abort();
    }
    // An importer line without a word leaves the importer empty, which is written as "native".
    if (sidecar->importer.empty()) {
        sidecar->importer = "native";
    }
    if (!(*reread == *sidecar) || Brelk::Assets::SerializeSidecar(*reread) != written) {
        std::abort();
    }
    return 0;
}
