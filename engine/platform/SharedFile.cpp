#include "engine/platform/SharedFile.h"

namespace Brelk::Platform {

std::FILE* OpenSharedFile(const std::filesystem::path& path, SharedFileMode mode) noexcept {
    // POSIX files carry no share modes, so readers are never locked out. "e" sets
    // close-on-exec so that a spawned tool does not keep the log open.
    const char* flags = mode == SharedFileMode::Append ? "abe" : "wbe";
    return std::fopen(path.c_str(), flags);
}

} // namespace Brelk::Platform
