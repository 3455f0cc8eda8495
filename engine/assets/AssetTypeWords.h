#pragma once

#include "engine/reflection/AssetType.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace Brelk::Assets {

// The word that sidecars write for a type ("mesh", "rigdefinition"); "unknown" for 0 and
// for numbers outside the table.
std::string_view AssetTypeWord(AssetType type) noexcept;

// The reverse over the values 0 to 20, exact; a word that is no type's gives Unknown.
AssetType AssetTypeFromWord(std::string_view word) noexcept;

// The type of a source by its extension (".png", with the dot), compared in lower case.
// Every extension that no asset family reads, ".bcell" and ".bmeta" among them, is Unknown.
AssetType AssetTypeOfExtension(std::string_view extension) noexcept;
AssetType AssetTypeOfPath(const std::filesystem::path& path);

// The path's extension with its dot, in ASCII lower case; empty when it has none.
std::string LowerExtension(const std::filesystem::path& path);

} // namespace Brelk::Assets
