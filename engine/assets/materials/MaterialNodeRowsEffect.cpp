#include "engine/assets/materials/MaterialNodeRows.h"

namespace Brelk::Assets::detail {

// Colour, utility, procedural, effect, custom code and function call rows.
void AddEffectRows(std::vector<MaterialNodeDefinition>& rows) {
    constexpr const char* color = "Color";
    AddRow(rows, {kNodeRGBToHSV, "RGBToHSV", color}, {In("Color", kPinVec3), Out("Value", kPinVec3)});
    AddRow(rows, {kNodeHSVToRGB, "HSVToRGB", color}, {In("Color", kPinVec3), Out("Value", kPinVec3)});
    AddRow(rows, {kNodeBrightnessContrast, "BrightnessContrast", color},
           {In("Color", kPinColor), In("Brightness", kPinFloat), In("Contrast", kPinFloat), Out("Color", kPinColor)});
    AddRow(rows, {kNodeGamma, "Gamma", color},
           {In("Color", kPinColor), In("Gamma", kPinFloat), Out("Color", kPinColor)});
    AddRow(rows, {kNodeInvert, "Invert", color}, {In("Value", kPinVec4), Out("Color", kPinVec4)});
    AddRow(rows, {kNodeMix, "Mix", nullptr},
           {In("Color", kPinColor), In("Amount", kPinFloat), Out("Color", kPinColor)});
    AddRow(rows, {kNodeDesaturate, "Desaturate", color},
           {In("Color", kPinColor), In("Amount", kPinFloat), Out("Color", kPinColor)});

    constexpr const char* utility = "Utility";
    AddRow(rows, {kNodeOneMinus, "OneMinus", utility, "OneMinus", "One Minus"},
           {In("Value", kPinVec4), Out("Result", kPinVec4)});
    AddRow(rows, {kNodeRemap, "Remap", utility},
           {In("Value", kPinFloat), In("In Min", kPinFloat), In("In Max", kPinFloat), In("Out Min", kPinFloat),
            In("Out Max", kPinFloat), Out("Result", kPinFloat)});
    AddRow(rows, {kNodeCompare, "Compare", utility}, {In("A", kPinFloat), In("B", kPinFloat), Out("Result", kPinFloat)},
           {{"op", ">="}});

    constexpr const char* procedural = "Procedural";
    AddRow(rows, {kNodeChecker, "Checker", procedural},
           {In("UV", kPinVec2), In("Scale", kPinFloat), Out("Color", kPinColor)});
    AddRow(rows, {kNodeGradient, "Gradient", procedural},
           {In("UV", kPinVec2), In("Scale", kPinFloat), Out("Color", kPinColor)});
    AddRow(rows, {kNodeFresnel, "Fresnel", procedural}, {In("Power", kPinFloat), Out("Value", kPinFloat)});
    AddRow(rows, {kNodeNoise, "Noise", procedural},
           {In("UV", kPinVec2), In("Scale", kPinFloat), Out("Value", kPinFloat)});

    AddRow(rows, {kNodeTextureScaleOffset, "TextureScaleOffset", "Texture/Sampling"},
           {In("UV", kPinVec2), In("Scale", kPinVec2), In("Offset", kPinVec2), Out("UV", kPinVec2)});
    AddRow(rows, {kNodeNormalMap, "NormalMap", "Texture/Sampling"}, {In("Color", kPinColor), Out("Normal", kPinVec3)});

    AddRow(rows, {kNodeCustomCode, "CustomCode", nullptr, nullptr, nullptr, true},
           {In("A", kPinVec4), Out("Value", kPinFloat)}, {{"code", "result = $0.x;"}, {"output_type", "Float"}});
    AddRow(rows, {kNodeFunctionCall, "FunctionCall", nullptr, "FunctionCall", nullptr, true}, {}, {{"asset", "0"}});

    constexpr const char* vfx = "VFX";
    AddRow(rows, {kNodeParticleData, "ParticleData", vfx},
           {Out("Age", kPinFloat), Out("Lifetime", kPinFloat), Out("Speed", kPinFloat), Out("Random", kPinFloat),
            Out("Velocity", kPinVec3)});
    AddRow(rows, {kNodeFlipbookUV, "FlipbookUV", vfx},
           {In("UV", kPinVec2), In("Columns", kPinFloat), In("Rows", kPinFloat), In("Frame", kPinFloat),
            Out("Value", kPinVec2)});
    AddRow(rows, {kNodeDissolve, "Dissolve", vfx},
           {In("Value", kPinFloat), In("Threshold", kPinFloat), In("Softness", kPinFloat), Out("Mask", kPinFloat),
            Out("Edge", kPinFloat)});
    AddRow(rows, {kNodeParticleCustom, "ParticleCustom", vfx},
           {Out("Custom 1", kPinFloat), Out("Custom 2", kPinFloat)});
    AddRow(rows, {kNodeDepthFade, "DepthFade", vfx}, {In("Distance", kPinFloat), Out("Fade", kPinFloat)});
    AddRow(rows, {kNodeDecalProjection, "DecalProjection", vfx},
           {Out("UV", kPinVec2), Out("Depth", kPinFloat), Out("Mask", kPinFloat)});
    AddRow(rows, {kNodeVolumeSphere, "VolumeSphere", vfx, "Volume Sphere", "Volume Sphere (approximation)"},
           {In("Density", kPinFloat), Out("Thickness", kPinFloat), Out("Opacity", kPinFloat), Out("Depth", kPinFloat)});
}

} // namespace Brelk::Assets::detail
