#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/assets/AssetSidecar.h"
#include "engine/core/Guid.h"
#include "engine/reflection/AssetType.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Brelk::Assets {

// One known asset, as the registry hands it out.
struct AssetRecord {
    AssetHandle handle = kNullAssetHandle;
    AssetType type = AssetType::Unknown;
    // The file name for a file asset, the full name for a built-in ("Builtin/Cube"), the
    // display name for a sub-asset.
    std::string name;
    // The file that holds the data; empty for a built-in.
    std::filesystem::path sourcePath;
    // The asset's own path: the source path for a file asset, its derived path for a
    // sub-asset.
    std::filesystem::path path;
    std::string subkey;
    bool isBuiltin = false;
    bool isSubAsset = false;
    Core::Guid guid;
};

// Where a record's data comes from.
struct AssetSourceInfo {
    std::filesystem::path path;
    AssetType type = AssetType::Unknown;
    std::uint32_t sidecarVersion = 0;  // 0 unless the identity comes from a sidecar on disk
    std::uint64_t stamp = 0;           // FileStamp; 0 if unknown
    std::vector<Core::Guid> dependencies;  // a sub-asset lists its source
};

// The sidecar of one file with identity, and whether it stands on disk.
struct SidecarEntry {
    std::filesystem::path sourcePath;
    std::filesystem::path sidecarPath;
    AssetSidecar sidecar;
    bool isSidecarBacked = false;
};

} // namespace Brelk::Assets
