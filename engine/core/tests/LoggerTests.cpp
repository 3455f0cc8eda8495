#include "engine/core/Logger.h"

#include "engine/core/Guid.h"
#include "engine/core/tests/Deadline.h"
#include "engine/platform/Thread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

namespace Brelk::Core {
namespace {

using Testing::kDeadline;
using Testing::RunWithDeadline;

LoggerConfig QuietConfig() {
    LoggerConfig config;
    config.echoToStdout = false;
    return config;
}

// Keeps what it is given, for tests to read after the fact.
class RecordingSink : public LogSink {
public:
    void Write(const LogEntry& entry, std::string_view line) override {
        std::lock_guard lock(mutex_);
        entries_.push_back(entry);
        lines_.emplace_back(line);
    }
    void Flush() override {
        std::lock_guard lock(mutex_);
        ++flushes_;
    }
    std::vector<LogEntry> Entries() const {
        std::lock_guard lock(mutex_);
        return entries_;
    }
    std::vector<std::string> Lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }
    int Flushes() const {
        std::lock_guard lock(mutex_);
        return flushes_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<LogEntry> entries_;
    std::vector<std::string> lines_;
    int flushes_ = 0;
};

class ThrowingSink : public LogSink {
public:
    void Write(const LogEntry&, std::string_view) override { throw std::runtime_error("sink broke"); }
    void Flush() override { throw std::runtime_error("sink broke"); }
};

// Logs from inside its own Write, as a sink that reports its own trouble would.
class ReenteringSink : public LogSink {
public:
    explicit ReenteringSink(Logger& logger) : logger_(logger) {}
    void Write(const LogEntry& entry, std::string_view) override {
        ++writes;
        if (entry.message != "nested") {
            logger_.Log(LogCategory::Core, LogLevel::Error, "nested");
            logger_.Flush();
        }
    }
    void Flush() override {}
    std::atomic<int> writes{0};

private:
    Logger& logger_;
};

std::string ReadText(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::stringstream text;
    text << stream.rdbuf();
    return text.str();
}

class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) {
            old_ = old;
        }
        ::setenv(name, value, 1);
    }
    ~ScopedEnvironment() {
        if (old_) {
            ::setenv(name_.c_str(), old_->c_str(), 1);
        } else {
            ::unsetenv(name_.c_str());
        }
    }

private:
    std::string name_;
    std::optional<std::string> old_;
};

class TemporaryFolder {
public:
    TemporaryFolder()
        : path_(std::filesystem::temp_directory_path() / ("brelk_logger_test_" + Guid::New().ToString())) {}
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

std::vector<std::string> Messages(const std::vector<LogEntry>& entries) {
    std::vector<std::string> messages;
    for (const LogEntry& entry : entries) {
        messages.push_back(entry.message);
    }
    return messages;
}

// ---- Line format -----------------------------------------------------------------------

TEST(LogLineFormat, GeneralEntryHasNoCategoryPart) {
    LogEntry entry{LogLevel::Info, LogCategory::General, 1, 1, "12:03:44", "message"};
    EXPECT_EQ(FormatLogLine(entry), "12:03:44 [Info] message");
}

TEST(LogLineFormat, OtherCategoriesAreNamedAfterTheTag) {
    LogEntry entry{LogLevel::Warning, LogCategory::Assets, 1, 1, "12:03:44", "message"};
    EXPECT_EQ(FormatLogLine(entry), "12:03:44 [Warn] [Assets] message");
}

TEST(LogLineFormat, EveryLevelHasItsTag) {
    EXPECT_EQ(LogLevelTag(LogLevel::Trace), "[Trace]");
    EXPECT_EQ(LogLevelTag(LogLevel::Debug), "[Debug]");
    EXPECT_EQ(LogLevelTag(LogLevel::Info), "[Info]");
    EXPECT_EQ(LogLevelTag(LogLevel::Warning), "[Warn]");
    EXPECT_EQ(LogLevelTag(LogLevel::Error), "[Error]");
    EXPECT_EQ(LogLevelTag(LogLevel::Fatal), "[Fatal]");
    EXPECT_EQ(LogLevelTag(LogLevel::Off), "");
}

TEST(LogLineFormat, CategoriesHaveTheirNamesAndOthersAreUnknown) {
    const char* expected[] = {"General", "Core", "Render", "Assets", "Scene",
                              "Physics", "Audio", "Net",    "Script", "Editor"};
    for (std::size_t i = 0; i < kLogCategoryCount; ++i) {
        EXPECT_EQ(LogCategoryName(static_cast<LogCategory>(i)), expected[i]);
    }
    EXPECT_EQ(LogCategoryName(static_cast<LogCategory>(10)), "Unknown");
    EXPECT_EQ(LogCategoryName(static_cast<LogCategory>(255)), "Unknown");
}

TEST(LogLineFormat, LevelNamesParseWithoutRegardToCase) {
    LogLevel level{};
    ASSERT_TRUE(ParseLogLevel("warn", &level));
    EXPECT_EQ(level, LogLevel::Warning);
    ASSERT_TRUE(ParseLogLevel("WARNING", &level));
    EXPECT_EQ(level, LogLevel::Warning);
    ASSERT_TRUE(ParseLogLevel("oFF", &level));
    EXPECT_EQ(level, LogLevel::Off);
    EXPECT_FALSE(ParseLogLevel("Loud", &level));
    EXPECT_FALSE(ParseLogLevel("", &level));
    LogCategory category{};
    ASSERT_TRUE(ParseLogCategory("physics", &category));
    EXPECT_EQ(category, LogCategory::Physics);
    EXPECT_FALSE(ParseLogCategory("Unknown", &category));
}

// ---- BRELK_LOG_LEVELS ------------------------------------------------------------------

struct LogLevelsCase {
    const char* text;
    bool valid;
    // Thresholds of General, Core, Render, Assets after the text, from all Info.
    LogLevel general, core, render, assets;
};

void PrintTo(const LogLevelsCase& c, std::ostream* out) {
    *out << '"' << c.text << '"';
}

class LogLevelsText : public ::testing::TestWithParam<LogLevelsCase> {};

TEST_P(LogLevelsText, SetsThresholdsLeftToRightAndStopsAtTheFirstBadEntry) {
    const LogLevelsCase& c = GetParam();
    std::array<LogLevel, kLogCategoryCount> thresholds;
    thresholds.fill(LogLevel::Info);
    EXPECT_EQ(ApplyLogLevelSettings(c.text, thresholds), c.valid);
    EXPECT_EQ(thresholds[0], c.general);
    EXPECT_EQ(thresholds[1], c.core);
    EXPECT_EQ(thresholds[2], c.render);
    EXPECT_EQ(thresholds[3], c.assets);
}

using L = LogLevel;
INSTANTIATE_TEST_SUITE_P(
    Grammar, LogLevelsText,
    ::testing::Values(
        LogLevelsCase{"Assets=Debug;Render=off", true, L::Info, L::Info, L::Off, L::Debug},
        LogLevelsCase{"debug", true, L::Debug, L::Debug, L::Debug, L::Debug},
        LogLevelsCase{"*=Warn", true, L::Warning, L::Warning, L::Warning, L::Warning},
        LogLevelsCase{"Assets=Loud", false, L::Info, L::Info, L::Info, L::Info},
        LogLevelsCase{"  Assets = Debug , ", true, L::Info, L::Info, L::Info, L::Debug},
        LogLevelsCase{"Render=Error,Assets=Loud,Core=Debug", false, L::Info, L::Info, L::Error, L::Info},
        LogLevelsCase{"", true, L::Info, L::Info, L::Info, L::Info},
        LogLevelsCase{" ;, ;", true, L::Info, L::Info, L::Info, L::Info},
        LogLevelsCase{"Assets", false, L::Info, L::Info, L::Info, L::Info},
        LogLevelsCase{"=Debug", false, L::Info, L::Info, L::Info, L::Info},
        LogLevelsCase{"Assets=", false, L::Info, L::Info, L::Info, L::Info},
        LogLevelsCase{"Assets=Debug=Info", false, L::Info, L::Info, L::Info, L::Info},
        LogLevelsCase{"Trace;Core=Error", true, L::Trace, L::Error, L::Trace, L::Trace},
        LogLevelsCase{"ASSETS=trace\t;\tcore = FATAL", true, L::Info, L::Fatal, L::Info, L::Trace},
        LogLevelsCase{"Error;Nowhere=Debug;Debug", false, L::Error, L::Error, L::Error, L::Error}),
    [](const ::testing::TestParamInfo<LogLevelsCase>& info) { return "Case" + std::to_string(info.index); });

// ---- Filtering and standard output -----------------------------------------------------

TEST(Logger, WithoutASessionPrintsInfoAtOnceAndDropsDebug) {
    Logger logger;
    ::testing::internal::CaptureStdout();
    logger.Log(LogCategory::Assets, LogLevel::Info, "loaded");
    logger.Log(LogCategory::Assets, LogLevel::Debug, "details");
    const std::string output = ::testing::internal::GetCapturedStdout();
    EXPECT_TRUE(std::regex_match(output, std::regex(R"(\d\d:\d\d:\d\d \[Info\] \[Assets\] loaded\n)"))) << output;
}

TEST(Logger, EchoOffWritesNothingToStandardOutput) {
    Logger logger(QuietConfig());
    ::testing::internal::CaptureStdout();
    logger.Log(LogCategory::General, LogLevel::Error, "quiet");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(Messages(logger.History()), std::vector<std::string>{"quiet"});
}

TEST(Logger, DropsEntriesBelowTheirCategoryThreshold) {
    Logger logger(QuietConfig());
    logger.SetThreshold(LogCategory::Render, LogLevel::Error);
    logger.Log(LogCategory::Render, LogLevel::Warning, "dropped");
    logger.Log(LogCategory::Render, LogLevel::Error, "kept render");
    logger.Log(LogCategory::Scene, LogLevel::Warning, "kept scene");
    EXPECT_EQ(Messages(logger.History()), (std::vector<std::string>{"kept render", "kept scene"}));
}

TEST(Logger, DropsUnknownCategoriesAndLevelsFromOffUp) {
    Logger logger(QuietConfig());
    logger.SetAllThresholds(LogLevel::Trace);
    logger.Log(static_cast<LogCategory>(10), LogLevel::Fatal, "bad category");
    logger.Log(LogCategory::General, LogLevel::Off, "off");
    logger.Log(LogCategory::General, static_cast<LogLevel>(200), "beyond");
    EXPECT_TRUE(logger.History().empty());
}

TEST(Logger, ThresholdOfOffSilencesACategory) {
    Logger logger(QuietConfig());
    logger.SetThreshold(LogCategory::Net, LogLevel::Off);
    logger.Log(LogCategory::Net, LogLevel::Fatal, "silenced");
    EXPECT_TRUE(logger.History().empty());
    EXPECT_FALSE(logger.IsEnabled(LogCategory::Net, LogLevel::Fatal));
}

TEST(Logger, IgnoresThresholdsForCategoriesFromTenUp) {
    Logger logger(QuietConfig());
    logger.SetThreshold(static_cast<LogCategory>(10), LogLevel::Trace);
    for (std::size_t i = 0; i < kLogCategoryCount; ++i) {
        EXPECT_EQ(logger.Threshold(static_cast<LogCategory>(i)), LogLevel::Info);
    }
    logger.SetAllThresholds(LogLevel::Error);
    EXPECT_EQ(logger.Threshold(LogCategory::Editor), LogLevel::Error);
}

TEST(Logger, BuildsALazyMessageOnlyWhenTheEntryPasses) {
    Logger logger(QuietConfig());
    int built = 0;
    logger.Log(LogCategory::Scene, LogLevel::Debug, [&] {
        ++built;
        return std::string("debug text");
    });
    EXPECT_EQ(built, 0);
    logger.Log(LogCategory::Scene, LogLevel::Info, [&] {
        ++built;
        return std::string("info text");
    });
    EXPECT_EQ(built, 1);
    EXPECT_EQ(Messages(logger.History()), std::vector<std::string>{"info text"});
}

TEST(Logger, MacroDoesNotEvaluateAFilteredMessage) {
    Logger& global = Logger::Get();
    const LogLevel saved = global.Threshold(LogCategory::Editor);
    global.SetThreshold(LogCategory::Editor, LogLevel::Error);
    int evaluated = 0;
    auto message = [&] {
        ++evaluated;
        return std::string("never");
    };
    BRELK_LOG(LogCategory::Editor, LogLevel::Warning, message());
    global.SetThreshold(LogCategory::Editor, saved);
    EXPECT_EQ(evaluated, 0);
}

// ---- History ---------------------------------------------------------------------------

TEST(Logger, NumbersEntriesFromOne) {
    Logger logger(QuietConfig());
    logger.Log(LogCategory::General, LogLevel::Info, "a");
    logger.Log(LogCategory::General, LogLevel::Debug, "filtered");
    logger.Log(LogCategory::General, LogLevel::Info, "b");
    const std::vector<LogEntry> history = logger.History();
    ASSERT_EQ(history.size(), 2u);
    EXPECT_EQ(history[0].sequence, 1u);
    EXPECT_EQ(history[1].sequence, 2u);
    EXPECT_EQ(history[0].level, LogLevel::Info);
    EXPECT_EQ(history[0].category, LogCategory::General);
    EXPECT_TRUE(std::regex_match(history[0].timestamp, std::regex(R"(\d\d:\d\d:\d\d)")));
}

TEST(Logger, HistoryOf8192DropsTheFirstEntryAtThe8193rd) {
    Logger logger(QuietConfig());
    for (int i = 1; i <= 8193; ++i) {
        logger.Log(LogCategory::General, LogLevel::Info, std::to_string(i));
    }
    const std::vector<LogEntry> history = logger.History();
    ASSERT_EQ(history.size(), 8192u);
    EXPECT_EQ(history.front().sequence, 2u);
    EXPECT_EQ(history.front().message, "2");
    EXPECT_EQ(history.back().sequence, 8193u);
}

TEST(Logger, CapacitiesOfZeroCountAsOne) {
    LoggerConfig config = QuietConfig();
    config.historyCapacity = 0;
    config.queueCapacity = 0;
    Logger logger(config);
    logger.Log(LogCategory::General, LogLevel::Info, "first");
    logger.Log(LogCategory::General, LogLevel::Info, "second");
    EXPECT_EQ(Messages(logger.History()), std::vector<std::string>{"second"});
}

TEST(Logger, HistorySinceGivesLaterEntriesAndTheLatestSequence) {
    Logger logger(QuietConfig());
    std::uint64_t latest = 99;
    EXPECT_TRUE(logger.HistorySince(0, &latest).empty());
    EXPECT_EQ(latest, 0u);
    for (const char* message : {"one", "two", "three"}) {
        logger.Log(LogCategory::General, LogLevel::Info, message);
    }
    EXPECT_EQ(Messages(logger.HistorySince(1, &latest)), (std::vector<std::string>{"two", "three"}));
    EXPECT_EQ(latest, 3u);
    EXPECT_TRUE(logger.HistorySince(3, &latest).empty());
}

TEST(Logger, GivesEachThreadItsOwnSmallNumber) {
    Logger logger(QuietConfig());
    logger.Log(LogCategory::General, LogLevel::Info, "main");
    logger.Log(LogCategory::General, LogLevel::Info, "main again");
    std::thread([&] { logger.Log(LogCategory::General, LogLevel::Info, "other"); }).join();
    const std::vector<LogEntry> history = logger.History();
    ASSERT_EQ(history.size(), 3u);
    EXPECT_EQ(history[0].threadId, history[1].threadId);
    EXPECT_NE(history[0].threadId, history[2].threadId);
    EXPECT_GT(history[0].threadId, 0u);
}

// ---- Sinks -----------------------------------------------------------------------------

TEST(Logger, HandsSinksTheEntryAndItsLineWithoutLineFeed) {
    Logger logger(QuietConfig());
    auto sink = std::make_shared<RecordingSink>();
    const std::uint64_t id = logger.AddSink(sink);
    EXPECT_NE(id, 0u);
    logger.Log(LogCategory::Physics, LogLevel::Error, "contact");
    ASSERT_EQ(sink->Entries().size(), 1u);
    EXPECT_EQ(sink->Entries()[0].message, "contact");
    EXPECT_EQ(sink->Lines()[0], sink->Entries()[0].timestamp + " [Error] [Physics] contact");
    EXPECT_GE(sink->Flushes(), 1);
}

TEST(Logger, SwallowsASinkFailureAndCallsTheNextSink) {
    Logger logger(QuietConfig());
    logger.AddSink(std::make_shared<ThrowingSink>());
    auto sink = std::make_shared<RecordingSink>();
    logger.AddSink(sink);
    logger.Log(LogCategory::General, LogLevel::Info, "still here");
    EXPECT_EQ(Messages(sink->Entries()), std::vector<std::string>{"still here"});
}

TEST(Logger, RemovedSinkGetsNoMoreEntries) {
    Logger logger(QuietConfig());
    auto sink = std::make_shared<RecordingSink>();
    const std::uint64_t id = logger.AddSink(sink);
    logger.Log(LogCategory::General, LogLevel::Info, "before");
    EXPECT_TRUE(logger.RemoveSink(id));
    EXPECT_FALSE(logger.RemoveSink(id));
    logger.Log(LogCategory::General, LogLevel::Info, "after");
    EXPECT_EQ(Messages(sink->Entries()), std::vector<std::string>{"before"});
}

TEST(Logger, SinkThatLogsInsideWriteKeepsTheNestedEntryInHistoryOnly) {
    RunWithDeadline(kDeadline, [] {
        Logger logger(QuietConfig());
        auto sink = std::make_shared<ReenteringSink>(logger);
        logger.AddSink(sink);
        logger.Log(LogCategory::General, LogLevel::Info, "outer");
        EXPECT_EQ(sink->writes.load(), 1);
        EXPECT_EQ(Messages(logger.History()), (std::vector<std::string>{"outer", "nested"}));
    });
}

TEST(Logger, SinkThatLogsInsideWriteOnTheSinkThreadDoesNotDeadlock) {
    TemporaryFolder folder;
    RunWithDeadline(kDeadline, [&] {
        Logger logger(QuietConfig());
        auto sink = std::make_shared<ReenteringSink>(logger);
        logger.AddSink(sink);
        logger.StartSession("Reenter", folder.Path());
        for (int i = 0; i < 50; ++i) {
            logger.Log(LogCategory::General, LogLevel::Info, "outer");
        }
        logger.Flush();
        logger.Shutdown();
        EXPECT_EQ(sink->writes.load(), 50);
        EXPECT_EQ(logger.History().size(), 100u);
    });
}

// ---- Sessions --------------------------------------------------------------------------

TEST(LoggerSession, NamesFilesAfterTheCleanedAppNameAndWritesTheBanner) {
    TemporaryFolder folder;
    Logger logger(QuietConfig());
    logger.StartSession("My Game!", folder.Path());
    const std::filesystem::path session = logger.SessionLogPath();
    const std::filesystem::path latest = logger.LatestLogPath();
    EXPECT_TRUE(logger.HasSession());
    logger.Log(LogCategory::Scene, LogLevel::Warning, "saved");
    logger.Shutdown();
    EXPECT_FALSE(logger.HasSession());

    EXPECT_EQ(session.parent_path(), folder.Path());
    EXPECT_TRUE(std::regex_match(session.filename().string(), std::regex(R"(My_Game__\d{8}_\d{6}\.log)")))
        << session;
    EXPECT_EQ(latest, folder.Path() / "My_Game_.latest.log");

    const std::string banner = "========== My Game! Log ==========\nSession Log: " + session.string() +
                               "\nLatest Log: " + latest.string() + "\n====================================\n";
    for (const std::filesystem::path& path : {session, latest}) {
        const std::string text = ReadText(path);
        ASSERT_TRUE(text.starts_with(banner)) << text;
        EXPECT_TRUE(std::regex_match(text.substr(banner.size()),
                                     std::regex(R"(\d\d:\d\d:\d\d \[Warn\] \[Scene\] saved\n)")))
            << text;
    }
}

TEST(LoggerSession, EmptyAppNameBecomesBrelkEngine) {
    TemporaryFolder folder;
    Logger logger(QuietConfig());
    logger.StartSession("", folder.Path());
    EXPECT_EQ(logger.LatestLogPath(), folder.Path() / "BrelkEngine.latest.log");
    logger.Shutdown();
}

TEST(LoggerSession, LatestLogHoldsOnlyTheLastRunAndTheSessionLogAppends) {
    TemporaryFolder folder;
    std::filesystem::path session;
    for (const char* message : {"first run", "second run"}) {
        Logger logger(QuietConfig());
        logger.StartSession("Runs", folder.Path());
        session = logger.SessionLogPath();
        logger.Log(LogCategory::General, LogLevel::Info, message);
    }
    const std::string latest = ReadText(folder.Path() / "Runs.latest.log");
    EXPECT_EQ(latest.find("first run"), std::string::npos);
    EXPECT_NE(latest.find("second run"), std::string::npos);
    EXPECT_NE(ReadText(session).find("second run"), std::string::npos);
}

TEST(LoggerSession, FatalEntryIsOnDiskWhenLogReturns) {
    TemporaryFolder folder;
    RunWithDeadline(kDeadline, [&] {
        Logger logger(QuietConfig());
        logger.StartSession("Fatal", folder.Path());
        logger.Log(LogCategory::Core, LogLevel::Fatal, "going down");
        EXPECT_NE(ReadText(logger.LatestLogPath()).find("[Fatal] [Core] going down\n"), std::string::npos);
        logger.Shutdown();
    });
}

TEST(LoggerSession, FlushReturnsWhenEverythingLoggedIsWritten) {
    TemporaryFolder folder;
    RunWithDeadline(kDeadline, [&] {
        Logger logger(QuietConfig());
        auto sink = std::make_shared<RecordingSink>();
        logger.AddSink(sink);
        logger.StartSession("Flush", folder.Path());
        for (int i = 0; i < 200; ++i) {
            logger.Log(LogCategory::General, LogLevel::Info, std::to_string(i));
        }
        logger.Flush();
        EXPECT_EQ(sink->Entries().size(), 200u);
        logger.Log(LogCategory::General, LogLevel::Info, "bounded");
        EXPECT_TRUE(logger.Flush(10000));
        EXPECT_EQ(sink->Entries().size(), 201u);
        logger.Shutdown();
    });
}

TEST(LoggerSession, WritesEntriesFromManyThreadsInSequenceOrderUnderBackPressure) {
    TemporaryFolder folder;
    RunWithDeadline(kDeadline, [&] {
        LoggerConfig config = QuietConfig();
        config.queueCapacity = 4;
        Logger logger(config);
        auto sink = std::make_shared<RecordingSink>();
        logger.AddSink(sink);
        logger.StartSession("Threads", folder.Path());
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&logger, t] {
                for (int i = 0; i < 250; ++i) {
                    logger.Log(LogCategory::Net, LogLevel::Info, std::to_string(t));
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        logger.Shutdown();
        const std::vector<LogEntry> entries = sink->Entries();
        ASSERT_EQ(entries.size(), 1000u);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            EXPECT_EQ(entries[i].sequence, i + 1);
        }
        std::istringstream file(ReadText(logger.LatestLogPath()));
        std::string line;
        int lines = 0;
        while (std::getline(file, line)) {
            lines += line.find("[Info] [Net]") != std::string::npos ? 1 : 0;
        }
        EXPECT_EQ(lines, 1000);
    });
}

TEST(LoggerSession, WritesSynchronouslyAgainAfterShutdown) {
    TemporaryFolder folder;
    Logger logger(QuietConfig());
    auto sink = std::make_shared<RecordingSink>();
    logger.AddSink(sink);
    logger.StartSession("Again", folder.Path());
    logger.Shutdown();
    logger.Log(LogCategory::General, LogLevel::Info, "after");
    EXPECT_EQ(Messages(sink->Entries()), std::vector<std::string>{"after"});
}

TEST(LoggerSession, ReadsLogLevelsFromTheEnvironment) {
    TemporaryFolder folder;
    ScopedEnvironment levels("BRELK_LOG_LEVELS", "Assets=Debug;Render=off");
    Logger logger(QuietConfig());
    logger.StartSession("Levels", folder.Path());
    EXPECT_EQ(logger.Threshold(LogCategory::Assets), LogLevel::Debug);
    EXPECT_EQ(logger.Threshold(LogCategory::Render), LogLevel::Off);
    EXPECT_EQ(logger.Threshold(LogCategory::Core), LogLevel::Info);
    logger.Shutdown();
}

TEST(LoggerSession, WarnsAboutAnInvalidEntryWithTheWholeValue) {
    TemporaryFolder folder;
    ScopedEnvironment levels("BRELK_LOG_LEVELS", "Render=Error;Assets=Loud");
    Logger logger(QuietConfig());
    logger.StartSession("Levels", folder.Path());
    logger.Shutdown();
    EXPECT_EQ(logger.Threshold(LogCategory::Render), LogLevel::Error);
    EXPECT_EQ(logger.Threshold(LogCategory::Assets), LogLevel::Info);
    const std::vector<LogEntry> history = logger.History();
    ASSERT_EQ(history.size(), 1u);
    EXPECT_EQ(history[0].level, LogLevel::Warning);
    EXPECT_EQ(history[0].category, LogCategory::Core);
    EXPECT_EQ(history[0].message, "BRELK_LOG_LEVELS contains an invalid entry: 'Render=Error;Assets=Loud'.");
}

TEST(LoggerSession, WithoutASessionTheEnvironmentIsNotRead) {
    ScopedEnvironment levels("BRELK_LOG_LEVELS", "Trace");
    Logger logger(QuietConfig());
    logger.Log(LogCategory::General, LogLevel::Debug, "dropped");
    EXPECT_TRUE(logger.History().empty());
}

TEST(LoggerSession, FolderThatCannotBeCreatedThrowsTheFileSystemError) {
    TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path());
    std::ofstream(folder.Path() / "blocker") << "x";
    Logger logger(QuietConfig());
    try {
        logger.StartSession("Blocked", folder.Path() / "blocker" / "Logs");
        FAIL() << "StartSession should have thrown";
    } catch (const std::filesystem::filesystem_error& error) {
        EXPECT_EQ(error.path1(), folder.Path() / "blocker" / "Logs");
        EXPECT_EQ(error.code(), std::make_error_code(std::errc::not_a_directory));
    }
}

TEST(LoggerSession, EmptyFolderOpensNoFilesButStartsTheSinkThread) {
    RunWithDeadline(kDeadline, [] {
        Logger logger(QuietConfig());
        auto sink = std::make_shared<RecordingSink>();
        logger.AddSink(sink);
        logger.StartSession("NoFiles", std::filesystem::path());
        EXPECT_TRUE(logger.SessionLogPath().empty());
        logger.Log(LogCategory::General, LogLevel::Info, "queued");
        logger.Flush();
        EXPECT_EQ(Messages(sink->Entries()), std::vector<std::string>{"queued"});
        logger.Shutdown();
    });
}

TEST(LoggerSession, ConfiguredSinkThreadStartsWithTheLogger) {
    RunWithDeadline(kDeadline, [] {
        LoggerConfig config = QuietConfig();
        config.startSinkThread = true;
        Logger logger(config);
        auto sink = std::make_shared<RecordingSink>();
        logger.AddSink(sink);
        logger.Log(LogCategory::General, LogLevel::Info, "threaded");
        EXPECT_TRUE(logger.Flush(10000));
        EXPECT_EQ(Messages(sink->Entries()), std::vector<std::string>{"threaded"});
    });
}

TEST(LoggerSession, SinkThreadIsNamed) {
    RunWithDeadline(kDeadline, [] {
        class NameSink : public LogSink {
        public:
            void Write(const LogEntry&, std::string_view) override { name = Platform::GetCurrentThreadName(); }
            void Flush() override {}
            std::string name;
        };
        Logger logger(QuietConfig());
        auto sink = std::make_shared<NameSink>();
        logger.AddSink(sink);
        logger.StartSession("Named", std::filesystem::path());
        logger.Log(LogCategory::General, LogLevel::Info, "where");
        logger.Shutdown();
        EXPECT_EQ(sink->name, "Brelk Log Sink");
    });
}

TEST(LoggerSession, BoundedFlushGivesUpAtItsDeadline) {
    RunWithDeadline(kDeadline, [] {
        class BlockingSink : public LogSink {
        public:
            void Write(const LogEntry&, std::string_view) override {
                std::unique_lock lock(mutex);
                entered = true;
                changed.notify_all();
                changed.wait(lock, [this] { return released; });
            }
            void Flush() override {}
            void Release() {
                std::lock_guard lock(mutex);
                released = true;
                changed.notify_all();
            }
            void AwaitEntered() {
                std::unique_lock lock(mutex);
                changed.wait(lock, [this] { return entered; });
            }
            std::mutex mutex;
            std::condition_variable changed;
            bool entered = false;
            bool released = false;
        };
        Logger logger(QuietConfig());
        auto sink = std::make_shared<BlockingSink>();
        logger.AddSink(sink);
        logger.StartSession("Blocked", std::filesystem::path());
        logger.Log(LogCategory::General, LogLevel::Info, "held");
        sink->AwaitEntered();
        EXPECT_FALSE(logger.Flush(20));
        sink->Release();
        EXPECT_TRUE(logger.Flush(10000));
        logger.Shutdown();
    });
}

TEST(LoggerSession, SinkThatShutsTheLoggerDownDoesNotDeadlock) {
    RunWithDeadline(kDeadline, [] {
        class StoppingSink : public LogSink {
        public:
            explicit StoppingSink(Logger& logger) : logger_(logger) {}
            void Write(const LogEntry&, std::string_view) override { logger_.Shutdown(); }
            void Flush() override {}

        private:
            Logger& logger_;
        };
        auto logger = std::make_unique<Logger>(QuietConfig());
        logger->AddSink(std::make_shared<StoppingSink>(*logger));
        logger->StartSession("Stopping", std::filesystem::path());
        logger->Log(LogCategory::General, LogLevel::Info, "stop");
        logger.reset();
    });
}

TEST(Logger, FreeFunctionsLogToTheGlobalLoggerInGeneral) {
    Logger& global = Logger::Get();
    std::uint64_t before = 0;
    (void)global.HistorySince(0, &before);
    ::testing::internal::CaptureStdout();
    LogInfo("free info");
    LogWarning("free warning");
    LogError("free error");
    const std::string output = ::testing::internal::GetCapturedStdout();
    const std::vector<LogEntry> entries = global.HistorySince(before);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].level, LogLevel::Info);
    EXPECT_EQ(entries[1].level, LogLevel::Warning);
    EXPECT_EQ(entries[2].level, LogLevel::Error);
    for (const LogEntry& entry : entries) {
        EXPECT_EQ(entry.category, LogCategory::General);
    }
    EXPECT_NE(output.find("[Warn] free warning\n"), std::string::npos);
}

} // namespace
} // namespace Brelk::Core
