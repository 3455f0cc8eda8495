#include "engine/assets/materials/MaterialEmit.h"

#include <algorithm>
#include <cctype>

namespace Brelk::Assets::detail {
namespace {

void EmitHsv(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto c = Input(context, node, "Color", kPinVec3, "vec3(1.0)");
    if (!c) return;
    const bool toHsv = node.type == kNodeRGBToHSV;
    const std::string v = OutputVariable(node.id, toHsv ? "hsv" : "rgb");
    context.Statement(node, "vec3", v, std::string(toHsv ? "RGBToHSV(" : "HSVToRGB(") + As(*c, kPinVec3) + ")");
    SetStatementOutput(context, node, "Value", kPinVec3, v);
}

void EmitBrightnessContrast(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto color = Input(context, node, "Color", kPinColor, "vec4(1.0)");
    const auto brightness = Input(context, node, "Brightness", kPinFloat, "0.0");
    const auto contrast = Input(context, node, "Contrast", kPinFloat, "1.0");
    if (!color || !brightness || !contrast) return;
    const std::string c = As(*color, kPinColor);
    const std::string v = OutputVariable(node.id, "brightnessContrast");
    context.Statement(node, "vec4", v,
                      "vec4(((" + c + ").rgb + " + As(*brightness, kPinFloat) + " - vec3(0.5)) * " +
                          As(*contrast, kPinFloat) + " + vec3(0.5), (" + c + ").a)");
    SetStatementOutput(context, node, "Color", kPinColor, v);
}

void EmitGamma(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto color = Input(context, node, "Color", kPinColor, "vec4(1.0)");
    const auto gamma = Input(context, node, "Gamma", kPinFloat, "2.2");
    if (!color || !gamma) return;
    const std::string c = As(*color, kPinColor);
    const std::string v = OutputVariable(node.id, "gamma");
    context.Statement(node, "vec4", v,
                      "vec4(pow(max((" + c + ").rgb, vec3(0.0)), vec3(1.0 / max(" + As(*gamma, kPinFloat) +
                          ", 0.001))), (" + c + ").a)");
    SetStatementOutput(context, node, "Color", kPinColor, v);
}

void EmitDesaturate(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto color = Input(context, node, "Color", kPinColor, "vec4(1.0)");
    const auto amount = Input(context, node, "Amount", kPinFloat, node.type == kNodeMix ? "0.5" : "1.0");
    if (!color || !amount) return;
    const std::string c = As(*color, kPinColor);
    const std::string v = OutputVariable(node.id, "desaturate");
    context.Statement(node, "vec3", v + "_luma", "vec3(dot((" + c + ").rgb, vec3(0.2126, 0.7152, 0.0722)))");
    context.Statement(node, "vec4", v,
                      "vec4(mix((" + c + ").rgb, " + v + "_luma, clamp(" + As(*amount, kPinFloat) + ", 0.0, 1.0)), (" +
                          c + ").a)");
    SetStatementOutput(context, node, "Color", kPinColor, v);
}

void EmitRemap(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto x = Input(context, node, "Value", kPinFloat, "0.0");
    const auto inMin = Input(context, node, "In Min", kPinFloat, "0.0");
    const auto inMax = Input(context, node, "In Max", kPinFloat, "1.0");
    const auto outMin = Input(context, node, "Out Min", kPinFloat, "0.0");
    const auto outMax = Input(context, node, "Out Max", kPinFloat, "1.0");
    if (!x || !inMin || !inMax || !outMin || !outMax) return;
    const std::string lo = As(*inMin, kPinFloat);
    const std::string v = OutputVariable(node.id, "remap");
    context.Statement(node, "float", v,
                      "mix(" + As(*outMin, kPinFloat) + ", " + As(*outMax, kPinFloat) + ", ((" + As(*x, kPinFloat) +
                          " - " + lo + ") / max(" + As(*inMax, kPinFloat) + " - " + lo + ", 0.00001)))");
    SetStatementOutput(context, node, "Result", kPinFloat, v);
}

void EmitCompare(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto a = Input(context, node, "A", kPinFloat, "0.0");
    const auto b = Input(context, node, "B", kPinFloat, "0.0");
    if (!a || !b) return;
    std::string op = Property(node, "op");
    constexpr std::string_view kOperators[] = {">", "<", ">=", "<=", "==", "!="};
    if (std::find(std::begin(kOperators), std::end(kOperators), op) == std::end(kOperators)) op = ">=";
    const std::string v = OutputVariable(node.id, "compare");
    context.Statement(node, "float", v, "(" + As(*a, kPinFloat) + " " + op + " " + As(*b, kPinFloat) + ") ? 1.0 : 0.0");
    SetStatementOutput(context, node, "Result", kPinFloat, v);
}

void EmitScaleOffset(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto uv = Input(context, node, "UV", kPinVec2, UvDefault(context, "inTexCoord"));
    const auto scale = Input(context, node, "Scale", kPinVec2, "vec2(1.0)");
    const auto offset = Input(context, node, "Offset", kPinVec2, "vec2(0.0)");
    if (!uv || !scale || !offset) return;
    const std::string v = OutputVariable(node.id, "uv");
    context.Statement(node, "vec2", v,
                      As(*uv, kPinVec2) + " * " + As(*scale, kPinVec2) + " + " + As(*offset, kPinVec2));
    SetStatementOutput(context, node, "UV", kPinVec2, v);
}

void EmitNormalMap(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto color = Input(context, node, "Color", kPinColor, "vec4(0.5, 0.5, 1.0, 1.0)");
    if (!color) return;
    const std::string v = OutputVariable(node.id, "normal");
    const std::string xy = v + "Xy";
    context.Statement(node, "vec2", xy, "(" + As(*color, kPinColor) + ").xy * 2.0 - 1.0");
    context.Statement(node, "vec3", v,
                      "normalize(vec3(" + xy + ", sqrt(max(1.0 - dot(" + xy + ", " + xy + "), 0.0))))");
    SetStatementOutput(context, node, "Normal", kPinVec3, v);
}

void EmitProcedural(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto uv = Input(context, node, "UV", kPinVec2, UvDefault(context, "inTexCoord"));
    const auto scale = Input(context, node, "Scale", kPinFloat, "8.0");
    if (!uv || !scale) return;
    const std::string p = "(" + As(*uv, kPinVec2) + " * " + As(*scale, kPinFloat) + ")";
    const std::string v = OutputVariable(node.id, "procedural");
    if (node.type == kNodeNoise) {
        context.Statement(node, "float", v, "ValueNoise(" + p + ")");
        SetStatementOutput(context, node, "Value", kPinFloat, v);
        return;
    }
    if (node.type == kNodeChecker) {
        context.Statement(node, "float", v + "_cell", "mod(floor(" + p + ".x) + floor(" + p + ".y), 2.0)");
        context.Statement(node, "vec4", v, "mix(vec4(0.04, 0.04, 0.04, 1.0), vec4(1.0), " + v + "_cell)");
    } else {
        context.Statement(node, "vec4", v, "vec4(vec3(fract(" + p + ".x)), 1.0)");
    }
    SetStatementOutput(context, node, "Color", kPinColor, v);
}

void EmitFresnel(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto power = Input(context, node, "Power", kPinFloat, "5.0");
    if (!power) return;
    const std::string p = As(*power, kPinFloat);
    const std::string v = OutputVariable(node.id, "fresnel");
    context.Statement(node, "float", v,
                      context.domain == kDomainPostProcess
                          ? "pow(clamp(length(vUv * 2.0 - 1.0), 0.0, 1.0), max(" + p + ", 0.001))"
                          : "pow(1.0 - max(dot(normalize(inWorldNormal), normalize(frame.cameraPosition.xyz - "
                            "inWorldPosition)), 0.0), max(" +
                                p + ", 0.001))");
    SetStatementOutput(context, node, "Value", kPinFloat, v);
}

// The particle and scene inputs exist only where a surface is drawn.
bool RequireSurface(MaterialCompileContext& context, const MaterialGraphNode& node, bool onlySurfaceDomain,
                    const char* message) {
    const bool refused = onlySurfaceDomain ? context.domain != kDomainSurface : context.domain == kDomainPostProcess;
    if (refused) context.Error(node.id, message);
    return !refused;
}

void EmitParticleData(MaterialCompileContext& context, const MaterialGraphNode& node) {
    if (!RequireSurface(context, node, false, "Particle Data is only valid in Surface material graphs.")) return;
    context.usesParticles = true;
    SetStatementOutput(context, node, "Age", kPinFloat, "inParticleData.x");
    SetStatementOutput(context, node, "Lifetime", kPinFloat, "inParticleData.y");
    SetStatementOutput(context, node, "Speed", kPinFloat, "inParticleData.z");
    SetStatementOutput(context, node, "Random", kPinFloat, "inParticleData.w");
    SetStatementOutput(context, node, "Velocity", kPinVec3, "inParticleVelocity");
}

void EmitParticleCustom(MaterialCompileContext& context, const MaterialGraphNode& node) {
    if (!RequireSurface(context, node, false, "Particle Custom is only valid in Surface material graphs.")) return;
    context.usesParticles = true;
    SetStatementOutput(context, node, "Custom 1", kPinFloat, "inParticleCustom.x");
    SetStatementOutput(context, node, "Custom 2", kPinFloat, "inParticleCustom.y");
}

void EmitDepthFade(MaterialCompileContext& context, const MaterialGraphNode& node) {
    if (!RequireSurface(context, node, false, "Depth Fade is only valid in Surface material graphs.")) return;
    const auto distance = Input(context, node, "Distance", kPinFloat, "0.5");
    context.state->usesSceneData = true;
    if (!distance) return;
    SetStatementOutput(context, node, "Fade", kPinFloat, "BrelkDepthFade(" + As(*distance, kPinFloat) + ")");
}

void EmitDecal(MaterialCompileContext& context, const MaterialGraphNode& node) {
    if (!RequireSurface(context, node, true, "Decal Projection is only valid in Surface material graphs.")) return;
    context.state->usesSceneData = true;
    context.state->isDecal = true;
    const std::string v = OutputVariable(node.id, "decal");
    context.Statement(node, "vec4", v, "BrelkDecalProjection()");
    SetStatementOutput(context, node, "UV", kPinVec2, v + ".xy");
    SetStatementOutput(context, node, "Depth", kPinFloat, v + ".z");
    SetStatementOutput(context, node, "Mask", kPinFloat, v + ".w");
}

void EmitVolume(MaterialCompileContext& context, const MaterialGraphNode& node) {
    if (!RequireSurface(context, node, true, "Volume Sphere is only valid in Surface material graphs.")) return;
    const auto density = Input(context, node, "Density", kPinFloat, "1.5");
    context.state->usesSceneData = true;
    context.state->isVolume = true;
    if (!density) return;
    const std::string v = OutputVariable(node.id, "volume");
    context.Statement(node, "vec3", v, "BrelkVolumeSphere(" + As(*density, kPinFloat) + ")");
    SetStatementOutput(context, node, "Thickness", kPinFloat, v + ".x");
    SetStatementOutput(context, node, "Opacity", kPinFloat, v + ".y");
    SetStatementOutput(context, node, "Depth", kPinFloat, v + ".z");
}

void EmitFlipbook(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto uv = Input(context, node, "UV", kPinVec2, UvDefault(context, "inTexCoord"));
    const auto columns = Input(context, node, "Columns", kPinFloat, "1.0");
    const auto rows = Input(context, node, "Rows", kPinFloat, "1.0");
    const auto frame = Input(context, node, "Frame", kPinFloat, "0.0");
    if (!uv || !columns || !rows || !frame) return;
    const std::string g = OutputVariable(node.id, "grid");
    const std::string c = OutputVariable(node.id, "cell");
    const std::string v = OutputVariable(node.id, "uv");
    context.Statement(node, "vec2", g,
                      "max(floor(vec2(" + As(*columns, kPinFloat) + ", " + As(*rows, kPinFloat) + ")), vec2(1.0))");
    context.Statement(node, "float", c, "mod(floor(" + As(*frame, kPinFloat) + "), " + g + ".x * " + g + ".y)");
    context.Statement(node, "vec2", v,
                      "(" + As(*uv, kPinVec2) + " + vec2(mod(" + c + ", " + g + ".x), floor(" + c + " / " + g +
                          ".x))) / " + g);
    SetStatementOutput(context, node, "Value", kPinVec2, v);
}

void EmitDissolve(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto value = Input(context, node, "Value", kPinFloat, "0.0");
    const auto threshold = Input(context, node, "Threshold", kPinFloat, "0.0");
    const auto softness = Input(context, node, "Softness", kPinFloat, "0.05");
    if (!value || !threshold || !softness) return;
    const std::string m = OutputVariable(node.id, "mask");
    context.Statement(node, "float", m,
                      "clamp((" + As(*value, kPinFloat) + " - " + As(*threshold, kPinFloat) + ") / max(" +
                          As(*softness, kPinFloat) + ", 0.0001), 0.0, 1.0)");
    SetStatementOutput(context, node, "Mask", kPinFloat, m);
    SetStatementOutput(context, node, "Edge", kPinFloat, "(4.0 * " + m + " * (1.0 - " + m + "))");
}

void EmitCustomCode(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const std::string code = Property(node, "code");
    if (code.empty()) {
        context.Error(node.id, "Custom code node is empty.");
        return;
    }
    std::string lower = code;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    // The code runs inside the material function: nothing that leaves it, loops without end
    // or reaches resources the template owns.
    for (const std::string_view token :
         {"layout", "#", "discard", "while", "for(", "for ", "return", "sampler", "image", "gl_"}) {
        if (lower.find(token) != std::string::npos) {
            context.Error(node.id, "Custom code contains forbidden tokens.");
            return;
        }
    }
    std::uint32_t type = kPinFloat;
    if (!MaterialPinTypeFromWord(Property(node, "output_type", "Float"), &type)) type = kPinFloat;
    const std::string typeWord(GlslTypeWord(type));
    const std::string function = "CustomNode_" + std::to_string(node.id);

    std::string head = typeWord + " " + function + "(";
    std::string body = code;
    std::string call = function + "(";
    for (std::size_t i = 0; i < node.inputs.size(); ++i) {
        const MaterialGraphPin& pin = node.inputs[i];
        const std::string arg = "arg" + std::to_string(i);
        if (i) {
            head += ", ";
            call += ", ";
        }
        head += std::string(GlslTypeWord(pin.type)) + " " + arg;
        const auto value = Input(context, node, pin.name, pin.type, ZeroLiteral(pin.type));
        call += value ? value->expression : ZeroLiteral(pin.type);
        const std::string placeholder = "$" + std::to_string(i);
        for (std::size_t at = body.find(placeholder); at != std::string::npos;
             at = body.find(placeholder, at + arg.size())) {
            body.replace(at, placeholder.size(), arg);
        }
    }
    call += ")";
    context.state->helpers.push_back({node.id, head + ")\n{\n    " + typeWord + " result = " + ZeroLiteral(type) +
                                                   ";\n    " + body + "\n    return result;\n}\n"});
    const std::string v = OutputVariable(node.id, "custom");
    context.Statement(node, typeWord, v, call);
    SetStatementOutput(context, node, "Value", type, v);
}

} // namespace

void AddEffectEmitters(EmitterTable& table) {
    table[kNodeRGBToHSV] = EmitHsv;
    table[kNodeHSVToRGB] = EmitHsv;
    table[kNodeBrightnessContrast] = EmitBrightnessContrast;
    table[kNodeGamma] = EmitGamma;
    table[kNodeMix] = EmitDesaturate;
    table[kNodeDesaturate] = EmitDesaturate;
    table[kNodeRemap] = EmitRemap;
    table[kNodeCompare] = EmitCompare;
    table[kNodeTextureScaleOffset] = EmitScaleOffset;
    table[kNodeNormalMap] = EmitNormalMap;
    for (const std::uint32_t type : {kNodeChecker, kNodeGradient, kNodeNoise}) table[type] = EmitProcedural;
    table[kNodeFresnel] = EmitFresnel;
    table[kNodeParticleData] = EmitParticleData;
    table[kNodeParticleCustom] = EmitParticleCustom;
    table[kNodeDepthFade] = EmitDepthFade;
    table[kNodeDecalProjection] = EmitDecal;
    table[kNodeVolumeSphere] = EmitVolume;
    table[kNodeFlipbookUV] = EmitFlipbook;
    table[kNodeDissolve] = EmitDissolve;
    table[kNodeCustomCode] = EmitCustomCode;
}

} // namespace Brelk::Assets::detail
