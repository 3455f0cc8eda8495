// The folder scan of a project with 10,000 small sources: the first scan, which writes a
// sidecar for each, and a rescan of the unchanged folder, which reads each sidecar once and
// writes nothing.
#include "engine/assets/AssetRegistry.h"
#include "engine/core/Guid.h"
#include "engine/core/Logger.h"

#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

namespace fs = std::filesystem;
using Brelk::Assets::AssetRegistry;
using Brelk::Assets::AssetSourceMode;

constexpr int kFolders = 100;
constexpr int kFilesPerFolder = 100;
constexpr std::array<std::string_view, 5> kExtensions{".png", ".bmat", ".bscene", ".bclip", ".wav"};

class ProjectFolder {
public:
    ProjectFolder() : root_(fs::temp_directory_path() / ("brelk-bench-" + Brelk::Core::Guid::New().ToString())) {
        for (int folder = 0; folder < kFolders; ++folder) {
            const fs::path directory = root_ / ("Folder" + std::to_string(folder));
            fs::create_directories(directory);
            for (int file = 0; file < kFilesPerFolder; ++file) {
                const std::string name =
                    "Asset" + std::to_string(file) + std::string(kExtensions[file % kExtensions.size()]);
                std::ofstream(directory / name, std::ios::binary) << "content " << folder << ' ' << file << '\n';
            }
        }
    }
    ~ProjectFolder() {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }
    const fs::path& Root() const { return root_; }

private:
    fs::path root_;
};

// The scan logs nothing for a clean project; keeping the threshold up makes sure that a
// stray line never turns into a terminal-bound measurement.
void QuietLog() { Brelk::Core::Logger::Get().SetAllThresholds(Brelk::Core::LogLevel::Error); }

void BM_FirstScanOf10000Files(benchmark::State& state) {
    QuietLog();
    for (auto _ : state) {
        state.PauseTiming();
        auto project = std::make_unique<ProjectFolder>();
        AssetRegistry registry;
        state.ResumeTiming();
        registry.SetContentRoot(project->Root(), AssetSourceMode::Authoring);
        state.PauseTiming();
        if (registry.AllRecords().size() != kFolders * kFilesPerFolder) {
            state.SkipWithError("the scan missed files");
        }
        project.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kFolders * kFilesPerFolder);
}
BENCHMARK(BM_FirstScanOf10000Files)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_RescanOfUnchanged10000Files(benchmark::State& state) {
    QuietLog();
    ProjectFolder project;
    AssetRegistry registry;
    registry.SetContentRoot(project.Root(), AssetSourceMode::Authoring);
    for (auto _ : state) {
        registry.Rescan();
    }
    state.SetItemsProcessed(state.iterations() * kFolders * kFilesPerFolder);
}
BENCHMARK(BM_RescanOfUnchanged10000Files)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_ReadOnlyScanOf10000FilesWithoutSidecars(benchmark::State& state) {
    QuietLog();
    ProjectFolder project;
    AssetRegistry registry;
    for (auto _ : state) {
        registry.SetContentRoot(project.Root(), AssetSourceMode::ReadOnly);
    }
    state.SetItemsProcessed(state.iterations() * kFolders * kFilesPerFolder);
}
BENCHMARK(BM_ReadOnlyScanOf10000FilesWithoutSidecars)->Unit(benchmark::kMillisecond)->MinTime(2.0);

} // namespace
