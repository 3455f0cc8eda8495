// Controllers are user-edited text of fourteen versions. Whatever the reader accepts, its
// version-14 text must read back to the same text.
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/animation/AnimatorControllerFile.h"
#include "engine/core/Logger.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    static const AssetRegistry registry;
    static const bool quiet = (Brelk::Core::Logger::Get().SetAllThresholds(Brelk::Core::LogLevel::Off), true);
    (void)quiet;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    AnimatorController controller;
    std::string error;
    if (!ParseAnimatorController(text, &controller, registry, &error)) {
        if (error.empty()) std::abort();
        return 0;
    }
    const std::string written = SerializeAnimatorController(controller, registry);
    AnimatorController reread;
    if (!ParseAnimatorController(written, &reread, registry, &error)) std::abort();
    if (SerializeAnimatorController(reread, registry) != written) std::abort();
    return 0;
}
