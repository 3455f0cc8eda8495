#include "engine/assets/AssetManager.h"

#include "engine/assets/cooked/CookedContainer.h"
#include "engine/assets/meshes/BuiltinMeshes.h"
#include "engine/assets/meshes/MeshFinishing.h"
#include "engine/assets/meshes/NativeMeshFile.h"
#include "engine/core/Logger.h"
#include "engine/platform/Files.h"

#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

inline constexpr std::uint32_t kCookedMeshFormatVersion = 1;

bool IsNativeMeshPath(const fs::path& path) {
    std::string extension = path.extension().string();
    for (char& c : extension) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return extension == ".bmesh";
}

std::string NativeMeshFailure(const fs::path& path, std::string_view reason) {
    return "Failed to load native mesh asset: " + Platform::PathToUtf8(path) + ": " + std::string(reason);
}

AssetLoadPayload MeshPayload(MeshAsset mesh) {
    const std::uint64_t size = mesh.vertices.size() * sizeof(MeshVertex) + mesh.indices.size() * sizeof(std::uint32_t);
    return AssetLoadPayload{std::make_shared<MeshAsset>(std::move(mesh)), size};
}

} // namespace

const MeshAsset* AssetManager::GetMesh(AssetHandle handle) const {
    const auto found = meshes_.find(handle);
    return found == meshes_.end() ? nullptr : &found->second;
}

AssetHandle AssetManager::CreateMeshAsset(const fs::path& folder, std::string_view name, const MeshAsset& mesh) {
    RequireWritableSources("CreateMeshAsset");
    const fs::path path = NewAssetPath(folder, name, ".bmesh", "Mesh");
    std::error_code ignored;
    // A new asset never takes over a file, not even one that appeared since the name was chosen.
    if (fs::exists(path, ignored)) {
        throw std::runtime_error("Failed to create native mesh asset: " + Platform::PathToUtf8(path));
    }
    const AssetRecord* own = registry_.Find(mesh.handle);
    std::string error;
    if (!WriteNativeMeshFile(path, mesh, own ? own->guid : Core::Guid{}, &error)) {
        throw std::runtime_error("Failed to write native mesh asset: " + Platform::PathToUtf8(path) + ": " + error);
    }
    const AssetHandle handle = registry_.RegisterFile(AssetType::Mesh, path);
    MeshAsset loaded = mesh;
    FinishMesh(loaded, handle);
    meshes_[handle] = std::move(loaded);
    RememberSourceStamp(handle, path);
    return handle;
}

AssetFamilyRow AssetManager::MeshFamilyRow() {
    AssetFamilyRow row;
    row.type = AssetType::Mesh;
    row.table = ViewOfTable(meshes_);
    // A failure mark belongs to the mesh it was made for: it goes with the table.
    row.table.erase = [this](AssetHandle handle) {
        meshes_.erase(handle);
        failedMeshStamps_.erase(handle);
    };
    row.table.clear = [this] {
        meshes_.clear();
        failedMeshStamps_.clear();
    };
    row.releasesLoaderSlot = true;
    row.handler.isLoaded = [this](AssetHandle handle) { return meshes_.count(handle) != 0; };
    row.handler.prepare = [this](AssetHandle handle) { return PrepareMeshLoad(handle); };
    row.handler.unload = [this](AssetHandle handle) { meshes_.erase(handle); };
    row.addBuiltins = [this] {
        const auto handleOf = [this](std::string_view name) { return registry_.HandleOfBuiltin(name); };
        for (const BuiltinAssetDefinition& builtin : BuiltinAssetDefinitions()) {
            if (builtin.type != AssetType::Mesh) continue;
            const AssetHandle handle = registry_.HandleOfBuiltin(builtin.name);
            if (std::optional<MeshAsset> mesh = MakeBuiltinMesh(builtin.name, handle, handleOf)) {
                meshes_[handle] = std::move(*mesh);
            }
        }
    };
    return row;
}

AssetLoadRecipe AssetManager::PrepareMeshLoad(AssetHandle handle) {
    AssetLoadRecipe recipe;
    const std::optional<AssetRecord> record = registry_.Copy(handle);
    if (!record || record->type != AssetType::Mesh || (record->sourcePath.empty() && !record->isBuiltin)) {
        recipe.error = "Unknown mesh asset " + std::to_string(handle) + ".";
        return recipe;
    }
    const fs::path path = record->sourcePath;
    recipe.onFailure = [this, handle, path](const std::string& message) {
        Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Error, message);
        if (!path.empty()) failedMeshStamps_[handle] = ReadSourceFileStamp(path);
    };
    recipe.publish = [this, handle, path, name = record->name](AssetLoadPayload& payload) {
        const bool replaced = meshes_.count(handle) != 0;
        meshes_[handle] = std::move(*static_cast<MeshAsset*>(payload.data.get()));
        if (replaced) ++contentRevision_;
        if (path.empty()) return;
        failedMeshStamps_.erase(handle);
        RememberSourceStamp(handle, path);
        Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Info, "Loaded native mesh asset: " + name);
    };

    if (record->isBuiltin) {
        // Built here, on the owning thread, since its LOD rows look up other built-ins in the
        // registry, which a worker must not reach while Initialize may replace it.
        const auto handleOf = [this](std::string_view builtin) { return registry_.HandleOfBuiltin(builtin); };
        std::optional<MeshAsset> mesh = MakeBuiltinMesh(record->name, handle, handleOf);
        if (!mesh) {
            recipe.error = "Unknown mesh asset " + std::to_string(handle) + ".";
            return recipe;
        }
        recipe.decode = [mesh = std::make_shared<MeshAsset>(std::move(*mesh))](std::vector<std::uint8_t>) {
            return MeshPayload(*mesh);
        };
        return recipe;
    }
    if (!IsNativeMeshPath(path)) {
        recipe.error = "No model importer is registered in this program (source importers are authoring-only): " +
                       Platform::PathToUtf8(path);
        return recipe;
    }
    // Reading a file that failed and has not changed since would only fail again.
    if (const auto failed = failedMeshStamps_.find(handle);
        failed != failedMeshStamps_.end() && failed->second == ReadSourceFileStamp(path)) {
        recipe.error = "Mesh asset previously failed to load: " + Platform::PathToUtf8(path);
        return recipe;
    }
    recipe.read = [path] {
        std::string error;
        const std::unique_ptr<std::istream> stream = OpenCookedOrRawStream(path, kCookedKindMesh, kCookedMeshFormatVersion, &error);
        if (!stream) throw std::runtime_error(NativeMeshFailure(path, error));
        return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(*stream), std::istreambuf_iterator<char>());
    };
    recipe.decode = [path, handle](std::vector<std::uint8_t> bytes) {
        MeshAsset mesh;
        try {
            mesh = DecodeNativeMesh(bytes);
        } catch (const std::exception& exception) {
            throw std::runtime_error(NativeMeshFailure(path, exception.what()));
        }
        FinishMesh(mesh, handle);
        return MeshPayload(std::move(mesh));
    };
    return recipe;
}

} // namespace Brelk::Assets
