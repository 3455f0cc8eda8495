#include "engine/assets/loader/tests/AssetLoaderHarness.h"

#include "engine/core/Logger.h"
#include "engine/core/TaskSystem.h"
#include "tests/support/Deadline.h"

#include <gtest/gtest.h>

#include <random>

namespace Brelk::Assets {
namespace {

// The fuzz target's scripts on real threads, for ThreadSanitizer: random scripts from a
// fixed seed, so that a failure can be played again.
TEST(AssetLoaderStress, RandomScriptsKeepTheInvariantsWithJobsOnWorkerThreads) {
    Brelk::Testing::RunWithDeadline(Brelk::Testing::kDeadline, [] {
        // Every failed load logs an error; the log is not what is under test.
        struct QuietAssets {
            Core::Logger& logger = Core::Logger::Get();
            const Core::LogLevel threshold = logger.Threshold(Core::LogCategory::Assets);
            QuietAssets() { logger.SetThreshold(Core::LogCategory::Assets, Core::LogLevel::Fatal); }
            ~QuietAssets() { logger.SetThreshold(Core::LogCategory::Assets, threshold); }
        } quiet;
        const Core::Tasks::ScopedTaskSystem tasks(Core::Tasks::TaskSystemConfig{2, 1, std::nullopt});
        std::mt19937 random(20261124);
        for (int script = 0; script < 200; ++script) {
            std::vector<std::uint8_t> bytes(600);
            for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
            const std::string failure = Testing::LoaderScript(bytes).Play();
            ASSERT_EQ(failure, "") << "script " << script;
        }
    });
}

} // namespace
} // namespace Brelk::Assets
