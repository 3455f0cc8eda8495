#include "engine/assets/ByteStream.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/CookedScene.h"
#include "engine/scene/Scene.h"
#include "engine/scene/components/AnimationComponents.h"
#include "engine/scene/components/ClothComponent.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/GameplayComponents.h"
#include "engine/scene/components/LightComponents.h"
#include "engine/scene/components/NavigationComponents.h"
#include "engine/scene/components/OceanComponent.h"
#include "engine/scene/components/ParticleComponents.h"
#include "engine/scene/components/PhysicsComponents.h"
#include "engine/scene/components/RenderComponents.h"
#include "engine/scene/components/ScriptComponents.h"
#include "engine/scene/components/SplineComponents.h"
#include "engine/scene/components/TerrainComponent.h"
#include "engine/scene/components/WorldComponents.h"
#include "engine/scene/components/tests/CatalogueTestSupport.h"
#include "engine/scene/prefabs/PrefabOverrides.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

// The behaviour the component families add beyond the field tables their golden files pin:
// registration order, upgrades of old records, save and load hooks, entity links, and
// save-game state.
namespace Brelk::Scene {
namespace {

using Brelk::Testing::ThrownMessage;
using Reflection::SchemaRecord;
using Entities = std::vector<Entity>;
using Testing::EntryOf;
using Testing::InstalledReflection;
using Testing::SaveOne;

// The order is pinned by a golden list: saved files depend on it.
TEST(ComponentFamilyTests, SavedFilesOrderRecordsByTheFixedRegistrationOrderAndInstallingTwiceAddsNothing) {
    InstallComponents();
    const std::size_t size = ComponentRegistry::Instance().Size();
    InstallComponents();
    EXPECT_EQ(ComponentRegistry::Instance().Size(), size);
    std::vector<const ComponentTypeEntry*> entries;
    ComponentRegistry::Instance().EntriesInRegistrationOrder(entries);
    std::string names;
    // Components that other tests add join later, under groups of their own.
    for (const ComponentTypeEntry* entry : entries)
        if (entry->group != "Tests" && entry->group != "Plugins") names += entry->name + "\n";
    Brelk::Testing::ExpectGoldenText(std::filesystem::path(BRELK_TEST_DATA_DIR) / "ComponentOrder.golden", names);
    std::string error;
    EXPECT_TRUE(InstalledReflection().Validate(&error)) << error;
}

// A default entity with `T`, saved, read back as text and loaded, saves the same text again.
TEST(ComponentFamilyTests, EveryComponentRoundTripsThroughItsRecordTextAndTheCookedCodec) {
    InstallComponents();
    const ComponentLoadTable table;
    std::size_t tried = 0;
    for (const ComponentTypeEntry* entry : table.entries) {
        // Only the engine's own: plugins' and other tests' components keep to groups of their own.
        if (entry->group == "Tests" || entry->group == "Plugins") continue;
        SCOPED_TRACE(entry->name);
        Registry registry;
        const Entity entity = registry.CreateEntity();
        entry->addDefault(registry, entity);
        const std::vector<SchemaRecord> saved = SaveOne(registry, entity, entry->name);
        std::string text;
        for (const SchemaRecord& record : saved) Reflection::AppendSchemaRecord(text, record);
        // The cooked form carries the same records, bit for bit.
        SceneDocument document;
        document.version = SceneFormatVersion;
        SceneEntityBlock& block = document.entities.emplace_back();
        block.guid = Core::Guid::FromName(entry->name);
        for (const SchemaRecord& record : saved) block.records.push_back({record});
        SceneDocument cooked;
        ASSERT_TRUE(DecodeCookedScene(EncodeCookedScene(document), cooked, "c.bscene", nullptr));
        ASSERT_EQ(cooked.entities.size(), 1u);
        ASSERT_EQ(cooked.entities[0].records.size(), saved.size());
        for (std::size_t i = 0; i < saved.size(); ++i)
            EXPECT_EQ(cooked.entities[0].records[i].record, saved[i]);

        const Entity loaded = Testing::LoadEntity(registry, ParseOverrideRecords(text));
        std::string again;
        for (const SchemaRecord& record : SaveOne(registry, loaded, entry->name))
            Reflection::AppendSchemaRecord(again, record);
        EXPECT_EQ(again, text);
        ++tried;
    }
    EXPECT_EQ(tried, 49u);
}

// Each component on `entity` as the records it saves, holding only the fields that differ
// from those of a default component.
std::string FieldsOffDefault(Registry& registry, Entity entity) {
    std::vector<const ComponentTypeEntry*> entries;
    ComponentRegistry::Instance().EntriesInRegistrationOrder(entries);
    std::string out;
    for (const ComponentTypeEntry* entry : entries) {
        if (!entry->has(registry, entity)) continue;
        const Entity fresh = registry.CreateEntity();
        entry->addDefault(registry, fresh);
        const std::vector<SchemaRecord> defaults = SaveOne(registry, fresh, entry->name);
        std::vector<SchemaRecord> records = SaveOne(registry, entity, entry->name);
        for (std::size_t i = 0; i < records.size(); ++i) {
            std::erase_if(records[i].fields, [&](const Reflection::SchemaField& field) {
                const Reflection::SchemaField* old = i < defaults.size() ? defaults[i].FindField(field.name) : nullptr;
                return old != nullptr && *old == field;
            });
            Reflection::AppendSchemaRecord(out, records[i]);
        }
    }
    return out;
}

TEST(ComponentFamilyTests, RecordsLoadThroughTheirUpgradesOrComeBackAsWritten) {
    const auto load = [](const Brelk::Testing::TextCase& c) -> std::string {
        Registry registry;
        try {
            const Entity entity = Testing::LoadEntity(registry, ParseOverrideRecords(c.input));
            std::string out = FieldsOffDefault(registry, entity);
            // Run-time state that no record carries: an upgrade must not bring playback state
            // back, and a loaded spline must build its mesh.
            if (const auto* animator = registry.TryGet<AnimatorComponent>(entity)) {
                out += "playback time " + std::to_string(animator->currentTime);
                for (const AnimatorParameterValue& parameter : animator->parameters)
                    out += ", " + parameter.name + " armed " + std::to_string(parameter.triggerArmed);
            }
            if (const auto* spline = registry.TryGet<SplineComponent>(entity))
                out += spline->meshDirty ? "mesh to build" : "mesh built";
            return out;
        } catch (const std::exception& e) {
            return e.what();
        }
    };
    Brelk::Testing::ExpectTextCases(std::filesystem::path(BRELK_TEST_DATA_DIR) / "ComponentRecords.txt", load);
}

TEST(ComponentFamilyTests, AMeshRendererSavesTheMeshTheUserChoseNotAGeneratedOne) {
    const struct {
        const char* name;
        std::function<void(Registry&, Entity)> setUp;
        std::uint64_t rendererMesh;
        const char* saved;
    } cases[] = {
        {"a terrain's generated mesh is dropped", [](Registry& r, Entity e) { r.Emplace<TerrainComponent>(e).generatedMesh = 77; },
         77, ""},
        {"a mesh chosen over a terrain is kept", [](Registry& r, Entity e) { r.Emplace<TerrainComponent>(e).generatedMesh = 77; },
         5, "Mesh:5"},
        {"a cloth saves its source mesh",
         [](Registry& r, Entity e) {
             Physics::ClothComponent& cloth = r.Emplace<Physics::ClothComponent>(e);
             cloth.runtimeMesh = 9, cloth.sourceMesh = 3;
         },
         9, "Mesh:3"},
        {"a spline's generated mesh is dropped", [](Registry& r, Entity e) { r.Emplace<SplineComponent>(e).generatedMesh = 21; },
         21, ""},
        {"an ocean's generated mesh is dropped", [](Registry& r, Entity e) { r.Emplace<OceanComponent>(e).generatedMesh = 21; },
         21, ""},
        {"a mesh chosen over an ocean is kept", [](Registry& r, Entity e) { r.Emplace<OceanComponent>(e).generatedMesh = 22; },
         21, "Mesh:21"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Registry registry;
        const Entity entity = registry.CreateEntity();
        c.setUp(registry, entity);
        registry.Emplace<MeshRendererComponent>(entity).mesh = c.rendererMesh;
        const auto records = SaveOne(registry, entity, "MeshRendererComponent");
        EXPECT_EQ(std::get<std::string>(records.at(0).FindField("mesh")->value), c.saved);
        EXPECT_EQ(registry.Get<MeshRendererComponent>(entity).mesh, c.rendererMesh);
    }
}

TEST(ComponentFamilyTests, BuoyancyRefusesMoreThanThirtyTwoCustomPointsOnSaveAndLoad) {
    for (const std::size_t points : {32u, 33u}) {
        SCOPED_TRACE(points);
        Registry registry;
        const Entity entity = registry.CreateEntity();
        registry.Emplace<BuoyancyComponent>(entity).customPoints.resize(points);
        std::string saveError = ThrownMessage([&] { SaveOne(registry, entity, "BuoyancyComponent"); });
        registry.Get<BuoyancyComponent>(entity).customPoints.resize(32);
        std::vector<SchemaRecord> records = SaveOne(registry, entity, "BuoyancyComponent");
        Reflection::SchemaArray& array = std::get<Reflection::SchemaArray>(records[0].fields.back().value);
        array.elements.resize(points, array.elements.front());
        std::string loadError = ThrownMessage([&] { Testing::LoadEntity(registry, std::move(records)); });
        const char* expected = points > 32 ? "Buoyancy component exceeds 32 custom points." : "<no exception>";
        EXPECT_EQ(saveError, expected);
        EXPECT_EQ(loadError, expected);
    }
}

TEST(ComponentFamilyTests, EntityLinksSaveTheTargetGuidAndResolveOnLoad) {
    Scene scene;
    const Entity ocean = scene.CreateEntity("Sea");
    scene.Emplace<OceanComponent>(ocean);
    const Entity rock = scene.CreateEntity("Rock");
    const Entity boat = scene.CreateEntity("Boat");
    scene.Emplace<BuoyancyComponent>(boat).waterBody = ocean;
    scene.Emplace<ConstraintComponent>(boat).connectedEntity = rock;
    scene.Emplace<CharacterControllerComponent>(boat).visualRoot = rock;
    ThirdPersonCameraControllerComponent& camera = scene.Emplace<ThirdPersonCameraControllerComponent>(boat);
    camera.target = ocean, camera.aimTarget = rock;
    // The animator's links travel as Guid text.
    AnimatorComponent& animator = scene.Emplace<AnimatorComponent>(boat);
    animator.ikChains.resize(1);
    animator.ikChains[0].targetEntity = rock;
    animator.ikChains[0].poleEntityGuid = "3F2A9C1E7B404E119A6D5C0D2E8F1B77";
    animator.lookAtChains.resize(1);
    animator.lookAtChains[0].targetEntityGuid = "not a guid";

    std::vector<SchemaRecord> records;
    for (const char* name : {"ConstraintComponent", "BuoyancyComponent", "AnimatorComponent",
                             "CharacterControllerComponent", "ThirdPersonCameraControllerComponent"})
        for (SchemaRecord& record : SaveOne(scene, boat, name)) records.push_back(std::move(record));
    EXPECT_EQ(std::get<std::string>(records[0].FindField("connectedEntityGuid")->value),
              scene.GetEntityGuid(rock).ToString());
    EXPECT_TRUE(animator.ikChains[0].targetEntityGuid.empty());

    const Entity copy = Testing::LoadEntity(scene, records);
    const AnimatorComponent& loaded = scene.Get<AnimatorComponent>(copy);
    const ThirdPersonCameraControllerComponent& follow = scene.Get<ThirdPersonCameraControllerComponent>(copy);
    EXPECT_EQ((Entities{scene.Get<ConstraintComponent>(copy).connectedEntity, scene.Get<BuoyancyComponent>(copy).waterBody,
                        scene.Get<CharacterControllerComponent>(copy).visualRoot, follow.target, follow.aimTarget,
                        loaded.ikChains[0].targetEntity, loaded.ikChains[0].poleEntity}),
              (Entities{rock, ocean, rock, ocean, rock, rock, kNullEntity}));
    EXPECT_EQ((std::vector<std::string>{loaded.ikChains[0].targetEntityGuid, loaded.ikChains[0].poleEntityGuid,
                                        loaded.lookAtChains[0].targetEntityGuid}),
              (std::vector<std::string>{scene.GetEntityGuid(rock).ToString(), "3f2a9c1e-7b40-4e11-9a6d-5c0d2e8f1b77", ""}));

    // Only an ocean is water: a link to anything else resolves to none.
    scene.Remove<OceanComponent>(ocean);
    EXPECT_EQ(scene.Get<BuoyancyComponent>(Testing::LoadEntity(scene, records)).waterBody, kNullEntity);
}

TEST(ComponentFamilyTests, CopiesRestartTheirRunTimeState) {
    Registry registry;
    const Entity source = registry.CreateEntity();
    AnimatorComponent& animator = registry.Emplace<AnimatorComponent>(source);
    animator.manualBonePose.resize(3);
    animator.currentTime = 5.0f;
    ParticleEmitterComponent& emitter = registry.Emplace<ParticleEmitterComponent>(source);
    emitter.randomSeed = 77, emitter.runtimeSeed = 3;
    registry.Emplace<SplineComponent>(source).meshDirty = false;

    const Entity target = registry.CreateEntity();
    for (const char* name : {"AnimatorComponent", "ParticleEmitterComponent", "SplineComponent"})
        EntryOf(name).copy(registry, source, target, ComponentCopyKind::Duplicate);
    const AnimatorComponent& copy = registry.Get<AnimatorComponent>(target);
    EXPECT_EQ(std::tuple(copy.rebuildRuntimeState, copy.manualBonePose.empty(), copy.currentTime,
                         registry.Get<ParticleEmitterComponent>(target).runtimeSeed,
                         registry.Get<SplineComponent>(target).meshDirty),
              std::tuple(true, true, 0.0f, 77u, true));
}

TEST(ComponentFamilyTests, SaveGameStateRoundTripsWithEntitiesAsGuidsAndLayersByPosition) {
    Scene scene;
    const Entity ground = scene.CreateEntity("Ground");
    const Entity player = scene.CreateEntity("Player");
    CharacterControllerComponent& controller = scene.Emplace<CharacterControllerComponent>(player);
    controller.velocity = {1.0f, -2.0f, 0.5f}, controller.grounded = true, controller.jumpBufferTimer = 0.25f;
    controller.crouched = true, controller.groundEntity = ground, controller.groundNormal = {0.0f, 0.8f, 0.6f};
    controller.achievedVelocity = {3.0f, 0.0f, 0.0f};
    const ComponentSaveGameFields& fields = EntryOf("CharacterControllerComponent").saveGameFields;
    const SaveGameFieldCodecContext context{&scene, &scene};
    const SaveGameFieldSet set = fields.Capture(&controller, context);
    const Core::Guid guid = scene.GetEntityGuid(ground);
    Assets::ByteWriter expected;
    expected.WriteU64(guid.high);
    expected.WriteU64(guid.low);
    ASSERT_NE(set.Find("groundEntity"), nullptr);
    EXPECT_EQ(set.Find("groundEntity")->bytes, expected.TakeBytes());
    CharacterControllerComponent restored;
    fields.Apply(&restored, set, context, nullptr);
    EXPECT_EQ(restored, controller);

    AnimatorComponent animator;
    animator.layers.resize(2);
    animator.layers[0].timeSeconds = 1.5f, animator.layers[1].timeSeconds = 2.5f;
    animator.currentState = "Walk", animator.nextState = "Run", animator.blendAlpha = 0.25f;
    animator.spineLeanForward = {0.0f, 0.0f, 1.0f};
    const ComponentSaveGameFields& animatorFields = EntryOf("AnimatorComponent").saveGameFields;
    const SaveGameFieldSet animatorSet = animatorFields.Capture(&animator, {});
    AnimatorComponent fewer;
    fewer.layers.resize(1);
    animatorFields.Apply(&fewer, animatorSet, {}, nullptr);
    EXPECT_EQ(fewer.layers[0].timeSeconds, 1.5f);
    EXPECT_EQ(fewer.currentState, "Walk");
    EXPECT_EQ(fewer.spineLeanForward, animator.spineLeanForward);
    AnimatorComponent more;
    more.layers.resize(3);
    more.layers[2].timeSeconds = 9.0f;
    animatorFields.Apply(&more, animatorSet, {}, nullptr);
    EXPECT_EQ(more.layers[1].timeSeconds, 2.5f);
    EXPECT_EQ(more.layers[2].timeSeconds, 9.0f);
}

} // namespace
} // namespace Brelk::Scene
