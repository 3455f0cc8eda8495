#include "engine/platform/Paths.h"

#include "engine/platform/SecureRandom.h"
#include "engine/platform/Files.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Brelk::Platform {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

// 0 or the errno of the failure.
int FlushFile(const fs::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    const int code = ::fsync(fd) == 0 ? 0 : errno;
    ::close(fd);
    return code;
}

// A rename is only durable once the folder that holds the new name is flushed too.
void FlushFolderOf(const fs::path& path) {
    fs::path folder = path.parent_path();
    if (folder.empty()) folder = ".";
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

// rename(2) cannot cross file systems. The bytes go to a temporary name beside the
// destination first, which is then renamed within its own file system, so the destination
// is never seen half written. Returns 0 or the errno of the first failure.
int MoveAcrossFileSystems(const fs::path& source, const fs::path& destination, bool writeThrough) {
    const int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return errno;
    struct stat info {};
    if (::fstat(in, &info) != 0) {
        const int code = errno;
        ::close(in);
        return code;
    }
    // Only a file's bytes can be carried over; a folder keeps the host's own refusal.
    if (!S_ISREG(info.st_mode)) {
        ::close(in);
        return EXDEV;
    }
    fs::path temporary = destination;
    temporary += ".cook-" + RandomGuidText() + ".tmp";
    const int out = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, info.st_mode & 07777);
    if (out < 0) {
        const int code = errno;
        ::close(in);
        return code;
    }
    int code = 0;
    char buffer[1 << 16];
    for (;;) {
        const ssize_t got = ::read(in, buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR) continue;
            code = errno;
            break;
        }
        if (got == 0) break;
        ssize_t done = 0;
        while (done < got) {
            const ssize_t put = ::write(out, buffer + done, static_cast<std::size_t>(got - done));
            if (put < 0) {
                if (errno == EINTR) continue;
                code = errno;
                break;
            }
            done += put;
        }
        if (code != 0) break;
    }
    ::close(in);
    if (code == 0 && writeThrough && ::fsync(out) != 0) code = errno;
    if (::close(out) != 0 && code == 0) code = errno;
    if (code == 0 && ::rename(temporary.c_str(), destination.c_str()) != 0) code = errno;
    if (code != 0) {
        ::unlink(temporary.c_str());
        return code;
    }
    ::unlink(source.c_str());
    return 0;
}

fs::path JoinTails(fs::path base, const std::vector<fs::path>& tails) {
    for (auto it = tails.rbegin(); it != tails.rend(); ++it) base /= *it;
    return base;
}

// The existing part of the path takes its spelling on disk, the rest stays as written.
// Links in the existing part are resolved as canonical() resolves them for a whole path,
// so that a path keeps its identity from before to after its last element is created.
fs::path LongestExistingForm(const fs::path& path) {
    fs::path current = path;
    std::vector<fs::path> tails;
    for (;;) {
        std::error_code ec;
        fs::path resolved = fs::canonical(current, ec);
        if (!ec && !resolved.empty()) return JoinTails(std::move(resolved), tails);
        if (std::optional<fs::path> longForm = GetLongPath(current)) return JoinTails(std::move(*longForm), tails);
        fs::path parent = current.parent_path();
        if (parent.empty() || parent == current) return path;
        tails.push_back(current.filename());
        current = std::move(parent);
    }
}

} // namespace

PlatformResult CheckPathExists(const fs::path& path) {
    if (path.empty()) return PlatformResult::Failure(PlatformStatus::InvalidArgument, "Path is empty.");
    std::error_code ec;
    const fs::file_status status = fs::symlink_status(path, ec);
    if (status.type() == fs::file_type::not_found)
        return PlatformResult::Failure(PlatformStatus::NotFound, "Path does not exist: " + PathToUtf8(path));
    if (ec)
        return PlatformResult::Failure(PlatformStatus::SystemError,
                                       "Failed to inspect path '" + PathToUtf8(path) + "': " + ec.message());
    return PlatformResult::Success();
}

PlatformResult ReplaceFile(const fs::path& source, const fs::path& destination, bool writeThrough) {
    PlatformResult exists = CheckPathExists(source);
    if (!exists.Ok()) return exists;
    if (destination.empty())
        return PlatformResult::Failure(PlatformStatus::InvalidArgument, "Destination path is empty.");

    std::error_code ec;
    const fs::path absoluteSource = fs::absolute(source, ec);
    if (ec)
        return PlatformResult::Failure(PlatformStatus::SystemError,
                                       "Failed to resolve source path: " + ec.message());
    const fs::path absoluteDestination = fs::absolute(destination, ec);
    if (ec)
        return PlatformResult::Failure(PlatformStatus::SystemError,
                                       "Failed to resolve destination path: " + ec.message());
    if (absoluteSource == absoluteDestination)
        return PlatformResult::Failure(PlatformStatus::InvalidArgument,
                                       "Source and destination identify the same file.");

    if (writeThrough) {
        if (const int code = FlushFile(absoluteSource); code != 0)
            return PlatformResult::FromSystemError("Failed to replace file", code);
    }
    if (::rename(absoluteSource.c_str(), absoluteDestination.c_str()) != 0) {
        const int code = errno;
        if (code != EXDEV) return PlatformResult::FromSystemError("Failed to replace file", code);
        const int moved = MoveAcrossFileSystems(absoluteSource, absoluteDestination, writeThrough);
        if (moved != 0) return PlatformResult::FromSystemError("Failed to replace file", moved);
    }
    if (writeThrough) FlushFolderOf(absoluteDestination);
    return PlatformResult::Success();
}

PlatformResult SetFileReadOnly(const fs::path& path, bool readOnly) {
    PlatformResult exists = CheckPathExists(path);
    if (!exists.Ok()) return exists;
    std::error_code ec;
    const fs::path absolutePath = fs::absolute(path, ec);
    if (ec) return PlatformResult::Failure(PlatformStatus::SystemError, "Failed to resolve path: " + ec.message());

    struct stat info {};
    if (::stat(absolutePath.c_str(), &info) != 0)
        return PlatformResult::FromSystemError("Failed to read file attributes", errno);
    const mode_t mode = info.st_mode & 07777;
    const mode_t wanted = readOnly ? (mode & ~kWriteBits) : ((mode & kWriteBits) != 0 ? mode : (mode | S_IWUSR));
    if (wanted != mode && ::chmod(absolutePath.c_str(), wanted) != 0)
        return PlatformResult::FromSystemError("Failed to update file attributes", errno);
    return PlatformResult::Success();
}

std::optional<fs::path> GetShortPath(const fs::path&) {
    return std::nullopt;
}

std::optional<fs::path> GetLongPath(const fs::path& path) {
    if (path.empty()) return std::nullopt;
    std::error_code ec;
    const fs::file_status status = fs::symlink_status(path, ec);
    if (ec || !fs::exists(status)) return std::nullopt;
    return path;
}

fs::path CanonicalPath(const fs::path& path) {
    if (path.empty()) return {};
    std::error_code ec;
    fs::path absolutePath = fs::absolute(path, ec);
    if (ec || absolutePath.empty()) absolutePath = path;
    absolutePath = absolutePath.lexically_normal();

    fs::path result = fs::canonical(absolutePath, ec);
    if (ec || result.empty()) result = LongestExistingForm(absolutePath);
    result = result.lexically_normal();
    if (!result.has_filename() && result.has_relative_path()) result = result.parent_path();
    return result;
}

std::string PathKey(const fs::path& path) {
    std::string key = path.native();
    for (char& c : key) {
        if (c == '\\')
            c = '/';
        else if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return key;
}

bool SamePath(const fs::path& a, const fs::path& b) {
    if (a.empty() || b.empty()) return a.empty() && b.empty();
    return PathKey(CanonicalPath(a)) == PathKey(CanonicalPath(b));
}

bool IsInsideFolder(const fs::path& folder, const fs::path& path) {
    if (folder.empty() || path.empty()) return false;
    const std::string f = PathKey(CanonicalPath(folder));
    const std::string p = PathKey(CanonicalPath(path));
    if (f.empty() || p.compare(0, f.size(), f) != 0) return false;
    return p.size() == f.size() || f.back() == '/' || p[f.size()] == '/';
}

std::optional<fs::path> RelativeToFolder(const fs::path& folder, const fs::path& path) {
    if (folder.empty() || path.empty() || !IsInsideFolder(folder, path)) return std::nullopt;
    std::size_t skip = 0;
    for (const fs::path& element : CanonicalPath(folder))
        if (!element.empty()) ++skip;
    fs::path relative;
    for (const fs::path& element : CanonicalPath(path)) {
        if (skip > 0 && !element.empty()) {
            --skip;
            continue;
        }
        if (skip == 0) relative /= element;
    }
    if (relative.empty()) return fs::path(".");
    return relative;
}

} // namespace Brelk::Platform
