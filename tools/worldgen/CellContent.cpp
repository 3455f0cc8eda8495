#include "tools/worldgen/CellContent.h"

#include "engine/scene/Scene.h"
#include "engine/scene/components/ComponentEnums.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/PhysicsComponents.h"
#include "engine/scene/components/RenderComponents.h"
#include "engine/scene/components/TerrainComponent.h"

#include <algorithm>
#include <string>

namespace Brelk::WorldGen {
namespace {

using Scene::Entity;

Scene::TerrainComponent MakeTerrain(float originX, float originZ, const ProceduralWorldSettings& settings,
                                    const CellAssets& assets) {
    Scene::TerrainComponent terrain;
    terrain.width = settings.cellSize;
    terrain.length = settings.cellSize;
    terrain.heightScale = std::max(settings.heightScale, 0.001f);
    terrain.resolutionX = settings.terrainResolution;
    terrain.resolutionZ = settings.terrainResolution;
    terrain.material = assets.defaultMaterial;
    terrain.surfaceLayer = Scene::GameplayLayer::Floor;
    terrain.brushMode = Scene::TerrainBrushMode::RaiseLower;
    terrain.brushRadius = 2.0f;
    terrain.brushStrength = 0.18f;
    terrain.brushFalloff = 0.55f;
    terrain.flattenHeight = 0.0f;
    terrain.activeLayer = 0;

    Scene::TerrainLayer ground;
    ground.name = "Ground";
    ground.tint = {1.0f, 1.0f, 1.0f, 1.0f};
    ground.tiling = 8.0f;
    ground.surfaceLayer = Scene::GameplayLayer::Floor;
    terrain.layers.push_back(std::move(ground));

    // Heights are normalised by the component's scale, and the last row and column land
    // exactly on the neighbour's first, since they sample the same world positions.
    const std::uint32_t resolution = settings.terrainResolution;
    const float span = static_cast<float>(resolution - 1);
    terrain.heights.resize(static_cast<std::size_t>(resolution) * resolution);
    for (std::uint32_t j = 0; j < resolution; ++j) {
        const float wz = static_cast<float>(j) * settings.cellSize / span + originZ;
        for (std::uint32_t i = 0; i < resolution; ++i) {
            const float wx = static_cast<float>(i) * settings.cellSize / span + originX;
            terrain.heights[static_cast<std::size_t>(j) * resolution + i] =
                SampleHeight(wx, wz, settings) / terrain.heightScale;
        }
    }
    terrain.layerWeights.assign(terrain.heights.size(), 1.0f);
    return terrain;
}

Scene::MeshRendererComponent MakePropRenderer(const CellAssets& assets) {
    Scene::MeshRendererComponent renderer;
    renderer.mesh = assets.cubeMesh;
    renderer.material = assets.defaultMaterial;
    renderer.materialSlots = {assets.defaultMaterial};
    renderer.skeleton = 0;
    renderer.skinningEnabled = true;
    renderer.visible = true;
    renderer.occluder = true;
    renderer.allowOcclusion = true;
    renderer.enableLod = false;
    renderer.forceLodLevel = false;
    renderer.forcedLodLevel = 0;
    renderer.lodDistanceScale = 1.0f;
    renderer.maxDrawDistance = 250.0f;
    return renderer;
}

Scene::ColliderComponent MakePropCollider() {
    Scene::ColliderComponent collider;
    collider.shape = Scene::ColliderShapeType::Box;
    collider.material = {0.6f, 0.6f, 0.0f, 1000.0f};
    collider.filter = {0, 0xFFFFFFFFu};
    collider.gameplayLayer = Scene::GameplayLayer::Wall;
    collider.localOffset = {0.0f, 0.0f, 0.0f};
    collider.localRotation = {0.0f, 0.0f, 0.0f};
    collider.boxHalfExtents = {0.5f, 0.5f, 0.5f};
    collider.sphereRadius = 0.5f;
    collider.capsuleRadius = 0.5f;
    collider.capsuleHeight = 1.8f;
    collider.mesh = 0;
    collider.meshGeometry = Scene::MeshColliderGeometry::Auto;
    collider.convexHullMaxPoints = 256;
    collider.useMeshFromRenderer = true;
    collider.enabled = true;
    collider.isTrigger = false;
    collider.debugDraw = true;
    return collider;
}

} // namespace

void BuildCellContent(Scene::Scene& scene, CellCoord coord, float originX, float originZ,
                      const ProceduralWorldSettings& settings, const CellAssets& assets, CellContent& content) {
    content.entities.clear();
    content.terrainCount = 0;

    if (settings.terrainResolution >= 2) {
        const Entity terrain = scene.CreateEntity("Terrain " + CellDisplayName(coord));
        scene.SetEntityGuid(terrain, MakeProceduralGuid(settings.seed, coord.x, coord.z, 0));
        // A terrain's transform stands at the middle of the tile it covers.
        const float half = 0.5f * settings.cellSize;
        scene.Get<Scene::TransformComponent>(terrain).transform.position = {originX + half, 0.0f, originZ + half};
        scene.Emplace<Scene::TerrainComponent>(terrain, MakeTerrain(originX, originZ, settings, assets));
        content.entities.push_back(terrain);
        content.terrainCount = 1;
    }

    // One stream runs through all props of the cell, six draws each, so a run with more
    // props has the same first props.
    RandomStream stream{MakeCellKey(settings.seed, coord.x, coord.z)};
    const float placementSpan = (settings.cellSize - 1.0f) - 1.0f;
    const Scene::MeshRendererComponent renderer = MakePropRenderer(assets);
    const Scene::ColliderComponent collider = MakePropCollider();
    for (std::uint32_t p = 0; p < settings.propsPerCell; ++p) {
        const Entity prop = scene.CreateEntity("Prop " + std::to_string(p));
        scene.SetEntityGuid(prop, MakeProceduralGuid(settings.seed, coord.x, coord.z, p + content.terrainCount));

        const float localX = stream.NextFloatInSpan(1.0f, placementSpan);
        const float localZ = stream.NextFloatInSpan(1.0f, placementSpan);
        glm::vec3 scale;
        scale.z = stream.NextFloatInSpan(0.8f, 3.2f);
        scale.y = stream.NextFloatInSpan(0.8f, 8.2f);
        scale.x = stream.NextFloatInSpan(0.8f, 3.2f);
        const float yaw = stream.NextFloatInSpan(0.0f, 360.0f);

        const float px = localX + originX;
        const float pz = localZ + originZ;
        // A unit cube centred on its position stands on the ground.
        const float py = SampleHeight(px, pz, settings) + scale.y * 0.5f;
        Scene::Transform& transform = scene.Get<Scene::TransformComponent>(prop).transform;
        transform.position = {px, py, pz};
        transform.rotation = {0.0f, yaw, 0.0f};
        transform.scale = scale;

        scene.Emplace<Scene::MeshRendererComponent>(prop, renderer);
        if (settings.generateColliders) scene.Emplace<Scene::ColliderComponent>(prop, collider);
        content.entities.push_back(prop);
    }
}

} // namespace Brelk::WorldGen
