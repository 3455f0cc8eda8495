#include "tools/worldgen/WorldAsset.h"

#include "tests/support/TextCases.h"
#include "tools/worldgen/Sampling.h"
#include "tools/worldgen/StreamWords.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace Brelk::WorldGen {
namespace {

namespace fs = std::filesystem;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

// Unsorted cells at the limits of every field, and floats that need all nine digits.
WorldAsset SampleWorld() {
    WorldAsset world;
    world.cellSize = 0.1f;
    world.originX = -3.4028235e38f;
    world.originZ = 7.0064923e-45f;
    world.navigation = true;
    world.cells = {
        {{5, 2}, 41, 123456, 1, false},
        {{-1, 0}, 4, 4294967296ull * 3, 1, true},
        {{-12, -12}, 0, kUnknownCellFileBytes, 0, false},
        {{7, -12}, 4294967295u, 0, 4294967295u, true},
    };
    return world;
}

TEST(WorldAssetFile, WritesTheCellsSortedAndReadsEveryFieldBackBitForBit) {
    ScratchFolder folder;
    const fs::path path = folder / "Worlds/Procedural.bworld";
    std::string error;
    ASSERT_TRUE(WriteWorldAsset(path, SampleWorld(), &error)) << error;
    EXPECT_EQ(ReadText(path), "brelk_world 1\n"
                              "cell_size 0.100000001\n"
                              "origin -3.40282347e+38 7.00649232e-45\n"
                              "navigation 1\n"
                              "cell -12 -12 0 18446744073709551615 0 0\n"
                              "cell 7 -12 4294967295 0 4294967295 1\n"
                              "cell -1 0 4 12884901888 1 1\n"
                              "cell 5 2 41 123456 1 0\n");
    WorldAsset read;
    ASSERT_TRUE(ReadWorldAsset(path, read, &error)) << error;
    WorldAsset sorted = SampleWorld();
    SortCells(sorted.cells);
    EXPECT_EQ(read, sorted);
}

// The canonical text of what `text` reads as, or the error; a failed read must leave the
// defaults, and the reader sorts itself, stably, so the canonical text reads as the same cells.
std::string Parsed(std::string_view text) {
    WorldAsset world, again;
    std::string error;
    if (!ParseWorldAssetText(text, "w.bworld", world, &error))
        return world == WorldAsset{} ? error : error + " (and the world changed)";
    const std::string canonical = FormatWorldAssetText(world);
    const bool same = ParseWorldAssetText(canonical, "w", again, nullptr) && again == world;
    return same ? canonical : canonical + "(reads back as other cells)";
}

TEST(WorldAssetText, ReadsEachTextIntoSortedCellsOrReportsItExactly) {
    Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "WorldTexts.txt",
                             [](const Testing::TextCase& c) { return Parsed(c.input); });
    // Blank lines of carriage returns and spaces, and a last line without its end. The last head
    // record wins, wherever it stands; every cell adds.
    EXPECT_EQ(Parsed("\n\n# only comments\n\r\n"), "Not a world file: w.bworld");
    EXPECT_EQ(Parsed("  \nbrelk_world 1\n"), "Invalid world file w.bworld at line 1.");
    EXPECT_EQ(Parsed("brelk_world 1\r\ncell 2 0 1 1 1 0\r\ncell_size 8\norigin 1 2\nnavigation 5\n\r\n   \n"
                     "cell_size 16\norigin 3 4\nnavigation 0\ncell 1 0 1 1 1 0\ncell 1 0 2 2 2 0\ncell_size 2"),
              "brelk_world 1\ncell_size 2\norigin 3 4\nnavigation 0\n"
              "cell 1 0 1 1 1 0\ncell 1 0 2 2 2 0\ncell 2 0 1 1 1 0\n");
}

// The reader names the path and resets the world; the writer names the folder it could not
// make. A blocked replacement is the tool's to report.
TEST(WorldAssetFile, FailuresNameThePathAndAFailedReadResetsTheWorld) {
    ScratchFolder folder;
    WriteText(folder / "broken.bworld", "brelk_world 1\ncell 1\n");
    const std::pair<fs::path, std::string> table[] = {
        {folder / "missing.bworld", "Failed to open " + (folder / "missing.bworld").string()},
        {folder / "broken.bworld", "Invalid world file " + (folder / "broken.bworld").string() + " at line 2."},
    };
    for (const auto& [path, message] : table) {
        WorldAsset world = SampleWorld();
        std::string error;
        EXPECT_FALSE(ReadWorldAsset(path, world, &error));
        EXPECT_EQ(std::tuple(error, world), std::tuple(message, WorldAsset{}));
        EXPECT_FALSE(ReadWorldAsset(path, world, nullptr));
    }
    std::string error;
    EXPECT_FALSE(WriteWorldAsset(folder / "broken.bworld/w.bworld", WorldAsset{}, &error));
    EXPECT_EQ(error.rfind("Failed to create " + (folder / "broken.bworld").string() + ": ", 0), 0u) << error;
}

TEST(GridArithmetic, PlacesFindsAndMeasuresCellsAndSumsTheirFiles) {
    WorldAsset world;
    world.originX = 10.0f;
    world.originZ = -5.0f;
    EXPECT_EQ(CellOrigin(world, {-12, 3}), glm::vec2(-758.0f, 187.0f));
    EXPECT_EQ(CellOuterCorner(world, {-12, 3}), glm::vec2(-694.0f, 251.0f));
    world = WorldAsset{};
    EXPECT_EQ(DistanceToCell(world, {0, 0}, {10.0f, 50.0f, 20.0f}), 0.0f);
    EXPECT_EQ(DistanceToCell(world, {0, 0}, {67.0f, 0.0f, 68.0f}), 5.0f);
    EXPECT_EQ(DistanceToCell(world, {0, 0}, {-3.0f, 0.0f, 32.0f}), 3.0f);
    EXPECT_EQ(CellAt(world, {-0.5f, 100.0f, 0.0f}), (CellCoord{-1, 0}));
    EXPECT_EQ(CellAt(world, {64.0f, 0.0f, -64.01f}), (CellCoord{1, -2}));
    EXPECT_EQ(CellAt(world, {std::nanf(""), 0.0f, 0.0f}), (CellCoord{0, 0}));
    world.cellSize = 1.0f;
    EXPECT_EQ(CellAt(world, {1e20f, 0.0f, -1e20f}),
              (CellCoord{std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()}));
    world.cellSize = 0.0f; // guarded as one millimetre
    EXPECT_EQ(CellAt(world, {0.0015f, 0.0f, -0.0005f}), (CellCoord{1, -1}));
    world.cells = {{{0, 0}, 0, 10, 0, false}, {{1, 0}, 0, 4294967296ull, 0, false}};
    EXPECT_EQ(TotalCellFileBytes(world), 4294967306ull);
}

template <typename T>
std::string Digits(T value) {
    if constexpr (std::is_same_v<T, float>)
        return "bits " + std::to_string(std::bit_cast<std::uint32_t>(value));
    else
        return std::to_string(value);
}

// "<value> after <consumed bytes>", or "fail": an input stream in the classic locale is the
// reference that StreamWords must match.
template <typename T>
std::string ByStream(const std::string& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    T value{};
    stream >> value;
    if (stream.fail()) return "fail";
    stream.clear();
    return Digits(value) + " after " + std::to_string(stream.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in));
}

template <typename T>
std::string ByWords(const std::string& text) {
    StreamWords words(text);
    T value{};
    if (!words.Read(value)) return "fail";
    return Digits(value) + " after " + std::to_string(text.size() - words.Rest().size());
}

const std::vector<std::string> kNumberTexts = {
    "0", "-0", "+0", "5x", "  \t\v\f\r42", "-", "+", "+-5", "--5", "007", "0x10", "2147483647", "2147483648",
    "-2147483648", "-2147483649", "4294967295", "4294967296", "-1", "-4294967295", "-4294967296",
    "18446744073709551615", "18446744073709551616", "-18446744073709551615", "99999999999999999999x", "1e",
    "1e+", "1e+x", "1.5.3", "inf", "nan", "-inf", "1e39", "-1e39", "3.4028235e38", "3.40282357e38", "1e-40",
    "1e-50", "-1e-50", "1e-45", "0x1p3", ".5", ".", "5.", "-.", "1e5.3", "1..", "1ee5", "1e-5-3", "1E5x", "1e5e",
    "+.e1", "1e99999999999999999999", "1e-99999999999999999999", "00000000000000000000000000001",
    "0.000000000000000000000000000000000000000000000000000001e60", "123456789012345678901234567890e-10",
    "1.17549435e-38", "1.1754942e-38", "64", "0.100000001", "", "   ", "abc", "12abc", "e5", "0e999999999",
    "9" + std::string(400, '9'), "0." + std::string(400, '0') + "1e400", "\x01" "5", std::string("5\0" "6", 3),
};

void ExpectEveryTypeSameAsStream(const std::string& text) {
    EXPECT_EQ(ByWords<std::int32_t>(text), ByStream<std::int32_t>(text)) << '"' << text << '"';
    EXPECT_EQ(ByWords<std::uint32_t>(text), ByStream<std::uint32_t>(text)) << '"' << text << '"';
    EXPECT_EQ(ByWords<std::uint64_t>(text), ByStream<std::uint64_t>(text)) << '"' << text << '"';
    EXPECT_EQ(ByWords<float>(text), ByStream<float>(text)) << '"' << text << '"';
}

TEST(StreamWords, ReadsNumbersAsAStreamDoes) {
    for (const std::string& text : kNumberTexts) ExpectEveryTypeSameAsStream(text);
    // Short texts over the alphabet that matters to numbers, drawn from a fixed stream.
    constexpr std::string_view kAlphabet = "0123456789+-.eE x\t9";
    RandomStream random{12345};
    for (int i = 0; i < 40000 && !HasFailure(); ++i) {
        const std::size_t length = static_cast<std::size_t>(random.Next() % 12);
        std::string text;
        for (std::size_t c = 0; c < length; ++c) text += kAlphabet[random.Next() % kAlphabet.size()];
        ExpectEveryTypeSameAsStream(text);
    }
}

// Words split at classic white space and keep NUL bytes; a failed read leaves the words failed.
TEST(StreamWords, SplitsWordsAtClassicWhiteSpaceAndStaysFailedAfterAFailure) {
    StreamWords words(std::string_view(" cell\t-1\v0\f4\ra\0b 5x", 19));
    std::string_view word, nul;
    std::int32_t x = 0, z = 7, five = 0;
    std::uint32_t count = 0;
    ASSERT_TRUE(words.ReadWord(word) && words.Read(x) && words.Read(z) && words.Read(count) && words.ReadWord(nul) &&
                words.Read(five));
    EXPECT_EQ(std::tuple(word, x, z, count, nul, five), std::tuple("cell", -1, 0, 4u, std::string_view("a\0b", 3), 5));
    EXPECT_EQ(words.Rest(), "x");
    EXPECT_FALSE(words.Read(x));
    EXPECT_TRUE(words.Failed());
    EXPECT_FALSE(words.ReadWord(word));
}

} // namespace
} // namespace Brelk::WorldGen
