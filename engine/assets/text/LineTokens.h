#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

// The line-oriented text assets (controllers, UI documents, rig definitions) share one
// lexical form: words separated by blanks, strings between double quotes with a backslash
// in front of a quote or backslash inside, floats with nine significant digits in the
// classic locale. A reader asks for each field in turn and gets false for a missing or
// malformed one; it never throws, so every format words its own messages.
class LineTokens {
public:
    explicit LineTokens(std::string_view line) noexcept : text_(line) {}

    bool Word(std::string_view* word) noexcept;
    // Must begin with a quote and end with one; the escapes are removed.
    bool Quoted(std::string* value);
    bool Float(float* value) noexcept;
    bool I32(std::int32_t* value) noexcept;
    bool U32(std::uint32_t* value) noexcept;
    bool U64(std::uint64_t* value) noexcept;
    // "0" or "1".
    bool Bit(bool* value) noexcept;
    // True when only blanks remain.
    bool AtEnd() noexcept;
    // The unread rest, blanks in front removed.
    std::string_view Rest() noexcept;

private:
    void SkipBlanks() noexcept;

    std::string_view text_;
    std::size_t position_ = 0;
};

// The text split at line feeds, one trailing carriage return removed from each line. A
// final line feed doesn't make an empty last line.
std::vector<std::string_view> SplitLines(std::string_view text);

// Writers of the same form, appending to `out`.
void AppendQuoted(std::string& out, std::string_view value);
// A blank, then the value.
void AppendFloatField(std::string& out, float value);
void AppendBitField(std::string& out, bool value);

} // namespace Brelk::Assets
