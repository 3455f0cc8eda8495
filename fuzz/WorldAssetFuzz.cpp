#include "tools/worldgen/WorldAsset.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

// Any bytes must give either a world or a message, never a crash; a world that reads must
// write and read back to itself, and a failure must leave the defaults behind.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::WorldGen;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    WorldAsset world;
    std::string error;
    if (!ParseWorldAssetText(text, "fuzz.bworld", world, &error)) {
        if (error.empty() || !(world == WorldAsset{})) std::abort();
        return 0;
    }
    const std::string written = FormatWorldAssetText(world);
    WorldAsset again;
    if (!ParseWorldAssetText(written, "fuzz.bworld", again, &error)) std::abort();
    // Float fields compare bit for bit through nine digits; NaN cannot be read, so == holds.
    if (!(again == world)) std::abort();
    if (FormatWorldAssetText(again) != written) std::abort();
    return 0;
}
