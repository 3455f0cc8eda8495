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

void ExpectResult(const PlatformResult& result, PlatformStatus status, const std::string& message) {
    EXPECT_EQ(result.status, status) << result.message;
    EXPECT_EQ(result.message, message);
}

TEST(PlatformResult, KeepsTheStoredStatusValuesAndJoinsTheHostsMessage) {
    // The numbers are stored, so they may never change.
    EXPECT_EQ(sizeof(PlatformStatus), 1u);
    EXPECT_EQ((std::vector<int>{0, 1, 2, 4}),
              (std::vector<int>{static_cast<int>(PlatformStatus::Ok), static_cast<int>(PlatformStatus::InvalidArgument),
                                static_cast<int>(PlatformStatus::NotFound), static_cast<int>(PlatformStatus::SystemError)}));
    ExpectResult(PlatformResult::FromSystemError("Failed to replace file", ENOENT), PlatformStatus::SystemError,
                 "Failed to replace file: No such file or directory");
    EXPECT_TRUE(PlatformResult::Success().Ok());
    EXPECT_TRUE(PlatformResult::Success().message.empty());
}

TEST(CheckPathExists, AcceptsFilesFoldersAndDanglingLinksOnly) {
    ScratchFolder folder;
    WriteText(folder / "file", "x");
    fs::create_symlink(folder / "nowhere", folder / "link");
    EXPECT_TRUE(CheckPathExists(folder / "file").Ok());
    EXPECT_TRUE(CheckPathExists(folder.Path()).Ok());
    EXPECT_TRUE(CheckPathExists(folder / "link").Ok());
    ExpectResult(CheckPathExists({}), PlatformStatus::InvalidArgument, "Path is empty.");
    ExpectResult(CheckPathExists(folder / "missing"), PlatformStatus::NotFound,
                 "Path does not exist: " + (folder / "missing").string());
    EXPECT_EQ(CheckPathExists(folder / "file/below").status, PlatformStatus::NotFound);
}

TEST(ReplaceFile, MovesTheSourceOverTheDestinationWithOrWithoutWritingThrough) {
    for (const bool writeThrough : {false, true}) {
        ScratchFolder folder;
        WriteText(folder / "source", "new");
        WriteText(folder / "destination", "old");
        const PlatformResult result = ReplaceFile(folder / "source", folder / "destination", writeThrough);
        ASSERT_TRUE(result.Ok()) << result.message;
        EXPECT_EQ(ReadText(folder / "destination"), "new");
        EXPECT_FALSE(fs::exists(folder / "source"));
    }
}

TEST(ReplaceFile, RefusesTheSameFileInAnotherSpelling) {
    ScratchFolder folder;
    WriteText(folder / "a.txt", "kept");
    const fs::path doubled = fs::path(folder.Path().string() + "//a.txt");
    const fs::path dotted = fs::path(folder.Path().string() + "/./a.txt").lexically_normal();
    for (const fs::path& other : {folder / "a.txt", doubled, dotted}) {
        SCOPED_TRACE(other);
        ExpectResult(ReplaceFile(folder / "a.txt", other, false), PlatformStatus::InvalidArgument,
                     "Source and destination identify the same file.");
    }
    EXPECT_EQ(ReadText(folder / "a.txt"), "kept");
}

TEST(ReplaceFile, ReportsAMissingSourceAnEmptyDestinationAndTheHostsRefusal) {
    ScratchFolder folder;
    WriteText(folder / "source", "x");
    fs::create_directories(folder / "destination/inner");
    ExpectResult(ReplaceFile(folder / "missing", folder / "other", false), PlatformStatus::NotFound,
                 "Path does not exist: " + (folder / "missing").string());
    ExpectResult(ReplaceFile(folder / "source", {}, false), PlatformStatus::InvalidArgument,
                 "Destination path is empty.");
    ExpectResult(ReplaceFile(folder / "source", folder / "destination", false), PlatformStatus::SystemError,
                 "Failed to replace file: Is a directory");
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

TEST(SetFileReadOnly, RemovesAndRestoresOwnerWriteAccessOnly) {
    ScratchFolder folder;
    WriteText(folder / "a.txt", "x");
    fs::permissions(folder / "a.txt", fs::perms(0664));
    ASSERT_TRUE(SetFileReadOnly(folder / "a.txt", true).Ok());
    EXPECT_EQ(ModeOf(folder / "a.txt"), 0444u);
    ASSERT_TRUE(SetFileReadOnly(folder / "a.txt", false).Ok());
    EXPECT_EQ(ModeOf(folder / "a.txt"), 0644u);
    // A file that is writable already stays as it is.
    fs::permissions(folder / "a.txt", fs::perms(0660));
    ASSERT_TRUE(SetFileReadOnly(folder / "a.txt", false).Ok());
    EXPECT_EQ(ModeOf(folder / "a.txt"), 0660u);
    ExpectResult(SetFileReadOnly(folder / "missing", true), PlatformStatus::NotFound,
                 "Path does not exist: " + (folder / "missing").string());
}

TEST(GetLongPath, GivesAnExistingPathAndNothingForAMissingOneWhileShortPathsDoNotExist) {
    ScratchFolder folder;
    EXPECT_EQ(GetLongPath(folder.Path()), folder.Path());
    EXPECT_FALSE(GetLongPath(folder / "missing").has_value());
    EXPECT_FALSE(GetLongPath({}).has_value());
    EXPECT_FALSE(GetShortPath(folder.Path()).has_value());
}

TEST(CanonicalPath, MakesPathsAbsoluteNormalisedAndWithoutATrailingSeparator) {
    ScratchFolder folder;
    fs::create_directory(folder / "sub");
    EXPECT_TRUE(CanonicalPath({}).empty());
    EXPECT_EQ(CanonicalPath("some/where"), fs::canonical(fs::current_path()) / "some/where");
    EXPECT_EQ(CanonicalPath(folder / "sub/../sub/./"), folder / "sub");
    EXPECT_EQ(CanonicalPath(folder / "new/../later/x/"), folder / "later/x");
    EXPECT_EQ(CanonicalPath("/"), fs::path("/"));
}

TEST(CanonicalPath, ResolvesLinksInTheExistingPartOfAMissingPath) {
    ScratchFolder folder;
    fs::create_directory(folder / "real");
    fs::create_directory_symlink(folder / "real", folder / "link");
    EXPECT_EQ(CanonicalPath(folder / "link/Not/Yet.txt"), folder / "real/Not/Yet.txt");
}

TEST(SamePath, MatchesSpellingsThatDifferInCaseOrSeparator) {
    EXPECT_EQ(PathKey("C:\\Data/Some\\file.Txt"), "C:/DATA/SOME/FILE.TXT");
    EXPECT_EQ(PathKey("/a/\xc3\xa9"), "/A/\xc3\xa9");
    EXPECT_EQ(PathKey({}), "");
    ScratchFolder folder;
    WriteText(folder / "File.txt", "x");
    const std::string base = folder.Path().string();
    EXPECT_TRUE(SamePath(base + "/File.txt", base + "\\FILE.TXT"));
    EXPECT_TRUE(SamePath(base + "/missing/Later.txt", base + "/MISSING\\later.txt"));
    EXPECT_TRUE(SamePath(base + "/sub/../File.txt", base + "/File.txt"));
    EXPECT_FALSE(SamePath(base + "/File.txt", base + "/Other.txt"));
    EXPECT_TRUE(SamePath({}, {}));
    EXPECT_FALSE(SamePath({}, "/a"));
    EXPECT_FALSE(SamePath("/a", {}));
}

TEST(IsInsideFolder, HoldsTheFolderAndPathsBelowButNotSiblingsWithTheSamePrefix) {
    ScratchFolder folder;
    struct Case {
        fs::path folder, path;
        bool inside;
    };
    const Case cases[] = {
        {folder.Path(), folder.Path(), true}, {folder.Path(), folder.Path().string() + "/", true},
        {"/data/A", "/data/A/b", true}, {"/data/A", "/DATA/a/b/c", true}, {"/data/A", "/data/AB", false},
        {"/data/A/b", "/data/A", false}, {"/", "/data", true}, {{}, "/a", false}, {"/a", {}, false},
    };
    for (const Case& c : cases) EXPECT_EQ(IsInsideFolder(c.folder, c.path), c.inside) << c.folder << " " << c.path;
}

TEST(RelativeToFolder, KeepsTheCaseAndMissingTailOfThePathAndGivesNothingOutside) {
    ScratchFolder folder;
    struct Case {
        fs::path folder, path;
        std::optional<fs::path> relative;
    };
    const Case cases[] = {
        {folder.Path(), folder.Path(), "."}, {folder.Path(), folder / "Not/Yet/There.TXT", "Not/Yet/There.TXT"},
        {"/data/a", "/DATA/A/Sub/File", "Sub/File"}, {"/", "/data/x", "data/x"},
        {"/data/A", "/data/AB/c", std::nullopt}, {{}, "/a", std::nullopt}, {"/a", {}, std::nullopt},
    };
    for (const Case& c : cases) EXPECT_EQ(RelativeToFolder(c.folder, c.path), c.relative) << c.folder << " " << c.path;
}

} // namespace
} // namespace Brelk::Platform
