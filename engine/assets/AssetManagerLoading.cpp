#include "engine/assets/AssetManager.h"

#include "engine/assets/AssetNames.h"
#include "engine/core/Logger.h"
#include "engine/core/Profiler.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

bool LoadsAsynchronously(AssetType type) {
    return type == AssetType::Mesh || type == AssetType::Material || type == AssetType::Texture;
}

} // namespace

SourceFileStamp ReadSourceFileStamp(const fs::path& path) {
    SourceFileStamp stamp;
    std::error_code error;
    const auto size = fs::file_size(path, error);
    if (error) return stamp;
    const auto time = fs::last_write_time(path, error);
    if (error) return stamp;
    stamp.lastWriteTime = static_cast<std::int64_t>(time.time_since_epoch().count());
    stamp.size = static_cast<std::uint64_t>(size);
    stamp.exists = true;
    return stamp;
}

void AssetManager::RegisterAssetFamily(AssetFamilyRow row) {
    loader_->RegisterHandler(row.type, row.handler);
    const auto existing = std::find_if(families_.begin(), families_.end(),
                                       [&](const AssetFamilyRow& family) { return family.type == row.type; });
    if (existing != families_.end()) {
        *existing = std::move(row);
    } else {
        families_.push_back(std::move(row));
    }
}

const AssetFamilyRow* AssetManager::FindFamily(AssetType type) const {
    for (const AssetFamilyRow& family : families_) {
        if (family.type == type) return &family;
    }
    return nullptr;
}

void AssetManager::ClearLoadedTables() {
    loader_->Reset();
    for (const AssetFamilyRow& family : families_) {
        if (family.table) family.table.clear();
    }
    fileStamps_.clear();
    changedWhileEdited_.clear();
}

void AssetManager::PruneLoadedTables() {
    for (const AssetFamilyRow& family : families_) {
        if (!family.table) continue;
        for (const AssetHandle handle : family.table.handles()) {
            const AssetRecord* record = registry_.Find(handle);
            if (record && record->type == family.type) continue;
            family.table.erase(handle);
            if (family.releasesLoaderSlot) loader_->Release(handle);
        }
    }
}

void AssetManager::LoadFamiliesFromRegistry() {
    for (const AssetFamilyRow& family : families_) {
        if (family.loadFromRegistry) family.loadFromRegistry();
    }
}

bool AssetManager::IsOfType(AssetHandle handle, AssetType type) const {
    const AssetRecord* record = registry_.Find(handle);
    return record && record->type == type;
}

bool AssetManager::IsLoaded(AssetHandle handle, AssetType type) const {
    const AssetFamilyRow* family = FindFamily(type);
    return family && family->table && family->table.contains(handle);
}

AssetLoadLease AssetManager::RequestLoad(AssetHandle handle, AssetLoadPriority priority) {
    const AssetRecord* record = registry_.Find(handle);
    if (!record || !LoadsAsynchronously(record->type)) return {};
    return loader_->Request(handle, record->type, priority);
}

AssetLoadGroup AssetManager::RequestLoads(std::span<const AssetHandle> handles, AssetLoadPriority priority) {
    AssetLoadGroup group;
    for (const AssetHandle handle : handles) group.Add(RequestLoad(handle, priority));
    return group;
}

bool AssetManager::Touch(AssetHandle handle, AssetType type) {
    if (!IsOfType(handle, type)) return false;
    if (IsLoaded(handle, type)) return true;
    const AssetLoadLease lease = loader_->Request(handle, type, kAssetLoadPriorityTouch);
    // Pinned, since the caller keeps no lease: the load must go on without one.
    loader_->Pin(handle);
    return lease.State() != AssetLoadState::Failed;
}

bool AssetManager::Ensure(AssetHandle handle, AssetType type) {
    if (!IsOfType(handle, type)) return false;
    if (IsLoaded(handle, type)) return true;
    const AssetLoadLease lease = loader_->Request(handle, type, kAssetLoadPriorityBlocking);
    loader_->Pin(handle);
    return loader_->Wait(lease);
}

bool AssetManager::TouchMesh(AssetHandle handle) {
    return Touch(handle, AssetType::Mesh);
}

bool AssetManager::TouchTexture(AssetHandle handle) {
    return Touch(handle, AssetType::Texture);
}

bool AssetManager::EnsureMeshLoaded(AssetHandle handle) {
    return Ensure(handle, AssetType::Mesh);
}

bool AssetManager::EnsureTextureLoaded(AssetHandle handle) {
    return Ensure(handle, AssetType::Texture);
}

std::uint32_t AssetManager::UpdateAsyncLoads() {
    loader_->Update();
    CollectMaterialCompiles();
    return loader_->Stats().publishedThisFrame;
}

bool AssetManager::ReloadAsset(AssetHandle handle) {
    const std::optional<AssetRecord> record = registry_.Copy(handle);
    if (!record || !LoadsAsynchronously(record->type)) return false;
    const AssetFamilyRow* family = FindFamily(record->type);
    if (family && family->reload) return family->reload(*record);
    if (record->type == AssetType::Material) return false;
    if (loader_->State(handle) == AssetLoadState::Unloaded) {
        if (!IsLoaded(handle, record->type)) return false;
        // A slot for data that is in place already, so that the reload has one to replace.
        (void)loader_->Request(handle, record->type, kAssetLoadPriorityReload);
        loader_->Pin(handle);
    }
    return loader_->Reload(handle);
}

void AssetManager::Refresh() {
    const Core::ProfilerZone zone("Assets", "AssetManager::Refresh");
    registry_.Rescan();
    LoadFamiliesFromRegistry();
    PruneLoadedTables();
    loader_->ReleaseFailed();
}

bool AssetManager::ShouldLoadFromDisk(const AssetRecord& record, bool alreadyLoaded) {
    const SourceFileStamp present = ReadSourceFileStamp(record.sourcePath);
    if (!alreadyLoaded) return true;
    const auto stored = fileStamps_.find(record.handle);
    if (present.exists && stored != fileStamps_.end() && stored->second == present) return false;
    if (!hasUnsavedEdits_ || !hasUnsavedEdits_(record.handle)) return true;
    if (std::find(changedWhileEdited_.begin(), changedWhileEdited_.end(), record.handle) == changedWhileEdited_.end()) {
        changedWhileEdited_.push_back(record.handle);
    }
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Warning,
                            "'" + record.name +
                                "' changed on disk while it has unsaved edits; the edits are kept and the next save "
                                "overwrites the file.");
    return false;
}

void AssetManager::RememberSourceStamp(AssetHandle handle, const fs::path& path) {
    fileStamps_[handle] = ReadSourceFileStamp(path);
}

void AssetManager::SetUnsavedEditsCheck(std::function<bool(AssetHandle)> hasUnsavedEdits) {
    hasUnsavedEdits_ = std::move(hasUnsavedEdits);
}

void AssetManager::RequireWritableSources(std::string_view operation) const {
    if (mode_ == AssetSourceMode::ReadOnly) {
        throw std::runtime_error(std::string(operation) + " is unavailable with read-only asset sources.");
    }
}

fs::path AssetManager::NewAssetPath(const fs::path& folder, std::string_view requestedName,
                                    std::string_view extension, std::string_view emptyNameFallback) const {
    const fs::path root = registry_.ContentRoot();
    const fs::path target = folder.empty() ? root : folder.is_relative() ? root / folder : folder;
    std::error_code error;
    fs::create_directories(target, error);
    if (error) throw fs::filesystem_error("create_directories", target, error);
    std::string stem = CleanAssetName(requestedName);
    if (stem.empty()) stem = emptyNameFallback;
    return FirstFreeAssetPath(target, stem, extension);
}

} // namespace Brelk::Assets
