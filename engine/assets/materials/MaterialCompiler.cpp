#include "engine/assets/materials/MaterialCompiler.h"

#include "engine/assets/materials/MaterialEmit.h"
#include "engine/assets/shaders/MaterialTemplates.h"
#include "engine/assets/shaders/ShaderSource.h"
#include "engine/assets/shaders/ShaderStamps.h"
#include "engine/core/Hash.h"
#include "engine/core/NumberText.h"

#include <algorithm>
#include <set>

namespace Brelk::Assets {
namespace {

bool IsResource(std::uint32_t type) {
    return type == kPinTexture2D || type == kPinSampler || type == kPinMatrix4;
}

struct SurfaceInput {
    const char* name;
    std::uint32_t type;
    const char* defaultExpression;
};

constexpr SurfaceInput kSurfaceInputs[] = {
    {"Base Color", kPinColor, "vec4(1.0)"}, {"Normal", kPinVec3, "normalize(inWorldNormal)"},
    {"Roughness", kPinFloat, "0.65"},       {"Metallic", kPinFloat, "0.0"},
    {"Emissive", kPinVec3, "vec3(0.0)"},    {"Ambient Occlusion", kPinFloat, "1.0"},
    {"Opacity", kPinFloat, "1.0"},
};

const MaterialGraphPin* FindPin(const std::vector<MaterialGraphPin>& pins, std::string_view name) {
    for (const MaterialGraphPin& pin : pins) {
        if (pin.name == name) return &pin;
    }
    return nullptr;
}

// Splits "<type> <name> = <value>;" back into its parts.
bool SplitStatement(const std::string& line, std::uint64_t node, MaterialStatement* statement) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string::npos || blank == 0 || !line.ends_with(";")) return false;
    const std::size_t equals = line.find(" = ", blank + 1);
    if (equals == std::string::npos || equals == blank + 1) return false;
    statement->node = node;
    statement->type = line.substr(0, blank);
    statement->name = line.substr(blank + 1, equals - blank - 1);
    statement->value = line.substr(equals + 3, line.size() - equals - 4);
    return true;
}

std::string E(const MaterialValue& value, std::uint32_t type) {
    return ConvertExpression(value.expression, value.type, type);
}

// The fragment code of a surface or post process; false when an input came back empty.
bool BuildFragment(MaterialCompileContext& context, const MaterialGraphNode& output,
                   const std::vector<const MaterialGraphNode*>& order, std::vector<std::string>& tail) {
    MaterialCompiledState& state = *context.state;
    if (context.domain == kDomainPostProcess) {
        const auto color =
            ReadInput(context, output, "Color", kPinColor, "texture(sceneColorTexture, vUv)", {0.0f, 0.0f, 0.0f, 0.0f});
        if (!color) return false;
        tail.push_back("return " + E(*color, kPinColor) + ";");
        state.templateIndex = kTemplatePostProcess;
        state.variant = 0;
        return true;
    }
    std::optional<MaterialValue> values[std::size(kSurfaceInputs)];
    for (std::size_t i = 0; i < std::size(kSurfaceInputs); ++i) {
        const SurfaceInput& input = kSurfaceInputs[i];
        values[i] = ReadInput(context, output, input.name, input.type, input.defaultExpression);
    }
    for (const auto& value : values) {
        if (!value) return false;
    }
    const MaterialValue& baseColor = *values[0];
    const MaterialValue& normal = *values[1];
    const MaterialValue& opacity = *values[6];
    state.hasNormalInput = normal.type == kPinVec3 || normal.type == kPinVec4 || normal.type == kPinColor;

    const MaterialGraphPin* opacityPin = FindPin(output.inputs, "Opacity");
    const bool opacityLinked = opacityPin && context.inputLinks.contains(opacityPin->id);
    // A linked opacity may vary at run time whatever it is linked to.
    if (!state.alphaMasked && (opacityLinked || !opacity.isConstant || opacity.constant[0] < 0.999f)) {
        state.translucent = true;
    }

    const std::uint32_t alphaBit = state.alphaMasked ? kVariantAlphaTest : 0;
    if (state.isDecal) {
        state.templateIndex = kTemplateDecal;
        state.variant = kVariantObjectRows | kVariantDecal | kVariantSkinning | alphaBit;
    } else {
        const bool particle = std::any_of(order.begin(), order.end(), [](const MaterialGraphNode* node) {
            return node->type == kNodeParticleData || node->type == kNodeParticleCustom;
        });
        state.templateIndex = state.isVolume || particle ? kTemplateParticle : kTemplateSurface;
        state.variant = kVariantSkinning | alphaBit | (state.isVolume ? kVariantObjectRows : 0);
    }

    tail.push_back("BrelkSurface surface = BrelkDefaultSurface();");
    tail.push_back("surface.uv = ComputeSurfaceUv(inTexCoord * material.uvScaleAlphaCutoff.xy);");
    tail.push_back("vec4 surfaceBaseColor = " + E(baseColor, kPinColor) + ";");
    tail.push_back("surface.baseColor = surfaceBaseColor.rgb;");
    tail.push_back("surface.previewTint = surfaceBaseColor.rgb;");
    tail.push_back("surface.alpha = clamp(surfaceBaseColor.a * clamp(" + E(opacity, kPinFloat) +
                   ", 0.0, 1.0), 0.0, 1.0);");
    tail.push_back("#ifndef BRELK_SHADOW_PASS");
    tail.push_back(state.hasNormalInput ? "surface.normal = normalize(" + E(normal, kPinVec3) + ");"
                                        : "surface.normal = ComputeMaterialNormal(surface.uv);");
    tail.push_back("surface.roughness = clamp(" + E(*values[2], kPinFloat) + ", 0.045, 1.0);");
    tail.push_back("surface.metallic = clamp(" + E(*values[3], kPinFloat) + ", 0.0, 1.0);");
    tail.push_back("surface.emissive = (" + E(*values[4], kPinVec3) +
                   " + material.emissiveFactor.rgb) * material.emissiveFactor.a;");
    tail.push_back("surface.ambientOcclusion = clamp(" + E(*values[5], kPinFloat) + ", 0.0, 1.0);");
    tail.push_back("#endif");
    tail.push_back("return surface;");
    return true;
}

std::uint32_t OutputNodeType(std::uint32_t domain) {
    return domain == kDomainPostProcess ? kNodePostProcessOutput
           : domain == kDomainFunction  ? kNodeFunctionOutput
                                        : kNodeMaterialOutput;
}

const char* MissingOutputMessage(std::uint32_t domain) {
    return domain == kDomainPostProcess ? "Graph is missing a Post Process Output node."
           : domain == kDomainFunction  ? "Graph is missing a Function Output node."
                                        : "Graph is missing a Material Output node.";
}

void CheckLinks(MaterialCompileContext& context) {
    std::unordered_map<std::uint64_t, bool, IdHash> seenInputs;
    for (const MaterialGraphLink& link : context.graph->links) {
        const auto from = context.pins.find(link.fromPin);
        const auto to = context.pins.find(link.toPin);
        if (from != context.pins.end() && to != context.pins.end() && from->second.direction == kPinOutput &&
            to->second.direction == kPinInput) {
            if (from->second.node == to->second.node) {
                context.Warning(to->second.node, "Link " + std::to_string(link.id) + " connects a node to itself.");
            }
            if (!seenInputs.emplace(link.toPin, true).second) {
                context.Warning(to->second.node, "Input pin " + std::to_string(link.toPin) +
                                                     " has more than one link; the last one is used.");
            }
            continue;
        }
        const std::uint64_t node = to != context.pins.end() ? to->second.node : 0;
        context.Warning(node, "Link " + std::to_string(link.id) + " does not run from an output to an input.");
    }
    for (const MaterialGraphNode& node : context.graph->nodes) {
        for (const std::string& name : UnknownInputPins(node)) {
            const MaterialGraphPin* pin = FindPin(node.inputs, name);
            if (pin && context.inputLinks.contains(pin->id)) {
                context.Warning(node.id,
                                "'" + node.title + "' has no input named '" + name + "'; its link is ignored.");
            }
        }
    }
}

} // namespace

const MaterialDiagnostic* MaterialCompiledState::FirstError() const {
    for (const MaterialDiagnostic& diagnostic : diagnostics) {
        if (diagnostic.severity == kMaterialError) return &diagnostic;
    }
    return nullptr;
}

void MaterialCompileContext::Error(std::uint64_t node, std::string message) {
    state->diagnostics.push_back({kMaterialError, node, std::move(message)});
}

void MaterialCompileContext::Warning(std::uint64_t node, std::string message) {
    state->diagnostics.push_back({kMaterialWarning, node, std::move(message)});
}

void MaterialCompileContext::Statement(const MaterialGraphNode& node, std::string_view type, std::string_view name,
                                       std::string_view value) {
    std::string line;
    line.reserve(type.size() + name.size() + value.size() + 5);
    line.append(type).append(" ").append(name).append(" = ").append(value).append(";");
    statementLines.push_back(std::move(line));
    statementNodes.push_back(node.id);
}

const MaterialNodeEmitter* MaterialNodeEmitters() {
    static const detail::EmitterTable table = [] {
        detail::EmitterTable made{};
        detail::AddSourceEmitters(made);
        detail::AddMathEmitters(made);
        detail::AddEffectEmitters(made);
        return made;
    }();
    return table.data();
}

std::optional<MaterialValue> ReadInput(MaterialCompileContext& context, const MaterialGraphNode& node,
                                       std::string_view pinName, std::uint32_t type,
                                       std::string_view defaultExpression) {
    return ReadInput(context, node, pinName, type, defaultExpression,
                     IsPlainLiteral(defaultExpression) ? LiteralValue(defaultExpression) : std::array<float, 4>{});
}

std::optional<MaterialValue> ReadInput(MaterialCompileContext& context, const MaterialGraphNode& node,
                                       std::string_view pinName, std::uint32_t type, std::string_view defaultExpression,
                                       const std::array<float, 4>& defaultValue) {
    const MaterialGraphPin* pin = FindPin(node.inputs, pinName);
    if (pin) {
        const auto link = context.inputLinks.find(pin->id);
        if (link != context.inputLinks.end() && context.pins.contains(link->second->fromPin)) {
            const auto source = context.values.find(link->second->fromPin);
            if (source == context.values.end()) return std::nullopt;
            const MaterialValue& value = source->second;
            const auto canonical = [](std::uint32_t t) { return t == kPinColor ? kPinVec4 : t; };
            const std::uint32_t from = canonical(value.type);
            const std::uint32_t to = canonical(pin->type);
            if (from != to && (IsResource(from) || IsResource(to)) && !(IsResource(from) && IsResource(to))) {
                context.Error(node.id, "Type mismatch on pin '" + pin->name + "'.");
                return std::nullopt;
            }
            if (value.isTexture) return value;
            MaterialValue converted = value;
            converted.type = pin->type;
            converted.expression = ConvertExpression(value.expression, value.type, pin->type);
            converted.constant = ConvertConstant(value.constant, value.type, pin->type);
            return converted;
        }
    }
    MaterialValue value;
    value.type = type;
    value.expression = defaultExpression;
    value.constant = defaultValue;
    value.isConstant = IsPlainLiteral(defaultExpression);
    return value;
}

void SetOutput(MaterialCompileContext& context, const MaterialGraphNode& node, std::string_view pinName,
               std::uint32_t type, std::string expression, bool isConstant, const std::array<float, 4>& value) {
    const MaterialGraphPin* pin = FindPin(node.outputs, pinName);
    if (!pin) return;
    MaterialValue& stored = context.values[pin->id];
    stored = MaterialValue{};
    stored.type = type;
    stored.expression = std::move(expression);
    stored.isConstant = isConstant;
    stored.constant = value;
}

std::vector<const MaterialGraphNode*> TopologicalOrder(MaterialCompileContext& context,
                                                       const MaterialGraphNode& output) {
    // Edges between nodes, one per link that runs from an output to an input.
    std::unordered_map<std::uint64_t, std::vector<std::uint64_t>, IdHash> upstream;
    std::unordered_map<std::uint64_t, std::vector<std::uint64_t>, IdHash> downstream;
    for (const MaterialGraphLink& link : context.graph->links) {
        const auto from = context.pins.find(link.fromPin);
        const auto to = context.pins.find(link.toPin);
        if (from == context.pins.end() || to == context.pins.end() || from->second.direction != kPinOutput ||
            to->second.direction != kPinInput) {
            continue;
        }
        upstream[to->second.node].push_back(from->second.node);
        downstream[from->second.node].push_back(to->second.node);
    }
    std::unordered_map<std::uint64_t, std::uint32_t, IdHash> inDegree;
    std::vector<std::uint64_t> stack{output.id};
    inDegree[output.id] = 0;
    while (!stack.empty()) {
        const std::uint64_t id = stack.back();
        stack.pop_back();
        for (const std::uint64_t source : upstream[id]) {
            if (inDegree.emplace(source, 0).second) stack.push_back(source);
        }
    }
    for (const auto& [id, ignored] : inDegree) {
        for (const std::uint64_t source : upstream[id]) {
            if (inDegree.contains(source)) ++inDegree[id];
        }
    }
    std::set<std::uint64_t> ready;
    for (const auto& [id, degree] : inDegree) {
        if (degree == 0) ready.insert(id);
    }
    std::vector<const MaterialGraphNode*> order;
    order.reserve(inDegree.size());
    while (!ready.empty()) {
        const std::uint64_t id = *ready.begin();
        ready.erase(ready.begin());
        order.push_back(context.nodes.at(id));
        for (const std::uint64_t target : downstream[id]) {
            const auto found = inDegree.find(target);
            if (found != inDegree.end() && --found->second == 0) ready.insert(target);
        }
    }
    if (order.size() < inDegree.size()) {
        context.Error(0, "Material graph contains a cycle. Only DAG graphs can compile.");
        order.clear();
    }
    return order;
}

MaterialCompiledState CompileMaterialGraph(const MaterialGraph& graph, const MaterialCompileInput& input,
                                           const MaterialGraphResolver* resolver, bool translucent, bool alphaMasked,
                                           bool doubleSided) {
    MaterialCompiledState state;
    state.valid = true;
    state.translucent = translucent;
    state.alphaMasked = alphaMasked;
    state.doubleSided = doubleSided;
    state.revision = graph.revision;

    MaterialGraph expanded = graph;
    for (std::uint32_t round = 0;; ++round) {
        const bool hasCalls = std::any_of(expanded.nodes.begin(), expanded.nodes.end(),
                                          [](const MaterialGraphNode& node) { return node.type == kNodeFunctionCall; });
        if (!hasCalls) break;
        if (round == kMaxFunctionExpansionRounds) {
            state.diagnostics.push_back({kMaterialError, 0, "Material function expansion did not converge."});
            break;
        }
        std::vector<AssetHandle> active;
        expanded = ExpandFunctionCalls(expanded, resolver, state.diagnostics, active);
    }

    MaterialCompileContext context;
    context.graph = &expanded;
    context.domain = expanded.domain;
    context.state = &state;
    for (const MaterialGraphNode& node : expanded.nodes) {
        context.nodes.emplace(node.id, &node);
        for (const MaterialGraphPin& pin : node.inputs) context.pins[pin.id] = {kPinInput, node.id, &pin};
        for (const MaterialGraphPin& pin : node.outputs) context.pins[pin.id] = {kPinOutput, node.id, &pin};
    }
    for (const MaterialGraphLink& link : expanded.links) {
        const auto to = context.pins.find(link.toPin);
        if (to != context.pins.end() && to->second.direction == kPinInput) context.inputLinks[link.toPin] = &link;
    }
    CheckLinks(context);

    const auto output = std::find_if(expanded.nodes.begin(), expanded.nodes.end(), [&](const MaterialGraphNode& node) {
        return node.type == OutputNodeType(expanded.domain);
    });
    if (output == expanded.nodes.end()) {
        state.diagnostics.push_back({kMaterialError, 0, MissingOutputMessage(expanded.domain)});
        return state;
    }
    const std::vector<const MaterialGraphNode*> order = TopologicalOrder(context, *output);
    if (order.empty()) return state;

    const MaterialNodeEmitter* emitters = MaterialNodeEmitters();
    for (const MaterialGraphNode* node : order) {
        if (node->type < kMaterialNodeKindCount && emitters[node->type]) emitters[node->type](context, *node);
    }
    if (state.FirstError()) return state;

    if (expanded.domain == kDomainFunction) {
        state.shaderName = input.shaderStem + "_function";
        state.succeeded = true;
        return state;
    }

    std::vector<std::string> tail;
    if (!BuildFragment(context, *output, order, tail)) {
        state.diagnostics.push_back({kMaterialError, 0, "Failed to build fragment shader source."});
        return state;
    }
    state.statements.reserve(context.statementLines.size());
    for (std::size_t i = 0; i < context.statementLines.size(); ++i) {
        MaterialStatement statement;
        if (!SplitStatement(context.statementLines[i], context.statementNodes[i], &statement)) {
            state.diagnostics.push_back(
                {kMaterialError, 0,
                 "Internal compiler error: malformed statement '" + context.statementLines[i] + "'."});
            return state;
        }
        state.statements.push_back(std::move(statement));
    }
    CleanUpStatements(state.statements, tail, state.removedRepeats, state.removedDead);
    state.statementCount = static_cast<std::uint32_t>(state.statements.size());

    state.templateStamp = TemplateStamp();
    state.permutationStamp = PermutationStamp(state.templateStamp, state.templateIndex, state.variant);
    state.fragmentSource =
        BuildFragmentSource(state.templateIndex, state.variant, state.helpers, state.statements, tail).text;
    state.vertexSource = BuildVertexSource(state.templateIndex, state.variant);

    std::string head = "brelk_material_shader_c03|";
    Core::AppendInteger(head, state.templateStamp);
    head += '|';
    std::uint64_t hash = Core::Fnv1a64(head);
    hash = Core::Fnv1a64(state.fragmentSource, hash);
    hash = Core::Fnv1a64(state.vertexSource, hash);
    state.shaderName = input.shaderStem + "_" + std::to_string(hash);
    const auto path = [&](std::string_view suffix) {
        return input.outputFolder / (state.shaderName + std::string(suffix));
    };
    state.vertexPath = path(".vert");
    state.fragmentPath = path(".frag");
    state.vertexSpirvPath = path(".vert.spv");
    state.fragmentSpirvPath = path(".frag.spv");
    if (alphaMasked && expanded.domain == kDomainSurface) {
        state.shadowFragmentPath = path(".shadow.frag");
        state.shadowFragmentSpirvPath = path(".shadow.frag.spv");
    }
    state.succeeded = true;
    return state;
}

} // namespace Brelk::Assets
