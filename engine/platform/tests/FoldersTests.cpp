#include "engine/platform/Folders.h"

#include "tests/support/TestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <sstream>

namespace Brelk::Platform {
namespace {

namespace fs = std::filesystem;
using Testing::ScratchFolder;
using Testing::WriteText;

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
    Testing::ExpectTextCases(std::string(BRELK_TEST_DATA_DIR) + "/UserSettingsFolders.txt", [](const Testing::TextCase& c) {
        std::map<std::string, std::string> values;
        std::istringstream lines(c.input);
        for (std::string line; std::getline(lines, line);)
            values[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
        std::deque<Testing::ScopedEnvironmentVariable> environment;
        for (const char* name : {"BRELK_USER_SETTINGS_DIR", "APPDATA", "LOCALAPPDATA", "XDG_CONFIG_HOME", "HOME"})
            environment.emplace_back(name, values.contains(name) ? values[name].c_str() : nullptr);
        const std::string folder = GetUserSettingsFolder().string(), root = GetEngineRoot().string();
        return folder.starts_with(root) ? "<engine root>" + folder.substr(root.size()) : folder;
    });
    Testing::ScopedEnvironmentVariable settings("BRELK_USER_SETTINGS_DIR", "/settings/here");
    EXPECT_EQ(GetGeneratedShadersFolder(), fs::path("/settings/here/GeneratedShaders"));
}

} // namespace
} // namespace Brelk::Platform
