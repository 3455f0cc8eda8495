#pragma once

#include "engine/assets/animation/AnimatorController.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Brelk::Assets {

class AssetRegistry;

inline constexpr std::uint32_t kAnimatorControllerVersion = 14;

// What a load found that a rewrite could put right, and what it couldn't.
struct AnimatorControllerLoadReport {
    std::uint32_t version = 0;
    // References that resolved, but through text other than the asset's present reference
    // (a path where a Guid now stands, a derived form).
    std::uint32_t staleReferences = 0;
    // State and motion ids that name nothing; the load dropped them.
    std::uint32_t missingIds = 0;
    // References that resolve to nothing. A rewrite would lose their text.
    std::uint32_t unresolvedReferences = 0;

    [[nodiscard]] bool Repaired() const noexcept { return staleReferences != 0 || missingIds != 0; }
};

// The text of version 14. An asset handle that has no reference text logs "Unresolved live
// animator controller asset handle while saving <place>" and is written empty.
[[nodiscard]] std::string SerializeAnimatorController(const AnimatorController& controller,
                                                      const AssetRegistry& registry);

// Replaces the file atomically. Refused under a read-only registry with
// "SaveAnimatorControllerAsset is unavailable with read-only asset sources."; a failed write
// gives "Failed to open controller asset for writing." or "Failed while writing controller
// asset data.".
[[nodiscard]] bool SaveAnimatorController(const std::filesystem::path& path, const AnimatorController& controller,
                                          const AssetRegistry& registry, std::string* error = nullptr);

// Reads versions 1 to 14 and resolves references, logging each that doesn't resolve and
// each state id that names no state. A failed load leaves `controller` partly filled.
[[nodiscard]] bool LoadAnimatorController(const std::filesystem::path& path, AnimatorController* controller,
                                          const AssetRegistry& registry, std::string* error = nullptr,
                                          AnimatorControllerLoadReport* report = nullptr);
[[nodiscard]] bool ParseAnimatorController(std::string_view text, AnimatorController* controller,
                                           const AssetRegistry& registry, std::string* error = nullptr,
                                           AnimatorControllerLoadReport* report = nullptr);

// The asset manager's load of one controller file, for GetAnimatorController and the family
// load: loads it, logging "Failed to load animator controller asset '<path>': <reason>" on
// failure. When the load repaired stale references or missing ids, and every reference
// resolved (so that nothing the file holds is lost), the file is rewritten under an
// Authoring registry; a failed rewrite logs "Failed to rewrite repaired animator controller
// asset '<path>': <reason>" and the controller is still returned. An unchanged file is never
// rewritten, whatever its version.
[[nodiscard]] std::optional<AnimatorController> LoadAnimatorControllerAsset(const std::filesystem::path& path,
                                                                            const AssetRegistry& registry);

} // namespace Brelk::Assets
