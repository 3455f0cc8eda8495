#pragma once

#include "engine/core/Guid.h"
#include "engine/reflection/AssetType.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Brelk::Assets {

// Identity of something derived from a source (a mesh or clip of an imported model), named
// by its subkey inside that source.
struct SidecarSubAsset {
    std::string subkey;
    AssetType type = AssetType::Unknown;
    Core::Guid guid;

    friend bool operator==(const SidecarSubAsset&, const SidecarSubAsset&) = default;
};

// The parsed ".bmeta" file beside an asset source. A version of 0 marks a sidecar that
// exists in memory only (read-only sources, sources outside the content folder).
struct AssetSidecar {
    std::uint32_t version = 1;
    Core::Guid guid;
    std::string importer;  // written as "native" when empty
    std::uint32_t importerVersion = 1;
    std::vector<std::pair<std::string, std::string>> settings;  // file order kept
    std::vector<SidecarSubAsset> subAssets;

    friend bool operator==(const AssetSidecar&, const AssetSidecar&) = default;
};

inline constexpr std::uint32_t kSidecarVersion = 1;

// "Rock.png" -> "Rock.png.bmeta": the source's own extension stays.
std::filesystem::path SidecarPath(const std::filesystem::path& sourcePath);

// True for "<name>.<ext>.bmeta" (".bmeta" in any case); "Notes.bmeta" is no sidecar.
bool IsSidecarPath(const std::filesystem::path& path);

// The path less its ".bmeta"; empty when the path is no sidecar.
std::filesystem::path SourcePathOfSidecar(const std::filesystem::path& sidecarPath);

// The sidecar text. Blank lines, "#" comments and unknown top-level keys are skipped so
// that later versions may add keys. On failure returns none and a message such as
// "Invalid bmeta guid." or "Malformed sub-asset at line 7."; nothing is partly returned.
std::optional<AssetSidecar> ParseSidecar(std::string_view text, std::string* error = nullptr);

// ParseSidecar of the whole file; "Cannot open sidecar." when it cannot be read.
std::optional<AssetSidecar> ReadSidecar(const std::filesystem::path& path, std::string* error = nullptr);

// The exact text of a sidecar. Setting keys must not contain white space.
std::string SerializeSidecar(const AssetSidecar& sidecar);

// Writes the sidecar unless the file already holds exactly its text, so that an unchanged
// project is never written. The text goes to "<path>.<random Guid>.tmp" first and is then
// renamed over `path`; after false the old file is whole and no temporary file is left.
[[nodiscard]] bool WriteSidecar(const std::filesystem::path& path, const AssetSidecar& sidecar,
                                std::string* error = nullptr);

// The sidecar that a source without one gets: texture settings for textures, importer
// "model" for model files, "audio" for sounds, "native" for the rest.
AssetSidecar MakeDefaultSidecar(AssetType type, const std::filesystem::path& sourcePath, const Core::Guid& guid);

// Replaces the value of the first setting with that key, else appends one; true if the
// sidecar changed.
bool SetSidecarSetting(AssetSidecar& sidecar, std::string_view key, std::string_view value);

const std::string* FindSidecarSetting(const AssetSidecar& sidecar, std::string_view key) noexcept;

// The sub-asset of that type and subkey; both must match.
const SidecarSubAsset* FindSidecarSubAsset(const AssetSidecar& sidecar, AssetType type,
                                           std::string_view subkey) noexcept;
SidecarSubAsset* FindSidecarSubAsset(AssetSidecar& sidecar, AssetType type, std::string_view subkey) noexcept;

} // namespace Brelk::Assets
