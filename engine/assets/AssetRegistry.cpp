#include "engine/assets/AssetRegistry.h"

#include "engine/assets/AssetIdentity.h"
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

void LogWarning(std::string_view message) {
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Warning, message);
}

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

std::string FileNameUtf8(const fs::path& path) { return Platform::PathToUtf8(path.filename()); }

// The derived path of a sub-asset: its folder in canonical form, its file name as given.
fs::path NormalizeDerivedPath(const fs::path& derivedPath) {
    const fs::path parent = derivedPath.parent_path();
    if (parent.empty()) {
        return derivedPath.filename();
    }
    return Platform::CanonicalPath(parent) / derivedPath.filename();
}

std::string_view StripNumberPrefix(std::string_view name) noexcept {
    std::size_t digits = 0;
    while (digits < name.size() && name[digits] >= '0' && name[digits] <= '9') {
        ++digits;
    }
    if (digits > 0 && digits < name.size() && name[digits] == '_') {
        return name.substr(digits + 1);
    }
    return name;
}

// The byte order that every identity decision uses: bytewise, shorter first among equal
// prefixes. std::string's comparison is exactly that.
struct DiscoveredEntry {
    fs::path path;
    std::string key;
    AssetType type = AssetType::Unknown;
    std::uint64_t stamp = 0;
    fs::path sidecarPath;
    AssetSidecar sidecar;
    bool sidecarBacked = false;
};

struct Orphan {
    std::string key;
    fs::path path;
    // Read at most once a scan, however many new files look at it.
    bool read = false;
    std::optional<AssetSidecar> sidecar;
};

// The host's narrow code page is UTF-8 here, so references and legacy hashes written in
// it read the same as their UTF-8 forms; the fallbacks that exist for other code pages
// find nothing new on this host.
std::string NarrowSystemText(const fs::path& path) { return AssetPathKey(path); }

} // namespace

struct AssetRegistry::State {
    std::vector<std::uint32_t> toleratedMissingTypes;
    fs::path contentRoot;
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
    std::unordered_map<Guid, fs::path, GuidHasher> subAssetSources;
    // These two outlive scans: they let a later scan of this process tell a renamed file
    // from a new one and an original from its copy.
    std::unordered_map<Guid, std::string, GuidHasher> priorLocations;
    std::unordered_map<Guid, std::uint64_t, GuidHasher> lastStamps;

    // Built on demand by RemapLegacyHandle, under its own mutex inside the shared lock.
    mutable std::mutex legacyMutex;
    mutable std::unordered_map<std::uint64_t, AssetHandle> legacyMap;
    mutable std::vector<fs::path> legacyRoots;
    mutable std::uint64_t legacyRevision = 0;
    mutable bool legacyBuilt = false;

    // --- Identity (callers hold the exclusive lock) -------------------------------------

    void Identify(DiscoveredEntry& entry, bool sidecarNoted, std::vector<Orphan>* orphans) {
        entry.sidecarPath = SidecarPath(entry.path);
        if (sidecarNoted || PathExists(entry.sidecarPath)) {
            std::string message;
            if (std::optional<AssetSidecar> sidecar = ReadSidecar(entry.sidecarPath, &message)) {
                entry.sidecar = std::move(*sidecar);
                entry.sidecarBacked = true;
                return;
            }
            std::string warning = "Ignoring unreadable asset sidecar " + Platform::PathToUtf8(entry.sidecarPath) +
                                  ": " + message;
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

    // A sidecar left behind by a rename in this process is recognised by its extension and
    // by the stamp its Guid had at its last registration; only an unambiguous match moves.
    bool AdoptRenamedSidecar(DiscoveredEntry& entry, std::vector<Orphan>& orphans) {
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

    void Reidentify(DiscoveredEntry& entry) {
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
                LogWarning("Failed to rewrite duplicate asset sidecar " + Platform::PathToUtf8(entry.sidecarPath) +
                           ": " + message);
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

    // Entries in key order. Where two carry one Guid the one that had it at its last
    // registration keeps it; in a fresh process the first in key order does.
    void ResolveDuplicates(std::vector<DiscoveredEntry>& entries) {
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

    // RegisterFile and sub-asset sources: a Guid that a live file elsewhere still holds
    // makes this file a copy; if that file is gone, this one is it, moved.
    void ReidentifyIfCopy(DiscoveredEntry& entry) {
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

    // --- Tables -----------------------------------------------------------------------

    void RemoveRecord(AssetHandle handle) {
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

    std::size_t RemoveSubAssetsOfKey(const std::string& sourceKey) {
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

    void RemoveAllButBuiltins() {
        std::erase_if(records, [](const auto& item) { return !item.second.isBuiltin; });
        std::erase_if(sources, [this](const auto& item) { return !records.contains(item.first); });
        std::erase_if(byGuid, [this](const auto& item) { return !records.contains(item.second); });
        byPath.clear();
        subAssetOwners.clear();
        fileKeys.clear();
        sidecars.clear();
        subAssetSources.clear();
    }

    AssetHandle RegisterEntry(DiscoveredEntry&& entry) {
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

    SidecarEntry* GetOrCreateSidecarEntry(const fs::path& sourcePath, const std::string& sourceKey) {
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

    // --- Scan ---------------------------------------------------------------------------

    void Scan() {
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
                std::erase_if(orphans, [&](const Orphan& orphan) {
                    return orphan.key == sidecarKey || !PathExists(orphan.path);
                });
            }
        }

        ResolveDuplicates(entries);

        for (DiscoveredEntry& entry : entries) {
            RegisterEntry(std::move(entry));
        }
    }

    // A folder that vanishes or cannot be read ends the walk where it is; what was found so
    // far is kept.
    void Walk(std::vector<DiscoveredEntry>& entries, std::map<std::string, fs::path>& notedSidecars) const {
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

    // --- Queries ------------------------------------------------------------------------

    std::string KeyOf(const fs::path& path) const { return AssetPathKey(Platform::CanonicalPath(path)); }

    const AssetRecord* FindRecord(AssetHandle handle) const {
        const auto found = records.find(handle);
        return found == records.end() ? nullptr : &found->second;
    }

    void BuildLegacyMap(std::span<const fs::path> roots) const {
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
};

AssetRegistry::AssetRegistry() : state_(std::make_unique<State>()), mutex_(std::make_unique<std::shared_mutex>()) {}

AssetRegistry::~AssetRegistry() = default;

AssetRegistry::AssetRegistry(AssetRegistry&& other) noexcept
    : state_(std::make_unique<State>()), mutex_(std::make_unique<std::shared_mutex>()) {
    std::unique_lock lock(*other.mutex_);
    std::swap(state_, other.state_);
}

AssetRegistry& AssetRegistry::operator=(AssetRegistry&& other) noexcept {
    if (this == &other) {
        return *this;
    }
    std::scoped_lock lock(*mutex_, *other.mutex_);
    state_ = std::move(other.state_);
    other.state_ = std::make_unique<State>();
    return *this;
}

void AssetRegistry::SetContentRoot(const fs::path& path, AssetSourceMode mode) {
    std::unique_lock lock(*mutex_);
    if (mode == AssetSourceMode::ReadOnly) {
        std::error_code ignored;
        if (!fs::is_directory(path, ignored)) {
            throw std::runtime_error("Read-only asset content directory is missing: " + Platform::PathToUtf8(path));
        }
    } else if (!path.empty()) {
        std::error_code error;
        fs::create_directories(path, error);
        if (error) {
            throw fs::filesystem_error("create_directories", path, error);
        }
    }
    state_->contentRoot = Platform::CanonicalPath(path);
    state_->contentRootKey = ContentRootKey(state_->contentRoot);
    state_->mode = mode;
    state_->Scan();
}

void AssetRegistry::Rescan() {
    std::unique_lock lock(*mutex_);
    state_->Scan();
}

fs::path AssetRegistry::ContentRoot() const {
    std::shared_lock lock(*mutex_);
    return state_->contentRoot;
}

AssetSourceMode AssetRegistry::Mode() const {
    std::shared_lock lock(*mutex_);
    return state_->mode;
}

std::uint64_t AssetRegistry::Revision() const {
    std::shared_lock lock(*mutex_);
    return state_->revision;
}

const AssetRecord* AssetRegistry::Find(AssetHandle handle) const {
    std::shared_lock lock(*mutex_);
    return state_->FindRecord(handle);
}

std::optional<AssetRecord> AssetRegistry::Copy(AssetHandle handle) const {
    std::shared_lock lock(*mutex_);
    if (const AssetRecord* record = state_->FindRecord(handle)) {
        return *record;
    }
    return std::nullopt;
}

AssetHandle AssetRegistry::HandleOfGuid(const Guid& guid) const {
    std::shared_lock lock(*mutex_);
    const auto found = state_->byGuid.find(guid);
    return found == state_->byGuid.end() ? kNullAssetHandle : found->second;
}

AssetHandle AssetRegistry::HandleOfPath(const fs::path& path) const {
    if (path.empty()) {
        return kNullAssetHandle;
    }
    const std::string key = AssetPathKey(Platform::CanonicalPath(path));
    std::shared_lock lock(*mutex_);
    const auto found = state_->byPath.find(key);
    return found == state_->byPath.end() ? kNullAssetHandle : found->second;
}

AssetHandle AssetRegistry::HandleOfBuiltin(std::string_view name) const {
    std::shared_lock lock(*mutex_);
    const auto found = state_->builtins.find(std::string(name));
    if (found == state_->builtins.end() || !state_->records.contains(found->second)) {
        return kNullAssetHandle;
    }
    return found->second;
}

AssetHandle AssetRegistry::FindSubAsset(const fs::path& sourcePath, std::string_view subkey, AssetType type) const {
    const std::string sourceKey = AssetPathKey(Platform::CanonicalPath(sourcePath));
    std::shared_lock lock(*mutex_);
    for (const auto& [handle, owner] : state_->subAssetOwners) {
        if (owner != sourceKey) {
            continue;
        }
        const AssetRecord* record = state_->FindRecord(handle);
        if (record && record->subkey == subkey && (type == AssetType::Unknown || record->type == type)) {
            return handle;
        }
    }
    return kNullAssetHandle;
}

AssetHandle AssetRegistry::FindDerived(const fs::path& sourcePath, const fs::path& derivedPath,
                                       bool stripNumberPrefix, AssetType type) const {
    if (derivedPath.empty()) {
        return kNullAssetHandle;
    }
    const std::string sourceKey = AssetPathKey(Platform::CanonicalPath(sourcePath));
    const fs::path target = NormalizeDerivedPath(derivedPath);
    const std::string targetFolder = AssetPathKey(target.parent_path());
    const std::string targetName = FileNameUtf8(target);
    const std::string targetKey = AssetPathKey(target);
    std::shared_lock lock(*mutex_);
    for (const auto& [handle, owner] : state_->subAssetOwners) {
        if (owner != sourceKey) {
            continue;
        }
        const AssetRecord* record = state_->FindRecord(handle);
        if (!record || (type != AssetType::Unknown && record->type != type)) {
            continue;
        }
        if (!stripNumberPrefix) {
            if (AssetPathKey(record->path) == targetKey) {
                return handle;
            }
            continue;
        }
        if (AssetPathKey(record->path.parent_path()) == targetFolder &&
            StripNumberPrefix(FileNameUtf8(record->path)) == StripNumberPrefix(targetName)) {
            return handle;
        }
    }
    return kNullAssetHandle;
}

std::optional<fs::path> AssetRegistry::SourceOfSubAsset(const Guid& guid) const {
    std::shared_lock lock(*mutex_);
    const auto found = state_->subAssetSources.find(guid);
    if (found == state_->subAssetSources.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::optional<AssetSidecar> AssetRegistry::SidecarOf(const fs::path& sourcePath) const {
    const std::string key = AssetPathKey(Platform::CanonicalPath(sourcePath));
    std::shared_lock lock(*mutex_);
    const auto found = state_->sidecars.find(key);
    if (found == state_->sidecars.end()) {
        return std::nullopt;
    }
    return found->second.sidecar;
}

std::optional<AssetSourceInfo> AssetRegistry::SourceInfoOf(const Guid& guid) const {
    std::shared_lock lock(*mutex_);
    const auto handle = state_->byGuid.find(guid);
    if (handle == state_->byGuid.end()) {
        return std::nullopt;
    }
    const auto source = state_->sources.find(handle->second);
    if (source == state_->sources.end()) {
        return std::nullopt;
    }
    return source->second;
}

std::vector<AssetRecord> AssetRegistry::AllRecords() const {
    std::vector<AssetRecord> all;
    {
        std::shared_lock lock(*mutex_);
        all.reserve(state_->records.size());
        for (const auto& [handle, record] : state_->records) {
            all.push_back(record);
        }
    }
    std::sort(all.begin(), all.end(), [](const AssetRecord& a, const AssetRecord& b) {
        if (a.isBuiltin != b.isBuiltin) {
            return b.isBuiltin;
        }
        if (a.name != b.name) {
            return a.name < b.name;
        }
        return a.handle < b.handle;
    });
    return all;
}

std::vector<AssetRecord> AssetRegistry::RecordsOfType(AssetType type) const {
    std::vector<AssetRecord> matching;
    {
        std::shared_lock lock(*mutex_);
        for (const auto& [handle, record] : state_->records) {
            if (record.type == type) {
                matching.push_back(record);
            }
        }
    }
    std::sort(matching.begin(), matching.end(), [](const AssetRecord& a, const AssetRecord& b) {
        const int byPath = a.path.native().compare(b.path.native());
        if (byPath != 0) {
            return byPath < 0;
        }
        if (a.subkey != b.subkey) {
            return a.subkey < b.subkey;
        }
        return a.handle < b.handle;
    });
    return matching;
}

AssetHandle AssetRegistry::RegisterBuiltin(AssetType type, std::string_view name) {
    std::unique_lock lock(*mutex_);
    State& state = *state_;
    const Guid guid = BuiltinAssetGuid(name);
    const AssetHandle handle = HandleForGuid(guid);
    AssetRecord record;
    record.handle = handle;
    record.type = type;
    record.name = std::string(name);
    record.isBuiltin = true;
    record.guid = guid;
    state.records.insert_or_assign(handle, std::move(record));
    state.byGuid.insert_or_assign(guid, handle);
    state.builtins.insert_or_assign(std::string(name), handle);
    ++state.revision;
    return handle;
}

AssetHandle AssetRegistry::RegisterFile(AssetType type, const fs::path& path) {
    std::unique_lock lock(*mutex_);
    State& state = *state_;
    DiscoveredEntry entry;
    entry.path = Platform::CanonicalPath(path);
    entry.key = AssetPathKey(entry.path);
    entry.type = type;
    entry.stamp = ReadFileStamp(entry.path);
    state.Identify(entry, false, nullptr);
    state.ReidentifyIfCopy(entry);
    // A re-registration keeps what earlier sub-asset registrations put into the entry,
    // also where that sidecar lives in memory only.
    if (const auto known = state.sidecars.find(entry.key);
        known != state.sidecars.end() && known->second.sidecar.guid == entry.sidecar.guid) {
        entry.sidecar.subAssets = known->second.sidecar.subAssets;
    }
    return state.RegisterEntry(std::move(entry));
}

AssetHandle AssetRegistry::RegisterSubAsset(AssetType type, const fs::path& sourcePath, const fs::path& derivedPath,
                                            std::string_view subkey, std::string_view name) {
    std::unique_lock lock(*mutex_);
    State& state = *state_;
    const fs::path source = Platform::CanonicalPath(sourcePath);
    const std::string sourceKey = AssetPathKey(source);

    Guid sourceGuid;
    Guid guid;
    std::uint32_t sidecarVersion = 0;
    if (SidecarEntry* entry = state.GetOrCreateSidecarEntry(source, sourceKey)) {
        AssetSidecar& sidecar = entry->sidecar;
        sourceGuid = sidecar.guid;
        if (const SidecarSubAsset* known = FindSidecarSubAsset(sidecar, type, subkey)) {
            guid = known->guid;
        } else {
            // A renumbered sub-asset ("Mesh#3" that was "Mesh#2") keeps its identity if
            // nothing live uses the old subkey any more.
            std::unordered_set<std::string> liveSubkeys;
            for (const auto& [handle, owner] : state.subAssetOwners) {
                if (owner == sourceKey) {
                    if (const AssetRecord* record = state.FindRecord(handle)) {
                        liveSubkeys.insert(record->subkey);
                    }
                }
            }
            const std::string_view stem = SubkeyStem(subkey);
            SidecarSubAsset* adopted = nullptr;
            for (SidecarSubAsset& candidate : sidecar.subAssets) {
                if (candidate.type == type && SubkeyStem(candidate.subkey) == stem &&
                    !liveSubkeys.contains(candidate.subkey)) {
                    adopted = &candidate;
                    break;
                }
            }
            if (adopted) {
                adopted->subkey = std::string(subkey);
                guid = adopted->guid;
            } else {
                guid = SubAssetGuid(sourceGuid, type, subkey);
                sidecar.subAssets.push_back(SidecarSubAsset{std::string(subkey), type, guid});
            }
        }
        state.subAssetSources.insert_or_assign(guid, source);
        if (state.mode == AssetSourceMode::Authoring && entry->isSidecarBacked) {
            std::string message;
            if (!WriteSidecar(entry->sidecarPath, sidecar, &message)) {
                LogWarning("Failed to update asset sidecar " + Platform::PathToUtf8(entry->sidecarPath) + ": " +
                           message);
            }
            sidecarVersion = sidecar.version;
        }
    } else {
        sourceGuid = DerivedAssetGuid(state.contentRootKey, sourceKey);
        guid = SubAssetGuid(sourceGuid, type, subkey);
    }

    const AssetHandle handle = HandleForGuid(guid);
    AssetRecord record;
    record.handle = handle;
    record.type = type;
    record.name = std::string(name);
    record.sourcePath = source;
    record.path = derivedPath.empty() ? source : NormalizeDerivedPath(derivedPath);
    record.subkey = std::string(subkey);
    record.isSubAsset = true;
    record.guid = guid;

    AssetSourceInfo info;
    info.path = record.path;
    info.type = type;
    info.sidecarVersion = sidecarVersion;
    info.dependencies.push_back(sourceGuid);

    state.records.insert_or_assign(handle, std::move(record));
    state.sources.insert_or_assign(handle, std::move(info));
    state.byGuid.insert_or_assign(guid, handle);
    state.subAssetOwners.insert_or_assign(handle, sourceKey);
    ++state.revision;
    return handle;
}

void AssetRegistry::RemoveSubAssetsOf(const fs::path& sourcePath) {
    const std::string sourceKey = AssetPathKey(Platform::CanonicalPath(sourcePath));
    std::unique_lock lock(*mutex_);
    if (state_->RemoveSubAssetsOfKey(sourceKey) > 0) {
        ++state_->revision;
    }
}

bool AssetRegistry::SetImporterSetting(const fs::path& sourcePath, std::string_view key, std::string_view value) {
    const std::string sourceKey = AssetPathKey(Platform::CanonicalPath(sourcePath));
    std::unique_lock lock(*mutex_);
    State& state = *state_;
    if (state.mode != AssetSourceMode::Authoring) {
        return false;
    }
    const auto found = state.sidecars.find(sourceKey);
    if (found == state.sidecars.end() || !found->second.isSidecarBacked) {
        return false;
    }
    SidecarEntry& entry = found->second;
    if (!SetSidecarSetting(entry.sidecar, key, value)) {
        return true;
    }
    std::string message;
    if (!WriteSidecar(entry.sidecarPath, entry.sidecar, &message)) {
        LogWarning("Failed to update asset sidecar " + Platform::PathToUtf8(entry.sidecarPath) + ": " + message);
        return false;
    }
    ++state.revision;
    return true;
}

void AssetRegistry::SetToleratedMissingTypes(std::vector<std::uint32_t> types) {
    std::unique_lock lock(*mutex_);
    state_->toleratedMissingTypes = std::move(types);
}

bool AssetRegistry::IsToleratedMissingType(std::uint32_t type) const {
    std::shared_lock lock(*mutex_);
    const std::vector<std::uint32_t>& types = state_->toleratedMissingTypes;
    return std::find(types.begin(), types.end(), type) != types.end();
}

std::vector<std::uint32_t> AssetRegistry::ToleratedMissingTypes() const {
    std::shared_lock lock(*mutex_);
    return state_->toleratedMissingTypes;
}

AssetHandle AssetRegistry::RemapLegacyHandle(std::uint64_t legacyHandle, std::span<const fs::path> roots) const {
    std::shared_lock lock(*mutex_);
    const State& state = *state_;
    if (state.records.contains(legacyHandle)) {
        return legacyHandle;
    }
    std::lock_guard legacyLock(state.legacyMutex);
    if (!state.legacyBuilt || state.legacyRevision != state.revision ||
        !std::equal(roots.begin(), roots.end(), state.legacyRoots.begin(), state.legacyRoots.end())) {
        state.BuildLegacyMap(roots);
    }
    const auto found = state.legacyMap.find(legacyHandle);
    return found == state.legacyMap.end() ? kNullAssetHandle : found->second;
}

} // namespace Brelk::Assets
