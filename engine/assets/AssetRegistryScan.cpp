#include "engine/assets/AssetRegistryState.h"

#include "engine/assets/AssetTypeWords.h"
#include "engine/core/Hash.h"
#include "engine/core/Logger.h"
#include "engine/platform/Files.h"
#include "engine/platform/Paths.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <unordered_map>
#include <unordered_set>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

using Core::Guid;
using Core::GuidHasher;

void LogInfo(std::string_view message) {
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Info, message);
}

bool PathExists(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

bool IsRegularFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

// The host's narrow code page is UTF-8 here, so references and legacy hashes written in
// it read the same as their UTF-8 forms; the fallbacks that exist for other code pages
// find nothing new on this host.
std::string NarrowSystemText(const fs::path& path) { return AssetPathKey(path); }

} // namespace

void AssetRegistry::State::LogWarning(std::string_view message) {
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Warning, message);
}

std::string AssetRegistry::State::FileNameUtf8(const fs::path& path) { return Platform::PathToUtf8(path.filename()); }

void AssetRegistry::State::Identify(DiscoveredEntry& entry, bool sidecarNoted, std::vector<Orphan>* orphans) {
    entry.sidecarPath = SidecarPath(entry.path);
    if (sidecarNoted || PathExists(entry.sidecarPath)) {
        std::string message;
        if (std::optional<AssetSidecar> sidecar = ReadSidecar(entry.sidecarPath, &message)) {
            entry.sidecar = std::move(*sidecar);
            entry.sidecarBacked = true;
            return;
        }
        std::string warning =
            "Ignoring unreadable asset sidecar " + Platform::PathToUtf8(entry.sidecarPath) + ": " + message;
        if (mode == AssetSourceMode::Authoring) {
            warning += " A new identity is assigned.";
        }
        LogWarning(warning);
    }

    const Guid derived = DerivedAssetGuid(contentRootKey, entry.key);
    if (mode == AssetSourceMode::ReadOnly || !IsKeyInsideRoot(contentRootKey, entry.key)) {
        entry.sidecar = MakeDefaultSidecar(entry.type, entry.path, derived);
        entry.sidecar.version = 0;
        entry.sidecarBacked = false;
        return;
    }

    if (orphans && !orphans->empty() && entry.stamp != 0 && AdoptRenamedSidecar(entry, *orphans)) {
        return;
    }

    entry.sidecar = MakeDefaultSidecar(entry.type, entry.path, derived);
    std::string message;
    entry.sidecarBacked = WriteSidecar(entry.sidecarPath, entry.sidecar, &message);
    if (!entry.sidecarBacked) {
        LogWarning("Failed to create asset sidecar " + Platform::PathToUtf8(entry.sidecarPath) + ": " + message);
    }
}

bool AssetRegistry::State::AdoptRenamedSidecar(DiscoveredEntry& entry, std::vector<Orphan>& orphans) {
    const std::string extension = LowerExtension(entry.path);
    Orphan* candidate = nullptr;
    std::size_t candidates = 0;
    for (Orphan& orphan : orphans) {
        if (LowerExtension(SourcePathOfSidecar(orphan.path)) != extension) {
            continue;
        }
        if (!orphan.read) {
            orphan.sidecar = ReadSidecar(orphan.path);
            orphan.read = true;
        }
        if (!orphan.sidecar) {
            continue;
        }
        const auto stamp = lastStamps.find(orphan.sidecar->guid);
        if (stamp == lastStamps.end() || stamp->second != entry.stamp) {
            continue;
        }
        if (++candidates == 1) {
            candidate = &orphan;
        }
    }
    if (candidates != 1) {
        return false;
    }
    std::error_code moveError;
    fs::rename(candidate->path, entry.sidecarPath, moveError);
    if (moveError) {
        return false;
    }
    LogInfo("Asset sidecar followed renamed file: " + Platform::PathToUtf8(entry.path));
    entry.sidecar = *candidate->sidecar;
    entry.sidecarBacked = true;
    return true;
}

void AssetRegistry::State::Reidentify(DiscoveredEntry& entry) {
    const Guid oldGuid = entry.sidecar.guid;
    LogWarning("Duplicate asset GUID " + oldGuid.ToString() + " in " + Platform::PathToUtf8(entry.path) +
               " (copied sidecar); assigning a new identity.");
    if (mode == AssetSourceMode::Authoring && entry.sidecarBacked) {
        entry.sidecar.guid = Guid::New();
        for (SidecarSubAsset& subAsset : entry.sidecar.subAssets) {
            subAsset.guid = Guid::New();
        }
        std::string message;
        if (!WriteSidecar(entry.sidecarPath, entry.sidecar, &message)) {
            LogWarning("Failed to rewrite duplicate asset sidecar " + Platform::PathToUtf8(entry.sidecarPath) + ": " +
                       message);
        }
        return;
    }
    // Nothing may be written here, so the new identity must come out the same on every
    // run.
    entry.sidecar.guid = DuplicateAssetGuid(oldGuid, entry.key);
    for (SidecarSubAsset& subAsset : entry.sidecar.subAssets) {
        subAsset.guid = DuplicateAssetGuid(subAsset.guid, entry.key);
    }
}

void AssetRegistry::State::ResolveDuplicates(std::vector<DiscoveredEntry>& entries) {
    std::unordered_map<Guid, std::size_t, GuidHasher> seen;
    seen.reserve(entries.size());
    for (std::size_t index = 0; index < entries.size(); ++index) {
        const Guid guid = entries[index].sidecar.guid;
        const auto [it, inserted] = seen.try_emplace(guid, index);
        if (inserted) {
            continue;
        }
        std::size_t loser = index;
        const auto prior = priorLocations.find(guid);
        if (prior != priorLocations.end() && prior->second == entries[index].key) {
            loser = it->second;
            it->second = index;
        }
        Reidentify(entries[loser]);
        seen.try_emplace(entries[loser].sidecar.guid, loser);
    }
}

void AssetRegistry::State::ReidentifyIfCopy(DiscoveredEntry& entry) {
    const auto known = byGuid.find(entry.sidecar.guid);
    if (known == byGuid.end()) {
        return;
    }
    const auto fileKey = fileKeys.find(known->second);
    if (fileKey == fileKeys.end() || fileKey->second == entry.key) {
        return;
    }
    const auto record = records.find(known->second);
    if (record != records.end() && !record->second.isBuiltin && PathExists(record->second.sourcePath)) {
        Reidentify(entry);
    }
}

void AssetRegistry::State::RemoveRecord(AssetHandle handle) {
    const auto record = records.find(handle);
    if (record == records.end()) {
        return;
    }
    const auto guid = byGuid.find(record->second.guid);
    if (guid != byGuid.end() && guid->second == handle) {
        byGuid.erase(guid);
    }
    if (const auto fileKey = fileKeys.find(handle); fileKey != fileKeys.end()) {
        const auto path = byPath.find(fileKey->second);
        if (path != byPath.end() && path->second == handle) {
            byPath.erase(path);
        }
        fileKeys.erase(fileKey);
    }
    if (record->second.isBuiltin) {
        const auto builtin = builtins.find(record->second.name);
        if (builtin != builtins.end() && builtin->second == handle) {
            builtins.erase(builtin);
        }
    }
    subAssetOwners.erase(handle);
    sources.erase(handle);
    records.erase(record);
}

std::size_t AssetRegistry::State::RemoveSubAssetsOfKey(const std::string& sourceKey) {
    std::vector<AssetHandle> owned;
    for (const auto& [handle, owner] : subAssetOwners) {
        if (owner == sourceKey) {
            owned.push_back(handle);
        }
    }
    for (const AssetHandle handle : owned) {
        RemoveRecord(handle);
    }
    return owned.size();
}

void AssetRegistry::State::RemoveAllButBuiltins() {
    std::erase_if(records, [](const auto& item) { return !item.second.isBuiltin; });
    std::erase_if(sources, [this](const auto& item) { return !records.contains(item.first); });
    std::erase_if(byGuid, [this](const auto& item) { return !records.contains(item.second); });
    byPath.clear();
    subAssetOwners.clear();
    fileKeys.clear();
    sidecars.clear();
    subAssetSources.clear();
}

AssetHandle AssetRegistry::State::RegisterEntry(DiscoveredEntry&& entry) {
    const Guid guid = entry.sidecar.guid;
    const AssetHandle handle = HandleForGuid(guid);

    // One record per Guid and one top-level record per path.
    if (const auto known = byGuid.find(guid); known != byGuid.end()) {
        const AssetHandle oldHandle = known->second;
        const auto oldKey = fileKeys.find(oldHandle);
        const auto oldRecord = records.find(oldHandle);
        const bool isBuiltin = oldRecord != records.end() && oldRecord->second.isBuiltin;
        if (!isBuiltin && (oldKey == fileKeys.end() || oldKey->second != entry.key)) {
            if (oldKey != fileKeys.end()) {
                const std::string key = oldKey->second;
                RemoveSubAssetsOfKey(key);
                sidecars.erase(key);
            }
            RemoveRecord(oldHandle);
        }
    }
    if (const auto atPath = byPath.find(entry.key); atPath != byPath.end() && atPath->second != handle) {
        const AssetHandle oldHandle = atPath->second;
        RemoveSubAssetsOfKey(entry.key);
        RemoveRecord(oldHandle);
    }

    AssetRecord record;
    record.handle = handle;
    record.type = entry.type;
    record.name = FileNameUtf8(entry.path);
    record.sourcePath = entry.path;
    record.path = entry.path;
    record.guid = guid;
    records.insert_or_assign(handle, std::move(record));

    AssetSourceInfo source;
    source.path = entry.path;
    source.type = entry.type;
    source.sidecarVersion = entry.sidecarBacked ? entry.sidecar.version : 0;
    source.stamp = entry.stamp;
    sources.insert_or_assign(handle, std::move(source));

    byGuid.insert_or_assign(guid, handle);
    byPath.insert_or_assign(entry.key, handle);
    fileKeys.insert_or_assign(handle, entry.key);
    priorLocations.insert_or_assign(guid, entry.key);
    if (entry.stamp != 0) {
        lastStamps.insert_or_assign(guid, entry.stamp);
    }

    for (const SidecarSubAsset& subAsset : entry.sidecar.subAssets) {
        subAssetSources.insert_or_assign(subAsset.guid, entry.path);
    }
    SidecarEntry sidecarEntry;
    sidecarEntry.sourcePath = entry.path;
    sidecarEntry.sidecarPath = std::move(entry.sidecarPath);
    sidecarEntry.sidecar = std::move(entry.sidecar);
    sidecarEntry.isSidecarBacked = entry.sidecarBacked;
    sidecars.insert_or_assign(std::move(entry.key), std::move(sidecarEntry));

    ++revision;
    return handle;
}

SidecarEntry* AssetRegistry::State::GetOrCreateSidecarEntry(const fs::path& sourcePath, const std::string& sourceKey) {
    if (const auto found = sidecars.find(sourceKey); found != sidecars.end()) {
        return &found->second;
    }
    if (!IsRegularFile(sourcePath)) {
        return nullptr;
    }
    DiscoveredEntry entry;
    entry.path = sourcePath;
    entry.key = sourceKey;
    entry.type = AssetTypeOfPath(sourcePath);
    if (entry.type == AssetType::Unknown) {
        entry.type = AssetType::Scene;
    }
    entry.stamp = ReadFileStamp(sourcePath);
    Identify(entry, false, nullptr);
    ReidentifyIfCopy(entry);
    RegisterEntry(std::move(entry));
    return &sidecars.at(sourceKey);
}

void AssetRegistry::State::Scan() {
    ++revision;
    RemoveAllButBuiltins();
    if (contentRoot.empty()) {
        return;
    }
    std::error_code rootError;
    if (!fs::is_directory(contentRoot, rootError)) {
        return;
    }

    std::vector<DiscoveredEntry> entries;
    std::map<std::string, fs::path> notedSidecars;
    Walk(entries, notedSidecars);

    // The file system's order must never reach an identity decision.
    std::sort(entries.begin(), entries.end(),
              [](const DiscoveredEntry& a, const DiscoveredEntry& b) { return a.key < b.key; });

    std::unordered_set<std::string_view> entryKeys;
    entryKeys.reserve(entries.size());
    for (const DiscoveredEntry& entry : entries) {
        entryKeys.insert(entry.key);
    }
    std::vector<Orphan> orphans;
    for (const auto& [key, path] : notedSidecars) {
        if (!entryKeys.contains(std::string_view(key).substr(0, key.size() - 6))) {
            orphans.push_back(Orphan{key, path, false, std::nullopt});
        }
    }

    for (DiscoveredEntry& entry : entries) {
        const std::string sidecarKey = entry.key + ".bmeta";
        const bool noted = notedSidecars.contains(sidecarKey);
        Identify(entry, noted, !noted && !orphans.empty() ? &orphans : nullptr);
        if (!noted && entry.sidecarBacked && !orphans.empty()) {
            std::erase_if(orphans,
                          [&](const Orphan& orphan) { return orphan.key == sidecarKey || !PathExists(orphan.path); });
        }
    }

    ResolveDuplicates(entries);

    for (DiscoveredEntry& entry : entries) {
        RegisterEntry(std::move(entry));
    }
}

void AssetRegistry::State::Walk(std::vector<DiscoveredEntry>& entries,
                                std::map<std::string, fs::path>& notedSidecars) const {
    std::error_code error;
    fs::recursive_directory_iterator it(contentRoot, fs::directory_options::none, error);
    for (; !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        const fs::directory_entry& item = *it;
        std::error_code itemError;
        if (!item.is_regular_file(itemError)) {
            continue;
        }
        const fs::path& path = item.path();
        if (IsSidecarPath(path)) {
            notedSidecars.emplace(AssetPathKey(path), path);
            continue;
        }
        const AssetType type = AssetTypeOfPath(path);
        if (type == AssetType::Unknown) {
            continue;
        }
        DiscoveredEntry entry;
        entry.path = path;
        entry.key = AssetPathKey(path);
        entry.type = type;
        const std::uintmax_t size = item.file_size(itemError);
        if (!itemError) {
            const fs::file_time_type time = item.last_write_time(itemError);
            if (!itemError) {
                entry.stamp = FileStamp(static_cast<std::uint64_t>(size),
                                        static_cast<std::int64_t>(time.time_since_epoch().count()));
            }
        }
        entries.push_back(std::move(entry));
    }
}

const AssetRecord* AssetRegistry::State::FindRecord(AssetHandle handle) const {
    const auto found = records.find(handle);
    return found == records.end() ? nullptr : &found->second;
}

void AssetRegistry::State::BuildLegacyMap(std::span<const fs::path> roots) const {
    legacyMap.clear();
    std::vector<const AssetRecord*> ordered;
    ordered.reserve(records.size());
    for (const auto& [handle, record] : records) {
        if (!record.isBuiltin && !record.sourcePath.empty()) {
            ordered.push_back(&record);
        }
    }
    std::sort(ordered.begin(), ordered.end(),
              [](const AssetRecord* a, const AssetRecord* b) { return a->handle < b->handle; });
    for (const AssetRecord* record : ordered) {
        const std::string suffix = record->isSubAsset ? "#" + record->subkey : std::string();
        const auto add = [&](const fs::path& path) {
            legacyMap.emplace(Core::Fnv1a64(AssetPathKey(path) + suffix), record->handle);
            legacyMap.emplace(Core::Fnv1a64(NarrowSystemText(path) + suffix), record->handle);
        };
        add(record->sourcePath);
        const std::string sourceKey = AssetPathKey(record->sourcePath);
        if (!IsKeyInsideRoot(contentRootKey, sourceKey)) {
            continue;
        }
        const fs::path relative = Platform::RelativeToFolder(contentRoot, record->sourcePath).value_or(fs::path());
        if (relative.empty() || relative == ".") {
            continue;
        }
        for (const fs::path& root : roots) {
            if (!root.empty()) {
                add((root / relative).lexically_normal());
            }
        }
    }
    legacyRoots.assign(roots.begin(), roots.end());
    legacyRevision = revision;
    legacyBuilt = true;
}

} // namespace Brelk::Assets
