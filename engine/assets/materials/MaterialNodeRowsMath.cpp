#include "engine/assets/materials/MaterialNodeRows.h"

namespace Brelk::Assets::detail {

// Arithmetic, unary and blending maths, vectors and their channels.
void AddMathRows(std::vector<MaterialNodeDefinition>& rows) {
    constexpr const char* basic = "Math/Basic";
    const std::initializer_list<PinSpec> operands{In("A", kPinFloat), In("B", kPinFloat), Out("Result", kPinFloat)};
    AddRow(rows, {kNodeAdd, "Add", basic, nullptr, nullptr, true}, operands);
    AddRow(rows, {kNodeSubtract, "Subtract", basic}, operands);
    AddRow(rows, {kNodeMultiply, "Multiply", basic, nullptr, nullptr, true}, operands);
    AddRow(rows, {kNodeDivide, "Divide", basic}, operands);
    const std::initializer_list<PinSpec> wide{In("A", kPinVec4), In("B", kPinVec4), Out("Result", kPinVec4)};
    AddRow(rows, {kNodePower, "Power", basic}, wide);
    AddRow(rows, {kNodeMin, "Min", basic}, wide);
    AddRow(rows, {kNodeMax, "Max", basic}, wide);

    const std::initializer_list<PinSpec> unary{In("Value", kPinVec4), Out("Result", kPinVec4)};
    AddRow(rows, {kNodeSqrt, "Sqrt", "Math/Unary"}, unary);
    AddRow(rows, {kNodeAbs, "Abs", "Math/Unary"}, unary);
    AddRow(rows, {kNodeFloor, "Floor", "Math/Unary"}, unary);
    AddRow(rows, {kNodeCeil, "Ceil", "Math/Unary"}, unary);
    AddRow(rows, {kNodeRound, "Round", "Math/Unary"}, unary);
    AddRow(rows, {kNodeFrac, "Frac", "Math/Unary"}, unary);
    AddRow(rows, {kNodeSin, "Sin", "Math/Trigonometry"}, unary);
    AddRow(rows, {kNodeCos, "Cos", "Math/Trigonometry"}, unary);
    AddRow(rows, {kNodeTan, "Tan", "Math/Trigonometry"}, unary);

    constexpr const char* blend = "Math/Blend";
    AddRow(rows, {kNodeLerp, "Lerp", blend},
           {In("A", kPinVec3), In("B", kPinVec3), In("T", kPinFloat), Out("Result", kPinVec3)});
    AddRow(rows, {kNodeStep, "Step", blend}, {In("Edge", kPinFloat), In("Value", kPinFloat), Out("Result", kPinFloat)});
    AddRow(rows, {kNodeSmoothstep, "Smoothstep", blend},
           {In("Edge0", kPinFloat), In("Edge1", kPinFloat), In("Value", kPinFloat), Out("Result", kPinFloat)});
    AddRow(rows, {kNodeClamp, "Clamp", blend},
           {In("Value", kPinFloat), In("Min", kPinFloat), In("Max", kPinFloat), Out("Result", kPinFloat)});
    AddRow(rows, {kNodeSaturate, "Saturate", blend}, {In("Value", kPinFloat), Out("Result", kPinFloat)});

    constexpr const char* vector = "Math/Vector";
    AddRow(rows, {kNodeLength, "Length", vector}, {In("Value", kPinVec3), Out("Result", kPinFloat)});
    AddRow(rows, {kNodeDistance, "Distance", vector}, {In("A", kPinVec3), In("B", kPinVec3), Out("Result", kPinFloat)});
    AddRow(rows, {kNodeDot, "Dot", vector}, {In("A", kPinVec3), In("B", kPinVec3), Out("Result", kPinFloat)});
    AddRow(rows, {kNodeCross, "Cross", vector}, {In("A", kPinVec3), In("B", kPinVec3), Out("Result", kPinVec3)});
    AddRow(rows, {kNodeNormalize, "Normalize", vector}, {In("Value", kPinVec3), Out("Result", kPinVec3)});
    AddRow(rows, {kNodeReflect, "Reflect", vector},
           {In("Incident", kPinVec3), In("Normal", kPinVec3), Out("Result", kPinVec3)});
    AddRow(
        rows, {kNodeSplitChannels, "SplitChannels", vector},
        {In("Value", kPinColor), Out("R", kPinFloat), Out("G", kPinFloat), Out("B", kPinFloat), Out("A", kPinFloat)});

    const std::initializer_list<PinSpec> combine{In("X", kPinFloat),   In("Y", kPinFloat),    In("Z", kPinFloat),
                                                 In("W", kPinFloat),   Out("Vec2", kPinVec2), Out("Vec3", kPinVec3),
                                                 Out("Vec4", kPinVec4)};
    AddRow(rows, {kNodeCombine, "Combine", "Vector"}, combine);
    AddRow(rows, {kNodeAppend, "Append", nullptr}, combine);
    AddRow(rows, {kNodeSwizzle, "Swizzle", "Vector"}, {In("Value", kPinColor), Out("Value", kPinVec3)},
           {{"mask", "rgb"}});
    AddRow(rows, {kNodeComponentMask, "ComponentMask", "Vector"}, {In("Value", kPinColor), Out("Value", kPinVec3)},
           {{"mask", "rgb"}});
}

} // namespace Brelk::Assets::detail
