#include "tools/worldgen/Tool.h"

#include "engine/assets/AssetManager.h"
#include "engine/core/NumberText.h"
#include "engine/core/TaskSystem.h"
#include "engine/platform/Environment.h"
#include "engine/platform/Files.h"
#include "engine/scene/InstallComponents.h"
#include "tools/worldgen/PersistentScene.h"
#include "tools/worldgen/ProgressLine.h"
#include "tools/worldgen/WorldGenerator.h"

#include <charconv>
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

constexpr std::uint32_t kMaxWorkerThreads = 256;

int RunSteps(std::span<const std::string> args, std::ostream& out, std::ostream& err, bool showProgress) {
    WorldGenOptions options;
    if (ParseCommandLine(args, options) == CommandLineParse::Usage) {
        err << kUsageText << std::flush;
        return kExitUsage;
    }
    ResolveToolPaths(options);

    // The services come up in this order and go down in the reverse one on every way out:
    // the asset manager first, then the current task system is put back, then the pool
    // itself stops. Error lines of a false result are written before that shutdown.
    Core::Tasks::TaskSystemConfig config;
    config.ioThreadCount = 1;
    config.workerCount = WorkerThreadsFromEnvironment();
    const Core::Tasks::ScopedTaskSystem tasks(config);
    Scene::InstallComponents();
    Assets::AssetManager assetManager;
    assetManager.Initialize(options.contentPath, Assets::AssetSourceMode::Authoring);

    WorldGenerationResult result;
    std::string error;
    bool generated = false;
    {
        ProgressLine progress(err);
        GenerationProgressFn report;
        if (showProgress) report = [&progress](const GenerationProgress& now) { progress.Update(now); };
        try {
            generated = GenerateProceduralWorld(assetManager, options.worldPath, options.settings, &result, &error, report);
        } catch (...) {
            progress.Erase();
            throw;
        }
        progress.Erase();
    }
    if (!generated) {
        WriteErrorLine(err, error);
        return kExitError;
    }
    Scene::WorldPartitionComponent partition = options.partition;
    if (!WritePersistentScene(assetManager, options.scenePath, options.worldPath, partition, &error)) {
        WriteErrorLine(err, error);
        return kExitError;
    }
    out << FormatSummaryLine(options.worldPath, result, options.partition, options.scenePath) << std::flush;
    return kExitDone;
}

} // namespace

std::string FormatSummaryLine(const std::filesystem::path& worldPath, const WorldGenerationResult& result,
                              const Scene::WorldPartitionComponent& partition, const std::filesystem::path& scenePath) {
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

std::optional<std::uint32_t> WorkerThreadsFromEnvironment() {
    const std::optional<std::string> text = Platform::GetEnvironmentValue("BRELK_WORKER_THREADS");
    if (!text) return std::nullopt;
    std::uint32_t value = 0;
    const char* end = text->data() + text->size();
    const auto [stop, code] = std::from_chars(text->data(), end, value);
    if (code != std::errc{} || stop != end || value > kMaxWorkerThreads) return std::nullopt;
    return value;
}

int RunWorldGenTool(std::span<const std::string> args, std::ostream& out, std::ostream& err, bool showProgress) {
    try {
        return RunSteps(args, out, err, showProgress);
    } catch (const std::exception& exception) {
        WriteErrorLine(err, exception.what());
        return kExitError;
    }
}

} // namespace Brelk::WorldGen
