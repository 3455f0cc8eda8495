#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <string>

namespace Brelk::Core {

inline constexpr std::size_t kMaxNumberChars = 32;

// Text files write floats as C's "%.9g" in the classic locale, enough digits for every
// float to read back bit for bit. Writes at most kMaxNumberChars characters and returns the
// end. The common range is formatted with exact integer arithmetic; the rest goes through
// std::to_chars with precision 9, which gives the same text more slowly.
char* FormatFloat9(char* out, float value) noexcept;

// "%.6g" of a double: the default float format of a C++ output stream.
inline char* FormatDouble6(char* out, double value) noexcept {
    return std::to_chars(out, out + kMaxNumberChars, value, std::chars_format::general, 6).ptr;
}

template <std::integral T>
inline char* FormatInteger(char* out, T value) noexcept {
    return std::to_chars(out, out + kMaxNumberChars, value).ptr;
}

inline void AppendFloat9(std::string& text, float value) {
    char buffer[kMaxNumberChars];
    text.append(buffer, FormatFloat9(buffer, value));
}

inline void AppendDouble6(std::string& text, double value) {
    char buffer[kMaxNumberChars];
    text.append(buffer, FormatDouble6(buffer, value));
}

template <std::integral T>
inline void AppendInteger(std::string& text, T value) {
    char buffer[kMaxNumberChars];
    text.append(buffer, FormatInteger(buffer, value));
}

} // namespace Brelk::Core
