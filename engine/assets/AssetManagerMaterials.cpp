#include "engine/assets/AssetManager.h"

#include "engine/assets/cooked/CookedMaterial.h"
#include "engine/assets/materials/MaterialDefaults.h"
#include "engine/assets/materials/MaterialFile.h"
#include "engine/assets/shaders/ShaderBuild.h"
#include "engine/core/Logger.h"
#include "engine/core/TaskSystem.h"

#include <chrono>
#include <stdexcept>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

void Log(Core::LogLevel level, const std::string& message) {
    Core::Logger::Get().Log(Core::LogCategory::Assets, level, message);
}

void TakeShadersOf(const std::optional<CookedMaterial>& cooked, std::string_view name,
                   PackagedShaderFiles& packagedShaders) {
    if (!cooked) return;
    std::vector<MaterialDiagnostic> diagnostics;
    (void)TakeCookedShaders(*cooked, packagedShaders, diagnostics);
    for (const MaterialDiagnostic& diagnostic : diagnostics) {
        Log(Core::LogLevel::Warning, "Material '" + std::string(name) + "': " + diagnostic.message);
    }
}

std::string_view MaterialExtension(std::uint32_t domain, bool isInstance) {
    if (isInstance) return ".bmatinst";
    if (domain == kDomainFunction) return ".bmatfunc";
    if (domain == kDomainPostProcess) return ".bmatpp";
    return ".bmat";
}

} // namespace

AssetFamilyRow AssetManager::MaterialFamilyRow() {
    AssetFamilyRow row;
    row.type = AssetType::Material;
    row.table = LoadedAssetTable{
        [this](AssetHandle handle) { return materials_.contains(handle); },
        [this] {
            std::vector<AssetHandle> handles;
            handles.reserve(materials_.size());
            for (const auto& entry : materials_) handles.push_back(entry.first);
            return handles;
        },
        [this](AssetHandle handle) {
            materials_.erase(handle);
            pendingCompiles_.erase(handle);
        },
        // A build still running works on its own copy; its result is simply not taken.
        [this] {
            materials_.clear();
            pendingCompiles_.clear();
            packagedShaders_.clear();
        },
    };
    // A material is data the manager holds already; its load only waits for its textures.
    row.handler.prepare = [this](AssetHandle handle) {
        AssetLoadRecipe recipe;
        const auto found = materials_.find(handle);
        if (found == materials_.end()) {
            recipe.error = "Unknown material asset " + std::to_string(handle) + ".";
            return recipe;
        }
        for (const AssetHandle texture : MaterialTextureDependencies(found->second.material)) {
            recipe.dependencies.emplace_back(texture, AssetType::Texture);
        }
        return recipe;
    };
    row.addBuiltins = [this] {
        MaterialEntry& entry = materials_[builtins_.defaultMaterial];
        entry = MaterialEntry{};
        entry.material = MakeDefaultMaterial(builtins_);
        entry.material.handle = builtins_.defaultMaterial;
    };
    row.loadFromRegistry = [this] { LoadMaterialsFromRegistry(); };
    row.reload = [this](const AssetRecord& record) { return ReloadMaterial(record); };
    return row;
}

fs::path AssetManager::MaterialOutputFolder() const {
    return GeneratedShaderFolder(mode_);
}

void AssetManager::LoadMaterialsFromRegistry() {
    // Taken once here: the build tasks read no environment.
    const MaterialShaderBuild build{MakeShaderToolOptions(), &packagedShaders_};
    MaterialLoadOptions options;
    options.shouldLoad = [this](const AssetRecord& record, bool alreadyLoaded) {
        return ShouldLoadFromDisk(record, alreadyLoaded);
    };
    options.onLoaded = [this](const AssetRecord& record) { RememberSourceStamp(record.handle, record.sourcePath); };
    options.build = &build;
    options.packagedShaders = &packagedShaders_;
    const MaterialLoadResult result =
        LoadMaterialAssetsFromRegistry(registry_, materials_, *this, MaterialOutputFolder(), options);
    for (const AssetHandle handle : result.loaded) pendingCompiles_.erase(handle);
    if (!result.loaded.empty() || !result.compiled.empty()) ++contentRevision_;
}

const MaterialEntry* AssetManager::GetMaterial(AssetHandle handle) const {
    const auto found = materials_.find(handle);
    return found == materials_.end() ? nullptr : &found->second;
}

const MaterialAsset* AssetManager::ResolveMaterial(AssetHandle handle) const {
    const MaterialEntry* entry = GetMaterial(handle);
    return entry ? &entry->material : nullptr;
}

bool AssetManager::EnsureMaterialCompiled(AssetHandle handle, bool force) {
    const auto found = materials_.find(handle);
    if (found == materials_.end()) return false;
    const MaterialShaderBuild build{MakeShaderToolOptions(), &packagedShaders_};
    if (found->second.isInstance) {
        const bool succeeded = ResolveMaterialInstance(handle, registry_, materials_, *this, MaterialOutputFolder(), &build);
        if (!succeeded) ReportMaterialCompile(registry_.Copy(handle).value_or(AssetRecord{}).name, found->second.compiled);
        return succeeded;
    }
    AssetRecord record = registry_.Copy(handle).value_or(AssetRecord{});
    record.handle = handle;
    if (CompileMaterialEntry(record, found->second, this, MaterialOutputFolder(), &build, force)) {
        // A build still in flight was made from the text this compile replaces.
        pendingCompiles_.erase(handle);
        ++contentRevision_;
        ReportMaterialCompile(record.name, found->second.compiled);
    }
    return found->second.compiled.succeeded;
}

bool AssetManager::RequestMaterialCompile(AssetHandle handle) {
    if (pendingCompiles_.contains(handle)) return false;
    const auto found = materials_.find(handle);
    if (found == materials_.end()) return false;
    if (found->second.isInstance) {
        (void)EnsureMaterialCompiled(handle, false);
        return true;
    }
    AssetRecord record = registry_.Copy(handle).value_or(AssetRecord{});
    record.handle = handle;
    MaterialEntry& entry = found->second;
    (void)CompileMaterialEntry(record, entry, this, MaterialOutputFolder(), nullptr, true);
    ++contentRevision_;
    if (HasShaderText(entry.compiled, entry.material.graph.domain) && ShaderFilesMissing(entry.compiled)) {
        if (!packagedShaders_.empty()) InstallPackagedShaders(packagedShaders_, ShaderFilesOf(entry.compiled));
    }
    if (!HasShaderText(entry.compiled, entry.material.graph.domain) || !ShaderFilesMissing(entry.compiled)) {
        ReportMaterialCompile(record.name, entry.compiled);
        return true;
    }
    MaterialShaderBuild build{MakeShaderToolOptions(), nullptr};
    pendingCompiles_[handle] =
        Core::Tasks::TaskSystem::Get()
            .Async(Core::Tasks::TaskPriority::Background,
                   [state = entry.compiled, build = std::move(build)]() mutable {
                       BuildMaterialShaders(state, build);
                       return state;
                   })
            .share();
    return true;
}

void AssetManager::CollectMaterialCompiles() {
    bool collected = false;
    for (auto pending = pendingCompiles_.begin(); pending != pendingCompiles_.end();) {
        if (pending->second.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            ++pending;
            continue;
        }
        const auto found = materials_.find(pending->first);
        if (found != materials_.end()) {
            MaterialCompiledState& compiled = found->second.compiled;
            try {
                compiled = pending->second.get();
            } catch (const std::exception& failure) {
                compiled.succeeded = false;
                compiled.diagnostics.push_back(
                    {kMaterialError, 0, std::string("Material compile failed: ") + failure.what()});
            }
            ReportMaterialCompile(registry_.Copy(pending->first).value_or(AssetRecord{}).name, compiled);
            collected = true;
        }
        pending = pendingCompiles_.erase(pending);
    }
    if (!collected) return;
    ++contentRevision_;
    // Instances hold a copy of their base's result; the bases are current now, so this
    // compiles nothing.
    for (const auto& [handle, entry] : materials_) {
        if (entry.isInstance) {
            (void)ResolveMaterialInstance(handle, registry_, materials_, *this, MaterialOutputFolder());
        }
    }
}

bool AssetManager::ReloadMaterial(const AssetRecord& record) {
    if (record.isBuiltin || record.isSubAsset || record.sourcePath.empty() || !IsMaterialExtension(record.path)) {
        return false;
    }
    if (materials_.contains(record.handle) && hasUnsavedEdits_ && hasUnsavedEdits_(record.handle)) {
        (void)ShouldLoadFromDisk(record, true);
        return true;
    }
    MaterialAsset material;
    std::optional<CookedMaterial> cooked;
    std::string error;
    if (!LoadMaterialAssetFile(record, registry_, material, &error, &cooked)) {
        Log(Core::LogLevel::Warning, "Failed to load material asset '" + record.name + "': " + error);
        return false;
    }
    TakeShadersOf(cooked, record.name, packagedShaders_);
    MaterialEntry& entry = materials_[record.handle];
    entry.isInstance = material.isInstance;
    entry.material = std::move(material);
    entry.dirty = true;
    RememberSourceStamp(record.handle, record.sourcePath);
    ++contentRevision_;
    (void)EnsureMaterialCompiled(record.handle, true);
    return true;
}

AssetHandle AssetManager::CreateMaterialAsset(const fs::path& folder, std::string_view name, std::uint32_t domain,
                                              bool isInstance, AssetHandle base) {
    RequireWritableSources("CreateMaterialAsset");
    const fs::path path = NewAssetPath(folder, name, MaterialExtension(domain, isInstance), "Material");
    MaterialAsset material;
    material.isInstance = isInstance;
    if (isInstance) {
        // An instance keeps an empty graph: its nodes are its base's.
        material.parentMaterial = base;
        material.graph.domain = domain;
    } else {
        material.graph = MakeDefaultGraph(domain);
    }
    std::string error;
    if (!WriteMaterialAsset(path, material, &registry_, &error)) {
        throw std::runtime_error("CreateMaterialAsset: " + error);
    }
    const AssetHandle handle = registry_.RegisterFile(AssetType::Material, path);
    material.handle = handle;
    MaterialEntry& entry = materials_[handle];
    entry = MaterialEntry{};
    entry.isInstance = isInstance;
    entry.material = std::move(material);
    RememberSourceStamp(handle, path);
    ++contentRevision_;
    return handle;
}

bool AssetManager::SaveMaterialAsset(AssetHandle handle, std::string* error) {
    RequireWritableSources("SaveMaterialAsset");
    const auto found = materials_.find(handle);
    const std::optional<AssetRecord> record = registry_.Copy(handle);
    if (found == materials_.end() || !record || record->isBuiltin || record->sourcePath.empty()) {
        if (error) *error = "Unknown material asset " + std::to_string(handle) + ".";
        return false;
    }
    if (!WriteMaterialAsset(record->path, found->second.material, &registry_, error)) return false;
    RememberSourceStamp(handle, record->sourcePath);
    return true;
}

} // namespace Brelk::Assets
