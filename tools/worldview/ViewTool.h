#pragma once

#include "tools/worldview/WorldCheck.h"
#include "tools/worldview/WorldPicture.h"

#include <filesystem>
#include <iosfwd>
#include <span>
#include <string>

namespace Brelk::Scene {
class ComponentLoadTable;
}

namespace Brelk::WorldView {

inline constexpr int kViewExitDone = 0;
inline constexpr int kViewExitError = 1;
inline constexpr int kViewExitUsage = 2;

// The whole tool for the arguments behind the program's name: read the world asset, check
// every cell on the task system's workers, draw the picture if asked, print the summary.
// Writes the usage text or "brelk-worldview: " error lines (one per problem found, up to
// kMaxReportedProblems) to `err` and the summary line to `out`. Returns kViewExitDone,
// kViewExitError or kViewExitUsage; every std::exception ends as an error line and
// kViewExitError.
int RunWorldViewTool(std::span<const std::string> args, std::ostream& out, std::ostream& err);

// Metres between two terrain samples of the first listed terrain that loads, trying at most
// a few cells; 0 when none does.
double FindSampleSpacing(const std::filesystem::path& worldPath, const WorldGen::WorldAsset& world,
                         const Scene::ComponentLoadTable& table);

// "World <path>: <n> cells, <n> entities, <MB> MB of cell files, <MB> MB estimated resident
// from their payloads", then "; picture <path>, <w> x <h> pixels" when one was drawn, ".",
// and a line feed; the megabytes as six significant digits.
std::string FormatViewSummary(const std::filesystem::path& worldPath, const WorldCheckReport& report,
                              const std::filesystem::path& pngPath, const PictureGeometry* picture);

} // namespace Brelk::WorldView
