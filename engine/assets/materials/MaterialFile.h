#pragma once

#include "engine/assets/materials/MaterialAsset.h"
#include "engine/reflection/AssetType.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace Brelk::Assets {

class AssetRegistry;
struct CookedMaterial;

// Version 3 files name assets by reference text; version 1, written without a registry,
// stores bare handles.
inline constexpr std::uint32_t kMaterialFileVersion = 3;
inline constexpr std::uint32_t kMaterialFileLegacyVersion = 1;

// `.bmat`, `.bmatpp`, `.bmatinst` or `.bmatfunc`, in any case.
bool IsMaterialExtension(const std::filesystem::path& path);

// The material file's text, as WriteMaterialAsset writes it.
std::string SerializeMaterialAsset(const MaterialAsset& material, const AssetRegistry* registry);

// Writes the text form through the engine's atomic file writer. Creates the parent folders
// first and throws std::filesystem::filesystem_error "create_directories" when that fails;
// a failed write is false with "Failed to open material asset for writing.".
[[nodiscard]] bool WriteMaterialAsset(const std::filesystem::path& path, const MaterialAsset& material,
                                      const AssetRegistry* registry, std::string* error = nullptr);

// Fills `material` from a text or cooked (BMAT) file. The graph and the overrides are
// replaced; every other field keeps its value unless a line sets it. References that don't
// resolve are logged, and their slot becomes 0. False with "Failed to open material asset
// file." or the cooked file's message; a node property `asset` or `default_texture` that
// isn't a number, with a registry, throws std::invalid_argument "stoull".
[[nodiscard]] bool ReadMaterialAsset(const std::filesystem::path& path, MaterialAsset& material,
                                     const AssetRegistry* registry, std::string* error = nullptr,
                                     CookedMaterial* cooked = nullptr);

// The same over a file's bytes already in memory; `path` names the file in messages. A
// cooked file's other fields (its shaders) go to `cooked` when it is given; a text file
// leaves it alone.
[[nodiscard]] bool ReadMaterialAssetBytes(std::span<const std::uint8_t> bytes, const std::filesystem::path& path,
                                          MaterialAsset& material, const AssetRegistry* registry,
                                          std::string* error = nullptr, CookedMaterial* cooked = nullptr);

// The text of a material file, parsed; `path` names the file in messages.
void ParseMaterialText(std::string_view text, const std::filesystem::path& path, MaterialAsset& material,
                       const AssetRegistry* registry);

// A bare numeric handle of an old file: kept without a registry, dropped (0) where a
// current file can't hold one, else mapped to the live asset through the legacy table, with
// a warning when it moves or doesn't resolve.
AssetHandle MigrateLegacyMaterialHandle(std::uint64_t value, const AssetRegistry* registry,
                                        const std::filesystem::path& path, std::string_view label, bool legacyAllowed);

// A reference text of a material file; 0, with a warning, when it names nothing known.
AssetHandle ResolveMaterialReference(std::string_view text, const AssetRegistry* registry,
                                     const std::filesystem::path& path, std::string_view label, AssetType expectedType);

} // namespace Brelk::Assets
