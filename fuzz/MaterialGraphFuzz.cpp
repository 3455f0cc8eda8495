// Graphs built from bytes: nodes of any kind with the catalogue's pins, links between any
// pins (dangling, backwards, cyclic), function calls to missing, non-function and recursive
// functions through a table resolver. The compile must end, bounded, and never throw.
#include "engine/assets/materials/MaterialCompiler.h"
#include "engine/assets/materials/MaterialNodeCatalogue.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <unordered_map>

namespace {

using namespace Brelk::Assets;

class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    std::uint8_t Next() { return at_ < size_ ? data_[at_++] : 0; }
    bool Empty() const { return at_ >= size_; }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

class Functions : public MaterialGraphResolver {
public:
    const MaterialAsset* ResolveMaterial(AssetHandle handle) const override {
        const auto found = table.find(handle);
        return found == table.end() ? nullptr : &found->second;
    }
    std::unordered_map<AssetHandle, MaterialAsset> table;
};

constexpr const char* kPortNames[] = {"Value", "Result", "X", "A", "Base Color"};

MaterialGraph BuildGraph(Bytes& bytes, std::uint32_t domain) {
    MaterialGraph graph;
    graph.domain = domain;
    const std::uint32_t nodeCount = bytes.Next() % 24;
    std::vector<std::uint64_t> pins;
    for (std::uint32_t i = 0; i < nodeCount && !bytes.Empty(); ++i) {
        const std::uint8_t kind = bytes.Next();
        MaterialGraphNode* node = AddMaterialNode(graph, kind % kMaterialNodeKindCount, 0.0f, 0.0f);
        if (node->type == kNodeFunctionCall) node->properties["asset"] = std::to_string(bytes.Next() % 5);
        if (kind & 0x80) {
            const std::uint8_t extra = bytes.Next();
            const std::uint32_t direction = extra & 1;
            MaterialGraphPin pin{
                graph.nextId++, direction, static_cast<std::uint32_t>((extra >> 1) % 10), kPortNames[(extra >> 5) % 5],
                true,           false};
            (direction == kPinInput ? node->inputs : node->outputs).push_back(pin);
        }
        if (kind & 0x40) node->properties["value"] = std::to_string(bytes.Next()) + ",1,2,3";
        for (const auto* side : {&node->inputs, &node->outputs}) {
            for (const MaterialGraphPin& pin : *side) pins.push_back(pin.id);
        }
    }
    const std::uint32_t linkCount = bytes.Next() % 48;
    for (std::uint32_t i = 0; i < linkCount && !pins.empty(); ++i) {
        const std::uint64_t from = bytes.Next() == 255 ? 9999 : pins[bytes.Next() % pins.size()];
        const std::uint64_t to = pins[bytes.Next() % pins.size()];
        graph.links.push_back({graph.nextId++, from, to});
    }
    return graph;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    Functions functions;
    const std::uint32_t functionCount = bytes.Next() % 4;
    for (std::uint32_t i = 1; i <= functionCount; ++i) {
        MaterialAsset& function = functions.table[i];
        function.graph = BuildGraph(bytes, bytes.Next() % 3);
    }
    const MaterialGraph graph = BuildGraph(bytes, bytes.Next() % 3);
    const MaterialCompiledState state = CompileMaterialGraph(
        graph, {1, "Fuzz", "/shaders"}, bytes.Next() & 1 ? &functions : nullptr, false, bytes.Next() & 1, false);
    if (state.succeeded && state.FirstError()) std::abort();
    if (state.textures.size() > kMaxMaterialTextureSlots) std::abort();
    return 0;
}
