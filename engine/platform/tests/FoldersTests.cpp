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
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it)
            it->second ? ::setenv(it->first.c_str(), it->second->c_str(), 1) : ::unsetenv(it->first.c_str());
    }

private:
    void Remember(const char* name) {
        const char* value = std::getenv(name);
        saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
    }
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST(GetExecutablePath, NamesTheRunningProgram) {
    const fs::path executable = GetExecutablePath();
    EXPECT_TRUE(executable.is_absolute());
    EXPECT_EQ(executable.filename(), "brelk_platform_tests");
    EXPECT_TRUE(fs::is_regular_file(executable));
    EXPECT_EQ(GetExecutableFolder(), executable.parent_path());
}

TEST(FindEngineRoot, LooksForABuildScriptOrEngineVersionInTheProgramFolderAndSevenAncestors) {
    ScratchFolder script;
    WriteText(script / "CMakeLists.txt", "");
    ScratchFolder version;
    WriteText(version / "Config/EngineVersion.json", "{}");
    EXPECT_EQ(FindEngineRoot(script / "build/bin/tool"), script.Path());
    EXPECT_EQ(FindEngineRoot(version / "tool"), version.Path());
    EXPECT_EQ(FindEngineRoot(script / "1/2/3/4/5/6/7/tool"), script.Path());
    // One level further the search gives up and takes two levels above the program folder.
    EXPECT_EQ(FindEngineRoot(script / "1/2/3/4/5/6/7/8/tool"), script / "1/2/3/4/5/6");
    EXPECT_EQ(Testing::ThrownMessage([] { (void)FindEngineRoot({}); }), "Failed to resolve executable path.");
}

TEST(GetEngineRoot, FindsTheSourceTreeAboveTheBuildFolder) {
    const fs::path root = GetEngineRoot();
    EXPECT_TRUE(fs::exists(root / "CMakeLists.txt"));
    EXPECT_EQ(GetEngineContentFolder(), root / "Assets" / "Content");
    EXPECT_EQ(GetEngineExportsFolder(), root / "Assets" / "Exports");
}

TEST(ResolveInstalledAsset, PrefersTheFolderAboveTheProgramAndGivesTheFirstCandidateWhenNoneExists) {
    const fs::path missing = "no-such-folder-" + Core::Guid::New().ToString() + "/x.bin";
    EXPECT_EQ(ResolveInstalledAsset(missing), GetExecutableFolder() / "Assets" / missing);
    const fs::path name = "brelk-test-" + Core::Guid::New().ToString();
    const fs::path above = GetExecutableFolder().parent_path() / "Assets" / name;
    fs::create_directories(above);
    const fs::path resolved = ResolveInstalledAsset(name);
    fs::remove(above);
    std::error_code ignored;
    fs::remove(above.parent_path(), ignored); // only if the test made it
    EXPECT_EQ(resolved, above);
}

TEST(GetUserSettingsFolder, TakesTheFirstUsableVariableInOrder) {
    const char* const names[] = {"BRELK_USER_SETTINGS_DIR", "APPDATA", "LOCALAPPDATA", "XDG_CONFIG_HOME", "HOME"};
    struct Case {
        std::vector<std::pair<const char*, const char*>> set;
        fs::path expected;
    };
    const Case cases[] = {
        {{{"BRELK_USER_SETTINGS_DIR", "/settings/here"}, {"APPDATA", "/roaming"}}, "/settings/here"},
        {{{"BRELK_USER_SETTINGS_DIR", ""}, {"APPDATA", "/roaming"}}, "/roaming/BrelkEngine"},
        {{{"LOCALAPPDATA", "/local"}, {"HOME", "/home/someone"}}, "/local/BrelkEngine"},
        {{{"XDG_CONFIG_HOME", "/config"}, {"HOME", "/home/someone"}}, "/config/BrelkEngine"},
        {{{"XDG_CONFIG_HOME", "relative"}, {"HOME", "/home/someone"}}, "/home/someone/.config/BrelkEngine"},
        {{}, GetEngineRoot() / ".brelk_user"},
    };
    for (const Case& c : cases) {
        EnvironmentOverride environment;
        for (const char* name : names) environment.Unset(name);
        for (const auto& [name, value] : c.set) environment.Set(name, value);
        EXPECT_EQ(GetUserSettingsFolder(), c.expected);
    }
    EnvironmentOverride environment;
    environment.Set("BRELK_USER_SETTINGS_DIR", "/settings/here");
    EXPECT_EQ(GetGeneratedShadersFolder(), fs::path("/settings/here/GeneratedShaders"));
    EXPECT_EQ(GetEditorPreferencesPath(), fs::path("/settings/here/editor_preferences.cfg"));
}

TEST(GetLocalAppDataFolder, IsEmptyWithoutTheVariable) {
    EnvironmentOverride environment;
    environment.Unset("LOCALAPPDATA");
    EXPECT_TRUE(GetLocalAppDataFolder().empty());
    environment.Set("LOCALAPPDATA", "/local");
    EXPECT_EQ(GetLocalAppDataFolder(), fs::path("/local"));
}

TEST(GetFontCandidates, OffersTwoFonts) {
    const std::vector<fs::path> fonts = GetFontCandidates();
    ASSERT_EQ(fonts.size(), 2u);
    EXPECT_TRUE(fonts[0].extension() == ".ttf" && fonts[1].extension() == ".ttf");
}

} // namespace
} // namespace Brelk::Platform
