#include "engine/core/Logger.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace {

using Brelk::Core::LogCategory;
using Brelk::Core::LogEntry;
using Brelk::Core::Logger;
using Brelk::Core::LoggerConfig;
using Brelk::Core::LogLevel;
using Brelk::Core::LogSink;

class NullSink : public LogSink {
public:
    void Write(const LogEntry&, std::string_view line) override { benchmark::DoNotOptimize(line.data()); }
    void Flush() override {}
};

std::unique_ptr<Logger> QuietLogger() {
    LoggerConfig config;
    config.echoToStdout = false;
    auto logger = std::make_unique<Logger>(config);
    logger->AddSink(std::make_shared<NullSink>());
    return logger;
}

void LogFilteredOut(benchmark::State& state) {
    const auto logger = QuietLogger();
    for (auto _ : state) {
        logger->Log(LogCategory::Assets, LogLevel::Debug, "texture decoded");
    }
}
BENCHMARK(LogFilteredOut);

// A message that would need building: filtered out, the builder never runs.
void LogFilteredOutWithLazyMessage(benchmark::State& state) {
    const auto logger = QuietLogger();
    int value = 0;
    for (auto _ : state) {
        logger->Log(LogCategory::Assets, LogLevel::Debug,
                    [&] { return "texture " + std::to_string(++value) + " decoded"; });
    }
    benchmark::DoNotOptimize(value);
}
BENCHMARK(LogFilteredOutWithLazyMessage);

// Written synchronously to a sink that drops it; no standard output, no files.
void LogEmittedToNullSink(benchmark::State& state) {
    const auto logger = QuietLogger();
    for (auto _ : state) {
        logger->Log(LogCategory::Assets, LogLevel::Info, "texture decoded");
    }
}
BENCHMARK(LogEmittedToNullSink);

// With a session the caller only queues; the sink thread writes.
void LogEmittedThroughTheSinkThread(benchmark::State& state) {
    const auto logger = QuietLogger();
    logger->StartSession("Bench", std::filesystem::path());
    for (auto _ : state) {
        logger->Log(LogCategory::Assets, LogLevel::Info, "texture decoded");
    }
    logger->Shutdown();
}
BENCHMARK(LogEmittedThroughTheSinkThread);

} // namespace
