#pragma once

#include "engine/assets/AssetRecord.h"
#include "engine/assets/materials/MaterialCompiledState.h"
#include "engine/assets/materials/MaterialHash.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Brelk::Assets {

class AssetRegistry;
struct CookedMaterial;

// A loaded material as the asset manager keeps it.
struct MaterialEntry {
    MaterialAsset material;
    MaterialCompiledState compiled; // `valid` once a compile ran
    bool dirty = true;
    bool isInstance = false;
};

using MaterialTable = std::unordered_map<AssetHandle, MaterialEntry, MaterialIdHash>;

// The file of a material record, read with the registry; `material.handle` is the record's.
// False with the reader's message, also for a malformed node property that the reader
// throws for.
[[nodiscard]] bool LoadMaterialAssetFile(const AssetRecord& record, const AssetRegistry& registry,
                                         MaterialAsset& material, std::string* error = nullptr,
                                         CookedMaterial* cooked = nullptr);

// A packaged project's compiled shaders, by file name.
using PackagedShaderTable = std::unordered_map<std::string, std::vector<std::uint8_t>>;

// Takes the shaders that a cooked material carries into `packagedShaders` under the shader
// file names (`<shaderName>.vert.spv`, `.frag.spv`, `.shadow.frag.spv`; empty blobs are
// passed over) and returns its flags. A surface or post process that claims to draw with
// them (bit 1) but lacks a stage or a name loses the claim and gets the error "The cooked
// material carries no shaders.".
std::uint32_t TakeCookedShaders(const CookedMaterial& cooked, PackagedShaderTable& packagedShaders,
                                std::vector<MaterialDiagnostic>& diagnostics);

// The shader file stem of an asset name: each character that is neither alphanumeric nor
// `_` nor `-` becomes `_`, leading `_` go; "Material" if nothing is left.
std::string MaterialShaderStem(std::string_view name);

// Compiles a material as its record names it, into `outputFolder`. An exception of the
// compiler becomes the error "Material compile failed: <text>".
MaterialCompiledState CompileMaterialForAsset(const AssetRecord& record, const MaterialAsset& material,
                                              const MaterialGraphResolver* resolver,
                                              const std::filesystem::path& outputFolder);

// Logs a compile's outcome: with an error "Failed to compile material asset '<name>': " and
// the first error; otherwise each warning as "Material '<name>': <message>".
void ReportMaterialCompile(std::string_view name, const MaterialCompiledState& state);

// The textures a material refers to, in slot, override and node order, each once: what a
// load of the material depends on.
std::vector<AssetHandle> MaterialTextureDependencies(const MaterialAsset& material);

// Gives an instance its base's compile result, compiling the base first when it has none;
// an instance whose base can't be had gets an empty result with the error "Material
// instance has an invalid parent material.". True if the result succeeded.
bool ResolveMaterialInstance(AssetHandle handle, const AssetRegistry& registry, MaterialTable& materials,
                             const MaterialGraphResolver& resolver, const std::filesystem::path& outputFolder);

struct MaterialLoadResult {
    std::vector<AssetHandle> loaded;   // read from disk by this call
    std::vector<AssetHandle> compiled; // compiled by this call, instances not counted
};

// Decides whether a record's file is read again; the manager passes its stamp check. Empty:
// always.
using ShouldLoadMaterial = std::function<bool(const AssetRecord& record, bool alreadyLoaded)>;

// The family's share of a content load: reads every material file of the registry (not
// built-ins or sub-assets) into `materials`, logging "Failed to load material asset
// '<name>': <message>" for one that fails and keeping its old entry; marks every earlier
// material dirty when a function changed; compiles what is dirty or was never compiled
// and logs the outcome; then resolves the instances to their bases. `resolver` must see
// `materials`. Shader files are not built here.
MaterialLoadResult LoadMaterialAssetsFromRegistry(const AssetRegistry& registry, MaterialTable& materials,
                                                  const MaterialGraphResolver& resolver,
                                                  const std::filesystem::path& outputFolder,
                                                  const ShouldLoadMaterial& shouldLoad = {});

} // namespace Brelk::Assets
