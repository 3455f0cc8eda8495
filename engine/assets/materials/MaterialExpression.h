#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace Brelk::Assets {

// GLSL of one value converted between pin types: casts, splats, widening with 0 and 1,
// narrowing by swizzle. Textures, samplers and matrices pass unchanged.
std::string ConvertExpression(std::string_view expression, std::uint32_t from, std::uint32_t to);
// The same conversion on an exact value.
std::array<float, 4> ConvertConstant(const std::array<float, 4>& value, std::uint32_t from, std::uint32_t to);

// "bool", "int", "float", "vec2", "vec3", "vec4" (Vec4 and Color), "sampler2D", "sampler",
// "mat4".
std::string_view GlslTypeWord(std::uint32_t type) noexcept;

// Constants as nodes give them: four fixed decimals, "vec4(1.0000, 0.0000, 0.0000, 1.0000)".
std::string FixedLiteral(const std::array<float, 4>& value, std::uint32_t type);
// Folded constants: the shortest text that reads back, with ".0" where it has no point or
// exponent, "vec3(1.0, 0.5, 0.0)".
std::string FoldedLiteral(const std::array<float, 4>& value, std::uint32_t type);
// One literal of the type repeated: "0.0", "vec3(0.0)", "false", "0".
std::string SplatLiteral(std::uint32_t type, std::string_view scalar);
std::string ZeroLiteral(std::uint32_t type);

// "node_" id "_" prefix, each character of the prefix that isn't alphanumeric made `_`; an
// empty prefix is "value".
std::string OutputVariable(std::uint64_t nodeId, std::string_view prefix);

// Only numbers (with their signs and points), blanks, commas, parentheses and the words
// vec2, vec3, vec4, float, int, bool, true, false.
bool IsPlainLiteral(std::string_view expression) noexcept;
// The numbers of a plain literal in order, a single one repeated over all four; "true" 1.
std::array<float, 4> LiteralValue(std::string_view expression) noexcept;

} // namespace Brelk::Assets
