#include "tools/worldgen/CommandLine.h"

#include "engine/core/NumberText.h"
#include "tests/support/TextCases.h"
#include "tools/worldgen/Sampling.h"

#include <gtest/gtest.h>

#include <bit>
#include <functional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;

// The value as text (a float as its bits), or the kind of the exception thrown and, unless the
// standard library's own wording is being compared, its text.
std::string Outcome(const std::function<std::string()>& run, bool withMessage = true) {
    try {
        return run();
    } catch (const std::invalid_argument& error) {
        return std::string("invalid:") + (withMessage ? error.what() : "");
    } catch (const std::out_of_range& error) {
        return std::string("range:") + (withMessage ? error.what() : "");
    } catch (const std::runtime_error& error) {
        return std::string("error:") + error.what();
    }
}

std::string Text(std::int32_t value) { return std::to_string(value); }
std::string Text(float value) { return "bits " + std::to_string(std::bit_cast<std::uint32_t>(value)); }

// Signed and float values read as the standard conversions their messages name, whose wording
// varies between libraries. The listed texts are the edges the drawn ones would hardly reach.
TEST(ConvertArgument, ReadsSignedAndFloatTextsAsStoiAndStofDo) {
    const std::vector<std::string> texts = {
        " \t\n+7", "-2147483648", "2147483647", "2147483648", "-2147483649", "99999999999999999999999", " x1",
        "3.4028235e38", "3.4028236e38", "-3.40282357e38", "1.17549435e-38", "1.1754942e-38", "1e-38", "1e-45",
        "1e-46", "0e-999", "0x1p-149", "0x1p-150", "0x1.8p-149", "0x1p-126", "0x1.fffffep-127", "0x1p128",
        "0x1.fffffep127", "0X.8", "0x.p1", "0xg", "infinity", "-INF", "nan(abc)", "nan(", "0Xnan(680", "0x-1",
        "0x.8p1", "  +.5e-3", "\v7", "0.100000001", "123456789012345678901234567890", "0." + std::string(50, '0') + "1",
        "1" + std::string(60, '0'), "-Infinity", "1e-50",
    };
    const auto check = [](const std::string& text) {
        EXPECT_EQ(Outcome([&] { return Text(ConvertSignedArgument(text)); }, false),
                  Outcome([&] { return Text(std::stoi(text)); }, false))
            << '"' << text << '"';
        EXPECT_EQ(Outcome([&] { return Text(ConvertFloatArgument(text)); }, false),
                  Outcome([&] { return Text(std::stof(text)); }, false))
            << '"' << text << '"';
    };
    for (const std::string& text : texts) check(text);

    constexpr std::string_view kAlphabet = "0123456789+-.eExXpPa nif";
    RandomStream random{99};
    for (int i = 0; i < 40000 && !HasFailure(); ++i) {
        std::string text;
        const std::size_t length = static_cast<std::size_t>(random.Next() % 10);
        for (std::size_t c = 0; c < length; ++c) text += kAlphabet[random.Next() % kAlphabet.size()];
        check(text);
    }
}

// In the order the case file's comment names.
std::string Describe(const WorldGenOptions& o) {
    const ProceduralWorldSettings& s = o.settings;
    std::string text = o.contentPath.string() + " " + o.worldPath.string() + " " + o.scenePath.string();
    for (const std::int64_t n : {std::int64_t{s.cellsX}, std::int64_t{s.cellsZ}, std::int64_t{s.seed},
                                 std::int64_t{s.propsPerCell}, std::int64_t{s.terrainResolution},
                                 std::int64_t{s.generateColliders}})
        text += " " + std::to_string(n);
    for (const float f : {s.cellSize, s.heightScale, o.partition.loadRadius, o.partition.unloadRadius,
                          o.partition.frameBudgetMilliseconds, o.partition.memoryBudgetMegabytes}) {
        text += ' ';
        Core::AppendFloat9(text, f);
    }
    return text;
}

// Every conversion's messages and edges show through the options that take them: --cells is
// signed, --seed unsigned and --cell-size a float.
TEST(ParseCommandLine, ReadsOptionsOverDefaultsOrRefusesWithUsageOrAMessage) {
    Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "CommandLines.txt", [](const Testing::TextCase& c) {
        std::vector<std::string> args;
        for (std::size_t start = 0; start < c.input.size(); start = c.input.find('\n', start) + 1)
            args.push_back(c.input.substr(start, c.input.find('\n', start) - start));
        return Outcome([&] {
            WorldGenOptions options;
            return ParseCommandLine(args, options) == CommandLineParse::Ok ? Describe(options) : "usage";
        });
    });
}

// The tool's own run pins an absolute world and a relative scene below an absolute folder.
TEST(ResolveToolPaths, PutsRelativePathsBelowTheAbsoluteContentFolderUnnormalised) {
    WorldGenOptions options;
    options.contentPath = "Content";
    options.scenePath = "Sub/../S.bscene";
    ResolveToolPaths(options);
    const std::string content = (std::filesystem::current_path() / "Content").native();
    EXPECT_EQ(std::tuple(options.contentPath.native(), options.worldPath.native(), options.scenePath.native()),
              std::tuple(content, content + "/Worlds/Procedural.bworld", content + "/Sub/../S.bscene"));
}

} // namespace
} // namespace Brelk::WorldGen
