#include "tools/worldgen/CommandLine.h"

#include "engine/core/NumberText.h"
#include "tests/support/TestSupport.h"
#include "tools/worldgen/Sampling.h"

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::WorldGen {
namespace {

std::string FloatValue(float value) { return "value:" + std::to_string(std::bit_cast<std::uint32_t>(value)); }

// "value:<n>" (a float as its bits), or the kind and text of the exception thrown.
template <typename Convert>
std::string Outcome(Convert convert, const std::string& text) {
    try {
        const auto value = convert(text);
        if constexpr (std::is_same_v<decltype(value), const float>)
            return FloatValue(value);
        else
            return "value:" + std::to_string(value);
    } catch (const std::invalid_argument& error) {
        return std::string("invalid:") + error.what();
    } catch (const std::out_of_range& error) {
        return std::string("range:") + error.what();
    }
}

// The C library's own answer for a float text, as the conversion must reproduce it.
std::string CLibraryFloatOutcome(const std::string& text) {
    errno = 0;
    char* end = nullptr;
    const float value = std::strtof(text.c_str(), &end);
    if (end == text.c_str()) return "invalid:invalid stof argument";
    if (errno == ERANGE) return "range:stof argument out of range";
    return FloatValue(value);
}

TEST(ConvertArgument, ReadsAsTheCLibraryAndNamesTheStandardConversionInErrors) {
    const auto toSigned = [](const std::string& text) { return ConvertSignedArgument(text); };
    const auto toUnsigned = [](const std::string& text) { return ConvertUnsignedArgument(text); };
    const std::string badInt = "invalid:invalid stoi argument", bigInt = "range:stoi argument out of range";
    const std::string badUnsigned = "invalid:invalid stoul argument", bigUnsigned = "range:stoul argument out of range";
    const struct {
        char kind; // 'i' signed, 'u' unsigned
        std::string text;
        std::string outcome;
    } table[] = {
        {'i', "12", "value:12"}, {'i', "1x", "value:1"}, {'i', "12abc", "value:12"}, {'i', " \t\n+7", "value:7"},
        {'i', "-2147483648", "value:-2147483648"}, {'i', "2147483647", "value:2147483647"}, {'i', "0x10", "value:0"},
        {'i', "-0", "value:0"}, {'i', "abc", badInt}, {'i', "", badInt}, {'i', "-", badInt}, {'i', "+-1", badInt},
        {'i', " x1", badInt}, {'i', "2147483648", bigInt}, {'i', "-2147483649", bigInt},
        {'i', "99999999999999999999999", bigInt},
        {'u', "40", "value:40"}, {'u', "4294967295", "value:4294967295"}, {'u', "-1", "value:4294967295"},
        {'u', "-4294967295", "value:1"}, {'u', "-0", "value:0"}, {'u', "  33 samples", "value:33"},
        {'u', "many", badUnsigned}, {'u', "--1", badUnsigned}, {'u', "4294967296", bigUnsigned},
        {'u', "-4294967296", bigUnsigned}, {'u', "18446744073709551615", bigUnsigned},
    };
    for (const auto& c : table) {
        const std::string outcome = c.kind == 'i' ? Outcome(toSigned, c.text) : Outcome(toUnsigned, c.text);
        EXPECT_EQ(outcome, c.outcome) << c.kind << " \"" << c.text << '"';
    }
}

TEST(ConvertArgument, ReadsFloatsAsTheCLibraryDoes) {
    const std::vector<std::string> texts = {
        "0", "-0", "1", "nan", "3.4028235e38", "3.4028236e38", "-3.40282357e38", "1.17549435e-38", "1.1754942e-38",
        "1e-38", "1e-45", "1e-46", "0e-999", "0x1p-149", "0x1p-150", "0x1.8p-149", "0x1p-126", "0x1.fffffep-127",
        "0x1p128", "0x1.fffffep127", "0X.8", "0x.p1", "0xg", "1e+", "1e-x", "infinity", "-INF", "nan(abc)",
        "nan(", "in", "0Xnan(680", "0x-1", "0x.8p1", "0x.", "  +.5e-3", "\v7", "0.100000001", "123456789012345678901234567890",
        "0." + std::string(50, '0') + "1", "1" + std::string(60, '0'), "1e", ".5", "0x1.8p1", "0x", "-Infinity",
        "+-1", ".", "1e-50",
    };
    const auto convert = [](const std::string& text) { return ConvertFloatArgument(text); };
    for (const std::string& text : texts) EXPECT_EQ(Outcome(convert, text), CLibraryFloatOutcome(text)) << text;

    constexpr std::string_view kAlphabet = "0123456789+-.eExXpPa nif";
    RandomStream random{99};
    for (int i = 0; i < 40000; ++i) {
        std::string text;
        const std::size_t length = static_cast<std::size_t>(random.Next() % 10);
        for (std::size_t c = 0; c < length; ++c) text += kAlphabet[random.Next() % kAlphabet.size()];
        ASSERT_EQ(Outcome(convert, text), CLibraryFloatOutcome(text)) << '"' << text << '"';
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

TEST(ResolveToolPaths, PutsRelativePathsBelowTheAbsoluteContentFolderUnnormalised) {
    WorldGenOptions options;
    options.contentPath = "Content";
    ResolveToolPaths(options);
    const std::filesystem::path content = std::filesystem::current_path() / "Content";
    EXPECT_EQ(options.contentPath, content);
    EXPECT_EQ(options.worldPath.native(), content.native() + "/Worlds/Procedural.bworld");
    EXPECT_EQ(options.scenePath.native(), content.native() + "/Scenes/Main.bscene");

    options.contentPath = "/content";
    options.worldPath = "/elsewhere/../W.bworld";
    options.scenePath = "Sub/../S.bscene";
    ResolveToolPaths(options);
    EXPECT_EQ(options.worldPath.native(), "/elsewhere/../W.bworld");
    EXPECT_EQ(options.scenePath.native(), "/content/Sub/../S.bscene");
}

} // namespace
} // namespace Brelk::WorldGen
