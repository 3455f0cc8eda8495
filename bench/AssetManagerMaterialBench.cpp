#include "engine/assets/AssetManager.h"
#include "engine/core/Logger.h"
#include "engine/core/TaskSystem.h"
#include "engine/platform/Folders.h"
#include "engine/platform/SecureRandom.h"
#include "tests/support/TestSupport.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace Brelk::Assets;
using Brelk::Core::Tasks::TaskSystem;

constexpr int kMaterials = 100;

// A content folder of 100 surface materials, each named apart so that each has shader
// files of its own, and the templates where a program's shader build looks for them.
struct Project {
    fs::path root = fs::temp_directory_path() / ("brelk-bench-" + Brelk::Platform::RandomGuidText());

    Project() {
        for (int i = 0; i < kMaterials; ++i) {
            Brelk::Testing::WriteText(root / "Content" / ("Material_" + std::to_string(i) + ".bmat"),
                                      "version 3\nroughness 0." + std::to_string(i) + "\n");
        }
        const fs::path templates = Brelk::Platform::GetExecutableFolder() / "Assets" / "Shaders";
        fs::create_directories(templates);
        fs::copy(fs::path(BRELK_SOURCE_DIR) / "assets" / "shaders", templates, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
        Brelk::Core::Logger::Get().SetAllThresholds(Brelk::Core::LogLevel::Off);
    }
    ~Project() {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }

    void UseSettings(const std::string& name) const {
        ::setenv("BRELK_USER_SETTINGS_DIR", (root / name).c_str(), 1);
    }
};

Project& TheProject() {
    static Project project;
    return project;
}

void Initialize() {
    AssetManager manager;
    manager.Initialize(TheProject().root / "Content", AssetSourceMode::Authoring);
    benchmark::DoNotOptimize(manager.GetRegistry().AllRecords().size());
}

// Every shader of every material built: 200 compiler runs spread over the workers.
void InitializeCold(benchmark::State& state) {
    TaskSystem system;
    TaskSystem* previous = TaskSystem::Install(&system);
    int run = 0;
    for (auto _ : state) {
        TheProject().UseSettings("Cold" + std::to_string(run++));
        Initialize();
    }
    TaskSystem::Install(previous);
}
BENCHMARK(InitializeCold)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

// Every shader file stands: the start reads, compiles the graphs and checks files.
void InitializeWarm(benchmark::State& state) {
    TaskSystem system;
    TaskSystem* previous = TaskSystem::Install(&system);
    TheProject().UseSettings("Warm");
    Initialize();
    for (auto _ : state) Initialize();
    TaskSystem::Install(previous);
}
BENCHMARK(InitializeWarm)->UseRealTime()->Unit(benchmark::kMillisecond);

// The floor: the bare scan of the same content folder, every sidecar in place.
void ScanFloor(benchmark::State& state) {
    TheProject().UseSettings("Warm");
    for (auto _ : state) {
        AssetRegistry registry;
        registry.SetContentRoot(TheProject().root / "Content", AssetSourceMode::Authoring);
        benchmark::DoNotOptimize(registry.AllRecords().size());
    }
}
BENCHMARK(ScanFloor)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
