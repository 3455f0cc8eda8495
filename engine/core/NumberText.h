#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <string>

namespace Brelk::Core {

// Text files write floats as C's "%.9g" in the classic locale, enough digits for every
// float to read back bit for bit. std::to_chars with general format and precision 9 is
// exactly that, without locale lookups or allocations.
inline constexpr std::size_t kMaxNumberChars = 32;

inline char* FormatFloat9(char* out, float value) noexcept {
    return std::to_chars(out, out + kMaxNumberChars, value, std::chars_format::general, 9).ptr;
}

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
