#include "tools/worldview/ViewCommandLine.h"

#include "tools/worldview/ViewTool.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace Brelk::WorldView {
namespace {

struct LineCase {
    const char* name;
    std::vector<std::string> args;
    // "usage", the options read or the exception's text.
    std::string outcome;
};

const LineCase kLines[] = {
    {"NoArguments", {}, "usage"},
    {"NoWorld", {"--png", "a.png"}, "usage"},
    {"UnknownOption", {"--world", "w.bworld", "--cells", "2"}, "usage"},
    {"MissingValue", {"--world"}, "missing value for --world"},
    {"ZeroScale", {"--world", "w.bworld", "--scale", "0"}, "--scale must be at least 1"},
    {"BadScale", {"--world", "w.bworld", "--scale", "x"}, "invalid stoul argument"},
    {"ALaterOptionWins", {"--world", "a.bworld", "--png", "p.png", "--scale", "3", "--world", "w.bworld"}, "w.bworld p.png 3"},
};

class ViewCommandLineTest : public ::testing::TestWithParam<LineCase> {};

TEST_P(ViewCommandLineTest, Parses) {
    WorldViewOptions options;
    std::string parsed;
    const std::string thrown = Testing::ThrownMessage([&] {
        parsed = ParseViewCommandLine(GetParam().args, options) != ViewCommandLineParse::Ok
                     ? "usage"
                     : options.worldPath.string() + " " + options.pngPath.string() + " " +
                           std::to_string(options.scale.value_or(0));
    });
    EXPECT_EQ(parsed.empty() ? thrown : parsed, GetParam().outcome);
}

INSTANTIATE_TEST_SUITE_P(Lines, ViewCommandLineTest, ::testing::ValuesIn(kLines),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ViewTool, ABadCommandLineGivesTheUsageOrOneErrorLine) {
    std::ostringstream out, err;
    EXPECT_EQ(RunWorldViewTool(std::vector<std::string>{"--world", "w.bworld", "--bogus"}, out, err), kViewExitUsage);
    EXPECT_EQ(err.str(), kViewUsageText);
    err.str("");
    EXPECT_EQ(RunWorldViewTool(std::vector<std::string>{"--world"}, out, err), kViewExitError);
    EXPECT_EQ(err.str(), "brelk-worldview: missing value for --world\n");
    EXPECT_EQ(out.str(), "");
}

} // namespace
} // namespace Brelk::WorldView
