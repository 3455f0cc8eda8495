#pragma once

#include <cstdio>
#include <filesystem>

namespace Brelk::Platform {

enum class SharedFileMode {
    Append,   // created if missing, written at its end
    Truncate, // created if missing, emptied
};

// Opens a file in binary mode for writing so that other processes may read it while this one
// holds it open, as a log viewer does. The stream is not inherited by child processes.
// Null on failure; the caller closes the stream with std::fclose.
std::FILE* OpenSharedFile(const std::filesystem::path& path, SharedFileMode mode) noexcept;

} // namespace Brelk::Platform
