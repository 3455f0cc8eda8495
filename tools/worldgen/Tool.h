#pragma once

#include "tools/worldgen/CommandLine.h"
#include "tools/worldgen/Settings.h"

#include <iosfwd>
#include <span>
#include <string>

namespace Brelk::WorldGen {

inline constexpr int kExitDone = 0;
inline constexpr int kExitError = 1;
inline constexpr int kExitUsage = 2;

// The whole tool for the arguments behind the program's name: parse, resolve the paths,
// generate, print the summary. Writes the usage text or one "brelk-worldgen: " error line to
// `err` and the summary line to `out`. Returns kExitDone, kExitError or kExitUsage; every
// std::exception ends as an error line and kExitError.
int RunWorldGenTool(std::span<const std::string> args, std::ostream& out, std::ostream& err);

// "World <path>: <n> cells, <n> entities, <MB> MB of cell files, <MB> MB estimated resident
// when fully loaded; memory budget <MB> MB. Scene <path>" and a line feed; the megabytes as
// six significant digits.
std::string FormatSummaryLine(const std::filesystem::path& worldPath, const WorldGenerationResult& result,
                              const Scene::WorldPartitionComponent& partition, const std::filesystem::path& scenePath);

} // namespace Brelk::WorldGen
