#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ClothComponent.h"
#include "engine/scene/components/ClothRecords.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/PhysicsComponents.h"

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::EnumField;
using Detail::LabelCase;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;

void RegisterPhysicsEnums() {
    RegisterCatalogueEnum<Physics::ClothPinMode>(
        "ClothPinMode",
        {{"TopEdge", "Top Edge"}, {"VertexColorRed", "Vertex Color Red"}, {"BoneWeights", "Bone Weights"}, {"Painted"}});
    RegisterCatalogueEnum<BodyType>("BodyType", {{"Static"}, {"Dynamic"}, {"Kinematic"}});
    RegisterCatalogueEnum<BuoyancyForceModel>(
        "BuoyancyForceModel", {{"AutoTrim", "Auto Trim"}, {"PhysicalDisplacement", "Physical Displacement"}});
    RegisterCatalogueEnum<BuoyancySamplingMode>("BuoyancySamplingMode",
                                                {{"HullBounds", "Hull Bounds"}, {"CustomPoints", "Custom Points"}});
    RegisterCatalogueEnum<ColliderShapeType>("ColliderShapeType", {{"Box"}, {"Sphere"}, {"Capsule"}, {"Mesh"}});
    RegisterCatalogueEnum<MeshColliderGeometry>(
        "MeshColliderGeometry",
        {{"Auto"}, {"TriangleMesh", "Triangle Mesh"}, {"ConvexHull", "Convex Hull"}, {"BoundsBox", "Bounds Box"}});
    RegisterCatalogueEnum<GameplayLayer>("GameplayLayer", {{"Default"},
                                                           {"Floor"},
                                                           {"Wall"},
                                                           {"Ceiling"},
                                                           {"Obstacle"},
                                                           {"Player"},
                                                           {"Enemy"},
                                                           {"NPC"},
                                                           {"Projectile"},
                                                           {"Pickup"},
                                                           {"Trigger"},
                                                           {"Climbable"},
                                                           {"Water"},
                                                           {"DamageZone", "Damage Zone"},
                                                           {"NoNav", "No Navigation"},
                                                           {"Cover"},
                                                           {"Interactable"}});
}

void RegisterCollisionTypes() {
    Labelled(ReflectedTypeBuilder<PhysicsMaterial>("PhysicsMaterial", "Physics Material", "Physics"))
        .Field("staticFriction", &PhysicsMaterial::staticFriction)
        .Field("dynamicFriction", &PhysicsMaterial::dynamicFriction)
        .Field("restitution", &PhysicsMaterial::restitution)
        .Field("density", &PhysicsMaterial::density);

    Labelled(ReflectedTypeBuilder<CollisionFilter>("CollisionFilter", "Collision Filter", "Physics"))
        .Field("layer", &CollisionFilter::layer)
        .Field("mask", &CollisionFilter::mask);
}

void RegisterClothTypes() {
    using S = Physics::ClothSettings;
    Labelled(ReflectedTypeBuilder<S>("ClothSettings", "Cloth Settings", "Physics"), LabelCase::Sentence)
        .Field("simulateInEditMode", &S::simulateInEditMode)
        .Field("useWorldGravity", &S::useWorldGravity)
        .Field("gravity", &S::gravity)
        .Field("windDirection", &S::windDirection)
        .Field("windStrength", &S::windStrength)
        .Field("damping", &S::damping)
        .Field("animatedMotionTransfer", &S::animatedMotionTransfer)
        .Field("skinFreeParticles", &S::skinFreeParticles)
        .Field("stretchStiffness", &S::stretchStiffness)
        .Field("shearStiffness", &S::shearStiffness)
        .Field("bendStiffness", &S::bendStiffness)
        .Field("stretchCompliance", &S::stretchCompliance)
        .Field("shearCompliance", &S::shearCompliance)
        .Field("bendCompliance", &S::bendCompliance)
        .Field("solverIterations", &S::solverIterations)
        .Field("substeps", &S::substeps)
        .Field("maxSimulationStepsPerFrame", &S::maxSimulationStepsPerFrame)
        .Field("particleRadius", &S::particleRadius)
        .Field("collisionFriction", &S::collisionFriction)
        .Field("collisionEnabled", &S::collisionEnabled)
        .Field("collisionMask", &S::collisionMask)
        .Field("gameplayLayer", &S::gameplayLayer, EnumField("GameplayLayer"))
        .Field("filter", &S::filter)
        .Field("collideWithOwnerHierarchy", &S::collideWithOwnerHierarchy)
        .Field("pinMode", &S::pinMode, EnumField("ClothPinMode"))
        .Field("topPinPercent", &S::topPinPercent)
        .Field("vertexColorPinThreshold", &S::vertexColorPinThreshold)
        .Field("seamWeldDistance", &S::seamWeldDistance)
        .Field("seamWeldStiffness", &S::seamWeldStiffness)
        .Field("seamWeldCompliance", &S::seamWeldCompliance)
        .Field("teleportDistance", &S::teleportDistance);

    Labelled(ReflectedTypeBuilder<Physics::ClothPinWeightCount>("ClothPinWeightCount", "Cloth Pin Weight Count",
                                                                "Physics"))
        .Field("count", &Physics::ClothPinWeightCount::count);

    Labelled(ReflectedTypeBuilder<Physics::ClothPinWeightChunk>("ClothPinWeightChunk", "Cloth Pin Weight Chunk",
                                                                "Physics"))
        .Field("offset", &Physics::ClothPinWeightChunk::offset)
        .Field("values", &Physics::ClothPinWeightChunk::values);
}

void RegisterCollider() {
    using C = ColliderComponent;
    Labelled(RegisterComponent<C>("ColliderComponent", "Collider", "Physics", kUserFlags)
                 .Description("Adds a physical query/collision shape."))
        .Field("material", &C::material)
        .Field("filter", &C::filter, FieldAttr("Collision Filter"))
        .Field("shape", &C::shape, EnumField("ColliderShapeType"))
        .Field("gameplayLayer", &C::gameplayLayer, EnumField("GameplayLayer"))
        .Field("localOffset", &C::localOffset)
        .Field("localRotation", &C::localRotation, FieldAttr().Angle())
        .Field("boxHalfExtents", &C::boxHalfExtents)
        .Field("sphereRadius", &C::sphereRadius, FieldAttr().Range(0.0f, 10000.0f))
        .Field("capsuleRadius", &C::capsuleRadius, FieldAttr().Range(0.0f, 10000.0f))
        .Field("capsuleHeight", &C::capsuleHeight, FieldAttr().Range(0.0f, 10000.0f))
        .Field("mesh", &C::mesh, AssetField("Mesh"))
        .Field("meshGeometry", &C::meshGeometry, EnumField("MeshColliderGeometry"))
        .Field("convexHullMaxPoints", &C::convexHullMaxPoints, FieldAttr().Range(16.0f, 256.0f))
        .Field("useMeshFromRenderer", &C::useMeshFromRenderer)
        .Field("enabled", &C::enabled)
        .Field("isTrigger", &C::isTrigger)
        .Field("debugDraw", &C::debugDraw);
}

void RegisterCloth() {
    using C = Physics::ClothComponent;
    Labelled(RegisterComponent<C>("ClothComponent", "Cloth", "Physics", kUserFlags)
                 .Description("Turns this entity mesh into a simulated cloth surface."))
        .Field("enabled", &C::enabled)
        .Field("paused", &C::paused)
        .Field("debugDraw", &C::debugDraw)
        .Field("showParticles", &C::showParticles, FieldAttr().Category("Debug"))
        .Field("showConstraints", &C::showConstraints, FieldAttr().Category("Debug"))
        .Field("sourceMesh", &C::sourceMesh, AssetField("Mesh"))
        .Field("showPinned", &C::showPinned)
        .Field("showColliders", &C::showColliders)
        .Field("followSkinning", &C::followSkinning)
        .Field("selfCollisionEnabled", &C::selfCollisionEnabled)
        .Field("paintPinsInViewport", &C::paintPinsInViewport)
        .Field("pinPaintRadius", &C::pinPaintRadius)
        .Field("pinPaintStrength", &C::pinPaintStrength)
        .Field("pinPaintHardness", &C::pinPaintHardness)
        .Field("settings", &C::settings)
        .Done()
        .AddCustom(&C::pinWeights)
        .AddTransient(&C::runtimeMesh)
        .Records<Physics::ClothRecordParts>(
            {{Physics::kClothMainRecord, false}, {Physics::kClothCountRecord, false}, {Physics::kClothChunkRecord, true}},
            [](const C& cloth, std::vector<Reflection::SchemaRecord>& out, const ComponentSaveContext& context) {
                Physics::WriteClothRecords(cloth, out, Detail::CodecOrEmpty(context.codec));
            },
            [](C& cloth, Physics::ClothRecordParts& parts, const Reflection::SchemaRecord& record,
               std::uint64_t sourceBytes, const ComponentLoadContext& context) {
                Physics::ReadClothRecord(cloth, parts, record, sourceBytes, Detail::CodecOrEmpty(context.codec));
            },
            [](C& cloth, Physics::ClothRecordParts& parts) { Physics::FinishClothRecords(cloth, parts); });
}

} // namespace

void RegisterPhysicsComponents() {
    RegisterPhysicsEnums();
    RegisterCollisionTypes();
    RegisterClothTypes();
    RegisterCollider();
    RegisterCloth();
}

void RegisterOceanComponents() {
    RegisterCatalogueEnum<OceanPreset>("OceanPreset",
                                       {{"Calm"}, {"Coastal"}, {"OpenSea", "Open Sea"}, {"Storm"}, {"Custom"}});
    RegisterCatalogueEnum<OceanQuality>("OceanQuality", {{"Low"}, {"Medium"}, {"High"}, {"Ultra"}});
    RegisterCatalogueEnum<OceanBodyMode>("OceanBodyMode",
                                         {{"Bounded", "Bounded Water Body"}, {"Infinite", "Infinite Ocean"}});
}

} // namespace Brelk::Scene
