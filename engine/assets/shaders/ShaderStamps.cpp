#include "engine/assets/shaders/ShaderStamps.h"

#include "engine/assets/shaders/MaterialTemplates.h"
#include "engine/core/Hash.h"
#include "engine/platform/Files.h"
#include "engine/platform/Folders.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>

namespace Brelk::Assets {

namespace {

namespace fs = std::filesystem;

bool HoldsTemplates(const fs::path& folder) {
    std::error_code ignored;
    return fs::is_regular_file(folder / "brelk_surface.glsl", ignored);
}

// A place that cannot be looked at (no program path, an unreadable folder) is passed over.
std::optional<fs::path> TryPlace(const std::function<fs::path()>& place) {
    try {
        fs::path folder = place();
        if (HoldsTemplates(folder)) return folder;
    } catch (const std::exception&) {
    }
    return std::nullopt;
}

} // namespace

fs::path LocateShaderFolder() {
    const std::function<fs::path()> places[] = {
        [] { return Platform::ResolveInstalledAsset("Shaders"); },
        [] { return Platform::GetExecutableFolder() / "Assets" / "Shaders"; },
        [] { return Platform::GetEngineRoot() / "Assets" / "Shaders"; },
    };
    for (const auto& place : places) {
        if (std::optional<fs::path> folder = TryPlace(place)) return *folder;
    }
    return {};
}

std::uint64_t ComputeTemplateStamp(const fs::path& folder) {
    std::uint64_t hash = Core::Fnv1a64("brelk_material_templates_v1");
    for (const std::string_view name : MaterialTemplateFiles()) {
        hash = Core::Fnv1a64(name, hash);
        std::optional<std::vector<std::uint8_t>> bytes;
        if (!folder.empty()) bytes = Platform::ReadFileBytes(folder / name);
        if (!bytes) {
            hash = Core::Fnv1a64("<missing>", hash);
            continue;
        }
        // Line ends differ between checkouts of the same files; they must not change a name.
        bytes->erase(std::remove(bytes->begin(), bytes->end(), std::uint8_t('\r')), bytes->end());
        hash = Core::Fnv1a64(std::span<const std::uint8_t>(*bytes), hash);
    }
    return hash;
}

std::uint64_t TemplateStamp() {
    static std::mutex mutex;
    static std::optional<std::uint64_t> stamp;
    const std::lock_guard lock(mutex);
    if (!stamp) stamp = ComputeTemplateStamp(LocateShaderFolder());
    return *stamp;
}

std::uint64_t PermutationStamp(std::uint64_t templateStamp, std::uint32_t templateId, std::uint32_t variant) {
    std::string key = "brelk_material_permutation|";
    key += std::to_string(templateStamp);
    key += '|';
    key += FindMaterialTemplate(templateId).name;
    key += '|';
    key += std::to_string(NormalizeVariant(templateId, variant));
    return Core::Fnv1a64(key);
}

} // namespace Brelk::Assets
