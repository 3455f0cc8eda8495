#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Registry.h"
#include "engine/scene/components/ClothComponent.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/EnvironmentSettings.h"
#include "engine/scene/components/LightComponents.h"
#include "engine/scene/components/PhysicsComponents.h"
#include "engine/scene/components/RenderComponents.h"
#include "engine/scene/components/TerrainComponent.h"
#include "engine/scene/components/WorldComponents.h"
#include "engine/scene/components/tests/CatalogueTestSupport.h"
#include "tests/support/TestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

namespace Brelk::Scene {
namespace {

using Testing::DefaultRecordText;
using Testing::EntryOf;
using Testing::InstalledReflection;
using Testing::LoadOne;
using Testing::ReadRecordText;
using Testing::SaveOne;


const Reflection::TypeInfo& TypeOf(const std::string& name) {
    const Reflection::TypeInfo* type = InstalledReflection().FindType(name);
    if (type == nullptr) throw std::runtime_error("no reflected type " + name);
    return *type;
}

TEST(CatalogueTests, RegistersTheComponentsWithTheirHeadersInTheOrderOfSavedRecords) {
    const struct { const char *name, *displayName, *group; std::uint32_t flags, version; const char* description; } rows[] = {
        {"NameComponent", "Name", "Core", 82, 1, ""},
        {"EntityGuidComponent", "Entity Guid", "Core", 82, 1, ""},
        {"TransformComponent", "Transform", "Core", 18, 1, ""},
        {"HierarchyComponent", "Hierarchy", "Core", 82, 1, ""},
        {"PrefabInstanceComponent", "Prefab Instance", "Core", 2, 2, ""},
        {"TransientComponent", "Transient", "Core", 32, 1, "Runtime-only entity tag (spawned VFX emitters): never saved, copied or listed."},
        {"ColliderComponent", "Collider", "Physics", 3, 1, "Adds a physical query/collision shape."},
        {"ClothComponent", "Cloth", "Physics", 3, 1, "Turns this entity mesh into a simulated cloth surface."},
        {"MeshRendererComponent", "Mesh Renderer", "Rendering", 3, 1, "Draws a mesh with one or more materials."},
        {"CameraComponent", "Camera", "Rendering", 3, 1, "Renders a scene view when marked primary or targeted by camera logic."},
        {"DirectionalLightComponent", "Directional Light", "Lighting", 3, 1, "Global sun/moon-style light with optional cascaded shadows."},
        {"TerrainComponent", "Terrain", "World", 3, 1, "Creates editable terrain data, render mesh, and terrain collision."},
        {"WorldStreamingSourceComponent", "World Streaming Source", "Streaming", 3, 1, "Loads world chunks within its radius."},
        {"WorldChunkComponent", "World Chunk", "Streaming", 3, 3, "A streamable region loaded and unloaded by distance to streaming sources."},
        {"WorldPartitionComponent", "World Partition", "Streaming", 3, 1,
            "Q-03: streams the cells of a world asset around the streaming sources (this scene is the "
            "persistent layer)."},
        {"WorldPersistentComponent", "World Persistent", "Streaming", 3, 1,
            "Q-03: keeps the entity (and its children) in the always-loaded persistent layer when the scene "
            "is partitioned into cells."},
        {"WorldCellPreviewComponent", "World Cell Preview", "Streaming", 32, 1,
            "Q-03: runtime tag of entities the editor's streaming preview created; never saved, copied or "
            "listed."},
    };
    InstallComponents();
    const std::size_t size = ComponentRegistry::Instance().Size();
    InstallComponents();
    EXPECT_EQ(ComponentRegistry::Instance().Size(), size);
    EXPECT_EQ(ComponentLoadTable().entries.front()->name, "TransformComponent");
    std::uint64_t next = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const ComponentTypeEntry& entry = EntryOf(row.name);
        EXPECT_GE(entry.registrationIndex, next);
        next = entry.registrationIndex + 1;
        EXPECT_EQ(entry.displayName, row.displayName);
        EXPECT_EQ(entry.group, row.group);
        EXPECT_EQ(entry.flags, row.flags);
        EXPECT_EQ(entry.userAddable, (row.flags & 1) != 0);
        EXPECT_EQ(entry.saved, (row.flags & 2) != 0);
        EXPECT_EQ(entry.description, row.description);
        EXPECT_EQ(TypeOf(row.name).version, row.version);
        EXPECT_EQ(TypeOf(row.name).displayName, row.displayName);
    }
}

TEST(CatalogueTests, InstallsAConsistentSchemaTable) {
    std::string error;
    EXPECT_TRUE(InstalledReflection().Validate(&error)) << error;
}

TEST(CatalogueTests, DefaultRecordsOfTheComponentsTheWorldGeneratorFillsHaveTheCatalogueDefaults) {
    const struct { std::string (*text)(); const char* expected; } rows[] = {
        {DefaultRecordText<CameraComponent>,
         "component_schema \"CameraComponent\" 1 4\n"
         "property \"verticalFovDegrees\" \"45\"\n"
         "property \"nearClip\" \"0.100000001\"\n"
         "property \"farClip\" \"500\"\n"
         "property \"primary\" \"0\"\n"
         "end_component_schema\n"},
        {DefaultRecordText<DirectionalLightComponent>,
         "component_schema \"DirectionalLightComponent\" 1 14\n"
         "property \"color\" \"1 0.959999979 0.879999995\"\n"
         "property \"intensity\" \"1.75\"\n"
         "property \"enabled\" \"1\"\n"
         "property \"castsShadows\" \"0\"\n"
         "property \"shadowResolution\" \"2048\"\n"
         "property \"shadowMaxDistance\" \"120\"\n"
         "property \"shadowBias\" \"0.00079999998\"\n"
         "property \"shadowNormalBias\" \"0.00350000011\"\n"
         "property \"shadowSlopeBias\" \"1.25\"\n"
         "property \"shadowStrength\" \"0.819999993\"\n"
         "property \"shadowPcfRadius\" \"1\"\n"
         "property \"shadowCascadeCount\" \"4\"\n"
         "property \"shadowCascadeLambda\" \"0.649999976\"\n"
         "property \"showCascadeDebug\" \"0\"\n"
         "end_component_schema\n"},
        {DefaultRecordText<MeshRendererComponent>,
         "component_schema \"MeshRendererComponent\" 1 13\n"
         "property \"mesh\" \"\"\n"
         "property \"material\" \"\"\n"
         "array_property \"materialSlots\" 0\n"
         "end_array\n"
         "property \"skeleton\" \"\"\n"
         "property \"skinningEnabled\" \"1\"\n"
         "property \"visible\" \"1\"\n"
         "property \"occluder\" \"1\"\n"
         "property \"allowOcclusion\" \"1\"\n"
         "property \"enableLod\" \"0\"\n"
         "property \"forceLodLevel\" \"0\"\n"
         "property \"forcedLodLevel\" \"0\"\n"
         "property \"lodDistanceScale\" \"1\"\n"
         "property \"maxDrawDistance\" \"250\"\n"
         "end_component_schema\n"},
        {DefaultRecordText<ColliderComponent>,
         "component_schema \"ColliderComponent\" 1 17\n"
         "object_property \"material\" \"PhysicsMaterial\" 1 4\n"
         "property \"staticFriction\" \"0.600000024\"\n"
         "property \"dynamicFriction\" \"0.600000024\"\n"
         "property \"restitution\" \"0\"\n"
         "property \"density\" \"1000\"\n"
         "end_component_schema\n"
         "object_property \"filter\" \"CollisionFilter\" 1 2\n"
         "property \"layer\" \"0\"\n"
         "property \"mask\" \"4294967295\"\n"
         "end_component_schema\n"
         "property \"shape\" \"Box\"\n"
         "property \"gameplayLayer\" \"Default\"\n"
         "property \"localOffset\" \"0 0 0\"\n"
         "property \"localRotation\" \"0 0 0\"\n"
         "property \"boxHalfExtents\" \"0.5 0.5 0.5\"\n"
         "property \"sphereRadius\" \"0.5\"\n"
         "property \"capsuleRadius\" \"0.5\"\n"
         "property \"capsuleHeight\" \"1.79999995\"\n"
         "property \"mesh\" \"\"\n"
         "property \"meshGeometry\" \"Auto\"\n"
         "property \"convexHullMaxPoints\" \"256\"\n"
         "property \"useMeshFromRenderer\" \"1\"\n"
         "property \"enabled\" \"1\"\n"
         "property \"isTrigger\" \"0\"\n"
         "property \"debugDraw\" \"1\"\n"
         "end_component_schema\n"},
        {DefaultRecordText<TerrainComponent>,
         "component_schema \"TerrainComponent\" 1 14\n"
         "property \"width\" \"24\"\n"
         "property \"length\" \"24\"\n"
         "property \"heightScale\" \"3\"\n"
         "property \"material\" \"\"\n"
         "property \"brushMode\" \"RaiseLower\"\n"
         "property \"brushRadius\" \"2\"\n"
         "property \"brushStrength\" \"0.180000007\"\n"
         "property \"resolutionX\" \"65\"\n"
         "property \"resolutionZ\" \"65\"\n"
         "property \"surfaceLayer\" \"Floor\"\n"
         "property \"brushFalloff\" \"0.550000012\"\n"
         "property \"flattenHeight\" \"0\"\n"
         "property \"activeLayer\" \"0\"\n"
         "array_property \"layers\" 0\n"
         "end_array\n"
         "end_component_schema\n"},
        {DefaultRecordText<TerrainLayer>,
         "component_schema \"TerrainLayer\" 1 7\n"
         "property \"name\" \"Layer\"\n"
         "property \"albedoTexture\" \"\"\n"
         "property \"normalTexture\" \"\"\n"
         "property \"material\" \"\"\n"
         "property \"tint\" \"1 1 1 1\"\n"
         "property \"tiling\" \"8\"\n"
         "property \"surfaceLayer\" \"Floor\"\n"
         "end_component_schema\n"},
        {DefaultRecordText<WorldStreamingSourceComponent>,
         "component_schema \"WorldStreamingSourceComponent\" 1 2\n"
         "property \"enabled\" \"1\"\n"
         "property \"radius\" \"120\"\n"
         "end_component_schema\n"},
        {DefaultRecordText<WorldPartitionComponent>,
         "component_schema \"WorldPartitionComponent\" 1 10\n"
         "property \"world\" \"\"\n"
         "property \"enabled\" \"1\"\n"
         "property \"loadRadius\" \"192\"\n"
         "property \"unloadRadius\" \"256\"\n"
         "property \"minResidentFrames\" \"30\"\n"
         "property \"maxConcurrentLoads\" \"4\"\n"
         "property \"frameBudgetMilliseconds\" \"2\"\n"
         "property \"memoryBudgetMegabytes\" \"256\"\n"
         "property \"terrainLodDistance\" \"160\"\n"
         "property \"terrainMaxLod\" \"2\"\n"
         "end_component_schema\n"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.text(), row.expected);
}

static_assert(std::is_same_v<std::underlying_type_t<GameplayLayer>, std::uint8_t>);
static_assert(std::is_same_v<std::underlying_type_t<TerrainSampleKind>, std::uint8_t>);

// "Stored=Shown" per enumerator, in order; a number out of its place shows as "#".
std::string DescribeEnum(const Reflection::EnumInfo& info) {
    std::string text;
    for (std::size_t i = 0; i < info.values.size(); ++i) {
        const Reflection::EnumValue& value = info.values[i];
        if (i > 0) text += ",";
        const bool inPlace = Reflection::EnumNumbersEqual(value.value, Reflection::EnumNumber(std::uint64_t{i}));
        text += inPlace ? value.name : "#" + value.name;
        if (value.displayName != value.name) text += "=" + value.displayName;
    }
    return text;
}

TEST(CatalogueTests, EnumsStoreTheirNamesFromZeroInOrder) {
    const std::pair<const char*, const char*> rows[] = {
        {"ClothPinMode", "TopEdge=Top Edge,VertexColorRed=Vertex Color Red,BoneWeights=Bone Weights,Painted"},
        {"ColliderShapeType", "Box,Sphere,Capsule,Mesh"},
        {"MeshColliderGeometry", "Auto,TriangleMesh=Triangle Mesh,ConvexHull=Convex Hull,BoundsBox=Bounds Box"},
        {"GameplayLayer", "Default,Floor,Wall,Ceiling,Obstacle,Player,Enemy,NPC,Projectile,Pickup,Trigger,"
            "Climbable,Water,DamageZone=Damage Zone,NoNav=No Navigation,Cover,Interactable"},
        {"TerrainBrushMode", "RaiseLower=Raise/Lower,Smooth,Flatten,PaintLayer=Paint Layer"},
        {"TerrainSampleKind", "Heights,LayerWeights=Layer Weights"},
    };
    for (const auto& [name, values] : rows) {
        const Reflection::EnumInfo* info = InstalledReflection().FindEnum(name);
        ASSERT_NE(info, nullptr) << name;
        EXPECT_EQ(DescribeEnum(*info), values) << name;
    }
}

TEST(CatalogueTests, EnumFieldsStoreTheStableNameNeverTheDisplayName) {
    Reflection::SchemaRecord record = Testing::EncodeDefault<TerrainSampleChunk>();
    TerrainSampleChunk chunk;
    record.fields[0].value = std::string("Layer Weights");
    EXPECT_EQ(Brelk::Testing::ThrownMessage([&] {
                  Reflection::DecodeObject(record, Reflection::MakeView(chunk), InstalledReflection(), Testing::TestCodec());
              }),
              "TerrainSampleChunk.kind: Unknown enum name or rejected accessor: Layer Weights");
}

TEST(CatalogueTests, AnOldTransformRecordLoadsAsTheTransformComponent) {
    Registry registry;
    const TransformComponent& loaded = LoadOne<TransformComponent>(
        registry, {ReadRecordText("component_schema \"Transform\" 1 3\n"
                        "property \"position\" \"1 2 3\"\n"
                        "property \"rotation\" \"0 90 0\"\n"
                        "property \"scale\" \"2 2 2\"\n"
                        "end_component_schema\n")});
    EXPECT_EQ(loaded.transform, (Transform{{1.0f, 2.0f, 3.0f}, {0.0f, 90.0f, 0.0f}, {2.0f, 2.0f, 2.0f}}));
}

TEST(CatalogueTests, AVersionOnePrefabInstanceRenamesItsOverrideEntityGuid) {
    Registry registry;
    const PrefabInstanceComponent& loaded = LoadOne<PrefabInstanceComponent>(
        registry, {ReadRecordText("component_schema \"PrefabInstanceRecord\" 1 2\n"
                        "property \"connected\" \"0\"\n"
                        "array_property \"overrides\" 1\n"
                        "object \"PrefabOverride\" 1 3\n"
                        "property \"entityGuid\" \"3f2a9c1e-7b40-4e11-9a6d-5c0d2e8f1b77\"\n"
                        "property \"propertyPath\" \"NameComponent.name\"\n"
                        "property \"value\" \"Door\"\n"
                        "end_component_schema\n"
                        "end_array\n"
                        "end_component_schema\n")});
    EXPECT_FALSE(loaded.connected);
    EXPECT_EQ(loaded.overrides, (std::vector<PrefabOverride>{{*Core::Guid::Parse("3f2a9c1e-7b40-4e11-9a6d-5c0d2e8f1b77"),
                                                              "NameComponent.name", "Door"}}));
}

TEST(CatalogueTests, PrefabInstanceSavesAsItsRecordAndLoadsBack) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    PrefabInstanceComponent instance;
    instance.prefab = 42, instance.connected = false;
    instance.sourceEntityGuid = Core::Guid::FromName("source"), instance.instanceRootGuid = Core::Guid::FromName("root");
    instance.overrides.push_back(PrefabOverride{Core::Guid::FromName("a"), "TransformComponent", "x"});
    instance.addedComponents.push_back(PrefabComponentChange{Core::Guid::FromName("b"), "CameraComponent"});
    instance.removedEntities.push_back(Core::Guid::FromName("c"));
    registry.Emplace<PrefabInstanceComponent>(entity, instance);
    std::vector<Reflection::SchemaRecord> records = SaveOne(registry, entity, "PrefabInstanceComponent");
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].name, "PrefabInstanceRecord");
    EXPECT_EQ(records[0].version, 2u);
    EXPECT_EQ(LoadOne<PrefabInstanceComponent>(registry, std::move(records)), instance);
}

TEST(CatalogueTests, OldWorldChunkRecordsOfVersionsOneAndTwoDropTheirRetiredFields) {
    Registry registry;
    const WorldChunkComponent& loaded = LoadOne<WorldChunkComponent>(
        registry, {ReadRecordText("component_schema \"WorldChunkComponent\" 1 5\n"
                        "property \"chunkId\" \"North\"\n"
                        "property \"loaded\" \"1\"\n"
                        "property \"runtimeLoaded\" \"1\"\n"
                        "property \"extents\" \"1 1 1\"\n"
                        "property \"streamInEditor\" \"1\"\n"
                        "end_component_schema\n")});
    EXPECT_EQ(loaded.chunkId, "North");
    EXPECT_EQ(loaded.loadDistance, 120.0f);
    const WorldChunkComponent& second = LoadOne<WorldChunkComponent>(
        registry, {ReadRecordText("component_schema \"WorldChunkComponent\" 2 2\n"
                        "property \"extents\" \"1 1 1\"\n"
                        "property \"affectLogic\" \"0\"\n"
                        "end_component_schema\n")});
    EXPECT_FALSE(second.affectLogic);
}

TEST(CatalogueTests, SavingAMeshRendererStoresTheMeshTheUserChoseNotAGeneratedOne) {
    const struct { const char* name; bool terrain; std::uint64_t rendererMesh; const char* saved; } cases[] = {
        {"a terrain's generated mesh is dropped", true, 77, ""},
        {"a mesh chosen over a terrain is kept", true, 5, "Mesh:5"},
        {"a cloth saves its source mesh", false, 9, "Mesh:3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Registry registry;
        const Entity entity = registry.CreateEntity();
        if (c.terrain) {
            registry.Emplace<TerrainComponent>(entity).generatedMesh = 77;
        } else {
            Physics::ClothComponent& cloth = registry.Emplace<Physics::ClothComponent>(entity);
            cloth.runtimeMesh = 9, cloth.sourceMesh = 3;
        }
        registry.Emplace<MeshRendererComponent>(entity).mesh = c.rendererMesh;
        const auto records = SaveOne(registry, entity, "MeshRendererComponent");
        EXPECT_EQ(std::get<std::string>(records.at(0).FindField("mesh")->value), c.saved);
        EXPECT_EQ(registry.Get<MeshRendererComponent>(entity).mesh, c.rendererMesh);
    }
}

} // namespace
} // namespace Brelk::Scene
