#include "engine/platform/SecureRandom.h"

#include <algorithm>
#include <cerrno>
#include <sys/random.h>

namespace Brelk::Platform {

namespace {
constexpr std::size_t kMaxChunkBytes = 0x10000000;
}

bool SecureRandomBytes(void* buffer, std::size_t size) noexcept {
    auto* out = static_cast<unsigned char*>(buffer);
    while (size > 0) {
        const std::size_t chunk = std::min(size, kMaxChunkBytes);
        const ssize_t got = ::getrandom(out, chunk, 0);
        if (got < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        // A large request may be cut short by a signal; the rest is asked for again.
        out += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

} // namespace Brelk::Platform
