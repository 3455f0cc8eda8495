#include "tools/worldgen/CommandLine.h"

#include "engine/core/NumberText.h"
#include "tests/support/TestSupport.h"
#include "tools/worldgen/Sampling.h"

#include <gtest/gtest.h>

#include <bit>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::WorldGen {
namespace {

// "value:<n>" (a float as its bits), or the kind of the exception thrown and, unless the
// standard library's own wording is being compared, its text.
template <typename Convert>
std::string Outcome(Convert convert, const std::string& text, bool withMessage = true) {
    try {
        const auto value = convert(text);
        if constexpr (std::is_same_v<decltype(value), const float>)
            return "value:" + std::to_string(std::bit_cast<std::uint32_t>(value));
        else
            return "value:" + std::to_string(value);
    } catch (const std::invalid_argument& error) {
        return std::string("invalid:") + (withMessage ? error.what() : "");
    } catch (const std::out_of_range& error) {
        return std::string("range:") + (withMessage ? error.what() : "");
    }
}

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
        EXPECT_EQ(Outcome([](const std::string& t) { return ConvertSignedArgument(t); }, text, false),
                  Outcome([](const std::string& t) { return std::stoi(t); }, text, false))
            << '"' << text << '"';
        EXPECT_EQ(Outcome([](const std::string& t) { return ConvertFloatArgument(t); }, text, false),
                  Outcome([](const std::string& t) { return std::stof(t); }, text, false))
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

// Unsigned values wrap after a minus sign, as stoul does, but must fit in 32 bits; each failure
// has its one message.
TEST(ConvertArgument, ReadsUnsignedTextsModuloTwoToTheThirtyTwoAndNamesTheConversionInErrors) {
    const std::string bad = "invalid:invalid stoul argument", big = "range:stoul argument out of range";
    const struct {
        char kind; // 'i' signed, 'u' unsigned, 'f' float
        std::string text;
        std::string outcome;
    } table[] = {
        {'u', "40", "value:40"}, {'u', "4294967295", "value:4294967295"}, {'u', "-1", "value:4294967295"},
        {'u', "-4294967295", "value:1"}, {'u', "-0", "value:0"}, {'u', "  33 samples", "value:33"}, {'u', "many", bad},
        {'u', "--1", bad}, {'u', "4294967296", big}, {'u', "-4294967296", big}, {'u', "18446744073709551615", big},
        {'i', "abc", "invalid:invalid stoi argument"}, {'i', "2147483648", "range:stoi argument out of range"},
        {'f', "x", "invalid:invalid stof argument"}, {'f', "1e39", "range:stof argument out of range"},
    };
    for (const auto& c : table) {
        const std::string outcome =
            c.kind == 'u'   ? Outcome([](const std::string& t) { return ConvertUnsignedArgument(t); }, c.text)
            : c.kind == 'i' ? Outcome([](const std::string& t) { return ConvertSignedArgument(t); }, c.text)
                            : Outcome([](const std::string& t) { return ConvertFloatArgument(t); }, c.text);
        EXPECT_EQ(outcome, c.outcome) << c.kind << " \"" << c.text << '"';
    }
}

// content, world and scene paths; cells X and Z, seed, props, terrain, colliders; cell size, height
// scale, load and unload radius, frame and memory budget.
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

TEST(ParseCommandLine, ParsesOptionsOverDefaultsWithTheLastOneWinning) {
    const struct {
        std::vector<std::string> args;
        std::string options;
    } table[] = {
        {{"--content", "C"}, "C Worlds/Procedural.bworld Scenes/Main.bscene 24 24 1 40 33 1 64 8 192 256 2 64"},
        // Radii pass unchecked, whatever their order.
        {{"--world", "W.bworld", "--scene", "S.bscene", "--cells", "5", "--cell-size", "32.5", "--props", "7",
          "--terrain", "9", "--seed", "-1", "--memory-budget-mb", "12", "--load-radius", "100", "--unload-radius",
          "50", "--frame-budget-ms", "0.25", "--content", "C"},
         "C W.bworld S.bscene 5 5 4294967295 7 9 1 32.5 8 100 50 0.25 12"},
        {{"--content", "A", "--cells", "3", "--content", "B", "--cells", "4"},
         "B Worlds/Procedural.bworld Scenes/Main.bscene 4 4 1 40 33 1 64 8 192 256 2 64"},
        {{"--content", "--world"}, "--world Worlds/Procedural.bworld Scenes/Main.bscene 24 24 1 40 33 1 64 8 192 256 2 64"},
    };
    for (const auto& c : table) {
        WorldGenOptions options;
        ASSERT_EQ(ParseCommandLine(c.args, options), CommandLineParse::Ok) << c.options;
        EXPECT_EQ(Describe(options), c.options);
    }
}

// The tool's own run pins an absolute world and a relative scene below an absolute folder.
TEST(ResolveToolPaths, PutsRelativePathsBelowTheAbsoluteContentFolderUnnormalised) {
    WorldGenOptions options;
    options.contentPath = "Content";
    options.scenePath = "Sub/../S.bscene";
    ResolveToolPaths(options);
    const std::filesystem::path content = std::filesystem::current_path() / "Content";
    EXPECT_EQ(options.contentPath, content);
    EXPECT_EQ(options.worldPath.native(), content.native() + "/Worlds/Procedural.bworld");
    EXPECT_EQ(options.scenePath.native(), content.native() + "/Sub/../S.bscene");
}

} // namespace
} // namespace Brelk::WorldGen
