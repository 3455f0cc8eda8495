#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ClothComponent.h"
#include "engine/scene/components/ClothRecords.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/OceanComponent.h"
#include "engine/scene/components/PhysicsComponents.h"
#include "engine/scene/components/RecordEdits.h"

#include <stdexcept>

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::EntityField;
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

    using P = BuoyancyPoint;
    Labelled(ReflectedTypeBuilder<P>("BuoyancyPoint", "Buoyancy Point", "Physics"))
        .Field("localPosition", &P::localPosition)
        .Field("immersionDepth", &P::immersionDepth)
        .Field("liftWeight", &P::liftWeight)
        .Field("enabled", &P::enabled);
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

// Version 1 saved the body's velocities and sleep state, which are run-time state now and
// travel in save games only.
void MigrateRigidBody(Reflection::SchemaRecord& record, std::uint32_t fromVersion) {
    if (fromVersion < 2) {
        RemoveRecordFields(record, {"linearVelocity", "angularVelocity", "isAwake"});
    }
}

void RegisterRigidBody() {
    using R = RigidBodyComponent;
    Labelled(RegisterComponent<R>("RigidBodyComponent", "Rigid Body", "Physics", kUserFlags)
                 .Description("Adds physical body mass, velocity, damping, and sleep settings.")
                 .Version(2)
                 .Migrate(MigrateRigidBody))
        .Field("bodyType", &R::bodyType, EnumField("BodyType"))
        .Field("mass", &R::mass, FieldAttr().Range(0.0f, 1000000.0f))
        .Field("linearDamping", &R::linearDamping, FieldAttr().Range(0.0f, 1000.0f))
        .Field("angularDamping", &R::angularDamping, FieldAttr().Range(0.0f, 1000.0f))
        .Field("gravityScale", &R::gravityScale, FieldAttr().Range(-100.0f, 100.0f))
        .Field("enabled", &R::enabled)
        .Field("useGravity", &R::useGravity)
        .Field("allowSleep", &R::allowSleep)
        .Field("inertiaTensor", &R::inertiaTensor)
        .Field("lockPositionX", &R::lockPositionX)
        .Field("lockPositionY", &R::lockPositionY)
        .Field("lockPositionZ", &R::lockPositionZ)
        .Field("lockRotationX", &R::lockRotationX)
        .Field("lockRotationY", &R::lockRotationY)
        .Field("lockRotationZ", &R::lockRotationZ)
        .Done()
        .AddTransient(&R::linearVelocity)
        .AddTransient(&R::angularVelocity)
        .AddTransient(&R::isAwake)
        .SaveGame("linearVelocity", &R::linearVelocity)
        .SaveGame("angularVelocity", &R::angularVelocity)
        .SaveGame("isAwake", &R::isAwake);
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

void RegisterConstraint() {
    using C = ConstraintComponent;
    Labelled(RegisterComponent<C>("ConstraintComponent", "Constraint", "Physics", kUserFlags)
                 .Description("Joins this rigid body to another entity's body."))
        .Field("enabled", &C::enabled)
        .Field("connectedEntity", &C::connectedEntity, EntityField().NotSaved())
        .Field("localAnchor", &C::localAnchor)
        .Field("connectedAnchor", &C::connectedAnchor)
        .Field("linearStiffness", &C::linearStiffness, FieldAttr().Range(0.0f, 1000.0f))
        .Field("connectedEntityGuid", &C::connectedEntityGuid, FieldAttr().Hidden())
        .Field("debugDraw", &C::debugDraw)
        .Done()
        .EntityLink(&C::connectedEntity, &C::connectedEntityGuid);
}

// The solver keeps a fixed table of sample points, so a file may not ask for more.
void CheckCustomPointLimit(const BuoyancyComponent& buoyancy) {
    if (buoyancy.customPoints.size() > kMaxBuoyancyCustomPoints) {
        throw std::runtime_error("Buoyancy component exceeds 32 custom points.");
    }
}

void RegisterBuoyancy() {
    using B = BuoyancyComponent;
    Labelled(RegisterComponent<B>("BuoyancyComponent", "Buoyancy", "Physics", kUserFlags)
                 .Description("Adds multi-point wave-aware buoyancy and water-relative drag to a dynamic rigid body."))
        .Field("enabled", &B::enabled)
        .Field("simulateInEditMode", &B::simulateInEditMode, FieldAttr("Simulate in Editor"))
        .Field("samplingMode", &B::samplingMode, EnumField("BuoyancySamplingMode").Category("Sampling"))
        .Field("autoFitCollider", &B::autoFitCollider, FieldAttr().Category("Sampling"))
        .Field("waterBody", &B::waterBody, EntityField().Category("Sampling").NotSaved())
        .Field("waterBodyGuid", &B::waterBodyGuid, FieldAttr().Category("Sampling").Hidden())
        .Field("localCenter", &B::localCenter, FieldAttr().Category("Sampling"))
        .Field("localHalfExtents", &B::localHalfExtents, FieldAttr().Category("Sampling"))
        .Field("samplePointCount", &B::samplePointCount,
               FieldAttr("Sample Points").Range(1.0f, 8.0f).Category("Sampling"))
        .Field("forceModel", &B::forceModel, EnumField("BuoyancyForceModel").Category("Hydrodynamics"))
        .Field("fluidDensity", &B::fluidDensity, FieldAttr().Range(1.0f, 4000.0f).Category("Forces"))
        .Field("buoyancyScale", &B::buoyancyScale, FieldAttr().Range(0.0f, 8.0f).Category("Forces"))
        .Field("targetSubmersion", &B::targetSubmersion, FieldAttr().Range(0.05f, 0.95f).Category("Hydrodynamics"))
        .Field("hullVolumeScale", &B::hullVolumeScale, FieldAttr().Range(0.01f, 1.0f).Category("Hydrodynamics"))
        .Field("maxSubmersionDepth", &B::maxSubmersionDepth, FieldAttr().Range(0.01f, 100.0f).Category("Forces"))
        .Field("linearDrag", &B::linearDrag, FieldAttr().Range(0.0f, 20.0f).Category("Forces"))
        .Field("angularDrag", &B::angularDrag, FieldAttr().Range(0.0f, 20.0f).Category("Forces"))
        .Field("surfaceAlignment", &B::surfaceAlignment, FieldAttr().Range(0.0f, 2.0f).Category("Forces"))
        .Field("canFlip", &B::canFlip, FieldAttr().Category("Stability"))
        .Field("uprightStiffness", &B::uprightStiffness, FieldAttr().Range(0.0f, 20.0f).Category("Stability"))
        .Field("uprightDamping", &B::uprightDamping, FieldAttr().Range(0.0f, 20.0f).Category("Stability"))
        .Field("generateWake", &B::generateWake, FieldAttr().Category("Wake Trail"))
        .Field("wakeStrength", &B::wakeStrength, FieldAttr("Strength").Range(0.0f, 4.0f).Category("Wake Trail"))
        .Field("wakeWidth", &B::wakeWidth, FieldAttr("Width").Range(0.05f, 50.0f).Category("Wake Trail"))
        .Field("wakeLifetime", &B::wakeLifetime, FieldAttr("Lifetime").Range(0.1f, 30.0f).Category("Wake Trail"))
        .Field("wakeSpacing", &B::wakeSpacing, FieldAttr("Point Spacing").Range(0.05f, 20.0f).Category("Wake Trail"))
        .Field("wakeMinimumSpeed", &B::wakeMinimumSpeed,
               FieldAttr("Minimum Speed").Range(0.01f, 100.0f).Category("Wake Trail"))
        .Field("maximumWakePoints", &B::maximumWakePoints,
               FieldAttr("Maximum Points").Range(1.0f, 32.0f).Category("Wake Trail"))
        .Field("debugDraw", &B::debugDraw, FieldAttr().Category("Debug"))
        .Field("customPoints", &B::customPoints)
        .Done()
        .EntityLink(&B::waterBody, &B::waterBodyGuid)
        .OnSave([](B& buoyancy, const ComponentSaveContext&) { CheckCustomPointLimit(buoyancy); })
        .OnLoad([](B& buoyancy, const ComponentLoadContext&) { CheckCustomPointLimit(buoyancy); })
        // Runs after the link has found its entity: only an ocean is water to float on.
        .OnResolve([](B& buoyancy, const Registry& registry, Entity) {
            if (!registry.IsAlive(buoyancy.waterBody) || !registry.Has<OceanComponent>(buoyancy.waterBody)) {
                buoyancy.waterBody = kNullEntity;
            }
        });
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
            {{Physics::kClothMainRecord, false},
             {Physics::kClothCountRecord, false},
             {Physics::kClothChunkRecord, true}},
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
    RegisterRigidBody();
    RegisterCollider();
    RegisterConstraint();
    RegisterBuoyancy();
    RegisterCloth();
}

} // namespace Brelk::Scene
