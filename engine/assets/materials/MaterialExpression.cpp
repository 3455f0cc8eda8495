#include "engine/assets/materials/MaterialExpression.h"

#include "engine/assets/materials/MaterialAsset.h"
#include "engine/core/NumberText.h"

#include <charconv>
#include <cmath>

namespace Brelk::Assets {
namespace {

bool IsResource(std::uint32_t type) noexcept {
    return type == kPinTexture2D || type == kPinSampler || type == kPinMatrix4;
}

bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}
bool IsLetter(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

std::uint32_t Width(std::uint32_t type) noexcept {
    const std::uint32_t components = MaterialPinComponents(type);
    return components == 0 ? 1 : components;
}

std::string Vector(std::uint32_t type, const std::array<float, 4>& value, void (*append)(std::string&, float)) {
    const std::uint32_t width = Width(type);
    std::string text;
    if (width > 1) {
        text += GlslTypeWord(type);
        text += '(';
    }
    for (std::uint32_t i = 0; i < width; ++i) {
        if (i) text += ", ";
        append(text, value[i]);
    }
    if (width > 1) text += ')';
    return text;
}

void AppendFixed(std::string& text, float value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::fixed, 4);
    text.append(buffer, result.ec == std::errc() ? result.ptr : buffer);
}

void AppendShortest(std::string& text, float value) {
    char buffer[Core::kMaxNumberChars];
    char* end = std::to_chars(buffer, buffer + sizeof(buffer), value).ptr;
    const std::string_view written(buffer, static_cast<std::size_t>(end - buffer));
    text += written;
    if (written.find_first_of(".eE") == std::string_view::npos) text += ".0";
}

std::string Scalar(const std::array<float, 4>& value, std::uint32_t type, void (*append)(std::string&, float)) {
    if (type == kPinBool) return value[0] != 0.0f ? "true" : "false";
    if (type == kPinInt) {
        std::string text;
        Core::AppendInteger(text, static_cast<long long>(std::isfinite(value[0]) ? std::llround(value[0]) : 0));
        return text;
    }
    return Vector(type, value, append);
}

} // namespace

std::string_view GlslTypeWord(std::uint32_t type) noexcept {
    switch (type) {
    case kPinBool: return "bool";
    case kPinInt: return "int";
    case kPinVec2: return "vec2";
    case kPinVec3: return "vec3";
    case kPinVec4:
    case kPinColor: return "vec4";
    case kPinTexture2D: return "sampler2D";
    case kPinSampler: return "sampler";
    case kPinMatrix4: return "mat4";
    default: return "float";
    }
}

std::string ConvertExpression(std::string_view expression, std::uint32_t from, std::uint32_t to) {
    if (from == to || IsResource(from) || IsResource(to)) return std::string(expression);
    if (to == kPinBool) return "(" + ConvertExpression(expression, from, kPinFloat) + " != 0.0)";
    if (to == kPinInt) return "int(" + ConvertExpression(expression, from, kPinFloat) + ")";
    if (from == kPinBool) return ConvertExpression("(" + std::string(expression) + " ? 1.0 : 0.0)", kPinFloat, to);
    if (from == kPinInt) return ConvertExpression("float(" + std::string(expression) + ")", kPinFloat, to);
    const std::string word(GlslTypeWord(to));
    if (to == kPinFloat) return "(" + std::string(expression) + ").x";
    if (from == kPinFloat) return word + "(" + std::string(expression) + ")";
    const std::uint32_t fromWidth = Width(from);
    const std::uint32_t toWidth = Width(to);
    if (fromWidth == 2 && toWidth == 4) return "vec4(" + std::string(expression) + ", 0.0, 1.0)";
    if (fromWidth == 3 && toWidth == 4) return "vec4(" + std::string(expression) + ", 1.0)";
    if (fromWidth == 2 && toWidth == 3) return "vec3(" + std::string(expression) + ", 0.0)";
    if (toWidth >= fromWidth) return word + "(" + std::string(expression) + ")";
    return "(" + std::string(expression) + ")" + (toWidth == 2 ? ".xy" : ".xyz");
}

std::array<float, 4> ConvertConstant(const std::array<float, 4>& value, std::uint32_t from, std::uint32_t to) {
    if (from == to || IsResource(from) || IsResource(to)) return value;
    if (to == kPinBool) return {ConvertConstant(value, from, kPinFloat)[0] != 0.0f ? 1.0f : 0.0f, 0.0f, 0.0f, 0.0f};
    if (to == kPinInt) return {std::trunc(ConvertConstant(value, from, kPinFloat)[0]), 0.0f, 0.0f, 0.0f};
    if (from == kPinBool) return ConvertConstant({value[0] != 0.0f ? 1.0f : 0.0f, 0.0f, 0.0f, 0.0f}, kPinFloat, to);
    if (from == kPinInt) return ConvertConstant({value[0], 0.0f, 0.0f, 0.0f}, kPinFloat, to);
    if (to == kPinFloat) return {value[0], 0.0f, 0.0f, 0.0f};
    const std::uint32_t toWidth = Width(to);
    std::array<float, 4> result{};
    if (from == kPinFloat) {
        for (std::uint32_t i = 0; i < toWidth; ++i) result[i] = value[0];
        return result;
    }
    const std::uint32_t fromWidth = Width(from);
    for (std::uint32_t i = 0; i < std::min(fromWidth, toWidth); ++i) result[i] = value[i];
    if (toWidth == 4 && fromWidth < 4) result[3] = 1.0f;
    return result;
}

std::string FixedLiteral(const std::array<float, 4>& value, std::uint32_t type) {
    return Scalar(value, type, AppendFixed);
}

std::string FoldedLiteral(const std::array<float, 4>& value, std::uint32_t type) {
    return Scalar(value, type, AppendShortest);
}

std::string SplatLiteral(std::uint32_t type, std::string_view scalar) {
    if (Width(type) == 1) return std::string(scalar);
    return std::string(GlslTypeWord(type)) + "(" + std::string(scalar) + ")";
}

std::string ZeroLiteral(std::uint32_t type) {
    if (type == kPinBool) return "false";
    if (type == kPinInt) return "0";
    return SplatLiteral(type, "0.0");
}

std::string OutputVariable(std::uint64_t nodeId, std::string_view prefix) {
    std::string name = "node_";
    Core::AppendInteger(name, nodeId);
    name += '_';
    if (prefix.empty()) return name + "value";
    for (const char c : prefix) name += IsLetter(c) || IsDigit(c) ? (c == '_' ? '_' : c) : '_';
    return name;
}

bool IsPlainLiteral(std::string_view expression) noexcept {
    static constexpr std::string_view kWords[] = {"vec2", "vec3", "vec4", "float", "int", "bool", "true", "false"};
    std::size_t at = 0;
    while (at < expression.size()) {
        const char c = expression[at];
        if (IsLetter(c)) {
            std::size_t end = at;
            while (end < expression.size() && (IsLetter(expression[end]) || IsDigit(expression[end]))) ++end;
            const std::string_view word = expression.substr(at, end - at);
            bool known = false;
            for (const std::string_view allowed : kWords) known = known || word == allowed;
            if (!known) return false;
            at = end;
        } else if (IsDigit(c) || c == '.') {
            ++at;
            while (at < expression.size() && (IsDigit(expression[at]) || expression[at] == '.')) ++at;
            // An exponent belongs to its number: "1e-05".
            if (at < expression.size() && (expression[at] == 'e' || expression[at] == 'E')) {
                ++at;
                if (at < expression.size() && (expression[at] == '-' || expression[at] == '+')) ++at;
            }
        } else if (c == ' ' || c == ',' || c == '(' || c == ')' || c == '-') {
            ++at;
        } else {
            return false;
        }
    }
    return true;
}

std::array<float, 4> LiteralValue(std::string_view expression) noexcept {
    std::array<float, 4> value{};
    std::size_t count = 0;
    std::size_t at = 0;
    while (at < expression.size() && count < value.size()) {
        const char c = expression[at];
        const bool startsNumber =
            IsDigit(c) || c == '.' ||
            (c == '-' && at + 1 < expression.size() && (IsDigit(expression[at + 1]) || expression[at + 1] == '.'));
        if (startsNumber && (at == 0 || !(IsLetter(expression[at - 1]) || IsDigit(expression[at - 1])))) {
            float number = 0.0f;
            const auto result = std::from_chars(expression.data() + at, expression.data() + expression.size(), number);
            if (result.ec != std::errc()) break;
            value[count++] = number;
            at = static_cast<std::size_t>(result.ptr - expression.data());
        } else if (IsLetter(c)) {
            std::size_t end = at;
            while (end < expression.size() && (IsLetter(expression[end]) || IsDigit(expression[end]))) ++end;
            const std::string_view word = expression.substr(at, end - at);
            if (word == "true" || word == "false") value[count++] = word == "true" ? 1.0f : 0.0f;
            at = end;
        } else {
            ++at;
        }
    }
    if (count == 1) value = {value[0], value[0], value[0], value[0]};
    return value;
}

} // namespace Brelk::Assets
