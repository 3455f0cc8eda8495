#include "engine/core/Profiler.h"

#include "engine/core/Logger.h"
#include "tests/support/Deadline.h"
#include "engine/platform/Thread.h"
#include "engine/platform/Time.h"
#include "tests/support/TestSupport.h"
#include "tests/support/TextCases.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace Brelk::Core {
namespace {

using Brelk::Testing::ReadText;
using Brelk::Testing::ScratchFolder;
using Brelk::Testing::WriteText;
using Testing::kDeadline;
using Testing::RunWithDeadline;

// The process-wide recorder, recording from a clean start and left stopped and empty.
struct ProcessRecorder : ::testing::Test {
    static void Reset(const ProfilerSettings& settings) {
        ProfilerRecorder::Instance().SetSettings(settings);
        ProfilerRecorder::Instance().Clear();
    }
    void SetUp() override { Reset({.cpuProfilingEnabled = true}); }
    void TearDown() override { Reset({}); }
};

std::string Describe(const ProfilerEvent& event) {
    return (event.kind == ProfilerEventKind::Gpu ? "gpu " : "cpu ") + event.category + "/" + event.name + " depth " +
           std::to_string(event.depth) + " parent " + std::to_string(event.parentIndex) +
           (event.complete ? "" : " open");
}

std::vector<std::string> Describe(const std::vector<ProfilerEvent>& events) {
    std::vector<std::string> lines;
    for (const ProfilerEvent& event : events) lines.push_back(Describe(event));
    return lines;
}

// ---- Recording -------------------------------------------------------------------------

TEST(ProfilerRecorder, RecordsOnlyEnabledCategoriesWhileCpuProfilingIsOnAndNotPaused) {
    ProfilerRecorder recorder;
    EXPECT_EQ(recorder.OpenZone("Assets", "Load").index, -1);
    recorder.SetSettings({.paused = true, .cpuProfilingEnabled = true});
    EXPECT_EQ(recorder.OpenZone("Assets", "Load").index, -1);
    recorder.RecordGpuZone("Render", "Shadows", 100, 400);
    EXPECT_TRUE(recorder.Snapshot().frames.empty());
    recorder.SetPaused(false);
    recorder.SetCategoryEnabled("Physics", false);
    EXPECT_EQ(recorder.OpenZone("Physics", "Step").index, -1);
    recorder.RecordGpuZone("Render", "Shadows", 100, 400);
    recorder.CloseZone(recorder.OpenZone("Audio", "Mix"));
    recorder.SetSettings({.cpuProfilingEnabled = true, .gpuProfilingEnabled = true});
    recorder.RecordGpuZone("Render", "Shadows", 100, 400);
    const ProfilerSnapshot snapshot = recorder.Snapshot();
    std::string categories;
    for (const auto& category : snapshot.categories) categories += category.name + (category.enabled ? " on;" : " off;");
    EXPECT_EQ(categories, "Physics off;Audio on;Render on;");
    EXPECT_EQ(Describe(snapshot.frames.at(0).events),
              (std::vector<std::string>{"cpu Audio/Mix depth 0 parent -1", "gpu Render/Shadows depth 0 parent -1"}));
    const ProfilerEvent& gpu = snapshot.frames[0].events[1];
    EXPECT_EQ(std::tuple(gpu.startNanoseconds, gpu.endNanoseconds, gpu.startMilliseconds, gpu.durationMilliseconds),
              std::tuple(100u, 400u, 0.0001, 0.0003));
}

TEST(ProfilerRecorder, NestedZonesKnowTheirParentDepthAndTimes) {
    ProfilerRecorder recorder;
    recorder.SetCpuProfilingEnabled(true);
    const auto outer = recorder.OpenZone("Scene", "Outer");
    const auto middle = recorder.OpenZone("Scene", "Middle");
    recorder.CloseZone(recorder.OpenZone("Scene", "Inner"));
    recorder.CloseZone(middle);
    recorder.CloseZone(recorder.OpenZone("Scene", "Sibling"));
    const ProfilerSnapshot open = recorder.Snapshot();
    recorder.CloseZone(outer);
    const ProfilerSnapshot snapshot = recorder.Snapshot();
    EXPECT_EQ(Describe(snapshot.frames.at(0).events),
              (std::vector<std::string>{"cpu Scene/Outer depth 0 parent -1", "cpu Scene/Middle depth 1 parent 0",
                                        "cpu Scene/Inner depth 2 parent 1", "cpu Scene/Sibling depth 1 parent 0"}));
    EXPECT_EQ(Describe(open.frames.at(0).events.at(0)), "cpu Scene/Outer depth 0 parent -1 open");
    EXPECT_GE(open.frames[0].events[0].endNanoseconds, open.frames[0].events[0].startNanoseconds);
    const ProfilerEvent& event = snapshot.frames[0].events[2];
    EXPECT_EQ(std::tie(event.eventId, event.frameId), std::tuple(3u, snapshot.frames[0].frameId));
    EXPECT_GE(event.endNanoseconds, event.startNanoseconds);
    const auto before = recorder.OpenZone("Core", "Before");
    recorder.Clear();
    recorder.CloseZone(before);
    EXPECT_TRUE(recorder.Snapshot().frames.empty());
}

TEST(ProfilerRecorder, FramesKeepTheirCountersAndZonesSpanningAFrameEndOnlyTheHistorySize) {
    ProfilerRecorder recorder;
    recorder.SetSettings({.cpuProfilingEnabled = true, .historySize = 2});
    ProfilerRecorder::ZoneToken spanning{};
    for (std::uint64_t i = 1; i <= 3; ++i) {
        recorder.BeginFrame();
        if (i == 3) recorder.CloseZone(recorder.OpenZone("Core", "Child"));
        if (i == 3) recorder.CloseZone(spanning);
        if (i == 2) spanning = recorder.OpenZone("Core", "Spanning");
        recorder.EndFrame({.drawCalls = i * 10});
    }
    const ProfilerSnapshot snapshot = recorder.Snapshot();
    ASSERT_EQ(snapshot.frames.size(), 2u);
    EXPECT_EQ(std::tuple(snapshot.frames[0].frameId, snapshot.frames[0].counters.drawCalls), std::tuple(2u, 20u));
    EXPECT_EQ(std::tuple(snapshot.frames[1].frameId, snapshot.frames[1].counters.drawCalls), std::tuple(3u, 30u));
    EXPECT_GE(snapshot.frames[1].frameStartNanoseconds, snapshot.frames[0].frameStartNanoseconds);
    EXPECT_EQ(Describe(snapshot.frames[0].events), std::vector<std::string>{"cpu Core/Spanning depth 0 parent -1"});
    // The parent lives in the earlier frame, so the child has no index to point at.
    EXPECT_EQ(Describe(snapshot.frames[1].events), std::vector<std::string>{"cpu Core/Child depth 1 parent -1"});
    EXPECT_EQ(snapshot.frames[1].events.at(0).frameId, 3u);
}

TEST_F(ProcessRecorder, ScopedZonesFromManyThreadsAreAllRecordedWithTheirThreadsName) {
    RunWithDeadline(kDeadline, [] {
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([t] {
                if (t == 0) Platform::SetCurrentThreadName("Brelk Profiled Thread");
                const char* category = t == 0 ? "Named" : "Core";
                for (int i = 0; i < 200; ++i) {
                    BRELK_PROFILE_ZONE(category, "Outer");
                    ProfilerZone inner(category, "Inner");
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
    });
    const std::vector<ProfilerEvent> events = ProfilerRecorder::Instance().Snapshot().frames.at(0).events;
    ASSERT_EQ(events.size(), 1600u);
    std::set<std::int32_t> threads;
    for (const ProfilerEvent& event : events) {
        threads.insert(event.threadIndex);
        EXPECT_TRUE(event.complete);
        EXPECT_EQ(event.threadName, event.category == "Named" ? std::string("Brelk Profiled Thread")
                                                              : "Thread " + std::to_string(event.threadIndex));
        if (event.name == "Inner") {
            ASSERT_GE(event.parentIndex, 0);
            const ProfilerEvent& parent = events[static_cast<std::size_t>(event.parentIndex)];
            EXPECT_EQ(parent.name, "Outer");
            EXPECT_EQ(parent.threadIndex, event.threadIndex);
        }
    }
    EXPECT_EQ(threads.size(), 4u);
}

// ---- Document --------------------------------------------------------------------------

TEST(ProfilerCaptureDocument, EscapesTextAndSummarisesTheFramesAsTheGoldenFilesHoldThem) {
    const std::filesystem::path data = BRELK_TEST_DATA_DIR;
    ProfilerCaptureMetadata metadata;
    metadata.label = "a\"b\n\x01\xff";
    Testing::ExpectGoldenText(data / "EmptyCapture.json", FormatProfilerCapture({}, metadata, "2024-01-02T03:04:05"));
    const ProfilerEvent event{.eventId = 9, .frameId = 3, .name = "Zone", .category = "Assets", .threadName = "Thread 0",
                              .startNanoseconds = 1500000, .endNanoseconds = 2000000, .startMilliseconds = 1.5,
                              .durationMilliseconds = 0.5, .complete = true};
    ProfilerSnapshot snapshot;
    snapshot.categories = {{"Assets", true}};
    snapshot.frames = {{.frameId = 3, .frameStartNanoseconds = 1500000, .frameStartMilliseconds = 1.5,
                        .frameDurationMilliseconds = 16.25,
                        .counters = {.drawCalls = 100, .processWorkingSetMb = 100.0, .processPeakWorkingSetMb = 150.0},
                        .events = {event}},
                       {.frameId = 4, .frameDurationMilliseconds = 23.75,
                        .counters = {.drawCalls = 300, .processWorkingSetMb = 300.0, .processPeakWorkingSetMb = 350.0},
                        .events = {}}};
    Testing::ExpectGoldenText(data / "FramesCapture.json", FormatProfilerCapture(snapshot, {}, "2024-01-02T03:04:05"));
}

// ---- Export ----------------------------------------------------------------------------

TEST_F(ProcessRecorder, ExportWritesUnderTheGivenOrAFreeGeneratedNameLogsItAndAFolderOrTargetInTheWayFails) {
    ScratchFolder folder;
    { BRELK_PROFILE_ZONE("Assets", "Exported"); }
    // Every stamp that the export can see in the next seconds is taken already.
    std::vector<std::string> taken;
    const std::time_t now = std::time(nullptr);
    for (std::time_t t = now; t <= now + 3; ++t) {
        std::tm parts{};
        ASSERT_TRUE(Platform::LocalTime(t, &parts));
        char stamp[32];
        std::strftime(stamp, sizeof(stamp), "%Y%m%d_%H%M%S", &parts);
        taken.push_back(std::string("brelk_profiler_") + stamp);
        WriteText(folder / (taken.back() + ".json"), "taken");
    }
    std::uint64_t before = 0;
    (void)Logger::Get().HistorySince(~std::uint64_t{0}, &before);
    ::testing::internal::CaptureStdout();
    std::string error;
    const std::optional<std::filesystem::path> path =
        ExportProfilerCapture(folder / "captures", "run.json", ProfilerCaptureMetadata{}, &error);
    const std::optional<std::filesystem::path> generated =
        ExportProfilerCapture(ProfilerSnapshot{}, folder.Path(), "", ProfilerCaptureMetadata{});
    (void)::testing::internal::GetCapturedStdout();
    ASSERT_TRUE(path.has_value() && generated.has_value()) << error;
    EXPECT_EQ(*path, folder / "captures" / "run.json");
    const std::string text = ReadText(*path);
    EXPECT_THAT(text, ::testing::ContainsRegex("\"exportedAt\": \"[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\","));
    EXPECT_NE(text.find("\"name\": \"Exported\", \"category\": \"Assets\""), std::string::npos);
    const std::vector<LogEntry> logged = Logger::Get().HistorySince(before);
    ASSERT_EQ(logged.size(), 2u);
    EXPECT_EQ(std::tie(logged[0].level, logged[0].message),
              std::tuple(LogLevel::Info, "Exported profiler capture: " + path->string()));
    const std::string name = generated->filename().string();
    EXPECT_TRUE(std::any_of(taken.begin(), taken.end(), [&](const std::string& t) { return name == t + "_1.json"; }))
        << name;
    EXPECT_NE(ReadText(*generated).find("\"frameCount\": 0,"), std::string::npos);

    WriteText(folder / "blocker", "x");
    std::filesystem::create_directories(folder / "occupied" / "inner");
    EXPECT_FALSE(ExportProfilerCapture(ProfilerSnapshot{}, folder / "blocker" / "captures", "a.json", {}, &error));
    EXPECT_EQ(error, "Failed to create profiler capture directory: " + (folder / "blocker" / "captures").string());
    EXPECT_FALSE(ExportProfilerCapture(ProfilerSnapshot{}, folder.Path(), "occupied", {}, &error));
    EXPECT_EQ(error, "Failed while writing profiler capture file: " + (folder / "occupied").string());
}

} // namespace
} // namespace Brelk::Core
