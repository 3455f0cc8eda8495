#include "engine/assets/materials/MaterialLoading.h"

#include "engine/assets/AssetRegistry.h"
#include "engine/assets/cooked/CookedMaterial.h"
#include "engine/assets/materials/MaterialCompiler.h"
#include "engine/assets/materials/MaterialFile.h"
#include "engine/assets/materials/MaterialNodeCatalogue.h"
#include "engine/core/Logger.h"

#include <algorithm>
#include <charconv>
#include <unordered_set>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

void Log(Core::LogLevel level, const std::string& message) {
    Core::Logger::Get().Log(Core::LogCategory::Assets, level, message);
}

bool IsLoadable(const AssetRecord& record) {
    return !record.isBuiltin && !record.isSubAsset && !record.sourcePath.empty() && IsMaterialExtension(record.path);
}

} // namespace

bool LoadMaterialAssetFile(const AssetRecord& record, const AssetRegistry& registry, MaterialAsset& material,
                           std::string* error, CookedMaterial* cooked) {
    MaterialAsset read;
    try {
        if (!ReadMaterialAsset(record.path, read, &registry, error, cooked)) return false;
    } catch (const std::exception& failure) {
        if (error) *error = failure.what();
        return false;
    }
    read.handle = record.handle;
    material = std::move(read);
    return true;
}

std::uint32_t TakeCookedShaders(const CookedMaterial& cooked, PackagedShaderTable& packagedShaders,
                                std::vector<MaterialDiagnostic>& diagnostics) {
    const std::pair<const char*, const std::vector<std::uint8_t>*> stages[] = {
        {".vert.spv", &cooked.vertexSpirv},
        {".frag.spv", &cooked.fragmentSpirv},
        {".shadow.frag.spv", &cooked.shadowFragmentSpirv},
    };
    for (const auto& [suffix, blob] : stages) {
        if (!blob->empty()) packagedShaders[cooked.shaderName + suffix] = *blob;
    }
    std::uint32_t flags = cooked.flags;
    const bool drawn = cooked.kind == kDomainSurface || cooked.kind == kDomainPostProcess;
    if ((flags & 2) && drawn &&
        (cooked.vertexSpirv.empty() || cooked.fragmentSpirv.empty() || cooked.shaderName.empty())) {
        flags &= ~2u;
        diagnostics.push_back({kMaterialError, 0, "The cooked material carries no shaders."});
    }
    return flags;
}

std::string MaterialShaderStem(std::string_view name) {
    std::string stem;
    stem.reserve(name.size());
    for (const char c : name) {
        const bool kept =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
        stem += kept ? c : '_';
    }
    stem.erase(0, stem.find_first_not_of('_'));
    return stem.empty() ? "Material" : stem;
}

MaterialCompiledState CompileMaterialForAsset(const AssetRecord& record, const MaterialAsset& material,
                                              const MaterialGraphResolver* resolver, const fs::path& outputFolder) {
    const MaterialCompileInput input{record.handle, MaterialShaderStem(record.name), outputFolder};
    try {
        return CompileMaterialGraph(material.graph, input, resolver, !material.opaque, material.alphaMasked,
                                    material.doubleSided);
    } catch (const std::exception& failure) {
        MaterialCompiledState state;
        state.valid = true;
        state.revision = material.graph.revision;
        state.diagnostics.push_back({kMaterialError, 0, std::string("Material compile failed: ") + failure.what()});
        return state;
    }
}

void ReportMaterialCompile(std::string_view name, const MaterialCompiledState& state) {
    if (const MaterialDiagnostic* error = state.FirstError()) {
        Log(Core::LogLevel::Error, "Failed to compile material asset '" + std::string(name) + "': " + error->message);
        return;
    }
    for (const MaterialDiagnostic& diagnostic : state.diagnostics) {
        Log(Core::LogLevel::Warning, "Material '" + std::string(name) + "': " + diagnostic.message);
    }
}

std::vector<AssetHandle> MaterialTextureDependencies(const MaterialAsset& material) {
    std::vector<AssetHandle> textures;
    std::unordered_set<AssetHandle> seen;
    const auto add = [&](AssetHandle handle) {
        if (handle != kNullAssetHandle && seen.insert(handle).second) textures.push_back(handle);
    };
    for (const MaterialTextureSlot& slot : kMaterialTextureSlots) add(material.*slot.field);
    std::vector<const std::pair<const std::string, MaterialParameterOverride>*> overrides;
    for (const auto& entry : material.overrides) overrides.push_back(&entry);
    std::sort(overrides.begin(), overrides.end(), [](auto a, auto b) { return a->first < b->first; });
    for (const auto* entry : overrides) add(entry->second.texture);
    for (const MaterialGraphNode& node : material.graph.nodes) {
        const char* key = node.type == kNodeTexture2D            ? "asset"
                          : node.type == kNodeParameterTexture2D ? "default_texture"
                                                                 : nullptr;
        if (!key) continue;
        const auto found = node.properties.find(key);
        if (found == node.properties.end()) continue;
        AssetHandle handle = 0;
        std::from_chars(found->second.data(), found->second.data() + found->second.size(), handle);
        add(handle);
    }
    return textures;
}

bool ResolveMaterialInstance(AssetHandle handle, const AssetRegistry& registry, MaterialTable& materials,
                             const MaterialGraphResolver& resolver, const fs::path& outputFolder) {
    // Instances may stand on instances; a chain that loops back has no base to give.
    std::vector<AssetHandle> chain{handle};
    AssetHandle base = materials.at(handle).material.parentMaterial;
    while (true) {
        const auto found = materials.find(base);
        if (found == materials.end() || std::find(chain.begin(), chain.end(), base) != chain.end()) {
            MaterialEntry& entry = materials.at(handle);
            entry.compiled = MaterialCompiledState{};
            entry.compiled.valid = true;
            entry.compiled.diagnostics.push_back(
                {kMaterialError, 0, "Material instance has an invalid parent material."});
            entry.dirty = false;
            return false;
        }
        if (!found->second.material.isInstance) break;
        chain.push_back(base);
        base = found->second.material.parentMaterial;
    }
    MaterialEntry& baseEntry = materials.at(base);
    if (!baseEntry.compiled.valid || baseEntry.dirty) {
        const std::optional<AssetRecord> record = registry.Copy(base);
        AssetRecord named = record ? *record : AssetRecord{};
        named.handle = base;
        baseEntry.compiled = CompileMaterialForAsset(named, baseEntry.material, &resolver, outputFolder);
        baseEntry.dirty = false;
        ReportMaterialCompile(named.name, baseEntry.compiled);
    }
    MaterialEntry& entry = materials.at(handle);
    entry.compiled = baseEntry.compiled;
    entry.material.graph.domain = baseEntry.material.graph.domain;
    entry.dirty = false;
    return entry.compiled.succeeded;
}

MaterialLoadResult LoadMaterialAssetsFromRegistry(const AssetRegistry& registry, MaterialTable& materials,
                                                  const MaterialGraphResolver& resolver, const fs::path& outputFolder,
                                                  const ShouldLoadMaterial& shouldLoad) {
    MaterialLoadResult result;
    const std::vector<AssetRecord> records = registry.RecordsOfType(AssetType::Material);
    bool functionChanged = false;
    for (const AssetRecord& record : records) {
        if (!IsLoadable(record)) continue;
        const bool alreadyLoaded = materials.contains(record.handle);
        if (shouldLoad && !shouldLoad(record, alreadyLoaded)) continue;
        MaterialAsset material;
        std::string error;
        if (!LoadMaterialAssetFile(record, registry, material, &error)) {
            Log(Core::LogLevel::Warning, "Failed to load material asset '" + record.name + "': " + error);
            continue;
        }
        functionChanged = functionChanged || material.graph.domain == kDomainFunction;
        MaterialEntry& entry = materials[record.handle];
        entry.isInstance = material.isInstance;
        entry.material = std::move(material);
        entry.dirty = true;
        result.loaded.push_back(record.handle);
    }

    std::vector<AssetHandle> listed = result.loaded;
    if (functionChanged) {
        // Any material may call the function that changed.
        for (const AssetRecord& record : records) {
            const auto found = materials.find(record.handle);
            if (found == materials.end() || !found->second.compiled.valid) continue;
            if (std::find(listed.begin(), listed.end(), record.handle) != listed.end()) continue;
            found->second.dirty = true;
            listed.push_back(record.handle);
        }
    }

    for (const AssetHandle handle : listed) {
        MaterialEntry& entry = materials.at(handle);
        if (entry.isInstance || (!entry.dirty && entry.compiled.valid)) continue;
        const std::optional<AssetRecord> record = registry.Copy(handle);
        if (!record) continue;
        entry.compiled = CompileMaterialForAsset(*record, entry.material, &resolver, outputFolder);
        entry.dirty = false;
        ReportMaterialCompile(record->name, entry.compiled);
        result.compiled.push_back(handle);
    }

    for (const AssetRecord& record : records) {
        const auto found = materials.find(record.handle);
        if (found == materials.end() || !found->second.isInstance) continue;
        if (!ResolveMaterialInstance(record.handle, registry, materials, resolver, outputFolder)) {
            ReportMaterialCompile(record.name, found->second.compiled);
        }
    }
    return result;
}

} // namespace Brelk::Assets
