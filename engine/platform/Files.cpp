#include "engine/platform/Files.h"

#include "engine/platform/ErrorText.h"
#include "engine/platform/Paths.h"
#include "engine/platform/SecureRandom.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Brelk::Platform {

namespace {

// Writes everything or reports false; a short write on a full disk is a failure, not a retry loop.
bool WriteAll(int fd, const std::uint8_t* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (written == 0) return false;
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool ReadAll(int fd, std::uint8_t* data, std::size_t size) {
    while (size > 0) {
        const ssize_t got = ::read(fd, data, size);
        if (got < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (got == 0) return false;
        data += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) noexcept : fd_(fd) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    int Get() const noexcept { return fd_; }
    // Closing can report a delayed write error, so a writer must see its result.
    bool Close() noexcept {
        const int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0;
    }

private:
    int fd_;
};

} // namespace

bool WriteFileAtomic(const std::filesystem::path& path, std::span<const std::uint8_t> bytes, std::string* error) {
    const std::filesystem::path parent = path.parent_path();
    if (!parent.empty()) {
        std::error_code ec;
        std::filesystem::create_directories(parent, ec);
        if (ec) {
            SetError(error, "Failed to create " + PathToUtf8(parent) + ": " + ec.message());
            return false;
        }
    }

    std::filesystem::path temporary = path;
    temporary += ".cook-" + RandomGuidText() + ".tmp";

    FileDescriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (file.Get() < 0) {
        SetError(error, "Failed to open " + PathToUtf8(temporary) + " for writing.");
        return false;
    }
    const bool written = WriteAll(file.Get(), bytes.data(), bytes.size());
    const bool closed = file.Close();
    if (!written || !closed) {
        ::unlink(temporary.c_str());
        SetError(error, "Failed to write " + PathToUtf8(path));
        return false;
    }

    const PlatformResult replaced = ReplaceFile(temporary, path, false);
    if (!replaced.Ok()) {
        ::unlink(temporary.c_str());
        SetError(error, "Failed to replace " + PathToUtf8(path) + ": " + replaced.message);
        return false;
    }
    return true;
}

bool WriteFileAtomic(const std::filesystem::path& path, std::string_view bytes, std::string* error) {
    return WriteFileAtomic(
        path, std::span<const std::uint8_t>(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()),
        error);
}

std::optional<std::vector<std::uint8_t>> ReadFileBytes(const std::filesystem::path& path, std::string* error) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info {};
    // A folder opens for reading here but is no file; its "size" is meaningless.
    if (file.Get() < 0 || ::fstat(file.Get(), &info) != 0 || S_ISDIR(info.st_mode)) {
        SetError(error, "Failed to open " + PathToUtf8(path));
        return std::nullopt;
    }
    const off_t end = ::lseek(file.Get(), 0, SEEK_END);
    if (end < 0) {
        SetError(error, "Failed to size " + PathToUtf8(path));
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(end));
    if (::lseek(file.Get(), 0, SEEK_SET) != 0 || !ReadAll(file.Get(), bytes.data(), bytes.size())) {
        SetError(error, "Failed to read " + PathToUtf8(path));
        return std::nullopt;
    }
    return bytes;
}

std::string PathToUtf8(const std::filesystem::path& path) {
    // Paths on this host are byte strings and the engine keeps them in UTF-8 already.
    return path.native();
}

} // namespace Brelk::Platform
