#pragma once

#include <cstdint>
#include <string_view>

namespace Brelk::WorldGen {

// Reads one line of a text file the way an input stream in the classic locale reads it with
// `>>`: each extraction skips white space (blank, tab, line feed, vertical tab, form feed,
// carriage return), then takes what its type accepts and leaves the rest. So "5x" reads as 5
// and leaves "x" for the next extraction; a signed value out of range, an unsigned one out of
// range after a minus sign wraps, or a float that overflows fails; a float that underflows
// reads as zero; "inf", "nan" and hexadecimal never read. Once an extraction fails, every
// later one fails too, as with a stream's fail bit. World files written by older tools were
// read this way, so the accepted texts must not change.
class StreamWords {
public:
    explicit StreamWords(std::string_view line) noexcept : rest_(line) {}

    // The next run of non-blank bytes.
    [[nodiscard]] bool ReadWord(std::string_view& word) noexcept;
    [[nodiscard]] bool Read(std::int32_t& value) noexcept;
    [[nodiscard]] bool Read(std::uint32_t& value) noexcept;
    [[nodiscard]] bool Read(std::uint64_t& value) noexcept;
    [[nodiscard]] bool Read(float& value) noexcept;

    bool Failed() const noexcept { return failed_; }
    // What no extraction has taken yet.
    std::string_view Rest() const noexcept { return rest_; }

private:
    void SkipBlanks() noexcept;
    template <typename T>
    bool ReadInteger(T& value) noexcept;

    std::string_view rest_;
    bool failed_ = false;
};

// White space of the classic locale.
constexpr bool IsStreamBlank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

} // namespace Brelk::WorldGen
