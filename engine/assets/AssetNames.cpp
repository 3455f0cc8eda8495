#include "engine/assets/AssetNames.h"

#include <system_error>

namespace Brelk::Assets {

std::string CleanAssetName(std::string_view name) {
    std::string cleaned;
    cleaned.reserve(name.size());
    for (const char c : name) {
        const bool kept = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                          c == '-';
        cleaned.push_back(kept ? c : '_');
    }
    const std::size_t first = cleaned.find_first_not_of('_');
    return first == std::string::npos ? std::string() : cleaned.substr(first);
}

std::filesystem::path FirstFreeAssetPath(const std::filesystem::path& folder, std::string_view stem,
                                         std::string_view extension) {
    const std::string base(stem);
    std::filesystem::path path = folder / (base + std::string(extension));
    std::error_code ignored;
    for (std::uint64_t counter = 1; std::filesystem::exists(path, ignored); ++counter) {
        path = folder / (base + "_" + std::to_string(counter) + std::string(extension));
    }
    return path;
}

} // namespace Brelk::Assets
