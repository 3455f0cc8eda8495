#pragma once

#include "engine/assets/AssetRecord.h"
#include "engine/assets/materials/MaterialCompiledState.h"
#include "engine/assets/materials/MaterialHash.h"
#include "engine/assets/materials/MaterialShaders.h"

#include <filesystem>
#include <functional>
#include <optional>
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
// throws for. A cooked file's shaders and flags go to `cooked`, which a text file empties.
[[nodiscard]] bool LoadMaterialAssetFile(const AssetRecord& record, const AssetRegistry& registry,
                                         MaterialAsset& material, std::string* error = nullptr,
                                         std::optional<CookedMaterial>* cooked = nullptr);

// Takes the shaders that a cooked material carries into `packagedShaders` under the shader
// file names (`<shaderName>.vert.spv`, `.frag.spv`, `.shadow.frag.spv`; empty blobs are
// passed over) and returns its flags. A surface or post process that claims to draw with
// them (bit 1) but lacks a stage or a name loses the claim and gets the error "The cooked
// material carries no shaders.".
std::uint32_t TakeCookedShaders(const CookedMaterial& cooked, PackagedShaderFiles& packagedShaders,
                                std::vector<MaterialDiagnostic>& diagnostics);

// The shader file stem of an asset name: each character that is neither alphanumeric nor
// `_` nor `-` becomes `_`, leading `_` go; "Material" if nothing is left.
std::string MaterialShaderStem(std::string_view name);

// Compiles a material as its record names it, into `outputFolder`. An exception of the
// compiler becomes the error "Material compile failed: <text>".
MaterialCompiledState CompileMaterialForAsset(const AssetRecord& record, const MaterialAsset& material,
                                              const MaterialGraphResolver* resolver,
                                              const std::filesystem::path& outputFolder);

// Compiles an entry that is not an instance, unless `force` is off and it is clean, has a
// result and that result is of its graph's revision; with `build`, a compile with shader
// text then gets its shader files on this thread. Clears the dirty flag. True if it
// compiled; the outcome is not logged.
bool CompileMaterialEntry(const AssetRecord& record, MaterialEntry& entry, const MaterialGraphResolver* resolver,
                          const std::filesystem::path& outputFolder, const MaterialShaderBuild* build, bool force);

// Logs a compile's outcome: with an error "Failed to compile material asset '<name>': " and
// the first error; otherwise each warning as "Material '<name>': <message>".
void ReportMaterialCompile(std::string_view name, const MaterialCompiledState& state);

// The textures a material refers to, in slot, override and node order, each once: what a
// load of the material depends on.
std::vector<AssetHandle> MaterialTextureDependencies(const MaterialAsset& material);

// Gives an instance its base's compile result (and domain), compiling the base first when
// it has none or is out of date; an instance whose base can't be had (missing, or a chain
// of instances that loops) gets an empty result with the error "Material instance has an
// invalid parent material.". A base compiled here is logged. True if the result succeeded.
bool ResolveMaterialInstance(AssetHandle handle, const AssetRegistry& registry, MaterialTable& materials,
                             const MaterialGraphResolver& resolver, const std::filesystem::path& outputFolder,
                             const MaterialShaderBuild* build = nullptr);

struct MaterialLoadResult {
    std::vector<AssetHandle> loaded;   // read from disk by this call
    std::vector<AssetHandle> compiled; // compiled by this call, instances not counted
};

struct MaterialLoadOptions {
    // Decides whether a record's file is read again; the manager passes its stamp check.
    // Empty: always.
    std::function<bool(const AssetRecord& record, bool alreadyLoaded)> shouldLoad;
    // Told of each file read, after it went into the table.
    std::function<void(const AssetRecord& record)> onLoaded;
    // Null: no shader files are built.
    const MaterialShaderBuild* build = nullptr;
    // Where cooked materials' shaders go; null: they are dropped.
    PackagedShaderFiles* packagedShaders = nullptr;
};

// The family's share of a content load: reads every material file of the registry (not
// built-ins or sub-assets) into `materials`, logging "Failed to load material asset
// '<name>': <message>" for one that fails and keeping its old entry; marks every earlier
// material dirty when a function changed; compiles what is dirty or was never compiled;
// builds the shader files that are missing, one task each on the task system's workers,
// and waits for them; logs each outcome; then resolves the instances to their bases.
// `resolver` must see `materials`.
MaterialLoadResult LoadMaterialAssetsFromRegistry(const AssetRegistry& registry, MaterialTable& materials,
                                                  const MaterialGraphResolver& resolver,
                                                  const std::filesystem::path& outputFolder,
                                                  const MaterialLoadOptions& options = {});

} // namespace Brelk::Assets
