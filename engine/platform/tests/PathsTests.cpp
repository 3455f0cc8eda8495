#include "engine/platform/Paths.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace Brelk::Platform {
namespace {

namespace fs = std::filesystem;
using Testing::CountEntries;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

mode_t ModeOf(const fs::path& path) {
    struct stat info {};
    ::stat(path.c_str(), &info);
    return info.st_mode & 0777;
}

TEST(PlatformStatus, KeepsItsStoredValues) {
    EXPECT_EQ(static_cast<int>(PlatformStatus::Ok), 0);
    EXPECT_EQ(static_cast<int>(PlatformStatus::InvalidArgument), 1);
    EXPECT_EQ(static_cast<int>(PlatformStatus::NotFound), 2);
    EXPECT_EQ(static_cast<int>(PlatformStatus::SystemError), 4);
    EXPECT_EQ(sizeof(PlatformStatus), 1u);
}

TEST(PlatformResult, JoinsTheGivenTextAndTheHostsMessage) {
    const PlatformResult result = PlatformResult::FromSystemError("Failed to replace file", ENOENT);
    EXPECT_EQ(result.status, PlatformStatus::SystemError);
    EXPECT_EQ(result.message, "Failed to replace file: No such file or directory");
}

TEST(PlatformResult, SuccessHasNoMessage) {
    const PlatformResult result = PlatformResult::Success();
    EXPECT_TRUE(result.Ok());
    EXPECT_TRUE(result.message.empty());
}

TEST(CheckPathExists, RejectsAnEmptyPath) {
    const PlatformResult result = CheckPathExists({});
    EXPECT_EQ(result.status, PlatformStatus::InvalidArgument);
    EXPECT_EQ(result.message, "Path is empty.");
}

TEST(CheckPathExists, ReportsAMissingPath) {
    ScratchFolder folder;
    const PlatformResult result = CheckPathExists(folder / "missing");
    EXPECT_EQ(result.status, PlatformStatus::NotFound);
    EXPECT_EQ(result.message, "Path does not exist: " + (folder / "missing").string());
}

TEST(CheckPathExists, TreatsAPathThroughAFileAsMissing) {
    ScratchFolder folder;
    WriteText(folder / "file", "x");
    EXPECT_EQ(CheckPathExists(folder / "file/below").status, PlatformStatus::NotFound);
}

TEST(CheckPathExists, AcceptsFilesFoldersAndDanglingLinks) {
    ScratchFolder folder;
    WriteText(folder / "file", "x");
    fs::create_symlink(folder / "nowhere", folder / "link");
    EXPECT_TRUE(CheckPathExists(folder / "file").Ok());
    EXPECT_TRUE(CheckPathExists(folder.Path()).Ok());
    EXPECT_TRUE(CheckPathExists(folder / "link").Ok());
}

TEST(ReplaceFile, MovesTheSourceOverTheDestination) {
    ScratchFolder folder;
    WriteText(folder / "source", "new");
    WriteText(folder / "destination", "old");
    const PlatformResult result = ReplaceFile(folder / "source", folder / "destination", false);
    ASSERT_TRUE(result.Ok()) << result.message;
    EXPECT_EQ(ReadText(folder / "destination"), "new");
    EXPECT_FALSE(fs::exists(folder / "source"));
}

TEST(ReplaceFile, WritesThroughWhenAsked) {
    ScratchFolder folder;
    WriteText(folder / "source", "new");
    const PlatformResult result = ReplaceFile(folder / "source", folder / "destination", true);
    ASSERT_TRUE(result.Ok()) << result.message;
    EXPECT_EQ(ReadText(folder / "destination"), "new");
}

TEST(ReplaceFile, RefusesTheSameFileInAnotherSpelling) {
    ScratchFolder folder;
    WriteText(folder / "a.txt", "kept");
    const fs::path doubled = fs::path(folder.Path().string() + "//a.txt");
    const fs::path trailingDot = fs::path(folder.Path().string() + "/./a.txt").lexically_normal();
    for (const fs::path& other : {fs::path(folder / "a.txt"), doubled, trailingDot}) {
        const PlatformResult result = ReplaceFile(folder / "a.txt", other, false);
        EXPECT_EQ(result.status, PlatformStatus::InvalidArgument) << other;
        EXPECT_EQ(result.message, "Source and destination identify the same file.");
    }
    EXPECT_EQ(ReadText(folder / "a.txt"), "kept");
}

TEST(ReplaceFile, ReportsAMissingSource) {
    ScratchFolder folder;
    const PlatformResult result = ReplaceFile(folder / "missing", folder / "destination", false);
    EXPECT_EQ(result.status, PlatformStatus::NotFound);
    EXPECT_EQ(result.message, "Path does not exist: " + (folder / "missing").string());
}

TEST(ReplaceFile, RejectsAnEmptyDestination) {
    ScratchFolder folder;
    WriteText(folder / "source", "x");
    const PlatformResult result = ReplaceFile(folder / "source", {}, false);
    EXPECT_EQ(result.status, PlatformStatus::InvalidArgument);
    EXPECT_EQ(result.message, "Destination path is empty.");
}

TEST(ReplaceFile, ReportsTheHostsRefusal) {
    ScratchFolder folder;
    WriteText(folder / "source", "x");
    fs::create_directories(folder / "destination/inner");
    const PlatformResult result = ReplaceFile(folder / "source", folder / "destination", false);
    EXPECT_EQ(result.status, PlatformStatus::SystemError);
    EXPECT_EQ(result.message, "Failed to replace file: Is a directory");
    EXPECT_EQ(ReadText(folder / "source"), "x");
}

TEST(ReplaceFile, MovesAcrossFileSystems) {
    ScratchFolder folder;
    const fs::path sharedMemory = "/dev/shm";
    struct stat here {};
    struct stat there {};
    if (::stat(folder.Path().c_str(), &here) != 0 || ::stat(sharedMemory.c_str(), &there) != 0 ||
        here.st_dev == there.st_dev)
        GTEST_SKIP() << "no second file system to move across";
    const fs::path source = sharedMemory / ("brelk-platform-" + Core::Guid::New().ToString());
    WriteText(source, "crossed");
    WriteText(folder / "destination", "old");
    const PlatformResult result = ReplaceFile(source, folder / "destination", true);
    std::error_code ignored;
    fs::remove(source, ignored);
    ASSERT_TRUE(result.Ok()) << result.message;
    EXPECT_EQ(ReadText(folder / "destination"), "crossed");
    EXPECT_FALSE(fs::exists(source));
    EXPECT_EQ(CountEntries(folder.Path()), 1u);
}

TEST(SetFileReadOnly, RemovesAndRestoresWriteAccess) {
    ScratchFolder folder;
    WriteText(folder / "a.txt", "x");
    fs::permissions(folder / "a.txt", fs::perms(0664));
    ASSERT_TRUE(SetFileReadOnly(folder / "a.txt", true).Ok());
    EXPECT_EQ(ModeOf(folder / "a.txt"), 0444u);
    ASSERT_TRUE(SetFileReadOnly(folder / "a.txt", false).Ok());
    EXPECT_EQ(ModeOf(folder / "a.txt"), 0644u);
}

TEST(SetFileReadOnly, LeavesAWritableFileAsItIs) {
    ScratchFolder folder;
    WriteText(folder / "a.txt", "x");
    fs::permissions(folder / "a.txt", fs::perms(0660));
    ASSERT_TRUE(SetFileReadOnly(folder / "a.txt", false).Ok());
    EXPECT_EQ(ModeOf(folder / "a.txt"), 0660u);
}

TEST(SetFileReadOnly, ReportsAMissingFile) {
    ScratchFolder folder;
    const PlatformResult result = SetFileReadOnly(folder / "missing", true);
    EXPECT_EQ(result.status, PlatformStatus::NotFound);
    EXPECT_EQ(result.message, "Path does not exist: " + (folder / "missing").string());
}

TEST(GetShortPath, HasNoShortFormOnThisHost) {
    ScratchFolder folder;
    EXPECT_FALSE(GetShortPath(folder.Path()).has_value());
}

TEST(GetLongPath, GivesAnExistingPathAndNothingForAMissingOne) {
    ScratchFolder folder;
    ASSERT_TRUE(GetLongPath(folder.Path()).has_value());
    EXPECT_EQ(*GetLongPath(folder.Path()), folder.Path());
    EXPECT_FALSE(GetLongPath(folder / "missing").has_value());
    EXPECT_FALSE(GetLongPath({}).has_value());
}

TEST(CanonicalPath, KeepsAnEmptyPathEmpty) {
    EXPECT_TRUE(CanonicalPath({}).empty());
}

TEST(CanonicalPath, MakesRelativePathsAbsolute) {
    EXPECT_EQ(CanonicalPath("some/where"), fs::canonical(fs::current_path()) / "some/where");
}

TEST(CanonicalPath, NormalisesDotsAndDropsATrailingSeparator) {
    ScratchFolder folder;
    const fs::path real = fs::canonical(folder.Path());
    fs::create_directory(folder / "sub");
    EXPECT_EQ(CanonicalPath(folder.Path() / "sub/../sub/./"), real / "sub");
    EXPECT_EQ(CanonicalPath(folder.Path() / "new/../later/x/"), real / "later/x");
    EXPECT_EQ(CanonicalPath("/"), fs::path("/"));
}

TEST(CanonicalPath, ResolvesLinksInTheExistingPartOfAMissingPath) {
    ScratchFolder folder;
    fs::create_directory(folder / "real");
    fs::create_directory_symlink(folder / "real", folder / "link");
    const fs::path real = fs::canonical(folder / "real");
    EXPECT_EQ(CanonicalPath(folder / "link/Not/Yet.txt"), real / "Not/Yet.txt");
}

TEST(PathKey, UnifiesSeparatorsAndCase) {
    EXPECT_EQ(PathKey("C:\\Data/Some\\file.Txt"), "C:/DATA/SOME/FILE.TXT");
    EXPECT_EQ(PathKey("/a/\xc3\xa9"), "/A/\xc3\xa9");
    EXPECT_EQ(PathKey({}), "");
}

TEST(SamePath, MatchesSpellingsThatDifferInCaseOrSeparator) {
    ScratchFolder folder;
    WriteText(folder / "File.txt", "x");
    const std::string base = folder.Path().string();
    EXPECT_TRUE(SamePath(base + "/File.txt", base + "\\FILE.TXT"));
    EXPECT_TRUE(SamePath(base + "/missing/Later.txt", base + "/MISSING\\later.txt"));
    EXPECT_TRUE(SamePath(base + "/sub/../File.txt", base + "/File.txt"));
    EXPECT_FALSE(SamePath(base + "/File.txt", base + "/Other.txt"));
}

TEST(SamePath, TreatsEmptyPathsAsTheSameOnlyAsEachOther) {
    EXPECT_TRUE(SamePath({}, {}));
    EXPECT_FALSE(SamePath({}, "/a"));
    EXPECT_FALSE(SamePath("/a", {}));
}

TEST(IsInsideFolder, CountsAFolderAsInsideItself) {
    ScratchFolder folder;
    EXPECT_TRUE(IsInsideFolder(folder.Path(), folder.Path()));
    EXPECT_TRUE(IsInsideFolder(folder.Path(), folder.Path().string() + "/"));
}

TEST(IsInsideFolder, HoldsPathsBelowButNotSiblingsWithTheSamePrefix) {
    EXPECT_TRUE(IsInsideFolder("/data/A", "/data/A/b"));
    EXPECT_TRUE(IsInsideFolder("/data/A", "/DATA/a/b/c"));
    EXPECT_FALSE(IsInsideFolder("/data/A", "/data/AB"));
    EXPECT_FALSE(IsInsideFolder("/data/A/b", "/data/A"));
    EXPECT_TRUE(IsInsideFolder("/", "/data"));
}

TEST(IsInsideFolder, RejectsEmptyArguments) {
    EXPECT_FALSE(IsInsideFolder({}, "/a"));
    EXPECT_FALSE(IsInsideFolder("/a", {}));
}

TEST(RelativeToFolder, GivesDotForTheFolderItself) {
    ScratchFolder folder;
    EXPECT_EQ(RelativeToFolder(folder.Path(), folder.Path()), fs::path("."));
}

TEST(RelativeToFolder, KeepsAMissingTailAsWritten) {
    ScratchFolder folder;
    EXPECT_EQ(RelativeToFolder(folder.Path(), folder.Path() / "Not/Yet/There.TXT"), fs::path("Not/Yet/There.TXT"));
}

TEST(RelativeToFolder, KeepsTheCaseOfThePath) {
    EXPECT_EQ(RelativeToFolder("/data/a", "/DATA/A/Sub/File"), fs::path("Sub/File"));
    EXPECT_EQ(RelativeToFolder("/", "/data/x"), fs::path("data/x"));
}

TEST(RelativeToFolder, GivesNothingOutsideTheFolderOrForEmptyArguments) {
    EXPECT_FALSE(RelativeToFolder("/data/A", "/data/AB/c").has_value());
    EXPECT_FALSE(RelativeToFolder({}, "/a").has_value());
    EXPECT_FALSE(RelativeToFolder("/a", {}).has_value());
}

} // namespace
} // namespace Brelk::Platform
