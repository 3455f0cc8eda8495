#pragma once

#include "engine/core/Guid.h"
#include "engine/reflection/AssetType.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

inline constexpr std::string_view kCookedManifestFileName = "CookedAssetManifest.bmanifest";
inline constexpr std::uint32_t kCookedManifestVersion = 3;

struct CookedAssetDependency {
    std::filesystem::path path;
    std::uint64_t hash = 0;
};

// One "asset" line. Only the cook tool gives meaning to the fields after `label`; the
// reader and writer carry them as they stand.
struct CookedAssetEntry {
    Core::Guid guid;
    AssetType type = AssetType::Unknown;
    std::string name;
    std::filesystem::path sourcePath;
    std::filesystem::path cookedPath;
    std::filesystem::path thirdPath;
    std::string label;
    std::uint64_t valueA = 0;
    std::uint64_t valueB = 0;
    bool flag = false;
    std::uint64_t hashA = 0;
    std::uint64_t hashB = 0;
    std::string textC;
    std::uint64_t hashC = 0;
    std::string textD;
    std::uint32_t valueC = 0;
    std::vector<CookedAssetDependency> dependencies;
};

struct CookedAssetManifest {
    std::uint32_t version = kCookedManifestVersion;
    std::string platform = "windows";
    std::uint32_t cookerVersion = 0;
    std::filesystem::path contentRoot;
    std::filesystem::path outputRoot;
    bool requireCookedScenes = false;
    std::vector<CookedAssetEntry> assets;
};

// Always writes the current version, atomically.
[[nodiscard]] bool WriteCookedManifest(const CookedAssetManifest& manifest, const std::filesystem::path& path,
                                       std::string* error);

// Reads versions 1 to 3. An entry's dependencies are its "dependency" lines; the count on
// the asset line only bounds what is reserved for them.
[[nodiscard]] bool ReadCookedManifest(const std::filesystem::path& path, CookedAssetManifest& manifest,
                                      std::string* error);

// Whether the project at `contentRoot` ships only cooked scenes. Asked for every text scene
// a read-only project loads, so the answer is kept per manifest path and write time, and
// the file is read only up to its first "asset" line.
[[nodiscard]] bool RequiresCookedScenes(const std::filesystem::path& contentRoot);

} // namespace Brelk::Assets
