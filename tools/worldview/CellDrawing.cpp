#include "tools/worldview/CellDrawing.h"

#include "engine/reflection/SchemaCodec.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/Registry.h"
#include "engine/scene/Scene.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/TerrainComponent.h"

#include <stdexcept>
#include <typeindex>
#include <unordered_map>

#include <glm/mat4x4.hpp>
#include <glm/vec4.hpp>

namespace Brelk::WorldView {
namespace {

// Every reference reads as an asset known to be absent, which the decoder stores as none.
Reflection::SchemaCodecContext PictureCodec() {
    Reflection::SchemaCodecContext codec;
    codec.textToAsset = [](const std::string&, const Assets::AssetTypeInfo&) { return Reflection::kAbsentAssetId; };
    return codec;
}

bool IsDrawnComponent(const Scene::ComponentRecordTarget& target) {
    const std::type_index type = target.entry->type;
    return type == std::type_index(typeid(Scene::TransformComponent)) ||
           type == std::type_index(typeid(Scene::TerrainComponent));
}

TerrainTile MakeTile(const Scene::TerrainComponent& terrain, const glm::mat4& world) {
    // A terrain's height field is centred on its entity; rotation and scale do not apply to it.
    const glm::vec3 centre(world[3]);
    TerrainTile tile;
    tile.minX = centre.x - terrain.width * 0.5f;
    tile.minZ = centre.z - terrain.length * 0.5f;
    tile.width = terrain.width;
    tile.length = terrain.length;
    tile.resolutionX = terrain.resolutionX;
    tile.resolutionZ = terrain.resolutionZ;
    const std::uint64_t samples = std::uint64_t{terrain.resolutionX} * terrain.resolutionZ;
    if (terrain.resolutionX < 2 || terrain.resolutionZ < 2 || samples != terrain.heights.size()) {
        // A height field the terrain system would not build either; the cell shows without it.
        tile.resolutionX = 0;
        tile.resolutionZ = 0;
        return tile;
    }
    tile.heights.resize(terrain.heights.size());
    for (std::size_t i = 0; i < terrain.heights.size(); ++i) {
        tile.heights[i] = terrain.heights[i] * terrain.heightScale + centre.y;
    }
    return tile;
}

} // namespace

void ExtractCellDrawing(WorldGen::CellPayload& payload, const Scene::ComponentLoadTable& table, CellDrawing& drawing) {
    drawing.terrains.clear();
    drawing.props.clear();
    const Reflection::SchemaCodecContext codec = PictureCodec();
    Scene::ComponentLoadContext context;
    context.codec = &codec;

    Scene::Registry registry;
    // Parents come before their children in a payload, so a parent's matrix is ready first.
    std::unordered_map<Core::Guid, glm::mat4> worldOf;
    worldOf.reserve(payload.document.entities.size());
    for (Scene::SceneEntityBlock& block : payload.document.entities) {
        const Scene::Entity entity = registry.CreateEntity();
        try {
            Scene::ComponentLoadSession session(table, context);
            for (Scene::SceneComponentBlock& component : block.records) {
                const Scene::ComponentRecordTarget* target = table.FindRecord(component.record.name);
                if (target != nullptr && IsDrawnComponent(*target)) {
                    session.ReadRecord(std::move(component.record), component.sourceBytes);
                }
            }
            session.Finish(false);
            session.Apply(registry, entity);
        } catch (const std::exception& failure) {
            throw std::runtime_error(block.name + ": " + failure.what());
        }

        const Scene::TransformComponent* transform = registry.TryGet<Scene::TransformComponent>(entity);
        if (transform == nullptr) continue;
        glm::mat4 world = Scene::LocalMatrix(transform->transform);
        const auto parent = worldOf.find(block.parent);
        if (block.parent.IsValid() && parent != worldOf.end()) world = parent->second * world;
        worldOf.emplace(block.guid, world);

        if (const Scene::TerrainComponent* terrain = registry.TryGet<Scene::TerrainComponent>(entity)) {
            drawing.terrains.push_back(MakeTile(*terrain, world));
        } else {
            drawing.props.emplace_back(world[3]);
        }
        registry.DestroyEntity(entity);
    }
}

} // namespace Brelk::WorldView
