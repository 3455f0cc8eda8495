#include "engine/platform/Folders.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace Brelk::Platform {
namespace {

namespace fs = std::filesystem;
using Testing::ScratchFolder;
using Testing::WriteText;

// Sets (null: unsets) environment variables and puts the old values back.
struct EnvironmentOverride {
    void Set(const char* name, const char* value) {
        const char* old = std::getenv(name);
        saved.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
        value ? ::setenv(name, value, 1) : ::unsetenv(name);
    }
    ~EnvironmentOverride() {
        for (auto it = saved.rbegin(); it != saved.rend(); ++it)
            it->second ? ::setenv(it->first.c_str(), it->second->c_str(), 1) : ::unsetenv(it->first.c_str());
    }
    std::vector<std::pair<std::string, std::optional<std::string>>> saved;
};

TEST(GetExecutablePath, NamesTheRunningProgramWithTheEngineRootAboveIt) {
    const fs::path executable = GetExecutablePath();
    EXPECT_TRUE(executable.is_absolute() && fs::is_regular_file(executable));
    EXPECT_EQ(executable.filename(), "brelk_platform_tests");
    EXPECT_EQ(GetExecutableFolder(), executable.parent_path());
    const fs::path root = GetEngineRoot();
    EXPECT_TRUE(fs::exists(root / "CMakeLists.txt"));
    EXPECT_EQ(GetEngineContentFolder(), root / "Assets" / "Content");
    EXPECT_EQ(GetEngineExportsFolder(), root / "Assets" / "Exports");
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
        for (const char* name : names) environment.Set(name, nullptr);
        for (const auto& [name, value] : c.set) environment.Set(name, value);
        EXPECT_EQ(GetUserSettingsFolder(), c.expected);
    }
    EnvironmentOverride environment;
    environment.Set("BRELK_USER_SETTINGS_DIR", "/settings/here");
    EXPECT_EQ(GetGeneratedShadersFolder(), fs::path("/settings/here/GeneratedShaders"));
}

} // namespace
} // namespace Brelk::Platform
