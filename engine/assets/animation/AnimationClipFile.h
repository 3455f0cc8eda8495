#pragma once

#include "engine/assets/animation/AnimationClip.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

class AssetRegistry;

// "PLCB" on disk.
inline constexpr std::uint32_t kAnimationClipMagic = 0x42434C50;
inline constexpr std::uint32_t kAnimationClipVersion = 4;
// The format version of a cooked CLIP container; its payload is the file from the magic on.
inline constexpr std::uint32_t kCookedClipFormatVersion = 1;

// The file's bytes from the magic on, version 4. The skeleton is written as reference
// text; an event's audio handle is written as 0.
[[nodiscard]] std::vector<std::uint8_t> SerializeAnimationClip(const AnimationClip& clip,
                                                               const AssetRegistry& registry);
// The same bytes inside a cooked container of kind CLIP.
[[nodiscard]] std::vector<std::uint8_t> CookAnimationClip(const AnimationClip& clip, const AssetRegistry& registry);

// Replaces the file atomically, creating its folders. "Failed to open animation clip asset
// for writing." or "Failed while writing animation clip asset data." on failure.
[[nodiscard]] bool SaveAnimationClip(const std::filesystem::path& path, const AnimationClip& clip,
                                     const AssetRegistry& registry, std::string* error = nullptr);

// Reads a raw or cooked clip of versions 1 to 4. Modes are clamped to 0..2 and valueA to at
// least 0. An unresolved skeleton is logged and left as 0. Messages: "Failed to open
// animation clip asset. " and the reason, "Invalid animation clip asset header.", "Invalid
// animation clip payload." (also for bytes behind the last track).
[[nodiscard]] bool LoadAnimationClip(const std::filesystem::path& path, const AssetRegistry& registry,
                                     AnimationClip* clip, std::string* error = nullptr);
// The same over bytes in memory; `label` names the clip in the skeleton warning.
[[nodiscard]] bool ParseAnimationClip(std::span<const std::uint8_t> bytes, const AssetRegistry& registry,
                                      std::string_view label, AnimationClip* clip, std::string* error = nullptr);

// The family check of a content scan: a raw file that begins with the magic and a version
// of 1 to 4, or a cooked container of kind CLIP. Reads at most 40 bytes.
[[nodiscard]] bool HasAnimationClipHead(const std::filesystem::path& path);

} // namespace Brelk::Assets
