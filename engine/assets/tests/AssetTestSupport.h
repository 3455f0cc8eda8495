#pragma once

#include "engine/core/Guid.h"
#include "engine/core/Logger.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets::Testing {

// A fresh folder under the system's temporary folder, removed with everything in it.
class TempFolder {
public:
    TempFolder()
        : path_(std::filesystem::temp_directory_path() / ("brelk-assets-" + Core::Guid::New().ToString())) {
        std::filesystem::create_directories(path_);
        // The registry works on canonical paths; comparing against them keeps tests honest
        // where the temporary folder is reached through a link.
        path_ = std::filesystem::canonical(path_);
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    std::filesystem::path operator/(std::string_view relative) const { return path_ / relative; }

private:
    std::filesystem::path path_;
};

inline void WriteText(const std::filesystem::path& path, std::string_view text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

inline std::string ReadText(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

// Every regular file below a folder, as paths relative to it in generic form, sorted.
inline std::vector<std::string> ListFiles(const std::filesystem::path& folder) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files.push_back(std::filesystem::relative(entry.path(), folder).generic_string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Sets a file's time into the past, so that any later write shows in its time.
inline void AgeFile(const std::filesystem::path& path) {
    std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(48));
}

// The messages that the global logger took from the moment of construction on.
class LogCapture {
public:
    LogCapture() { Core::Logger::Get().HistorySince(~std::uint64_t{0}, &start_); }

    std::vector<std::string> Messages(Core::LogLevel level) const {
        std::vector<std::string> messages;
        for (const Core::LogEntry& entry : Core::Logger::Get().HistorySince(start_)) {
            if (entry.level == level && entry.category == Core::LogCategory::Assets) {
                messages.push_back(entry.message);
            }
        }
        return messages;
    }

private:
    std::uint64_t start_ = 0;
};

} // namespace Brelk::Assets::Testing
