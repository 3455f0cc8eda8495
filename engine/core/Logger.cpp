#include "engine/core/Logger.h"

#include "engine/platform/Environment.h"
#include "engine/platform/Files.h"
#include "engine/platform/Folders.h"
#include "engine/platform/SharedFile.h"
#include "engine/platform/Thread.h"
#include "engine/platform/Time.h"

#include <algorithm>
#include <chrono>
#include <ctime>

namespace Brelk::Core {
namespace {

constexpr std::string_view kCategoryNames[kLogCategoryCount] = {
    "General", "Core", "Render", "Assets", "Scene", "Physics", "Audio", "Net", "Script", "Editor",
};

constexpr std::string_view kLevelTags[] = {
    "[Trace]", "[Debug]", "[Info]", "[Warn]", "[Error]", "[Fatal]",
};

struct LevelName {
    std::string_view name;
    LogLevel level;
};

constexpr LevelName kLevelNames[] = {
    {"Trace", LogLevel::Trace}, {"Debug", LogLevel::Debug}, {"Info", LogLevel::Info},
    {"Warning", LogLevel::Warning}, {"Warn", LogLevel::Warning}, {"Error", LogLevel::Error},
    {"Fatal", LogLevel::Fatal}, {"Off", LogLevel::Off},
};

bool EqualsIgnoringCase(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i];
        char y = b[i];
        if (x >= 'A' && x <= 'Z') {
            x = static_cast<char>(x - 'A' + 'a');
        }
        if (y >= 'A' && y <= 'Z') {
            y = static_cast<char>(y - 'A' + 'a');
        }
        if (x != y) {
            return false;
        }
    }
    return true;
}

bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

std::string_view Trim(std::string_view text) noexcept {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// Small per-thread numbers read better in logs than the host's opaque thread ids.
std::uint32_t CurrentThreadNumber() noexcept {
    static std::atomic<std::uint32_t> nextNumber{1};
    thread_local std::uint32_t number = nextNumber.fetch_add(1, std::memory_order_relaxed);
    return number;
}

void AppendTwoDigits(std::string& out, int value) {
    if (value < 0 || value > 99) {
        value = 0;
    }
    out.push_back(static_cast<char>('0' + value / 10));
    out.push_back(static_cast<char>('0' + value % 10));
}

std::string ClockText() {
    std::tm parts{};
    if (!Platform::LocalTime(std::time(nullptr), &parts)) {
        parts = std::tm{};
    }
    std::string text;
    text.reserve(8);
    AppendTwoDigits(text, parts.tm_hour);
    text.push_back(':');
    AppendTwoDigits(text, parts.tm_min);
    text.push_back(':');
    AppendTwoDigits(text, parts.tm_sec);
    return text;
}

std::string SessionStamp() {
    std::tm parts{};
    if (!Platform::LocalTime(std::time(nullptr), &parts)) {
        parts = std::tm{};
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%04d%02d%02d_%02d%02d%02d", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return text;
}

std::string SessionFileBase(std::string_view appName) {
    if (appName.empty()) {
        return "BrelkEngine";
    }
    std::string base(appName);
    for (char& c : base) {
        const bool keep = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') || c == '-' || c == '_';
        if (!keep) {
            c = '_';
        }
    }
    return base;
}

// The loggers whose output this thread is writing right now, innermost first. A sink that
// logs must not take an output mutex that its own thread already holds.
struct SinkCallScope {
    const Logger* logger;
    const SinkCallScope* outer;
};

thread_local const SinkCallScope* t_sinkCalls = nullptr;

bool InsideSinkCall(const Logger* logger) noexcept {
    for (const SinkCallScope* scope = t_sinkCalls; scope != nullptr; scope = scope->outer) {
        if (scope->logger == logger) {
            return true;
        }
    }
    return false;
}

class SinkCallGuard {
public:
    explicit SinkCallGuard(const Logger* logger) noexcept : scope_{logger, t_sinkCalls} {
        t_sinkCalls = &scope_;
    }
    ~SinkCallGuard() { t_sinkCalls = scope_.outer; }
    SinkCallGuard(const SinkCallGuard&) = delete;
    SinkCallGuard& operator=(const SinkCallGuard&) = delete;

private:
    SinkCallScope scope_;
};

void WriteAll(std::FILE* file, const std::string& text) noexcept {
    if (file != nullptr && !text.empty()) {
        (void)std::fwrite(text.data(), 1, text.size(), file);
    }
}

} // namespace

std::string_view LogCategoryName(LogCategory category) noexcept {
    const auto index = static_cast<std::size_t>(category);
    return index < kLogCategoryCount ? kCategoryNames[index] : std::string_view("Unknown");
}

std::string_view LogLevelTag(LogLevel level) noexcept {
    const auto index = static_cast<std::size_t>(level);
    return index < std::size(kLevelTags) ? kLevelTags[index] : std::string_view();
}

bool ParseLogLevel(std::string_view name, LogLevel* level) noexcept {
    for (const LevelName& candidate : kLevelNames) {
        if (EqualsIgnoringCase(name, candidate.name)) {
            if (level != nullptr) {
                *level = candidate.level;
            }
            return true;
        }
    }
    return false;
}

bool ParseLogCategory(std::string_view name, LogCategory* category) noexcept {
    for (std::size_t i = 0; i < kLogCategoryCount; ++i) {
        if (EqualsIgnoringCase(name, kCategoryNames[i])) {
            if (category != nullptr) {
                *category = static_cast<LogCategory>(i);
            }
            return true;
        }
    }
    return false;
}

void AppendLogLine(std::string& out, const LogEntry& entry) {
    out.append(entry.timestamp);
    out.push_back(' ');
    out.append(LogLevelTag(entry.level));
    if (entry.category != LogCategory::General) {
        out.append(" [");
        out.append(LogCategoryName(entry.category));
        out.push_back(']');
    }
    out.push_back(' ');
    out.append(entry.message);
}

std::string FormatLogLine(const LogEntry& entry) {
    std::string line;
    AppendLogLine(line, entry);
    return line;
}

bool ApplyLogLevelSettings(std::string_view text, std::array<LogLevel, kLogCategoryCount>& thresholds) {
    while (true) {
        const std::size_t end = text.find_first_of(",;");
        const std::string_view entry = Trim(text.substr(0, end));
        if (!entry.empty()) {
            const std::size_t equals = entry.find('=');
            LogLevel level{};
            if (equals == std::string_view::npos) {
                if (!ParseLogLevel(entry, &level)) {
                    return false;
                }
                thresholds.fill(level);
            } else {
                const std::string_view name = Trim(entry.substr(0, equals));
                if (!ParseLogLevel(Trim(entry.substr(equals + 1)), &level)) {
                    return false;
                }
                LogCategory category{};
                if (name == "*") {
                    thresholds.fill(level);
                } else if (ParseLogCategory(name, &category)) {
                    thresholds[static_cast<std::size_t>(category)] = level;
                } else {
                    return false;
                }
            }
        }
        if (end == std::string_view::npos) {
            return true;
        }
        text.remove_prefix(end + 1);
    }
}

Logger::Logger(LoggerConfig config) : config_(config) {
    config_.queueCapacity = std::max<std::uint64_t>(config_.queueCapacity, 1);
    config_.historyCapacity = std::max<std::uint64_t>(config_.historyCapacity, 1);
    for (auto& threshold : thresholds_) {
        threshold.store(static_cast<std::uint8_t>(LogLevel::Info), std::memory_order_relaxed);
    }
    if (config_.startSinkThread) {
        std::lock_guard queueLock(queueMutex_);
        StartSinkThreadLocked();
    }
}

Logger::~Logger() {
    Shutdown();
    // A sink thread that shut the logger down detached itself; it may still be finishing its
    // last batch and must be gone before the members it uses.
    std::unique_lock queueLock(queueMutex_);
    if (std::this_thread::get_id() != sinkThreadId_) {
        written_.wait(queueLock, [this] { return !sinkThreadRunning_.load(std::memory_order_relaxed); });
    }
}

Logger& Logger::Get() {
    static Logger logger;
    return logger;
}

void Logger::Emit(LogCategory category, LogLevel level, std::string_view message) {
    LogEntry entry;
    entry.level = level;
    entry.category = category;
    entry.threadId = CurrentThreadNumber();
    entry.timestamp = ClockText();
    entry.message.assign(message);

    if (InsideSinkCall(this)) {
        // This thread holds the output mutex already: keep the entry without recursing.
        std::lock_guard queueLock(queueMutex_);
        StampAndRemember(entry);
        return;
    }

    // A session may start or end between the look at the flag and the locks; each path
    // checks again under its lock and hands over to the other one.
    while (true) {
        if (sinkThreadRunning_.load(std::memory_order_acquire)) {
            std::unique_lock queueLock(queueMutex_);
            if (std::this_thread::get_id() != sinkThreadId_) {
                queueHasRoom_.wait(queueLock, [this] {
                    return pending_.size() < config_.queueCapacity ||
                           !sinkThreadRunning_.load(std::memory_order_relaxed);
                });
            }
            if (sinkThreadRunning_.load(std::memory_order_relaxed)) {
                StampAndRemember(entry);
                lastQueuedSequence_ = entry.sequence;
                pending_.push_back(std::move(entry));
                queueLock.unlock();
                queueHasWork_.notify_one();
                if (level >= LogLevel::Fatal) {
                    Flush();
                }
                return;
            }
        } else {
            // The output mutex comes first so that synchronous lines leave in the order of
            // their sequence numbers.
            std::lock_guard outputLock(outputMutex_);
            std::unique_lock queueLock(queueMutex_);
            if (!sinkThreadRunning_.load(std::memory_order_relaxed)) {
                StampAndRemember(entry);
                queueLock.unlock();
                WriteBatchLocked(std::span<const LogEntry>(&entry, 1));
                FlushOutputsLocked();
                return;
            }
        }
    }
}

void Logger::StampAndRemember(LogEntry& entry) {
    entry.sequence = nextSequence_++;
    if (history_.size() < config_.historyCapacity) {
        history_.push_back(entry);
    } else {
        history_[historyStart_] = entry;
        historyStart_ = (historyStart_ + 1) % history_.size();
    }
}

void Logger::WriteBatchLocked(std::span<const LogEntry> batch) {
    SinkCallGuard guard(this);
    lineBuffer_.clear();
    for (const LogEntry& entry : batch) {
        const std::size_t start = lineBuffer_.size();
        AppendLogLine(lineBuffer_, entry);
        const std::string_view line(lineBuffer_.data() + start, lineBuffer_.size() - start);
        for (const SinkSlot& slot : sinks_) {
            try {
                slot.sink->Write(entry, line);
            } catch (...) {
                // A broken sink must not take the program or the other sinks down.
            }
        }
        lineBuffer_.push_back('\n');
    }
    if (config_.echoToStdout) {
        WriteAll(stdout, lineBuffer_);
    }
    WriteAll(sessionFile_, lineBuffer_);
    WriteAll(latestFile_, lineBuffer_);
}

void Logger::FlushFilesLocked() {
    if (config_.echoToStdout) {
        std::fflush(stdout);
    }
    if (sessionFile_ != nullptr) {
        std::fflush(sessionFile_);
    }
    if (latestFile_ != nullptr) {
        std::fflush(latestFile_);
    }
}

void Logger::FlushOutputsLocked() {
    SinkCallGuard guard(this);
    FlushFilesLocked();
    for (const SinkSlot& slot : sinks_) {
        try {
            slot.sink->Flush();
        } catch (...) {
        }
    }
}

void Logger::StartSinkThreadLocked() {
    if (sinkThreadRunning_.load(std::memory_order_relaxed)) {
        return;
    }
    stopSinkThread_ = false;
    sinkThread_ = std::thread([this] { SinkThreadMain(); });
    sinkThreadId_ = sinkThread_.get_id();
    sinkThreadRunning_.store(true, std::memory_order_release);
}

void Logger::SinkThreadMain() {
    Platform::SetCurrentThreadName("Brelk Log Sink");
    std::vector<LogEntry> batch;
    while (true) {
        {
            std::unique_lock queueLock(queueMutex_);
            queueHasWork_.wait(queueLock, [this] { return !pending_.empty() || stopSinkThread_; });
            if (pending_.empty()) {
                // Told to stop and nothing left: later entries take the synchronous path.
                sinkThreadRunning_.store(false, std::memory_order_release);
                queueHasRoom_.notify_all();
                written_.notify_all();
                return;
            }
            batch.clear();
            batch.swap(pending_);
        }
        queueHasRoom_.notify_all();
        {
            std::lock_guard outputLock(outputMutex_);
            WriteBatchLocked(batch);
            FlushOutputsLocked();
        }
        {
            std::lock_guard queueLock(queueMutex_);
            lastWrittenSequence_ = batch.back().sequence;
        }
        written_.notify_all();
    }
}

void Logger::Flush() {
    if (InsideSinkCall(this)) {
        // The output mutex is ours already; sinks are not re-entered from their own calls.
        FlushFilesLocked();
        return;
    }
    std::unique_lock queueLock(queueMutex_);
    if (!sinkThreadRunning_.load(std::memory_order_relaxed) ||
        std::this_thread::get_id() == sinkThreadId_) {
        queueLock.unlock();
        std::lock_guard outputLock(outputMutex_);
        FlushOutputsLocked();
        return;
    }
    const std::uint64_t target = lastQueuedSequence_;
    written_.wait(queueLock, [this, target] {
        return lastWrittenSequence_ >= target || !sinkThreadRunning_.load(std::memory_order_relaxed);
    });
}

bool Logger::Flush(std::uint32_t milliseconds) noexcept {
    try {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        if (InsideSinkCall(this)) {
            Flush();
            return true;
        }
        std::unique_lock queueLock(queueMutex_);
        if (!sinkThreadRunning_.load(std::memory_order_relaxed) ||
            std::this_thread::get_id() == sinkThreadId_) {
            queueLock.unlock();
            std::unique_lock outputLock(outputMutex_, deadline);
            if (!outputLock.owns_lock()) {
                return false;
            }
            FlushOutputsLocked();
            return true;
        }
        const std::uint64_t target = lastQueuedSequence_;
        return written_.wait_until(queueLock, deadline, [this, target] {
            return lastWrittenSequence_ >= target ||
                   !sinkThreadRunning_.load(std::memory_order_relaxed);
        }) && lastWrittenSequence_ >= target;
    } catch (...) {
        return false;
    }
}

void Logger::StartSession(std::string_view appName) {
    StartSession(appName, Platform::GetUserSettingsFolder() / "Logs");
}

void Logger::StartSession(std::string_view appName, const std::filesystem::path& folder) {
    {
        std::lock_guard outputLock(outputMutex_);
        if (sessionFile_ == nullptr && latestFile_ == nullptr && !folder.empty()) {
            std::filesystem::create_directories(folder);
            const std::string base = SessionFileBase(appName);
            sessionLogPath_ = folder / (base + "_" + SessionStamp() + ".log");
            latestLogPath_ = folder / (base + ".latest.log");
            sessionFile_ = Platform::OpenSharedFile(sessionLogPath_, Platform::SharedFileMode::Append);
            latestFile_ = Platform::OpenSharedFile(latestLogPath_, Platform::SharedFileMode::Truncate);
            std::string banner = "========== ";
            banner.append(appName);
            banner.append(" Log ==========\nSession Log: ");
            banner.append(Platform::PathToUtf8(sessionLogPath_));
            banner.append("\nLatest Log: ");
            banner.append(Platform::PathToUtf8(latestLogPath_));
            banner.append("\n====================================\n");
            for (std::FILE* file : {sessionFile_, latestFile_}) {
                if (file != nullptr) {
                    WriteAll(file, banner);
                    std::fflush(file);
                }
            }
        }
        sessionOpen_ = true;
    }

    if (const std::optional<std::string> levels = Platform::GetEnvironmentValue("BRELK_LOG_LEVELS")) {
        std::array<LogLevel, kLogCategoryCount> thresholds{};
        for (std::size_t i = 0; i < kLogCategoryCount; ++i) {
            thresholds[i] = static_cast<LogLevel>(thresholds_[i].load(std::memory_order_relaxed));
        }
        const bool valid = ApplyLogLevelSettings(*levels, thresholds);
        for (std::size_t i = 0; i < kLogCategoryCount; ++i) {
            thresholds_[i].store(static_cast<std::uint8_t>(thresholds[i]), std::memory_order_relaxed);
        }
        if (!valid) {
            Log(LogCategory::Core, LogLevel::Warning,
                "BRELK_LOG_LEVELS contains an invalid entry: '" + *levels + "'.");
        }
    }

    std::lock_guard queueLock(queueMutex_);
    StartSinkThreadLocked();
}

void Logger::Shutdown() {
    std::thread thread;
    {
        std::lock_guard queueLock(queueMutex_);
        stopSinkThread_ = true;
        thread = std::move(sinkThread_);
    }
    queueHasWork_.notify_all();
    if (thread.joinable()) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();
        } else {
            thread.join();
        }
    }

    // A sink that shuts the logger down already holds the output mutex on this thread.
    std::unique_lock outputLock(outputMutex_, std::defer_lock);
    if (!InsideSinkCall(this)) {
        outputLock.lock();
    }
    std::vector<LogEntry> rest;
    {
        std::lock_guard queueLock(queueMutex_);
        rest.swap(pending_);
        if (!rest.empty()) {
            lastWrittenSequence_ = rest.back().sequence;
        }
    }
    if (!rest.empty()) {
        WriteBatchLocked(rest);
    }
    FlushOutputsLocked();
    for (std::FILE** file : {&sessionFile_, &latestFile_}) {
        if (*file != nullptr) {
            std::fclose(*file);
            *file = nullptr;
        }
    }
    sessionOpen_ = false;
}

void Logger::SetThreshold(LogCategory category, LogLevel level) noexcept {
    const auto index = static_cast<std::size_t>(category);
    if (index < kLogCategoryCount) {
        thresholds_[index].store(static_cast<std::uint8_t>(level), std::memory_order_relaxed);
    }
}

void Logger::SetAllThresholds(LogLevel level) noexcept {
    for (auto& threshold : thresholds_) {
        threshold.store(static_cast<std::uint8_t>(level), std::memory_order_relaxed);
    }
}

LogLevel Logger::Threshold(LogCategory category) const noexcept {
    const auto index = static_cast<std::size_t>(category);
    return index < kLogCategoryCount
               ? static_cast<LogLevel>(thresholds_[index].load(std::memory_order_relaxed))
               : LogLevel::Off;
}

std::uint64_t Logger::AddSink(std::shared_ptr<LogSink> sink) {
    if (!sink) {
        return 0;
    }
    std::lock_guard outputLock(outputMutex_);
    const std::uint64_t id = nextSinkId_++;
    sinks_.push_back(SinkSlot{id, std::move(sink)});
    return id;
}

bool Logger::RemoveSink(std::uint64_t id) {
    std::shared_ptr<LogSink> removed;
    {
        std::lock_guard outputLock(outputMutex_);
        const auto it = std::find_if(sinks_.begin(), sinks_.end(),
                                     [id](const SinkSlot& slot) { return slot.id == id; });
        if (it == sinks_.end()) {
            return false;
        }
        removed = std::move(it->sink);
        sinks_.erase(it);
    }
    // The sink may be destroyed here, outside the lock, in case its destructor logs.
    return true;
}

std::vector<LogEntry> Logger::History() const {
    return HistorySince(0);
}

std::vector<LogEntry> Logger::HistorySince(std::uint64_t afterSequence,
                                           std::uint64_t* latestSequence) const {
    std::lock_guard queueLock(queueMutex_);
    std::vector<LogEntry> entries;
    const std::size_t count = history_.size();
    for (std::size_t i = 0; i < count; ++i) {
        const LogEntry& entry = history_[(historyStart_ + i) % count];
        if (entry.sequence > afterSequence) {
            entries.push_back(entry);
        }
    }
    if (latestSequence != nullptr) {
        *latestSequence = nextSequence_ - 1;
    }
    return entries;
}

bool Logger::HasSession() const {
    std::lock_guard outputLock(outputMutex_);
    return sessionOpen_;
}

std::filesystem::path Logger::SessionLogPath() const {
    std::lock_guard outputLock(outputMutex_);
    return sessionLogPath_;
}

std::filesystem::path Logger::LatestLogPath() const {
    std::lock_guard outputLock(outputMutex_);
    return latestLogPath_;
}

void LogInfo(std::string_view message) {
    Logger::Get().Log(LogCategory::General, LogLevel::Info, message);
}

void LogWarning(std::string_view message) {
    Logger::Get().Log(LogCategory::General, LogLevel::Warning, message);
}

void LogError(std::string_view message) {
    Logger::Get().Log(LogCategory::General, LogLevel::Error, message);
}

} // namespace Brelk::Core
