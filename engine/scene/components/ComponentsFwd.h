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

struct PhysicsMaterial;
struct CollisionFilter;
struct ColliderComponent;

struct MeshRendererComponent;
struct CameraComponent;
struct DirectionalLightComponent;

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
