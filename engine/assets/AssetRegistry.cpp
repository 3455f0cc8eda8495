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

} // namespace

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

AssetHandle AssetRegistry::FindDerived(const fs::path& sourcePath, const fs::path& derivedPath, bool stripNumberPrefix,
                                       AssetType type) const {
    if (derivedPath.empty()) {
        return kNullAssetHandle;
    }
    const std::string sourceKey = AssetPathKey(Platform::CanonicalPath(sourcePath));
    const fs::path target = NormalizeDerivedPath(derivedPath);
    const std::string targetFolder = AssetPathKey(target.parent_path());
    const std::string targetName = State::FileNameUtf8(target);
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
            StripNumberPrefix(State::FileNameUtf8(record->path)) == StripNumberPrefix(targetName)) {
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
    State::DiscoveredEntry entry;
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
                State::LogWarning("Failed to update asset sidecar " + Platform::PathToUtf8(entry->sidecarPath) + ": " +
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
        State::LogWarning("Failed to update asset sidecar " + Platform::PathToUtf8(entry.sidecarPath) + ": " + message);
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
