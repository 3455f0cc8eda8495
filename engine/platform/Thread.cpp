#include "engine/platform/Thread.h"

#include <pthread.h>

#include <cstring>

namespace Brelk::Platform {
namespace {

// Linux rejects names longer than 15 bytes outright; a shortened name is better than none.
constexpr std::size_t kHostThreadNameBytes = 15;

thread_local std::string t_threadName;

} // namespace

void SetCurrentThreadName(std::string_view name) noexcept {
    try {
        t_threadName.assign(name);
    } catch (...) {
        // Out of memory: the host name below still gets set.
    }
    char hostName[kHostThreadNameBytes + 1] = {};
    std::size_t length = name.size() < kHostThreadNameBytes ? name.size() : kHostThreadNameBytes;
    // A name cut inside a multi-byte UTF-8 sequence would show as garbage in debuggers.
    if (length < name.size()) {
        while (length > 0 && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) {
            --length;
        }
    }
    std::memcpy(hostName, name.data(), length);
    // An embedded NUL simply ends the host's copy early.
    (void)pthread_setname_np(pthread_self(), hostName);
}

std::string GetCurrentThreadName() {
    return t_threadName;
}

} // namespace Brelk::Platform
