#include "engine/assets/materials/MaterialCompiler.h"

#include "engine/assets/materials/MaterialEmit.h"

#include <algorithm>
#include <charconv>

namespace Brelk::Assets {
namespace {

using PinMap = std::unordered_map<std::uint64_t, std::uint64_t, IdHash>;

// Functions that call others several times multiply their nodes at each level; past this a
// graph is refused rather than grown without end.
constexpr std::size_t kMaxExpandedNodes = 65536;

AssetHandle CalledFunction(const MaterialGraphNode& call) {
    const auto found = call.properties.find("asset");
    AssetHandle handle = 0;
    if (found != call.properties.end()) {
        std::from_chars(found->second.data(), found->second.data() + found->second.size(), handle);
    }
    return handle;
}

// The source pin of the last link into `pin`, or 0.
std::uint64_t SourceOf(const std::vector<MaterialGraphLink>& links, std::uint64_t pin) {
    std::uint64_t source = 0;
    for (const MaterialGraphLink& link : links) {
        if (link.toPin == pin) source = link.fromPin;
    }
    return source;
}

std::string PortName(const MaterialGraphNode& node, const MaterialGraphPin& pin, std::size_t pinsOnSide,
                     std::string_view singleDefault) {
    if (pinsOnSide == 1) return detail::Property(node, "name", singleDefault);
    return pin.name.empty() ? "Value" : pin.name;
}

bool HasPin(const std::vector<MaterialGraphPin>& pins, std::uint64_t id) {
    return std::any_of(pins.begin(), pins.end(), [id](const MaterialGraphPin& pin) { return pin.id == id; });
}

const MaterialGraphPin* FindPin(const std::vector<MaterialGraphPin>& pins, std::string_view name) {
    for (const MaterialGraphPin& pin : pins) {
        if (pin.name == name) return &pin;
    }
    return nullptr;
}

// Inlines one call into `result`; false when the call can't be expanded.
bool Inline(MaterialGraph& result, const MaterialGraphNode& call, const MaterialGraphResolver* resolver,
            std::vector<MaterialDiagnostic>& diagnostics, std::vector<AssetHandle>& activeFunctions) {
    const auto fail = [&](const char* message) {
        diagnostics.push_back({kMaterialError, call.id, message});
        return false;
    };
    if (!resolver) return fail("Function Call requires a material graph resolver.");
    const AssetHandle handle = CalledFunction(call);
    if (handle == kNullAssetHandle) return fail("Function Call is missing a material function asset.");
    if (std::find(activeFunctions.begin(), activeFunctions.end(), handle) != activeFunctions.end()) {
        return fail("Material function recursion is not allowed.");
    }
    const MaterialAsset* function = resolver->ResolveMaterial(handle);
    if (!function || function->graph.domain != kDomainFunction) {
        return fail("Function Call asset is missing or is not a material function.");
    }

    activeFunctions.push_back(handle);
    const MaterialGraph body = ExpandFunctionCalls(function->graph, resolver, diagnostics, activeFunctions);
    activeFunctions.pop_back();
    if (result.nodes.size() + body.nodes.size() > kMaxExpandedNodes) {
        return fail("Material function expansion did not converge.");
    }

    // The function's input ports take the sources that feed the call's inputs of that name.
    PinMap callerSources;
    for (const MaterialGraphNode& node : body.nodes) {
        if (node.type != kNodeFunctionInput) continue;
        for (const MaterialGraphPin& pin : node.outputs) {
            const MaterialGraphPin* callInput = FindPin(call.inputs, PortName(node, pin, node.outputs.size(), "Value"));
            if (!callInput) continue;
            if (const std::uint64_t source = SourceOf(result.links, callInput->id)) callerSources[pin.id] = source;
        }
    }

    PinMap copied;
    for (const MaterialGraphNode& node : body.nodes) {
        if (node.type == kNodeFunctionInput || node.type == kNodeFunctionOutput) continue;
        MaterialGraphNode copy = node;
        copy.id = result.nextId++;
        for (auto* pins : {&copy.inputs, &copy.outputs}) {
            for (MaterialGraphPin& pin : *pins) {
                const std::uint64_t fresh = result.nextId++;
                copied[pin.id] = fresh;
                pin.id = fresh;
            }
        }
        copy.x += call.x;
        copy.y += call.y;
        result.nodes.push_back(std::move(copy));
    }
    // A function pin as the caller's graph sees it: a copied pin, a caller's source, or 0.
    const auto outside = [&](std::uint64_t pin) -> std::uint64_t {
        if (const auto found = copied.find(pin); found != copied.end()) return found->second;
        if (const auto found = callerSources.find(pin); found != callerSources.end()) return found->second;
        return 0;
    };

    PinMap callOutputs;
    for (const MaterialGraphNode& node : body.nodes) {
        if (node.type != kNodeFunctionOutput) continue;
        for (const MaterialGraphPin& pin : node.inputs) {
            const MaterialGraphPin* callOutput =
                FindPin(call.outputs, PortName(node, pin, node.inputs.size(), "Result"));
            if (callOutput) callOutputs[callOutput->id] = outside(SourceOf(body.links, pin.id));
        }
    }

    for (const MaterialGraphLink& link : body.links) {
        const auto to = copied.find(link.toPin);
        if (to == copied.end()) continue;
        const std::uint64_t from = outside(link.fromPin);
        if (from != 0) result.links.push_back({result.nextId++, from, to->second});
    }

    std::vector<MaterialGraphLink> links;
    links.reserve(result.links.size());
    for (MaterialGraphLink link : result.links) {
        if (HasPin(call.inputs, link.toPin)) continue;
        if (const auto rewired = callOutputs.find(link.fromPin); rewired != callOutputs.end()) {
            if (rewired->second == 0) continue;
            link.fromPin = rewired->second;
        }
        links.push_back(link);
    }
    result.links = std::move(links);
    return true;
}

} // namespace

MaterialGraph ExpandFunctionCalls(const MaterialGraph& graph, const MaterialGraphResolver* resolver,
                                  std::vector<MaterialDiagnostic>& diagnostics,
                                  std::vector<AssetHandle>& activeFunctions) {
    MaterialGraph result;
    result.domain = graph.domain;
    result.nextId = std::max<std::uint64_t>(graph.nextId, 1);
    result.revision = graph.revision;
    result.dirty = graph.dirty;
    result.links = graph.links;
    std::vector<const MaterialGraphNode*> calls;
    for (const MaterialGraphNode& node : graph.nodes) {
        if (node.type == kNodeFunctionCall) {
            calls.push_back(&node);
        } else {
            result.nodes.push_back(node);
        }
    }
    for (const MaterialGraphNode* call : calls) Inline(result, *call, resolver, diagnostics, activeFunctions);
    return result;
}

} // namespace Brelk::Assets
