#include "engine/platform/Process.h"

#include "engine/platform/Files.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace Brelk::Platform {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kReadChunkBytes = 4096;
constexpr std::size_t kPipeReadBytes = 65536;

PlatformResult Failure(PlatformStatus status, std::string message) {
    return PlatformResult::Failure(status, std::move(message));
}

void CloseDescriptor(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

// Exit status as the caller sees it: the code of a normal exit, 128 + the signal for a
// child that a signal ended.
std::int32_t ExitCodeOf(int status) {
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return -1;
}

// 0 and the child's status, or the errno of the failed wait.
int WaitBlocking(pid_t pid, int& status) {
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return errno;
    }
    return 0;
}

// Status of the thing at `path`, following links: 0, or the errno of the look.
int StatPath(const fs::path& path, struct stat& info) {
    return ::stat(path.c_str(), &info) == 0 ? 0 : errno;
}

// Spawn attributes and file actions that free themselves.
class SpawnSetup {
public:
    SpawnSetup() {
        ::posix_spawn_file_actions_init(&actions_);
        ::posix_spawnattr_init(&attributes_);
    }
    ~SpawnSetup() {
        ::posix_spawn_file_actions_destroy(&actions_);
        ::posix_spawnattr_destroy(&attributes_);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
};

// Starts the validated command. With `outputFd` the child's standard output and standard
// error both go to it. The child gets only the three standard descriptors, a process group
// of its own (so a terminal's interrupt meant for the caller does not reach it) and default
// signal handling with nothing blocked. Returns 0 or an errno.
int Spawn(const ProcessCommand& command, int outputFd, pid_t& pid) {
    std::vector<std::string> texts;
    texts.reserve(command.arguments.size() + 1);
    texts.push_back(command.executable.native());
    for (const ProcessArgument& argument : command.arguments) texts.push_back(argument.Text());
    std::vector<char*> argv;
    argv.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        // The host passes arguments as C strings; an embedded zero would cut one silently.
        if (text.find('\0') != std::string::npos) return EINVAL;
        argv.push_back(text.data());
    }
    argv.push_back(nullptr);

    SpawnSetup setup;
    int code = 0;
    if (outputFd >= 0) {
        if (code == 0) code = ::posix_spawn_file_actions_adddup2(&setup.actions_, outputFd, STDOUT_FILENO);
        if (code == 0) code = ::posix_spawn_file_actions_adddup2(&setup.actions_, outputFd, STDERR_FILENO);
    }
    // After the copies above, so that the pipe's own descriptor is among those closed.
    if (code == 0) code = ::posix_spawn_file_actions_addclosefrom_np(&setup.actions_, STDERR_FILENO + 1);
    if (code == 0) code = ::posix_spawn_file_actions_addchdir_np(&setup.actions_, command.workingDirectory.c_str());
    sigset_t noSignals;
    sigset_t allSignals;
    sigemptyset(&noSignals);
    sigfillset(&allSignals);
    if (code == 0) {
        code = ::posix_spawnattr_setflags(&setup.attributes_, static_cast<short>(POSIX_SPAWN_SETPGROUP |
                                                                              POSIX_SPAWN_SETSIGMASK |
                                                                              POSIX_SPAWN_SETSIGDEF));
    }
    if (code == 0) code = ::posix_spawnattr_setpgroup(&setup.attributes_, 0);
    if (code == 0) code = ::posix_spawnattr_setsigmask(&setup.attributes_, &noSignals);
    if (code == 0) code = ::posix_spawnattr_setsigdefault(&setup.attributes_, &allSignals);
    if (code != 0) return code;
    return ::posix_spawn(&pid, command.executable.c_str(), &setup.actions_, &setup.attributes_, argv.data(),
                         environ);
}

PlatformResult ValidateWorkingDirectory(fs::path& directory) {
    struct stat info {};
    const int code = StatPath(directory, info);
    if (code == ENOENT) return Failure(PlatformStatus::NotFound, "Process working directory does not exist: " + PathToUtf8(directory));
    if (code != 0) {
        return Failure(PlatformStatus::SystemError,
                       "Failed to inspect process working directory: " + SystemErrorText(code));
    }
    if (!S_ISDIR(info.st_mode)) {
        return Failure(PlatformStatus::InvalidArgument,
                       "Process working directory is not a directory: " + PathToUtf8(directory));
    }
    std::error_code error;
    fs::path absolute = fs::absolute(directory, error);
    if (error) {
        return Failure(PlatformStatus::SystemError,
                       "Failed to resolve process working directory: " + SystemErrorText(error.value()));
    }
    directory = std::move(absolute);
    return PlatformResult::Success();
}

} // namespace

namespace Detail {

class PosixCapturedProcess final : public CapturedProcess {
public:
    PosixCapturedProcess(pid_t pid, int outputFd) : pid_(pid), outputFd_(outputFd) {}
    PosixCapturedProcess(const PosixCapturedProcess&) = delete;
    PosixCapturedProcess& operator=(const PosixCapturedProcess&) = delete;

    ~PosixCapturedProcess() override {
        CloseDescriptor(outputFd_);
        if (!reaped_) {
            // The group's id is the child's pid, which cannot be reused before it is reaped.
            ::kill(-pid_, SIGKILL);
            int status = 0;
            WaitBlocking(pid_, status);
        }
    }

    ProcessPollResult Poll() override {
        ProcessPollResult result;
        int waitError = 0;
        if (!reaped_) {
            int status = 0;
            pid_t got = 0;
            do {
                got = ::waitpid(pid_, &status, WNOHANG);
            } while (got < 0 && errno == EINTR);
            if (got == pid_) {
                reaped_ = true;
                exitCode_ = ExitCodeOf(status);
            } else if (got < 0) {
                waitError = errno;
            }
        }
        // The end was taken before the drain: whatever the child wrote before it ended is
        // already in the pipe, so a drain that stops short of the limit has all of it.
        const bool ended = reaped_;
        Drain(result);
        if (waitError != 0) {
            result.errorStatus = PlatformStatus::SystemError;
            result.message = PlatformResult::FromSystemError("Failed to poll process", waitError).message;
        }
        if (!ended || result.output.size() >= kMaxPollOutputBytes) {
            result.state = 1;
            return result;
        }
        result.state = 0;
        result.exitCode = exitCode_;
        return result;
    }

private:
    void Drain(ProcessPollResult& result) {
        char buffer[kReadChunkBytes];
        while (outputFd_ >= 0 && result.output.size() < kMaxPollOutputBytes) {
            pollfd waiting{outputFd_, POLLIN, 0};
            const int ready = ::poll(&waiting, 1, 0);
            if (ready < 0) {
                if (errno == EINTR) continue;
                Fail(result, "Failed to inspect process output", errno);
                return;
            }
            if (ready == 0) return;
            const std::size_t want = std::min(kReadChunkBytes, kMaxPollOutputBytes - result.output.size());
            const ssize_t got = ::read(outputFd_, buffer, want);
            if (got > 0) {
                result.output.append(buffer, static_cast<std::size_t>(got));
                continue;
            }
            if (got == 0) {
                // Every writer has closed its end: the normal end of the output.
                CloseDescriptor(outputFd_);
                return;
            }
            if (errno == EINTR) continue;
            if (errno == EAGAIN || errno == EWOULDBLOCK) return;
            Fail(result, "Failed to read process output", errno);
            return;
        }
    }

    void Fail(ProcessPollResult& result, std::string_view what, int code) {
        result.errorStatus = PlatformStatus::SystemError;
        result.message = PlatformResult::FromSystemError(what, code).message;
        CloseDescriptor(outputFd_);
    }

    pid_t pid_;
    int outputFd_;
    bool reaped_ = false;
    std::int32_t exitCode_ = -1;
};

} // namespace Detail

PlatformResult ValidateProcessCommand(ProcessCommand& command) {
    fs::path& executable = command.executable;
    if (executable.empty()) return Failure(PlatformStatus::InvalidArgument, "Executable path is empty.");
    struct stat info {};
    const int code = StatPath(executable, info);
    if (code != 0 && code != ENOENT) {
        return Failure(PlatformStatus::SystemError,
                       "Failed to inspect executable '" + PathToUtf8(executable) + "': " + SystemErrorText(code));
    }
    if (code == ENOENT) return Failure(PlatformStatus::NotFound, "Executable does not exist: " + PathToUtf8(executable));
    if (!S_ISREG(info.st_mode)) {
        return Failure(PlatformStatus::InvalidArgument,
                       "Executable path does not identify a regular file: " + PathToUtf8(executable));
    }
    std::error_code error;
    fs::path absolute = fs::absolute(executable, error);
    if (error) {
        return Failure(PlatformStatus::SystemError, "Failed to resolve executable path: " + SystemErrorText(error.value()));
    }
    executable = std::move(absolute);
    if (!command.workingDirectory.empty()) return ValidateWorkingDirectory(command.workingDirectory);
    command.workingDirectory = executable.parent_path();
    return PlatformResult::Success();
}

ProcessResult RunCapturedProcess(ProcessCommand command) {
    ProcessResult result;
    const auto fail = [&result](const PlatformResult& failure) {
        if (result.status != PlatformStatus::Ok) return;
        result.status = failure.status;
        result.message = failure.message;
    };
    if (PlatformResult valid = ValidateProcessCommand(command); !valid.Ok()) {
        fail(valid);
        return result;
    }
    int pipeEnds[2] = {-1, -1};
    if (::pipe2(pipeEnds, O_CLOEXEC) != 0) {
        fail(PlatformResult::FromSystemError("Failed to create process output pipe", errno));
        return result;
    }
    int& readEnd = pipeEnds[0];
    int& writeEnd = pipeEnds[1];
    pid_t pid = 0;
    const int spawnError = Spawn(command, writeEnd, pid);
    // At once, so that the child's end is the last writer and its exit ends the read.
    CloseDescriptor(writeEnd);
    if (spawnError != 0) {
        CloseDescriptor(readEnd);
        fail(PlatformResult::FromSystemError("Failed to launch process", spawnError));
        return result;
    }
    // A pipe's worth at a time: a talkative child costs few reads and wake-ups.
    std::vector<char> buffer(kPipeReadBytes);
    for (;;) {
        const ssize_t got = ::read(readEnd, buffer.data(), buffer.size());
        if (got > 0) {
            result.output.append(buffer.data(), static_cast<std::size_t>(got));
            continue;
        }
        if (got == 0) break;
        if (errno == EINTR) continue;
        fail(PlatformResult::FromSystemError("Failed to read process output", errno));
        break;
    }
    // Closed before the wait: a child still writing then gets a broken pipe instead of
    // blocking on a reader that no longer reads.
    CloseDescriptor(readEnd);
    int status = 0;
    if (const int waitError = WaitBlocking(pid, status); waitError != 0) {
        fail(PlatformResult::FromSystemError("Failed while waiting for process", waitError));
    } else {
        result.exitCode = ExitCodeOf(status);
    }
    return result;
}

PlatformResult LaunchProcess(ProcessCommand command) {
    if (PlatformResult valid = ValidateProcessCommand(command); !valid.Ok()) return valid;
    pid_t pid = 0;
    if (const int code = Spawn(command, -1, pid); code != 0) {
        return PlatformResult::FromSystemError("Failed to launch process", code);
    }
    // Nobody keeps a handle, so a thread of its own collects the exit; an ended child that
    // is never waited for would stay in the process table until the caller exits.
    try {
        std::thread([pid] {
            int status = 0;
            WaitBlocking(pid, status);
        }).detach();
    } catch (const std::system_error&) {
        // Without a thread the child stays unreaped until exit; it runs all the same.
    }
    return PlatformResult::Success();
}

PlatformResult StartCapturedProcess(ProcessCommand command, std::unique_ptr<CapturedProcess>& out) {
    if (PlatformResult valid = ValidateProcessCommand(command); !valid.Ok()) return valid;
    int pipeEnds[2] = {-1, -1};
    if (::pipe2(pipeEnds, O_CLOEXEC) != 0) return PlatformResult::FromSystemError("Failed to create process pipe", errno);
    int& readEnd = pipeEnds[0];
    int& writeEnd = pipeEnds[1];
    // Poll must never block, also when the pipe says it is ready and another reader won.
    if (::fcntl(readEnd, F_SETFL, O_NONBLOCK) != 0) {
        const int code = errno;
        CloseDescriptor(readEnd);
        CloseDescriptor(writeEnd);
        return PlatformResult::FromSystemError("Failed to configure process pipe", code);
    }
    pid_t pid = 0;
    const int spawnError = Spawn(command, writeEnd, pid);
    CloseDescriptor(writeEnd);
    if (spawnError != 0) {
        CloseDescriptor(readEnd);
        return PlatformResult::FromSystemError("Failed to launch process", spawnError);
    }
    out = std::make_unique<Detail::PosixCapturedProcess>(pid, readEnd);
    return PlatformResult::Success();
}

} // namespace Brelk::Platform
