#include "engine/assets/shaders/MaterialTemplates.h"
#include "engine/assets/shaders/ShaderStamps.h"
#include "engine/platform/Folders.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Brelk::WorldGen {
namespace {

// The build stages the templates beside the tool, and the lookup must find them there.
TEST(ShaderTemplateInstall, TheToolFindsAllTemplatesBesideItself) {
    const std::filesystem::path folder = Assets::LocateShaderFolder();
    EXPECT_EQ(folder, Platform::GetExecutableFolder() / "Assets" / "Shaders");
    std::vector<std::string> expected(Assets::MaterialTemplateFiles().begin(), Assets::MaterialTemplateFiles().end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(Testing::ListFiles(folder), expected);
    EXPECT_NE(Assets::TemplateStamp(), Assets::ComputeTemplateStamp({}));
}

} // namespace
} // namespace Brelk::WorldGen
