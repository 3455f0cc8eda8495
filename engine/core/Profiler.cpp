#include "engine/core/Profiler.h"

#include "engine/core/Logger.h"
#include "engine/core/NumberText.h"
#include "engine/platform/Files.h"
#include "engine/platform/Thread.h"
#include "engine/platform/Time.h"

#include "engine/platform/Folders.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <system_error>

namespace Brelk::Core {
namespace {

std::uint64_t SteadyNanoseconds() noexcept {
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                          std::chrono::steady_clock::now().time_since_epoch())
                                          .count());
}

double ToMilliseconds(std::uint64_t nanoseconds) noexcept {
    return static_cast<double>(nanoseconds) / 1.0e6;
}

// What a thread knows about its own zones. The stack holds the recorded zones that are
// open on this thread, innermost last, so that a new zone finds its parent and depth
// without a lookup under the recorder's lock.
struct ThreadZones {
    struct OpenZone {
        const ProfilerRecorder* recorder;
        ProfilerRecorder::ZoneToken token;
    };

    std::int32_t threadIndex = -1;
    std::string threadName;
    std::vector<OpenZone> stack;
};

thread_local ThreadZones t_zones;

ThreadZones& CurrentThreadZones() {
    static std::atomic<std::int32_t> nextThreadIndex{0};
    ThreadZones& zones = t_zones;
    if (zones.threadIndex < 0) {
        zones.threadIndex = nextThreadIndex.fetch_add(1, std::memory_order_relaxed);
        zones.threadName = Platform::GetCurrentThreadName();
        if (zones.threadName.empty()) {
            zones.threadName = "Thread " + std::to_string(zones.threadIndex);
        }
    }
    return zones;
}

// ---- JSON text -------------------------------------------------------------------------

void AppendJsonString(std::string& out, std::string_view text) {
    static constexpr char kHex[] = "0123456789abcdef";
    out.push_back('"');
    std::size_t i = 0;
    while (i < text.size()) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte == '"' || byte == '\\') {
            out.push_back('\\');
            out.push_back(static_cast<char>(byte));
            ++i;
        } else if (byte < 0x20) {
            switch (byte) {
            case '\b': out.append("\\b"); break;
            case '\f': out.append("\\f"); break;
            case '\n': out.append("\\n"); break;
            case '\r': out.append("\\r"); break;
            case '\t': out.append("\\t"); break;
            default:
                out.append("\\u00");
                out.push_back(kHex[byte >> 4]);
                out.push_back(kHex[byte & 0xF]);
                break;
            }
            ++i;
        } else if (byte < 0x80) {
            out.push_back(static_cast<char>(byte));
            ++i;
        } else {
            // Multi-byte UTF-8 passes as it stands; a broken sequence becomes U+FFFD so that
            // the document stays readable by strict JSON parsers.
            std::size_t length = 0;
            std::uint32_t minimum = 0;
            std::uint32_t codePoint = 0;
            if ((byte & 0xE0) == 0xC0) {
                length = 2, minimum = 0x80, codePoint = byte & 0x1F;
            } else if ((byte & 0xF0) == 0xE0) {
                length = 3, minimum = 0x800, codePoint = byte & 0x0F;
            } else if ((byte & 0xF8) == 0xF0) {
                length = 4, minimum = 0x10000, codePoint = byte & 0x07;
            }
            bool valid = length != 0 && i + length <= text.size();
            for (std::size_t k = 1; valid && k < length; ++k) {
                const auto next = static_cast<unsigned char>(text[i + k]);
                valid = (next & 0xC0) == 0x80;
                codePoint = (codePoint << 6) | (next & 0x3F);
            }
            valid = valid && codePoint >= minimum && codePoint <= 0x10FFFF &&
                    (codePoint < 0xD800 || codePoint > 0xDFFF);
            if (valid) {
                out.append(text.substr(i, length));
                i += length;
            } else {
                out.append("\\ufffd");
                ++i;
            }
        }
    }
    out.push_back('"');
}

// The shortest text that reads back as the same double; JSON has no infinities or NaN.
void AppendJsonDouble(std::string& out, double value) {
    if (!std::isfinite(value)) {
        value = 0.0;
    }
    char buffer[kMaxNumberChars];
    out.append(buffer, std::to_chars(buffer, buffer + sizeof(buffer), value).ptr);
}

// Writes one indented document; each member goes on its own line unless it sits in an
// inline object.
class JsonWriter {
public:
    explicit JsonWriter(std::string& out) : out_(out) {}

    void BeginDocument() {
        out_.push_back('{');
        Open();
    }
    void EndDocument() {
        Close('}');
        out_.push_back('\n');
    }

    void Key(std::string_view key) {
        Separator();
        AppendJsonString(out_, key);
        out_.append(": ");
    }
    void BeginObject(std::string_view key) {
        Key(key);
        out_.push_back('{');
        Open();
    }
    void BeginArray(std::string_view key) {
        Key(key);
        out_.push_back('[');
        Open();
    }
    void BeginArrayObject() {
        Separator();
        out_.push_back('{');
        Open();
    }
    void EndObject() { Close('}'); }
    void EndArray() { Close(']'); }

    // An object on one line: "{ "a": 1, "b": 2 }".
    void BeginInlineObject() {
        Separator();
        out_.append("{ ");
        inlineFirst_ = true;
        inInline_ = true;
    }
    void EndInlineObject() {
        out_.append(" }");
        inInline_ = false;
    }

    void String(std::string_view key, std::string_view value) {
        Key(key);
        AppendJsonString(out_, value);
    }
    void Double(std::string_view key, double value) {
        Key(key);
        AppendJsonDouble(out_, value);
    }
    template <class T>
    void Integer(std::string_view key, T value) {
        Key(key);
        AppendInteger(out_, value);
    }
    void Bool(std::string_view key, bool value) {
        Key(key);
        out_.append(value ? "true" : "false");
    }

private:
    void Open() {
        ++depth_;
        first_.push_back(true);
    }
    void Close(char bracket) {
        const bool empty = first_.back();
        first_.pop_back();
        --depth_;
        if (!empty) {
            NewLine();
        }
        out_.push_back(bracket);
    }
    void Separator() {
        if (inInline_) {
            if (!inlineFirst_) {
                out_.append(", ");
            }
            inlineFirst_ = false;
            return;
        }
        if (!first_.back()) {
            out_.push_back(',');
        }
        first_.back() = false;
        NewLine();
    }
    void NewLine() {
        out_.push_back('\n');
        out_.append(static_cast<std::size_t>(depth_) * 2, ' ');
    }

    std::string& out_;
    int depth_ = 0;
    std::vector<bool> first_;
    bool inInline_ = false;
    bool inlineFirst_ = true;
};

struct Statistic {
    double sum = 0.0;
    double maximum = 0.0;
    std::size_t count = 0;

    void Add(double value) {
        maximum = count == 0 ? value : std::max(maximum, value);
        sum += value;
        ++count;
    }
    double Average() const { return count == 0 ? 0.0 : sum / static_cast<double>(count); }
};

void WriteStatistic(JsonWriter& writer, std::string_view key, const Statistic& statistic) {
    writer.BeginObject(key);
    writer.Double("average", statistic.Average());
    writer.Double("maximum", statistic.maximum);
    writer.EndObject();
}

void WriteSummary(JsonWriter& writer, const std::vector<ProfilerFrame>& frames) {
    Statistic workingSet, privateMemory, gpuMemory, frameTime, cpuTime, gpuTime;
    Statistic drawCalls, triangles, visibleObjects, viewports, pixels, uploads, peakWorkingSet, gpuBudget;
    for (const ProfilerFrame& frame : frames) {
        const ProfilerFrameCounters& c = frame.counters;
        workingSet.Add(c.processWorkingSetMb);
        privateMemory.Add(c.processPrivateMemoryMb);
        gpuMemory.Add(c.gpuMemoryUsageMb);
        frameTime.Add(frame.frameDurationMilliseconds);
        cpuTime.Add(c.cpuFrameMilliseconds);
        gpuTime.Add(c.gpuFrameMilliseconds);
        drawCalls.Add(static_cast<double>(c.drawCalls));
        triangles.Add(static_cast<double>(c.triangles));
        visibleObjects.Add(static_cast<double>(c.visibleObjects));
        viewports.Add(static_cast<double>(c.viewportCount));
        pixels.Add(static_cast<double>(c.renderedPixels));
        uploads.Add(static_cast<double>(c.meshUploads));
        peakWorkingSet.Add(std::max(c.processPeakWorkingSetMb, c.processWorkingSetMb));
        gpuBudget.Add(c.gpuMemoryBudgetMb);
    }
    const double averageFrame = frameTime.Average();
    writer.BeginObject("summary");
    WriteStatistic(writer, "processWorkingSetMb", workingSet);
    WriteStatistic(writer, "processPrivateMemoryMb", privateMemory);
    WriteStatistic(writer, "gpuMemoryUsageMb", gpuMemory);
    WriteStatistic(writer, "frameMilliseconds", frameTime);
    WriteStatistic(writer, "cpuMilliseconds", cpuTime);
    WriteStatistic(writer, "gpuMilliseconds", gpuTime);
    writer.Double("averageFps", averageFrame > 0.0 ? 1000.0 / averageFrame : 0.0);
    writer.Double("averageDrawCalls", drawCalls.Average());
    writer.Double("averageTriangles", triangles.Average());
    writer.Double("averageVisibleObjects", visibleObjects.Average());
    writer.Double("averageViewportCount", viewports.Average());
    writer.Double("averageRenderedPixels", pixels.Average());
    writer.Double("averageMeshUploads", uploads.Average());
    writer.Double("peakProcessWorkingSetMb", peakWorkingSet.maximum);
    writer.Double("averageGpuMemoryBudgetMb", gpuBudget.Average());
    writer.EndObject();
}

void WriteCounters(JsonWriter& writer, const ProfilerFrameCounters& c) {
    writer.BeginObject("counters");
    writer.Double("frameTimeMilliseconds", c.frameTimeMilliseconds);
    writer.Double("cpuFrameMilliseconds", c.cpuFrameMilliseconds);
    writer.Double("gpuFrameMilliseconds", c.gpuFrameMilliseconds);
    writer.Integer("drawCalls", c.drawCalls);
    writer.Integer("triangles", c.triangles);
    writer.Integer("vertices", c.vertices);
    writer.Integer("instances", c.instances);
    writer.Integer("meshInstances", c.meshInstances);
    writer.Integer("skinnedMeshInstances", c.skinnedMeshInstances);
    writer.Integer("visibleObjects", c.visibleObjects);
    writer.Integer("activeObjects", c.activeObjects);
    writer.Integer("totalObjects", c.totalObjects);
    writer.Integer("viewportCount", c.viewportCount);
    writer.Integer("renderedPixels", c.renderedPixels);
    writer.Integer("meshUploads", c.meshUploads);
    writer.Double("residentMeshMemoryMb", c.residentMeshMemoryMb);
    writer.Double("meshUploadMb", c.meshUploadMb);
    writer.Double("processWorkingSetMb", c.processWorkingSetMb);
    writer.Double("processPeakWorkingSetMb", c.processPeakWorkingSetMb);
    writer.Double("processPrivateMemoryMb", c.processPrivateMemoryMb);
    writer.Double("gpuMemoryUsageMb", c.gpuMemoryUsageMb);
    writer.Double("gpuMemoryBudgetMb", c.gpuMemoryBudgetMb);
    writer.EndObject();
}

void WriteEvent(JsonWriter& writer, const ProfilerEvent& event) {
    writer.BeginInlineObject();
    writer.Integer("eventId", event.eventId);
    writer.Integer("frameId", event.frameId);
    writer.String("type", event.kind == ProfilerEventKind::Gpu ? "gpu" : "cpu");
    writer.String("name", event.name);
    writer.String("category", event.category);
    writer.Integer("threadIndex", event.threadIndex);
    writer.String("threadName", event.threadName);
    writer.Integer("parentIndex", event.parentIndex);
    writer.Integer("depth", event.depth);
    writer.Integer("startNanoseconds", event.startNanoseconds);
    writer.Integer("endNanoseconds", event.endNanoseconds);
    writer.Double("startMilliseconds", event.startMilliseconds);
    writer.Double("durationMilliseconds", event.durationMilliseconds);
    writer.Bool("complete", event.complete);
    writer.EndInlineObject();
}

std::tm LocalNow() {
    std::tm parts{};
    if (!Platform::LocalTime(std::time(nullptr), &parts)) {
        parts = std::tm{};
    }
    return parts;
}

std::string FormatTime(const std::tm& parts, const char* pattern) {
    char text[64];
    const std::size_t length = std::strftime(text, sizeof(text), pattern, &parts);
    return std::string(text, length);
}

bool PathExists(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

} // namespace

// ---- Recorder --------------------------------------------------------------------------

ProfilerRecorder& ProfilerRecorder::Instance() {
    static ProfilerRecorder recorder;
    return recorder;
}

ProfilerRecorder::ProfilerRecorder() : epochNanoseconds_(SteadyNanoseconds()) {}

std::uint64_t ProfilerRecorder::NowNanoseconds() const noexcept {
    return SteadyNanoseconds() - epochNanoseconds_;
}

ProfilerSettings ProfilerRecorder::Settings() const {
    std::lock_guard lock(mutex_);
    return settings_;
}

void ProfilerRecorder::SetSettings(const ProfilerSettings& settings) {
    std::lock_guard lock(mutex_);
    settings_ = settings;
    settings_.historySize = std::max<std::uint32_t>(settings_.historySize, 1);
    TrimHistoryLocked();
    UpdateRecordingLocked();
}

void ProfilerRecorder::SetCpuProfilingEnabled(bool enabled) {
    std::lock_guard lock(mutex_);
    settings_.cpuProfilingEnabled = enabled;
    UpdateRecordingLocked();
}

void ProfilerRecorder::SetPaused(bool paused) {
    std::lock_guard lock(mutex_);
    settings_.paused = paused;
    UpdateRecordingLocked();
}

void ProfilerRecorder::SetCategoryEnabled(std::string_view category, bool enabled) {
    std::lock_guard lock(mutex_);
    for (ProfilerCategoryState& state : categories_) {
        if (state.name == category) {
            state.enabled = enabled;
            return;
        }
    }
    categories_.push_back(ProfilerCategoryState{std::string(category), enabled});
}

void ProfilerRecorder::UpdateRecordingLocked() {
    recording_.store(settings_.cpuProfilingEnabled && !settings_.paused, std::memory_order_relaxed);
}

bool ProfilerRecorder::CategoryEnabledLocked(std::string_view category) {
    for (const ProfilerCategoryState& state : categories_) {
        if (state.name == category) {
            return state.enabled;
        }
    }
    categories_.push_back(ProfilerCategoryState{std::string(category), true});
    return true;
}

void ProfilerRecorder::OpenFrameLocked(std::uint64_t now) {
    ProfilerFrame& frame = openFrame_.emplace();
    frame.frameId = nextFrameId_++;
    frame.frameStartNanoseconds = now;
    frame.frameStartMilliseconds = ToMilliseconds(now);
}

void ProfilerRecorder::CloseFrameLocked(std::uint64_t now, const ProfilerFrameCounters& counters) {
    ProfilerFrame& frame = *openFrame_;
    frame.frameDurationMilliseconds = ToMilliseconds(now - std::min(now, frame.frameStartNanoseconds));
    frame.counters = counters;
    frames_.push_back(std::move(frame));
    openFrame_.reset();
    TrimHistoryLocked();
}

void ProfilerRecorder::TrimHistoryLocked() {
    while (frames_.size() > settings_.historySize) {
        frames_.pop_front();
    }
}

void ProfilerRecorder::BeginFrame() {
    const std::uint64_t now = NowNanoseconds();
    std::lock_guard lock(mutex_);
    if (openFrame_) {
        CloseFrameLocked(now, ProfilerFrameCounters{});
    }
    if (recording_.load(std::memory_order_relaxed)) {
        OpenFrameLocked(now);
    }
}

void ProfilerRecorder::EndFrame(const ProfilerFrameCounters& counters) {
    const std::uint64_t now = NowNanoseconds();
    std::lock_guard lock(mutex_);
    if (openFrame_) {
        CloseFrameLocked(now, counters);
    }
}

ProfilerRecorder::ZoneToken ProfilerRecorder::OpenZone(std::string_view category, std::string_view name) {
    if (!IsRecording()) {
        return {};
    }
    ThreadZones& zones = CurrentThreadZones();
    const std::uint64_t now = NowNanoseconds();

    std::int32_t depth = 0;
    const ZoneToken* parent = nullptr;
    for (auto it = zones.stack.rbegin(); it != zones.stack.rend(); ++it) {
        if (it->recorder == this) {
            parent = parent != nullptr ? parent : &it->token;
            ++depth;
        }
    }

    ZoneToken token;
    {
        std::lock_guard lock(mutex_);
        if (!settings_.cpuProfilingEnabled || settings_.paused || !CategoryEnabledLocked(category)) {
            return {};
        }
        if (!openFrame_) {
            OpenFrameLocked(now);
        }
        std::vector<ProfilerEvent>& events = openFrame_->events;
        if (events.size() >= kMaxEventsPerFrame) {
            return {};
        }
        ProfilerEvent& event = events.emplace_back();
        event.eventId = nextEventId_++;
        event.frameId = openFrame_->frameId;
        event.kind = ProfilerEventKind::Cpu;
        event.name.assign(name);
        event.category.assign(category);
        event.threadIndex = zones.threadIndex;
        event.threadName = zones.threadName;
        // A parent that opened in an earlier frame has no index in this frame's events.
        event.parentIndex = parent != nullptr && parent->generation == generation_ &&
                                    parent->frameId == event.frameId
                                ? parent->index
                                : -1;
        event.depth = depth;
        event.startNanoseconds = now;
        event.endNanoseconds = now;
        event.startMilliseconds = ToMilliseconds(now);
        token = ZoneToken{generation_, event.frameId, static_cast<std::int32_t>(events.size() - 1)};
    }
    zones.stack.push_back(ThreadZones::OpenZone{this, token});
    return token;
}

void ProfilerRecorder::CloseZone(const ZoneToken& token) noexcept {
    const std::uint64_t now = NowNanoseconds();
    std::vector<ThreadZones::OpenZone>& stack = t_zones.stack;
    for (auto it = stack.rbegin(); it != stack.rend(); ++it) {
        if (it->recorder == this && it->token.generation == token.generation &&
            it->token.frameId == token.frameId && it->token.index == token.index) {
            stack.erase(std::next(it).base());
            break;
        }
    }
    std::lock_guard lock(mutex_);
    if (token.generation != generation_) {
        return;
    }
    if (ProfilerEvent* event = FindEventLocked(token.frameId, token.index)) {
        event->endNanoseconds = std::max(now, event->startNanoseconds);
        event->durationMilliseconds = ToMilliseconds(event->endNanoseconds - event->startNanoseconds);
        event->complete = true;
    }
}

ProfilerEvent* ProfilerRecorder::FindEventLocked(std::uint64_t frameId, std::int32_t index) {
    ProfilerFrame* frame = nullptr;
    if (openFrame_ && openFrame_->frameId == frameId) {
        frame = &*openFrame_;
    } else if (!frames_.empty() && frameId >= frames_.front().frameId) {
        const std::uint64_t offset = frameId - frames_.front().frameId;
        if (offset < frames_.size() && frames_[offset].frameId == frameId) {
            frame = &frames_[offset];
        }
    }
    if (frame == nullptr || index < 0 || static_cast<std::size_t>(index) >= frame->events.size()) {
        return nullptr;
    }
    return &frame->events[static_cast<std::size_t>(index)];
}

void ProfilerRecorder::RecordGpuZone(std::string_view category, std::string_view name,
                                     std::uint64_t startNanoseconds, std::uint64_t endNanoseconds) {
    ThreadZones& zones = CurrentThreadZones();
    const std::uint64_t now = NowNanoseconds();
    std::lock_guard lock(mutex_);
    if (!settings_.gpuProfilingEnabled || settings_.paused || !CategoryEnabledLocked(category)) {
        return;
    }
    if (!openFrame_) {
        OpenFrameLocked(now);
    }
    std::vector<ProfilerEvent>& events = openFrame_->events;
    if (events.size() >= kMaxEventsPerFrame) {
        return;
    }
    ProfilerEvent& event = events.emplace_back();
    event.eventId = nextEventId_++;
    event.frameId = openFrame_->frameId;
    event.kind = ProfilerEventKind::Gpu;
    event.name.assign(name);
    event.category.assign(category);
    event.threadIndex = zones.threadIndex;
    event.threadName = zones.threadName;
    event.startNanoseconds = startNanoseconds;
    event.endNanoseconds = std::max(startNanoseconds, endNanoseconds);
    event.startMilliseconds = ToMilliseconds(startNanoseconds);
    event.durationMilliseconds = ToMilliseconds(event.endNanoseconds - startNanoseconds);
    event.complete = true;
}

ProfilerSnapshot ProfilerRecorder::Snapshot() const {
    const std::uint64_t now = NowNanoseconds();
    ProfilerSnapshot snapshot;
    {
        std::lock_guard lock(mutex_);
        snapshot.settings = settings_;
        snapshot.categories = categories_;
        snapshot.frames.assign(frames_.begin(), frames_.end());
        if (openFrame_) {
            ProfilerFrame& frame = snapshot.frames.emplace_back(*openFrame_);
            frame.frameDurationMilliseconds = ToMilliseconds(now - std::min(now, frame.frameStartNanoseconds));
        }
    }
    for (ProfilerFrame& frame : snapshot.frames) {
        for (ProfilerEvent& event : frame.events) {
            if (!event.complete) {
                event.endNanoseconds = std::max(now, event.startNanoseconds);
                event.durationMilliseconds = ToMilliseconds(event.endNanoseconds - event.startNanoseconds);
            }
        }
    }
    return snapshot;
}

void ProfilerRecorder::Clear() {
    std::lock_guard lock(mutex_);
    frames_.clear();
    openFrame_.reset();
    ++generation_;
}

// ---- Export ----------------------------------------------------------------------------

std::string FormatProfilerCapture(const ProfilerSnapshot& snapshot, const ProfilerCaptureMetadata& metadata,
                                  std::string_view exportedAt) {
    std::string text;
    JsonWriter writer(text);
    writer.BeginDocument();
    writer.String("format", "BrelkProfilerCapture");
    writer.Integer("version", 3);
    writer.String("exportedAt", exportedAt);
    writer.Integer("frameCount", snapshot.frames.size());

    writer.BeginObject("metadata");
    writer.String("label", metadata.label);
    writer.String("projectPath", metadata.projectPath);
    writer.String("runtimeMode", metadata.runtimeMode);
    writer.String("buildConfiguration", metadata.buildConfiguration);
    writer.String("previewResolutionPolicy", metadata.previewResolutionPolicy);
    writer.Integer("warmupFrames", metadata.warmupFrames);
    writer.Integer("requestedCaptureFrames", metadata.requestedCaptureFrames);
    writer.Bool("automated", metadata.automated);
    writer.EndObject();

    WriteSummary(writer, snapshot.frames);

    const ProfilerSettings& settings = snapshot.settings;
    writer.BeginObject("settings");
    writer.Bool("paused", settings.paused);
    writer.Bool("cpuProfilingEnabled", settings.cpuProfilingEnabled);
    writer.Bool("gpuProfilingEnabled", settings.gpuProfilingEnabled);
    writer.Bool("showCpuTimeline", settings.showCpuTimeline);
    writer.Bool("showGpuTimeline", settings.showGpuTimeline);
    writer.Integer("graphBars", settings.graphBars);
    writer.Integer("historySize", settings.historySize);
    writer.Double("timelineZoom", settings.timelineZoom);
    writer.Double("expensiveScopeThresholdMilliseconds", settings.expensiveScopeThresholdMilliseconds);
    writer.EndObject();

    writer.BeginArray("categories");
    for (const ProfilerCategoryState& category : snapshot.categories) {
        writer.BeginInlineObject();
        writer.String("name", category.name);
        writer.Bool("enabled", category.enabled);
        writer.EndInlineObject();
    }
    writer.EndArray();

    writer.BeginArray("frames");
    for (const ProfilerFrame& frame : snapshot.frames) {
        writer.BeginArrayObject();
        writer.Integer("frameId", frame.frameId);
        writer.Integer("frameStartNanoseconds", frame.frameStartNanoseconds);
        writer.Double("frameStartMilliseconds", frame.frameStartMilliseconds);
        writer.Double("frameDurationMilliseconds", frame.frameDurationMilliseconds);
        WriteCounters(writer, frame.counters);
        writer.BeginArray("events");
        for (const ProfilerEvent& event : frame.events) {
            WriteEvent(writer, event);
        }
        writer.EndArray();
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndDocument();
    return text;
}

std::optional<std::filesystem::path> ExportProfilerCapture(const std::filesystem::path& folder,
                                                           std::string_view fileName,
                                                           const ProfilerCaptureMetadata& metadata,
                                                           std::string* error) {
    return ExportProfilerCapture(ProfilerRecorder::Instance().Snapshot(), folder, fileName, metadata, error);
}

std::optional<std::filesystem::path> ExportProfilerCapture(const ProfilerSnapshot& snapshot,
                                                           const std::filesystem::path& folder,
                                                           std::string_view fileName,
                                                           const ProfilerCaptureMetadata& metadata,
                                                           std::string* error) {
    auto fail = [error](std::string message) -> std::optional<std::filesystem::path> {
        if (error != nullptr) {
            *error = std::move(message);
        }
        return std::nullopt;
    };

    const std::filesystem::path directory =
        folder.empty() ? Platform::GetUserSettingsFolder() / "ProfilerCaptures" : folder;
    std::error_code createError;
    std::filesystem::create_directories(directory, createError);
    if (createError || !std::filesystem::is_directory(directory, createError)) {
        return fail("Failed to create profiler capture directory: " + Platform::PathToUtf8(directory));
    }

    const std::tm now = LocalNow();
    std::filesystem::path path;
    if (!fileName.empty()) {
        path = directory / std::filesystem::path(std::string(fileName));
    } else {
        const std::string base = "brelk_profiler_" + FormatTime(now, "%Y%m%d_%H%M%S");
        path = directory / (base + ".json");
        for (std::uint64_t counter = 1; PathExists(path); ++counter) {
            path = directory / (base + "_" + std::to_string(counter) + ".json");
        }
    }

    const std::string document = FormatProfilerCapture(snapshot, metadata, FormatTime(now, "%Y-%m-%dT%H:%M:%S"));
    std::string writeError;
    if (!Platform::WriteFileAtomic(path, std::string_view(document), &writeError)) {
        // The atomic write names its temporary file; the capture's messages name the target.
        if (writeError.rfind("Failed to open ", 0) == 0) {
            return fail("Failed to open profiler capture file for writing: " + Platform::PathToUtf8(path));
        }
        return fail("Failed while writing profiler capture file: " + Platform::PathToUtf8(path));
    }
    LogInfo("Exported profiler capture: " + Platform::PathToUtf8(path));
    return path;
}

} // namespace Brelk::Core
