#include "engine/platform/Process.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Brelk::Platform::ProcessCommand;
using Brelk::Platform::ProcessResult;
using Brelk::Platform::RunCapturedProcess;

constexpr std::size_t kPipeBytes = 10u << 20;

const fs::path kTrue = "/bin/true";
const fs::path kCat = "/bin/cat";

// The floor of starting a child: a bare spawn and wait, nothing validated or captured.
void BareSpawnAndWaitTrue(benchmark::State& state) {
    char* argv[] = {const_cast<char*>(kTrue.c_str()), nullptr};
    for (auto _ : state) {
        pid_t pid = 0;
        if (::posix_spawn(&pid, kTrue.c_str(), nullptr, nullptr, argv, environ) != 0) state.SkipWithError("spawn");
        int status = 0;
        ::waitpid(pid, &status, 0);
    }
}
BENCHMARK(BareSpawnAndWaitTrue)->UseRealTime()->Unit(benchmark::kMicrosecond);

void RunCapturedProcessTrue(benchmark::State& state) {
    for (auto _ : state) {
        const ProcessResult result = RunCapturedProcess(ProcessCommand{kTrue, {}, {}});
        if (result.exitCode != 0) state.SkipWithError(result.message.c_str());
    }
}
BENCHMARK(RunCapturedProcessTrue)->UseRealTime()->Unit(benchmark::kMicrosecond);

// A file of kPipeBytes in the temporary folder, made once.
const fs::path& PipeSource() {
    static const fs::path path = [] {
        fs::path file = fs::temp_directory_path() / ("brelk-process-bench-" + std::to_string(::getpid()) + ".bin");
        std::ofstream out(file, std::ios::binary);
        const std::string block(1 << 16, 'x');
        for (std::size_t written = 0; written < kPipeBytes; written += block.size()) out.write(block.data(), block.size());
        std::atexit([] { std::error_code ignored; fs::remove(PipeSource(), ignored); });
        return file;
    }();
    return path;
}

// The floor of moving the bytes: cat writes them straight into the null device.
void CatIntoNullDevice(benchmark::State& state) {
    const fs::path& source = PipeSource();
    char* argv[] = {const_cast<char*>(kCat.c_str()), const_cast<char*>(source.c_str()), nullptr};
    for (auto _ : state) {
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        pid_t pid = 0;
        if (::posix_spawn(&pid, kCat.c_str(), &actions, nullptr, argv, environ) != 0) state.SkipWithError("spawn");
        ::posix_spawn_file_actions_destroy(&actions);
        int status = 0;
        ::waitpid(pid, &status, 0);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kPipeBytes));
}
BENCHMARK(CatIntoNullDevice)->UseRealTime()->Unit(benchmark::kMillisecond);

void RunCapturedProcessTenMegabytes(benchmark::State& state) {
    const fs::path& source = PipeSource();
    for (auto _ : state) {
        const ProcessResult result = RunCapturedProcess(ProcessCommand{kCat, {source}, {}});
        if (result.output.size() != kPipeBytes) state.SkipWithError("short output");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kPipeBytes));
}
BENCHMARK(RunCapturedProcessTenMegabytes)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
