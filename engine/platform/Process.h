#pragma once

#include "engine/platform/PlatformResult.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Brelk::Platform {

// One argument of a child process: UTF-8 text, or a path that goes over in its native form.
struct ProcessArgument {
    std::variant<std::string, std::filesystem::path> value;

    ProcessArgument(std::string text) : value(std::move(text)) {}
    ProcessArgument(std::string_view text) : value(std::string(text)) {}
    ProcessArgument(const char* text) : value(std::string(text)) {}
    ProcessArgument(std::filesystem::path path) : value(std::move(path)) {}

    // The bytes the child receives.
    std::string Text() const;
};

struct ProcessCommand {
    std::filesystem::path executable;
    // In order; the program's own name is not among them.
    std::vector<ProcessArgument> arguments;
    // Empty means the executable's folder.
    std::filesystem::path workingDirectory;
};

// A process that was run to its end.
struct ProcessResult {
    // Ok if the process was started and waited for.
    PlatformStatus status = PlatformStatus::Ok;
    // -1 until a real code is known. A child ended by a signal gets 128 + the signal's number,
    // as a shell reports it.
    std::int32_t exitCode = -1;
    // Standard output and standard error together, in the order the child wrote them.
    std::string output;
    std::string message;
};

struct ProcessPollResult {
    // 0 finished, 1 still running (or more output may wait).
    std::uint8_t state = 1;
    std::int32_t exitCode = -1;
    // What this poll drained, at most kMaxPollOutputBytes.
    std::string output;
    PlatformStatus errorStatus = PlatformStatus::Ok;
    std::string message;
};

inline constexpr std::size_t kMaxPollOutputBytes = 65536;

// A child that runs while its caller goes on. It belongs to one caller: Poll is not for two
// threads at once.
class CapturedProcess {
public:
    // A child that is still running when its handle goes is ended with its whole process
    // group and reaped, so that no process outlives the one object that could wait for it.
    virtual ~CapturedProcess() = default;
    // Never blocks. Drains at most kMaxPollOutputBytes of output; a poll that fills them
    // reports state 1 even if the child has ended, so its last output is never lost to a
    // caller that polls until state 0.
    virtual ProcessPollResult Poll() = 0;
};

// Checks the command and normalises it in place: the executable and the working directory
// become absolute, and an empty working directory becomes the executable's folder.
PlatformResult ValidateProcessCommand(ProcessCommand& command);

// Runs the child to its end with its standard output and standard error captured together;
// standard input is the caller's. Blocks for the child's whole life. What was gathered stays
// in the result also after a failed read or wait.
ProcessResult RunCapturedProcess(ProcessCommand command);

// Starts the child and keeps no handle: it goes on alone in its own process group, with the
// caller's standard handles, and is reaped in the background when it ends.
PlatformResult LaunchProcess(ProcessCommand command);

// Starts a captured child and stores its handle through `out`, replacing what was there.
PlatformResult StartCapturedProcess(ProcessCommand command, std::unique_ptr<CapturedProcess>& out);

// The child's command line in the engine's quoting, for messages and logs: the quoted
// executable and each quoted argument, joined by one blank. Children receive their arguments
// one by one and never parse this text.
std::string FormatProcessCommandLine(const ProcessCommand& command);

// One argument in command-line quoting. An empty text gives "", a text without blank, tab,
// line feed, vertical tab or double quote stays as it is; any other is enclosed in double
// quotes, a run of n backslashes before a quote becomes 2n+1 backslashes and the quote, a run
// of n backslashes before the closing quote becomes 2n, and other backslashes stay.
std::string QuoteProcessArgument(std::string_view text);

// The arguments of a command line in the same quoting, the inverse of joining quoted
// arguments: blanks and tabs outside quotes separate, 2n backslashes and a quote give n
// backslashes and open or close a quoted run, 2n+1 give n and a literal quote, and "" inside
// a quoted run is a literal quote.
std::vector<std::string> SplitProcessCommandLine(std::string_view commandLine);

} // namespace Brelk::Platform
