#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/assets/AssetRecord.h"
#include "engine/assets/animation/AnimationClip.h"
#include "engine/assets/animation/AnimatorController.h"
#include "engine/assets/rig/RigDefinition.h"
#include "engine/assets/ui/UiDocument.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Brelk::Assets {

class AssetRegistry;

// The loaded clips, controllers, UI documents and rig definitions of a content folder, by
// handle: the tables that the asset manager keeps for these families.
struct AssetFamilyTables {
    std::unordered_map<AssetHandle, AnimationClip> clips;
    std::unordered_map<AssetHandle, AnimatorController> controllers;
    std::unordered_map<AssetHandle, UiDocumentAsset> uiDocuments;
    std::unordered_map<AssetHandle, RigDefinition> rigDefinitions;
};

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

// Decides whether a record is read again; the manager passes its ShouldLoadFromDisk. Without
// one, everything is read.
using ShouldLoadAsset = std::function<bool(const AssetRecord& record, bool alreadyLoaded)>;

// The family loads of Initialize and Refresh after the materials, in their order: clips
// (a file without the clip head is passed over silently), controllers (a repaired one is
// rewritten), UI documents, rig definitions. A failure is logged and keeps the old entry.
void LoadAssetFamilies(const AssetRegistry& registry, AssetFamilyTables& tables,
                       const ShouldLoadAsset& shouldLoad = {});

} // namespace Brelk::Assets
