#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Registry.h"
#include "engine/scene/components/ClothComponent.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/PhysicsComponents.h"
#include "engine/scene/components/RenderComponents.h"
#include "engine/scene/components/TerrainComponent.h"
#include "engine/scene/components/WorldComponents.h"
#include "engine/scene/components/tests/CatalogueTestSupport.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

namespace Brelk::Scene {
namespace {

using Testing::InstalledReflection;
using Testing::LoadOne;
using Testing::ReadRecordText;
using Testing::SaveOne;


// Headers, fields, flags and default records of every type are the family golden files'.
TEST(CatalogueTests, InstallingTwiceChangesNothingAndTheTransformLeadsTheLoadTable) {
    InstallComponents();
    const std::size_t size = ComponentRegistry::Instance().Size();
    InstallComponents();
    EXPECT_EQ(ComponentRegistry::Instance().Size(), size);
    EXPECT_EQ(ComponentLoadTable().entries.front()->name, "TransformComponent");
}

TEST(CatalogueTests, InstallsAConsistentSchemaTable) {
    std::string error;
    EXPECT_TRUE(InstalledReflection().Validate(&error)) << error;
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
