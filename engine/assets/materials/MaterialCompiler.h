#pragma once

#include "engine/assets/materials/MaterialCompiledState.h"
#include "engine/assets/materials/MaterialHash.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Brelk::Assets {

// Turns a graph into GLSL statements, parameters and texture slots, and names the shader
// files by a hash of the text. Runs on a copy of the graph: material functions are inlined,
// links checked, the nodes that the output needs sorted and emitted, constants folded and
// repeated or dead statements removed. A bad graph never throws: everything goes into
// `diagnostics`, and `succeeded` stays false with an error. `resolver` may be null.
MaterialCompiledState CompileMaterialGraph(const MaterialGraph& graph, const MaterialCompileInput& input,
                                           const MaterialGraphResolver* resolver, bool translucent, bool alphaMasked,
                                           bool doubleSided);

// One round of inlining: each FunctionCall node is replaced by the nodes of its function
// (expanded in turn), with fresh ids from `graph.nextId`. A call that can't be expanded is
// dropped with an error and its links are left dangling.
MaterialGraph ExpandFunctionCalls(const MaterialGraph& graph, const MaterialGraphResolver* resolver,
                                  std::vector<MaterialDiagnostic>& diagnostics,
                                  std::vector<AssetHandle>& activeFunctions);

struct MaterialPinInfo {
    std::uint32_t direction = kPinInput;
    std::uint64_t node = 0;
    const MaterialGraphPin* pin = nullptr;
};

using IdHash = MaterialIdHash;

// The state of one compile that the emission rules of the nodes share.
struct MaterialCompileContext {
    const MaterialGraph* graph = nullptr;
    std::uint32_t domain = kDomainSurface;
    MaterialCompiledState* state = nullptr;
    std::unordered_map<std::uint64_t, const MaterialGraphNode*, IdHash> nodes;
    std::unordered_map<std::uint64_t, MaterialPinInfo, IdHash> pins;
    // The link into each input pin; a later link replaces an earlier one.
    std::unordered_map<std::uint64_t, const MaterialGraphLink*, IdHash> inputLinks;
    // The value of each output pin that a node has set.
    std::unordered_map<std::uint64_t, MaterialValue, IdHash> values;
    // "<type> <name> = <value>;" lines, each with its node.
    std::vector<std::string> statementLines;
    std::vector<std::uint64_t> statementNodes;
    bool usesParticles = false;

    void Error(std::uint64_t node, std::string message);
    void Warning(std::uint64_t node, std::string message);
    void Statement(const MaterialGraphNode& node, std::string_view type, std::string_view name, std::string_view value);
};

// The nodes that the output node depends on, by Kahn's algorithm with the lowest id first;
// empty, with an error, for a cycle.
std::vector<const MaterialGraphNode*> TopologicalOrder(MaterialCompileContext& context,
                                                       const MaterialGraphNode& output);

// The value of a node's input: the linked output converted to the pin's type, or the
// default. Empty when the source failed (silently) or a texture meets a number (an error).
std::optional<MaterialValue> ReadInput(MaterialCompileContext& context, const MaterialGraphNode& node,
                                       std::string_view pinName, std::uint32_t type, std::string_view defaultExpression,
                                       const std::array<float, 4>& defaultValue);
// The default value is read from the literal, when it is one.
std::optional<MaterialValue> ReadInput(MaterialCompileContext& context, const MaterialGraphNode& node,
                                       std::string_view pinName, std::uint32_t type,
                                       std::string_view defaultExpression);

void SetOutput(MaterialCompileContext& context, const MaterialGraphNode& node, std::string_view pinName,
               std::uint32_t type, std::string expression, bool isConstant, const std::array<float, 4>& value);

// The emission rule of each node kind, indexed by id; null where a node emits nothing.
using MaterialNodeEmitter = void (*)(MaterialCompileContext&, const MaterialGraphNode&);
const MaterialNodeEmitter* MaterialNodeEmitters();

// Repeats, aliases and dead statements away, on the statements and the tail lines; counts
// what went in `removedRepeats` and `removedDead`.
void CleanUpStatements(std::vector<MaterialStatement>& statements, std::vector<std::string>& tailLines,
                       std::uint32_t& removedRepeats, std::uint32_t& removedDead);

} // namespace Brelk::Assets
