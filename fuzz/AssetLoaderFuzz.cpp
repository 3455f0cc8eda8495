// Random sequences of requests, releases, pins, reloads, updates and waits against assets
// that fail, throw, take their time or find dependencies. The loader's invariants must hold
// after every operation, and no job may outlive the loader.
#include "engine/assets/loader/tests/AssetLoaderHarness.h"
#include "engine/core/Logger.h"
#include "engine/core/TaskSystem.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Brelk::Core::Tasks::TaskSystem* tasks = [] {
        // Failed loads log an error each; the log is not what is under test.
        Brelk::Core::Logger::Get().SetThreshold(Brelk::Core::LogCategory::Assets, Brelk::Core::LogLevel::Fatal);
        Brelk::Core::Tasks::TaskSystemConfig config;
        config.workerCount = 2;
        config.ioThreadCount = 1;
        auto* system = new Brelk::Core::Tasks::TaskSystem(config);
        Brelk::Core::Tasks::TaskSystem::Install(system);
        return system;
    }();
    (void)tasks;
    const std::string failure = Brelk::Assets::Testing::LoaderScript({data, size}).Play();
    if (!failure.empty()) {
        std::fprintf(stderr, "Asset loader invariant broken: %s\n", failure.c_str());
        std::abort();
    }
    return 0;
}
