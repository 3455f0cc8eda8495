#pragma once

// Shared pieces of the node emission rules, which stand in three sources by family.

#include "engine/assets/materials/MaterialCompiler.h"
#include "engine/assets/materials/MaterialExpression.h"
#include "engine/assets/materials/MaterialNodeCatalogue.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace Brelk::Assets::detail {

using EmitterTable = std::array<MaterialNodeEmitter, kMaterialNodeKindCount>;

void AddSourceEmitters(EmitterTable& table);
void AddMathEmitters(EmitterTable& table);
void AddEffectEmitters(EmitterTable& table);

// The node's property, else the row's default, else `fallback`.
std::string Property(const MaterialGraphNode& node, std::string_view key, std::string_view fallback = {});

inline std::optional<MaterialValue> Input(MaterialCompileContext& context, const MaterialGraphNode& node,
                                          std::string_view pin, std::uint32_t type, std::string_view fallback) {
    return ReadInput(context, node, pin, type, fallback);
}

// The operand in the type that a rule asks for.
inline std::string As(const MaterialValue& value, std::uint32_t type) {
    return ConvertExpression(value.expression, value.type, type);
}

inline std::array<float, 4> ConstantAs(const MaterialValue& value, std::uint32_t type) {
    return ConvertConstant(value.constant, value.type, type);
}

// The type of more components; `a` on a tie.
std::uint32_t Wider(std::uint32_t a, std::uint32_t b) noexcept;

// The output holds a value that a statement just named.
inline void SetStatementOutput(MaterialCompileContext& context, const MaterialGraphNode& node, std::string_view pin,
                               std::uint32_t type, std::string expression) {
    SetOutput(context, node, pin, type, std::move(expression), false, {});
}

// The output holds a constant folded at compile time.
inline void SetFoldedOutput(MaterialCompileContext& context, const MaterialGraphNode& node, std::string_view pin,
                            std::uint32_t type, const std::array<float, 4>& value) {
    SetOutput(context, node, pin, type, FoldedLiteral(value, type), true, value);
}

// "vUv" in a post process, else the surface form.
inline std::string_view UvDefault(const MaterialCompileContext& context, std::string_view surface) {
    return context.domain == kDomainPostProcess ? std::string_view("vUv") : surface;
}

} // namespace Brelk::Assets::detail
