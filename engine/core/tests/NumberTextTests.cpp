#include "engine/core/NumberText.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <bit>
#include <random>
#include <string>

namespace Brelk::Core {
namespace {

std::string Fast(float value) {
    char buffer[kMaxNumberChars];
    return std::string(buffer, FormatFloat9(buffer, value));
}

// The reference: the library's "%.9g", exact for every float.
std::string Reference(float value) {
    char buffer[kMaxNumberChars];
    return std::string(buffer,
                       std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 9).ptr);
}

TEST(NumberTextTests, FormatsFloatsAsNineSignificantDigits) {
    Testing::ExpectTextCases(std::string(BRELK_TEST_DATA_DIR) + "/FloatTexts.txt", [](const Testing::TextCase& c) {
        float value = 0.0f;
        std::from_chars(c.input.data(), c.input.data() + c.input.size(), value);
        return Fast(value);
    });
}

TEST(NumberTextTests, AgreesWithTheLibraryAcrossTheRange) {
    // Every exponent, the edges of the decimal ranges and random mantissas, ties included.
    std::mt19937 random(12345);
    for (std::uint32_t biased = 0; biased < 255; ++biased) {
        for (int i = 0; i < 2000; ++i) {
            const std::uint32_t bits = (biased << 23) | (random() & 0x7FFFFF) | (random() & 1u) << 31;
            const float value = std::bit_cast<float>(bits);
            ASSERT_EQ(Fast(value), Reference(value)) << bits;
        }
    }
    for (const float edge : {1e-4f, 1e-5f, 9.99999e-5f, 1.0f, 9.99999999f, 99999999.0f, 999999936.0f, 1e9f, 0.5f}) {
        for (int step = -64; step <= 64; ++step) {
            const float value = std::bit_cast<float>(std::bit_cast<std::uint32_t>(edge) + step);
            ASSERT_EQ(Fast(value), Reference(value)) << value;
        }
    }
}

} // namespace
} // namespace Brelk::Core
