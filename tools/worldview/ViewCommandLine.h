#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Brelk::WorldView {

// Everything the command line says.
struct WorldViewOptions {
    std::filesystem::path worldPath;
    std::filesystem::path pngPath; // empty: no picture
    // Pixels per terrain sample; absent: the largest that keeps the picture within
    // kDefaultPictureSide pixels a side.
    std::optional<std::uint32_t> scale;
};

inline constexpr std::string_view kViewUsageText =
    "usage: brelk-worldview --world <path.bworld> [--png <file.png>] [--scale N]\n";

enum class ViewCommandLineParse {
    Ok,
    // An argument that is no option, or no world: the caller prints the usage text.
    Usage,
};

// Option and value as two arguments each, a later option overriding an earlier one, as
// brelk-worldgen reads its own. Throws std::runtime_error "missing value for <option>" for
// an option at the end, the number conversion's errors for a bad --scale and "--scale must
// be at least 1" for a zero one; an argument that is no option stops the parse with Usage.
ViewCommandLineParse ParseViewCommandLine(std::span<const std::string> args, WorldViewOptions& options);

// Makes the world and picture paths absolute against the current folder.
void ResolveViewPaths(WorldViewOptions& options);

} // namespace Brelk::WorldView
