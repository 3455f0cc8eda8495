#include "engine/core/Logger.h"

#include "tests/support/Deadline.h"
#include "engine/platform/Thread.h"
#include "tests/support/TestSupport.h"
#include "tests/support/TextCases.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <sstream>

namespace Brelk::Core {
namespace {

using Brelk::Testing::ReadText;
using Brelk::Testing::ScratchFolder;
using Testing::kDeadline;
using Testing::RunWithDeadline;
using Strings = std::vector<std::string>;

const LoggerConfig kQuiet{.echoToStdout = false};

// Read only after a Flush or Shutdown, which orders the reads after the writes.
struct RecordingSink : LogSink {
    void Write(const LogEntry& entry, std::string_view line) override {
        entries.push_back(entry);
        lines.emplace_back(line);
        thread = Platform::GetCurrentThreadName();
    }
    void Flush() override { ++flushes; }
    std::vector<LogEntry> entries;
    Strings lines;
    std::string thread;
    int flushes = 0;
};

struct ThrowingSink : LogSink {
    void Write(const LogEntry&, std::string_view) override { throw std::runtime_error("sink broke"); }
    void Flush() override { throw std::runtime_error("sink broke"); }
};

// Calls back into the logger from inside a write.
struct CallbackSink : LogSink {
    explicit CallbackSink(std::function<void(const LogEntry&)> onWrite) : onWrite(std::move(onWrite)) {}
    void Write(const LogEntry& entry, std::string_view) override { onWrite(entry); }
    void Flush() override {}
    std::function<void(const LogEntry&)> onWrite;
};

Strings Messages(const std::vector<LogEntry>& entries) {
    Strings messages;
    for (const LogEntry& entry : entries) messages.push_back(entry.message);
    return messages;
}

// ---- Line format and names -------------------------------------------------------------

// The lines themselves are checked where they are echoed and handed to sinks; the category
// names where the log level settings name what they changed.
TEST(LogLineFormat, NamesEveryLevelTagAndNoCategoryBeyondTheTen) {
    const char* tags[] = {"[Trace]", "[Debug]", "[Info]", "[Warn]", "[Error]", "[Fatal]", ""};
    for (int level = 0; level <= 6; ++level) EXPECT_EQ(LogLevelTag(static_cast<LogLevel>(level)), tags[level]);
    for (const int beyond : {10, 255}) EXPECT_EQ(LogCategoryName(static_cast<LogCategory>(beyond)), "Unknown");
}

// Whether a settings text applies, and the thresholds it leaves that are not Info.
std::string AppliedLevels(std::string_view text) {
    const char* names[] = {"Trace", "Debug", "Info", "Warn", "Error", "Fatal", "Off"};
    std::array<LogLevel, kLogCategoryCount> thresholds;
    thresholds.fill(LogLevel::Info);
    std::string outcome = ApplyLogLevelSettings(text, thresholds) ? "applied" : "refused";
    for (std::size_t i = 0; i < kLogCategoryCount; ++i) {
        if (thresholds[i] == LogLevel::Info) continue;
        outcome += " " + std::string(LogCategoryName(static_cast<LogCategory>(i))) + "=" +
                   names[static_cast<int>(thresholds[i])];
    }
    return outcome;
}

TEST(LogLevelsText, ParsesNamesInAnyCaseLeftToRightAndStopsAtTheFirstBadEntry) {
    // Trailing blanks stay here, where no editor strips them.
    EXPECT_EQ(AppliedLevels("  Assets = Debug , "), "applied Assets=Debug");
    Testing::ExpectTextCases(std::string(BRELK_TEST_DATA_DIR) + "/LogLevelSettings.txt", [](const Testing::TextCase& c) {
        return AppliedLevels(std::string_view(c.input).substr(0, c.input.find_last_not_of('\n') + 1));
    });
}

// ---- Filtering and standard output -----------------------------------------------------

TEST(Logger, EchoesToStandardOutputOnlyWhenConfiguredAndTheFreeFunctionsUseTheGlobalLoggerInGeneral) {
    Logger quiet(kQuiet);
    std::uint64_t before = 0;
    (void)Logger::Get().HistorySince(0, &before);
    ::testing::internal::CaptureStdout();
    quiet.Log(LogCategory::General, LogLevel::Error, "quiet");
    Logger::Get().Log(LogCategory::Assets, LogLevel::Info, "loaded");
    Logger::Get().Log(LogCategory::Assets, LogLevel::Debug, "details");
    LogInfo("free info");
    LogWarning("free warning");
    LogError("free error");
    const std::string output = ::testing::internal::GetCapturedStdout();
    const std::string time = "[0-9][0-9]:[0-9][0-9]:[0-9][0-9] ";
    EXPECT_THAT(output, ::testing::MatchesRegex(time + "\\[Info\\] \\[Assets\\] loaded\n" + time + "\\[Info\\] free info\n" +
                                                time + "\\[Warn\\] free warning\n" + time + "\\[Error\\] free error\n"));
    EXPECT_EQ(Messages(quiet.History()), Strings{"quiet"});
    EXPECT_EQ(Messages(Logger::Get().HistorySince(before)), (Strings{"loaded", "free info", "free warning", "free error"}));
}

TEST(Logger, FiltersByCategoryThresholdAndDropsUnknownCategoriesAndLevelsBeforeBuildingTheMessage) {
    Logger logger(kQuiet);
    int built = 0;
    auto make = [&built](const char* text) { return [&built, text] { ++built; return std::string(text); }; };
    logger.SetThreshold(LogCategory::Render, LogLevel::Error);
    logger.SetThreshold(LogCategory::Net, LogLevel::Off);
    logger.SetThreshold(static_cast<LogCategory>(10), LogLevel::Trace);
    EXPECT_EQ(logger.Threshold(LogCategory::General), LogLevel::Info);
    logger.Log(LogCategory::Render, LogLevel::Warning, "dropped");
    logger.Log(LogCategory::Render, LogLevel::Error, "kept render");
    logger.Log(LogCategory::Scene, LogLevel::Warning, "kept scene");
    logger.Log(LogCategory::Net, LogLevel::Fatal, "silenced");
    EXPECT_FALSE(logger.IsEnabled(LogCategory::Net, LogLevel::Fatal));
    logger.SetAllThresholds(LogLevel::Trace);
    EXPECT_EQ(logger.Threshold(LogCategory::Editor), LogLevel::Trace);
    logger.Log(static_cast<LogCategory>(10), LogLevel::Fatal, "bad category");
    logger.Log(LogCategory::General, LogLevel::Off, "off");
    logger.Log(LogCategory::General, static_cast<LogLevel>(200), "beyond");
    logger.SetThreshold(LogCategory::Scene, LogLevel::Info);
    logger.Log(LogCategory::Scene, LogLevel::Debug, make("debug text"));
    EXPECT_EQ(built, 0);
    logger.Log(LogCategory::Scene, LogLevel::Info, make("info text"));
    EXPECT_EQ(built, 1);
    EXPECT_EQ(Messages(logger.History()), (Strings{"kept render", "kept scene", "info text"}));

    Logger& global = Logger::Get();
    const LogLevel saved = global.Threshold(LogCategory::Editor);
    global.SetThreshold(LogCategory::Editor, LogLevel::Error);
    BRELK_LOG(LogCategory::Editor, LogLevel::Warning, make("never")());
    global.SetThreshold(LogCategory::Editor, saved);
    EXPECT_EQ(built, 1);
}

// ---- History ---------------------------------------------------------------------------

TEST(Logger, NumbersEntriesFromOneKeepsTheHistoryCapacityAndGivesTheHistorySinceASequence) {
    Logger logger(kQuiet);
    std::uint64_t latest = 99;
    EXPECT_TRUE(logger.HistorySince(0, &latest).empty());
    EXPECT_EQ(latest, 0u);
    logger.Log(LogCategory::General, LogLevel::Info, "one");
    logger.Log(LogCategory::General, LogLevel::Debug, "filtered");
    logger.Log(LogCategory::General, LogLevel::Info, "two");
    std::thread([&] { logger.Log(LogCategory::General, LogLevel::Info, "three"); }).join();
    const std::vector<LogEntry> history = logger.History();
    ASSERT_EQ(history.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(history[i].sequence, i + 1);
    EXPECT_TRUE(history[0].threadId > 0 && history[1].threadId == history[0].threadId &&
                history[2].threadId != history[0].threadId);
    EXPECT_EQ(Messages(logger.HistorySince(1, &latest)), (Strings{"two", "three"}));
    EXPECT_EQ(latest, 3u);
    EXPECT_TRUE(logger.HistorySince(3, &latest).empty());
    for (const std::uint64_t capacity : {std::uint64_t{8192}, std::uint64_t{0}}) {
        Logger bounded({.echoToStdout = false, .queueCapacity = capacity, .historyCapacity = capacity});
        const std::uint64_t kept = capacity == 0 ? 1 : capacity;
        for (std::uint64_t i = 1; i <= kept + 1; ++i) bounded.Log(LogCategory::General, LogLevel::Info, std::to_string(i));
        const std::vector<LogEntry> last = bounded.History();
        ASSERT_EQ(last.size(), kept) << capacity;
        EXPECT_EQ(std::tie(last.front().sequence, last.front().message), std::tuple(2u, "2"));
        EXPECT_EQ(last.back().sequence, kept + 1);
    }
}

// ---- Sinks -----------------------------------------------------------------------------

TEST(Logger, SinksGetEntryAndLinePastAFailingSinkUntilRemovedAndWhatASinkLogsGoesToTheHistoryOnly) {
    RunWithDeadline(kDeadline, [] {
        Logger logger(kQuiet);
        logger.AddSink(std::make_shared<ThrowingSink>());
        auto sink = std::make_shared<RecordingSink>();
        const std::uint64_t id = logger.AddSink(sink);
        std::atomic<int> reentered{0};
        logger.AddSink(std::make_shared<CallbackSink>([&](const LogEntry& entry) {
            ++reentered;
            if (entry.message != "nested") {
                logger.Log(LogCategory::Core, LogLevel::Error, "nested");
                logger.Flush();
            }
        }));
        logger.Log(LogCategory::Physics, LogLevel::Error, "contact");
        ASSERT_EQ(sink->entries.size(), 1u);
        EXPECT_EQ(sink->lines[0], sink->entries[0].timestamp + " [Error] [Physics] contact");
        EXPECT_GE(sink->flushes, 1);
        EXPECT_EQ(reentered.load(), 1);
        EXPECT_EQ(Messages(logger.History()), (Strings{"contact", "nested"}));
        EXPECT_TRUE(id != 0 && logger.RemoveSink(id));
        EXPECT_FALSE(logger.RemoveSink(id));
        // On the sink thread too.
        logger.StartSession("Reenter", std::filesystem::path());
        for (int i = 0; i < 50; ++i) logger.Log(LogCategory::General, LogLevel::Info, "outer");
        logger.Flush();
        logger.Shutdown();
        EXPECT_EQ(Messages(sink->entries), Strings{"contact"});
        EXPECT_EQ(reentered.load(), 51);
        EXPECT_EQ(logger.History().size(), 102u);
    });
}

// ---- Sessions --------------------------------------------------------------------------

TEST(LoggerSession, NamesFilesAfterTheCleanedAppNameWritesTheBannerAndFatalAtOnceAndReadsLevelsOnlyAtTheStart) {
    ScratchFolder folder;
    Brelk::Testing::WriteText(folder / "blocker", "x");
    RunWithDeadline(kDeadline, [&] {
        Logger logger(kQuiet);
        try {
            logger.StartSession("My Game!", folder / "blocker" / "Logs");
            FAIL() << "StartSession should have thrown";
        } catch (const std::filesystem::filesystem_error& error) {
            EXPECT_EQ(error.path1(), folder / "blocker" / "Logs");
            EXPECT_EQ(error.code(), std::make_error_code(std::errc::not_a_directory));
        }
        logger.StartSession("My Game!", folder.Path());
        const std::filesystem::path session = logger.SessionLogPath();
        const std::filesystem::path latest = logger.LatestLogPath();
        EXPECT_TRUE(logger.HasSession());
        logger.Log(LogCategory::Scene, LogLevel::Warning, "saved");
        logger.Log(LogCategory::Core, LogLevel::Fatal, "going down");
        EXPECT_NE(ReadText(latest).find("[Fatal] [Core] going down\n"), std::string::npos);
        logger.Shutdown();
        EXPECT_FALSE(logger.HasSession());

        EXPECT_EQ(session.parent_path(), folder.Path());
        EXPECT_THAT(session.filename().string(), ::testing::MatchesRegex("My_Game__[0-9]{8}_[0-9]{6}\\.log"))
            << session;
        EXPECT_EQ(latest, folder / "My_Game_.latest.log");
        const std::string banner = "========== My Game! Log ==========\nSession Log: " + session.string() +
                                   "\nLatest Log: " + latest.string() + "\n====================================\n";
        for (const std::filesystem::path& path : {session, latest}) {
            const std::string text = ReadText(path);
            ASSERT_TRUE(text.starts_with(banner)) << text;
            EXPECT_THAT(text.substr(banner.size()),
                        ::testing::MatchesRegex("[0-9][0-9]:[0-9][0-9]:[0-9][0-9] \\[Warn\\] \\[Scene\\] saved\n"
                                                "[0-9][0-9]:[0-9][0-9]:[0-9][0-9] \\[Fatal\\] \\[Core\\] going down\n"));
        }

        // The latest log holds the last run only, which reads the log levels when it starts.
        Brelk::Testing::ScopedEnvironmentVariable levels("BRELK_LOG_LEVELS", "Render=Error;Assets=Loud");
        Logger again(kQuiet);
        EXPECT_EQ(again.Threshold(LogCategory::Render), LogLevel::Info);
        again.StartSession("My Game!", folder.Path());
        again.Log(LogCategory::General, LogLevel::Info, "second run");
        again.Shutdown();
        EXPECT_EQ(std::tuple(again.Threshold(LogCategory::Render), again.Threshold(LogCategory::Assets)),
                  std::tuple(LogLevel::Error, LogLevel::Info));
        const std::string text = ReadText(latest);
        EXPECT_EQ(text.find("saved"), std::string::npos);
        EXPECT_NE(text.find(" [Warn] [Core] BRELK_LOG_LEVELS contains an invalid entry: 'Render=Error;Assets=Loud'.\n"),
                  std::string::npos);
        EXPECT_NE(text.find("second run"), std::string::npos);
    });
}

TEST(LoggerSession, WritesEntriesFromManyThreadsInOrderUnderBackPressureUntilFlushAndThenSynchronously) {
    ScratchFolder folder;
    RunWithDeadline(kDeadline, [&] {
        Logger logger({.echoToStdout = false, .queueCapacity = 4});
        auto sink = std::make_shared<RecordingSink>();
        logger.AddSink(sink);
        // An empty name has a name of its own.
        logger.StartSession("", folder.Path());
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&logger, t] {
                for (int i = 0; i < 250; ++i) logger.Log(LogCategory::Net, LogLevel::Info, std::to_string(t));
            });
        }
        for (std::thread& thread : threads) thread.join();
        logger.Flush();
        EXPECT_EQ(sink->entries.size(), 1000u);
        logger.Log(LogCategory::Net, LogLevel::Info, "bounded");
        EXPECT_TRUE(logger.Flush(10000));
        EXPECT_EQ(sink->entries.size(), 1001u);
        logger.Shutdown();
        logger.Log(LogCategory::General, LogLevel::Info, "after");
        ASSERT_EQ(sink->entries.size(), 1002u);
        for (std::size_t i = 0; i < sink->entries.size(); ++i) EXPECT_EQ(sink->entries[i].sequence, i + 1);
        std::istringstream file(ReadText(folder / "BrelkEngine.latest.log"));
        int lines = 0;
        for (std::string line; std::getline(file, line);) lines += line.find("[Info] [Net]") != std::string::npos;
        EXPECT_EQ(lines, 1001);
    });
}

TEST(LoggerSession, SessionWithoutFilesOrConfigurationStartsTheNamedSinkThreadWhoseFlushCanGiveUp) {
    struct BlockingSink : RecordingSink {
        void Write(const LogEntry& entry, std::string_view line) override {
            RecordingSink::Write(entry, line);
            entered.set_value();
            released.wait();
        }
        std::promise<void> entered, release;
        std::shared_future<void> released = release.get_future().share();
    };
    for (const bool configured : {false, true}) {
        SCOPED_TRACE(configured ? "configured" : "session without a folder");
        RunWithDeadline(kDeadline, [configured] {
            Logger logger({.echoToStdout = false, .startSinkThread = configured});
            auto sink = std::make_shared<BlockingSink>();
            std::future<void> entered = sink->entered.get_future();
            logger.AddSink(sink);
            if (!configured) {
                logger.StartSession("NoFiles", std::filesystem::path());
                EXPECT_TRUE(logger.SessionLogPath().empty());
            }
            logger.Log(LogCategory::General, LogLevel::Info, "held");
            entered.wait();
            EXPECT_FALSE(logger.Flush(20));
            sink->release.set_value();
            EXPECT_TRUE(logger.Flush(10000));
            EXPECT_EQ(Messages(sink->entries), Strings{"held"});
            EXPECT_EQ(sink->thread, "Brelk Log Sink");
        });
    }
}

TEST(LoggerSession, ASinkThatShutsTheLoggerDownDoesNotDeadlock) {
    RunWithDeadline(kDeadline, [] {
        auto logger = std::make_unique<Logger>(kQuiet);
        logger->AddSink(std::make_shared<CallbackSink>([raw = logger.get()](const LogEntry&) { raw->Shutdown(); }));
        logger->StartSession("Stopping", std::filesystem::path());
        logger->Log(LogCategory::General, LogLevel::Info, "stop");
        logger.reset();
    });
}

} // namespace
} // namespace Brelk::Core
