#include "engine/assets/cooked/CookedContainer.h"
#include "engine/scene/CookedScene.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

// The first byte picks the form: odd feeds the rest as a whole file, even as a payload whose
// container has been opened, so that mutations reach the records without first having to
// forge a checksum. Whatever decodes must encode to a file that decodes and encodes to the
// same bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Scene;
    if (size == 0) return 0;
    const std::span<const std::uint8_t> rest(data + 1, size - 1);
    SceneDocument document;
    std::string error;
    const bool decoded = (data[0] & 1) != 0 ? DecodeCookedScene(rest, document, "fuzz.bscene", &error)
                                            : DecodeCookedScenePayload(rest, document, "fuzz.bscene", &error);
    if (!decoded) {
        if (error.empty()) std::abort();
        return 0;
    }
    const std::vector<std::uint8_t> encoded = EncodeCookedScene(document);
    SceneDocument again;
    if (!DecodeCookedScene(encoded, again, "fuzz.bscene", &error)) std::abort();
    if (again.entities.size() != document.entities.size()) std::abort();
    if (EncodeCookedScene(again) != encoded) std::abort();
    return 0;
}
