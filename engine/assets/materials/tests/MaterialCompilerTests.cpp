#include "engine/assets/materials/MaterialCompiler.h"

#include "engine/assets/materials/MaterialDefaults.h"
#include "engine/assets/materials/MaterialExpression.h"
#include "engine/assets/materials/MaterialNodeCatalogue.h"
#include "engine/assets/materials/MaterialText.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/core/Hash.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <unordered_map>

namespace Brelk::Assets {
namespace {

// Builds graphs node by node with the catalogue's pins, and links them by pin name.
class GraphBuilder {
public:
    explicit GraphBuilder(std::uint32_t domain = kDomainSurface) { graph_.domain = domain; }

    std::uint64_t Add(std::uint32_t type, std::unordered_map<std::string, std::string> properties = {}) {
        MaterialGraphNode* node = AddMaterialNode(graph_, type, 0.0f, 0.0f);
        for (auto& [key, value] : properties) node->properties[key] = value;
        return node->id;
    }

    MaterialGraphNode& Node(std::uint64_t id) {
        for (MaterialGraphNode& node : graph_.nodes) {
            if (node.id == id) return node;
        }
        throw std::out_of_range("no node");
    }

    std::uint64_t AddPin(std::uint64_t node, std::uint32_t direction, std::uint32_t type, std::string name) {
        const std::uint64_t id = graph_.nextId++;
        (direction == kPinInput ? Node(node).inputs : Node(node).outputs)
            .push_back({id, direction, type, std::move(name), true, false});
        return id;
    }

    std::uint64_t Pin(std::uint64_t node, std::string_view name, std::uint32_t direction) {
        for (const MaterialGraphPin& pin : direction == kPinInput ? Node(node).inputs : Node(node).outputs) {
            if (pin.name == name) return pin.id;
        }
        throw std::out_of_range("no pin " + std::string(name));
    }

    void Link(std::uint64_t from, std::string_view output, std::uint64_t to, std::string_view input) {
        graph_.links.push_back({graph_.nextId++, Pin(from, output, kPinOutput), Pin(to, input, kPinInput)});
    }

    MaterialGraph& Graph() { return graph_; }

    MaterialCompiledState Compile(const MaterialGraphResolver* resolver = nullptr) {
        return CompileMaterialGraph(graph_, {7, "Rock", "/shaders"}, resolver, false, false, false);
    }

private:
    MaterialGraph graph_;
};

std::vector<std::string> Messages(const MaterialCompiledState& state) {
    std::vector<std::string> messages;
    for (const MaterialDiagnostic& d : state.diagnostics) {
        messages.push_back((d.severity == kMaterialError ? "E" : "W") + std::to_string(d.node) + " " + d.message);
    }
    return messages;
}

std::string Statements(const MaterialCompiledState& state) {
    std::string text;
    for (const MaterialStatement& s : state.statements) text += s.type + " " + s.name + " = " + s.value + ";\n";
    return text;
}

// The line of the fragment text that starts with `prefix` after its indentation.
std::string Line(const MaterialCompiledState& state, std::string_view prefix) {
    const std::size_t at = state.fragmentSource.find("    " + std::string(prefix));
    if (at == std::string::npos) return "<none>";
    return state.fragmentSource.substr(at + 4, state.fragmentSource.find('\n', at) - at - 4);
}

const std::filesystem::path kData =
    std::filesystem::path(BRELK_TEST_DATA_DIR).parent_path().parent_path() / "materials" / "tests" / "data";

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

// All that a compile hands over but the shader's name, whose hash follows the template files.
std::string Dump(std::string_view title, const MaterialCompiledState& state, bool sources = true) {
    std::string text = "== " + std::string(title) + ": template " + std::to_string(state.templateIndex) +
                       " variant " + std::to_string(state.variant) + (state.succeeded ? "" : " failed") +
                       (state.translucent ? " translucent" : "") + (state.hasNormalInput ? " normal-input" : "") +
                       " textures " + std::to_string(state.textures.size()) + "\n";
    for (const std::string& message : Messages(state)) text += "! " + message + "\n";
    for (const MaterialParameter& p : state.parameters) {
        text += "parameter " + p.name + " type " + std::to_string(p.type) + " slot " + std::to_string(p.slot) + " = " +
                FormatMaterialVector(p.defaultValue) + (p.exposed ? "\n" : " hidden\n");
    }
    return sources ? text + "-- vertex\n" + state.vertexSource + "-- fragment\n" + state.fragmentSource : text;
}

TEST(MaterialCompilerTest, CompilesEachDomainsDefaultGraphAsTheGoldenFileHolds) {
    const MaterialCompileInput input{1, "Rock", "/shaders"};
    const auto compile = [&](const MaterialGraph& graph, bool masked) {
        return CompileMaterialGraph(graph, input, nullptr, masked, masked, false);
    };
    const MaterialCompiledState surface = compile(MakeDefaultSurfaceGraph(), false);
    const MaterialCompiledState masked = compile(MakeDefaultSurfaceGraph(), true);
    const MaterialCompiledState function = compile(MakeDefaultFunctionGraph(), false);
    Brelk::Testing::ExpectGoldenText(kData / "CompiledDefaultGraphs.txt",
                                     Dump("surface", surface) + Dump("alpha-masked surface", masked, false) +
                                         Dump("post process", compile(MakeDefaultPostProcessGraph(), false)) +
                                         Dump("function", function));
    // The name keys the compiled files on disk: its formula is pinned, whatever the templates hold.
    const std::string head = "brelk_material_shader_c03|" + std::to_string(surface.templateStamp) + "|";
    const std::uint64_t hash =
        Core::Fnv1a64(surface.vertexSource, Core::Fnv1a64(surface.fragmentSource, Core::Fnv1a64(head)));
    EXPECT_EQ(surface.shaderName, "Rock_" + std::to_string(hash));
    EXPECT_EQ(surface.fragmentSpirvPath, std::filesystem::path("/shaders") / (surface.shaderName + ".frag.spv"));
    EXPECT_TRUE(surface.shadowFragmentPath.empty());
    EXPECT_NE(masked.fragmentSource.find("#define BRELK_ALPHA_TEST\n#include"), std::string::npos);
    EXPECT_NE(masked.shaderName, surface.shaderName);
    EXPECT_EQ(masked.shadowFragmentSpirvPath,
              std::filesystem::path("/shaders") / (masked.shaderName + ".shadow.frag.spv"));
    EXPECT_EQ(function.shaderName, "Rock_function");
}

// What every node writes is pinned beside the node catalogue's golden file.
TEST(MaterialCompilerTest, EmitsEachNodesStatementAndOutputAsTheCaseFileHolds) {
    Brelk::Testing::ExpectTextCases(kData / "MaterialNodeEmission.txt", [](const Brelk::Testing::TextCase& c) {
        std::istringstream words(c.input);
        std::string word;
        words >> word;
        const std::size_t dot = word.find('.');
        const MaterialNodeDefinition* row = FindMaterialNode(word.substr(0, dot));
        if (!row) return "no node " + word;
        GraphBuilder graph;
        const std::uint64_t node = graph.Add(row->type);
        for (std::string item; words >> item;) {
            if (item == "<-" && words >> item) graph.Link(graph.Add(kNodeTime), "Value", node, item.substr(5));
            else graph.Node(node).properties[item.substr(0, item.find('='))] = item.substr(item.find('=') + 1);
        }
        graph.Link(node, word.substr(dot + 1), graph.Add(kNodeMaterialOutput), "Base Color");
        const MaterialCompiledState state = graph.Compile();
        return Joined(Messages(state)) + Statements(state) + Line(state, "vec4 surfaceBaseColor");
    });
}

TEST(MaterialCompilerTest, CustomCodeBecomesAHelperFunctionOfItsInputs) {
    GraphBuilder graph;
    const std::uint64_t custom = graph.Add(kNodeCustomCode, {{"code", "result = $0 * $1;"}, {"output_type", "Vec3"}});
    graph.AddPin(custom, kPinInput, kPinFloat, "B");
    graph.Node(custom).outputs[0].type = kPinVec3;
    graph.Link(graph.Add(kNodeTime), "Value", custom, "B");
    graph.Link(custom, "Value", graph.Add(kNodeMaterialOutput), "Emissive");
    const MaterialCompiledState state = graph.Compile();
    ASSERT_TRUE(state.succeeded);
    EXPECT_NE(
        state.fragmentSource.find("\n\nvec3 CustomNode_1(vec4 arg0, float arg1)\n{\n    vec3 result = vec3(0.0);\n"
                                  "    result = arg0 * arg1;\n    return result;\n}\n\nBrelkSurface"),
        std::string::npos)
        << state.fragmentSource;
    EXPECT_EQ(Statements(state), "vec3 node_1_custom = CustomNode_1(vec4(0.0), frame.timeData.x);\n");
}

TEST(MaterialCompilerTest, NodesOutsideTheirDomainsAndBrokenNodesGiveTheirErrors) {
    Brelk::Testing::ExpectTextCases(kData / "MisplacedAndBrokenNodes.txt", [](const Brelk::Testing::TextCase& c) {
        std::istringstream words(c.input);
        std::string domain, type, property;
        words >> domain >> type;
        std::getline(words >> std::ws, property);
        const bool post = domain == "PostProcess";
        const MaterialNodeDefinition* row = FindMaterialNode(type);
        if (!row) return "no node " + type;
        GraphBuilder graph(post ? kDomainPostProcess : kDomainSurface);
        const std::uint64_t node = graph.Add(row->type);
        if (!property.empty())
            graph.Node(node).properties[property.substr(0, property.find('='))] = property.substr(property.find('=') + 1);
        const std::uint64_t output = graph.Add(post ? kNodePostProcessOutput : kNodeMaterialOutput);
        graph.Graph().links.push_back({99, graph.Node(node).outputs[0].id, graph.Node(output).inputs[0].id});
        const MaterialCompiledState state = graph.Compile();
        return Joined(Messages(state)) + (state.succeeded ? "(compiled)" : "");
    });
}

TEST(MaterialCompilerTest, ChecksTheGraphsShapeBeforeEmitting) {
    for (const auto& [domain, output] : {std::pair{0u, "Material"}, {1u, "Function"}, {2u, "Post Process"}}) {
        EXPECT_EQ(Messages(GraphBuilder(domain).Compile()),
                  std::vector<std::string>{"E0 Graph is missing a " + std::string(output) + " Output node."});
    }

    GraphBuilder cycle;
    const std::uint64_t a = cycle.Add(kNodeSaturate);
    const std::uint64_t output = cycle.Add(kNodeMaterialOutput);
    cycle.Link(a, "Result", a, "Value");
    cycle.Link(a, "Result", output, "Roughness");
    cycle.Link(a, "Result", output, "Roughness");
    cycle.Graph().links.push_back({90, cycle.Pin(output, "Opacity", kPinInput), cycle.Pin(a, "Value", kPinInput)});
    EXPECT_EQ(Messages(cycle.Compile()),
              (std::vector<std::string>{"W1 Link 12 connects a node to itself.",
                                        "W4 Input pin 7 has more than one link; the last one is used.",
                                        "W1 Link 90 does not run from an output to an input.",
                                        "E0 Material graph contains a cycle. Only DAG graphs can compile."}));

    GraphBuilder extra;
    const std::uint64_t lerp = extra.Add(kNodeLerp);
    const std::uint64_t out = extra.Add(kNodeMaterialOutput);
    extra.AddPin(out, kPinInput, kPinVec3, "Sheen");
    extra.Link(lerp, "Result", out, "Sheen");
    extra.Add(kNodeTime);
    const MaterialCompiledState state = extra.Compile();
    EXPECT_TRUE(state.succeeded);
    EXPECT_EQ(Messages(state),
              std::vector<std::string>{"W6 'Material Output' has no input named 'Sheen'; its link is ignored."});
    EXPECT_EQ(state.removedDead, 1u);
    EXPECT_TRUE(state.statements.empty());
}

TEST(MaterialCompilerTest, SharesParameterSlotsByNameAndStopsAtTheLimits) {
    GraphBuilder graph;
    const std::uint64_t add = graph.Add(kNodeAdd);
    graph.Node(add).inputs.clear();
    for (int i = 0; i < 34; ++i) {
        const std::uint64_t pin = graph.AddPin(add, kPinInput, kPinFloat, "In" + std::to_string(i));
        const std::uint64_t parameter =
            graph.Add(kNodeParameterFloat, {{"name", i == 33 ? "P0" : "P" + std::to_string(i)}});
        graph.Graph().links.push_back({graph.Graph().nextId++, graph.Node(parameter).outputs[0].id, pin});
    }
    graph.Link(add, "Result", graph.Add(kNodeMaterialOutput), "Metallic");
    MaterialCompiledState state = graph.Compile();
    EXPECT_FALSE(state.succeeded);
    EXPECT_EQ(state.parameters.size(), 32u);
    const MaterialGraphNode& last = graph.Graph().nodes[33];
    EXPECT_EQ(Messages(state),
              std::vector<std::string>{"E" + std::to_string(last.id) + " Vector parameter limit reached."});

    for (const bool parameterLast : {true, false}) {
        GraphBuilder textures;
        const std::uint64_t custom = textures.Add(kNodeCustomCode);
        textures.Node(custom).inputs.clear();
        std::uint64_t fifteenth = 0;
        for (int i = 0; i < 15; ++i) {
            const std::uint64_t pin = textures.AddPin(custom, kPinInput, kPinTexture2D, "T" + std::to_string(i));
            const bool parameter = (i % 2 == 0) == parameterLast;
            fifteenth = textures.Add(parameter ? kNodeParameterTexture2D : kNodeTexture2D,
                                     {{"name", "Tex" + std::to_string(i)}});
            textures.Graph().links.push_back({textures.Graph().nextId++, textures.Node(fifteenth).outputs[0].id, pin});
        }
        textures.Link(custom, "Value", textures.Add(kNodeMaterialOutput), "Metallic");
        state = textures.Compile();
        EXPECT_EQ(state.textures.size(), 14u);
        EXPECT_EQ(Messages(state), std::vector<std::string>{"E" + std::to_string(fifteenth) +
                                                            (parameterLast ? " Texture parameter limit reached."
                                                                           : " Texture binding limit reached.")});
    }
}

TEST(MaterialCompilerTest, RefusesTexturesAsNumbersAndOutputsThatNothingSet) {
    GraphBuilder mismatch;
    const std::uint64_t lerp = mismatch.Add(kNodeLerp);
    mismatch.Link(mismatch.Add(kNodeTexture2D), "Texture", lerp, "A");
    mismatch.Link(lerp, "Result", mismatch.Add(kNodeMaterialOutput), "Metallic");
    EXPECT_EQ(Messages(mismatch.Compile()), std::vector<std::string>{"E1 Type mismatch on pin 'A'."});

    GraphBuilder silent;
    const std::uint64_t unknown = silent.Add(kNodeTime);
    silent.Node(unknown).type = 200;
    silent.Link(unknown, "Value", silent.Add(kNodeMaterialOutput), "Metallic");
    EXPECT_EQ(Messages(silent.Compile()), std::vector<std::string>{"E0 Failed to build fragment shader source."});
}

TEST(MaterialCompilerTest, FoldsConstantsRemovesRepeatsAndTreatsLinkedOpacityAsTranslucent) {
    GraphBuilder graph;
    const std::uint64_t divide = graph.Add(kNodeDivide);
    const std::uint64_t one = graph.Add(kNodeConstantFloat, {{"value", "1"}});
    const std::uint64_t four = graph.Add(kNodeConstantFloat, {{"value", "4"}});
    const std::uint64_t first = graph.Add(kNodeLerp);
    const std::uint64_t second = graph.Add(kNodeLerp);
    const std::uint64_t add = graph.Add(kNodeAdd);
    graph.Node(add).inputs[0].type = kPinVec3;
    graph.Node(add).inputs[1].type = kPinVec3;
    const std::uint64_t output = graph.Add(kNodeMaterialOutput);
    graph.Link(one, "Value", divide, "A");
    graph.Link(four, "Value", divide, "B");
    graph.Link(divide, "Result", output, "Roughness");
    graph.Link(first, "Result", add, "A");
    graph.Link(second, "Result", add, "B");
    graph.Link(add, "Result", output, "Emissive");
    graph.Link(graph.Add(kNodeConstantFloat, {{"value", "1"}}), "Value", output, "Opacity");
    const MaterialCompiledState state = graph.Compile();
    ASSERT_TRUE(state.succeeded) << testing::PrintToString(Messages(state));
    EXPECT_EQ(Line(state, "surface.roughness"), "surface.roughness = clamp(0.25, 0.045, 1.0);");
    EXPECT_EQ(state.foldedNodes, 1u);
    EXPECT_EQ(state.removedRepeats, 1u);
    EXPECT_EQ(Statements(state), "vec3 node_9_lerp = mix(vec3(0.0), vec3(1.0), 0.5);\n"
                                 "vec3 node_19_result = (node_9_lerp + node_9_lerp);\n");
    EXPECT_TRUE(state.translucent);
}

// Material functions by handle, as the asset manager gives them.
class FunctionTable : public MaterialGraphResolver {
public:
    const MaterialAsset* ResolveMaterial(AssetHandle handle) const override {
        const auto found = materials.find(handle);
        return found == materials.end() ? nullptr : &found->second;
    }
    std::unordered_map<AssetHandle, MaterialAsset> materials;
};

TEST(MaterialCompilerTest, InlinesFunctionCallsWithFreshIdsAndRefusesBadCalls) {
    FunctionTable functions;
    GraphBuilder body(kDomainFunction);
    const std::uint64_t input = body.Add(kNodeFunctionInput, {{"name", "X"}});
    const std::uint64_t multiply = body.Add(kNodeMultiply);
    const std::uint64_t two = body.Add(kNodeConstantFloat, {{"value", "2"}});
    const std::uint64_t result = body.Add(kNodeFunctionOutput, {{"name", "Doubled"}});
    body.Link(input, "Value", multiply, "A");
    body.Link(two, "Value", multiply, "B");
    body.Link(multiply, "Result", result, "Value");
    functions.materials[50].graph = body.Graph();
    functions.materials[60].graph.domain = kDomainSurface;

    GraphBuilder caller;
    const std::uint64_t time = caller.Add(kNodeTime);
    const std::uint64_t call = caller.Add(kNodeFunctionCall, {{"asset", "50"}});
    caller.AddPin(call, kPinInput, kPinFloat, "X");
    caller.AddPin(call, kPinOutput, kPinFloat, "Doubled");
    caller.Link(time, "Value", call, "X");
    caller.Link(call, "Doubled", caller.Add(kNodeMaterialOutput), "Metallic");
    const MaterialCompiledState state = caller.Compile(&functions);
    ASSERT_TRUE(state.succeeded) << testing::PrintToString(Messages(state));
    // The caller's ids end at 15, so the multiply takes 16 and its pins 17 to 19.
    EXPECT_EQ(Statements(state), "float node_16_result = (frame.timeData.x * 2.0000);\n");

    const struct {
        std::string asset;
        const MaterialGraphResolver* resolver;
        const char* message;
    } table[] = {
        {"50", nullptr, "Function Call requires a material graph resolver."},
        {"0", &functions, "Function Call is missing a material function asset."},
        {"60", &functions, "Function Call asset is missing or is not a material function."},
        {"61", &functions, "Function Call asset is missing or is not a material function."},
    };
    for (const auto& row : table) {
        caller.Node(call).properties["asset"] = row.asset;
        // The dropped call leaves its links dangling, and the link checks say so.
        EXPECT_EQ(Messages(caller.Compile(row.resolver)),
                  (std::vector<std::string>{"E3 " + std::string(row.message),
                                            "W0 Link 6 does not run from an output to an input.",
                                            "W7 Link 15 does not run from an output to an input."}));
    }

    GraphBuilder recursive(kDomainFunction);
    const std::uint64_t inner = recursive.Add(kNodeFunctionCall, {{"asset", "70"}});
    recursive.AddPin(inner, kPinOutput, kPinFloat, "Result");
    recursive.Link(inner, "Result", recursive.Add(kNodeFunctionOutput), "Value");
    functions.materials[70].graph = recursive.Graph();
    caller.Node(call).properties["asset"] = "70";
    EXPECT_EQ(Messages(caller.Compile(&functions)),
              (std::vector<std::string>{"E1 Material function recursion is not allowed.",
                                        "W7 Link 15 does not run from an output to an input."}));
}

TEST(MaterialExpressionTest, ConvertsBetweenEveryKindOfType) {
    Brelk::Testing::ExpectTextCases(kData / "TypeConversions.txt", [](const Brelk::Testing::TextCase& c) {
        std::istringstream words(c.input);
        std::string from, to, constant;
        words >> from >> to >> constant;
        std::uint32_t fromType = 0, toType = 0;
        if (!MaterialPinTypeFromWord(from, &fromType) || !MaterialPinTypeFromWord(to, &toType)) return std::string("bad case");
        if (constant.empty()) return ConvertExpression("x", fromType, toType);
        return FormatMaterialVector(ConvertConstant(ParseMaterialVector(constant, {}), fromType, toType));
    });
}

TEST(MaterialExpressionTest, WritesBothLiteralFormsAndNamesOutputs) {
    EXPECT_EQ(FixedLiteral({0.65f, 0, 0, 0}, kPinFloat), "0.6500");
    EXPECT_EQ(FixedLiteral({2.6f, 0, 0, 0}, kPinInt), "3");
    EXPECT_EQ(FoldedLiteral({1, 0.5f, 1e20f, 0}, kPinVec3), "vec3(1.0, 0.5, 1e+20)");
    EXPECT_EQ(FoldedLiteral({0.1f, 0, 0, 0}, kPinFloat), "0.1");
    EXPECT_EQ(OutputVariable(5, "functionInput_Base Color"), "node_5_functionInput_Base_Color");
    EXPECT_EQ(OutputVariable(5, ""), "node_5_value");
    for (const char* plain : {"vec4(1.0)", "vec3(0.0, -1.0, 0.0)", "0.65", "true", "", "int(2)", "1e-05"})
        EXPECT_TRUE(IsPlainLiteral(plain)) << plain;
    for (const char* not_plain : {"normalize(inWorldNormal)", "vUv", "vec4(1.0) * 2.0", "vec4x(1)"})
        EXPECT_FALSE(IsPlainLiteral(not_plain)) << not_plain;
}

} // namespace
} // namespace Brelk::Assets
