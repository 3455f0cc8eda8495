#include "engine/core/NumberText.h"

#include <bit>
#include <cstdint>

namespace Brelk::Core {
namespace {

constexpr std::uint64_t kPowersOf10[] = {1ull,
                                         10ull,
                                         100ull,
                                         1000ull,
                                         10000ull,
                                         100000ull,
                                         1000000ull,
                                         10000000ull,
                                         100000000ull,
                                         1000000000ull,
                                         10000000000ull,
                                         100000000000ull,
                                         1000000000000ull};

char* FormatFloat9Slow(char* out, float value) noexcept {
    return std::to_chars(out, out + kMaxNumberChars, value, std::chars_format::general, 9).ptr;
}

// The nine significant digits of m * 2^e rounded half to even, for a value whose decimal
// exponent is `exponent` (so that the digits are value * 10^(8 - exponent)). False when the
// guess of the exponent was wrong, with `exponent` moved one step the right way.
bool NineDigits(std::uint32_t m, int e, int& exponent, std::uint64_t& digits) noexcept {
    const int scale = 8 - exponent;
    unsigned __int128 scaled = m;
    if (e >= 0) {
        scaled <<= e;
    }
    scaled *= kPowersOf10[scale];
    std::uint64_t whole = 0;
    bool roundUp = false;
    if (e >= 0) {
        whole = static_cast<std::uint64_t>(scaled);
    } else {
        const int shift = -e;
        whole = static_cast<std::uint64_t>(scaled >> shift);
        const unsigned __int128 remainder = scaled & ((static_cast<unsigned __int128>(1) << shift) - 1);
        const unsigned __int128 half = static_cast<unsigned __int128>(1) << (shift - 1);
        roundUp = remainder > half || (remainder == half && (whole & 1) != 0);
    }
    if (whole < kPowersOf10[8]) {
        --exponent;
        return false;
    }
    if (whole >= kPowersOf10[9]) {
        ++exponent;
        return false;
    }
    digits = whole + (roundUp ? 1 : 0);
    if (digits == kPowersOf10[9]) {
        digits = kPowersOf10[8];
        ++exponent;
    }
    return true;
}

} // namespace

char* FormatFloat9(char* out, float value) noexcept {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    const std::uint32_t biased = (bits >> 23) & 0xFF;
    const std::uint32_t fraction = bits & 0x7FFFFF;
    // Zero, denormals, infinities and NaN are rare in files; the library formats them.
    if (biased == 0 || biased == 0xFF) return FormatFloat9Slow(out, value);
    const std::uint32_t m = fraction | 0x800000;
    const int e = static_cast<int>(biased) - 150;

    // Plain decimal notation covers exponents -4 to 8; the guess from the binary exponent is
    // off by at most one and NineDigits corrects it.
    int exponent = static_cast<int>(((static_cast<int>(biased) - 127) * 1233) >> 12);
    std::uint64_t digits = 0;
    bool found = false;
    for (int attempt = 0; attempt < 3 && !found; ++attempt) {
        if (exponent < -4 || exponent > 8) return FormatFloat9Slow(out, value);
        found = NineDigits(m, e, exponent, digits);
    }
    if (!found || exponent < -4 || exponent > 8) return FormatFloat9Slow(out, value);

    if ((bits >> 31) != 0) *out++ = '-';
    char text[9];
    for (int i = 8; i >= 0; --i) {
        text[i] = static_cast<char>('0' + digits % 10);
        digits /= 10;
    }
    int length = 9;
    while (length > 1 && text[length - 1] == '0') --length;

    if (exponent >= 0) {
        const int integerDigits = exponent + 1;
        for (int i = 0; i < integerDigits; ++i) *out++ = i < length ? text[i] : '0';
        if (length > integerDigits) {
            *out++ = '.';
            for (int i = integerDigits; i < length; ++i) *out++ = text[i];
        }
    } else {
        *out++ = '0';
        *out++ = '.';
        for (int i = -1; i > exponent; --i) *out++ = '0';
        for (int i = 0; i < length; ++i) *out++ = text[i];
    }
    return out;
}

} // namespace Brelk::Core
