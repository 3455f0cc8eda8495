#include "tools/worldgen/CellFile.h"

#include "engine/assets/AssetManager.h"
#include "engine/platform/Files.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneDocument.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/SceneTextWriter.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/EnvironmentSettings.h"

#include <stdexcept>
#include <unordered_set>
#include <vector>

namespace Brelk::WorldGen {
namespace {

using Scene::Entity;

// The entities a cell file holds: each listed one that is saved, followed at once by its
// saved descendants, depth first. A transient entity hides its whole subtree.
void ExpandEntity(const Scene::Scene& scene, Entity entity, std::vector<Entity>& out) {
    if (!Scene::IsSavedEntity(scene, entity)) return;
    out.push_back(entity);
    if (const auto* hierarchy = scene.TryGet<Scene::HierarchyComponent>(entity)) {
        for (const Entity child : hierarchy->children) ExpandEntity(scene, child, out);
    }
}

void BuildCellText(std::string& text, const Scene::Scene& scene, std::span<const Entity> entities,
                   const Assets::AssetManager& assetManager) {
    std::vector<Entity> work;
    work.reserve(entities.size());
    for (const Entity entity : entities) ExpandEntity(scene, entity, work);

    const Reflection::SchemaCodecContext codec = Scene::MakeSceneCodecContext(assetManager.GetRegistry());
    const Scene::ComponentLoadTable table;

    text += "scene_version ";
    text += std::to_string(Scene::SceneFormatVersion);
    text += '\n';
    // Every cell carries the default environment, so that all cells read the same there.
    const Scene::EnvironmentSettings environment;
    Reflection::AppendSchemaRecord(text, Reflection::EncodeObject(Reflection::MakeConstView(environment),
                                                                  Reflection::ReflectionRegistry::Instance(), codec));

    const std::unordered_set<Entity> written(work.begin(), work.end());
    std::vector<Reflection::SchemaRecord> records;
    for (const Entity entity : work) {
        const auto* name = scene.TryGet<Scene::NameComponent>(entity);
        const auto* guid = scene.TryGet<Scene::EntityGuidComponent>(entity);
        if (name == nullptr || guid == nullptr || !scene.Has<Scene::TransformComponent>(entity)) {
            throw std::runtime_error("a cell entity is missing its name, GUID or transform");
        }
        if (!guid->guid.IsValid()) throw std::runtime_error("a cell entity has a null GUID");
        Core::Guid parent;
        if (const auto* hierarchy = scene.TryGet<Scene::HierarchyComponent>(entity);
            hierarchy != nullptr && hierarchy->parent != Scene::kNullEntity && written.contains(hierarchy->parent)) {
            parent = scene.Get<Scene::EntityGuidComponent>(hierarchy->parent).guid;
        }

        Scene::AppendEntityHeaderLines(text, guid->guid, name->name, parent);
        records.clear();
        Scene::SaveEntityComponents(table, Scene::ComponentSaveContext{scene, entity, &codec}, records);
        for (const Reflection::SchemaRecord& record : records) Reflection::AppendSchemaRecord(text, record);
        text += "end_entity\n";
    }
}

} // namespace

bool WriteCellFile(const std::filesystem::path& path, const Scene::Scene& scene, std::span<const Entity> entities,
                   const Assets::AssetManager& assetManager, std::string* error) {
    std::string buffer;
    return WriteCellFile(path, scene, entities, assetManager, error, buffer);
}

bool WriteCellFile(const std::filesystem::path& path, const Scene::Scene& scene, std::span<const Entity> entities,
                   const Assets::AssetManager& assetManager, std::string* error, std::string& buffer) {
    try {
        buffer.clear();
        BuildCellText(buffer, scene, entities, assetManager);
        if (path.has_parent_path()) {
            std::error_code ignored;
            std::filesystem::create_directories(path.parent_path(), ignored);
        }
        return Platform::WriteFileAtomic(path, std::string_view(buffer), error);
    } catch (const std::exception& e) {
        if (error) *error = "Failed to write cell " + Platform::PathToUtf8(path) + ": " + e.what();
    }
    return false;
}

} // namespace Brelk::WorldGen
