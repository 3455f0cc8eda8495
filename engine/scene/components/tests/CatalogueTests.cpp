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

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

namespace Brelk::Scene {
namespace {

using Testing::DefaultRecordText;
using Testing::InstalledReflection;

const ComponentTypeEntry& EntryOf(const std::string& name) {
    InstallComponents();
    const ComponentTypeEntry* entry = ComponentRegistry::Instance().Find(name);
    if (entry == nullptr) {
        throw std::runtime_error("no component " + name);
    }
    return *entry;
}

const Reflection::TypeInfo& TypeOf(const std::string& name) {
    const Reflection::TypeInfo* type = InstalledReflection().FindType(name);
    if (type == nullptr) {
        throw std::runtime_error("no reflected type " + name);
    }
    return *type;
}

// ---- Registration order and headers ---------------------------------------------------

TEST(CatalogueTests, RegistersTheComponentsWithTheirHeadersInTheOrderOfSavedRecords) {
    const struct {
        const char* name;
        const char* displayName;
        const char* group;
        std::uint32_t flags;
        std::uint32_t version;
        const char* description;
    } rows[] = {
        {"NameComponent", "Name", "Core", 82, 1, ""},
        {"EntityGuidComponent", "Entity Guid", "Core", 82, 1, ""},
        {"TransformComponent", "Transform", "Core", 18, 1, ""},
        {"HierarchyComponent", "Hierarchy", "Core", 82, 1, ""},
        {"PrefabInstanceComponent", "Prefab Instance", "Core", 2, 2, ""},
        {"TransientComponent", "Transient", "Core", 32, 1,
            "Runtime-only entity tag (spawned VFX emitters): never saved, copied or listed."},
        {"ColliderComponent", "Collider", "Physics", 3, 1, "Adds a physical query/collision shape."},
        {"ClothComponent", "Cloth", "Physics", 3, 1, "Turns this entity mesh into a simulated cloth surface."},
        {"MeshRendererComponent", "Mesh Renderer", "Rendering", 3, 1,
            "Draws a mesh with one or more materials."},
        {"CameraComponent", "Camera", "Rendering", 3, 1,
            "Renders a scene view when marked primary or targeted by camera logic."},
        {"DirectionalLightComponent", "Directional Light", "Lighting", 3, 1,
            "Global sun/moon-style light with optional cascaded shadows."},
        {"TerrainComponent", "Terrain", "World", 3, 1,
            "Creates editable terrain data, render mesh, and terrain collision."},
        {"WorldStreamingSourceComponent", "World Streaming Source", "Streaming", 3, 1,
            "Loads world chunks within its radius."},
        {"WorldChunkComponent", "World Chunk", "Streaming", 3, 3,
            "A streamable region loaded and unloaded by distance to streaming sources."},
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

// ---- Default records of the components the world generator fills ----------------------

TEST(CatalogueTests, DefaultCameraRecordHasTheCatalogueDefaults) {
    EXPECT_EQ(DefaultRecordText<CameraComponent>(),
              "component_schema \"CameraComponent\" 1 4\n"
              "property \"verticalFovDegrees\" \"45\"\n"
              "property \"nearClip\" \"0.100000001\"\n"
              "property \"farClip\" \"500\"\n"
              "property \"primary\" \"0\"\n"
              "end_component_schema\n");
}

TEST(CatalogueTests, DefaultDirectionalLightRecordHasTheCatalogueDefaults) {
    EXPECT_EQ(DefaultRecordText<DirectionalLightComponent>(),
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
              "end_component_schema\n");
}

TEST(CatalogueTests, DefaultMeshRendererRecordHasTheCatalogueDefaults) {
    EXPECT_EQ(DefaultRecordText<MeshRendererComponent>(),
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
              "end_component_schema\n");
}

TEST(CatalogueTests, DefaultColliderRecordHasTheCatalogueDefaults) {
    EXPECT_EQ(DefaultRecordText<ColliderComponent>(),
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
              "end_component_schema\n");
}

TEST(CatalogueTests, DefaultTerrainMainRecordHasTheCatalogueDefaults) {
    EXPECT_EQ(DefaultRecordText<TerrainComponent>(),
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
              "end_component_schema\n");
}

TEST(CatalogueTests, DefaultTerrainLayerIsNamedLayerWithWhiteTintTilingEightOnTheFloor) {
    EXPECT_EQ(DefaultRecordText<TerrainLayer>(),
              "component_schema \"TerrainLayer\" 1 7\n"
              "property \"name\" \"Layer\"\n"
              "property \"albedoTexture\" \"\"\n"
              "property \"normalTexture\" \"\"\n"
              "property \"material\" \"\"\n"
              "property \"tint\" \"1 1 1 1\"\n"
              "property \"tiling\" \"8\"\n"
              "property \"surfaceLayer\" \"Floor\"\n"
              "end_component_schema\n");
}

TEST(CatalogueTests, DefaultStreamingSourceRecordHasTheCatalogueDefaults) {
    EXPECT_EQ(DefaultRecordText<WorldStreamingSourceComponent>(),
              "component_schema \"WorldStreamingSourceComponent\" 1 2\n"
              "property \"enabled\" \"1\"\n"
              "property \"radius\" \"120\"\n"
              "end_component_schema\n");
}

TEST(CatalogueTests, DefaultWorldPartitionRecordHasTheCatalogueDefaults) {
    EXPECT_EQ(DefaultRecordText<WorldPartitionComponent>(),
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
              "end_component_schema\n");
}

TEST(CatalogueTests, MultipartComponentsDeclareTheirRecordSeries) {
    using Series = std::vector<std::pair<std::string, bool>>;
    const auto series = [](const std::string& name) {
        Series out;
        for (const ComponentRecordSpec& record : EntryOf(name).records) {
            out.emplace_back(record.name, record.repeatable);
        }
        return out;
    };
    EXPECT_EQ(series("TerrainComponent"),
              (Series{{"TerrainComponent", false}, {"TerrainSampleCounts", false}, {"TerrainSampleChunk", true}}));
    EXPECT_EQ(series("ClothComponent"),
              (Series{{"ClothComponent", false}, {"ClothPinWeightCount", false}, {"ClothPinWeightChunk", true}}));
    EXPECT_TRUE(EntryOf("TerrainComponent").customRecords);
    EXPECT_FALSE(EntryOf("CameraComponent").customRecords);
}

// ---- Enums ----------------------------------------------------------------------------

static_assert(std::is_same_v<std::underlying_type_t<AnimatorParameterType>, std::int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<GameplayLayer>, std::uint8_t>);
static_assert(std::is_same_v<std::underlying_type_t<TerrainSampleKind>, std::uint8_t>);
static_assert(std::is_same_v<std::underlying_type_t<Physics::ClothPinMode>, std::uint8_t>);

// "Stored=Shown" per enumerator, in order; a number out of its place shows as "#".
std::string DescribeEnum(const Reflection::EnumInfo& info) {
    std::string text;
    for (std::size_t i = 0; i < info.values.size(); ++i) {
        const Reflection::EnumValue& value = info.values[i];
        if (i > 0) {
            text += ",";
        }
        const bool inPlace = Reflection::EnumNumbersEqual(value.value, Reflection::EnumNumber(std::uint64_t{i}));
        text += inPlace ? value.name : "#" + value.name;
        if (value.displayName != value.name) {
            text += "=" + value.displayName;
        }
    }
    return text;
}

TEST(CatalogueTests, EnumsStoreTheirNamesFromZeroInOrder) {
    // "Stored" or "Stored=Shown", separated by commas, from 0 in order.
    const std::pair<const char*, const char*> rows[] = {
        {"ClothPinMode", "TopEdge=Top Edge,VertexColorRed=Vertex Color Red,BoneWeights=Bone Weights,Painted"},
        {"BodyType", "Static,Dynamic,Kinematic"},
        {"BuoyancyForceModel", "AutoTrim=Auto Trim,PhysicalDisplacement=Physical Displacement"},
        {"BuoyancySamplingMode", "HullBounds=Hull Bounds,CustomPoints=Custom Points"},
        {"ColliderShapeType", "Box,Sphere,Capsule,Mesh"},
        {"MeshColliderGeometry", "Auto,TriangleMesh=Triangle Mesh,ConvexHull=Convex Hull,BoundsBox=Bounds Box"},
        {"GameplayLayer", "Default,Floor,Wall,Ceiling,Obstacle,Player,Enemy,NPC,Projectile,Pickup,Trigger,"
            "Climbable,Water,DamageZone=Damage Zone,NoNav=No Navigation,Cover,Interactable"},
        {"OceanPreset", "Calm,Coastal,OpenSea=Open Sea,Storm,Custom"},
        {"OceanQuality", "Low,Medium,High,Ultra"},
        {"OceanBodyMode", "Bounded=Bounded Water Body,Infinite=Infinite Ocean"},
        {"ScriptFieldType", "Bool,Int32,UInt32,Int64,Float,Double,String,Vector2,Vector3,Vector4,Quaternion,"
            "Color,EntityReference,AssetReference,Enum"},
        {"BillboardFacingMode", "ScreenAligned=Screen Aligned,WorldUp=World Up"},
        {"ParticleSimulationBackend", "Cpu=CPU,Gpu=GPU"},
        {"ParticleCollisionShape", "None,Plane,Sphere,SceneDepth=Scene Depth"},
        {"CurveInterpolation", "Smooth,Linear,Constant"},
        {"ParticleRenderMode", "Billboard,Ribbon,Stretched,AxisLocked=Axis Locked,Mesh,Beam"},
        {"ParticleFlipbookPlayback", "OverLifetime=Over Lifetime,Loop,PingPong=Ping Pong"},
        {"ParticleEmitterShape",
            "Point,Sphere,Box,Cone,Circle,Line,Cylinder,MeshSurface=Mesh Surface,MeshVolume=Mesh Volume"},
        {"ParticleSimulationSpace", "Local,World"},
        {"AnimatorParameterType", "Bool,Float,Int,Trigger"},
        {"AnimatorIkSolverType", "TwoBone,FABRIK,CCD"},
        {"RagdollMode", "Animated,Simulated,Blend"},
        {"AnimatorLayerMode", "Override,Additive"},
        {"NavigationBakeRole", "Ignore,Walkable,Obstacle"},
        {"PathShapeMode", "Linear,Smooth,Organic"},
        {"NavAgentAvoidance", "None,Low,Medium,High"},
        {"NavAgentStatus", "Idle,Moving,Arrived,Unreachable,NoNavMesh=No NavMesh"},
        {"NavLinkType", "Generic,Jump,Ladder"},
        {"SplineCurveType", "CatmullRom=Catmull-Rom,Hermite"},
        {"SplineMeshType", "Tube,Ribbon=Ribbon/Road"},
        {"SplineUvMode", "WholeLength=Whole Length,PerSegment=Per Segment,DistanceTiled=Distance Tiled,"
            "StretchToMesh=Stretch To Mesh"},
        {"TerrainBrushMode", "RaiseLower=Raise/Lower,Smooth,Flatten,PaintLayer=Paint Layer"},
        {"TerrainSampleKind", "Heights,LayerWeights=Layer Weights"},
        {"BlackboardValueType", "Bool,Float,Vec3=Vector 3,String"},
        {"VfxParameterType", "Float,Color,Vector3=Vector 3,Bool"},
        {"VfxParameterTarget", "EmissionRate=Emission Rate,StartSize=Start Size,StartSpeed=Start Speed,"
            "Lifetime,SimulationSpeed=Simulation Speed,Color,LightIntensity=Light "
            "Intensity,Gravity,Wind,BeamEnd=Beam End,Enabled,Turbulence"},
        {"VfxBindingMode", "Multiply,Override"},
        {"VfxEventTrigger", "OnSpawn=On Spawn,OnDeath=On Death,OnCollision=On Collision"},
        {"VfxEventAction", "SpawnEffect=Spawn Effect,SpawnParticles=Spawn Particles,NotifyScript=Notify Script"},
        {"AudioAttenuationModel", "Smooth,Linear,Inverse,Custom"},
        {"UICanvasSpace", "Screen,WorldBillboard=World Billboard"},
    };
    for (const auto& [name, values] : rows) {
        const Reflection::EnumInfo* info = InstalledReflection().FindEnum(name);
        ASSERT_NE(info, nullptr) << name;
        EXPECT_EQ(DescribeEnum(*info), values) << name;
    }
}

TEST(CatalogueTests, EnumFieldsStoreTheStableNameNeverTheDisplayName) {
    Reflection::SchemaRecord record = Testing::EncodeDefault<TerrainSampleChunk>();
    record.fields[0].value = std::string("Heights");
    TerrainSampleChunk chunk;
    Reflection::DecodeObject(record, Reflection::MakeView(chunk), InstalledReflection(), Testing::TestCodec());
    EXPECT_EQ(chunk.kind, TerrainSampleKind::Heights);

    record.fields[0].value = std::string("Layer Weights");
    try {
        Reflection::DecodeObject(record, Reflection::MakeView(chunk), InstalledReflection(), Testing::TestCodec());
        FAIL() << "a display name decoded";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "TerrainSampleChunk.kind: Unknown enum name or rejected accessor: Layer Weights");
    }
}

// ---- Upgrades and hooks ---------------------------------------------------------------

Reflection::SchemaRecord ReadRecordText(const std::string& text) {
    Reflection::SchemaLineCursor lines(text);
    std::string_view header;
    if (!lines.NextLine(header)) {
        throw std::runtime_error("empty record text");
    }
    return Reflection::ReadSchemaRecord(header.substr(std::string_view("component_schema").size()), lines);
}

template <class T>
const T& LoadOne(Registry& registry, Entity entity, std::vector<Reflection::SchemaRecord> records) {
    InstallComponents();
    const ComponentLoadTable table;
    const ComponentLoadContext context{&Testing::TestCodec()};
    ComponentLoadSession session(table, context);
    for (Reflection::SchemaRecord& record : records) {
        session.ReadRecord(std::move(record), 1000);
    }
    session.Finish(false);
    session.Apply(registry, entity);
    return registry.Get<T>(entity);
}

TEST(CatalogueTests, AnOldTransformRecordLoadsAsTheTransformComponent) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    const TransformComponent& loaded = LoadOne<TransformComponent>(
        registry, entity,
        {ReadRecordText("component_schema \"Transform\" 1 3\n"
                        "property \"position\" \"1 2 3\"\n"
                        "property \"rotation\" \"0 90 0\"\n"
                        "property \"scale\" \"2 2 2\"\n"
                        "end_component_schema\n")});
    EXPECT_EQ(loaded.transform.position, glm::vec3(1.0f, 2.0f, 3.0f));
    EXPECT_EQ(loaded.transform.rotation, glm::vec3(0.0f, 90.0f, 0.0f));
    EXPECT_EQ(loaded.transform.scale, glm::vec3(2.0f, 2.0f, 2.0f));
}

TEST(CatalogueTests, AVersionOnePrefabInstanceRenamesItsOverrideEntityGuid) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    const PrefabInstanceComponent& loaded = LoadOne<PrefabInstanceComponent>(
        registry, entity,
        {ReadRecordText("component_schema \"PrefabInstanceRecord\" 1 2\n"
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
    ASSERT_EQ(loaded.overrides.size(), 1u);
    EXPECT_EQ(loaded.overrides[0].localGuid.ToString(), "3f2a9c1e-7b40-4e11-9a6d-5c0d2e8f1b77");
    EXPECT_EQ(loaded.overrides[0].propertyPath, "NameComponent.name");
    EXPECT_EQ(loaded.overrides[0].value, "Door");
}

TEST(CatalogueTests, PrefabInstanceSavesAsItsRecordAndLoadsBack) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    PrefabInstanceComponent instance;
    instance.prefab = 42;
    instance.sourceEntityGuid = Core::Guid::FromName("source");
    instance.instanceRootGuid = Core::Guid::FromName("root");
    instance.connected = false;
    instance.overrides.push_back(PrefabOverride{Core::Guid::FromName("a"), "TransformComponent", "x"});
    instance.addedComponents.push_back(PrefabComponentChange{Core::Guid::FromName("b"), "CameraComponent"});
    instance.removedEntities.push_back(Core::Guid::FromName("c"));
    registry.Emplace<PrefabInstanceComponent>(entity, instance);

    const ComponentTypeEntry& entry = EntryOf("PrefabInstanceComponent");
    std::vector<Reflection::SchemaRecord> records;
    entry.save(registry.TryGet<PrefabInstanceComponent>(entity), ComponentSaveContext{registry, entity, &Testing::TestCodec()},
               records);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].name, "PrefabInstanceRecord");
    EXPECT_EQ(records[0].version, 2u);

    const Entity other = registry.CreateEntity();
    EXPECT_EQ(LoadOne<PrefabInstanceComponent>(registry, other, std::move(records)), instance);
}

TEST(CatalogueTests, OldWorldChunkRecordsOfVersionsOneAndTwoDropTheirRetiredFields) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    const WorldChunkComponent& loaded = LoadOne<WorldChunkComponent>(
        registry, entity,
        {ReadRecordText("component_schema \"WorldChunkComponent\" 1 5\n"
                        "property \"chunkId\" \"North\"\n"
                        "property \"loaded\" \"1\"\n"
                        "property \"runtimeLoaded\" \"1\"\n"
                        "property \"extents\" \"1 1 1\"\n"
                        "property \"streamInEditor\" \"1\"\n"
                        "end_component_schema\n")});
    EXPECT_EQ(loaded.chunkId, "North");
    EXPECT_EQ(loaded.loadDistance, 120.0f);
    const WorldChunkComponent& second = LoadOne<WorldChunkComponent>(
        registry, registry.CreateEntity(),
        {ReadRecordText("component_schema \"WorldChunkComponent\" 2 2\n"
                        "property \"extents\" \"1 1 1\"\n"
                        "property \"affectLogic\" \"0\"\n"
                        "end_component_schema\n")});
    EXPECT_FALSE(second.affectLogic);
}

TEST(CatalogueTests, SavingAMeshRendererStoresTheMeshTheUserChoseNotAGeneratedOne) {
    const struct {
        const char* name;
        bool terrain;
        std::uint64_t rendererMesh;
        const char* saved;
    } cases[] = {
        {"a terrain's generated mesh is dropped", true, 77, ""},
        {"a mesh chosen over a terrain is kept", true, 5, "Mesh:5"},
        {"a cloth saves its source mesh", false, 9, "Mesh:3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Registry registry;
        const Entity entity = registry.CreateEntity();
        if (c.terrain) {
            TerrainComponent terrain;
            terrain.generatedMesh = 77;
            registry.Emplace<TerrainComponent>(entity, terrain);
        } else {
            Physics::ClothComponent cloth;
            cloth.runtimeMesh = 9;
            cloth.sourceMesh = 3;
            registry.Emplace<Physics::ClothComponent>(entity, cloth);
        }
        MeshRendererComponent renderer;
        renderer.mesh = c.rendererMesh;
        registry.Emplace<MeshRendererComponent>(entity, renderer);
        std::vector<Reflection::SchemaRecord> records;
        EntryOf("MeshRendererComponent")
            .save(registry.TryGet<MeshRendererComponent>(entity),
                  ComponentSaveContext{registry, entity, &Testing::TestCodec()}, records);
        EXPECT_EQ(std::get<std::string>(records.at(0).FindField("mesh")->value), c.saved);
        EXPECT_EQ(registry.Get<MeshRendererComponent>(entity).mesh, c.rendererMesh);
    }
}

TEST(CatalogueTests, ACopiedTerrainStartsWithoutAMeshAndAsksForOne) {
    Registry registry;
    const Entity from = registry.CreateEntity();
    const Entity to = registry.CreateEntity();
    TerrainComponent terrain;
    terrain.heights = {1.0f, 2.0f};
    terrain.generatedMesh = 12;
    terrain.meshDirty = false;
    registry.Emplace<TerrainComponent>(from, terrain);

    EntryOf("TerrainComponent").copy(registry, from, to, ComponentCopyKind::Duplicate);
    const TerrainComponent& copy = registry.Get<TerrainComponent>(to);
    EXPECT_EQ(copy.heights, terrain.heights);
    EXPECT_EQ(copy.generatedMesh, 0u);
    EXPECT_TRUE(copy.meshDirty);
}

} // namespace
} // namespace Brelk::Scene
