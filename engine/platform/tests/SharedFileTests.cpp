#include "engine/platform/SharedFile.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace Brelk::Platform {
namespace {

using Testing::ReadText;
using Testing::ScratchFolder;

void WriteAndClose(std::FILE* file, const std::string& text) {
    ASSERT_NE(file, nullptr);
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
}

TEST(SharedFile, AppendKeepsTruncateEmptiesAndOthersReadWhileItIsOpen) {
    ScratchFolder folder;
    WriteAndClose(OpenSharedFile(folder / "a.log", SharedFileMode::Truncate), "old text\n");
    WriteAndClose(OpenSharedFile(folder / "a.log", SharedFileMode::Truncate), "one\n");
    EXPECT_EQ(OpenSharedFile(folder / "missing" / "d.log", SharedFileMode::Append), nullptr);
    std::FILE* file = OpenSharedFile(folder / "a.log", SharedFileMode::Append);
    ASSERT_NE(file, nullptr);
    const std::string bytes("two\r\n\0b", 7);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fflush(file);
    EXPECT_EQ(ReadText(folder / "a.log"), "one\n" + bytes);
    std::fclose(file);
}

} // namespace
} // namespace Brelk::Platform
