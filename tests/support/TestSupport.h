#pragma once

// Helpers shared by the test suites of every engine folder: scratch folders on disk, whole
// files as text, and the message of an expected exception.

#include "engine/platform/SecureRandom.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Brelk::Testing {

// Sets an environment variable (unsets it for a null value) and restores the old value when
// it goes: the engine reads its settings folder and log levels from the environment.
class ScopedEnvironmentVariable {
public:
    ScopedEnvironmentVariable(std::string name, const char* value) : name_(std::move(name)) {
        if (const char* previous = std::getenv(name_.c_str())) previous_ = previous;
        Set(value);
    }
    ScopedEnvironmentVariable(std::string name, const std::filesystem::path& value)
        : ScopedEnvironmentVariable(std::move(name), value.c_str()) {}
    ScopedEnvironmentVariable(const ScopedEnvironmentVariable&) = delete;
    ScopedEnvironmentVariable& operator=(const ScopedEnvironmentVariable&) = delete;
    ~ScopedEnvironmentVariable() { Set(previous_ ? previous_->c_str() : nullptr); }

private:
    void Set(const char* value) const {
        if (value)
            ::setenv(name_.c_str(), value, 1);
        else
            ::unsetenv(name_.c_str());
    }

    std::string name_;
    std::optional<std::string> previous_;
};

// A fresh folder below the system's temporary folder, removed with everything in it. Its
// path is canonical, as the engine's path identity makes every path it keeps.
class ScratchFolder {
public:
    ScratchFolder() : path_(std::filesystem::temp_directory_path() / ("brelk-test-" + Platform::RandomGuidText())) {
        std::filesystem::create_directories(path_);
        path_ = std::filesystem::canonical(path_);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        // A test may have made the folder read-only; removal needs it writable again.
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, std::filesystem::perm_options::add,
                                     ignored);
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& Path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& relative) const { return path_ / relative; }

private:
    std::filesystem::path path_;
};

// Writes `text` as the whole file, creating its folder first.
inline void WriteText(const std::filesystem::path& path, std::string_view text) {
    if (path.has_parent_path()) {
        std::error_code ignored;
        std::filesystem::create_directories(path.parent_path(), ignored);
    }
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
}

inline std::string ReadText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Names in a folder, for checking that no temporary file was left behind.
inline std::size_t CountEntries(const std::filesystem::path& folder) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
    return count;
}

// Every regular file below a folder, as paths relative to it in generic form, sorted.
inline std::vector<std::string> ListFiles(const std::filesystem::path& folder) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) files.push_back(std::filesystem::relative(entry.path(), folder).generic_string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The text of the exception that `fn` throws, or "<no exception>".
template <class Fn>
std::string ThrownMessage(Fn&& fn) {
    try {
        fn();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "<no exception>";
}

} // namespace Brelk::Testing
