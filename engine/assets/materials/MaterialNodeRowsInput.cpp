#include "engine/assets/materials/MaterialNodeRows.h"

namespace Brelk::Assets::detail {

// Outputs, function ports, constants, scene data, textures and parameters.
void AddInputRows(std::vector<MaterialNodeDefinition>& rows) {
    AddRow(rows, {kNodeMaterialOutput, "MaterialOutput", nullptr},
           {In("Base Color", kPinColor), In("Normal", kPinVec3), In("Roughness", kPinFloat), In("Metallic", kPinFloat),
            In("Emissive", kPinVec3), In("Ambient Occlusion", kPinFloat), In("Opacity", kPinFloat)});
    AddRow(rows, {kNodePostProcessOutput, "PostProcessOutput", "Output"}, {In("Color", kPinColor)});
    AddRow(rows, {kNodeFunctionInput, "FunctionInput", "Function", "Input", "Function Input", true},
           {Out("Value", kPinFloat)}, {{"name", "Value"}, {"value_type", "Float"}});
    AddRow(rows, {kNodeFunctionOutput, "FunctionOutput", "Function", nullptr, nullptr, true}, {In("Value", kPinFloat)},
           {{"name", "Result"}});

    constexpr const char* constants = "Input/Constants";
    AddRow(rows, {kNodeConstantBool, "ConstantBool", constants}, {Out("Value", kPinBool)}, {{"value", "0"}});
    AddRow(rows, {kNodeConstantInt, "ConstantInt", constants}, {Out("Value", kPinInt)}, {{"value", "0"}});
    AddRow(rows, {kNodeConstantFloat, "ConstantFloat", constants}, {Out("Value", kPinFloat)}, {{"value", "0.0"}});
    AddRow(rows, {kNodeConstantVec2, "ConstantVec2", constants}, {Out("Value", kPinVec2)}, {{"value", "0,0"}});
    AddRow(rows, {kNodeConstantVec3, "ConstantVec3", constants}, {Out("Value", kPinVec3)}, {{"value", "0,0,0,0"}});
    AddRow(rows, {kNodeConstantVec4, "ConstantVec4", constants}, {Out("Value", kPinVec4)}, {{"value", "0,0,0,0"}});
    AddRow(rows, {kNodeConstantColor, "ConstantColor", constants}, {Out("Value", kPinColor)}, {{"value", "1,1,1,1"}});

    AddRow(rows, {kNodeTexture2D, "Texture2D", "Texture/Sources"}, {Out("Texture", kPinTexture2D)},
           {{"asset", "0"}, {"color_space", "srgb"}});
    AddRow(rows, {kNodeTextureSample2D, "TextureSample2D", "Texture/Sampling", "Texture Sample", "Texture Sample"},
           {Required("Texture", kPinTexture2D), In("UV", kPinVec2), Out("Color", kPinColor)});

    constexpr const char* scene = "Input/Scene Data";
    AddRow(rows, {kNodeVertexNormal, "VertexNormal", scene}, {Out("Value", kPinVec3)});
    AddRow(rows, {kNodeNormal, "Normal", scene}, {Out("Value", kPinVec3)});
    AddRow(rows, {kNodeVertexUV, "VertexUV", scene}, {Out("Value", kPinVec2)});
    AddRow(rows, {kNodeVertexUV1, "VertexUV1", nullptr}, {Out("Value", kPinVec2)});
    AddRow(rows, {kNodeVertexColor, "VertexColor", scene}, {Out("Value", kPinColor)});
    AddRow(rows, {kNodeVertexPosition, "VertexPosition", nullptr}, {Out("Value", kPinVec3)});
    AddRow(rows, {kNodeObjectPosition, "ObjectPosition", scene}, {Out("Value", kPinVec3)});
    AddRow(rows, {kNodeWorldPosition, "WorldPosition", scene}, {Out("Value", kPinVec3)});
    AddRow(rows, {kNodeViewDirection, "ViewDirection", scene}, {Out("Value", kPinVec3)});
    AddRow(rows, {kNodeTangent, "Tangent", scene}, {Out("Value", kPinVec3)});
    AddRow(rows, {kNodeTextureCoordinate, "TextureCoordinate", scene}, {Out("Value", kPinVec2)});

    constexpr const char* utilityScene = "Utility/Scene";
    AddRow(rows, {kNodeTime, "Time", utilityScene}, {Out("Value", kPinFloat)});
    AddRow(rows, {kNodeCameraPosition, "CameraPosition", utilityScene}, {Out("Value", kPinVec3)});
    AddRow(rows, {kNodeCameraVector, "CameraVector", utilityScene}, {Out("Value", kPinVec3)});

    constexpr const char* post = "Input/Post Process";
    AddRow(rows, {kNodeScreenUV, "ScreenUV", post}, {Out("Value", kPinVec2)});
    AddRow(rows, {kNodeSceneColor, "SceneColor", post}, {In("UV Offset", kPinVec2), Out("Color", kPinColor)});
    AddRow(rows, {kNodeSceneDepth, "SceneDepth", post}, {Out("Depth", kPinFloat)});
    AddRow(rows, {kNodeResolution, "Resolution", post}, {Out("Value", kPinVec2)});

    const std::initializer_list<PropertySpec> vectorParameter{
        {"name", "Parameter"}, {"default", "1"}, {"exposed", "1"}};
    AddRow(rows, {kNodeParameterFloat, "ParameterFloat", "Parameter/Scalar", "Parameter", "Scalar Parameter"},
           {Out("Value", kPinFloat)}, vectorParameter);
    AddRow(rows, {kNodeParameterVec2, "ParameterVec2", "Parameter/Vector", "Parameter", "Vec2 Parameter"},
           {Out("Value", kPinVec2)}, vectorParameter);
    AddRow(rows, {kNodeParameterVec3, "ParameterVec3", "Parameter/Vector", "Parameter", "Vec3 Parameter"},
           {Out("Value", kPinVec3)}, vectorParameter);
    AddRow(rows, {kNodeParameterVec4, "ParameterVec4", "Parameter/Vector", "Parameter", "Vec4 Parameter"},
           {Out("Value", kPinVec4)}, vectorParameter);
    AddRow(rows, {kNodeParameterColor, "ParameterColor", "Parameter/Vector", "Parameter", "Color Parameter"},
           {Out("Value", kPinColor)}, {{"name", "Parameter"}, {"default", "1,1,1,1"}, {"exposed", "1"}});
    AddRow(
        rows,
        {kNodeParameterTexture2D, "ParameterTexture2D", "Parameter/Texture", "Texture Parameter", "Texture Parameter"},
        {Out("Texture", kPinTexture2D)},
        {{"name", "Texture"}, {"color_space", "srgb"}, {"default_texture", "0"}, {"exposed", "1"}});
}

} // namespace Brelk::Assets::detail
