#include "engine/platform/SecureRandom.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <random>
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

std::string RandomGuidText() {
    std::uint8_t bytes[16];
    if (!SecureRandomBytes(bytes, sizeof bytes)) {
        // Only a name is at stake, so the library's source is good enough when the system's fails.
        std::random_device device;
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(device());
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
    constexpr char kHex[] = "0123456789abcdef";
    std::string text;
    text.reserve(36);
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        text += kHex[bytes[i] >> 4];
        text += kHex[bytes[i] & 0x0F];
    }
    return text;
}

} // namespace Brelk::Platform
