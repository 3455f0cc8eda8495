#include "engine/assets/materials/MaterialDefaults.h"

#include "engine/assets/materials/MaterialNodeCatalogue.h"

#include <initializer_list>
#include <utility>

namespace Brelk::Assets {
namespace {

using Properties = std::initializer_list<std::pair<const char*, const char*>>;

MaterialGraphNode& Add(MaterialGraph& graph, std::uint32_t type, const char* title, float x, float y,
                       Properties properties) {
    MaterialGraphNode& node = *AddMaterialNode(graph, type, x, y);
    node.title = title;
    node.properties.clear();
    for (const auto& [key, value] : properties) node.properties[key] = value;
    return node;
}

void Link(MaterialGraph& graph, std::uint64_t fromPin, std::uint64_t toPin) {
    graph.links.push_back({graph.nextId++, fromPin, toPin});
}

std::uint64_t InputNamed(const MaterialGraphNode& node, std::string_view name) {
    for (const MaterialGraphPin& pin : node.inputs) {
        if (pin.name == name) return pin.id;
    }
    return 0;
}

} // namespace

MaterialGraph MakeDefaultSurfaceGraph() {
    MaterialGraph graph;
    graph.domain = kDomainSurface;
    const std::uint64_t baseColor =
        Add(graph, kNodeParameterColor, "Base Color", -340.0f, -50.0f, {{"name", "BaseColor"}, {"default", "1,1,1,1"}})
            .outputs[0]
            .id;
    const std::uint64_t roughness = Add(graph, kNodeParameterFloat, "Roughness", -340.0f, 80.0f,
                                        {{"name", "Roughness"}, {"default", "0.65,0.65,0.65,0.65"}})
                                        .outputs[0]
                                        .id;
    const std::uint64_t metallic =
        Add(graph, kNodeParameterFloat, "Metallic", -340.0f, 180.0f, {{"name", "Metallic"}, {"default", "0,0,0,0"}})
            .outputs[0]
            .id;
    const MaterialGraphNode& output = Add(graph, kNodeMaterialOutput, "Material Output", 70.0f, 20.0f, {});
    const std::uint64_t baseColorInput = InputNamed(output, "Base Color");
    const std::uint64_t roughnessInput = InputNamed(output, "Roughness");
    const std::uint64_t metallicInput = InputNamed(output, "Metallic");
    Link(graph, baseColor, baseColorInput);
    Link(graph, roughness, roughnessInput);
    Link(graph, metallic, metallicInput);
    return graph;
}

MaterialGraph MakeDefaultFunctionGraph() {
    MaterialGraph graph;
    graph.domain = kDomainFunction;
    const std::uint64_t input =
        Add(graph, kNodeFunctionInput, "Input", -240.0f, 20.0f, {{"name", "Value"}, {"value_type", "Float"}})
            .outputs[0]
            .id;
    const std::uint64_t output =
        Add(graph, kNodeFunctionOutput, "Function Output", 70.0f, 20.0f, {{"name", "Result"}}).inputs[0].id;
    Link(graph, input, output);
    return graph;
}

MaterialGraph MakeDefaultPostProcessGraph() {
    MaterialGraph graph;
    graph.domain = kDomainPostProcess;
    // The scene colour of a post process reads at the pixel itself: no offset input.
    MaterialGraphNode& sceneColor = graph.nodes.emplace_back();
    sceneColor.id = graph.nextId++;
    sceneColor.type = kNodeSceneColor;
    sceneColor.title = "Scene Color";
    sceneColor.x = -240.0f;
    sceneColor.y = 20.0f;
    sceneColor.outputs.push_back({graph.nextId++, kPinOutput, kPinColor, "Color", false, false});
    const std::uint64_t color = sceneColor.outputs[0].id;
    const std::uint64_t output =
        Add(graph, kNodePostProcessOutput, "Post Process Output", 70.0f, 20.0f, {}).inputs[0].id;
    Link(graph, color, output);
    return graph;
}

MaterialGraph MakeDefaultGraph(std::uint32_t domain) {
    switch (domain) {
    case kDomainFunction: return MakeDefaultFunctionGraph();
    case kDomainPostProcess: return MakeDefaultPostProcessGraph();
    default: return MakeDefaultSurfaceGraph();
    }
}

MaterialAsset MakeDefaultMaterial(const BuiltinAssetHandles& builtins) {
    MaterialAsset material;
    material.roughness = 0.65f;
    material.albedoTexture = builtins.white;
    material.normalTexture = builtins.flatNormal;
    material.metallicTexture = builtins.white;
    material.roughnessTexture = builtins.white;
    material.aoTexture = builtins.white;
    material.emissiveTexture = builtins.black;
    material.heightTexture = builtins.black;
    return material;
}

} // namespace Brelk::Assets
