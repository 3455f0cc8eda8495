#include "tools/worldgen/Tool.h"

#include "engine/core/NumberText.h"
#include "engine/platform/Files.h"
#include "tools/worldgen/WorldGenerator.h"

#include <exception>
#include <ostream>

namespace Brelk::WorldGen {

namespace {

constexpr std::string_view kErrorPrefix = "brelk-worldgen: ";
constexpr double kBytesToMegabytes = 9.5367431640625e-7; // 2^-20

void WriteErrorLine(std::ostream& err, std::string_view message) {
    std::string line(kErrorPrefix);
    line += message;
    line += '\n';
    err << line << std::flush;
}

int RunSteps(std::span<const std::string> args, std::ostream& out, std::ostream& err) {
    WorldGenOptions options;
    if (ParseCommandLine(args, options) == CommandLineParse::Usage) {
        err << kUsageText << std::flush;
        return kExitUsage;
    }
    ResolveToolPaths(options);

    WorldGenerationResult result;
    std::string error;
    if (!GenerateProceduralWorld(options.worldPath, options.settings, &result, &error)) {
        WriteErrorLine(err, error);
        return kExitError;
    }
    out << FormatSummaryLine(options.worldPath, result, options.partition, options.scenePath) << std::flush;
    return kExitDone;
}

} // namespace

std::string FormatSummaryLine(const std::filesystem::path& worldPath, const WorldGenerationResult& result,
                              const PartitionOptions& partition, const std::filesystem::path& scenePath) {
    std::string line = "World ";
    line += Platform::PathToUtf8(worldPath);
    line += ": ";
    Core::AppendInteger(line, result.cellCount);
    line += " cells, ";
    Core::AppendInteger(line, result.entityCount);
    line += " entities, ";
    Core::AppendDouble6(line, static_cast<double>(result.cellFileBytes) * kBytesToMegabytes);
    line += " MB of cell files, ";
    Core::AppendDouble6(line, static_cast<double>(result.residentBytes) * kBytesToMegabytes);
    line += " MB estimated resident when fully loaded; memory budget ";
    Core::AppendDouble6(line, static_cast<double>(partition.memoryBudgetMegabytes));
    line += " MB. Scene ";
    line += Platform::PathToUtf8(scenePath);
    line += '\n';
    return line;
}

int RunWorldGenTool(std::span<const std::string> args, std::ostream& out, std::ostream& err) {
    try {
        return RunSteps(args, out, err);
    } catch (const std::exception& exception) {
        WriteErrorLine(err, exception.what());
        return kExitError;
    }
}

} // namespace Brelk::WorldGen
