#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace Brelk::Core {

enum class LogLevel : std::uint8_t {
    Trace = 0,
    Debug = 1,
    Info = 2,
    Warning = 3,
    Error = 4,
    Fatal = 5,
    Off = 6,
};

enum class LogCategory : std::uint8_t {
    General = 0,
    Core = 1,
    Render = 2,
    Assets = 3,
    Scene = 4,
    Physics = 5,
    Audio = 6,
    Net = 7,
    Script = 8,
    Editor = 9,
};

inline constexpr std::size_t kLogCategoryCount = 10;

// "General", "Core", ...; "Unknown" for a number outside the ten.
std::string_view LogCategoryName(LogCategory category) noexcept;
// The tag of a line ("[Trace]" ... "[Fatal]"); empty for Off and beyond.
std::string_view LogLevelTag(LogLevel level) noexcept;
// Case-insensitive; a level also accepts "Warn" and "Off".
[[nodiscard]] bool ParseLogLevel(std::string_view name, LogLevel* level) noexcept;
[[nodiscard]] bool ParseLogCategory(std::string_view name, LogCategory* category) noexcept;

struct LogEntry {
    LogLevel level = LogLevel::Info;
    LogCategory category = LogCategory::General;
    std::uint64_t sequence = 0;
    std::uint32_t threadId = 0;
    std::string timestamp;
    std::string message;
};

// "hh:mm:ss [Tag] [Category] message" without the line feed; General has no category part.
std::string FormatLogLine(const LogEntry& entry);
void AppendLogLine(std::string& out, const LogEntry& entry);

struct LoggerConfig {
    bool echoToStdout = true;
    bool startSinkThread = false;
    std::uint64_t queueCapacity = 16384;
    std::uint64_t historyCapacity = 8192;
};

// A receiver of written entries. Write and Flush run under the logger's output mutex, on
// the sink thread or on the logging thread; an exception is swallowed. A sink may log: the
// nested entry goes to the history only.
class LogSink {
public:
    virtual ~LogSink() = default;
    virtual void Write(const LogEntry& entry, std::string_view line) = 0;
    virtual void Flush() = 0;
};

// Applies a BRELK_LOG_LEVELS value ("Assets=Debug;Render=off", "*=Warn", "debug") to the
// ten thresholds, left to right. Returns false at the first invalid entry; the entries
// before it stay applied.
[[nodiscard]] bool ApplyLogLevelSettings(std::string_view text,
                                     std::array<LogLevel, kLogCategoryCount>& thresholds);

class Logger {
public:
    explicit Logger(LoggerConfig config = {});
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    // The process-wide logger, made on first use: echo on, no sink thread.
    static Logger& Get();

    // The cheap test that callers may make before they build a message.
    bool IsEnabled(LogCategory category, LogLevel level) const noexcept {
        const auto c = static_cast<std::size_t>(category);
        const auto l = static_cast<std::uint8_t>(level);
        return c < kLogCategoryCount && l < static_cast<std::uint8_t>(LogLevel::Off) &&
               l >= thresholds_[c].load(std::memory_order_relaxed);
    }

    void Log(LogCategory category, LogLevel level, std::string_view message) {
        if (IsEnabled(category, level)) {
            Emit(category, level, message);
        }
    }

    // Builds the message only when the entry passes the filter.
    template <class MakeMessage>
        requires std::is_invocable_v<MakeMessage&>
    void Log(LogCategory category, LogLevel level, MakeMessage&& makeMessage) {
        if (IsEnabled(category, level)) {
            Emit(category, level, std::string_view(makeMessage()));
        }
    }

    // Opens "<name>_<stamp>.log" and "<name>.latest.log" in the user settings "Logs"
    // folder, reads BRELK_LOG_LEVELS and starts the sink thread.
    void StartSession(std::string_view appName);
    // Throws std::filesystem::filesystem_error when the folder cannot be created.
    void StartSession(std::string_view appName, const std::filesystem::path& folder);

    // Returns once every entry logged before the call is written.
    void Flush();
    // The same, bounded; true if the entries got written in time. Never throws.
    bool Flush(std::uint32_t milliseconds) noexcept;
    // Stops the sink thread, writes what remains and closes the files.
    void Shutdown();

    // A category number of 10 or more is ignored.
    void SetThreshold(LogCategory category, LogLevel level) noexcept;
    void SetAllThresholds(LogLevel level) noexcept;
    LogLevel Threshold(LogCategory category) const noexcept;

    std::uint64_t AddSink(std::shared_ptr<LogSink> sink);
    // False when no sink has that id.
    bool RemoveSink(std::uint64_t id);

    std::vector<LogEntry> History() const;
    // The entries with a sequence above afterSequence, oldest first, and the latest
    // sequence handed out (0 before the first entry).
    std::vector<LogEntry> HistorySince(std::uint64_t afterSequence,
                                       std::uint64_t* latestSequence = nullptr) const;

    bool HasSession() const;
    std::filesystem::path SessionLogPath() const;
    std::filesystem::path LatestLogPath() const;

private:
    struct SinkSlot {
        std::uint64_t id = 0;
        std::shared_ptr<LogSink> sink;
    };

    // Log past the filter.
    void Emit(LogCategory category, LogLevel level, std::string_view message);
    // Gives the entry its sequence and keeps a copy in the history; queue mutex held.
    void StampAndRemember(LogEntry& entry);
    // Output mutex held for these three. FlushFilesLocked leaves the sinks alone, so that a
    // sink may flush from inside its own call.
    void WriteBatchLocked(std::span<const LogEntry> batch);
    void FlushOutputsLocked();
    void FlushFilesLocked();
    // Queue mutex held.
    void StartSinkThreadLocked();
    void SinkThreadMain();

    LoggerConfig config_;
    std::array<std::atomic<std::uint8_t>, kLogCategoryCount> thresholds_;

    // Queue and history, under queueMutex_.
    mutable std::mutex queueMutex_;
    std::condition_variable queueHasWork_;
    std::condition_variable queueHasRoom_;
    std::condition_variable written_;
    std::vector<LogEntry> history_;
    std::size_t historyStart_ = 0;
    std::vector<LogEntry> pending_;
    std::uint64_t nextSequence_ = 1;
    std::uint64_t lastQueuedSequence_ = 0;
    std::uint64_t lastWrittenSequence_ = 0;
    // Written under queueMutex_, read without it as a hint by Log.
    std::atomic<bool> sinkThreadRunning_{false};
    bool stopSinkThread_ = false;
    std::thread sinkThread_;
    std::thread::id sinkThreadId_;

    // Outputs, under outputMutex_.
    mutable std::timed_mutex outputMutex_;
    std::FILE* sessionFile_ = nullptr;
    std::FILE* latestFile_ = nullptr;
    std::filesystem::path sessionLogPath_;
    std::filesystem::path latestLogPath_;
    bool sessionOpen_ = false;
    std::vector<SinkSlot> sinks_;
    std::uint64_t nextSinkId_ = 1;
    std::string lineBuffer_;
};

// General category, levels Info, Warning and Error of the global logger.
void LogInfo(std::string_view message);
void LogWarning(std::string_view message);
void LogError(std::string_view message);

} // namespace Brelk::Core

// Logs through the global logger; the message expression is not evaluated when the entry
// is filtered out, so building it costs nothing then.
#define BRELK_LOG(category, level, ...)                                                        \
    do {                                                                                       \
        ::Brelk::Core::Logger& brelkLogger_ = ::Brelk::Core::Logger::Get();                    \
        if (brelkLogger_.IsEnabled((category), (level))) {                                     \
            brelkLogger_.Log((category), (level), (__VA_ARGS__));                               \
        }                                                                                      \
    } while (false)
