#pragma once

#include "tools/worldgen/CommandLine.h"
#include "tools/worldgen/Settings.h"

#include <iosfwd>
#include <optional>
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
// With `showProgress` (standard error is a terminal), a progress line stands on `err` while
// the cells are written and is erased before anything else is printed.
int RunWorldGenTool(std::span<const std::string> args, std::ostream& out, std::ostream& err,
                    bool showProgress = false);

// The worker threads of the tool's task system: BRELK_WORKER_THREADS when it is a number
// from 0 to 256, else the machine's choice.
std::optional<std::uint32_t> WorkerThreadsFromEnvironment();

// "World <path>: <n> cells, <n> entities, <MB> MB of cell files, <MB> MB estimated resident
// when fully loaded; memory budget <MB> MB. Scene <path>" and a line feed; the megabytes as
// six significant digits.
std::string FormatSummaryLine(const std::filesystem::path& worldPath, const WorldGenerationResult& result,
                              const Scene::WorldPartitionComponent& partition, const std::filesystem::path& scenePath);

} // namespace Brelk::WorldGen
