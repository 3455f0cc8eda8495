// Duplicating a 10,000-entity subtree against the floor of the same work without the tree:
// creating as many entities and copying their components one by one. The difference is
// what naming, parenting and the walk of the children cost.
#include "engine/scene/EntityCopy.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/GameplayComponents.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

using namespace Brelk::Scene;

constexpr int kEntityCount = 10'000;
// Wide enough that the tree stays shallow (root, 100 branches of 99 leaves).
constexpr int kBranchCount = 100;

struct Tree {
    Scene scene;
    Entity root = kNullEntity;
    std::vector<Entity> entities;
};

void BuildTree(Tree& tree) {
    InstallComponents();
    tree.root = tree.scene.CreateEntity("Root");
    tree.entities.push_back(tree.root);
    Entity branch = kNullEntity;
    for (int i = 1; i < kEntityCount; ++i) {
        const Entity entity = tree.scene.CreateEntity("Node" + std::to_string(i));
        if (i % kBranchCount == 1) {
            tree.scene.SetParent(entity, tree.root);
            branch = entity;
        } else {
            tree.scene.SetParent(entity, branch);
        }
        tree.scene.Emplace<HealthComponent>(entity).maxHealth = static_cast<float>(i);
        tree.entities.push_back(entity);
    }
}

void BM_DuplicateEntitySubtree(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        Tree tree;
        BuildTree(tree);
        EntityMap map;
        map.reserve(kEntityCount);
        state.ResumeTiming();
        benchmark::DoNotOptimize(DuplicateEntitySubtree(tree.scene, tree.root, kNullEntity, map, " copy"));
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_DuplicateEntitySubtree)->Unit(benchmark::kMillisecond);

void BM_CopyEntityComponentsLoop(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        Tree tree;
        BuildTree(tree);
        state.ResumeTiming();
        for (const Entity source : tree.entities) {
            const Entity copy = tree.scene.CreateEntity("Copy");
            CopyEntityComponents(tree.scene, tree.scene, source, copy, false, ComponentCopyKind::Duplicate);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kEntityCount);
}
BENCHMARK(BM_CopyEntityComponentsLoop)->Unit(benchmark::kMillisecond);

} // namespace
