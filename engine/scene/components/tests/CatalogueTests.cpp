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

using Reflection::PropertyFlags;
using Reflection::PropertyKind;
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

const Reflection::PropertyInfo& PropertyOf(const std::string& type, const std::string& property) {
    const Reflection::PropertyInfo* info = TypeOf(type).FindProperty(property);
    if (info == nullptr) {
        throw std::runtime_error("no property " + type + "." + property);
    }
    return *info;
}

std::vector<std::string> PropertyNames(const std::string& type) {
    std::vector<std::string> names;
    for (const Reflection::PropertyInfo& property : TypeOf(type).properties) {
        names.push_back(property.name);
    }
    return names;
}

// ---- Registration order and headers ---------------------------------------------------

TEST(CatalogueTests, RegistersTheComponentsInTheOrderOfSavedRecords) {
    InstallComponents();
    std::vector<const ComponentTypeEntry*> entries;
    ComponentRegistry::Instance().EntriesInRegistrationOrder(entries);
    const std::vector<std::string> catalogue = {
        "NameComponent",         "EntityGuidComponent",       "TransformComponent",
        "HierarchyComponent",    "PrefabInstanceComponent",   "TransientComponent",
        "ColliderComponent",     "ClothComponent",            "MeshRendererComponent",
        "CameraComponent",       "DirectionalLightComponent", "TerrainComponent",
        "WorldStreamingSourceComponent", "WorldChunkComponent", "WorldPartitionComponent",
        "WorldPersistentComponent", "WorldCellPreviewComponent",
    };
    std::vector<std::string> seen;
    for (const ComponentTypeEntry* entry : entries) {
        if (std::find(catalogue.begin(), catalogue.end(), entry->name) != catalogue.end()) {
            seen.push_back(entry->name);
        }
    }
    EXPECT_EQ(seen, catalogue);
}

struct HeaderRow {
    const char* name;
    const char* displayName;
    const char* group;
    std::uint32_t flags;
    std::uint32_t version;
    const char* description;
};

class ComponentHeaderTest : public ::testing::TestWithParam<HeaderRow> {};

TEST_P(ComponentHeaderTest, HasItsCatalogueHeader) {
    const HeaderRow& row = GetParam();
    const ComponentTypeEntry& entry = EntryOf(row.name);
    EXPECT_EQ(entry.displayName, row.displayName);
    EXPECT_EQ(entry.group, row.group);
    EXPECT_EQ(entry.flags, row.flags);
    EXPECT_EQ(entry.userAddable, (row.flags & 1) != 0);
    EXPECT_EQ(entry.saved, (row.flags & 2) != 0);
    EXPECT_EQ(entry.description, row.description);
    EXPECT_EQ(TypeOf(row.name).version, row.version);
    EXPECT_EQ(TypeOf(row.name).displayName, row.displayName);
}

INSTANTIATE_TEST_SUITE_P(
    Catalogue, ComponentHeaderTest,
    ::testing::Values(
        HeaderRow{"NameComponent", "Name", "Core", 82, 1, ""},
        HeaderRow{"EntityGuidComponent", "Entity Guid", "Core", 82, 1, ""},
        HeaderRow{"TransformComponent", "Transform", "Core", 18, 1, ""},
        HeaderRow{"HierarchyComponent", "Hierarchy", "Core", 82, 1, ""},
        HeaderRow{"PrefabInstanceComponent", "Prefab Instance", "Core", 2, 2, ""},
        HeaderRow{"TransientComponent", "Transient", "Core", 32, 1,
                  "Runtime-only entity tag (spawned VFX emitters): never saved, copied or listed."},
        HeaderRow{"ColliderComponent", "Collider", "Physics", 3, 1, "Adds a physical query/collision shape."},
        HeaderRow{"ClothComponent", "Cloth", "Physics", 3, 1, "Turns this entity mesh into a simulated cloth surface."},
        HeaderRow{"MeshRendererComponent", "Mesh Renderer", "Rendering", 3, 1,
                  "Draws a mesh with one or more materials."},
        HeaderRow{"CameraComponent", "Camera", "Rendering", 3, 1,
                  "Renders a scene view when marked primary or targeted by camera logic."},
        HeaderRow{"DirectionalLightComponent", "Directional Light", "Lighting", 3, 1,
                  "Global sun/moon-style light with optional cascaded shadows."},
        HeaderRow{"TerrainComponent", "Terrain", "World", 3, 1,
                  "Creates editable terrain data, render mesh, and terrain collision."},
        HeaderRow{"WorldStreamingSourceComponent", "World Streaming Source", "Streaming", 3, 1,
                  "Loads world chunks within its radius."},
        HeaderRow{"WorldChunkComponent", "World Chunk", "Streaming", 3, 3,
                  "A streamable region loaded and unloaded by distance to streaming sources."},
        HeaderRow{"WorldPartitionComponent", "World Partition", "Streaming", 3, 1,
                  "Q-03: streams the cells of a world asset around the streaming sources (this scene is the "
                  "persistent layer)."},
        HeaderRow{"WorldPersistentComponent", "World Persistent", "Streaming", 3, 1,
                  "Q-03: keeps the entity (and its children) in the always-loaded persistent layer when the scene "
                  "is partitioned into cells."},
        HeaderRow{"WorldCellPreviewComponent", "World Cell Preview", "Streaming", 32, 1,
                  "Q-03: runtime tag of entities the editor's streaming preview created; never saved, copied or "
                  "listed."}),
    [](const ::testing::TestParamInfo<HeaderRow>& info) { return std::string(info.param.name); });

struct ValueTypeRow {
    const char* name;
    const char* displayName;
    const char* group;
    std::uint32_t version;
};

class ValueTypeHeaderTest : public ::testing::TestWithParam<ValueTypeRow> {};

TEST_P(ValueTypeHeaderTest, HasItsCatalogueHeader) {
    const ValueTypeRow& row = GetParam();
    const Reflection::TypeInfo& type = TypeOf(row.name);
    EXPECT_EQ(type.displayName, row.displayName);
    EXPECT_EQ(type.group, row.group);
    EXPECT_EQ(type.version, row.version);
}

INSTANTIATE_TEST_SUITE_P(
    Catalogue, ValueTypeHeaderTest,
    ::testing::Values(ValueTypeRow{"PostProcessSettings", "Post Processing", "Environment", 1},
                      ValueTypeRow{"EnvironmentSettings", "Environment", "Environment", 1},
                      ValueTypeRow{"Transform", "Transform", "Core", 1},
                      ValueTypeRow{"PrefabOverride", "PrefabOverride", "Serialization", 2},
                      ValueTypeRow{"PrefabComponentChange", "PrefabComponentChange", "Serialization", 1},
                      ValueTypeRow{"PrefabInstanceRecord", "PrefabInstanceRecord", "Serialization", 2},
                      ValueTypeRow{"PhysicsMaterial", "Physics Material", "Physics", 1},
                      ValueTypeRow{"CollisionFilter", "Collision Filter", "Physics", 1},
                      ValueTypeRow{"ClothSettings", "Cloth Settings", "Physics", 1},
                      ValueTypeRow{"ClothPinWeightCount", "Cloth Pin Weight Count", "Physics", 1},
                      ValueTypeRow{"ClothPinWeightChunk", "Cloth Pin Weight Chunk", "Physics", 1},
                      ValueTypeRow{"TerrainLayer", "Terrain Layer", "World", 1},
                      ValueTypeRow{"TerrainSampleCounts", "Terrain Sample Counts", "World", 1},
                      ValueTypeRow{"TerrainSampleChunk", "Terrain Sample Chunk", "World", 1}),
    [](const ::testing::TestParamInfo<ValueTypeRow>& info) { return std::string(info.param.name); });

TEST(CatalogueTests, InstallsAConsistentSchemaTable) {
    std::string error;
    EXPECT_TRUE(InstalledReflection().Validate(&error)) << error;
}

// ---- Default records of the components the world generator fills ----------------------

TEST(CatalogueTests, DefaultTransformComponentRecordIsTheTransformAtRest) {
    EXPECT_EQ(DefaultRecordText<TransformComponent>(),
              "component_schema \"TransformComponent\" 1 1\n"
              "object_property \"transform\" \"Transform\" 1 3\n"
              "property \"position\" \"0 0 0\"\n"
              "property \"rotation\" \"0 0 0\"\n"
              "property \"scale\" \"1 1 1\"\n"
              "end_component_schema\n"
              "end_component_schema\n");
}

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

TEST(CatalogueTests, DefaultEnvironmentRecordMatchesTheSceneFileSample) {
    EXPECT_EQ(DefaultRecordText<EnvironmentSettings>(),
              "component_schema \"EnvironmentSettings\" 1 7\n"
              "property \"texture\" \"\"\n"
              "property \"lightIntensity\" \"1\"\n"
              "property \"backgroundIntensity\" \"1\"\n"
              "property \"rotationDegrees\" \"0\"\n"
              "property \"showBackground\" \"1\"\n"
              "object_property \"postProcess\" \"PostProcessSettings\" 1 41\n"
              "property \"enabled\" \"1\"\n"
              "property \"debugView\" \"0\"\n"
              "property \"exposure\" \"1\"\n"
              "property \"exposureMode\" \"0\"\n"
              "property \"exposureEv100\" \"9.70269966\"\n"
              "property \"exposureCompensation\" \"0\"\n"
              "property \"autoExposureMinEv100\" \"6\"\n"
              "property \"autoExposureMaxEv100\" \"16\"\n"
              "property \"autoExposureSpeedUp\" \"3\"\n"
              "property \"autoExposureSpeedDown\" \"1\"\n"
              "property \"toneMapper\" \"0\"\n"
              "property \"gamma\" \"2.20000005\"\n"
              "property \"applyGamma\" \"0\"\n"
              "property \"contrast\" \"1\"\n"
              "property \"saturation\" \"1\"\n"
              "property \"tintColor\" \"1 1 1\"\n"
              "property \"tintStrength\" \"0\"\n"
              "property \"vignetteEnabled\" \"1\"\n"
              "property \"vignetteStrength\" \"0.25\"\n"
              "property \"vignetteRadius\" \"0.75\"\n"
              "property \"vignetteSoftness\" \"0.349999994\"\n"
              "property \"bloomEnabled\" \"1\"\n"
              "property \"bloomThreshold\" \"1\"\n"
              "property \"bloomKnee\" \"0.5\"\n"
              "property \"bloomIntensity\" \"0.649999976\"\n"
              "property \"bloomRadius\" \"1\"\n"
              "property \"bloomIterations\" \"6\"\n"
              "property \"atmosphericFogEnabled\" \"0\"\n"
              "property \"atmosphericFogColor\" \"0.550000012 0.620000005 0.720000029\"\n"
              "property \"atmosphericFogDensity\" \"0.00800000038\"\n"
              "property \"atmosphericFogStartDistance\" \"8\"\n"
              "property \"atmosphericFogMaxOpacity\" \"0.920000017\"\n"
              "property \"atmosphericFogBaseHeight\" \"0\"\n"
              "property \"atmosphericFogHeightFalloff\" \"0.0799999982\"\n"
              "property \"atmosphericFogAffectSky\" \"1\"\n"
              "property \"atmosphericFogDirectionalScattering\" \"1\"\n"
              "property \"atmosphericFogScatteringStrength\" \"1\"\n"
              "property \"atmosphericFogAnisotropy\" \"0.649999976\"\n"
              "property \"ambientOcclusionEnabled\" \"1\"\n"
              "property \"ambientOcclusionRadius\" \"0.600000024\"\n"
              "property \"ambientOcclusionIntensity\" \"1\"\n"
              "end_component_schema\n"
              "array_property \"postProcessMaterials\" 0\n"
              "end_array\n"
              "end_component_schema\n");
}

TEST(CatalogueTests, PostProcessCameraPlanesAreRuntimeValuesOutsideEveryRecord) {
    for (const char* name : {"cameraNear", "cameraFar"}) {
        const Reflection::PropertyInfo& property = PropertyOf("PostProcessSettings", name);
        EXPECT_EQ(property.attributes.flags, PropertyFlags::ReadOnly | PropertyFlags::NotSaved) << name;
        EXPECT_EQ(property.attributes.category, "Runtime") << name;
    }
    const PostProcessSettings settings;
    EXPECT_FLOAT_EQ(settings.cameraNear, 0.1f);
    EXPECT_FLOAT_EQ(settings.cameraFar, 1000.0f);
}

TEST(CatalogueTests, CoreComponentsDefaultToAnUnnamedIdentityAtTheRoot) {
    const NameComponent name;
    const EntityGuidComponent guid;
    const HierarchyComponent hierarchy;
    const TransformComponent transform;
    EXPECT_TRUE(name.name.empty());
    EXPECT_FALSE(guid.guid.IsValid());
    EXPECT_EQ(hierarchy.parent, kNullEntity);
    EXPECT_TRUE(hierarchy.children.empty());
    EXPECT_EQ(transform.transform.position, glm::vec3(0.0f));
    EXPECT_EQ(transform.transform.rotation, glm::vec3(0.0f));
    EXPECT_EQ(transform.transform.scale, glm::vec3(1.0f));
}

TEST(CatalogueTests, ClothMasksDefaultToEveryLayer) {
    const Physics::ClothSettings settings;
    const CollisionFilter filter;
    EXPECT_EQ(settings.collisionMask, 0xffffffffu);
    EXPECT_EQ(filter.mask, 0xffffffffu);
}

// ---- Field order, names and attributes -------------------------------------------------

TEST(CatalogueTests, HeaderComponentsDeclareTheirFieldsReadOnly) {
    EXPECT_EQ(PropertyNames("NameComponent"), (std::vector<std::string>{"name"}));
    EXPECT_EQ(PropertyNames("EntityGuidComponent"), (std::vector<std::string>{"guid"}));
    EXPECT_EQ(PropertyNames("HierarchyComponent"), (std::vector<std::string>{"parent", "children"}));
    EXPECT_TRUE(PropertyOf("EntityGuidComponent", "guid").attributes.Has(PropertyFlags::ReadOnly));
    for (const char* field : {"parent", "children"}) {
        const Reflection::PropertyInfo& property = PropertyOf("HierarchyComponent", field);
        EXPECT_TRUE(property.attributes.Has(PropertyFlags::ReadOnly)) << field;
        EXPECT_EQ(Reflection::InnermostSchema(property.schema).kind, PropertyKind::Entity)
            << field;
    }
}

TEST(CatalogueTests, PrefabInstanceFieldsMatchItsSavedRecordInOrder) {
    const std::vector<std::string> expected = {"prefab",         "sourceEntityGuid",  "instanceRootGuid",
                                               "connected",      "overrides",         "addedComponents",
                                               "removedComponents", "addedEntities", "removedEntities"};
    EXPECT_EQ(PropertyNames("PrefabInstanceComponent"), expected);
    EXPECT_EQ(PropertyNames("PrefabInstanceRecord"), expected);
    EXPECT_EQ(PropertyNames("PrefabOverride"), (std::vector<std::string>{"localGuid", "propertyPath", "value"}));
    EXPECT_EQ(PropertyNames("PrefabComponentChange"), (std::vector<std::string>{"localGuid", "component"}));

    const Reflection::PropertyInfo& root = PropertyOf("PrefabInstanceComponent", "instanceRootGuid");
    EXPECT_EQ(root.attributes.displayName, "Instance Root");
    EXPECT_EQ(root.attributes.flags, PropertyFlags::ReadOnly | PropertyFlags::EntityReference);
    EXPECT_EQ(PropertyOf("PrefabInstanceComponent", "sourceEntityGuid").attributes.displayName, "Source Entity");
    EXPECT_FALSE(PropertyOf("PrefabInstanceComponent", "connected").attributes.Has(PropertyFlags::ReadOnly));
    EXPECT_EQ(PropertyOf("PrefabInstanceComponent", "prefab").attributes.assetType, "Prefab");
    EXPECT_EQ(EntryOf("PrefabInstanceComponent").MainRecordName(), "PrefabInstanceRecord");
}

struct RangeRow {
    const char* type;
    const char* field;
    float minimum;
    float maximum;
};

class FieldRangeTest : public ::testing::TestWithParam<RangeRow> {};

TEST_P(FieldRangeTest, CarriesItsAuthoringRange) {
    const RangeRow& row = GetParam();
    const Reflection::PropertyAttributes& attributes = PropertyOf(row.type, row.field).attributes;
    EXPECT_TRUE(attributes.hasRange);
    EXPECT_EQ(attributes.minimum, row.minimum);
    EXPECT_EQ(attributes.maximum, row.maximum);
}

INSTANTIATE_TEST_SUITE_P(
    Catalogue, FieldRangeTest,
    ::testing::Values(RangeRow{"MeshRendererComponent", "lodDistanceScale", 0.01f, 100.0f},
                      RangeRow{"MeshRendererComponent", "maxDrawDistance", 0.0f, 100000.0f},
                      RangeRow{"CameraComponent", "verticalFovDegrees", 1.0f, 179.0f},
                      RangeRow{"CameraComponent", "nearClip", 0.001f, 1000.0f},
                      RangeRow{"CameraComponent", "farClip", 0.01f, 100000.0f},
                      RangeRow{"ColliderComponent", "sphereRadius", 0.0f, 10000.0f},
                      RangeRow{"ColliderComponent", "capsuleRadius", 0.0f, 10000.0f},
                      RangeRow{"ColliderComponent", "capsuleHeight", 0.0f, 10000.0f},
                      RangeRow{"ColliderComponent", "convexHullMaxPoints", 16.0f, 256.0f},
                      RangeRow{"TerrainComponent", "width", 0.1f, 100000.0f},
                      RangeRow{"TerrainComponent", "length", 0.1f, 100000.0f},
                      RangeRow{"TerrainComponent", "heightScale", 0.001f, 10000.0f},
                      RangeRow{"TerrainComponent", "brushRadius", 0.01f, 1000.0f},
                      RangeRow{"TerrainComponent", "brushStrength", 0.0f, 10.0f},
                      RangeRow{"DirectionalLightComponent", "intensity", 0.0f, 1000.0f},
                      RangeRow{"DirectionalLightComponent", "shadowMaxDistance", 0.0f, 10000.0f},
                      RangeRow{"WorldStreamingSourceComponent", "radius", 0.0f, 100000.0f},
                      RangeRow{"WorldChunkComponent", "loadDistance", 0.0f, 100000.0f},
                      RangeRow{"WorldChunkComponent", "unloadDistance", 0.0f, 100000.0f},
                      RangeRow{"WorldPartitionComponent", "loadRadius", 0.0f, 100000.0f},
                      RangeRow{"WorldPartitionComponent", "unloadRadius", 0.0f, 100000.0f},
                      RangeRow{"WorldPartitionComponent", "frameBudgetMilliseconds", 0.05f, 100.0f},
                      RangeRow{"WorldPartitionComponent", "memoryBudgetMegabytes", 1.0f, 1048576.0f},
                      RangeRow{"WorldPartitionComponent", "terrainLodDistance", 1.0f, 100000.0f}),
    [](const ::testing::TestParamInfo<RangeRow>& info) {
        return std::string(info.param.type) + "_" + info.param.field;
    });

TEST(CatalogueTests, OnlyTheListedFieldsOfTheToolsComponentsHaveARange) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> ranged = {
        {"MeshRendererComponent", {"lodDistanceScale", "maxDrawDistance"}},
        {"CameraComponent", {"verticalFovDegrees", "nearClip", "farClip"}},
        {"ColliderComponent", {"sphereRadius", "capsuleRadius", "capsuleHeight", "convexHullMaxPoints"}},
        {"TerrainComponent", {"width", "length", "heightScale", "brushRadius", "brushStrength"}},
        {"DirectionalLightComponent", {"intensity", "shadowMaxDistance"}},
        {"WorldStreamingSourceComponent", {"radius"}},
        {"WorldPartitionComponent",
         {"loadRadius", "unloadRadius", "frameBudgetMilliseconds", "memoryBudgetMegabytes", "terrainLodDistance"}},
    };
    for (const auto& [type, fields] : ranged) {
        for (const Reflection::PropertyInfo& property : TypeOf(type).properties) {
            const bool listed = std::find(fields.begin(), fields.end(), property.name) != fields.end();
            EXPECT_EQ(property.attributes.hasRange, listed) << type << "." << property.name;
        }
    }
}

TEST(CatalogueTests, FieldsWithoutALabelOfTheirOwnAreShownSplitAtTheirCapitals) {
    EXPECT_EQ(PropertyOf("MeshRendererComponent", "maxDrawDistance").attributes.displayName, "Max Draw Distance");
    EXPECT_EQ(PropertyOf("ColliderComponent", "isTrigger").attributes.displayName, "Is Trigger");
    EXPECT_EQ(PropertyOf("TerrainComponent", "resolutionX").attributes.displayName, "Resolution X");
    EXPECT_EQ(PropertyOf("PostProcessSettings", "bloomEnabled").attributes.displayName, "Bloom enabled");
    EXPECT_EQ(PropertyOf("ClothSettings", "useWorldGravity").attributes.displayName, "Use world gravity");
}

TEST(CatalogueTests, FieldsShownUnderAnotherNameKeepThatName) {
    EXPECT_EQ(PropertyOf("CameraComponent", "verticalFovDegrees").attributes.displayName, "Vertical FOV");
    EXPECT_EQ(PropertyOf("ColliderComponent", "filter").attributes.displayName, "Collision Filter");
    EXPECT_EQ(PropertyOf("TerrainLayer", "name").attributes.displayName, "TerrainSampleKind");
    EXPECT_EQ(PropertyOf("WorldPartitionComponent", "frameBudgetMilliseconds").attributes.displayName,
              "Frame Budget (ms)");
    EXPECT_EQ(PropertyOf("WorldPartitionComponent", "memoryBudgetMegabytes").attributes.displayName,
              "Memory Budget (MB)");
    EXPECT_EQ(PropertyOf("EnvironmentSettings", "postProcess").attributes.displayName, "Post Processing");
}

TEST(CatalogueTests, FieldsCarryTheirCategoriesAndToolHints) {
    EXPECT_EQ(PropertyOf("MeshRendererComponent", "enableLod").attributes.category, "LOD");
    EXPECT_EQ(PropertyOf("MeshRendererComponent", "mesh").attributes.category, "");
    EXPECT_EQ(PropertyOf("TerrainComponent", "brushMode").attributes.category, "Brush");
    EXPECT_EQ(PropertyOf("WorldPartitionComponent", "maxConcurrentLoads").attributes.category, "Budgets");
    EXPECT_EQ(PropertyOf("WorldPartitionComponent", "terrainMaxLod").attributes.category, "Terrain");
    EXPECT_EQ(PropertyOf("DirectionalLightComponent", "shadowBias").attributes.category, "");
    EXPECT_EQ(PropertyOf("DirectionalLightComponent", "shadowNormalBias").attributes.category, "Shadows");
    EXPECT_EQ(PropertyOf("DirectionalLightComponent", "color").attributes.flags, PropertyFlags::Color);
    EXPECT_EQ(PropertyOf("CameraComponent", "verticalFovDegrees").attributes.flags, PropertyFlags::Angle);
    EXPECT_EQ(PropertyOf("ColliderComponent", "localRotation").attributes.flags, PropertyFlags::Angle);
    EXPECT_EQ(PropertyOf("Transform", "rotation").attributes.flags, PropertyFlags::Angle);
    EXPECT_EQ(PropertyOf("ClothComponent", "showParticles").attributes.category, "Debug");
}

TEST(CatalogueTests, AssetFieldsNameTheirAssetType) {
    const std::vector<std::tuple<const char*, const char*, const char*>> rows = {
        {"MeshRendererComponent", "mesh", "Mesh"},        {"MeshRendererComponent", "material", "Material"},
        {"MeshRendererComponent", "materialSlots", "Material"}, {"MeshRendererComponent", "skeleton", "Skeleton"},
        {"ColliderComponent", "mesh", "Mesh"},            {"TerrainComponent", "material", "Material"},
        {"TerrainLayer", "albedoTexture", "Texture"},     {"TerrainLayer", "normalTexture", "Texture"},
        {"TerrainLayer", "material", "Material"},         {"WorldPartitionComponent", "world", "World"},
        {"EnvironmentSettings", "texture", "Texture"},    {"EnvironmentSettings", "postProcessMaterials", "Material"},
        {"ClothComponent", "sourceMesh", "Mesh"},
    };
    for (const auto& [type, field, assetType] : rows) {
        const Reflection::PropertyInfo& property = PropertyOf(type, field);
        EXPECT_EQ(property.attributes.assetType, assetType) << type << "." << field;
        EXPECT_EQ(Reflection::InnermostSchema(property.schema).kind, PropertyKind::Asset)
            << type << "." << field;
    }
}

TEST(CatalogueTests, TerrainAccountsForItsSampleArraysAndRuntimeState) {
    const ComponentTypeEntry& entry = EntryOf("TerrainComponent");
    std::vector<std::uint8_t> sources;
    std::vector<std::string> names;
    for (const ComponentFieldInfo& field : entry.fields) {
        sources.push_back(field.source);
        names.push_back(field.name);
    }
    ASSERT_EQ(entry.fields.size(), 18u);
    EXPECT_EQ(names[13], "layers");
    EXPECT_EQ(entry.fields[14].name, "custom@" + std::to_string(offsetof(TerrainComponent, heights)));
    EXPECT_EQ(entry.fields[15].name, "custom@" + std::to_string(offsetof(TerrainComponent, layerWeights)));
    EXPECT_EQ(entry.fields[16].name, "transient@" + std::to_string(offsetof(TerrainComponent, generatedMesh)));
    EXPECT_EQ(entry.fields[17].name, "transient@" + std::to_string(offsetof(TerrainComponent, meshDirty)));
    EXPECT_EQ(sources, (std::vector<std::uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 2, 2}));
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

TEST(CatalogueTests, TransformReplicatesPositionRotationAndScale) {
    const std::vector<ReplicatedField>& fields = EntryOf("TransformComponent").replicatedFields;
    ASSERT_EQ(fields.size(), 3u);
    EXPECT_EQ(fields[0].path, "transform.position");
    EXPECT_EQ(fields[0].settings.mode, 1u);
    EXPECT_FLOAT_EQ(fields[0].settings.tolerance, 0.001f);
    EXPECT_TRUE(fields[0].settings.hasTolerance);
    EXPECT_FALSE(fields[0].settings.hasRange);
    EXPECT_EQ(fields[1].path, "transform.rotation");
    EXPECT_EQ(fields[1].settings.mode, 1u);
    EXPECT_FLOAT_EQ(fields[1].settings.tolerance, 0.01f);
    EXPECT_TRUE(fields[1].settings.hasRange);
    EXPECT_EQ(fields[1].settings.minimum, -720.0f);
    EXPECT_EQ(fields[1].settings.maximum, 720.0f);
    EXPECT_EQ(fields[2].path, "transform.scale");
    EXPECT_EQ(fields[2].settings.mode, 0u);
    EXPECT_FALSE(fields[2].settings.hasTolerance);
    EXPECT_FALSE(fields[2].settings.hasRange);
}

// ---- Enums ----------------------------------------------------------------------------

static_assert(std::is_same_v<std::underlying_type_t<AnimatorParameterType>, std::int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<GameplayLayer>, std::uint8_t>);
static_assert(std::is_same_v<std::underlying_type_t<TerrainSampleKind>, std::uint8_t>);
static_assert(std::is_same_v<std::underlying_type_t<Physics::ClothPinMode>, std::uint8_t>);

struct EnumRow {
    const char* name;
    // "Stored" or "Stored=Shown", separated by commas, from 0 in order.
    const char* values;
};

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

class EnumTextTest : public ::testing::TestWithParam<EnumRow> {};

TEST_P(EnumTextTest, StoresItsNamesFromZeroInOrder) {
    const Reflection::EnumInfo* info = InstalledReflection().FindEnum(GetParam().name);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(DescribeEnum(*info), GetParam().values);
}

INSTANTIATE_TEST_SUITE_P(
    Catalogue, EnumTextTest,
    ::testing::Values(
        EnumRow{"ClothPinMode", "TopEdge=Top Edge,VertexColorRed=Vertex Color Red,BoneWeights=Bone Weights,Painted"},
        EnumRow{"BodyType", "Static,Dynamic,Kinematic"},
        EnumRow{"BuoyancyForceModel", "AutoTrim=Auto Trim,PhysicalDisplacement=Physical Displacement"},
        EnumRow{"BuoyancySamplingMode", "HullBounds=Hull Bounds,CustomPoints=Custom Points"},
        EnumRow{"ColliderShapeType", "Box,Sphere,Capsule,Mesh"},
        EnumRow{"MeshColliderGeometry", "Auto,TriangleMesh=Triangle Mesh,ConvexHull=Convex Hull,BoundsBox=Bounds Box"},
        EnumRow{"GameplayLayer", "Default,Floor,Wall,Ceiling,Obstacle,Player,Enemy,NPC,Projectile,Pickup,Trigger,"
                                 "Climbable,Water,DamageZone=Damage Zone,NoNav=No Navigation,Cover,Interactable"},
        EnumRow{"OceanPreset", "Calm,Coastal,OpenSea=Open Sea,Storm,Custom"},
        EnumRow{"OceanQuality", "Low,Medium,High,Ultra"},
        EnumRow{"OceanBodyMode", "Bounded=Bounded Water Body,Infinite=Infinite Ocean"},
        EnumRow{"ScriptFieldType", "Bool,Int32,UInt32,Int64,Float,Double,String,Vector2,Vector3,Vector4,Quaternion,"
                                   "Color,EntityReference,AssetReference,Enum"},
        EnumRow{"BillboardFacingMode", "ScreenAligned=Screen Aligned,WorldUp=World Up"},
        EnumRow{"ParticleSimulationBackend", "Cpu=CPU,Gpu=GPU"},
        EnumRow{"ParticleCollisionShape", "None,Plane,Sphere,SceneDepth=Scene Depth"},
        EnumRow{"CurveInterpolation", "Smooth,Linear,Constant"},
        EnumRow{"ParticleRenderMode", "Billboard,Ribbon,Stretched,AxisLocked=Axis Locked,Mesh,Beam"},
        EnumRow{"ParticleFlipbookPlayback", "OverLifetime=Over Lifetime,Loop,PingPong=Ping Pong"},
        EnumRow{"ParticleEmitterShape",
                "Point,Sphere,Box,Cone,Circle,Line,Cylinder,MeshSurface=Mesh Surface,MeshVolume=Mesh Volume"},
        EnumRow{"ParticleSimulationSpace", "Local,World"},
        EnumRow{"AnimatorParameterType", "Bool,Float,Int,Trigger"},
        EnumRow{"AnimatorIkSolverType", "TwoBone,FABRIK,CCD"},
        EnumRow{"RagdollMode", "Animated,Simulated,Blend"},
        EnumRow{"AnimatorLayerMode", "Override,Additive"},
        EnumRow{"NavigationBakeRole", "Ignore,Walkable,Obstacle"},
        EnumRow{"PathShapeMode", "Linear,Smooth,Organic"},
        EnumRow{"NavAgentAvoidance", "None,Low,Medium,High"},
        EnumRow{"NavAgentStatus", "Idle,Moving,Arrived,Unreachable,NoNavMesh=No NavMesh"},
        EnumRow{"NavLinkType", "Generic,Jump,Ladder"},
        EnumRow{"SplineCurveType", "CatmullRom=Catmull-Rom,Hermite"},
        EnumRow{"SplineMeshType", "Tube,Ribbon=Ribbon/Road"},
        EnumRow{"SplineUvMode", "WholeLength=Whole Length,PerSegment=Per Segment,DistanceTiled=Distance Tiled,"
                                "StretchToMesh=Stretch To Mesh"},
        EnumRow{"TerrainBrushMode", "RaiseLower=Raise/Lower,Smooth,Flatten,PaintLayer=Paint Layer"},
        EnumRow{"TerrainSampleKind", "Heights,LayerWeights=Layer Weights"},
        EnumRow{"BlackboardValueType", "Bool,Float,Vec3=Vector 3,String"},
        EnumRow{"VfxParameterType", "Float,Color,Vector3=Vector 3,Bool"},
        EnumRow{"VfxParameterTarget", "EmissionRate=Emission Rate,StartSize=Start Size,StartSpeed=Start Speed,"
                                      "Lifetime,SimulationSpeed=Simulation Speed,Color,LightIntensity=Light "
                                      "Intensity,Gravity,Wind,BeamEnd=Beam End,Enabled,Turbulence"},
        EnumRow{"VfxBindingMode", "Multiply,Override"},
        EnumRow{"VfxEventTrigger", "OnSpawn=On Spawn,OnDeath=On Death,OnCollision=On Collision"},
        EnumRow{"VfxEventAction", "SpawnEffect=Spawn Effect,SpawnParticles=Spawn Particles,NotifyScript=Notify Script"},
        EnumRow{"AudioAttenuationModel", "Smooth,Linear,Inverse,Custom"},
        EnumRow{"UICanvasSpace", "Screen,WorldBillboard=World Billboard"}),
    [](const ::testing::TestParamInfo<EnumRow>& info) { return std::string(info.param.name); });

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

TEST(CatalogueTests, OldWorldChunkRecordsDropTheirRetiredFields) {
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
}

TEST(CatalogueTests, AVersionTwoWorldChunkStillLosesItsBounds) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    const WorldChunkComponent& loaded = LoadOne<WorldChunkComponent>(
        registry, entity,
        {ReadRecordText("component_schema \"WorldChunkComponent\" 2 2\n"
                        "property \"extents\" \"1 1 1\"\n"
                        "property \"affectLogic\" \"0\"\n"
                        "end_component_schema\n")});
    EXPECT_FALSE(loaded.affectLogic);
}

std::string SavedMeshText(Registry& registry, Entity entity) {
    std::vector<Reflection::SchemaRecord> records;
    EntryOf("MeshRendererComponent")
        .save(registry.TryGet<MeshRendererComponent>(entity), ComponentSaveContext{registry, entity, &Testing::TestCodec()},
              records);
    const auto& value = records.at(0).FindField("mesh")->value;
    return std::get<std::string>(value);
}

TEST(CatalogueTests, SavingATerrainDropsItsGeneratedRenderMeshButKeepsTheLiveOne) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    TerrainComponent terrain;
    terrain.generatedMesh = 77;
    registry.Emplace<TerrainComponent>(entity, terrain);
    MeshRendererComponent renderer;
    renderer.mesh = 77;
    registry.Emplace<MeshRendererComponent>(entity, renderer);

    EXPECT_EQ(SavedMeshText(registry, entity), "");
    EXPECT_EQ(registry.Get<MeshRendererComponent>(entity).mesh, 77u);
}

TEST(CatalogueTests, SavingATerrainKeepsAMeshTheUserChose) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    TerrainComponent terrain;
    terrain.generatedMesh = 77;
    registry.Emplace<TerrainComponent>(entity, terrain);
    MeshRendererComponent renderer;
    renderer.mesh = 5;
    registry.Emplace<MeshRendererComponent>(entity, renderer);

    EXPECT_EQ(SavedMeshText(registry, entity), "Mesh:5");
    EXPECT_EQ(registry.Get<MeshRendererComponent>(entity).mesh, 5u);
}

TEST(CatalogueTests, SavingAClothStoresItsSourceMeshInPlaceOfTheSimulatedOne) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    Physics::ClothComponent cloth;
    cloth.runtimeMesh = 9;
    cloth.sourceMesh = 3;
    registry.Emplace<Physics::ClothComponent>(entity, cloth);
    MeshRendererComponent renderer;
    renderer.mesh = 9;
    registry.Emplace<MeshRendererComponent>(entity, renderer);

    EXPECT_EQ(SavedMeshText(registry, entity), "Mesh:3");
    EXPECT_EQ(registry.Get<MeshRendererComponent>(entity).mesh, 9u);
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
