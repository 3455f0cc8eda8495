#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Brelk::Assets {

// The names that stand beside a source and follow it when it is renamed, in this order:
// its sidecar (".bmeta"), its imported-material override folder (".materials") and the cell
// folder of a world (".cells").
std::vector<std::filesystem::path> CompanionPaths(const std::filesystem::path& sourcePath);

// The companions of a source that exist, in the order above.
std::vector<std::filesystem::path> ExistingCompanions(const std::filesystem::path& sourcePath);

// Moves each existing companion of `oldSource` to the same name beside `newSource`. A
// companion that already exists at the new name is left alone and reported as
// "Sidecar already exists: <path>"; the others are still moved. False if any failed; the
// first failure's message goes to `error`.
[[nodiscard]] bool RenameCompanions(const std::filesystem::path& oldSource, const std::filesystem::path& newSource,
                                    std::string* error = nullptr);

// Renames a source and, only if that worked, its companions, so that the asset keeps its
// sidecar and with it its Guid.
[[nodiscard]] bool RenameAssetSource(const std::filesystem::path& oldSource, const std::filesystem::path& newSource,
                                     std::string* error = nullptr);

} // namespace Brelk::Assets
