#include "tools/worldview/WorldCheck.h"

#include "engine/core/NumberText.h"
#include "engine/core/TaskSystem.h"
#include "engine/platform/Files.h"

#include <algorithm>
#include <charconv>
#include <deque>
#include <exception>
#include <memory>
#include <optional>
#include <system_error>
#include <unordered_set>

namespace Brelk::WorldView {
namespace {

constexpr std::string_view kCellExtension = ".bcell";

void AddProblem(WorldCheckReport& report, std::string problem) {
    ++report.problemCount;
    if (report.problems.size() < kMaxReportedProblems) report.problems.push_back(std::move(problem));
}

template <class Number>
std::string Disagreement(Number found, std::string_view what, Number listed) {
    std::string text;
    Core::AppendInteger(text, found);
    text += ' ';
    text += what;
    text += ", the world asset says ";
    Core::AppendInteger(text, listed);
    return text;
}

std::uint64_t CoordKey(WorldGen::CellCoord coord) noexcept {
    return static_cast<std::uint32_t>(coord.x) | (std::uint64_t{static_cast<std::uint32_t>(coord.z)} << 32);
}

// The coordinates of a file named exactly as the generator names cells, "cell_<x>_<z>.bcell".
std::optional<WorldGen::CellCoord> ParseCellFileName(std::string_view name) {
    constexpr std::string_view kPrefix = "cell_";
    if (!name.starts_with(kPrefix) || !name.ends_with(kCellExtension)) return std::nullopt;
    const std::string_view body = name.substr(kPrefix.size(), name.size() - kPrefix.size() - kCellExtension.size());
    WorldGen::CellCoord coord;
    const char* end = body.data() + body.size();
    const auto x = std::from_chars(body.data(), end, coord.x);
    if (x.ec != std::errc() || x.ptr == end || *x.ptr != '_') return std::nullopt;
    const auto z = std::from_chars(x.ptr + 1, end, coord.z);
    if (z.ec != std::errc() || z.ptr != end) return std::nullopt;
    // "cell_01_2" or "cell_+1_2" would name no cell of the generator's.
    if (WorldGen::CellFileStem(coord) + std::string(kCellExtension) != name) return std::nullopt;
    return coord;
}

// Entities that the world asset counts: those that no other entity of the file holds.
std::uint64_t CountTopLevel(const Scene::SceneDocument& document) {
    std::unordered_set<Core::Guid> present;
    present.reserve(document.entities.size());
    for (const Scene::SceneEntityBlock& entity : document.entities) present.insert(entity.guid);
    return std::count_if(document.entities.begin(), document.entities.end(), [&](const Scene::SceneEntityBlock& e) {
        return !e.parent.IsValid() || !present.contains(e.parent);
    });
}

bool HasTerrain(const Scene::SceneDocument& document) {
    return std::any_of(document.entities.begin(), document.entities.end(), [](const Scene::SceneEntityBlock& entity) {
        return std::any_of(entity.records.begin(), entity.records.end(), [](const Scene::SceneComponentBlock& block) {
            return block.record.name == "TerrainComponent";
        });
    });
}

// Reads and parses one cell; false when nothing more can be said of it.
bool LoadCell(const std::filesystem::path& path, const WorldGen::WorldCellEntry& cell, WorldGen::CellPayload& payload,
              WorldCheckReport& report) {
    std::error_code ec;
    const std::uintmax_t size = std::filesystem::file_size(path, ec);
    if (ec == std::errc::no_such_file_or_directory) {
        AddProblem(report, CellProblem(cell.coord, "missing from the cells folder"));
        return false;
    }
    if (!ec && size > kMaxCellFileBytes) {
        std::string what;
        Core::AppendInteger(what, size);
        what += " bytes, more than a cell file may hold (";
        Core::AppendInteger(what, kMaxCellFileBytes);
        what += ")";
        AddProblem(report, CellProblem(cell.coord, what));
        return false;
    }
    std::string error;
    std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path, &error);
    if (!bytes) {
        AddProblem(report, CellProblem(cell.coord, error));
        return false;
    }
    payload.coord = cell.coord;
    payload.bytes = std::move(*bytes);
    report.fileBytes += payload.bytes.size();
    if (payload.bytes.size() != cell.fileBytes) {
        AddProblem(report, CellProblem(cell.coord, Disagreement<std::uint64_t>(payload.bytes.size(), "bytes",
                                                                               cell.fileBytes)));
    }
    if (!WorldGen::ParseCellPayload(payload.bytes, payload, path, &error)) {
        AddProblem(report, CellProblem(cell.coord, error));
        return false;
    }
    return true;
}

struct CellTask {
    Core::Tasks::TaskCounter counter;
    std::shared_ptr<WorldCheckReport> report;
};

void Merge(WorldCheckReport& into, const WorldCheckReport& part) {
    into.entityCount += part.entityCount;
    into.fileBytes += part.fileBytes;
    into.estimatedBytes += part.estimatedBytes;
    into.problemCount += part.problemCount;
    for (const std::string& problem : part.problems) {
        if (into.problems.size() < kMaxReportedProblems) into.problems.push_back(problem);
    }
}

void CheckUnlistedFiles(const std::filesystem::path& folder, const std::unordered_set<std::uint64_t>& listed,
                        WorldCheckReport& report) {
    std::error_code ec;
    std::filesystem::directory_iterator it(folder, ec);
    if (ec) {
        // A missing folder has shown as a missing file for every listed cell already.
        if (ec != std::errc::no_such_file_or_directory) {
            AddProblem(report, "Cannot list " + Platform::PathToUtf8(folder) + ": " + ec.message());
        }
        return;
    }
    std::vector<std::string> names;
    for (; it != std::filesystem::directory_iterator(); it.increment(ec)) {
        if (ec) break;
        const std::filesystem::path name = it->path().filename();
        if (name.extension() == kCellExtension) names.push_back(name.string());
    }
    if (ec) AddProblem(report, "Cannot list " + Platform::PathToUtf8(folder) + ": " + ec.message());
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        const std::optional<WorldGen::CellCoord> coord = ParseCellFileName(name);
        if (!coord) {
            AddProblem(report, name + ": not named like a cell, \"cell_<x>_<z>.bcell\"");
        } else if (!listed.contains(CoordKey(*coord))) {
            AddProblem(report, CellProblem(*coord, "not listed in the world asset"));
        }
    }
}

} // namespace

std::string CellProblem(WorldGen::CellCoord coord, std::string_view what) {
    std::string text = WorldGen::CellFileStem(coord);
    text += " (";
    Core::AppendInteger(text, coord.x);
    text += ", ";
    Core::AppendInteger(text, coord.z);
    text += "): ";
    text += what;
    return text;
}

void CheckCellFile(const std::filesystem::path& path, const WorldGen::WorldCellEntry& cell, const CellVisitor& visitor,
                   WorldCheckReport& report) {
    WorldGen::CellPayload payload;
    bool loaded = false;
    try {
        loaded = LoadCell(path, cell, payload, report);
    } catch (const std::exception& failure) {
        // Out of memory on a hostile file, say: a problem of this cell, not the end of the check.
        AddProblem(report, CellProblem(cell.coord, failure.what()));
    }
    if (!loaded) {
        if (visitor) visitor(cell, nullptr);
        return;
    }
    const Scene::SceneDocument& document = payload.document;
    report.entityCount += document.entities.size();
    report.estimatedBytes += payload.estimatedBytes;
    const std::uint64_t topLevel = CountTopLevel(document);
    if (topLevel != cell.entityCount) {
        AddProblem(report, CellProblem(cell.coord, Disagreement<std::uint64_t>(topLevel, "top-level entities",
                                                                               cell.entityCount)));
    }
    const bool terrain = HasTerrain(document);
    if (terrain != (cell.terrainCount > 0)) {
        AddProblem(report, CellProblem(cell.coord, terrain ? "has a terrain that the world asset does not list"
                                                           : "has no terrain though the world asset lists one"));
    }
    if (!visitor) return;
    try {
        visitor(cell, &payload);
    } catch (const std::exception& failure) {
        AddProblem(report, CellProblem(cell.coord, failure.what()));
    }
}

void CheckWorldCells(const std::filesystem::path& worldPath, const WorldGen::WorldAsset& world,
                     const CellVisitor& visitor, WorldCheckReport& report, std::size_t maxInFlight) {
    Core::Tasks::TaskSystem& tasks = Core::Tasks::TaskSystem::Get();
    if (maxInFlight == 0) maxInFlight = 2 * (std::size_t{tasks.WorkerCount()} + 1);
    report.cellCount = static_cast<std::uint32_t>(world.cells.size());

    // Results are taken in the world's order, oldest first, so problems come out in the order
    // of the file whichever worker finishes first, and at most `maxInFlight` cells are held.
    std::deque<CellTask> inFlight;
    const auto takeOldest = [&] {
        tasks.Wait(inFlight.front().counter);
        Merge(report, *inFlight.front().report);
        inFlight.pop_front();
    };
    // On the way out by an exception no task may still use the visitor or the caller's state.
    struct Drain {
        Core::Tasks::TaskSystem& tasks;
        std::deque<CellTask>& inFlight;
        ~Drain() {
            for (const CellTask& task : inFlight) {
                try {
                    tasks.Wait(task.counter);
                } catch (...) {
                    // The exception on its way out is the one reported.
                }
            }
        }
    } drain{tasks, inFlight};
    std::unordered_set<std::uint64_t> listed;
    listed.reserve(world.cells.size());
    for (const WorldGen::WorldCellEntry& cell : world.cells) {
        if (!listed.insert(CoordKey(cell.coord)).second) {
            // Waiting keeps the order of the problems; duplicates are rare enough.
            while (!inFlight.empty()) takeOldest();
            AddProblem(report, CellProblem(cell.coord, "listed more than once in the world asset"));
            continue;
        }
        if (inFlight.size() >= maxInFlight) takeOldest();
        auto part = std::make_shared<WorldCheckReport>();
        std::filesystem::path path = WorldGen::CellFilePath(worldPath, cell.coord);
        Core::Tasks::TaskCounter counter =
            tasks.Submit(Core::Tasks::TaskPriority::Normal, [part, cell, path = std::move(path), &visitor] {
                CheckCellFile(path, cell, visitor, *part);
            });
        inFlight.push_back(CellTask{std::move(counter), std::move(part)});
    }
    while (!inFlight.empty()) takeOldest();
    CheckUnlistedFiles(WorldGen::CellsFolder(worldPath), listed, report);
}

} // namespace Brelk::WorldView
