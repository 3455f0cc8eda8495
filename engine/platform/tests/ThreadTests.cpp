#include "engine/platform/Thread.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <thread>

namespace Brelk::Platform {
namespace {

std::string HostThreadName() {
    char name[64] = {};
    return pthread_getname_np(pthread_self(), name, sizeof(name)) == 0 ? name : "<failed>";
}

TEST(ThreadName, IsCutForTheHostAtFifteenBytesOnACharacterBoundaryButKeptWhole) {
    struct Case {
        std::string_view name;
        const char* host;
    };
    const Case cases[] = {
        {"Brelk IO 0", "Brelk IO 0"},
        {"Brelk Worker 12345", "Brelk Worker 12"},
        {"abcdefghijklmn\xC3\xA9z", "abcdefghijklmn"},
        {std::string_view("ab\0cd", 5), "ab"},
        {"", nullptr},
    };
    for (const Case& c : cases) {
        std::string host;
        std::string kept;
        std::thread([&] {
            if (!c.name.empty()) SetCurrentThreadName(c.name);
            host = HostThreadName();
            kept = GetCurrentThreadName();
        }).join();
        if (c.host) {
            EXPECT_EQ(host, c.host);
        }
        EXPECT_EQ(kept, c.name);
    }
}

} // namespace
} // namespace Brelk::Platform
