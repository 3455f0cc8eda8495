#include "engine/platform/Folders.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <stdexcept>

namespace Brelk::Platform {
namespace {

namespace fs = std::filesystem;
using Testing::ScratchFolder;
using Testing::WriteText;

// Sets or unsets environment variables for one test and puts the old values back.
class EnvironmentOverride {
public:
    void Set(const char* name, const char* value) {
        Remember(name);
        ::setenv(name, value, 1);
    }
    void Unset(const char* name) {
        Remember(name);
        ::unsetenv(name);
    }
    ~EnvironmentOverride() {
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
            if (it->second)
                ::setenv(it->first.c_str(), it->second->c_str(), 1);
            else
                ::unsetenv(it->first.c_str());
        }
    }

private:
    void Remember(const char* name) {
        const char* value = std::getenv(name);
        saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
    }
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

class UserSettingsFolder : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"BRELK_USER_SETTINGS_DIR", "APPDATA", "LOCALAPPDATA", "XDG_CONFIG_HOME", "HOME"})
            environment.Unset(name);
    }
    EnvironmentOverride environment;
};

TEST(GetExecutablePath, NamesTheRunningProgram) {
    const fs::path executable = GetExecutablePath();
    EXPECT_TRUE(executable.is_absolute());
    EXPECT_EQ(executable.filename(), "brelk_platform_tests");
    EXPECT_TRUE(fs::is_regular_file(executable));
    EXPECT_EQ(GetExecutableFolder(), executable.parent_path());
}

TEST(FindEngineRoot, FindsTheNearestFolderWithABuildScript) {
    ScratchFolder folder;
    WriteText(folder / "CMakeLists.txt", "");
    fs::create_directories(folder / "build/bin");
    EXPECT_EQ(FindEngineRoot(folder / "build/bin/tool"), folder.Path());
}

TEST(FindEngineRoot, FindsAFolderWithAnEngineVersion) {
    ScratchFolder folder;
    fs::create_directories(folder / "Config");
    WriteText(folder / "Config/EngineVersion.json", "{}");
    EXPECT_EQ(FindEngineRoot(folder / "tool"), folder.Path());
}

TEST(FindEngineRoot, LooksAtTheProgramFolderAndSevenAncestors) {
    ScratchFolder folder;
    WriteText(folder / "CMakeLists.txt", "");
    const fs::path seven = folder / "1/2/3/4/5/6/7";
    EXPECT_EQ(FindEngineRoot(seven / "tool"), folder.Path());
}

TEST(FindEngineRoot, FallsBackToTwoLevelsAboveTheProgramFolder) {
    ScratchFolder folder;
    WriteText(folder / "CMakeLists.txt", "");
    const fs::path eight = folder / "1/2/3/4/5/6/7/8";
    EXPECT_EQ(FindEngineRoot(eight / "tool"), folder / "1/2/3/4/5/6");
}

TEST(FindEngineRoot, ThrowsWithoutAProgramPath) {
    EXPECT_THROW(
        {
            try {
                FindEngineRoot({});
            } catch (const std::runtime_error& error) {
                EXPECT_STREQ(error.what(), "Failed to resolve executable path.");
                throw;
            }
        },
        std::runtime_error);
}

TEST(GetEngineRoot, FindsTheSourceTreeAboveTheBuildFolder) {
    const fs::path root = GetEngineRoot();
    EXPECT_TRUE(fs::exists(root / "CMakeLists.txt"));
    EXPECT_EQ(GetEngineContentFolder(), root / "Assets" / "Content");
    EXPECT_EQ(GetEngineExportsFolder(), root / "Assets" / "Exports");
}

TEST(ResolveInstalledAsset, GivesTheFirstCandidateWhenNoneExists) {
    const fs::path relative = "no-such-folder-" + Core::Guid::New().ToString() + "/x.bin";
    EXPECT_EQ(ResolveInstalledAsset(relative), GetExecutableFolder() / "Assets" / relative);
}

TEST(ResolveInstalledAsset, PrefersTheFolderAboveTheProgramOverTheEngineTree) {
    const fs::path name = "brelk-test-" + Core::Guid::New().ToString();
    const fs::path above = GetExecutableFolder().parent_path() / "Assets" / name;
    fs::create_directories(above);
    const fs::path resolved = ResolveInstalledAsset(name);
    fs::remove(above);
    std::error_code ignored;
    fs::remove(above.parent_path(), ignored); // only if the test made it
    EXPECT_EQ(resolved, above);
}

TEST_F(UserSettingsFolder, PrefersTheEngineVariable) {
    environment.Set("BRELK_USER_SETTINGS_DIR", "/settings/here");
    environment.Set("APPDATA", "/roaming");
    EXPECT_EQ(GetUserSettingsFolder(), fs::path("/settings/here"));
    EXPECT_EQ(GetGeneratedShadersFolder(), fs::path("/settings/here/GeneratedShaders"));
    EXPECT_EQ(GetEditorPreferencesPath(), fs::path("/settings/here/editor_preferences.cfg"));
}

TEST_F(UserSettingsFolder, TreatsAnEmptyEngineVariableAsUnset) {
    environment.Set("BRELK_USER_SETTINGS_DIR", "");
    environment.Set("APPDATA", "/roaming");
    EXPECT_EQ(GetUserSettingsFolder(), fs::path("/roaming/BrelkEngine"));
}

TEST_F(UserSettingsFolder, FallsBackToLocalAppData) {
    environment.Set("LOCALAPPDATA", "/local");
    environment.Set("HOME", "/home/someone");
    EXPECT_EQ(GetUserSettingsFolder(), fs::path("/local/BrelkEngine"));
}

TEST_F(UserSettingsFolder, UsesTheUsersConfigurationFolder) {
    environment.Set("XDG_CONFIG_HOME", "/config");
    environment.Set("HOME", "/home/someone");
    EXPECT_EQ(GetUserSettingsFolder(), fs::path("/config/BrelkEngine"));
}

TEST_F(UserSettingsFolder, IgnoresARelativeConfigurationVariable) {
    environment.Set("XDG_CONFIG_HOME", "relative");
    environment.Set("HOME", "/home/someone");
    EXPECT_EQ(GetUserSettingsFolder(), fs::path("/home/someone/.config/BrelkEngine"));
}

TEST_F(UserSettingsFolder, EndsInTheEngineTree) {
    EXPECT_EQ(GetUserSettingsFolder(), GetEngineRoot() / ".brelk_user");
}

TEST(GetLocalAppDataFolder, IsEmptyWithoutTheVariable) {
    EnvironmentOverride environment;
    environment.Unset("LOCALAPPDATA");
    EXPECT_TRUE(GetLocalAppDataFolder().empty());
    environment.Set("LOCALAPPDATA", "/local");
    EXPECT_EQ(GetLocalAppDataFolder(), fs::path("/local"));
}

TEST(GetFontCandidates, OffersTwoFontsInOrder) {
    const std::vector<fs::path> fonts = GetFontCandidates();
    ASSERT_EQ(fonts.size(), 2u);
    EXPECT_EQ(fonts[0].extension(), ".ttf");
    EXPECT_EQ(fonts[1].extension(), ".ttf");
}

} // namespace
} // namespace Brelk::Platform
