#include "tools/worldview/ViewTool.h"

#include "engine/core/NumberText.h"
#include "engine/core/TaskSystem.h"
#include "engine/platform/Files.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/InstallComponents.h"
#include "tools/worldview/CellDrawing.h"
#include "tools/worldview/ViewCommandLine.h"

#include <exception>
#include <memory>
#include <optional>
#include <ostream>

namespace Brelk::WorldView {
namespace {

constexpr std::string_view kErrorPrefix = "brelk-worldview: ";
constexpr double kBytesToMegabytes = 9.5367431640625e-7; // 2^-20
// Cells tried for the terrain's sample spacing before the picture falls back to a default.
constexpr std::size_t kSpacingProbes = 8;

void WriteErrorLine(std::ostream& err, std::string_view message) {
    std::string line(kErrorPrefix);
    line += message;
    line += '\n';
    err << line;
}

// Draws every cell that parsed and marks the others; a cell whose components do not load is
// marked too, and its failure becomes the cell's problem.
CellVisitor DrawInto(WorldCanvas& canvas, const Scene::ComponentLoadTable& table) {
    return [&canvas, &table](const WorldGen::WorldCellEntry& cell, WorldGen::CellPayload* payload) {
        if (payload == nullptr) {
            canvas.MarkUnreadable(cell.coord);
            return;
        }
        CellDrawing drawing;
        try {
            ExtractCellDrawing(*payload, table, drawing);
        } catch (const std::exception&) {
            canvas.MarkUnreadable(cell.coord);
            throw;
        }
        canvas.DrawCell(cell.coord, drawing);
    };
}

// One error line per kept problem, the count of the others and the total; true if any.
bool ReportProblems(std::ostream& err, const std::filesystem::path& worldPath, const WorldCheckReport& report) {
    for (const std::string& problem : report.problems) WriteErrorLine(err, problem);
    if (report.problemCount > report.problems.size()) {
        std::string more = "and ";
        Core::AppendInteger(more, report.problemCount - report.problems.size());
        WriteErrorLine(err, more + " more problems");
    }
    if (report.problemCount == 0) return false;
    std::string line = "World " + Platform::PathToUtf8(worldPath) + ": ";
    Core::AppendInteger(line, report.problemCount);
    line += report.problemCount == 1 ? " problem." : " problems.";
    WriteErrorLine(err, line);
    return true;
}

int RunSteps(std::span<const std::string> args, std::ostream& out, std::ostream& err) {
    WorldViewOptions options;
    if (ParseViewCommandLine(args, options) == ViewCommandLineParse::Usage) {
        err << kViewUsageText << std::flush;
        return kViewExitUsage;
    }
    ResolveViewPaths(options);

    Core::Tasks::TaskSystemConfig config;
    config.ioThreadCount = 1;
    const Core::Tasks::ScopedTaskSystem tasks(config);
    Scene::InstallComponents();

    std::string error;
    WorldGen::WorldAsset world;
    if (!WorldGen::ReadWorldAsset(options.worldPath, world, &error)) {
        WriteErrorLine(err, error);
        err << std::flush;
        return kViewExitError;
    }

    const Scene::ComponentLoadTable table;
    const bool drawing = !options.pngPath.empty();
    PictureGeometry geometry;
    std::unique_ptr<WorldCanvas> canvas;
    if (drawing) {
        const double spacing = FindSampleSpacing(options.worldPath, world, table);
        if (!PlanPicture(world, spacing, options.scale, geometry, &error)) {
            WriteErrorLine(err, error);
            err << std::flush;
            return kViewExitError;
        }
        canvas = std::make_unique<WorldCanvas>(geometry);
    }
    const CellVisitor visitor = canvas ? DrawInto(*canvas, table) : CellVisitor();

    WorldCheckReport report;
    CheckWorldCells(options.worldPath, world, visitor, report);

    // The picture is written even of a damaged world: it shows where the damage lies.
    bool failed = false;
    if (canvas) {
        if (!WriteWorldPicture(*canvas, options.pngPath, &error)) {
            WriteErrorLine(err, error);
            failed = true;
        }
    }
    failed = ReportProblems(err, options.worldPath, report) || failed;
    err << std::flush;
    if (failed) return kViewExitError;
    out << FormatViewSummary(options.worldPath, report, options.pngPath, drawing ? &geometry : nullptr)
        << std::flush;
    return kViewExitDone;
}

} // namespace

double FindSampleSpacing(const std::filesystem::path& worldPath, const WorldGen::WorldAsset& world,
                         const Scene::ComponentLoadTable& table) {
    std::size_t probes = 0;
    for (const WorldGen::WorldCellEntry& cell : world.cells) {
        if (cell.terrainCount == 0) continue;
        if (probes++ == kSpacingProbes) break;
        const std::filesystem::path path = WorldGen::CellFilePath(worldPath, cell.coord);
        std::optional<std::vector<std::uint8_t>> bytes;
        std::error_code ec;
        if (std::filesystem::file_size(path, ec) > kMaxCellFileBytes || ec) continue;
        if (!(bytes = Platform::ReadFileBytes(path, nullptr))) continue;
        WorldGen::CellPayload payload;
        payload.bytes = std::move(*bytes);
        if (!WorldGen::ParseCellPayload(payload.bytes, payload, path, nullptr)) continue;
        CellDrawing drawing;
        try {
            ExtractCellDrawing(payload, table, drawing);
        } catch (const std::exception&) {
            continue;
        }
        for (const TerrainTile& tile : drawing.terrains) {
            if (tile.resolutionX >= 2 && tile.width > 0.0f) return tile.width / (tile.resolutionX - 1.0);
        }
    }
    return 0.0;
}

std::string FormatViewSummary(const std::filesystem::path& worldPath, const WorldCheckReport& report,
                              const std::filesystem::path& pngPath, const PictureGeometry* picture) {
    std::string line = "World ";
    line += Platform::PathToUtf8(worldPath);
    line += ": ";
    Core::AppendInteger(line, report.cellCount);
    line += " cells, ";
    Core::AppendInteger(line, report.entityCount);
    line += " entities, ";
    Core::AppendDouble6(line, static_cast<double>(report.fileBytes) * kBytesToMegabytes);
    line += " MB of cell files, ";
    Core::AppendDouble6(line, static_cast<double>(report.estimatedBytes) * kBytesToMegabytes);
    line += " MB estimated resident from their payloads";
    if (picture != nullptr) {
        line += "; picture ";
        line += Platform::PathToUtf8(pngPath);
        line += ", ";
        Core::AppendInteger(line, picture->width);
        line += " x ";
        Core::AppendInteger(line, picture->height);
        line += " pixels";
    }
    line += ".\n";
    return line;
}

int RunWorldViewTool(std::span<const std::string> args, std::ostream& out, std::ostream& err) {
    try {
        return RunSteps(args, out, err);
    } catch (const std::exception& exception) {
        WriteErrorLine(err, exception.what());
        err << std::flush;
        return kViewExitError;
    }
}

} // namespace Brelk::WorldView
