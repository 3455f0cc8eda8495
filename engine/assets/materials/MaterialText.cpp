#include "engine/assets/materials/MaterialText.h"

#include "engine/core/NumberText.h"

#include <charconv>
#include <cmath>

namespace Brelk::Assets {

void AppendMaterialFloat(std::string& out, float value) {
    char buffer[Core::kMaxNumberChars];
    char* end = Core::FormatDouble6(buffer, value);
    if (std::isfinite(value)) {
        float back = 0.0f;
        const auto parsed = std::from_chars(buffer, end, back);
        if (parsed.ec != std::errc() || back != value || std::signbit(back) != std::signbit(value)) {
            end = std::to_chars(buffer, buffer + sizeof(buffer), value).ptr;
        }
    }
    out.append(buffer, end);
}

std::string FormatMaterialFloat(float value) {
    std::string text;
    AppendMaterialFloat(text, value);
    return text;
}

std::string FormatMaterialVector(const std::array<float, 4>& value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (i) text += ',';
        AppendMaterialFloat(text, value[i]);
    }
    return text;
}

bool ReadMaterialNumber(std::string_view& text, float* value) {
    std::size_t at = 0;
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t' || text[at] == '\r' || text[at] == '\n' ||
                                text[at] == '\v' || text[at] == '\f')) {
        ++at;
    }
    if (at < text.size() && text[at] == '+') ++at;
    if (at >= text.size()) return false;
    // A stream reads digits, a point and an exponent only: "inf" and "nan" are no numbers.
    const char first = text[at] == '-' && at + 1 < text.size() ? text[at + 1] : text[at];
    if (!(first >= '0' && first <= '9') && first != '.') return false;
    float parsed = 0.0f;
    const auto result = std::from_chars(text.data() + at, text.data() + text.size(), parsed);
    if (result.ec != std::errc() || !std::isfinite(parsed)) return false;
    *value = parsed;
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return true;
}

std::array<float, 4> ParseMaterialVector(std::string_view text, const std::array<float, 4>& fallback) {
    std::array<float, 4> value{};
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (!ReadMaterialNumber(text, &value[i])) return fallback;
        if (i + 1 < value.size()) {
            if (text.empty()) return fallback;
            text.remove_prefix(1);
        }
    }
    return value;
}

} // namespace Brelk::Assets
