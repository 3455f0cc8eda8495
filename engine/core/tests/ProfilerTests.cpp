#include "engine/core/Profiler.h"

#include "engine/core/Guid.h"
#include "engine/core/Logger.h"
#include "engine/core/tests/Deadline.h"
#include "engine/platform/Thread.h"
#include "engine/platform/Time.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

namespace Brelk::Core {
namespace {

using Testing::kDeadline;
using Testing::RunWithDeadline;

std::string ReadText(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::stringstream text;
    text << stream.rdbuf();
    return text.str();
}

class TemporaryFolder {
public:
    TemporaryFolder()
        : path_(std::filesystem::temp_directory_path() / ("brelk_profiler_test_" + Guid::New().ToString())) {}
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

ProfilerSettings Recording() {
    ProfilerSettings settings;
    settings.cpuProfilingEnabled = true;
    return settings;
}

// The process-wide recorder, recording and empty for the test, and off again afterwards.
class ProcessRecorder : public ::testing::Test {
protected:
    void SetUp() override {
        ProfilerRecorder::Instance().SetSettings(Recording());
        ProfilerRecorder::Instance().Clear();
    }
    void TearDown() override {
        ProfilerRecorder::Instance().SetSettings(ProfilerSettings{});
        ProfilerRecorder::Instance().Clear();
    }
};

// ---- Recording -------------------------------------------------------------------------

TEST(ProfilerRecorder, RecordsNothingWhileCpuProfilingIsOff) {
    ProfilerRecorder recorder;
    EXPECT_FALSE(recorder.IsRecording());
    const ProfilerRecorder::ZoneToken token = recorder.OpenZone("Assets", "Load");
    EXPECT_EQ(token.index, -1);
    recorder.BeginFrame();
    recorder.EndFrame({});
    EXPECT_TRUE(recorder.Snapshot().frames.empty());
}

TEST(ProfilerRecorder, PausedRecordsNothing) {
    ProfilerRecorder recorder;
    ProfilerSettings settings = Recording();
    settings.paused = true;
    recorder.SetSettings(settings);
    EXPECT_FALSE(recorder.IsRecording());
    EXPECT_EQ(recorder.OpenZone("Assets", "Load").index, -1);
    recorder.SetPaused(false);
    EXPECT_TRUE(recorder.IsRecording());
}

TEST(ProfilerRecorder, ClosedZoneBecomesACompleteEvent) {
    ProfilerRecorder recorder;
    recorder.SetCpuProfilingEnabled(true);
    recorder.CloseZone(recorder.OpenZone("Assets", "AssetLoader::SweepUnused"));
    const ProfilerSnapshot snapshot = recorder.Snapshot();
    ASSERT_EQ(snapshot.frames.size(), 1u);
    ASSERT_EQ(snapshot.frames[0].events.size(), 1u);
    const ProfilerEvent& event = snapshot.frames[0].events[0];
    EXPECT_EQ(event.eventId, 1u);
    EXPECT_EQ(event.frameId, snapshot.frames[0].frameId);
    EXPECT_EQ(event.kind, ProfilerEventKind::Cpu);
    EXPECT_EQ(event.name, "AssetLoader::SweepUnused");
    EXPECT_EQ(event.category, "Assets");
    EXPECT_EQ(event.parentIndex, -1);
    EXPECT_EQ(event.depth, 0);
    EXPECT_TRUE(event.complete);
    EXPECT_GE(event.endNanoseconds, event.startNanoseconds);
    EXPECT_DOUBLE_EQ(event.startMilliseconds, static_cast<double>(event.startNanoseconds) / 1.0e6);
    EXPECT_DOUBLE_EQ(event.durationMilliseconds,
                     static_cast<double>(event.endNanoseconds - event.startNanoseconds) / 1.0e6);
}

TEST(ProfilerRecorder, NestedZonesKnowTheirParentAndDepth) {
    ProfilerRecorder recorder;
    recorder.SetCpuProfilingEnabled(true);
    const auto outer = recorder.OpenZone("Scene", "Outer");
    const auto middle = recorder.OpenZone("Scene", "Middle");
    recorder.CloseZone(recorder.OpenZone("Scene", "Inner"));
    recorder.CloseZone(middle);
    recorder.CloseZone(recorder.OpenZone("Scene", "Sibling"));
    recorder.CloseZone(outer);
    const std::vector<ProfilerEvent> events = recorder.Snapshot().frames.at(0).events;
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(events[0].name, "Outer");
    EXPECT_EQ(events[0].depth, 0);
    EXPECT_EQ(events[0].parentIndex, -1);
    EXPECT_EQ(events[1].depth, 1);
    EXPECT_EQ(events[1].parentIndex, 0);
    EXPECT_EQ(events[2].depth, 2);
    EXPECT_EQ(events[2].parentIndex, 1);
    EXPECT_EQ(events[3].name, "Sibling");
    EXPECT_EQ(events[3].depth, 1);
    EXPECT_EQ(events[3].parentIndex, 0);
}

TEST(ProfilerRecorder, ZoneStillOpenAtTheSnapshotIsIncomplete) {
    ProfilerRecorder recorder;
    recorder.SetCpuProfilingEnabled(true);
    const auto open = recorder.OpenZone("Render", "Open");
    const ProfilerSnapshot snapshot = recorder.Snapshot();
    recorder.CloseZone(open);
    const ProfilerEvent& event = snapshot.frames.at(0).events.at(0);
    EXPECT_FALSE(event.complete);
    EXPECT_GE(event.endNanoseconds, event.startNanoseconds);
    EXPECT_TRUE(recorder.Snapshot().frames.at(0).events.at(0).complete);
}

TEST(ProfilerRecorder, FramesCarryTheirCountersAndOnlyTheHistorySizeIsKept) {
    ProfilerRecorder recorder;
    ProfilerSettings settings = Recording();
    settings.historySize = 2;
    recorder.SetSettings(settings);
    for (std::uint64_t i = 1; i <= 3; ++i) {
        recorder.BeginFrame();
        recorder.CloseZone(recorder.OpenZone("Render", "Draw"));
        ProfilerFrameCounters counters;
        counters.drawCalls = i * 10;
        recorder.EndFrame(counters);
    }
    const ProfilerSnapshot snapshot = recorder.Snapshot();
    ASSERT_EQ(snapshot.frames.size(), 2u);
    EXPECT_EQ(snapshot.frames[0].frameId, 2u);
    EXPECT_EQ(snapshot.frames[0].counters.drawCalls, 20u);
    EXPECT_EQ(snapshot.frames[1].frameId, 3u);
    EXPECT_EQ(snapshot.frames[1].counters.drawCalls, 30u);
    EXPECT_EQ(snapshot.frames[1].events.at(0).frameId, 3u);
    EXPECT_GE(snapshot.frames[1].frameStartNanoseconds, snapshot.frames[0].frameStartNanoseconds);
}

TEST(ProfilerRecorder, ZoneThatSpansAFrameEndCompletesInItsOwnFrame) {
    ProfilerRecorder recorder;
    recorder.SetCpuProfilingEnabled(true);
    recorder.BeginFrame();
    const auto spanning = recorder.OpenZone("Core", "Spanning");
    recorder.EndFrame({});
    recorder.BeginFrame();
    const auto child = recorder.OpenZone("Core", "Child");
    recorder.CloseZone(child);
    recorder.CloseZone(spanning);
    const ProfilerSnapshot snapshot = recorder.Snapshot();
    ASSERT_EQ(snapshot.frames.size(), 2u);
    EXPECT_TRUE(snapshot.frames[0].events.at(0).complete);
    // The parent lives in the earlier frame, so the child has no index to point at.
    EXPECT_EQ(snapshot.frames[1].events.at(0).parentIndex, -1);
    EXPECT_EQ(snapshot.frames[1].events.at(0).depth, 1);
}

TEST(ProfilerRecorder, DisabledCategoryIsListedButNotRecorded) {
    ProfilerRecorder recorder;
    recorder.SetCpuProfilingEnabled(true);
    recorder.SetCategoryEnabled("Physics", false);
    EXPECT_EQ(recorder.OpenZone("Physics", "Step").index, -1);
    recorder.CloseZone(recorder.OpenZone("Audio", "Mix"));
    const ProfilerSnapshot snapshot = recorder.Snapshot();
    ASSERT_EQ(snapshot.categories.size(), 2u);
    EXPECT_EQ(snapshot.categories[0].name, "Physics");
    EXPECT_FALSE(snapshot.categories[0].enabled);
    EXPECT_EQ(snapshot.categories[1].name, "Audio");
    EXPECT_TRUE(snapshot.categories[1].enabled);
    ASSERT_EQ(snapshot.frames.at(0).events.size(), 1u);
    EXPECT_EQ(snapshot.frames[0].events[0].name, "Mix");
}

TEST(ProfilerRecorder, ZonesOpenAcrossAClearAreDropped) {
    ProfilerRecorder recorder;
    recorder.SetCpuProfilingEnabled(true);
    const auto before = recorder.OpenZone("Core", "Before");
    recorder.Clear();
    recorder.CloseZone(before);
    EXPECT_TRUE(recorder.Snapshot().frames.empty());
}

TEST(ProfilerRecorder, GpuZonesNeedGpuProfiling) {
    ProfilerRecorder recorder;
    recorder.SetCpuProfilingEnabled(true);
    recorder.RecordGpuZone("Render", "Shadows", 100, 400);
    EXPECT_TRUE(recorder.Snapshot().frames.empty());
    ProfilerSettings settings = Recording();
    settings.gpuProfilingEnabled = true;
    recorder.SetSettings(settings);
    recorder.RecordGpuZone("Render", "Shadows", 100, 400);
    const ProfilerEvent event = recorder.Snapshot().frames.at(0).events.at(0);
    EXPECT_EQ(event.kind, ProfilerEventKind::Gpu);
    EXPECT_EQ(event.startNanoseconds, 100u);
    EXPECT_EQ(event.endNanoseconds, 400u);
    EXPECT_DOUBLE_EQ(event.durationMilliseconds, 0.0003);
    EXPECT_TRUE(event.complete);
}

TEST_F(ProcessRecorder, ScopedZonesNameTheirThread) {
    RunWithDeadline(kDeadline, [] {
        std::thread([] {
            Platform::SetCurrentThreadName("Brelk Profiled Thread");
            ProfilerZone zone("Core", "Named");
        }).join();
        std::thread([] { BRELK_PROFILE_ZONE("Core", "Unnamed"); }).join();
    });
    const std::vector<ProfilerEvent> events = ProfilerRecorder::Instance().Snapshot().frames.at(0).events;
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].threadName, "Brelk Profiled Thread");
    EXPECT_EQ(events[1].threadName, "Thread " + std::to_string(events[1].threadIndex));
    EXPECT_NE(events[0].threadIndex, events[1].threadIndex);
}

TEST_F(ProcessRecorder, ZonesFromManyThreadsAreAllRecorded) {
    RunWithDeadline(kDeadline, [] {
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([] {
                for (int i = 0; i < 200; ++i) {
                    BRELK_PROFILE_ZONE("Core", "Outer");
                    BRELK_PROFILE_ZONE("Core", "Inner");
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    });
    const ProfilerSnapshot snapshot = ProfilerRecorder::Instance().Snapshot();
    const std::vector<ProfilerEvent>& events = snapshot.frames.at(0).events;
    ASSERT_EQ(events.size(), 1600u);
    for (std::size_t i = 0; i < events.size(); ++i) {
        EXPECT_TRUE(events[i].complete);
        if (events[i].name == "Inner") {
            ASSERT_GE(events[i].parentIndex, 0);
            const ProfilerEvent& parent = events[static_cast<std::size_t>(events[i].parentIndex)];
            EXPECT_EQ(parent.name, "Outer");
            EXPECT_EQ(parent.threadIndex, events[i].threadIndex);
        }
    }
}

// ---- Document --------------------------------------------------------------------------

TEST(ProfilerCaptureDocument, EmptyCaptureHasNoFramesAndEscapesText) {
    ProfilerCaptureMetadata metadata;
    metadata.label = "a\"b\n\x01\xff";
    EXPECT_EQ(FormatProfilerCapture(ProfilerSnapshot{}, metadata, "2024-01-02T03:04:05"),
              ReadText(std::filesystem::path(BRELK_TEST_DATA_DIR) / "EmptyCapture.json"));
}

TEST(ProfilerCaptureDocument, FrameWithOneEventMatchesTheGoldenFile) {
    ProfilerSnapshot snapshot;
    snapshot.categories.push_back({"Assets", true});
    ProfilerFrame& frame = snapshot.frames.emplace_back();
    frame.frameId = 3;
    frame.frameStartNanoseconds = 1500000;
    frame.frameStartMilliseconds = 1.5;
    frame.frameDurationMilliseconds = 16.25;
    ProfilerEvent& event = frame.events.emplace_back();
    event.eventId = 9;
    event.frameId = 3;
    event.name = "Zone";
    event.category = "Assets";
    event.threadIndex = 0;
    event.threadName = "Thread 0";
    event.startNanoseconds = 1500000;
    event.endNanoseconds = 2000000;
    event.startMilliseconds = 1.5;
    event.durationMilliseconds = 0.5;
    event.complete = true;
    EXPECT_EQ(FormatProfilerCapture(snapshot, {}, "2024-01-02T03:04:05"),
              ReadText(std::filesystem::path(BRELK_TEST_DATA_DIR) / "OneFrameCapture.json"));
}

TEST(ProfilerCaptureDocument, SummaryAveragesAndPeaksOverFrames) {
    ProfilerSnapshot snapshot;
    for (const double workingSet : {100.0, 300.0}) {
        ProfilerFrame& frame = snapshot.frames.emplace_back();
        frame.frameDurationMilliseconds = 20.0;
        frame.counters.processWorkingSetMb = workingSet;
        frame.counters.processPeakWorkingSetMb = workingSet + 50.0;
        frame.counters.drawCalls = static_cast<std::uint64_t>(workingSet);
    }
    const std::string text = FormatProfilerCapture(snapshot, {}, "x");
    EXPECT_NE(text.find("\"processWorkingSetMb\": {\n      \"average\": 200,\n      \"maximum\": 300\n    }"),
              std::string::npos);
    EXPECT_NE(text.find("\"averageFps\": 50,"), std::string::npos);
    EXPECT_NE(text.find("\"averageDrawCalls\": 200,"), std::string::npos);
    EXPECT_NE(text.find("\"peakProcessWorkingSetMb\": 350,"), std::string::npos);
    EXPECT_NE(text.find("\"frameCount\": 2,"), std::string::npos);
}

// ---- Export ----------------------------------------------------------------------------

TEST_F(ProcessRecorder, ExportWritesTheSnapshotUnderTheGivenNameAndLogsIt) {
    TemporaryFolder folder;
    { BRELK_PROFILE_ZONE("Assets", "Exported"); }
    std::uint64_t before = 0;
    (void)Logger::Get().HistorySince(~std::uint64_t{0}, &before);
    ::testing::internal::CaptureStdout();
    std::string error;
    const std::optional<std::filesystem::path> path =
        ExportProfilerCapture(folder.Path() / "captures", "run.json", ProfilerCaptureMetadata{}, &error);
    const std::string output = ::testing::internal::GetCapturedStdout();
    ASSERT_TRUE(path.has_value()) << error;
    EXPECT_EQ(*path, folder.Path() / "captures" / "run.json");
    const std::string text = ReadText(*path);
    EXPECT_TRUE(std::regex_search(text, std::regex(R"("exportedAt": "\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d",)")));
    EXPECT_NE(text.find("\"name\": \"Exported\", \"category\": \"Assets\""), std::string::npos);
    const std::vector<LogEntry> logged = Logger::Get().HistorySince(before);
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0].level, LogLevel::Info);
    EXPECT_EQ(logged[0].message, "Exported profiler capture: " + path->string());
    EXPECT_NE(output.find("Exported profiler capture: "), std::string::npos);
}

TEST(ProfilerCaptureExport, GeneratedNameTakesACounterWhileTheNameIsTaken) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path());
    // Every stamp that the export can see in the next seconds is taken already.
    std::vector<std::string> stamps;
    const std::time_t now = std::time(nullptr);
    for (std::time_t t = now; t <= now + 3; ++t) {
        std::tm parts{};
        ASSERT_TRUE(Platform::LocalTime(t, &parts));
        char stamp[32];
        std::strftime(stamp, sizeof(stamp), "%Y%m%d_%H%M%S", &parts);
        stamps.emplace_back(stamp);
        std::ofstream(folder.Path() / ("brelk_profiler_" + stamps.back() + ".json")) << "taken";
    }
    ::testing::internal::CaptureStdout();
    const std::optional<std::filesystem::path> path =
        ExportProfilerCapture(ProfilerSnapshot{}, folder.Path(), "", ProfilerCaptureMetadata{});
    (void)::testing::internal::GetCapturedStdout();
    ASSERT_TRUE(path.has_value());
    const std::string name = path->filename().string();
    EXPECT_TRUE(std::any_of(stamps.begin(), stamps.end(),
                            [&](const std::string& stamp) { return name == "brelk_profiler_" + stamp + "_1.json"; }))
        << name;
    EXPECT_NE(ReadText(*path).find("\"frameCount\": 0,"), std::string::npos);
}

TEST(ProfilerCaptureExport, FolderThatCannotBeCreatedFails) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path());
    std::ofstream(folder.Path() / "blocker") << "x";
    const std::filesystem::path target = folder.Path() / "blocker" / "captures";
    std::string error;
    EXPECT_FALSE(ExportProfilerCapture(ProfilerSnapshot{}, target, "a.json", {}, &error).has_value());
    EXPECT_EQ(error, "Failed to create profiler capture directory: " + target.string());
}

TEST(ProfilerCaptureExport, TargetThatCannotBeReplacedFails) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path() / "occupied" / "inner");
    std::string error;
    EXPECT_FALSE(ExportProfilerCapture(ProfilerSnapshot{}, folder.Path(), "occupied", {}, &error).has_value());
    EXPECT_EQ(error, "Failed while writing profiler capture file: " + (folder.Path() / "occupied").string());
}

} // namespace
} // namespace Brelk::Core
