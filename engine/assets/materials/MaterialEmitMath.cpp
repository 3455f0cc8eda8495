#include "engine/assets/materials/MaterialEmit.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <vector>

namespace Brelk::Assets::detail {
namespace {

using Value = std::array<float, 4>;

template <class Op>
Value Componentwise(const Value& a, const Value& b, Op op) {
    return {op(a[0], b[0]), op(a[1], b[1]), op(a[2], b[2]), op(a[3], b[3])};
}

template <class Op>
Value Componentwise(const Value& a, Op op) {
    return {op(a[0]), op(a[1]), op(a[2]), op(a[3])};
}

void EmitArithmetic(MaterialCompileContext& context, const MaterialGraphNode& node) {
    std::vector<MaterialValue> operands;
    for (const MaterialGraphPin& pin : node.inputs) {
        if (auto value = Input(context, node, pin.name, pin.type, ZeroLiteral(pin.type))) {
            operands.push_back(std::move(*value));
        }
    }
    if (operands.size() < 2) {
        context.Error(node.id, "Math node requires at least two numeric inputs.");
        return;
    }
    std::uint32_t type = operands[0].type;
    for (const MaterialValue& operand : operands) type = Wider(type, operand.type);

    constexpr char kOperators[] = {'+', '-', '*', '/'};
    const char op = kOperators[node.type - kNodeAdd];
    std::string expression = As(operands[0], type);
    bool allConstant = operands[0].isConstant;
    Value folded = ConstantAs(operands[0], type);
    const std::uint32_t width = std::max<std::uint32_t>(MaterialPinComponents(type), 1);
    for (std::size_t i = 1; i < operands.size(); ++i) {
        expression = "(" + expression + " " + op + " " + As(operands[i], type) + ")";
        allConstant = allConstant && operands[i].isConstant;
        const Value next = ConstantAs(operands[i], type);
        if (op == '/') {
            // A divisor near zero stays a run-time division, as the GPU would compute it.
            for (std::uint32_t c = 0; c < width; ++c) allConstant = allConstant && std::fabs(next[c]) > 0.00001f;
        }
        folded = Componentwise(folded, next, [op](float a, float b) {
            return op == '+' ? a + b : op == '-' ? a - b : op == '*' ? a * b : b != 0.0f ? a / b : 0.0f;
        });
    }
    if (allConstant) {
        ++context.state->foldedNodes;
        SetFoldedOutput(context, node, "Result", type, folded);
        return;
    }
    const std::string v = OutputVariable(node.id, "result");
    context.Statement(node, GlslTypeWord(type), v, expression);
    SetStatementOutput(context, node, "Result", type, v);
}

void EmitBinary(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto a = Input(context, node, "A", kPinVec4, "vec4(0.0)");
    const auto b = Input(context, node, "B", kPinVec4, "vec4(1.0)");
    if (!a || !b) return;
    const std::uint32_t type = Wider(a->type, b->type);
    if (node.type != kNodePower && a->isConstant && b->isConstant) {
        const bool min = node.type == kNodeMin;
        ++context.state->foldedNodes;
        SetFoldedOutput(context, node, "Result", type,
                        Componentwise(ConstantAs(*a, type), ConstantAs(*b, type),
                                      [min](float x, float y) { return min ? std::min(x, y) : std::max(x, y); }));
        return;
    }
    const std::string x = As(*a, type);
    const std::string y = As(*b, type);
    const std::string value = node.type == kNodePower ? "pow(max(" + x + ", " + ZeroLiteral(type) + "), " + y + ")"
                              : node.type == kNodeMin ? "min(" + x + ", " + y + ")"
                                                      : "max(" + x + ", " + y + ")";
    const std::string v = OutputVariable(node.id, "math");
    context.Statement(node, GlslTypeWord(type), v, value);
    SetStatementOutput(context, node, "Result", type, v);
}

struct UnaryRule {
    std::uint32_t type;
    const char* function; // null: a rule of its own below
    float (*fold)(float); // null: never folds
};

float Fract(float x) {
    return x - std::floor(x);
}
float RoundHalfUp(float x) {
    return std::floor(x + 0.5f);
}
float OneMinus(float x) {
    return 1.0f - x;
}
float Abs(float x) {
    return std::fabs(x);
}
float Floor(float x) {
    return std::floor(x);
}
float Ceil(float x) {
    return std::ceil(x);
}

constexpr UnaryRule kUnaryRules[] = {
    {kNodeSqrt, nullptr, nullptr},      {kNodeAbs, "abs", Abs},
    {kNodeFloor, "floor", Floor},       {kNodeCeil, "ceil", Ceil},
    {kNodeRound, nullptr, RoundHalfUp}, {kNodeFrac, "fract", Fract},
    {kNodeSin, "sin", nullptr},         {kNodeCos, "cos", nullptr},
    {kNodeTan, "tan", nullptr},         {kNodeInvert, nullptr, OneMinus},
    {kNodeOneMinus, nullptr, OneMinus},
};

void EmitUnary(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto input = Input(context, node, "Value", kPinVec4, "vec4(0.0)");
    if (!input) return;
    const UnaryRule& rule = *std::find_if(std::begin(kUnaryRules), std::end(kUnaryRules),
                                          [&](const UnaryRule& r) { return r.type == node.type; });
    const std::string_view output = node.type == kNodeInvert ? "Color" : "Result";
    const std::uint32_t type = input->type;
    if (rule.fold && input->isConstant) {
        ++context.state->foldedNodes;
        SetFoldedOutput(context, node, output, type, Componentwise(input->constant, rule.fold));
        return;
    }
    const std::string& x = input->expression;
    std::string value;
    if (node.type == kNodeSqrt) {
        value = "sqrt(max(" + x + ", " + ZeroLiteral(type) + "))";
    } else if (node.type == kNodeRound) {
        value = "floor(" + x + " + " + SplatLiteral(type, "0.5") + ")";
    } else if (rule.fold == OneMinus) {
        value = SplatLiteral(type, "1.0") + " - " + x;
    } else {
        value = std::string(rule.function) + "(" + x + ")";
    }
    const std::string v = OutputVariable(node.id, "unary");
    context.Statement(node, GlslTypeWord(type), v, value);
    SetStatementOutput(context, node, output, type, v);
}

void Emit(MaterialCompileContext& context, const MaterialGraphNode& node, std::string_view prefix, std::uint32_t type,
          const std::string& value, std::string_view output = "Result") {
    const std::string v = OutputVariable(node.id, prefix);
    context.Statement(node, GlslTypeWord(type), v, value);
    SetStatementOutput(context, node, output, type, v);
}

void EmitLerp(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto a = Input(context, node, "A", kPinVec3, "vec3(0.0)");
    const auto b = Input(context, node, "B", kPinVec3, "vec3(1.0)");
    const auto t = Input(context, node, "T", kPinFloat, "0.5");
    if (!a || !b || !t) return;
    const std::uint32_t type = Wider(a->type, b->type);
    Emit(context, node, "lerp", type, "mix(" + As(*a, type) + ", " + As(*b, type) + ", " + As(*t, kPinFloat) + ")");
}

void EmitStep(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto edge = Input(context, node, "Edge", kPinFloat, "0.5");
    const auto value = Input(context, node, "Value", kPinFloat, "0.0");
    if (!edge || !value) return;
    Emit(context, node, "step", value->type, "step(" + As(*edge, kPinFloat) + ", " + value->expression + ")");
}

void EmitSmoothstep(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto edge0 = Input(context, node, "Edge0", kPinFloat, "0.0");
    const auto edge1 = Input(context, node, "Edge1", kPinFloat, "1.0");
    const auto value = Input(context, node, "Value", kPinFloat, "0.0");
    if (!edge0 || !edge1 || !value) return;
    Emit(context, node, "smoothstep", value->type,
         "smoothstep(" + As(*edge0, kPinFloat) + ", " + As(*edge1, kPinFloat) + ", " + value->expression + ")");
}

void EmitClamp(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto value = Input(context, node, "Value", kPinFloat, "0.0");
    const auto low = Input(context, node, "Min", kPinFloat, "0.0");
    const auto high = Input(context, node, "Max", kPinFloat, "1.0");
    if (!value || !low || !high) return;
    const std::uint32_t type = value->type;
    if (value->isConstant && low->isConstant && high->isConstant) {
        const float lo = ConstantAs(*low, kPinFloat)[0];
        const float hi = ConstantAs(*high, kPinFloat)[0];
        ++context.state->foldedNodes;
        SetFoldedOutput(context, node, "Result", type,
                        Componentwise(value->constant, [lo, hi](float x) { return std::min(std::max(x, lo), hi); }));
        return;
    }
    Emit(context, node, "clamp", type,
         "clamp(" + value->expression + ", " + As(*low, kPinFloat) + ", " + As(*high, kPinFloat) + ")");
}

void EmitSaturate(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto value = Input(context, node, "Value", kPinFloat, "0.0");
    if (!value) return;
    const std::uint32_t type = value->type;
    if (value->isConstant) {
        ++context.state->foldedNodes;
        SetFoldedOutput(context, node, "Result", type,
                        Componentwise(value->constant, [](float x) { return std::min(std::max(x, 0.0f), 1.0f); }));
        return;
    }
    Emit(context, node, "saturate", type,
         "clamp(" + value->expression + ", " + ZeroLiteral(type) + ", " + SplatLiteral(type, "1.0") + ")");
}

void EmitVectorMath(MaterialCompileContext& context, const MaterialGraphNode& node) {
    if (node.type == kNodeLength || node.type == kNodeNormalize) {
        const auto x = Input(context, node, "Value", kPinVec3, "vec3(0.0)");
        if (!x) return;
        if (node.type == kNodeLength) {
            Emit(context, node, "length", kPinFloat, "length(" + x->expression + ")");
        } else if (x->type == kPinFloat) {
            Emit(context, node, "normalize", kPinFloat, x->expression);
        } else {
            Emit(context, node, "normalize", x->type, "normalize(" + x->expression + ")");
        }
        return;
    }
    if (node.type == kNodeReflect) {
        const auto incident = Input(context, node, "Incident", kPinVec3, "vec3(0.0, -1.0, 0.0)");
        const auto normal = Input(context, node, "Normal", kPinVec3, "vec3(0.0, 1.0, 0.0)");
        if (!incident || !normal) return;
        Emit(context, node, "reflect", kPinVec3,
             "reflect(" + As(*incident, kPinVec3) + ", normalize(" + As(*normal, kPinVec3) + "))");
        return;
    }
    const auto a = Input(context, node, "A", kPinVec3, "vec3(0.0)");
    const auto b = Input(context, node, "B", kPinVec3, "vec3(0.0)");
    if (!a || !b) return;
    const std::string args = "(" + As(*a, kPinVec3) + ", " + As(*b, kPinVec3) + ")";
    if (node.type == kNodeDistance) Emit(context, node, "distance", kPinFloat, "distance" + args);
    if (node.type == kNodeDot) Emit(context, node, "dot", kPinFloat, "dot" + args);
    if (node.type == kNodeCross) Emit(context, node, "cross", kPinVec3, "cross" + args);
}

void EmitCombine(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto x = Input(context, node, "X", kPinFloat, "0.0");
    const auto y = Input(context, node, "Y", kPinFloat, "0.0");
    const auto z = Input(context, node, "Z", kPinFloat, "0.0");
    const auto w = Input(context, node, "W", kPinFloat, "1.0");
    if (!x || !y || !z || !w) return;
    if (x->isConstant && y->isConstant && z->isConstant && w->isConstant) {
        const Value value{ConstantAs(*x, kPinFloat)[0], ConstantAs(*y, kPinFloat)[0], ConstantAs(*z, kPinFloat)[0],
                          ConstantAs(*w, kPinFloat)[0]};
        ++context.state->foldedNodes;
        SetFoldedOutput(context, node, "Vec2", kPinVec2, {value[0], value[1], 0.0f, 0.0f});
        SetFoldedOutput(context, node, "Vec3", kPinVec3, {value[0], value[1], value[2], 0.0f});
        SetFoldedOutput(context, node, "Vec4", kPinVec4, value);
        return;
    }
    const std::string v = OutputVariable(node.id, "combine");
    context.Statement(node, "vec4", v,
                      "vec4(" + As(*x, kPinFloat) + ", " + As(*y, kPinFloat) + ", " + As(*z, kPinFloat) + ", " +
                          As(*w, kPinFloat) + ")");
    SetStatementOutput(context, node, "Vec2", kPinVec2, v + ".xy");
    SetStatementOutput(context, node, "Vec3", kPinVec3, v + ".xyz");
    SetStatementOutput(context, node, "Vec4", kPinVec4, v);
}

void EmitSplit(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto x = Input(context, node, "Value", kPinColor, "vec4(0.0)");
    if (!x) return;
    constexpr const char* kChannels[] = {"R", "G", "B", "A"};
    constexpr const char* kSwizzles[] = {".r", ".g", ".b", ".a"};
    const Value value = ConstantAs(*x, kPinColor);
    if (x->isConstant) ++context.state->foldedNodes;
    for (std::size_t i = 0; i < 4; ++i) {
        if (x->isConstant) {
            SetFoldedOutput(context, node, kChannels[i], kPinFloat, {value[i], 0.0f, 0.0f, 0.0f});
        } else {
            SetStatementOutput(context, node, kChannels[i], kPinFloat, "(" + As(*x, kPinColor) + ")" + kSwizzles[i]);
        }
    }
}

void EmitSwizzle(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto x = Input(context, node, "Value", kPinColor, "vec4(0.0)");
    if (!x) return;
    std::string mask = Property(node, "mask");
    if (mask.empty()) mask = "rgb";
    if (mask.size() > 4) mask.resize(4);
    for (char& c : mask) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        c = c == 'r' ? 'x' : c == 'g' ? 'y' : c == 'b' ? 'z' : c == 'a' ? 'w' : c;
    }
    constexpr std::uint32_t kTypes[] = {kPinFloat, kPinVec2, kPinVec3, kPinVec4};
    const std::uint32_t type = kTypes[mask.size() - 1];
    if (x->isConstant) {
        const Value value = ConstantAs(*x, kPinColor);
        Value picked{};
        for (std::size_t i = 0; i < mask.size(); ++i) {
            const std::size_t at = std::string_view("xyzw").find(mask[i]);
            picked[i] = at == std::string_view::npos ? 0.0f : value[at];
        }
        ++context.state->foldedNodes;
        SetFoldedOutput(context, node, "Value", type, picked);
        return;
    }
    SetStatementOutput(context, node, "Value", type, "(" + As(*x, kPinColor) + ")." + mask);
}

} // namespace

void AddMathEmitters(EmitterTable& table) {
    for (const std::uint32_t type : {kNodeAdd, kNodeSubtract, kNodeMultiply, kNodeDivide}) table[type] = EmitArithmetic;
    for (const std::uint32_t type : {kNodePower, kNodeMin, kNodeMax}) table[type] = EmitBinary;
    for (const UnaryRule& rule : kUnaryRules) table[rule.type] = EmitUnary;
    table[kNodeLerp] = EmitLerp;
    table[kNodeStep] = EmitStep;
    table[kNodeSmoothstep] = EmitSmoothstep;
    table[kNodeClamp] = EmitClamp;
    table[kNodeSaturate] = EmitSaturate;
    for (const std::uint32_t type : {kNodeLength, kNodeDistance, kNodeDot, kNodeCross, kNodeNormalize, kNodeReflect}) {
        table[type] = EmitVectorMath;
    }
    table[kNodeCombine] = EmitCombine;
    table[kNodeAppend] = EmitCombine;
    table[kNodeSplitChannels] = EmitSplit;
    table[kNodeSwizzle] = EmitSwizzle;
    table[kNodeComponentMask] = EmitSwizzle;
}

} // namespace Brelk::Assets::detail
