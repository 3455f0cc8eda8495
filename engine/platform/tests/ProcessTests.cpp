#include "engine/platform/Process.h"

#include "tests/support/Deadline.h"
#include "tests/support/TestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <thread>

namespace Brelk::Platform {
namespace {

namespace fs = std::filesystem;
using Testing::kDeadline;
using Testing::RunWithDeadline;
using Testing::ScratchFolder;
using Testing::WriteText;

const fs::path kShell = "/bin/sh";

ProcessCommand Shell(std::string script, std::vector<ProcessArgument> more = {}) {
    ProcessCommand command{kShell, {"-c", std::move(script), "sh"}, {}};
    for (ProcessArgument& argument : more) command.arguments.push_back(std::move(argument));
    return command;
}

ProcessResult RunToEnd(ProcessCommand command) {
    ProcessResult result;
    RunWithDeadline(kDeadline, [&] { result = RunCapturedProcess(std::move(command)); });
    return result;
}

// An argument quoted, and whether two of it on a command line split back as they were.
std::string Quoted(const std::string& text) {
    const std::vector<std::string> split =
        SplitProcessCommandLine(FormatProcessCommandLine({"/opt/my tools/glslc", {text, text}, {}}));
    const bool same = split == std::vector<std::string>{"/opt/my tools/glslc", text, text};
    return QuoteProcessArgument(text) + (same ? "" : " (splits back otherwise)");
}

TEST(ProcessCommandLine, QuotesOnlyWhatNeedsItAndSplitsBackToTheSameArguments) {
    // A vertical tab has no place in a case file.
    EXPECT_EQ(Quoted("line\nfeed\v"), "\"line\nfeed\v\"");
    Testing::ExpectTextCases(std::string(BRELK_TEST_DATA_DIR) + "/QuotedArguments.txt", [](const Testing::TextCase& c) {
        return Quoted(c.input.substr(0, c.input.find_last_not_of('\n') + 1));
    });
    EXPECT_EQ(FormatProcessCommandLine({"/bin/x", {"-o", fs::path("a b.spv")}, {}}), "/bin/x -o \"a b.spv\"");
    EXPECT_EQ(SplitProcessCommandLine("  a\t\"b \"\"c\" d\\\\\"e f\"  "),
              (std::vector<std::string>{"a", "b \"c", "d\\e f"}));
}

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

TEST(ValidateProcessCommand, ReportsEachFailureInItsOrderWithItsStatusForEveryWayToRun) {
    ScratchFolder folder;
    WriteText(folder / "file", "x");
    const std::string longName(300, 'n');
    const char* statuses[] = {"Ok", "InvalidArgument", "NotFound", "", "SystemError"};
    const std::filesystem::path cases = std::string(BRELK_TEST_DATA_DIR) + "/RefusedProcessCommands.txt";
    Testing::ExpectTextCases(cases, [&](const Testing::TextCase& c) {
        const std::string input = Replaced(Replaced(c.input, "<scratch>", folder.Path().string()), "<long name>", longName);
        const std::size_t end = input.find('\n');
        const ProcessCommand command{input.substr(0, end), {}, input.substr(end + 1, input.size() - end - 2)};
        ProcessCommand validated = command;
        const PlatformResult result = ValidateProcessCommand(validated);
        const ProcessResult run = RunCapturedProcess(command);
        std::string outcome = statuses[static_cast<int>(result.status)] + (": " + result.message);
        if (std::tie(run.status, run.message, run.exitCode, run.output) != std::tuple(result.status, result.message, -1, ""))
            outcome += "\n(a captured run gives " + run.message + ")";
        if (LaunchProcess(command).message != result.message) outcome += "\n(a launch gives another message)";
        return Replaced(Replaced(outcome, folder.Path().string(), "<scratch>"), longName, "<long name>");
    });
}

TEST(ValidateProcessCommand, MakesPathsAbsoluteAndDefaultsTheFolderToTheExecutables) {
    ScratchFolder folder;
    WriteText(folder / "tools" / "tool", "x");
    fs::create_directories(folder / "work");
    const fs::path previous = fs::current_path();
    fs::current_path(folder.Path());
    ProcessCommand relative{"tools/tool", {}, {}};
    ProcessCommand withFolder{"tools/tool", {}, "work"};
    const bool ok = ValidateProcessCommand(relative).Ok() && ValidateProcessCommand(withFolder).Ok();
    fs::current_path(previous);
    ASSERT_TRUE(ok);
    EXPECT_EQ(std::tie(relative.executable, relative.workingDirectory, withFolder.workingDirectory),
              std::tuple(folder / "tools/tool", folder / "tools", folder / "work"));
}

TEST(RunCapturedProcess, GathersBothStreamsTheExitCodeAndTheArgumentsAsGivenOrTheHostsLaunchFailure) {
    ScratchFolder folder;
    const ProcessResult run =
        RunToEnd(Shell("printf out; printf err >&2; for a in \"$@\"; do printf '[%s]' \"$a\"; done; pwd; exit 3",
                  {"", "a b\\\"c\\", fs::path("p q")}));
    EXPECT_EQ(std::tuple(run.status, run.exitCode, run.output),
              std::tuple(PlatformStatus::Ok, 3, "outerr[][a b\\\"c\\][p q]" + fs::canonical("/bin").string() + "\n"))
        << run.message;

    ProcessCommand inFolder = Shell("pwd -P");
    inFolder.workingDirectory = folder.Path();
    EXPECT_EQ(RunToEnd(inFolder).output, folder.Path().string() + "\n");
    // A launched child goes on alone, in the same folder.
    inFolder.arguments[1] = "printf done > launched.txt";
    ASSERT_TRUE(LaunchProcess(inFolder).Ok());
    RunWithDeadline(kDeadline, [&] {
        while (Testing::ReadText(folder / "launched.txt") != "done") std::this_thread::sleep_for(std::chrono::milliseconds(2));
    });
    EXPECT_EQ(RunToEnd(Shell("kill -9 $$")).exitCode, 128 + SIGKILL);
    // Its own process group: the group's id is the child's own pid.
    EXPECT_EQ(RunToEnd(Shell("[ $$ = $(cut -d' ' -f5 /proc/$$/stat) ]")).exitCode, 0) << "not a process group of its own";

    WriteText(folder / "not-executable", "#!/bin/sh\n");
    const ProcessResult refused = RunToEnd({folder / "not-executable", {}, {}});
    EXPECT_EQ(std::make_tuple(refused.status, refused.message, refused.exitCode),
              std::make_tuple(PlatformStatus::SystemError, std::string("Failed to launch process: Permission denied"), -1));
    std::unique_ptr<CapturedProcess> process;
    EXPECT_EQ(StartCapturedProcess({folder / "not-executable", {}, {}}, process).message, refused.message);
    EXPECT_EQ(RunToEnd(Shell("true", {std::string("a\0b", 3)})).message, "Failed to launch process: Invalid argument");
}

TEST(CapturedProcess, HandsOverLongOutputInBoundedPollsReportsTheEndOnlyAfterItAndEndsAChildThatOutlivesItsHandle) {
    RunWithDeadline(kDeadline, [] {
        std::unique_ptr<CapturedProcess> process;
        ASSERT_TRUE(StartCapturedProcess(Shell("head -c 200000 /dev/zero; exit 5"), process).Ok());
        // Time for the child to fill the pipe, so that the first poll meets the limit.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        std::string output;
        ProcessPollResult poll;
        std::size_t fullPolls = 0;
        do {
            poll = process->Poll();
            ASSERT_EQ(poll.errorStatus, PlatformStatus::Ok) << poll.message;
            ASSERT_LE(poll.output.size(), kMaxPollOutputBytes);
            if (poll.output.size() == kMaxPollOutputBytes) {
                ++fullPolls;
                EXPECT_EQ(poll.state, 1);
            }
            output += poll.output;
            if (poll.state == 1 && poll.output.empty()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        } while (poll.state == 1);
        EXPECT_EQ(output, std::string(200000, '\0'));
        EXPECT_GE(fullPolls, 1u);
        EXPECT_EQ(poll.exitCode, 5);
        EXPECT_EQ(process->Poll().state, 0);

        ASSERT_TRUE(StartCapturedProcess(Shell("echo $$; exec sleep 60"), process).Ok());
        output.clear();
        while (output.find('\n') == std::string::npos) output += process->Poll().output;
        const pid_t pid = static_cast<pid_t>(std::stol(output));
        EXPECT_EQ(::kill(pid, 0), 0);
        process.reset();
        EXPECT_EQ(::kill(pid, 0), -1) << "the child outlived its handle";
    });
}

} // namespace
} // namespace Brelk::Platform
