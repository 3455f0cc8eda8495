#include "engine/assets/cooked/CookedManifest.h"
#include "engine/core/Guid.h"
#include "engine/platform/Files.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <string>

// Any manifest either reads or fails with a message, and the scene flag's cheap scan never
// crashes on it; a manifest that reads writes a file that reads and writes the same again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk;
    static const std::filesystem::path folder = [] {
        auto path = std::filesystem::temp_directory_path() / ("brelk-manifest-fuzz-" + Core::Guid::New().ToString());
        std::filesystem::create_directories(path);
        return path;
    }();
    const std::filesystem::path file = folder / Assets::kCookedManifestFileName;
    if (!Platform::WriteFileAtomic(file, std::span<const std::uint8_t>(data, size))) std::abort();
    (void)Assets::RequiresCookedScenes(folder);

    Assets::CookedAssetManifest manifest;
    std::string error;
    if (!Assets::ReadCookedManifest(file, manifest, &error)) {
        if (error.empty()) std::abort();
        return 0;
    }
    const std::filesystem::path first = folder / "first.bmanifest";
    const std::filesystem::path second = folder / "second.bmanifest";
    if (!Assets::WriteCookedManifest(manifest, first, &error)) return 0; // e.g. a path past what text can hold
    Assets::CookedAssetManifest again;
    if (!Assets::ReadCookedManifest(first, again, &error)) std::abort();
    if (!Assets::WriteCookedManifest(again, second, &error)) std::abort();
    if (Platform::ReadFileBytes(first) != Platform::ReadFileBytes(second)) std::abort();
    return 0;
}
