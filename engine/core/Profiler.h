#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Core {

enum class ProfilerEventKind : std::uint8_t {
    Cpu = 0,
    Gpu = 1,
};

// One zone as recorded. Times are nanoseconds of the steady clock since the recorder was
// made; the millisecond fields are the same instants in another unit.
struct ProfilerEvent {
    std::uint64_t eventId = 0;
    std::uint64_t frameId = 0;
    ProfilerEventKind kind = ProfilerEventKind::Cpu;
    std::string name;
    std::string category;
    std::int32_t threadIndex = 0;
    std::string threadName;
    std::int32_t parentIndex = -1; // index in the frame's events, -1 for none
    std::int32_t depth = 0;        // 0 for a zone with no enclosing zone on its thread
    std::uint64_t startNanoseconds = 0;
    std::uint64_t endNanoseconds = 0;
    double startMilliseconds = 0.0;
    double durationMilliseconds = 0.0;
    bool complete = false; // the zone ended before the snapshot was taken
};

// Per-frame figures that the renderer and the platform report at the end of a frame.
struct ProfilerFrameCounters {
    double frameTimeMilliseconds = 0.0;
    double cpuFrameMilliseconds = 0.0;
    double gpuFrameMilliseconds = 0.0;
    std::uint64_t drawCalls = 0;
    std::uint64_t triangles = 0;
    std::uint64_t vertices = 0;
    std::uint64_t instances = 0;
    std::uint64_t meshInstances = 0;
    std::uint64_t skinnedMeshInstances = 0;
    std::uint64_t visibleObjects = 0;
    std::uint64_t activeObjects = 0;
    std::uint64_t totalObjects = 0;
    std::uint64_t viewportCount = 0;
    std::uint64_t renderedPixels = 0;
    std::uint64_t meshUploads = 0;
    double residentMeshMemoryMb = 0.0;
    double meshUploadMb = 0.0;
    double processWorkingSetMb = 0.0;
    double processPeakWorkingSetMb = 0.0;
    double processPrivateMemoryMb = 0.0;
    double gpuMemoryUsageMb = 0.0;
    double gpuMemoryBudgetMb = 0.0;
};

struct ProfilerFrame {
    std::uint64_t frameId = 0;
    std::uint64_t frameStartNanoseconds = 0;
    double frameStartMilliseconds = 0.0;
    double frameDurationMilliseconds = 0.0;
    ProfilerFrameCounters counters;
    std::vector<ProfilerEvent> events;
};

struct ProfilerSettings {
    bool paused = false;
    bool cpuProfilingEnabled = false;
    bool gpuProfilingEnabled = false;
    bool showCpuTimeline = true;
    bool showGpuTimeline = true;
    std::uint32_t graphBars = 120;
    std::uint32_t historySize = 600; // completed frames kept; at least 1
    double timelineZoom = 1.0;
    double expensiveScopeThresholdMilliseconds = 2.0;
};

struct ProfilerCategoryState {
    std::string name;
    bool enabled = true;
};

// What the caller says about a capture; written as it stands.
struct ProfilerCaptureMetadata {
    std::string label;
    std::string projectPath;
    std::string runtimeMode;
    std::string buildConfiguration;
    std::string previewResolutionPolicy;
    std::uint32_t warmupFrames = 0;
    std::uint32_t requestedCaptureFrames = 0;
    bool automated = false;
};

// A copy of the recorder's state: the kept frames, oldest first, then the open frame if
// there is one. Zones still open are there with complete false and their end at the time of
// the snapshot.
struct ProfilerSnapshot {
    ProfilerSettings settings;
    std::vector<ProfilerCategoryState> categories;
    std::vector<ProfilerFrame> frames;
};

// Keeps the zones of the last frames. Zones are recorded only while CPU profiling is on and
// not paused; otherwise opening and closing one costs a relaxed atomic load.
class ProfilerRecorder {
public:
    // The process-wide recorder.
    static ProfilerRecorder& Instance();

    ProfilerRecorder();
    ProfilerRecorder(const ProfilerRecorder&) = delete;
    ProfilerRecorder& operator=(const ProfilerRecorder&) = delete;

    bool IsRecording() const noexcept { return recording_.load(std::memory_order_relaxed); }

    ProfilerSettings Settings() const;
    void SetSettings(const ProfilerSettings& settings);
    void SetCpuProfilingEnabled(bool enabled);
    void SetPaused(bool paused);
    // Zones of a disabled category are not recorded. Categories are listed in the order in
    // which they were first seen or configured.
    void SetCategoryEnabled(std::string_view category, bool enabled);

    // Ends the open frame, if any, and opens the next one. A zone that opens while recording
    // and no frame is open opens one itself.
    void BeginFrame();
    // Ends the open frame with its counters; it joins the kept frames, the oldest of which
    // is dropped beyond the history size.
    void EndFrame(const ProfilerFrameCounters& counters);
    // A GPU timing that the renderer read back, on the recorder's clock.
    void RecordGpuZone(std::string_view category, std::string_view name, std::uint64_t startNanoseconds,
                       std::uint64_t endNanoseconds);

    ProfilerSnapshot Snapshot() const;
    // Drops all frames; zones open at the time are not recorded when they close.
    void Clear();

    // The recorder's clock.
    std::uint64_t NowNanoseconds() const noexcept;

    // Where an open zone stands, for ProfilerZone.
    struct ZoneToken {
        std::uint64_t generation = 0;
        std::uint64_t frameId = 0;
        std::int32_t index = -1;
    };
    ZoneToken OpenZone(std::string_view category, std::string_view name);
    void CloseZone(const ZoneToken& token) noexcept;

private:
    // Above this many events a frame records no more zones, which bounds memory when a
    // frame never ends.
    static constexpr std::size_t kMaxEventsPerFrame = 1u << 20;

    void UpdateRecordingLocked();
    void OpenFrameLocked(std::uint64_t now);
    void CloseFrameLocked(std::uint64_t now, const ProfilerFrameCounters& counters);
    bool CategoryEnabledLocked(std::string_view category);
    ProfilerEvent* FindEventLocked(std::uint64_t frameId, std::int32_t index);
    void TrimHistoryLocked();

    std::atomic<bool> recording_{false};

    const std::uint64_t epochNanoseconds_;
    mutable std::mutex mutex_;
    ProfilerSettings settings_;
    std::vector<ProfilerCategoryState> categories_;
    std::deque<ProfilerFrame> frames_;
    std::optional<ProfilerFrame> openFrame_;
    std::uint64_t nextFrameId_ = 1;
    std::uint64_t nextEventId_ = 1;
    std::uint64_t generation_ = 1;
};

// Marks the enclosing scope as a zone of the process-wide recorder.
class ProfilerZone {
public:
    ProfilerZone(std::string_view category, std::string_view name) {
        ProfilerRecorder& recorder = ProfilerRecorder::Instance();
        if (recorder.IsRecording()) {
            token_ = recorder.OpenZone(category, name);
        }
    }
    ~ProfilerZone() {
        if (token_.index >= 0) {
            ProfilerRecorder::Instance().CloseZone(token_);
        }
    }
    ProfilerZone(const ProfilerZone&) = delete;
    ProfilerZone& operator=(const ProfilerZone&) = delete;

private:
    ProfilerRecorder::ZoneToken token_;
};

// The document of a snapshot, as ExportProfilerCapture writes it.
std::string FormatProfilerCapture(const ProfilerSnapshot& snapshot, const ProfilerCaptureMetadata& metadata,
                                  std::string_view exportedAt);

// Writes a snapshot of the process-wide recorder as one JSON file and returns its path. An
// empty folder means "ProfilerCaptures" in the user settings folder; an empty file name
// means "brelk_profiler_<local time>.json", made unique with a counter.
std::optional<std::filesystem::path> ExportProfilerCapture(const std::filesystem::path& folder,
                                                           std::string_view fileName,
                                                           const ProfilerCaptureMetadata& metadata,
                                                           std::string* error = nullptr);
// The same for a given snapshot.
std::optional<std::filesystem::path> ExportProfilerCapture(const ProfilerSnapshot& snapshot,
                                                           const std::filesystem::path& folder,
                                                           std::string_view fileName,
                                                           const ProfilerCaptureMetadata& metadata,
                                                           std::string* error = nullptr);

} // namespace Brelk::Core

#define BRELK_PROFILE_CONCAT_INNER(a, b) a##b
#define BRELK_PROFILE_CONCAT(a, b) BRELK_PROFILE_CONCAT_INNER(a, b)
#define BRELK_PROFILE_ZONE(category, name)                                                     \
    ::Brelk::Core::ProfilerZone BRELK_PROFILE_CONCAT(brelkProfilerZone_, __LINE__)((category), (name))
