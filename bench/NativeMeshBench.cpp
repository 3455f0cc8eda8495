// .bmesh write and read of a 262,144-vertex mesh against copying the same bytes, the floor
// of any format that stores vertices as they lie in memory.
#include "engine/assets/meshes/NativeMeshFile.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace {

using namespace Brelk::Assets;

const MeshAsset& LargeMesh() {
    static const MeshAsset mesh = [] {
        constexpr std::uint32_t kSide = 512;
        MeshAsset m;
        m.vertices.resize(std::size_t{kSide} * kSide);
        for (std::uint32_t y = 0; y < kSide; ++y) {
            for (std::uint32_t x = 0; x < kSide; ++x) {
                MeshVertex& v = m.vertices[std::size_t{y} * kSide + x];
                v.position = glm::vec3(static_cast<float>(x), 0.0f, static_cast<float>(y));
                v.uv = glm::vec2(static_cast<float>(x) / kSide, static_cast<float>(y) / kSide);
            }
        }
        for (std::uint32_t y = 0; y + 1 < kSide; ++y) {
            for (std::uint32_t x = 0; x + 1 < kSide; ++x) {
                const std::uint32_t a = y * kSide + x;
                m.indices.insert(m.indices.end(), {a, a + kSide, a + kSide + 1, a + kSide + 1, a + 1, a});
            }
        }
        m.submeshes.push_back({0, static_cast<std::uint32_t>(m.indices.size()), 0, "Default"});
        m.lods.push_back({1, 1000000.0f});
        return m;
    }();
    return mesh;
}

std::size_t MeshBytes() { return LargeMesh().vertices.size() * sizeof(MeshVertex) + LargeMesh().indices.size() * 4; }

void BM_NativeMeshWrite(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(EncodeNativeMesh(LargeMesh(), Brelk::Core::Guid{1, 2}));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * MeshBytes()));
}
BENCHMARK(BM_NativeMeshWrite)->Unit(benchmark::kMillisecond);

void BM_NativeMeshRead(benchmark::State& state) {
    const std::vector<std::uint8_t> bytes = EncodeNativeMesh(LargeMesh(), Brelk::Core::Guid{1, 2});
    for (auto _ : state) benchmark::DoNotOptimize(DecodeNativeMesh(bytes));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * MeshBytes()));
}
BENCHMARK(BM_NativeMeshRead)->Unit(benchmark::kMillisecond);

void BM_NativeMeshFloor_CopyBytes(benchmark::State& state) {
    const std::vector<std::uint8_t> bytes = EncodeNativeMesh(LargeMesh(), Brelk::Core::Guid{1, 2});
    for (auto _ : state) {
        std::vector<std::uint8_t> copy(bytes.size());
        std::memcpy(copy.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * MeshBytes()));
}
BENCHMARK(BM_NativeMeshFloor_CopyBytes)->Unit(benchmark::kMillisecond);

} // namespace
