#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Brelk::Assets::detail {

// The words of one line of a material file, read the way a text stream reads them: each
// read skips blanks first, and a failed read leaves the cursor where it was.
class MaterialLineCursor {
public:
    explicit MaterialLineCursor(std::string_view text) noexcept : rest_(text) {}

    bool ReadWord(std::string_view* word);
    bool ReadUnsigned(std::uint64_t* value);
    bool ReadInt(std::int64_t* value);
    bool ReadFloat(float* value);
    // A text in double quotes with `\` before a quote or backslash; without an opening quote,
    // the next word. A text that never closes runs to the end of the line.
    bool ReadQuoted(std::string* text);

private:
    void SkipBlanks() noexcept;

    std::string_view rest_;
};

} // namespace Brelk::Assets::detail
