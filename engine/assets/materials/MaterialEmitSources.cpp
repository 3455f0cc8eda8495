#include "engine/assets/materials/MaterialEmit.h"

#include "engine/assets/materials/MaterialText.h"

#include <algorithm>
#include <charconv>

namespace Brelk::Assets::detail {
namespace {

// A node whose output is a fixed text by domain; a null text is an error in that domain.
struct FixedExpression {
    std::uint32_t type;
    std::uint32_t valueType;
    const char* output;
    const char* surface; // domains 0 and 1
    const char* post;
    const char* error;
};

constexpr const char* kCamera = "normalize(frame.cameraPosition.xyz - inWorldPosition)";
constexpr const char* kPostCamera = "normalize(vec3(vUv * 2.0 - 1.0, 1.0))";
constexpr const char* kPositionError = "Object and world position nodes are only valid in Surface material graphs.";

constexpr FixedExpression kFixedExpressions[] = {
    {kNodeVertexNormal, kPinVec3, "Value", "normalize(inWorldNormal)", nullptr,
     "Normal nodes are only valid in Surface material graphs."},
    {kNodeNormal, kPinVec3, "Value", "normalize(inWorldNormal)", nullptr,
     "Normal nodes are only valid in Surface material graphs."},
    {kNodeVertexUV, kPinVec2, "Value", "inTexCoord", "vUv", nullptr},
    {kNodeTextureCoordinate, kPinVec2, "Value", "inTexCoord", "vUv", nullptr},
    {kNodeVertexUV1, kPinVec2, "Value", "inTexCoord", "vUv", nullptr},
    {kNodeVertexColor, kPinColor, "Value", "inVertexColor", nullptr,
     "Vertex Color is only valid in Surface material graphs."},
    {kNodeVertexPosition, kPinVec3, "Value", "inWorldPosition", nullptr, kPositionError},
    {kNodeObjectPosition, kPinVec3, "Value", "inWorldPosition", nullptr, kPositionError},
    {kNodeWorldPosition, kPinVec3, "Value", "inWorldPosition", nullptr, kPositionError},
    {kNodeViewDirection, kPinVec3, "Value", kCamera, kPostCamera, nullptr},
    {kNodeCameraVector, kPinVec3, "Value", kCamera, kPostCamera, nullptr},
    {kNodeTangent, kPinVec3, "Value", "normalize(inWorldTangent.xyz)", nullptr,
     "Tangent is only valid in Surface material graphs."},
    {kNodeTime, kPinFloat, "Value", "frame.timeData.x", "pc.cameraPositionWaterHeight.w", nullptr},
    {kNodeCameraPosition, kPinVec3, "Value", "frame.cameraPosition.xyz", "pc.cameraPositionWaterHeight.xyz", nullptr},
    {kNodeScreenUV, kPinVec2, "Value", nullptr, "vUv", "Screen UV is only valid in Post Process material graphs."},
    {kNodeSceneDepth, kPinFloat, "Depth", nullptr, "texture(sceneDepthTexture, vUv).r",
     "Scene Depth is only valid in Post Process material graphs."},
    {kNodeResolution, kPinVec2, "Value", nullptr, "pc.viewportSize.xy",
     "Resolution is only valid in Post Process material graphs."},
};

void EmitFixed(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto row = std::find_if(std::begin(kFixedExpressions), std::end(kFixedExpressions),
                                  [&](const FixedExpression& fixed) { return fixed.type == node.type; });
    const char* expression = context.domain == kDomainPostProcess ? row->post : row->surface;
    if (!expression) {
        context.Error(node.id, row->error);
        return;
    }
    SetOutput(context, node, row->output, row->valueType, expression, false, {});
}

std::uint32_t ConstantType(std::uint32_t node) {
    constexpr std::uint32_t kTypes[] = {kPinBool, kPinInt, kPinFloat, kPinVec2, kPinVec3, kPinVec4, kPinColor};
    return kTypes[node - kNodeConstantBool];
}

void EmitConstant(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const std::uint32_t type = ConstantType(node.type);
    const std::string text = Property(node, "value");
    std::array<float, 4> value{};
    if (type == kPinBool) {
        value[0] = text == "1" ? 1.0f : 0.0f;
    } else {
        std::string_view rest = text;
        for (std::uint32_t i = 0; i < MaterialPinComponents(type); ++i) {
            if (!ReadMaterialNumber(rest, &value[i])) break;
            if (!rest.empty()) rest.remove_prefix(1);
        }
    }
    SetOutput(context, node, "Value", type, FixedLiteral(value, type), true, value);
}

AssetHandle HandleProperty(const MaterialGraphNode& node, std::string_view key) {
    const std::string text = Property(node, key, "0");
    AssetHandle handle = 0;
    std::from_chars(text.data(), text.data() + text.size(), handle);
    return handle;
}

void SetTextureOutput(MaterialCompileContext& context, const MaterialGraphNode& node, std::uint32_t slot) {
    SetOutput(context, node, "Texture", kPinTexture2D, "BRELK_MATERIAL_TEXTURE(" + std::to_string(slot) + ")", false,
              {});
    for (const MaterialGraphPin& pin : node.outputs) {
        if (pin.name == "Texture") {
            MaterialValue& value = context.values[pin.id];
            value.isTexture = true;
            value.textureSlot = slot;
        }
    }
}

std::uint32_t AddTextureSlot(MaterialCompiledState& state, AssetHandle handle, const MaterialGraphNode& node) {
    state.textures.push_back(handle);
    state.textureIsSrgb.push_back(Property(node, "color_space") != "linear");
    return static_cast<std::uint32_t>(state.textures.size() - 1);
}

void EmitTexture(MaterialCompileContext& context, const MaterialGraphNode& node) {
    MaterialCompiledState& state = *context.state;
    if (state.textures.size() >= kMaxMaterialTextureSlots) {
        context.Error(node.id, "Texture binding limit reached.");
        return;
    }
    SetTextureOutput(context, node, AddTextureSlot(state, HandleProperty(node, "asset"), node));
}

MaterialParameter* FindParameter(MaterialCompiledState& state, std::string_view name, bool texture) {
    for (MaterialParameter& parameter : state.parameters) {
        if (parameter.name == name && (parameter.type == kPinTexture2D) == texture) return &parameter;
    }
    return nullptr;
}

std::string ParameterName(const MaterialGraphNode& node, std::string_view fallback) {
    const auto found = node.properties.find("name");
    if (found != node.properties.end() && !found->second.empty()) return found->second;
    return std::string(fallback) + std::to_string(node.id);
}

bool Exposed(const MaterialGraphNode& node) {
    const auto found = node.properties.find("exposed");
    return found == node.properties.end() || found->second != "0";
}

void EmitParameter(MaterialCompileContext& context, const MaterialGraphNode& node) {
    MaterialCompiledState& state = *context.state;
    const std::uint32_t type = kPinFloat + (node.type - kNodeParameterFloat);
    const std::string name = ParameterName(node, "Param");
    std::uint32_t slot = 0;
    if (const MaterialParameter* known = FindParameter(state, name, false)) {
        slot = known->slot;
    } else {
        const auto vectors = static_cast<std::uint32_t>(std::count_if(
            state.parameters.begin(), state.parameters.end(), [](const auto& p) { return p.type != kPinTexture2D; }));
        if (vectors >= kMaxMaterialParameterVectors) {
            context.Error(node.id, "Vector parameter limit reached.");
            return;
        }
        slot = vectors;
        state.parameters.push_back({name, type, slot,
                                    ParseMaterialVector(Property(node, "default"), {0.0f, 0.0f, 0.0f, 0.0f}),
                                    kNullAssetHandle, Exposed(node)});
    }
    constexpr const char* kSwizzles[] = {".x", ".xy", ".xyz", "", ""};
    SetOutput(context, node, "Value", type,
              "material.parameterVectors[" + std::to_string(slot) + "]" + kSwizzles[type - kPinFloat], false, {});
}

void EmitTextureParameter(MaterialCompileContext& context, const MaterialGraphNode& node) {
    MaterialCompiledState& state = *context.state;
    const std::string name = ParameterName(node, "Texture");
    if (const MaterialParameter* known = FindParameter(state, name, true)) {
        SetTextureOutput(context, node, known->slot);
        return;
    }
    if (state.textures.size() >= kMaxMaterialTextureSlots) {
        context.Error(node.id, "Texture parameter limit reached.");
        return;
    }
    const AssetHandle texture = HandleProperty(node, "default_texture");
    const std::uint32_t slot = AddTextureSlot(state, texture, node);
    state.parameters.push_back({name, kPinTexture2D, slot, {}, texture, Exposed(node)});
    SetTextureOutput(context, node, slot);
}

void EmitTextureSample(MaterialCompileContext& context, const MaterialGraphNode& node) {
    const auto texture = Input(context, node, "Texture", kPinTexture2D, "");
    const auto uv = Input(context, node, "UV", kPinVec2,
                          UvDefault(context, "ComputeSurfaceUv(inTexCoord * material.uvScaleAlphaCutoff.xy)"));
    if (!texture || !texture->isTexture) {
        context.Error(node.id, "Texture Sample node requires a texture input.");
        return;
    }
    if (!uv) return;
    const std::string v = OutputVariable(node.id, "sample");
    context.Statement(node, "vec4", v,
                      "texture(BRELK_MATERIAL_TEXTURE(" + std::to_string(texture->textureSlot) + "), " +
                          As(*uv, kPinVec2) + ")");
    SetStatementOutput(context, node, "Color", kPinColor, v);
}

void EmitSceneColor(MaterialCompileContext& context, const MaterialGraphNode& node) {
    if (context.domain == kDomainPostProcess) {
        SetOutput(context, node, "Color", kPinColor, "texture(sceneColorTexture, vUv)", false, {});
        return;
    }
    const auto offset = Input(context, node, "UV Offset", kPinVec2, "vec2(0.0)");
    context.state->usesSceneData = true;
    if (!offset) return;
    SetOutput(context, node, "Color", kPinColor,
              "texture(sceneColorSnapshot, BrelkScreenUv() + " + As(*offset, kPinVec2) + ")", false, {});
}

// The name a function's port goes by: the node's `name` when it has one pin of that side.
std::string PortName(const MaterialGraphNode& node, const MaterialGraphPin& pin, std::size_t pinsOnSide,
                     std::string_view singleDefault) {
    if (pinsOnSide == 1) return Property(node, "name", singleDefault);
    return pin.name.empty() ? "Value" : pin.name;
}

void EmitFunctionInput(MaterialCompileContext& context, const MaterialGraphNode& node) {
    for (const MaterialGraphPin& pin : node.outputs) {
        const std::string port = PortName(node, pin, node.outputs.size(), "Value");
        SetOutput(context, node, pin.name, pin.type, OutputVariable(node.id, "functionInput_" + port), false, {});
    }
}

void EmitFunctionOutput(MaterialCompileContext& context, const MaterialGraphNode& node) {
    if (context.domain != kDomainFunction) return;
    for (const MaterialGraphPin& pin : node.inputs) {
        if (!Input(context, node, pin.name, pin.type, ZeroLiteral(pin.type))) {
            context.Error(node.id, "Function Output requires a valid input value.");
        }
    }
}

void EmitFunctionCall(MaterialCompileContext& context, const MaterialGraphNode& node) {
    context.Error(node.id, "Function Call could not be expanded before shader generation.");
}

} // namespace

std::string Property(const MaterialGraphNode& node, std::string_view key, std::string_view fallback) {
    const auto found = node.properties.find(std::string(key));
    if (found != node.properties.end()) return found->second;
    if (const MaterialNodeDefinition* row = FindMaterialNode(node.type)) {
        for (const MaterialPropertyDefinition& property : row->properties) {
            if (property.key == key) return property.defaultValue;
        }
    }
    return std::string(fallback);
}

std::uint32_t Wider(std::uint32_t a, std::uint32_t b) noexcept {
    return MaterialPinComponents(b) > MaterialPinComponents(a) ? b : a;
}

void AddSourceEmitters(EmitterTable& table) {
    for (const FixedExpression& fixed : kFixedExpressions) table[fixed.type] = EmitFixed;
    for (std::uint32_t type = kNodeConstantBool; type <= kNodeConstantColor; ++type) table[type] = EmitConstant;
    for (std::uint32_t type = kNodeParameterFloat; type <= kNodeParameterColor; ++type) table[type] = EmitParameter;
    table[kNodeParameterTexture2D] = EmitTextureParameter;
    table[kNodeTexture2D] = EmitTexture;
    table[kNodeTextureSample2D] = EmitTextureSample;
    table[kNodeSceneColor] = EmitSceneColor;
    table[kNodeFunctionInput] = EmitFunctionInput;
    table[kNodeFunctionOutput] = EmitFunctionOutput;
    table[kNodeFunctionCall] = EmitFunctionCall;
}

} // namespace Brelk::Assets::detail
