#include "engine/assets/cooked/CookedContainer.h"
#include "engine/scene/CookedScene.h"
#include "tools/worldgen/CellPayload.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

// The first byte picks the form: odd wraps the rest in a scene container with a true
// checksum, even passes it as it stands (text, or a cooked file as found). A cell that
// parses has at least its bytes and a fixed cost per entity in its estimate.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk;
    if (size == 0) return 0;
    const std::span<const std::uint8_t> rest(data + 1, size - 1);
    WorldGen::CellPayload payload;
    if ((data[0] & 1) != 0) {
        payload.bytes = Assets::WriteCookedContainer(Assets::kCookedKindScene, Scene::kCookedSceneFormatVersion, rest);
    } else {
        payload.bytes.assign(rest.begin(), rest.end());
    }
    std::string error;
    if (!WorldGen::ParseCellPayload(payload.bytes, payload, "fuzz.bcell", &error)) {
        if (error.empty()) std::abort();
        return 0;
    }
    if (payload.document.version != Scene::SceneFormatVersion) std::abort();
    if (payload.estimatedBytes < payload.bytes.size() + 1024 * payload.document.entities.size()) std::abort();
    return 0;
}
