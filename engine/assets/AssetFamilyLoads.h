#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/assets/AssetRecord.h"
#include "engine/assets/animation/AnimationClip.h"
#include "engine/assets/ui/UiDocument.h"

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

class AssetRegistry;

// The records of `type` that a family load reads: no built-ins, no sub-assets, a source
// path with `extension` (compared in lower case).
[[nodiscard]] std::vector<AssetRecord> FamilySources(const AssetRegistry& registry, AssetType type,
                                                     std::string_view extension);

// One file each, logging a failure as "Failed to load animation clip asset '<path>':
// <reason>" or "Failed to load UI document asset '<path>': <reason>".
[[nodiscard]] std::optional<AnimationClip> LoadAnimationClipAsset(const std::filesystem::path& path,
                                                                  const AssetRegistry& registry);
[[nodiscard]] std::optional<UiDocumentAsset> LoadUiDocumentAsset(const std::filesystem::path& path,
                                                                 const AssetRegistry& registry);

} // namespace Brelk::Assets
