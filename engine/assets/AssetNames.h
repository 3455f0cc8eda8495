#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Brelk::Assets {

// The name of a new asset's file from a name a user typed: every byte that is not an ASCII
// letter or digit, '_' or '-' becomes '_', then leading '_' go. "My Mat!" gives "My_Mat_",
// "__x" gives "x", "!!!" gives "". Also the stem of generated shader files.
std::string CleanAssetName(std::string_view name);

// `folder`/`stem``extension` if nothing stands there, else the first free
// `stem`_1`extension`, `stem`_2`extension`, ...
std::filesystem::path FirstFreeAssetPath(const std::filesystem::path& folder, std::string_view stem,
                                         std::string_view extension);

} // namespace Brelk::Assets
