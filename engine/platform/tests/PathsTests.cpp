#include "engine/platform/Paths.h"
#include "engine/platform/SecureRandom.h"

#include "tests/support/TestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

namespace Brelk::Platform {
namespace {

namespace fs = std::filesystem;
using Testing::CountEntries;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

void ExpectResult(const PlatformResult& result, PlatformStatus status, const std::string& message) {
    EXPECT_EQ(result.status, status) << result.message;
    EXPECT_EQ(result.message, message);
}

TEST(PlatformResult, KeepsTheStoredStatusValues) {
    using S = PlatformStatus;
    EXPECT_EQ(sizeof(S), 1u);
    EXPECT_EQ((std::vector<S>{S::Ok, S::InvalidArgument, S::NotFound, S::SystemError}),
              (std::vector<S>{S(0), S(1), S(2), S(4)}));
}

TEST(CheckPathExists, AcceptsFilesFoldersAndDanglingLinksOnly) {
    ScratchFolder folder;
    WriteText(folder / "file", "x");
    fs::create_symlink(folder / "nowhere", folder / "link");
    for (const fs::path& path : {folder / "file", folder.Path(), folder / "link"}) EXPECT_TRUE(CheckPathExists(path).Ok());
    ExpectResult(CheckPathExists({}), PlatformStatus::InvalidArgument, "Path is empty.");
    ExpectResult(CheckPathExists(folder / "missing"), PlatformStatus::NotFound,
                 "Path does not exist: " + (folder / "missing").string());
    EXPECT_EQ(CheckPathExists(folder / "file/below").status, PlatformStatus::NotFound);
}

TEST(ReplaceFile, MovesTheSourceOverTheDestinationAlsoAcrossFileSystemsAndRefusesBadArguments) {
    // The last run moves from shared memory, on most hosts another file system, where the move copies.
    const bool sharedMemory = fs::is_directory("/dev/shm");
    for (int run = 0; run < 3; ++run) {
        ScratchFolder folder;
        const fs::path source = run < 2 || !sharedMemory ? folder / "source"
                                                         : fs::path("/dev/shm/brelk-platform-" + RandomGuidText());
        WriteText(source, "new");
        WriteText(folder / "destination", "old");
        const PlatformResult result = ReplaceFile(source, folder / "destination", run > 0);
        const bool left = fs::remove(source);
        ASSERT_TRUE(result.Ok()) << result.message;
        EXPECT_EQ(ReadText(folder / "destination"), "new");
        EXPECT_FALSE(left);
        EXPECT_EQ(CountEntries(folder.Path()), 1u);
    }
    ScratchFolder folder;
    WriteText(folder / "a.txt", "kept");
    fs::create_directories(folder / "destination/inner");
    for (const fs::path& other : {folder / "a.txt", fs::path(folder.Path().string() + "//a.txt"),
                                  fs::path(folder.Path().string() + "/./a.txt").lexically_normal()}) {
        ExpectResult(ReplaceFile(folder / "a.txt", other, false), PlatformStatus::InvalidArgument,
                     "Source and destination identify the same file.");
    }
    ExpectResult(ReplaceFile(folder / "missing", folder / "other", false), PlatformStatus::NotFound,
                 "Path does not exist: " + (folder / "missing").string());
    ExpectResult(ReplaceFile(folder / "a.txt", {}, false), PlatformStatus::InvalidArgument, "Destination path is empty.");
    ExpectResult(ReplaceFile(folder / "a.txt", folder / "destination", false), PlatformStatus::SystemError,
                 "Failed to replace file: Is a directory");
    EXPECT_EQ(ReadText(folder / "a.txt"), "kept");
}

TEST(CanonicalPath, MakesPathsAbsoluteNormalisedWithLinksResolvedAndNoTrailingSeparator) {
    ScratchFolder folder;
    fs::create_directory(folder / "sub");
    fs::create_directory_symlink(folder / "sub", folder / "link");
    EXPECT_TRUE(CanonicalPath({}).empty());
    EXPECT_EQ(CanonicalPath("some/where"), fs::canonical(fs::current_path()) / "some/where");
    EXPECT_EQ(CanonicalPath(folder / "sub/../sub/./"), folder / "sub");
    EXPECT_EQ(CanonicalPath(folder / "new/../later/x/"), folder / "later/x");
    EXPECT_EQ(CanonicalPath(folder / "link/Not/Yet.txt"), folder / "sub/Not/Yet.txt");
    EXPECT_EQ(CanonicalPath("/"), fs::path("/"));
}

TEST(IsInsideFolder, HoldsPathsBelowInAnyCaseButNotSiblingsWithTheSamePrefixAndTheirRelativeTailKeepsItsCase) {
    ScratchFolder scratch;
    Testing::ExpectTextCases(std::string(BRELK_TEST_DATA_DIR) + "/InsideFolder.txt", [&](const Testing::TextCase& c) {
        std::string text = c.input;
        for (std::size_t at; (at = text.find("<scratch>")) != std::string::npos;) text.replace(at, 9, scratch.Path());
        const std::size_t end = text.find('\n');
        const fs::path folder = text.substr(0, end), path = text.substr(end + 1, text.size() - end - 2);
        const std::optional<fs::path> relative = RelativeToFolder(folder, path);
        return (IsInsideFolder(folder, path) ? "inside" : "outside") + (relative ? " " + relative->string() : "");
    });
    EXPECT_EQ(PathKey("C:\\Data/Some\\file.Txt"), "C:/DATA/SOME/FILE.TXT");
    EXPECT_EQ(PathKey("/a/\xc3\xa9"), "/A/\xc3\xa9");
}

} // namespace
} // namespace Brelk::Platform
