#include "engine/assets/ByteStream.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/CookedScene.h"
#include "engine/scene/Scene.h"
#include "engine/scene/components/AnimationComponents.h"
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
#include "engine/scene/components/tests/CatalogueTestSupport.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// The behaviour the component families add beyond their field tables: upgrades of old
// records, save and load hooks, entity links, and save-game state.
namespace Brelk::Scene {
namespace {

using Brelk::Testing::ThrownMessage;
using Reflection::SchemaRecord;
using Testing::EntryOf;
using Testing::LoadOne;
using Testing::ReadRecordText;
using Testing::SaveOne;

TEST(ComponentFamilyTests, SavedFilesOrderRecordsByTheFixedRegistrationOrder) {
    const std::vector<std::string> expected = {
        "NameComponent", "EntityGuidComponent", "TransformComponent", "HierarchyComponent", "PrefabInstanceComponent",
        "TransientComponent", "RigidBodyComponent", "ColliderComponent", "ConstraintComponent", "BuoyancyComponent",
        "ClothComponent", "OceanComponent", "ScriptComponent", "MeshRendererComponent", "BillboardComponent",
        "CameraComponent", "ParticleEmitterComponent", "AnimatorComponent", "RagdollComponent",
        "DirectionalLightComponent", "PointLightComponent", "SpotLightComponent", "ReflectionProbeComponent",
        "ProbeVolumeComponent", "RotatorComponent", "GameplayLayerComponent", "CharacterControllerComponent",
        "FirstPersonCameraControllerComponent", "ThirdPersonCameraControllerComponent", "HealthComponent",
        "SpawnPointComponent", "NavigationBakeComponent", "PathWalkerComponent", "NavMeshSurfaceComponent",
        "NavAgentComponent", "NavAreaComponent", "NavOffMeshLinkComponent", "SplineComponent", "TerrainComponent",
        "BlackboardComponent", "AIControllerComponent", "AIPerceptionComponent", "AIPerceivableComponent",
        "WorldStreamingSourceComponent", "WorldChunkComponent", "WorldPartitionComponent", "WorldPersistentComponent",
        "WorldCellPreviewComponent", "VfxEffectDefinitionComponent", "VfxEffectComponent", "VfxEmitterBaseline",
        "AudioSourceComponent", "AudioListenerComponent", "UICanvasComponent", "NetworkReplicationComponent"};
    InstallComponents();
    std::vector<const ComponentTypeEntry*> entries;
    ComponentRegistry::Instance().EntriesInRegistrationOrder(entries);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < entries.size() && i < expected.size(); ++i)
        names.push_back(entries[i]->name);
    EXPECT_EQ(names, expected);
}

// A default entity with `T`, saved, read back as text and loaded, saves the same text again.
TEST(ComponentFamilyTests, EveryComponentRoundTripsThroughItsRecordTextAndTheCookedCodec) {
    InstallComponents();
    std::vector<const ComponentTypeEntry*> entries;
    ComponentRegistry::Instance().EntriesInRegistrationOrder(entries);
    const ComponentLoadTable table;
    std::size_t tried = 0;
    for (const ComponentTypeEntry* entry : table.entries) {
        SCOPED_TRACE(entry->name);
        Registry registry;
        const Entity entity = registry.CreateEntity();
        entry->addDefault(registry, entity);
        const std::vector<SchemaRecord> saved = SaveOne(registry, entity, entry->name);
        std::string text;
        for (const SchemaRecord& record : saved)
            Reflection::AppendSchemaRecord(text, record);
        std::vector<SchemaRecord> read;
        Reflection::SchemaLineCursor lines(text);
        std::string_view header;
        while (lines.NextLine(header)) {
            read.push_back(
                Reflection::ReadSchemaRecord(header.substr(std::string_view("component_schema").size()), lines));
        }
        // The cooked form carries the same records, bit for bit.
        SceneDocument document;
        document.version = SceneFormatVersion;
        SceneEntityBlock& block = document.entities.emplace_back();
        block.guid = Core::Guid::FromName(entry->name);
        for (const SchemaRecord& record : saved)
            block.records.push_back({record});
        SceneDocument cooked;
        ASSERT_TRUE(DecodeCookedScene(EncodeCookedScene(document), cooked, "c.bscene", nullptr));
        ASSERT_EQ(cooked.entities.size(), 1u);
        ASSERT_EQ(cooked.entities[0].records.size(), saved.size());
        for (std::size_t i = 0; i < saved.size(); ++i)
            EXPECT_EQ(cooked.entities[0].records[i].record, saved[i]);

        const Entity loaded = Testing::LoadEntity(registry, std::move(read));
        std::string again;
        for (const SchemaRecord& record : SaveOne(registry, loaded, entry->name))
            Reflection::AppendSchemaRecord(again, record);
        EXPECT_EQ(again, text);
        ++tried;
    }
    EXPECT_EQ(tried, 49u);
}

TEST(ComponentFamilyTests, OldRecordsLoadThroughTheirUpgrades) {
    Registry registry;
    const char* lightVersionOne =
        "property \"intensity\" \"7\"\nproperty \"inverseSquareFalloff\" \"1\"\nend_component_schema\n";
    const PointLightComponent& point = LoadOne<PointLightComponent>(
        registry, {ReadRecordText(std::string("component_schema \"PointLightComponent\" 1 2\n") + lightVersionOne)});
    EXPECT_FALSE(point.inverseSquareFalloff);
    EXPECT_EQ(point.intensity, 7.0f);
    EXPECT_TRUE(PointLightComponent{}.inverseSquareFalloff);
    const SpotLightComponent& spot = LoadOne<SpotLightComponent>(
        registry, {ReadRecordText(std::string("component_schema \"SpotLightComponent\" 1 2\n") + lightVersionOne)});
    EXPECT_FALSE(spot.inverseSquareFalloff);
    const SpotLightComponent& current = LoadOne<SpotLightComponent>(
        registry, {ReadRecordText("component_schema \"SpotLightComponent\" 2 1\nproperty \"inverseSquareFalloff\" "
                                  "\"1\"\nend_component_schema\n")});
    EXPECT_TRUE(current.inverseSquareFalloff);

    const RigidBodyComponent& body = LoadOne<RigidBodyComponent>(
        registry, {ReadRecordText("component_schema \"RigidBodyComponent\" 1 4\nproperty \"mass\" \"3\"\n"
                                  "property \"linearVelocity\" \"1 2 3\"\nproperty \"angularVelocity\" \"0 1 0\"\n"
                                  "property \"isAwake\" \"0\"\nend_component_schema\n")});
    EXPECT_EQ(body.mass, 3.0f);
    EXPECT_EQ(body.linearVelocity, glm::vec3(0.0f));
    EXPECT_TRUE(body.isAwake);

    const PathWalkerComponent& walker = LoadOne<PathWalkerComponent>(
        registry, {ReadRecordText("component_schema \"PathWalkerComponent\" 1 2\nproperty \"hasDestination\" \"1\"\n"
                                  "property \"speed\" \"2\"\nend_component_schema\n")});
    EXPECT_EQ(walker.speed, 2.0f);
}

TEST(ComponentFamilyTests, AnOldAnimatorKeepsItsInitialStateAndDropsItsPlaybackState) {
    const struct {
        const char* name;
        const char* header;
        const char* states;
        const char* initialState;
    } cases[] = {
        {"current state becomes the initial state", "component_schema \"AnimatorComponent\" 1 5\n",
         "property \"currentState\" \"Run\"\n", "Run"},
        {"an initial state wins", "component_schema \"AnimatorComponent\" 1 6\n",
         "property \"currentState\" \"Run\"\nproperty \"initialState\" \"Idle\"\n", "Idle"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Registry registry;
        const AnimatorComponent& animator = LoadOne<AnimatorComponent>(
            registry,
            {ReadRecordText(
                std::string(c.header) + c.states +
                "property \"currentTime\" \"2\"\nproperty \"blendAlpha\" \"0.5\"\n"
                "array_property \"layers\" 1\nobject \"AnimatorLayer\" 1 2\n"
                "property \"name\" \"Upper\"\nproperty \"timeSeconds\" \"4\"\nend_component_schema\nend_array\n"
                "array_property \"parameters\" 1\nobject \"AnimatorParameterValue\" 1 2\n"
                "property \"name\" \"Jump\"\nproperty \"triggerArmed\" \"1\"\nend_component_schema\nend_array\n"
                "end_component_schema\n")});
        EXPECT_EQ(animator.initialState, c.initialState);
        EXPECT_EQ(animator.currentTime, 0.0f);
        ASSERT_EQ(animator.layers.size(), 1u);
        EXPECT_EQ(animator.layers[0].name, "Upper");
        ASSERT_EQ(animator.parameters.size(), 1u);
        EXPECT_FALSE(animator.parameters[0].triggerArmed);
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
        std::string loadError = ThrownMessage([&] { LoadOne<BuoyancyComponent>(registry, std::move(records)); });
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
    CharacterControllerComponent& controller = scene.Emplace<CharacterControllerComponent>(boat);
    controller.visualRoot = rock;
    ThirdPersonCameraControllerComponent& camera = scene.Emplace<ThirdPersonCameraControllerComponent>(boat);
    camera.target = ocean, camera.aimTarget = rock;

    std::vector<SchemaRecord> records;
    for (const char* name : {"ConstraintComponent", "BuoyancyComponent", "CharacterControllerComponent",
                             "ThirdPersonCameraControllerComponent"}) {
        for (SchemaRecord& record : SaveOne(scene, boat, name))
            records.push_back(std::move(record));
    }
    EXPECT_EQ(std::get<std::string>(records[0].FindField("connectedEntityGuid")->value),
              scene.GetEntityGuid(rock).ToString());
    EXPECT_EQ(records[0].FindField("connectedEntity"), nullptr);

    const Entity copy = Testing::LoadEntity(scene, records);
    EXPECT_EQ(scene.Get<ConstraintComponent>(copy).connectedEntity, rock);
    EXPECT_EQ(scene.Get<BuoyancyComponent>(copy).waterBody, ocean);
    EXPECT_EQ(scene.Get<CharacterControllerComponent>(copy).visualRoot, rock);
    EXPECT_EQ(scene.Get<ThirdPersonCameraControllerComponent>(copy).target, ocean);
    EXPECT_EQ(scene.Get<ThirdPersonCameraControllerComponent>(copy).aimTarget, rock);

    // Only an ocean is water: a link to anything else resolves to none.
    scene.Remove<OceanComponent>(ocean);
    EXPECT_EQ(scene.Get<BuoyancyComponent>(Testing::LoadEntity(scene, records)).waterBody, kNullEntity);
}

TEST(ComponentFamilyTests, AnimatorLinksTravelAsGuidTextAndResolveToEntities) {
    Scene scene;
    const Entity hand = scene.CreateEntity("Hand");
    const Entity actor = scene.CreateEntity("Actor");
    AnimatorComponent& animator = scene.Emplace<AnimatorComponent>(actor);
    animator.ikChains.resize(1);
    animator.ikChains[0].targetEntity = hand;
    animator.ikChains[0].poleEntityGuid = "3F2A9C1E7B404E119A6D5C0D2E8F1B77";
    animator.lookAtChains.resize(1);
    animator.lookAtChains[0].targetEntityGuid = "not a guid";

    std::vector<SchemaRecord> records = SaveOne(scene, actor, "AnimatorComponent");
    EXPECT_TRUE(animator.ikChains[0].targetEntityGuid.empty());
    const AnimatorComponent& loaded = LoadOne<AnimatorComponent>(scene, std::move(records));
    EXPECT_EQ(loaded.ikChains[0].targetEntityGuid, scene.GetEntityGuid(hand).ToString());
    EXPECT_EQ(loaded.ikChains[0].targetEntity, hand);
    EXPECT_EQ(loaded.ikChains[0].poleEntityGuid, "3f2a9c1e-7b40-4e11-9a6d-5c0d2e8f1b77");
    EXPECT_EQ(loaded.ikChains[0].poleEntity, kNullEntity);
    EXPECT_EQ(loaded.lookAtChains[0].targetEntityGuid, "");
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
    for (const char* name : {"AnimatorComponent", "ParticleEmitterComponent", "SplineComponent"}) {
        EntryOf(name).copy(registry, source, target, ComponentCopyKind::Duplicate);
    }
    const AnimatorComponent& copy = registry.Get<AnimatorComponent>(target);
    EXPECT_TRUE(copy.rebuildRuntimeState);
    EXPECT_TRUE(copy.manualBonePose.empty());
    EXPECT_EQ(copy.currentTime, 0.0f);
    EXPECT_EQ(registry.Get<ParticleEmitterComponent>(target).runtimeSeed, 77u);
    EXPECT_TRUE(registry.Get<SplineComponent>(target).meshDirty);
}

TEST(ComponentFamilyTests, ScriptAndSplineSaveAsTheirRecordsAndLoadBack) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    ScriptComponent& scripts = registry.Emplace<ScriptComponent>(entity);
    scripts.scripts.resize(1);
    scripts.scripts[0].className = "Door";
    scripts.scripts[0].serializedFields.push_back(
        ScriptFieldRecord{Core::Guid::FromName("f"), "speed", ScriptFieldType::Float, "2.5"});
    SplineComponent& spline = registry.Emplace<SplineComponent>(entity);
    spline.spline.closed = true;
    spline.spline.points.resize(2);
    spline.spline.points[1].position = {4.0f, 0.0f, 1.0f};
    spline.material = 9, spline.materialSlots = {3, 4}, spline.segmentMaterialSlots = {1};
    spline.selectedPoint = 1, spline.showTangents = false, spline.meshSettings.radialSegments = 6;
    spline.generatedMesh = 12, spline.meshDirty = false;
    const ScriptComponent savedScripts = scripts;
    SplineComponent expected = spline;
    expected.generatedMesh = 0, expected.meshDirty = true;

    std::vector<SchemaRecord> records = SaveOne(registry, entity, "ScriptComponent");
    EXPECT_EQ(records.at(0).name, "ScriptComponentRecord");
    std::vector<SchemaRecord> splineRecords = SaveOne(registry, entity, "SplineComponent");
    EXPECT_EQ(splineRecords.at(0).name, "SplineComponentRecord");
    records.push_back(std::move(splineRecords[0]));

    const Entity loaded = Testing::LoadEntity(registry, std::move(records));
    EXPECT_EQ(registry.Get<ScriptComponent>(loaded), savedScripts);
    EXPECT_EQ(registry.Get<SplineComponent>(loaded), expected);
}

TEST(ComponentFamilyTests, AMeshRendererForgetsTheMeshASplineOrOceanGenerated) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace<SplineComponent>(entity).generatedMesh = 21;
    registry.Emplace<MeshRendererComponent>(entity).mesh = 21;
    EXPECT_EQ(std::get<std::string>(SaveOne(registry, entity, "MeshRendererComponent")[0].FindField("mesh")->value),
              "");
    registry.Remove<SplineComponent>(entity);
    registry.Emplace<OceanComponent>(entity).generatedMesh = 21;
    EXPECT_EQ(std::get<std::string>(SaveOne(registry, entity, "MeshRendererComponent")[0].FindField("mesh")->value),
              "");
    registry.Get<OceanComponent>(entity).generatedMesh = 22;
    EXPECT_EQ(std::get<std::string>(SaveOne(registry, entity, "MeshRendererComponent")[0].FindField("mesh")->value),
              "Mesh:21");
}

TEST(ComponentFamilyTests, PointAndSpotLightFactoriesPlaceTheirLights) {
    Scene scene;
    const Entity point = scene.CreatePointLight("Lamp");
    const Entity spot = scene.CreateSpotLight("Torch");
    EXPECT_EQ(scene.Get<NameComponent>(point).name, "Lamp");
    EXPECT_EQ(scene.Get<PointLightComponent>(point), PointLightComponent{});
    EXPECT_EQ(scene.Get<TransformComponent>(point).transform,
              (Transform{{0.0f, 2.0f, 0.0f}, {0.0f, 0.0f, 0.0f}, {1.0f, 1.0f, 1.0f}}));
    EXPECT_EQ(scene.Get<SpotLightComponent>(spot), SpotLightComponent{});
    EXPECT_EQ(scene.Get<TransformComponent>(spot).transform,
              (Transform{{0.0f, 3.0f, 3.0f}, {-35.0f, 180.0f, 0.0f}, {1.0f, 1.0f, 1.0f}}));
}

std::vector<std::uint8_t> BytesOf(const SaveGameFieldSet& set, const char* name) {
    const SaveGameFieldValue* value = set.Find(name);
    return value != nullptr ? value->bytes : std::vector<std::uint8_t>{};
}

TEST(ComponentFamilyTests, CharacterControllerStateRoundTripsThroughSaveGameFields) {
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
    ASSERT_EQ(set.fields.size(), 16u);

    const Core::Guid guid = scene.GetEntityGuid(ground);
    Assets::ByteWriter expected;
    expected.WriteU64(guid.high);
    expected.WriteU64(guid.low);
    EXPECT_EQ(BytesOf(set, "groundEntity"), expected.TakeBytes());
    EXPECT_EQ(BytesOf(set, "grounded"), (std::vector<std::uint8_t>{1}));

    CharacterControllerComponent restored;
    fields.Apply(&restored, set, context, nullptr);
    EXPECT_EQ(restored, controller);

    // A bool of 2 leaves the controller as it was, fields applied before it included.
    SaveGameFieldSet broken = set;
    broken.fields[1].bytes = {2};
    CharacterControllerComponent untouched;
    EXPECT_EQ(ThrownMessage([&] { fields.Apply(&untouched, broken, context, nullptr); }), "Malformed save-game bool.");
    EXPECT_EQ(untouched, CharacterControllerComponent{});
}

TEST(ComponentFamilyTests, AnimatorAndRigidBodySaveGameStateRoundTrips) {
    AnimatorComponent animator;
    animator.layers.resize(2);
    animator.layers[0].timeSeconds = 1.5f, animator.layers[1].timeSeconds = 2.5f;
    animator.currentState = "Walk", animator.nextState = "Run", animator.blendAlpha = 0.25f;
    animator.spineLeanForward = {0.0f, 0.0f, 1.0f};
    const ComponentSaveGameFields& animatorFields = EntryOf("AnimatorComponent").saveGameFields;
    const SaveGameFieldSet set = animatorFields.Capture(&animator, {});
    EXPECT_EQ(set.fields.size(), 9u);

    AnimatorComponent fewer;
    fewer.layers.resize(1);
    animatorFields.Apply(&fewer, set, {}, nullptr);
    EXPECT_EQ(fewer.layers[0].timeSeconds, 1.5f);
    EXPECT_EQ(fewer.currentState, "Walk");
    EXPECT_EQ(fewer.spineLeanForward, animator.spineLeanForward);
    AnimatorComponent more;
    more.layers.resize(3);
    more.layers[2].timeSeconds = 9.0f;
    animatorFields.Apply(&more, set, {}, nullptr);
    EXPECT_EQ(more.layers[1].timeSeconds, 2.5f);
    EXPECT_EQ(more.layers[2].timeSeconds, 9.0f);

    RigidBodyComponent body;
    body.linearVelocity = {0.0f, -9.0f, 0.0f}, body.isAwake = false;
    const ComponentSaveGameFields& bodyFields = EntryOf("RigidBodyComponent").saveGameFields;
    RigidBodyComponent restored;
    bodyFields.Apply(&restored, bodyFields.Capture(&body, {}), {}, nullptr);
    EXPECT_EQ(restored, body);
}

} // namespace
} // namespace Brelk::Scene
