// Material files and graphs: a read and a write of a 1,000-node material file against a
// plain read of its bytes, and compiles of the default surface graph and of a 500-node
// random graph that calls material functions.
#include "engine/assets/materials/MaterialCompiler.h"
#include "engine/assets/materials/MaterialDefaults.h"
#include "engine/assets/materials/MaterialFile.h"
#include "engine/assets/materials/MaterialNodeCatalogue.h"
#include "engine/core/Guid.h"
#include "engine/platform/Files.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <unordered_map>

namespace {

namespace fs = std::filesystem;
using namespace Brelk::Assets;

// A fixed sequence, so that every run measures the same graph.
class Lcg {
public:
    std::uint32_t Next(std::uint32_t bound) {
        state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<std::uint32_t>(state_ >> 33) % bound;
    }

private:
    std::uint64_t state_ = 12345;
};

constexpr std::uint32_t kMathKinds[] = {
    kNodeAdd, kNodeMultiply, kNodeLerp, kNodeSin,           kNodeSaturate,     kNodeClamp,   kNodeMin,
    kNodeDot, kNodeCombine,  kNodeTime, kNodeConstantFloat, kNodeConstantVec3, kNodeFresnel, kNodeRemap};

// Nodes in id order, each input linked at random to an output of an earlier node: acyclic.
MaterialGraph RandomGraph(std::size_t nodes, AssetHandle function, std::uint32_t domain) {
    Lcg random;
    MaterialGraph graph;
    graph.domain = domain;
    std::vector<std::uint64_t> outputs;
    for (std::size_t i = 0; i < nodes; ++i) {
        const bool call = function != 0 && random.Next(25) == 0;
        MaterialGraphNode* node =
            AddMaterialNode(graph, call ? kNodeFunctionCall : kMathKinds[random.Next(std::size(kMathKinds))],
                            static_cast<float>(i), 0.0f);
        if (call) {
            node->properties["asset"] = std::to_string(function);
            node->inputs.push_back({graph.nextId++, kPinInput, kPinFloat, "Value", true, false});
            node->outputs.push_back({graph.nextId++, kPinOutput, kPinFloat, "Result", false, false});
        }
        std::vector<std::uint64_t> inputs;
        for (const MaterialGraphPin& pin : node->inputs) inputs.push_back(pin.id);
        for (const MaterialGraphPin& pin : node->outputs) outputs.push_back(pin.id);
        for (const std::uint64_t input : inputs) {
            if (outputs.size() > node->outputs.size() && random.Next(4) != 0) {
                const std::uint64_t from =
                    outputs[random.Next(static_cast<std::uint32_t>(outputs.size() - node->outputs.size()))];
                graph.links.push_back({graph.nextId++, from, input});
            }
        }
    }
    const std::uint32_t outputType = domain == kDomainFunction ? kNodeFunctionOutput : kNodeMaterialOutput;
    MaterialGraphNode* output = AddMaterialNode(graph, outputType, 0.0f, 0.0f);
    std::vector<std::uint64_t> sinks;
    for (const MaterialGraphPin& pin : output->inputs) sinks.push_back(pin.id);
    for (const std::uint64_t sink : sinks)
        graph.links.push_back({graph.nextId++, outputs[outputs.size() - 1 - random.Next(8)], sink});
    return graph;
}

class FunctionTable : public MaterialGraphResolver {
public:
    const MaterialAsset* ResolveMaterial(AssetHandle handle) const override {
        const auto found = table.find(handle);
        return found == table.end() ? nullptr : &found->second;
    }
    std::unordered_map<AssetHandle, MaterialAsset> table;
};

class MaterialFolder {
public:
    MaterialFolder() : root_(fs::temp_directory_path() / ("brelk-bench-" + Brelk::Core::Guid::New().ToString())) {
        fs::create_directories(root_);
        MaterialAsset material;
        material.graph = RandomGraph(1000, 0, kDomainSurface);
        if (!WriteMaterialAsset(root_ / "Big.bmat", material, nullptr)) std::abort();
    }
    ~MaterialFolder() {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }
    fs::path operator/(const char* name) const { return root_ / name; }

private:
    fs::path root_;
};

void BM_ReadBytesOf1000NodeMaterialFloor(benchmark::State& state) {
    MaterialFolder folder;
    std::size_t bytes = 0;
    for (auto _ : state) {
        auto read = Brelk::Platform::ReadFileBytes(folder / "Big.bmat");
        bytes = read->size();
        benchmark::DoNotOptimize(read);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_ReadBytesOf1000NodeMaterialFloor)->Unit(benchmark::kMicrosecond);

void BM_ReadAndWrite1000NodeMaterial(benchmark::State& state) {
    MaterialFolder folder;
    const std::uintmax_t bytes = fs::file_size(folder / "Big.bmat");
    for (auto _ : state) {
        MaterialAsset material;
        if (!ReadMaterialAsset(folder / "Big.bmat", material, nullptr)) std::abort();
        if (!WriteMaterialAsset(folder / "Copy.bmat", material, nullptr)) std::abort();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_ReadAndWrite1000NodeMaterial)->Unit(benchmark::kMicrosecond);

// The two halves of the above without the file system.
void BM_Parse1000NodeMaterialText(benchmark::State& state) {
    MaterialFolder folder;
    const auto bytes = *Brelk::Platform::ReadFileBytes(folder / "Big.bmat");
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    for (auto _ : state) {
        MaterialAsset material;
        ParseMaterialText(text, "Big.bmat", material, nullptr);
        benchmark::DoNotOptimize(material);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(BM_Parse1000NodeMaterialText)->Unit(benchmark::kMicrosecond);

void BM_Serialize1000NodeMaterial(benchmark::State& state) {
    MaterialFolder folder;
    MaterialAsset material;
    if (!ReadMaterialAsset(folder / "Big.bmat", material, nullptr)) std::abort();
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::string text = SerializeMaterialAsset(material, nullptr);
        bytes = text.size();
        benchmark::DoNotOptimize(text);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_Serialize1000NodeMaterial)->Unit(benchmark::kMicrosecond);

void BM_CompileDefaultSurfaceGraph(benchmark::State& state) {
    const MaterialGraph graph = MakeDefaultSurfaceGraph();
    for (auto _ : state) {
        benchmark::DoNotOptimize(CompileMaterialGraph(graph, {1, "Rock", "/shaders"}, nullptr, false, false, false));
    }
}
BENCHMARK(BM_CompileDefaultSurfaceGraph)->Unit(benchmark::kMicrosecond);

void BM_Compile500NodeGraphWithFunctionCalls(benchmark::State& state) {
    FunctionTable functions;
    functions.table[9].graph = RandomGraph(12, 0, kDomainFunction);
    const MaterialGraph graph = RandomGraph(500, 9, kDomainSurface);
    for (auto _ : state) {
        const MaterialCompiledState compiled =
            CompileMaterialGraph(graph, {1, "Random", "/shaders"}, &functions, false, false, false);
        if (!compiled.succeeded) state.SkipWithError("the random graph did not compile");
        benchmark::DoNotOptimize(compiled);
    }
}
BENCHMARK(BM_Compile500NodeGraphWithFunctionCalls)->Unit(benchmark::kMicrosecond);

} // namespace
