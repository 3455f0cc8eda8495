// Clips arrive raw or inside a CLIP container. Whatever the reader accepts, the writer's
// bytes for it must read back to the same bytes.
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/animation/AnimationClipFile.h"
#include "engine/assets/cooked/CookedContainer.h"
#include "engine/core/Logger.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    static const AssetRegistry registry;
    static const bool quiet = (Brelk::Core::Logger::Get().SetAllThresholds(Brelk::Core::LogLevel::Off), true);
    (void)quiet;
    if (size == 0) return 0;
    // The first byte chooses the form, so that one corpus reaches both.
    const std::span<const std::uint8_t> body(data + 1, size - 1);
    std::vector<std::uint8_t> file(body.begin(), body.end());
    if (data[0] & 1) file = WriteCookedContainer(kCookedKindClip, kCookedClipFormatVersion, body);
    std::string error;
    const auto payload = OpenCookedOrRaw(file, kCookedKindClip, kCookedClipFormatVersion, "fuzz", &error);
    if (!payload) return 0;
    AnimationClip clip;
    if (!ParseAnimationClip(*payload, registry, "fuzz", &clip, &error)) {
        if (error.empty()) std::abort();
        return 0;
    }
    const std::vector<std::uint8_t> written = SerializeAnimationClip(clip, registry);
    AnimationClip reread;
    if (!ParseAnimationClip(written, registry, "fuzz", &reread, &error)) std::abort();
    if (SerializeAnimationClip(reread, registry) != written) std::abort();
    return 0;
}
