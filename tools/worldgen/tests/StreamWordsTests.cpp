#include "tools/worldgen/StreamWords.h"

#include "tools/worldgen/Sampling.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

namespace Brelk::WorldGen {
namespace {

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
    std::string_view word;
    std::int32_t x = 0;
    std::int32_t z = 7;
    std::uint32_t count = 0;
    ASSERT_TRUE(words.ReadWord(word) && words.Read(x) && words.Read(z) && words.Read(count));
    EXPECT_EQ(word, "cell");
    EXPECT_EQ(x, -1);
    EXPECT_EQ(z, 0);
    EXPECT_EQ(count, 4u);
    ASSERT_TRUE(words.ReadWord(word));
    EXPECT_EQ(word, std::string_view("a\0b", 3));
    ASSERT_TRUE(words.Read(x));
    EXPECT_EQ(words.Rest(), "x");
    EXPECT_FALSE(words.Read(x));
    EXPECT_TRUE(words.Failed());
    EXPECT_FALSE(words.ReadWord(word));
}

} // namespace
} // namespace Brelk::WorldGen
