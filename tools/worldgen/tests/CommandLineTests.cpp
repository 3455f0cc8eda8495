#include "tools/worldgen/CommandLine.h"

#include "tools/worldgen/Sampling.h"

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::WorldGen {
namespace {

// The message a conversion throws, or "value:<n>".
template <typename Convert>
std::string Outcome(Convert convert, const std::string& text) {
    try {
        const auto value = convert(text);
        if constexpr (std::is_same_v<decltype(value), const float>)
            return "value:" + std::to_string(std::bit_cast<std::uint32_t>(value));
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
    return "value:" + std::to_string(std::bit_cast<std::uint32_t>(value));
}

TEST(ConvertSignedArgument, ReadsAsStrtolDoesWithin32Bits) {
    EXPECT_EQ(ConvertSignedArgument("12"), 12);
    EXPECT_EQ(ConvertSignedArgument("1x"), 1);
    EXPECT_EQ(ConvertSignedArgument("12abc"), 12);
    EXPECT_EQ(ConvertSignedArgument(" \t\n+7"), 7);
    EXPECT_EQ(ConvertSignedArgument("-2147483648"), -2147483648);
    EXPECT_EQ(ConvertSignedArgument("2147483647"), 2147483647);
    EXPECT_EQ(ConvertSignedArgument("0x10"), 0);
    EXPECT_EQ(ConvertSignedArgument("-0"), 0);
}

TEST(ConvertSignedArgument, NamesStoiInItsErrors) {
    const auto convert = [](const std::string& text) { return ConvertSignedArgument(text); };
    EXPECT_EQ(Outcome(convert, "abc"), "invalid:invalid stoi argument");
    EXPECT_EQ(Outcome(convert, ""), "invalid:invalid stoi argument");
    EXPECT_EQ(Outcome(convert, "-"), "invalid:invalid stoi argument");
    EXPECT_EQ(Outcome(convert, "+-1"), "invalid:invalid stoi argument");
    EXPECT_EQ(Outcome(convert, " x1"), "invalid:invalid stoi argument");
    EXPECT_EQ(Outcome(convert, "2147483648"), "range:stoi argument out of range");
    EXPECT_EQ(Outcome(convert, "-2147483649"), "range:stoi argument out of range");
    EXPECT_EQ(Outcome(convert, "99999999999999999999999"), "range:stoi argument out of range");
}

TEST(ConvertUnsignedArgument, ReadsAsA32BitStrtoul) {
    EXPECT_EQ(ConvertUnsignedArgument("40"), 40u);
    EXPECT_EQ(ConvertUnsignedArgument("4294967295"), 4294967295u);
    EXPECT_EQ(ConvertUnsignedArgument("-1"), 4294967295u);
    EXPECT_EQ(ConvertUnsignedArgument("-4294967295"), 1u);
    EXPECT_EQ(ConvertUnsignedArgument("-0"), 0u);
    EXPECT_EQ(ConvertUnsignedArgument("  33 samples"), 33u);
}

TEST(ConvertUnsignedArgument, NamesStoulInItsErrors) {
    const auto convert = [](const std::string& text) { return ConvertUnsignedArgument(text); };
    EXPECT_EQ(Outcome(convert, "many"), "invalid:invalid stoul argument");
    EXPECT_EQ(Outcome(convert, "--1"), "invalid:invalid stoul argument");
    EXPECT_EQ(Outcome(convert, "4294967296"), "range:stoul argument out of range");
    EXPECT_EQ(Outcome(convert, "-4294967296"), "range:stoul argument out of range");
    EXPECT_EQ(Outcome(convert, "18446744073709551615"), "range:stoul argument out of range");
}

TEST(ConvertFloatArgument, ReadsDecimalHexadecimalAndSpecialForms) {
    EXPECT_EQ(ConvertFloatArgument("64"), 64.0f);
    EXPECT_EQ(ConvertFloatArgument(" -2.5e1xyz"), -25.0f);
    EXPECT_EQ(ConvertFloatArgument("1e"), 1.0f);
    EXPECT_EQ(ConvertFloatArgument(".5"), 0.5f);
    EXPECT_EQ(ConvertFloatArgument("0x1.8p1"), 3.0f);
    EXPECT_EQ(ConvertFloatArgument("0x"), 0.0f);
    EXPECT_TRUE(std::isinf(ConvertFloatArgument("-Infinity")));
    EXPECT_TRUE(std::isnan(ConvertFloatArgument("nan")));
}

TEST(ConvertFloatArgument, NamesStofInItsErrors) {
    const auto convert = [](const std::string& text) { return ConvertFloatArgument(text); };
    EXPECT_EQ(Outcome(convert, "abc"), "invalid:invalid stof argument");
    EXPECT_EQ(Outcome(convert, "+-1"), "invalid:invalid stof argument");
    EXPECT_EQ(Outcome(convert, "."), "invalid:invalid stof argument");
    EXPECT_EQ(Outcome(convert, "1e39"), "range:stof argument out of range");
    EXPECT_EQ(Outcome(convert, "1e-50"), "range:stof argument out of range");
    EXPECT_EQ(Outcome(convert, "1e-40"), "range:stof argument out of range");
}

TEST(ConvertFloatArgument, AgreesWithTheCLibrary) {
    const std::vector<std::string> texts = {
        "0", "-0", "1", "3.4028235e38", "3.4028236e38", "-3.40282357e38", "1.17549435e-38", "1.1754942e-38",
        "1e-38", "1e-45", "1e-46", "0e-999", "0x1p-149", "0x1p-150", "0x1.8p-149", "0x1p-126", "0x1.fffffep-127",
        "0x1p128", "0x1.fffffep127", "0X.8", "0x.p1", "0xg", "1e+", "1e-x", "infinity", "-INF", "nan(abc)",
        "nan(", "in", "0Xnan(680", "0x-1", "0x.8p1", "0x.", "  +.5e-3", "\v7", "0.100000001", "123456789012345678901234567890",
        "0." + std::string(50, '0') + "1", "1" + std::string(60, '0'),
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

std::vector<std::string> Args(std::initializer_list<const char*> args) {
    return std::vector<std::string>(args.begin(), args.end());
}

TEST(ParseCommandLine, KeepsTheDefaultsWithOnlyAContentFolder) {
    WorldGenOptions options;
    ASSERT_EQ(ParseCommandLine(Args({"--content", "C"}), options), CommandLineParse::Ok);
    EXPECT_EQ(options.contentPath, std::filesystem::path("C"));
    EXPECT_EQ(options.worldPath, std::filesystem::path("Worlds/Procedural.bworld"));
    EXPECT_EQ(options.scenePath, std::filesystem::path("Scenes/Main.bscene"));
    const ProceduralWorldSettings defaults;
    EXPECT_EQ(options.settings.cellsX, 24);
    EXPECT_EQ(options.settings.cellsZ, 24);
    EXPECT_EQ(options.settings.cellSize, 64.0f);
    EXPECT_EQ(options.settings.seed, 1u);
    EXPECT_EQ(options.settings.propsPerCell, 40u);
    EXPECT_EQ(options.settings.terrainResolution, 33u);
    EXPECT_EQ(options.settings.heightScale, 8.0f);
    EXPECT_TRUE(options.settings.generateColliders);
    EXPECT_EQ(options.partition.loadRadius, 192.0f);
    EXPECT_EQ(options.partition.unloadRadius, 256.0f);
    EXPECT_EQ(options.partition.frameBudgetMilliseconds, 2.0f);
    EXPECT_EQ(options.partition.memoryBudgetMegabytes, 64.0f);
}

TEST(ParseCommandLine, SetsEveryOption) {
    WorldGenOptions options;
    ASSERT_EQ(ParseCommandLine(Args({"--world", "W.bworld", "--scene", "S.bscene", "--cells", "5", "--cell-size",
                                     "32.5", "--props", "7", "--terrain", "9", "--seed", "-1", "--memory-budget-mb",
                                     "12", "--load-radius", "100", "--unload-radius", "50", "--frame-budget-ms",
                                     "0.25", "--content", "C"}),
                               options),
              CommandLineParse::Ok);
    EXPECT_EQ(options.worldPath, std::filesystem::path("W.bworld"));
    EXPECT_EQ(options.scenePath, std::filesystem::path("S.bscene"));
    EXPECT_EQ(options.settings.cellsX, 5);
    EXPECT_EQ(options.settings.cellsZ, 5);
    EXPECT_EQ(options.settings.cellSize, 32.5f);
    EXPECT_EQ(options.settings.propsPerCell, 7u);
    EXPECT_EQ(options.settings.terrainResolution, 9u);
    EXPECT_EQ(options.settings.seed, 4294967295u);
    EXPECT_EQ(options.partition.memoryBudgetMegabytes, 12.0f);
    // Radii pass unchecked, whatever their order.
    EXPECT_EQ(options.partition.loadRadius, 100.0f);
    EXPECT_EQ(options.partition.unloadRadius, 50.0f);
    EXPECT_EQ(options.partition.frameBudgetMilliseconds, 0.25f);
}

TEST(ParseCommandLine, LetsALaterOptionOverrideAnEarlierOne) {
    WorldGenOptions options;
    ASSERT_EQ(ParseCommandLine(Args({"--content", "A", "--cells", "3", "--content", "B", "--cells", "4"}), options),
              CommandLineParse::Ok);
    EXPECT_EQ(options.contentPath, std::filesystem::path("B"));
    EXPECT_EQ(options.settings.cellsX, 4);
}

TEST(ParseCommandLine, AsksForUsageOnAnythingButAnOption) {
    for (const auto& args : {Args({}), Args({"--cells", "10", "--bogus"}), Args({"--bogus", "--content"}),
                             Args({"--content=C"}), Args({"C"}), Args({"--help"}), Args({"--CONTENT", "C"}),
                             Args({"--cells", "3"}), Args({"--content", ""})}) {
        WorldGenOptions options;
        EXPECT_EQ(ParseCommandLine(args, options), CommandLineParse::Usage) << args.size();
    }
}

TEST(ParseCommandLine, TakesTheNextArgumentAsTheValueWhateverItIs) {
    WorldGenOptions options;
    ASSERT_EQ(ParseCommandLine(Args({"--content", "--world"}), options), CommandLineParse::Ok);
    EXPECT_EQ(options.contentPath, std::filesystem::path("--world"));
}

TEST(ParseCommandLine, ReportsAMissingValue) {
    WorldGenOptions options;
    try {
        (void)ParseCommandLine(Args({"--cells", "3", "--content"}), options);
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "missing value for --content");
    }
}

TEST(ResolveToolPaths, PutsRelativePathsBelowTheAbsoluteContentFolder) {
    WorldGenOptions options;
    options.contentPath = "Content";
    ResolveToolPaths(options);
    const std::filesystem::path content = std::filesystem::current_path() / "Content";
    EXPECT_EQ(options.contentPath, content);
    EXPECT_EQ(options.worldPath.native(), content.native() + "/Worlds/Procedural.bworld");
    EXPECT_EQ(options.scenePath.native(), content.native() + "/Scenes/Main.bscene");
}

TEST(ResolveToolPaths, KeepsAbsoluteWorldAndScenePaths) {
    WorldGenOptions options;
    options.contentPath = "/content";
    options.worldPath = "/elsewhere/../W.bworld";
    options.scenePath = "Sub/../S.bscene";
    ResolveToolPaths(options);
    EXPECT_EQ(options.worldPath.native(), "/elsewhere/../W.bworld");
    EXPECT_EQ(options.scenePath.native(), "/content/Sub/../S.bscene");
}

} // namespace
} // namespace Brelk::WorldGen
