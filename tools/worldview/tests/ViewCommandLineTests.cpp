#include "tools/worldview/ViewCommandLine.h"

#include "tools/worldview/ViewTool.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace Brelk::WorldView {
namespace {

TEST(ParseViewCommandLine, ReadsOptionsOrRefusesWithUsageOrAMessage) {
    const std::filesystem::path cases = std::filesystem::path(BRELK_TEST_DATA_DIR) / "ViewCommandLines.txt";
    Testing::ExpectTextCases(cases, [](const Testing::TextCase& c) {
        std::vector<std::string> args;
        for (std::size_t start = 0; start < c.input.size(); start = c.input.find('\n', start) + 1)
            args.push_back(c.input.substr(start, c.input.find('\n', start) - start));
        WorldViewOptions options;
        std::string parsed;
        const std::string thrown = Testing::ThrownMessage([&] {
            parsed = ParseViewCommandLine(args, options) != ViewCommandLineParse::Ok
                         ? "usage"
                         : options.worldPath.string() + " " + options.pngPath.string() + " " +
                               std::to_string(options.scale.value_or(0));
        });
        return parsed.empty() ? thrown : parsed;
    });
}

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
