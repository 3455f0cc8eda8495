#include "tools/worldgen/StreamWords.h"

#include <charconv>
#include <limits>
#include <string>
#include <type_traits>

namespace Brelk::WorldGen {

namespace {

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// Decimal exponent of the first significant digit of a float text that converted out of
// range, saturated: positive means the value was too large, otherwise too small.
long long LeadingDecimalExponent(std::string_view mantissa, std::string_view exponent) noexcept {
    long long position = 0;
    bool beforePoint = true;
    bool seenDigit = false;
    for (const char c : mantissa) {
        if (c == '.') {
            beforePoint = false;
            continue;
        }
        if (!seenDigit && c == '0') {
            if (!beforePoint) --position;
            continue;
        }
        if (!seenDigit) {
            seenDigit = true;
            if (!beforePoint) --position;
            continue;
        }
        if (beforePoint) ++position;
    }
    constexpr long long kLimit = 1'000'000'000'000LL;
    long long power = 0;
    bool negative = false;
    std::size_t i = 0;
    if (i < exponent.size() && (exponent[i] == '+' || exponent[i] == '-')) negative = exponent[i++] == '-';
    for (; i < exponent.size(); ++i) {
        if (power < kLimit) power = power * 10 + (exponent[i] - '0');
    }
    return position + (negative ? -power : power);
}

} // namespace

void StreamWords::SkipBlanks() noexcept {
    std::size_t i = 0;
    while (i < rest_.size() && IsStreamBlank(rest_[i])) ++i;
    rest_.remove_prefix(i);
}

bool StreamWords::ReadWord(std::string_view& word) noexcept {
    if (failed_) return false;
    SkipBlanks();
    std::size_t i = 0;
    while (i < rest_.size() && !IsStreamBlank(rest_[i])) ++i;
    if (i == 0) {
        failed_ = true;
        return false;
    }
    word = rest_.substr(0, i);
    rest_.remove_prefix(i);
    return true;
}

template <typename T>
bool StreamWords::ReadInteger(T& value) noexcept {
    if (failed_) return false;
    SkipBlanks();
    std::size_t i = 0;
    bool negative = false;
    if (i < rest_.size() && (rest_[i] == '+' || rest_[i] == '-')) negative = rest_[i++] == '-';

    // The largest magnitude that the sign allows; for unsigned types a minus sign negates
    // the value modulo the type's range afterwards.
    using Unsigned = std::make_unsigned_t<T>;
    Unsigned limit = std::numeric_limits<Unsigned>::max();
    if constexpr (std::is_signed_v<T>)
        limit = negative ? static_cast<Unsigned>(std::numeric_limits<T>::max()) + 1u
                         : static_cast<Unsigned>(std::numeric_limits<T>::max());
    Unsigned magnitude = 0;
    bool overflow = false;
    const std::size_t firstDigit = i;
    for (; i < rest_.size() && IsDigit(rest_[i]); ++i) {
        const auto digit = static_cast<Unsigned>(rest_[i] - '0');
        if (magnitude > (limit - digit) / 10u)
            overflow = true;
        else
            magnitude = static_cast<Unsigned>(magnitude * 10u + digit);
    }
    rest_.remove_prefix(i);
    if (i == firstDigit || overflow) {
        failed_ = true;
        return false;
    }
    value = static_cast<T>(negative ? static_cast<Unsigned>(Unsigned{0} - magnitude) : magnitude);
    return true;
}

bool StreamWords::Read(std::int32_t& value) noexcept {
    return ReadInteger(value);
}

bool StreamWords::Read(std::uint32_t& value) noexcept {
    return ReadInteger(value);
}

bool StreamWords::Read(std::uint64_t& value) noexcept {
    return ReadInteger(value);
}

// The stream gathers the longest run of sign, digits, one point and an exponent that can
// still become a number (an exponent only behind a digit, its sign only right behind the
// "e"), then demands that the whole run converts. So "1e" fails where the C library would
// read 1, and "1.5.3" reads 1.5.
bool StreamWords::Read(float& value) noexcept {
    if (failed_) return false;
    SkipBlanks();
    const std::string_view text = rest_;
    std::size_t i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    const std::size_t mantissaBegin = i;
    bool mantissaDigits = false;
    bool point = false;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (IsDigit(c))
            mantissaDigits = true;
        else if (c == '.' && !point)
            point = true;
        else
            break;
    }
    const std::size_t mantissaEnd = i;
    std::size_t exponentBegin = i;
    bool exponentDigits = false;
    bool scientific = false;
    if (mantissaDigits && i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        scientific = true;
        ++i;
        exponentBegin = i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
        for (; i < text.size() && IsDigit(text[i]); ++i) exponentDigits = true;
    }
    rest_.remove_prefix(i);
    if (!mantissaDigits || (scientific && !exponentDigits)) {
        failed_ = true;
        return false;
    }

    const std::string_view number = text.substr(mantissaBegin, i - mantissaBegin);
    float magnitude = 0.0f;
    const std::from_chars_result converted =
        std::from_chars(number.data(), number.data() + number.size(), magnitude, std::chars_format::general);
    if (converted.ec == std::errc::result_out_of_range) {
        const std::string_view mantissa = text.substr(mantissaBegin, mantissaEnd - mantissaBegin);
        const std::string_view exponent = scientific ? text.substr(exponentBegin, i - exponentBegin) : std::string_view();
        if (LeadingDecimalExponent(mantissa, exponent) > 0) {
            failed_ = true;
            return false;
        }
        magnitude = 0.0f;
    } else if (converted.ec != std::errc() || converted.ptr != number.data() + number.size()) {
        failed_ = true;
        return false;
    }
    value = negative ? -magnitude : magnitude;
    return true;
}

} // namespace Brelk::WorldGen
