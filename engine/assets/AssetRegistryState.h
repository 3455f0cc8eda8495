#pragma once

// The registry's tables and its scan, shared by the two files that make the registry:
// AssetRegistry.cpp (the public operations, under the lock) and AssetRegistryScan.cpp
// (the walk of the content folder and the identity of what it finds). Nothing else
// includes this.

#include "engine/assets/AssetIdentity.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/platform/Paths.h"

#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Brelk::Assets {

struct AssetRegistry::State {
    using Guid = Core::Guid;
    using GuidHasher = Core::GuidHasher;

    // A file the scan found. Every identity decision orders entries by `key` bytewise,
    // shorter first among equal prefixes: std::string's comparison is exactly that.
    struct DiscoveredEntry {
        std::filesystem::path path;
        std::string key;
        AssetType type = AssetType::Unknown;
        std::uint64_t stamp = 0;
        std::filesystem::path sidecarPath;
        AssetSidecar sidecar;
        bool sidecarBacked = false;
    };

    struct Orphan {
        std::string key;
        std::filesystem::path path;
        // Read at most once a scan, however many new files look at it.
        bool read = false;
        std::optional<AssetSidecar> sidecar;
    };

    // Assets-category log lines of the registry, and a file name as UTF-8.
    static void LogWarning(std::string_view message);
    static std::string FileNameUtf8(const std::filesystem::path& path);

    std::vector<std::uint32_t> toleratedMissingTypes;
    std::filesystem::path contentRoot;
    std::string contentRootKey;
    AssetSourceMode mode = AssetSourceMode::Authoring;
    std::uint64_t revision = 0;

    std::unordered_map<AssetHandle, AssetRecord> records;
    std::unordered_map<AssetHandle, AssetSourceInfo> sources;
    std::unordered_map<Guid, AssetHandle, GuidHasher> byGuid;
    std::unordered_map<std::string, AssetHandle> byPath;
    std::unordered_map<std::string, AssetHandle> builtins;
    // Ordered so that FindSubAsset's "first" is the same between two changes.
    std::map<AssetHandle, std::string> subAssetOwners;
    std::unordered_map<AssetHandle, std::string> fileKeys;
    std::unordered_map<std::string, SidecarEntry> sidecars;
    std::unordered_map<Guid, std::filesystem::path, GuidHasher> subAssetSources;
    // These two outlive scans: they let a later scan of this process tell a renamed file
    // from a new one and an original from its copy.
    std::unordered_map<Guid, std::string, GuidHasher> priorLocations;
    std::unordered_map<Guid, std::uint64_t, GuidHasher> lastStamps;

    // Built on demand by RemapLegacyHandle, under its own mutex inside the shared lock.
    mutable std::mutex legacyMutex;
    mutable std::unordered_map<std::uint64_t, AssetHandle> legacyMap;
    mutable std::vector<std::filesystem::path> legacyRoots;
    mutable std::uint64_t legacyRevision = 0;
    mutable bool legacyBuilt = false;

    // --- Identity (callers hold the exclusive lock) -------------------------------------

    void Identify(DiscoveredEntry& entry, bool sidecarNoted, std::vector<Orphan>* orphans);

    // A sidecar left behind by a rename in this process is recognised by its extension and
    // by the stamp its Guid had at its last registration; only an unambiguous match moves.
    bool AdoptRenamedSidecar(DiscoveredEntry& entry, std::vector<Orphan>& orphans);

    void Reidentify(DiscoveredEntry& entry);

    // Entries in key order. Where two carry one Guid the one that had it at its last
    // registration keeps it; in a fresh process the first in key order does.
    void ResolveDuplicates(std::vector<DiscoveredEntry>& entries);

    // RegisterFile and sub-asset sources: a Guid that a live file elsewhere still holds
    // makes this file a copy; if that file is gone, this one is it, moved.
    void ReidentifyIfCopy(DiscoveredEntry& entry);

    // --- Tables -----------------------------------------------------------------------

    void RemoveRecord(AssetHandle handle);

    std::size_t RemoveSubAssetsOfKey(const std::string& sourceKey);

    void RemoveAllButBuiltins();

    AssetHandle RegisterEntry(DiscoveredEntry&& entry);

    SidecarEntry* GetOrCreateSidecarEntry(const std::filesystem::path& sourcePath, const std::string& sourceKey);

    // --- Scan ---------------------------------------------------------------------------

    void Scan();

    // A folder that vanishes or cannot be read ends the walk where it is; what was found so
    // far is kept.
    void Walk(std::vector<DiscoveredEntry>& entries, std::map<std::string, std::filesystem::path>& notedSidecars) const;

    // --- Queries ------------------------------------------------------------------------

    std::string KeyOf(const std::filesystem::path& path) const { return AssetPathKey(Platform::CanonicalPath(path)); }

    const AssetRecord* FindRecord(AssetHandle handle) const;

    void BuildLegacyMap(std::span<const std::filesystem::path> roots) const;
};

} // namespace Brelk::Assets
