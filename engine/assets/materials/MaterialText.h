#pragma once

#include <array>
#include <string>
#include <string_view>

namespace Brelk::Assets {

// A float as material files write it: "%g" when six digits read back to the same float,
// else the shortest text that does (0.5 "0.5", 1/3 "0.33333334", 16777216 "16777216").
// Infinities and NaNs keep "%g"'s text.
std::string FormatMaterialFloat(float value);
void AppendMaterialFloat(std::string& out, float value);

// Four FormatMaterialFloat texts joined by "," with no blank.
std::string FormatMaterialVector(const std::array<float, 4>& value);

// Four floats with one character between them; `fallback` whole if any of them fails.
std::array<float, 4> ParseMaterialVector(std::string_view text, const std::array<float, 4>& fallback);

// One float as a stream reads it: leading blanks, an optional sign, the longest number; no
// infinities or NaNs. Advances `text` past it; false, with `text` unchanged, if none.
bool ReadMaterialNumber(std::string_view& text, float* value);

} // namespace Brelk::Assets
