#include "engine/assets/AssetManager.h"

#include "engine/core/Logger.h"
#include "engine/core/Profiler.h"
#include "engine/platform/Files.h"
#include "engine/platform/Folders.h"

#include <atomic>
#include <stdexcept>
#include <system_error>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

void CreateFolder(const fs::path& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (error) {
        throw fs::filesystem_error("create_directories", path, error);
    }
}

std::atomic<std::uint64_t> nextManagerId{1};

} // namespace

AssetManager::AssetManager()
    : ownerThread_(std::this_thread::get_id()),
      instanceId_(nextManagerId.fetch_add(1, std::memory_order_relaxed)),
      loader_(std::make_unique<AssetLoader>(kLoaderConfig)) {
    RegisterLoadHandlers();
}

AssetManager::~AssetManager() {
    // The jobs and handlers refer to the tables below; they must be gone first.
    loader_->Reset();
}

void AssetManager::Initialize(const fs::path& contentRoot, AssetSourceMode mode) {
    const Core::ProfilerZone zone("Assets", "AssetManager::Initialize");

    if (mode == AssetSourceMode::ReadOnly) {
        std::error_code ignored;
        if (!fs::is_directory(contentRoot, ignored)) {
            throw std::runtime_error("Read-only asset content directory is missing: " +
                                     Platform::PathToUtf8(contentRoot));
        }
    }
    mode_ = mode;
    ClearLoadedTables();
    ++contentRevision_;
    builtins_ = BuiltinAssetHandles{};
    registry_ = AssetRegistry();

    if (mode == AssetSourceMode::Authoring) {
        CreateFolder(contentRoot);
        CreateFolder(Platform::GetEngineExportsFolder());
    }
    CreateFolder(Platform::GetGeneratedShadersFolder());

    std::error_code error;
    const fs::path canonicalRoot = fs::weakly_canonical(contentRoot, error);
    if (error) {
        throw fs::filesystem_error("weakly_canonical", contentRoot, error);
    }
    registry_.SetContentRoot(canonicalRoot, mode);
    registry_.SetToleratedMissingTypes(toleratedMissingTypes_);

    // After the scan, so that a scan's removal of file records never meets them.
    RegisterBuiltins();
    for (const AssetFamilyRow& family : families_) {
        if (family.addBuiltins) family.addBuiltins();
    }
    LoadFamiliesFromRegistry();
    PruneLoadedTables();

    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Info,
                            "Asset manager initialized: " + Platform::PathToUtf8(canonicalRoot));
}

void AssetManager::SetToleratedMissingTypes(std::vector<std::uint32_t> types) {
    toleratedMissingTypes_ = std::move(types);
    registry_.SetToleratedMissingTypes(toleratedMissingTypes_);
}

void AssetManager::RegisterBuiltins() {
    for (const BuiltinAssetDefinition& builtin : BuiltinAssetDefinitions()) {
        const AssetHandle handle = registry_.RegisterBuiltin(builtin.type, builtin.name);
        if (builtin.slot) {
            builtins_.*builtin.slot = handle;
        }
    }
}

} // namespace Brelk::Assets
