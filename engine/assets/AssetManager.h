#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/AssetSourceMode.h"
#include "engine/assets/BuiltinAssets.h"

#include <cstdint>
#include <filesystem>
#include <thread>
#include <vector>

namespace Brelk::Assets {

// The front of the asset system and the one object the rest of the engine holds. It owns
// the AssetRegistry and the built-in records. The manager belongs to the thread that
// constructed it; the registry locks itself and may be read from any thread.
class AssetManager {
public:
    AssetManager();
    ~AssetManager();
    AssetManager(const AssetManager&) = delete;
    AssetManager& operator=(const AssetManager&) = delete;

    // Makes the manager serve `contentRoot`: creates the content folder (Authoring), the
    // engine's exports folder (Authoring) and the generated-shaders folder, scans the content
    // folder with a new registry, writing a sidecar beside each source that lacks a readable
    // one, and registers the built-ins. May be called again for another folder; a Guid keeps
    // its handle. Throws std::runtime_error "Read-only asset content directory is missing:
    // <path>" for a missing ReadOnly folder and std::filesystem::filesystem_error when a
    // folder cannot be created or resolved.
    void Initialize(const std::filesystem::path& contentRoot, AssetSourceMode mode);

    AssetRegistry& GetRegistry() noexcept { return registry_; }
    const AssetRegistry& GetRegistry() const noexcept { return registry_; }

    // Asset types whose unresolved references are accepted as known to be absent; kept and
    // handed to each new registry.
    void SetToleratedMissingTypes(std::vector<std::uint32_t> types);

    AssetSourceMode Mode() const noexcept { return mode_; }
    // Rises whenever loaded data is replaced, and at Initialize.
    std::uint64_t ContentRevision() const noexcept { return contentRevision_; }
    std::thread::id OwnerThread() const noexcept { return ownerThread_; }

    // The built-ins; 0 before Initialize.
    AssetHandle GetBuiltinCube() const noexcept { return builtins_.cube; }
    AssetHandle GetBuiltinQuad() const noexcept { return builtins_.quad; }
    AssetHandle GetBuiltinPlane() const noexcept { return builtins_.plane; }
    AssetHandle GetBuiltinSphere() const noexcept { return builtins_.sphere; }
    AssetHandle GetBuiltinMaterialPreviewSphere() const noexcept { return builtins_.materialPreviewSphere; }
    AssetHandle GetBuiltinCylinder() const noexcept { return builtins_.cylinder; }
    AssetHandle GetBuiltinCone() const noexcept { return builtins_.cone; }
    AssetHandle GetBuiltinTorus() const noexcept { return builtins_.torus; }
    AssetHandle GetBuiltinDiamond() const noexcept { return builtins_.diamond; }
    AssetHandle GetBuiltinDefaultMaterial() const noexcept { return builtins_.defaultMaterial; }
    AssetHandle GetBuiltinWhite() const noexcept { return builtins_.white; }
    AssetHandle GetBuiltinBlack() const noexcept { return builtins_.black; }
    AssetHandle GetBuiltinFlatNormal() const noexcept { return builtins_.flatNormal; }
    const BuiltinAssetHandles& GetBuiltinHandles() const noexcept { return builtins_; }

private:
    void RegisterBuiltins();

    std::vector<std::uint32_t> toleratedMissingTypes_;
    AssetSourceMode mode_ = AssetSourceMode::Authoring;
    AssetRegistry registry_;
    std::thread::id ownerThread_;
    std::uint64_t contentRevision_ = 0;
    BuiltinAssetHandles builtins_;
};

} // namespace Brelk::Assets
