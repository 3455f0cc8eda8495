#pragma once

#include <cstdint>

// Every enum of the component catalogue. The enumerator names are what files store and
// the numbers are fixed from 0 in declaration order: never reorder or insert in the middle.
// The registered display texts live with the registrars.
namespace Brelk::Scene {

enum class BodyType : std::uint8_t { Static, Dynamic, Kinematic };

enum class BuoyancyForceModel : std::uint8_t { AutoTrim, PhysicalDisplacement };

enum class BuoyancySamplingMode : std::uint8_t { HullBounds, CustomPoints };

enum class ColliderShapeType : std::uint8_t { Box, Sphere, Capsule, Mesh };

enum class MeshColliderGeometry : std::uint8_t { Auto, TriangleMesh, ConvexHull, BoundsBox };

enum class GameplayLayer : std::uint8_t {
    Default,
    Floor,
    Wall,
    Ceiling,
    Obstacle,
    Player,
    Enemy,
    NPC,
    Projectile,
    Pickup,
    Trigger,
    Climbable,
    Water,
    DamageZone,
    NoNav,
    Cover,
    Interactable,
};

enum class OceanPreset : std::uint8_t { Calm, Coastal, OpenSea, Storm, Custom };

enum class OceanQuality : std::uint8_t { Low, Medium, High, Ultra };

enum class OceanBodyMode : std::uint8_t { Bounded, Infinite };

enum class ScriptFieldType : std::uint8_t {
    Bool,
    Int32,
    UInt32,
    Int64,
    Float,
    Double,
    String,
    Vector2,
    Vector3,
    Vector4,
    Quaternion,
    Color,
    EntityReference,
    AssetReference,
    Enum,
};

enum class BillboardFacingMode : std::uint8_t { ScreenAligned, WorldUp };

enum class ParticleSimulationBackend : std::uint8_t { Cpu, Gpu };

enum class ParticleCollisionShape : std::uint8_t { None, Plane, Sphere, SceneDepth };

enum class CurveInterpolation : std::uint8_t { Smooth, Linear, Constant };

enum class ParticleRenderMode : std::uint8_t { Billboard, Ribbon, Stretched, AxisLocked, Mesh, Beam };

enum class ParticleFlipbookPlayback : std::uint8_t { OverLifetime, Loop, PingPong };

enum class ParticleEmitterShape : std::uint8_t {
    Point,
    Sphere,
    Box,
    Cone,
    Circle,
    Line,
    Cylinder,
    MeshSurface,
    MeshVolume,
};

enum class ParticleSimulationSpace : std::uint8_t { Local, World };

// The one catalogue enum stored in 32 signed bits.
enum class AnimatorParameterType : std::int32_t { Bool, Float, Int, Trigger };

enum class AnimatorIkSolverType : std::uint8_t { TwoBone, FABRIK, CCD };

enum class RagdollMode : std::uint8_t { Animated, Simulated, Blend };

enum class AnimatorLayerMode : std::uint8_t { Override, Additive };

enum class NavigationBakeRole : std::uint8_t { Ignore, Walkable, Obstacle };

enum class PathShapeMode : std::uint8_t { Linear, Smooth, Organic };

enum class NavAgentAvoidance : std::uint8_t { None, Low, Medium, High };

enum class NavAgentStatus : std::uint8_t { Idle, Moving, Arrived, Unreachable, NoNavMesh };

enum class NavLinkType : std::uint8_t { Generic, Jump, Ladder };

enum class SplineCurveType : std::uint8_t { CatmullRom, Hermite };

enum class SplineMeshType : std::uint8_t { Tube, Ribbon };

enum class SplineUvMode : std::uint8_t { WholeLength, PerSegment, DistanceTiled, StretchToMesh };

enum class TerrainBrushMode : std::uint8_t { RaiseLower, Smooth, Flatten, PaintLayer };

enum class TerrainSampleKind : std::uint8_t { Heights, LayerWeights };

enum class BlackboardValueType : std::uint8_t { Bool, Float, Vec3, String };

enum class VfxParameterType : std::uint8_t { Float, Color, Vector3, Bool };

enum class VfxParameterTarget : std::uint8_t {
    EmissionRate,
    StartSize,
    StartSpeed,
    Lifetime,
    SimulationSpeed,
    Color,
    LightIntensity,
    Gravity,
    Wind,
    BeamEnd,
    Enabled,
    Turbulence,
};

enum class VfxBindingMode : std::uint8_t { Multiply, Override };

enum class VfxEventTrigger : std::uint8_t { OnSpawn, OnDeath, OnCollision };

enum class VfxEventAction : std::uint8_t { SpawnEffect, SpawnParticles, NotifyScript };

enum class AudioAttenuationModel : std::uint8_t { Smooth, Linear, Inverse, Custom };

enum class UICanvasSpace : std::uint8_t { Screen, WorldBillboard };

} // namespace Brelk::Scene
