#pragma once

#include "engine/scene/components/WorldComponents.h"
#include "tools/worldgen/Settings.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace Brelk::WorldGen {

// Streaming budgets that the command line sets for the persistent scene's world partition.
// The streaming values of the world's partition component that the command line sets; the
// rest keep the component's defaults, and `world` is filled in when the scene is written.
Scene::WorldPartitionComponent DefaultPartition() noexcept;

// Everything the command line says.
struct WorldGenOptions {
    std::filesystem::path contentPath;
    std::filesystem::path worldPath = "Worlds/Procedural.bworld";
    std::filesystem::path scenePath = "Scenes/Main.bscene";
    ProceduralWorldSettings settings;
    Scene::WorldPartitionComponent partition = DefaultPartition();
};

inline constexpr std::string_view kUsageText =
    "usage: brelk-worldgen --content <Content> [--world Worlds/Procedural.bworld] [--scene Scenes/Main.bscene]\n"
    "       [--cells N] [--cell-size M] [--props N] [--terrain N] [--seed N] [--memory-budget-mb MB]\n"
    "       [--load-radius M] [--unload-radius M] [--frame-budget-ms MS]\n";

enum class CommandLineParse {
    Ok,
    // An argument that is no option, or no content folder: the caller prints the usage text.
    Usage,
};

// Parses the arguments behind the program's name: option and value as two arguments each,
// a later option overriding an earlier one. Throws std::runtime_error "missing value for
// <option>" for an option at the end, and the number conversions' errors for a bad value;
// an argument that is no option stops the parse with Usage wherever it stands.
CommandLineParse ParseCommandLine(std::span<const std::string> args, WorldGenOptions& options);

// Makes the content path absolute (throwing std::filesystem::filesystem_error for
// "absolute") and puts relative world and scene paths below it. Nothing is normalised.
void ResolveToolPaths(WorldGenOptions& options);

// Number conversion of option values, with the C library's rules in base 10: leading white
// space and a sign are accepted and text behind the number is ignored ("12abc" is 12).
// Throws std::invalid_argument ("invalid stoi argument", ...) when nothing converts and
// std::out_of_range ("stoi argument out of range", ...) when the value does not fit.
std::int32_t ConvertSignedArgument(std::string_view text);
// 32 bits wide; a minus sign wraps the value as the C library does ("-1" is 4294967295).
std::uint32_t ConvertUnsignedArgument(std::string_view text);
// Also takes "inf", "nan" and hexadecimal floats; a result that overflows, or underflows
// with a loss of precision, is out of range.
float ConvertFloatArgument(std::string_view text);

} // namespace Brelk::WorldGen
