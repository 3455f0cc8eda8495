#include "engine/platform/Thread.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <thread>

namespace Brelk::Platform {
namespace {

std::string HostThreadName() {
    char name[64] = {};
    if (pthread_getname_np(pthread_self(), name, sizeof(name)) != 0) {
        return "<failed>";
    }
    return name;
}

TEST(ThreadName, ShortNameReachesTheHostWhole) {
    std::string host;
    std::string kept;
    std::thread([&] {
        SetCurrentThreadName("Brelk IO 0");
        host = HostThreadName();
        kept = GetCurrentThreadName();
    }).join();
    EXPECT_EQ(host, "Brelk IO 0");
    EXPECT_EQ(kept, "Brelk IO 0");
}

TEST(ThreadName, LongNameIsCutForTheHostButKeptWhole) {
    std::string host;
    std::string kept;
    std::thread([&] {
        SetCurrentThreadName("Brelk Worker 12345");
        host = HostThreadName();
        kept = GetCurrentThreadName();
    }).join();
    EXPECT_EQ(host, "Brelk Worker 12");
    EXPECT_EQ(kept, "Brelk Worker 12345");
}

TEST(ThreadName, CutNeverSplitsAUtf8Sequence) {
    std::string host;
    std::thread([&] {
        // Fourteen ASCII bytes, then a two-byte letter that would straddle the limit.
        SetCurrentThreadName("abcdefghijklmn\xC3\xA9z");
        host = HostThreadName();
    }).join();
    EXPECT_EQ(host, "abcdefghijklmn");
}

TEST(ThreadName, UnnamedThreadHasAnEmptyName) {
    std::string kept = "unset";
    std::thread([&] { kept = GetCurrentThreadName(); }).join();
    EXPECT_EQ(kept, "");
}

TEST(ThreadName, EmptyAndEmbeddedNulNamesDoNotFail) {
    std::string host;
    std::thread([&] {
        SetCurrentThreadName("");
        SetCurrentThreadName(std::string_view("ab\0cd", 5));
        host = HostThreadName();
    }).join();
    EXPECT_EQ(host, "ab");
}

} // namespace
} // namespace Brelk::Platform
