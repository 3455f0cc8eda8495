// The cost of the whole component catalogue: installing it once at start-up, saving and
// loading entities that carry every saved component type through the record text, and the
// save-game state of many character controllers. Each is set against its floor in the same
// run: copying the same text, and copying the same structs.

#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Registry.h"
#include "engine/scene/components/GameplayComponents.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Brelk;

constexpr std::size_t kEntities = 1000;
constexpr std::size_t kControllers = 10000;

// Runs first in the process, so it times the one real install.
void BM_InstallComponentsOncePerProcess(benchmark::State& state) {
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        Scene::InstallComponents();
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(elapsed.count());
    }
    state.counters["components"] = static_cast<double>(Scene::ComponentRegistry::Instance().Size());
}
BENCHMARK(BM_InstallComponentsOncePerProcess)->UseManualTime()->Iterations(1)->Unit(benchmark::kMicrosecond);

struct World {
    Scene::Registry registry;
    std::vector<Scene::Entity> entities;
    std::string text;
    // A terrain or a cloth saves more than one record.
    std::size_t recordsPerEntity = 0;
};

// Every entity holds a default value of every component type that is saved as records.
World& EveryComponentWorld() {
    static World world = [] {
        Scene::InstallComponents();
        World made;
        const Scene::ComponentLoadTable table;
        for (std::size_t i = 0; i < kEntities; ++i) {
            const Scene::Entity entity = made.registry.CreateEntity();
            for (const Scene::ComponentTypeEntry* entry : table.entries)
                entry->addDefault(made.registry, entity);
            made.entities.push_back(entity);
        }
        std::vector<Reflection::SchemaRecord> records;
        for (const Scene::Entity entity : made.entities) {
            records.clear();
            Scene::SaveEntityComponents(table, Scene::ComponentSaveContext{made.registry, entity, nullptr}, records);
            for (const Reflection::SchemaRecord& record : records)
                Reflection::AppendSchemaRecord(made.text, record);
            made.recordsPerEntity = records.size();
        }
        return made;
    }();
    return world;
}

void BM_SaveEveryComponentOnEntities(benchmark::State& state) {
    World& world = EveryComponentWorld();
    const Scene::ComponentLoadTable table;
    std::vector<Reflection::SchemaRecord> records;
    std::string text;
    for (auto _ : state) {
        text.clear();
        for (const Scene::Entity entity : world.entities) {
            records.clear();
            Scene::SaveEntityComponents(table, Scene::ComponentSaveContext{world.registry, entity, nullptr}, records);
            for (const Reflection::SchemaRecord& record : records)
                Reflection::AppendSchemaRecord(text, record);
        }
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(world.text.size()));
}
BENCHMARK(BM_SaveEveryComponentOnEntities)->Unit(benchmark::kMillisecond);

void BM_LoadEveryComponentOnEntities(benchmark::State& state) {
    World& world = EveryComponentWorld();
    const Scene::ComponentLoadTable table;
    const Scene::ComponentLoadContext context{};
    for (auto _ : state) {
        Scene::Registry registry;
        Reflection::SchemaLineCursor lines(world.text);
        std::string_view header;
        for (std::size_t entity = 0; entity < world.entities.size(); ++entity) {
            Scene::ComponentLoadSession session(table, context);
            for (std::size_t read = 0; read < world.recordsPerEntity && lines.NextLine(header); ++read) {
                const std::size_t begin = lines.Offset() - header.size() - 1;
                Reflection::SchemaRecord record =
                    Reflection::ReadSchemaRecord(header.substr(std::string_view("component_schema").size()), lines);
                session.ReadRecord(std::move(record), lines.Offset() - begin);
            }
            session.Finish(true);
            session.Apply(registry, registry.CreateEntity());
        }
        benchmark::DoNotOptimize(&registry);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(world.text.size()));
}
BENCHMARK(BM_LoadEveryComponentOnEntities)->Unit(benchmark::kMillisecond);

void BM_CopyEveryComponentText(benchmark::State& state) {
    const World& world = EveryComponentWorld();
    std::string copy;
    for (auto _ : state) {
        copy.assign(world.text);
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(world.text.size()));
}
BENCHMARK(BM_CopyEveryComponentText)->Unit(benchmark::kMillisecond);

std::vector<Scene::CharacterControllerComponent> MovingControllers() {
    std::vector<Scene::CharacterControllerComponent> controllers(kControllers);
    for (std::size_t i = 0; i < controllers.size(); ++i) {
        controllers[i].velocity = {static_cast<float>(i), 0.5f, -1.0f};
        controllers[i].grounded = (i % 3) == 0;
        controllers[i].jumpBufferTimer = 0.01f * static_cast<float>(i % 7);
    }
    return controllers;
}

const Scene::ComponentSaveGameFields& ControllerFields() {
    Scene::InstallComponents();
    return Scene::ComponentRegistry::Instance().Find<Scene::CharacterControllerComponent>()->saveGameFields;
}

void BM_CaptureCharacterControllerState(benchmark::State& state) {
    const Scene::ComponentSaveGameFields& fields = ControllerFields();
    const std::vector<Scene::CharacterControllerComponent> controllers = MovingControllers();
    std::vector<Scene::SaveGameFieldSet> sets(controllers.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < controllers.size(); ++i)
            sets[i] = fields.Capture(&controllers[i], {});
        benchmark::DoNotOptimize(sets.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(controllers.size()));
}
BENCHMARK(BM_CaptureCharacterControllerState)->Unit(benchmark::kMillisecond);

void BM_ApplyCharacterControllerState(benchmark::State& state) {
    const Scene::ComponentSaveGameFields& fields = ControllerFields();
    const std::vector<Scene::CharacterControllerComponent> source = MovingControllers();
    std::vector<Scene::SaveGameFieldSet> sets;
    for (const Scene::CharacterControllerComponent& controller : source)
        sets.push_back(fields.Capture(&controller, {}));
    std::vector<Scene::CharacterControllerComponent> targets(source.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < targets.size(); ++i)
            fields.Apply(&targets[i], sets[i], {}, nullptr);
        benchmark::DoNotOptimize(targets.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(targets.size()));
}
BENCHMARK(BM_ApplyCharacterControllerState)->Unit(benchmark::kMillisecond);

void BM_CopyCharacterControllers(benchmark::State& state) {
    const std::vector<Scene::CharacterControllerComponent> source = MovingControllers();
    std::vector<Scene::CharacterControllerComponent> targets(source.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < targets.size(); ++i)
            targets[i] = source[i];
        benchmark::DoNotOptimize(targets.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(targets.size()));
}
BENCHMARK(BM_CopyCharacterControllers)->Unit(benchmark::kMillisecond);

} // namespace
