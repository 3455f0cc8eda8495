// Cooked files against their floors: the container against hashing and copying its bytes,
// a cooked cell against the same cell as text, and the cell payload reader over the whole
// default world against reading its files.

#include "engine/assets/AssetManager.h"
#include "engine/assets/cooked/CookedContainer.h"
#include "engine/core/Guid.h"
#include "engine/platform/Files.h"
#include "engine/scene/CookedScene.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/SceneTextParser.h"
#include "tools/worldgen/CellPayload.h"
#include "tools/worldgen/WorldAsset.h"
#include "tools/worldgen/WorldGenerator.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Brelk;
namespace fs = std::filesystem;

// The default world, generated once into a scratch folder that is removed at exit.
struct DefaultWorld {
    fs::path folder = fs::temp_directory_path() / ("brelk-cooked-bench-" + Core::Guid::New().ToString());
    fs::path worldPath = folder / "Content" / "Worlds" / "Procedural.bworld";
    WorldGen::WorldAsset world;

    DefaultWorld() {
        Scene::InstallComponents();
        Assets::AssetManager assets;
        assets.Initialize(folder / "Content", Assets::AssetSourceMode::Authoring);
        std::string error;
        if (!WorldGen::GenerateProceduralWorld(assets, worldPath, WorldGen::ProceduralWorldSettings{}, nullptr,
                                               &error) ||
            !WorldGen::ReadWorldAsset(worldPath, world, &error)) {
            std::fprintf(stderr, "%s\n", error.c_str());
            std::abort();
        }
    }
    ~DefaultWorld() {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }
    std::vector<std::uint8_t> FirstCell() const {
        return *Platform::ReadFileBytes(WorldGen::CellFilePath(worldPath, world.cells.front().coord));
    }
};

const DefaultWorld& World() {
    static const DefaultWorld world;
    return world;
}

std::vector<std::uint8_t> Pattern(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 2654435761u >> 24);
    }
    return bytes;
}

constexpr std::size_t kPayloadBytes = 1 << 20;

void BM_ContainerWriteAndOpen(benchmark::State& state) {
    const std::vector<std::uint8_t> payload = Pattern(kPayloadBytes);
    for (auto _ : state) {
        const std::vector<std::uint8_t> file = Assets::WriteCookedContainer(Assets::kCookedKindMesh, 1, payload);
        auto opened = Assets::OpenCookedContainer(file, Assets::kCookedKindMesh, 1, "bench", nullptr);
        benchmark::DoNotOptimize(opened);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kPayloadBytes));
}
BENCHMARK(BM_ContainerWriteAndOpen);

// Floor: the container hashes its payload twice (write, open) and copies it once.
void BM_FloorXxh64(benchmark::State& state) {
    const std::vector<std::uint8_t> payload = Pattern(kPayloadBytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Assets::Xxh64(payload));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kPayloadBytes));
}
BENCHMARK(BM_FloorXxh64);

void BM_FloorMemcpy(benchmark::State& state) {
    const std::vector<std::uint8_t> payload = Pattern(kPayloadBytes);
    for (auto _ : state) {
        std::vector<std::uint8_t> copy(payload.size());
        std::memcpy(copy.data(), payload.data(), payload.size());
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kPayloadBytes));
}
BENCHMARK(BM_FloorMemcpy);

void BM_ParseSceneTextDefaultCell(benchmark::State& state) {
    const std::vector<std::uint8_t> text = World().FirstCell();
    const std::string_view view(reinterpret_cast<const char*>(text.data()), text.size());
    Scene::SceneDocument document;
    for (auto _ : state) {
        if (!Scene::ParseSceneText(view, document, "cell.bcell", nullptr)) state.SkipWithError("parse failed");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ParseSceneTextDefaultCell);

void BM_DecodeCookedSceneDefaultCell(benchmark::State& state) {
    const std::vector<std::uint8_t> text = World().FirstCell();
    Scene::SceneDocument document;
    if (!Scene::ParseSceneText(std::string_view(reinterpret_cast<const char*>(text.data()), text.size()), document,
                               "cell.bcell", nullptr)) {
        state.SkipWithError("parse failed");
        return;
    }
    const std::vector<std::uint8_t> cooked = Scene::EncodeCookedScene(document);
    for (auto _ : state) {
        if (!Scene::DecodeCookedScene(cooked, document, "cell.bcell", nullptr)) state.SkipWithError("decode failed");
    }
    state.counters["cooked_bytes"] = static_cast<double>(cooked.size());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * cooked.size()));
}
BENCHMARK(BM_DecodeCookedSceneDefaultCell);

void BM_EncodeCookedSceneDefaultCell(benchmark::State& state) {
    const std::vector<std::uint8_t> text = World().FirstCell();
    Scene::SceneDocument document;
    if (!Scene::ParseSceneText(std::string_view(reinterpret_cast<const char*>(text.data()), text.size()), document,
                               "cell.bcell", nullptr)) {
        state.SkipWithError("parse failed");
        return;
    }
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::vector<std::uint8_t> cooked = Scene::EncodeCookedScene(document);
        bytes = cooked.size();
        benchmark::DoNotOptimize(cooked.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_EncodeCookedSceneDefaultCell);

template <bool Parse>
void ReadDefaultWorld(benchmark::State& state) {
    const DefaultWorld& world = World();
    std::int64_t bytes = 0;
    WorldGen::CellPayload payload;
    for (auto _ : state) {
        for (const WorldGen::WorldCellEntry& cell : world.world.cells) {
            const fs::path path = WorldGen::CellFilePath(world.worldPath, cell.coord);
            payload.bytes = *Platform::ReadFileBytes(path);
            bytes += static_cast<std::int64_t>(payload.bytes.size());
            if constexpr (Parse) {
                if (!WorldGen::ParseCellPayload(payload.bytes, payload, path, nullptr)) state.SkipWithError("bad cell");
            } else {
                benchmark::DoNotOptimize(payload.bytes.data());
            }
        }
    }
    state.counters["cells"] = static_cast<double>(world.world.cells.size());
    state.SetBytesProcessed(bytes);
}

void BM_ParseCellPayloadDefaultWorld(benchmark::State& state) { ReadDefaultWorld<true>(state); }
BENCHMARK(BM_ParseCellPayloadDefaultWorld)->Unit(benchmark::kMillisecond);

void BM_FloorReadDefaultWorld(benchmark::State& state) { ReadDefaultWorld<false>(state); }
BENCHMARK(BM_FloorReadDefaultWorld)->Unit(benchmark::kMillisecond);

} // namespace
