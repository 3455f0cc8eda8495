// Placing a 200-entity prefab 100 times, and bringing those 100 instances up to date after
// an edit of the prefab file, against the floor of the same 20,000 entities: loading them
// from one scene file.
#include "engine/assets/AssetManager.h"
#include "engine/core/Guid.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/GameplayComponents.h"
#include "engine/scene/components/LightComponents.h"
#include "engine/scene/prefabs/Prefabs.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

namespace Assets = Brelk::Assets;
namespace Core = Brelk::Core;
using namespace Brelk::Scene;
namespace fs = std::filesystem;

constexpr int kPrefabEntities = 200;
constexpr int kInstances = 100;

struct Fixture {
    Fixture() {
        InstallComponents();
        folder = fs::temp_directory_path() / ("brelk-prefab-bench-" + Core::Guid::New().ToString());
        assets.Initialize(folder / "Content", Assets::AssetSourceMode::Authoring);
        Scene source;
        const Entity root = source.CreateEntity("Root");
        Entity branch = kNullEntity;
        for (int i = 1; i < kPrefabEntities; ++i) {
            const Entity entity = source.CreateEntity("Part" + std::to_string(i));
            if (i % 20 == 1) {
                source.SetParent(entity, root);
                source.Emplace<PointLightComponent>(entity);
                branch = entity;
            } else {
                source.SetParent(entity, branch);
                source.Emplace<RotatorComponent>(entity).degreesPerSecond = static_cast<float>(i);
            }
        }
        if (!CreatePrefabFromEntity(source, assets, root, PrefabPath(), &error)) throw std::runtime_error(error);
        prefab = assets.GetRegistry().HandleOfPath(PrefabPath());
        if (!LoadScene(PrefabPath(), prefabScene, assets, &error)) throw std::runtime_error(error);
    }
    ~Fixture() {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }

    fs::path PrefabPath() const { return folder / "Content" / "Tower.bprefab"; }

    void Place(Scene& scene) {
        for (int i = 0; i < kInstances; ++i) {
            if (InstantiatePrefab(scene, assets, prefab, kNullEntity, &error).empty()) throw std::runtime_error(error);
        }
    }

    // Rewrites the prefab with every rotator at a new speed.
    void EditPrefab(float speed) {
        prefabScene.Each<RotatorComponent>([&](Entity, RotatorComponent& rotator) { rotator.degreesPerSecond = speed; });
        if (!SaveScene(PrefabPath(), prefabScene, assets, &error)) throw std::runtime_error(error);
    }

    fs::path folder;
    Assets::AssetManager assets;
    Assets::AssetHandle prefab = 0;
    Scene prefabScene;
    std::string error;
};

Fixture& Shared() {
    static Fixture fixture;
    return fixture;
}

void BM_InstantiatePrefab100Times(benchmark::State& state) {
    Fixture& fixture = Shared();
    for (auto _ : state) {
        Scene scene;
        fixture.Place(scene);
        benchmark::DoNotOptimize(scene.Entities().size());
    }
    state.SetItemsProcessed(state.iterations() * kInstances * kPrefabEntities);
}

void BM_UpdatePrefabInstancesAfterEdit(benchmark::State& state) {
    Fixture& fixture = Shared();
    Scene scene;
    fixture.Place(scene);
    const std::vector<Core::Guid> roots = PrefabGuidsOfInstances(scene);
    float speed = 1.0f;
    for (auto _ : state) {
        state.PauseTiming();
        fixture.EditPrefab(speed += 1.0f);
        state.ResumeTiming();
        if (UpdatePrefabInstances(scene, fixture.assets, roots, fixture.prefab, false, &fixture.error) != kInstances) {
            state.SkipWithError(fixture.error.c_str());
        }
    }
    state.SetItemsProcessed(state.iterations() * kInstances * kPrefabEntities);
}

// The floor: the same 20,000 entities read from one scene file.
void BM_LoadSceneOfTheSameEntities(benchmark::State& state) {
    Fixture& fixture = Shared();
    const fs::path path = fixture.folder / "Content" / "Placed.bscene";
    {
        Scene scene;
        fixture.Place(scene);
        if (!SaveScene(path, scene, fixture.assets, &fixture.error)) throw std::runtime_error(fixture.error);
    }
    for (auto _ : state) {
        Scene scene;
        if (!LoadScene(path, scene, fixture.assets, &fixture.error)) state.SkipWithError(fixture.error.c_str());
        benchmark::DoNotOptimize(scene.Entities().size());
    }
    state.SetItemsProcessed(state.iterations() * kInstances * kPrefabEntities);
}

BENCHMARK(BM_InstantiatePrefab100Times)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UpdatePrefabInstancesAfterEdit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadSceneOfTheSameEntities)->Unit(benchmark::kMillisecond);

} // namespace
