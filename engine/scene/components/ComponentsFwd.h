#pragma once

#include <cstdint>

// Forward declarations of the catalogue's types, for headers that only name them.
namespace Brelk::Scene {

struct Transform;
struct NameComponent;
struct EntityGuidComponent;
struct TransformComponent;
struct HierarchyComponent;
struct PrefabOverride;
struct PrefabComponentChange;
struct PrefabInstanceRecord;
struct PrefabInstanceComponent;
struct TransientComponent;

struct PostProcessSettings;
struct EnvironmentSettings;

struct RigidBodyComponent;
struct PhysicsMaterial;
struct CollisionFilter;
struct ColliderComponent;
struct ConstraintComponent;
struct BuoyancyPoint;
struct BuoyancyComponent;
struct OceanWaveSettings;
struct OceanComponent;

struct ScriptFieldRecord;
struct ScriptAttachmentRecord;
struct ScriptComponentRecord;
struct ScriptComponent;

struct MeshRendererComponent;
struct BillboardComponent;
struct CameraComponent;
struct CurveKey;
struct GradientKey;
struct ParticleEmitterComponent;

struct BonePose;
struct AnimatorParameterValue;
struct AnimatorBoneMaskRule;
struct AnimatorLayer;
struct AnimatorIkChain;
struct AnimatorLookAtChain;
struct AnimatorComponent;
struct RagdollBoneSettings;
struct RagdollComponent;

struct DirectionalLightComponent;
struct PointLightComponent;
struct SpotLightComponent;
struct ReflectionProbeComponent;
struct ProbeVolumeComponent;

struct RotatorComponent;
struct GameplayLayerComponent;
struct CharacterControllerComponent;
struct FirstPersonCameraControllerComponent;
struct ThirdPersonCameraControllerComponent;
struct HealthComponent;
struct SpawnPointComponent;

struct NavigationBakeComponent;
struct PathWalkerComponent;
struct NavMeshSurfaceComponent;
struct NavAgentComponent;
struct NavAreaComponent;
struct NavOffMeshLinkComponent;

struct SplinePoint;
struct SplineMeshSettings;
struct SplineCurve;
struct SplineCurveRecord;
struct SplineComponentRecord;
struct SplineComponent;

struct TerrainLayer;
struct TerrainSampleCounts;
struct TerrainSampleChunk;
struct TerrainComponent;
struct TerrainRecordParts;

struct WorldStreamingSourceComponent;
struct WorldChunkComponent;
struct WorldPartitionComponent;
struct WorldPersistentComponent;
struct WorldCellPreviewComponent;

struct BlackboardValue;
struct BlackboardComponent;
struct AIControllerComponent;
struct AIPerceptionComponent;
struct AIPerceivableComponent;

struct VfxParameterDefinition;
struct VfxParameterBinding;
struct VfxEventDefinition;
struct VfxGraphNodeLayout;
struct VfxParameterValue;
struct VfxEffectDefinitionComponent;
struct VfxEffectComponent;
struct VfxEmitterBaseline;

struct AudioSourceComponent;
struct AudioListenerComponent;
struct UICanvasComponent;
struct NetworkReplicationComponent;

enum class GameplayLayer : std::uint8_t;
enum class ColliderShapeType : std::uint8_t;
enum class MeshColliderGeometry : std::uint8_t;
enum class TerrainBrushMode : std::uint8_t;
enum class TerrainSampleKind : std::uint8_t;

} // namespace Brelk::Scene

namespace Brelk::Physics {

struct ClothSettings;
struct ClothPinWeightCount;
struct ClothPinWeightChunk;
struct ClothComponent;
struct ClothRecordParts;

enum class ClothPinMode : std::uint8_t;

} // namespace Brelk::Physics
