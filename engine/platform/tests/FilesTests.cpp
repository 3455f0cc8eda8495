#include "engine/platform/Files.h"

#include "tests/support/TestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Brelk::Platform {
namespace {

using Testing::CountEntries;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;
using ::testing::MatchesRegex;

// Makes a write fail even for a privileged user.
struct FileSizeLimit {
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &saved_);
        previousHandler_ = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = saved_;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, previousHandler_);
    }
    rlimit saved_{};
    void (*previousHandler_)(int) = nullptr;
};

TEST(WriteFileAtomic, WritesExactlyTheBytesGivenIntoNewFoldersOrOverAnOldFileAndReadFileBytesReadsThemBack) {
    ScratchFolder folder;
    const std::string bytes("line\r\nnul\0end\xff", 14);
    std::string error;
    ASSERT_TRUE(WriteFileAtomic(folder / "one/two/a.bin", bytes, &error)) << error;
    EXPECT_EQ(ReadText(folder / "one/two/a.bin"), bytes);
    EXPECT_EQ(ReadFileBytes(folder / "one/two/a.bin"), std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
    WriteText(folder / "a.txt", "old content that is longer");
    ASSERT_TRUE(WriteFileAtomic(folder / "a.txt", std::string_view("new"), nullptr));
    EXPECT_EQ(ReadText(folder / "a.txt"), "new");
    ASSERT_TRUE(WriteFileAtomic(folder / "one/two/a.bin", std::span<const std::uint8_t>(), nullptr));
    EXPECT_EQ(ReadFileBytes(folder / "one/two/a.bin"), std::vector<std::uint8_t>());
    // No temporary file is left behind.
    EXPECT_EQ(CountEntries(folder.Path()), 2u);
    EXPECT_EQ(CountEntries(folder / "one/two"), 1u);
}

TEST(WriteFileAtomic, FailedWriteReplaceTemporaryOrParentLeavesTheTargetAndNoTemporaryAndSaysWhy) {
    ScratchFolder folder;
    const std::filesystem::path target = folder / "a.txt";
    WriteText(target, "old");
    std::string error;
    EXPECT_FALSE([&] {
        FileSizeLimit limit(16);
        return WriteFileAtomic(target, std::string(4096, 'n'), &error);
    }());
    EXPECT_EQ(error, "Failed to write " + target.string());
    EXPECT_EQ(ReadText(target), "old");
    WriteText(folder / "dir/inside.txt", "kept");
    EXPECT_FALSE(WriteFileAtomic(folder / "dir", std::string_view("new"), &error));
    EXPECT_EQ(error, "Failed to replace " + (folder / "dir").string() + ": Failed to replace file: Is a directory");
    EXPECT_EQ(ReadText(folder / "dir/inside.txt"), "kept");

    // Only with the temporary suffix is the name too long.
    const std::filesystem::path longTarget = folder / std::string(240, 'n');
    WriteText(longTarget, "old");
    EXPECT_FALSE(WriteFileAtomic(longTarget, std::string_view("new"), &error));
    EXPECT_THAT(error, MatchesRegex("Failed to open " + longTarget.string() +
                                    "\\.cook-[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}\\.tmp for writing\\."));
    EXPECT_EQ(ReadText(longTarget), "old");
    WriteText(folder / "file", "a regular file");
    EXPECT_FALSE(WriteFileAtomic(folder / "file/sub/a.txt", std::string_view("x"), &error));
    EXPECT_THAT(error, MatchesRegex("Failed to create " + (folder / "file/sub").string() + ": .+"));
    EXPECT_EQ(ReadText(folder / "file"), "a regular file");
    EXPECT_EQ(CountEntries(folder.Path()), 4u);
}

TEST(ReadFileBytes, ReportsWhyItCannotRead) {
    ScratchFolder folder;
    std::string error;
    EXPECT_FALSE(ReadFileBytes(folder / "missing.txt", &error).has_value());
    EXPECT_EQ(error, "Failed to open " + (folder / "missing.txt").string());
    EXPECT_FALSE(ReadFileBytes(folder.Path(), &error).has_value());
    EXPECT_EQ(error, "Failed to open " + folder.Path().string());
    // A pipe has no end to seek to; a writer is kept open so that opening it does not wait.
    const std::filesystem::path fifo = folder / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const int writer = ::open(fifo.c_str(), O_RDWR | O_NONBLOCK);
    ASSERT_GE(writer, 0);
    EXPECT_FALSE(ReadFileBytes(fifo, &error).has_value());
    ::close(writer);
    EXPECT_EQ(error, "Failed to size " + fifo.string());
}

} // namespace
} // namespace Brelk::Platform
