#include "engine/assets/AssetFamilyLoads.h"

#include "engine/assets/AssetRegistry.h"
#include "engine/assets/animation/AnimationClipFile.h"
#include "engine/assets/ui/UiDocumentFile.h"
#include "engine/core/Logger.h"
#include "engine/platform/Files.h"

#include <algorithm>

namespace Brelk::Assets {
namespace {

std::string LowerExtension(const std::filesystem::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); });
    return extension;
}

void LogLoadFailure(std::string_view family, const std::filesystem::path& path, const std::string& reason) {
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Warning,
                            "Failed to load " + std::string(family) + " asset '" + Platform::PathToUtf8(path) +
                                "': " + reason);
}

} // namespace

std::vector<AssetRecord> FamilySources(const AssetRegistry& registry, AssetType type, std::string_view extension) {
    std::vector<AssetRecord> records = registry.RecordsOfType(type);
    std::erase_if(records, [&](const AssetRecord& record) {
        return record.isBuiltin || record.isSubAsset || record.sourcePath.empty() ||
               LowerExtension(record.sourcePath) != extension;
    });
    return records;
}

std::optional<AnimationClip> LoadAnimationClipAsset(const std::filesystem::path& path, const AssetRegistry& registry) {
    AnimationClip clip;
    std::string error;
    if (LoadAnimationClip(path, registry, &clip, &error)) return clip;
    LogLoadFailure("animation clip", path, error);
    return std::nullopt;
}

std::optional<UiDocumentAsset> LoadUiDocumentAsset(const std::filesystem::path& path, const AssetRegistry& registry) {
    UiDocumentAsset document;
    std::string error;
    if (LoadUiDocument(path, &document, registry, &error)) return document;
    LogLoadFailure("UI document", path, error);
    return std::nullopt;
}

} // namespace Brelk::Assets
