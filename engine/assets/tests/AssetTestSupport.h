#pragma once

#include "engine/core/Guid.h"
#include "engine/core/Logger.h"
#include "engine/core/Profiler.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets::Testing {

using Brelk::Testing::ListFiles;
using Brelk::Testing::ReadText;
using Brelk::Testing::ScopedEnvironmentVariable;
using Brelk::Testing::ScratchFolder;
using Brelk::Testing::ThrownMessage;
using Brelk::Testing::WriteText;

// Sets a file's time into the past, so that any later write shows in its time.
inline void AgeFile(const std::filesystem::path& path) {
    std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(48));
}

// The messages that the global logger took from the moment of construction on.
class LogCapture {
public:
    LogCapture() { Core::Logger::Get().HistorySince(~std::uint64_t{0}, &start_); }

    std::vector<std::string> Messages(Core::LogLevel level) const {
        std::vector<std::string> messages;
        for (const Core::LogEntry& entry : Core::Logger::Get().HistorySince(start_)) {
            if (entry.level == level && entry.category == Core::LogCategory::Assets) {
                messages.push_back(entry.message);
            }
        }
        return messages;
    }

private:
    std::uint64_t start_ = 0;
};

// The names of the zones of `category` that `run` completed while CPU profiling was on.
template <class Fn>
std::set<std::string> ProfiledZones(std::string_view category, Fn&& run) {
    Core::ProfilerRecorder& recorder = Core::ProfilerRecorder::Instance();
    recorder.Clear();
    recorder.SetCpuProfilingEnabled(true);
    run();
    recorder.SetCpuProfilingEnabled(false);
    std::set<std::string> zones;
    for (const Core::ProfilerFrame& frame : recorder.Snapshot().frames) {
        for (const Core::ProfilerEvent& event : frame.events) {
            if (event.category == category && event.complete) zones.insert(event.name);
        }
    }
    recorder.Clear();
    return zones;
}

// A scratch project whose user settings (texture caches, generated shaders) stay inside it.
class ProjectTest : public ::testing::Test {
protected:
    std::filesystem::path Content(std::string_view relative = {}) const {
        return relative.empty() ? root_ / "Content" : root_ / "Content" / relative;
    }

    ScratchFolder root_;
    ScopedEnvironmentVariable settings_{"BRELK_USER_SETTINGS_DIR", root_ / "Settings"};
};

} // namespace Brelk::Assets::Testing
