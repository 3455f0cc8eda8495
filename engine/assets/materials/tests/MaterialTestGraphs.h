#pragma once

#include "engine/assets/materials/MaterialCompiler.h"
#include "engine/assets/materials/MaterialNodeCatalogue.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace Brelk::Assets::Testing {

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

    MaterialCompiledState Compile(const MaterialGraphResolver* resolver = nullptr, bool alphaMasked = false) {
        return CompileMaterialGraph(graph_, {7, "Rock", "/shaders"}, resolver, false, alphaMasked, false);
    }

private:
    MaterialGraph graph_;
};

} // namespace Brelk::Assets::Testing
