#pragma once

#include <cstdint>

namespace Brelk::Assets {

// Whether the content folder may be written. ReadOnly never creates, renames or rewrites
// anything in it, and the folder must exist.
enum class AssetSourceMode : std::uint32_t {
    Authoring = 0,
    ReadOnly = 1,
};

} // namespace Brelk::Assets
