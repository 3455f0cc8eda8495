#pragma once

#include "engine/assets/AssetFamily.h"
#include "engine/assets/AssetHandle.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/AssetSourceMode.h"
#include "engine/assets/BuiltinAssets.h"
#include "engine/assets/animation/AnimationClip.h"
#include "engine/assets/animation/AnimatorController.h"
#include "engine/assets/loader/AssetLoader.h"
#include "engine/assets/materials/MaterialLoading.h"
#include "engine/assets/meshes/MeshAsset.h"
#include "engine/assets/rig/RigDefinition.h"
#include "engine/assets/textures/TextureAsset.h"
#include "engine/assets/ui/UiDocument.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace Brelk::Assets {

// What the loaded copy of a file was read from. Two stamps are equal when all three agree.
struct SourceFileStamp {
    std::int64_t lastWriteTime = 0;
    std::uint64_t size = 0;
    bool exists = false;

    friend bool operator==(const SourceFileStamp&, const SourceFileStamp&) = default;
};

// The file's present stamp; a file that cannot be queried does not exist.
SourceFileStamp ReadSourceFileStamp(const std::filesystem::path& path);

// The front of the asset system and the one object the rest of the engine holds. It owns
// the AssetRegistry, the built-in records, the AssetLoader and the tables of loaded assets.
// The manager belongs to the thread that constructed it; the registry locks itself and may
// be read from any thread.
//
// Each asset family plugs into the manager with one AssetFamilyRow (AssetFamily.h): its
// table of loaded assets, its loader handler, and its steps of Initialize and Refresh.
// RegisterLoadHandlers lists the engine's families; the manager's own steps (emptying and
// pruning the tables, requests, touches, reloads, refresh) run over whatever rows exist.
class AssetManager : public MaterialGraphResolver {
public:
    // Upload budget, concurrent loads and sweep interval of the manager's loader.
    static constexpr AssetLoaderConfig kLoaderConfig{33554432, 8, 120};

    // Builds the loader and registers the families' rows.
    AssetManager();
    // Resets the loader before anything else goes, so that no job outlives the tables.
    ~AssetManager() override;
    AssetManager(const AssetManager&) = delete;
    AssetManager& operator=(const AssetManager&) = delete;

    // Makes the manager serve `contentRoot`: creates the content folder (Authoring), the
    // engine's exports folder (Authoring) and the generated-shaders folder, scans the content
    // folder with a new registry, writing a sidecar beside each source that lacks a readable
    // one, registers the built-ins and loads the materials, clips, controllers, UI documents and
    // rig definitions of the folder, in that order; a file that fails is logged and left out.
    // May be called again for another folder; a Guid keeps its handle. Throws std::runtime_error "Read-only asset content directory is missing:
    // <path>" for a missing ReadOnly folder and std::filesystem::filesystem_error when a
    // folder cannot be created or resolved.
    void Initialize(const std::filesystem::path& contentRoot, AssetSourceMode mode);

    // Adds the row of `row.type`, or replaces it, and gives its handler to the loader.
    void RegisterAssetFamily(AssetFamilyRow row);

    // A lease on the load of a mesh, material or texture; empty for an unknown handle and for
    // any other type.
    AssetLoadLease RequestLoad(AssetHandle handle, AssetLoadPriority priority);
    AssetLoadGroup RequestLoads(std::span<const AssetHandle> handles, AssetLoadPriority priority);
    // True if loaded; else asks for it in the background (priority 1) and pins it, and is
    // false only once the load has failed. False for a handle of another type.
    bool TouchMesh(AssetHandle handle);
    bool TouchTexture(AssetHandle handle);
    // True if loaded; else loads it now (priority 3, pinned) and blocks until it settles;
    // true if it ended Ready. False at once for a handle of another type.
    bool EnsureMeshLoaded(AssetHandle handle);
    bool EnsureTextureLoaded(AssetHandle handle);
    // One loader frame, and the shader builds of RequestMaterialCompile that finished are
    // stored; the number of assets the loader published.
    std::uint32_t UpdateAsyncLoads();
    // Loads a material, texture or mesh again from its file. False for an unknown handle,
    // another type, or a texture or mesh that is neither loaded nor in the loader.
    bool ReloadAsset(AssetHandle handle);
    // Rescans the content folder, loads the families' files again where they changed,
    // prunes the tables and lets failed loads try again at their next request.
    void Refresh();

    // Whether a family should read `record`'s file: yes if it is not loaded yet or its file
    // changed since it was read, unless the loaded copy has unsaved edits; then the handle is
    // noted in ChangedWhileEdited, a warning is logged and the answer is no.
    bool ShouldLoadFromDisk(const AssetRecord& record, bool alreadyLoaded);
    // Notes what a family's loaded copy of `handle` was read from.
    void RememberSourceStamp(AssetHandle handle, const std::filesystem::path& path);
    // Installed by an editor; without it, files always win.
    void SetUnsavedEditsCheck(std::function<bool(AssetHandle)> hasUnsavedEdits);
    const std::vector<AssetHandle>& ChangedWhileEdited() const noexcept { return changedWhileEdited_; }

    // Throws std::runtime_error "<operation> is unavailable with read-only asset sources."
    // in ReadOnly mode. Every operation that writes into the content folder calls it first.
    void RequireWritableSources(std::string_view operation) const;
    // The path for a new asset file of `extension` (".bmat") named after `requestedName`:
    // the name cleaned (CleanAssetName), `emptyNameFallback` if nothing is left, made unique
    // with _1, _2, ...; in `folder`, the content root if empty or the base of a relative one.
    // Creates the folder; throws std::filesystem::filesystem_error "create_directories".
    std::filesystem::path NewAssetPath(const std::filesystem::path& folder, std::string_view requestedName,
                                       std::string_view extension, std::string_view emptyNameFallback = {}) const;

    AssetLoader& GetLoader() noexcept { return *loader_; }

    // The loaded material of a handle, with its compile result; null if none is loaded.
    const MaterialEntry* GetMaterial(AssetHandle handle) const;
    // The graph compiler's view of the material table.
    const MaterialAsset* ResolveMaterial(AssetHandle handle) const override;
    // Compiles a loaded material now, shader files included, unless `force` is off and its
    // result is current; an instance takes its base's result. The result's `succeeded`;
    // false for a handle that has no loaded material.
    bool EnsureMaterialCompiled(AssetHandle handle, bool force = false);
    // Compiles a loaded material on this thread and builds its shader files in the
    // background; UpdateAsyncLoads stores the outcome. An instance is resolved at once.
    // False if the handle has no loaded material or a build of it is still in flight.
    bool RequestMaterialCompile(AssetHandle handle);
    bool IsMaterialCompilePending(AssetHandle handle) const { return pendingCompiles_.contains(handle); }
    // A new material file in `folder` (the content root if empty) named after `name`
    // ("Material" if nothing of it is left): `.bmatinst` for an instance of `base`, else
    // `.bmatfunc` for domain 1, `.bmatpp` for domain 2 and `.bmat` for the rest, with the
    // starting graph of its domain. Registered and loaded, compiled at its first request;
    // its handle. Throws std::runtime_error "CreateMaterialAsset: <message>" when the file
    // cannot be written.
    AssetHandle CreateMaterialAsset(const std::filesystem::path& folder, std::string_view name, std::uint32_t domain,
                                    bool isInstance, AssetHandle base);
    // Writes a loaded material back to its file. False with the writer's message, or for a
    // handle without a loaded material or a file.
    bool SaveMaterialAsset(AssetHandle handle, std::string* error = nullptr);
    // The compiled shaders of the cooked packages loaded so far, by file name.
    const PackagedShaderFiles& PackagedShaders() const noexcept { return packagedShaders_; }
    // The loaded mesh or texture of a handle; null while it is not loaded. The pointer holds
    // until the entry is replaced, unloaded or pruned.
    const MeshAsset* GetMesh(AssetHandle handle) const;
    // Writes `mesh` as a new .bmesh in `folder` (the content root if empty, its base if
    // relative), named after the cleaned `name` ("Mesh" if nothing is left) and made unique,
    // registers it and keeps it loaded. The file's trailer names the Guid of the mesh's own
    // handle, the null Guid for a mesh of no record. Throws std::runtime_error
    // "CreateMeshAsset is unavailable with read-only asset sources.", "Failed to create
    // native mesh asset: <path>" when the file appeared meanwhile and "Failed to write native
    // mesh asset: <path>: <reason>".
    AssetHandle CreateMeshAsset(const std::filesystem::path& folder, std::string_view name, const MeshAsset& mesh);
    const TextureAsset* GetTexture(AssetHandle handle) const;

    // Clips, controllers, UI documents and rig definitions: read whole at Initialize and
    // Refresh, kept by handle. A Get gives null for a handle without a loaded asset of its
    // kind; GetAnimatorController first tries to load a controller that is not loaded yet,
    // rewriting a file whose stale references it repaired.
    const AnimationClip* GetAnimationClip(AssetHandle handle) const;
    const AnimatorController* GetAnimatorController(AssetHandle handle);
    const UiDocumentAsset* GetUiDocument(AssetHandle handle) const;
    const RigDefinition* GetRigDefinition(AssetHandle handle) const;
    // Each Save writes `asset` over the file of `handle` atomically and keeps it as the loaded
    // copy. False with "Unknown <kind> asset <handle>." for a handle of no file of that kind,
    // or with the writer's message. Each Create writes a new file named after the cleaned
    // `name` (the kind's own word if nothing is left), made unique, in `folder` (the content
    // root if empty, its base if relative), registers and keeps it, and gives its handle; it
    // throws std::runtime_error "<operation>: <message>" when the file cannot be written.
    // All of them throw "<operation> is unavailable with read-only asset sources." in
    // ReadOnly mode.
    bool SaveAnimationClipAsset(AssetHandle handle, const AnimationClip& clip, std::string* error = nullptr);
    AssetHandle CreateAnimatorControllerAsset(const std::filesystem::path& folder, std::string_view name);
    bool SaveAnimatorControllerAsset(AssetHandle handle, const AnimatorController& controller,
                                     std::string* error = nullptr);
    AssetHandle CreateUiDocumentAsset(const std::filesystem::path& folder, std::string_view name);
    bool SaveUiDocumentAsset(AssetHandle handle, const UiDocumentAsset& document, std::string* error = nullptr);
    AssetHandle CreateRigDefinitionAsset(const std::filesystem::path& folder, std::string_view name,
                                         const RigDefinition& definition);
    bool SaveRigDefinitionAsset(AssetHandle handle, const RigDefinition& definition, std::string* error = nullptr);

    AssetRegistry& GetRegistry() noexcept { return registry_; }
    const AssetRegistry& GetRegistry() const noexcept { return registry_; }

    // Asset types whose unresolved references are accepted as known to be absent; kept and
    // handed to each new registry.
    void SetToleratedMissingTypes(std::vector<std::uint32_t> types);

    AssetSourceMode Mode() const noexcept { return mode_; }
    // Rises whenever loaded data is replaced, and at Initialize.
    std::uint64_t ContentRevision() const noexcept { return contentRevision_; }
    std::thread::id OwnerThread() const noexcept { return ownerThread_; }
    // Unique among the managers of this process, so that caches kept across managers
    // (prefab baselines) never hand one manager's data to another.
    std::uint64_t InstanceId() const noexcept { return instanceId_; }

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
    // The engine's families, one row each (AssetLoadHandlers.cpp).
    void RegisterLoadHandlers();
    void RegisterBuiltins();
    // Initialize step 3: the loader and every loaded table emptied.
    void ClearLoadedTables();
    // Drops every table entry whose handle has no record, or one of another type.
    void PruneLoadedTables();
    void LoadFamiliesFromRegistry();
    const AssetFamilyRow* FindFamily(AssetType type) const;
    // The record's type if the handle is known and of `type`.
    bool IsOfType(AssetHandle handle, AssetType type) const;
    bool IsLoaded(AssetHandle handle, AssetType type) const;
    bool Touch(AssetHandle handle, AssetType type);
    bool Ensure(AssetHandle handle, AssetType type);
    // The material family (AssetManagerMaterials.cpp).
    AssetFamilyRow MaterialFamilyRow();
    void LoadMaterialsFromRegistry();
    bool ReloadMaterial(const AssetRecord& record);
    void CollectMaterialCompiles();
    std::filesystem::path MaterialOutputFolder() const;
    // The mesh and texture families (AssetManagerMeshes.cpp, AssetManagerTextures.cpp).
    AssetFamilyRow MeshFamilyRow();
    AssetFamilyRow TextureFamilyRow();
    AssetLoadRecipe PrepareMeshLoad(AssetHandle handle);
    AssetLoadRecipe PrepareTextureLoad(AssetHandle handle);
    // The clip, controller, UI document and rig definition families (AssetManagerDocuments.cpp).
    AssetFamilyRow ClipFamilyRow();
    AssetFamilyRow ControllerFamilyRow();
    AssetFamilyRow UiDocumentFamilyRow();
    AssetFamilyRow RigDefinitionFamilyRow();
    // Writes the file of `handle` with `write` if it is a file of `type`; else false with
    // "Unknown <kind> asset <handle>.".
    bool SaveDocumentFile(std::string_view operation, AssetHandle handle, AssetType type, std::string_view kind,
                          std::string* error,
                          const std::function<bool(const std::filesystem::path&, std::string*)>& write);
    // Writes a new document file with `write` and registers it as `type`.
    AssetHandle CreateDocumentFile(std::string_view operation, AssetType type, const std::filesystem::path& folder,
                                   std::string_view name, std::string_view extension, std::string_view fallback,
                                   const std::function<bool(const std::filesystem::path&, std::string*)>& write);

    std::vector<std::uint32_t> toleratedMissingTypes_;
    AssetSourceMode mode_ = AssetSourceMode::Authoring;
    AssetRegistry registry_;
    std::thread::id ownerThread_;
    std::uint64_t instanceId_;
    std::uint64_t contentRevision_ = 0;
    BuiltinAssetHandles builtins_;

    std::map<AssetHandle, std::shared_future<MaterialCompiledState>> pendingCompiles_;
    PackagedShaderFiles packagedShaders_;
    std::map<AssetHandle, SourceFileStamp> fileStamps_;
    std::function<bool(AssetHandle)> hasUnsavedEdits_;
    std::vector<AssetHandle> changedWhileEdited_;
    MaterialTable materials_;
    std::map<AssetHandle, MeshAsset> meshes_;
    std::map<AssetHandle, TextureAsset> textures_;
    std::map<AssetHandle, AnimationClip> clips_;
    std::map<AssetHandle, AnimatorController> controllers_;
    std::map<AssetHandle, UiDocumentAsset> uiDocuments_;
    std::map<AssetHandle, RigDefinition> rigDefinitions_;
    // The file a mesh failed on, as it stood then: the same file fails again without a read.
    std::map<AssetHandle, SourceFileStamp> failedMeshStamps_;
    std::unique_ptr<AssetLoader> loader_;
    // In the order of RegisterLoadHandlers: also the order of the families' loads.
    std::vector<AssetFamilyRow> families_;
};

} // namespace Brelk::Assets
