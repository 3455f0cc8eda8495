#include "engine/platform/SharedFile.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace Brelk::Platform {
namespace {

using Testing::ScratchFolder;

std::string ReadAll(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::stringstream text;
    text << stream.rdbuf();
    return text.str();
}

void WriteAndClose(std::FILE* file, const std::string& text) {
    ASSERT_NE(file, nullptr);
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
}

TEST(SharedFile, AppendKeepsWhatWasThere) {
    ScratchFolder folder;
    WriteAndClose(OpenSharedFile(folder / "a.log", SharedFileMode::Append), "one\n");
    WriteAndClose(OpenSharedFile(folder / "a.log", SharedFileMode::Append), "two\n");
    EXPECT_EQ(ReadAll(folder / "a.log"), "one\ntwo\n");
}

TEST(SharedFile, TruncateEmptiesTheFile) {
    ScratchFolder folder;
    WriteAndClose(OpenSharedFile(folder / "b.log", SharedFileMode::Truncate), "old text\n");
    WriteAndClose(OpenSharedFile(folder / "b.log", SharedFileMode::Truncate), "new\n");
    EXPECT_EQ(ReadAll(folder / "b.log"), "new\n");
}

TEST(SharedFile, OthersMayReadWhileItIsOpen) {
    ScratchFolder folder;
    std::FILE* file = OpenSharedFile(folder / "c.log", SharedFileMode::Truncate);
    ASSERT_NE(file, nullptr);
    std::fputs("visible\n", file);
    std::fflush(file);
    EXPECT_EQ(ReadAll(folder / "c.log"), "visible\n");
    std::fclose(file);
}

TEST(SharedFile, MissingFolderGivesNull) {
    ScratchFolder folder;
    EXPECT_EQ(OpenSharedFile(folder / "missing" / "d.log", SharedFileMode::Append), nullptr);
}

TEST(SharedFile, BytesAreWrittenAsGiven) {
    ScratchFolder folder;
    WriteAndClose(OpenSharedFile(folder / "e.bin", SharedFileMode::Truncate), std::string("a\r\n\0b", 5));
    EXPECT_EQ(ReadAll(folder / "e.bin"), std::string("a\r\n\0b", 5));
}

} // namespace
} // namespace Brelk::Platform
