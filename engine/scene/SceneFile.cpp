#include "engine/scene/SceneFile.h"

#include "engine/assets/AssetManager.h"
#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/cooked/CookedContainer.h"
#include "engine/assets/cooked/CookedManifest.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"
#include "engine/platform/Paths.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/CookedScene.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneTextParser.h"
#include "engine/scene/SceneTextWriter.h"
#include "engine/scene/components/CoreComponents.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <unordered_set>
#include <vector>

namespace Brelk::Scene {
namespace {

using Reflection::SchemaRecord;

// A load failure whose message is complete; every other exception of a load gets the
// general prefix.
struct LoadFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct SavedEntity {
    Entity entity = kNullEntity;
    Core::Guid guid;
};

// The entities a save writes, in registry order, each with its Guid checked and its
// parent's Guid found; `parents` gets every (Guid, parent Guid) pair.
std::vector<SavedEntity> CollectSavedEntities(const Scene& scene, std::unordered_map<Core::Guid, Core::Guid>& parents) {
    std::vector<SavedEntity> saved;
    for (const Entity entity : scene.Entities()) {
        if (!IsSavedEntity(scene, entity)) continue;
        const auto* guid = scene.TryGet<EntityGuidComponent>(entity);
        if (!scene.Has<NameComponent>(entity) || guid == nullptr || !scene.Has<TransformComponent>(entity)) {
            throw std::runtime_error("Cannot save an entity missing its name, GUID, or transform.");
        }
        if (!guid->guid.IsValid()) throw std::runtime_error("Cannot save an entity with a null GUID.");
        Core::Guid parentGuid;
        const auto* hierarchy = scene.TryGet<HierarchyComponent>(entity);
        if (hierarchy != nullptr && hierarchy->parent != kNullEntity) {
            const auto* parent = scene.IsAlive(hierarchy->parent) ? scene.TryGet<EntityGuidComponent>(hierarchy->parent)
                                                                  : nullptr;
            if (parent == nullptr) throw std::runtime_error("Cannot save an entity with a missing parent.");
            parentGuid = parent->guid;
        }
        if (!parents.emplace(guid->guid, parentGuid).second) {
            throw std::runtime_error("Cannot save duplicate entity GUIDs.");
        }
        saved.push_back({entity, guid->guid});
    }
    return saved;
}

void AppendEntityLines(std::string& text, const Scene& scene, const SavedEntity& saved, const Core::Guid& parent,
                       const ComponentLoadTable& table, const Reflection::SchemaCodecContext& codec,
                       std::vector<SchemaRecord>& records) {
    AppendEntityHeaderLines(text, saved.guid, scene.GetName(saved.entity), parent);
    records.clear();
    SaveEntityComponents(table, ComponentSaveContext{scene, saved.entity, &codec}, records);
    for (const SchemaRecord& record : records) Reflection::AppendSchemaRecord(text, record);
    text += "end_entity\n";
}

// Removes the temporary file of a save on every way out that did not rename it.
class TemporaryFile {
public:
    explicit TemporaryFile(std::filesystem::path path) : path_(std::move(path)) {}
    ~TemporaryFile() {
        if (!path_.empty()) {
            std::error_code ignored;
            std::filesystem::remove(path_, ignored);
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const std::filesystem::path& Path() const noexcept { return path_; }
    void Release() noexcept { path_.clear(); }

private:
    std::filesystem::path path_;
};

bool StartsWithCookedMagic(const std::filesystem::path& path, bool& opened) {
    std::ifstream file(path, std::ios::binary);
    opened = static_cast<bool>(file);
    if (!opened) return false;
    std::uint8_t magic[4] = {};
    file.read(reinterpret_cast<char*>(magic), sizeof magic);
    return file.gcount() == sizeof magic && Assets::IsCookedFile(magic);
}

bool RequiresCookedScenesAt(const Assets::AssetRegistry& registry) {
    return Assets::RequiresCookedScenes(registry.ContentRoot());
}

bool ReadCookedDocument(const std::filesystem::path& path, SceneDocument& document, std::string* error) {
    std::string message;
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path, &message);
    std::optional<std::span<const std::uint8_t>> payload;
    if (bytes) {
        payload = Assets::OpenCookedContainer(*bytes, Assets::kCookedKindScene, kCookedSceneFormatVersion,
                                              Platform::PathToUtf8(path), &message);
    }
    if (!payload) {
        SetError(error, "Failed to read cooked scene: " + message);
        return false;
    }
    return DecodeCookedScenePayload(*payload, document, path, error);
}

// The entities of a document, loaded into a new scene aside from the caller's.
void BuildScene(const SceneDocument& document, Scene& built, const Scene& previous, const ComponentLoadTable& table,
                const Reflection::SchemaCodecContext& codec, const EnvironmentSettings& environment) {
    // Sessions keep a pointer to the context: it must outlive all of them.
    const ComponentLoadContext loadContext{&codec};
    std::vector<ComponentLoadSession> sessions;
    sessions.reserve(document.entities.size());
    for (std::size_t index = 0; index < document.entities.size(); ++index) {
        const SceneEntityBlock& block = document.entities[index];
        std::uint32_t line = 0;
        try {
            ComponentLoadSession& session = sessions.emplace_back(table, loadContext);
            for (const SceneComponentBlock& component : block.records) {
                line = component.line;
                SchemaRecord record = component.record;
                session.ReadRecord(std::move(record), component.sourceBytes);
            }
            line = block.line;
            session.Finish(true);
        } catch (const std::runtime_error& e) {
            if (line == 0) {
                throw LoadFailure("Failed to load cooked scene entity " + std::to_string(index) + ": " + e.what());
            }
            throw LoadFailure("Failed to parse scene file at line " + std::to_string(line) + ": " + e.what());
        }
    }

    std::unordered_map<Core::Guid, Core::Guid> parents;
    parents.reserve(document.entities.size());
    for (const SceneEntityBlock& block : document.entities) {
        if (!parents.emplace(block.guid, block.parent).second) {
            throw std::runtime_error("Scene contains duplicate entity GUIDs.");
        }
    }
    ValidateSceneHierarchy(parents);

    built.AdvanceGenerationsPast(previous);
    built.SetEnvironment(environment);
    std::vector<Entity> entities;
    entities.reserve(document.entities.size());
    for (std::size_t index = 0; index < document.entities.size(); ++index) {
        const SceneEntityBlock& block = document.entities[index];
        const Entity entity = built.CreateEntity(block.name);
        built.SetEntityGuid(entity, block.guid);
        sessions[index].Apply(built, entity);
        entities.push_back(entity);
    }
    for (std::size_t index = 0; index < document.entities.size(); ++index) {
        const Core::Guid& parentGuid = document.entities[index].parent;
        if (!parentGuid.IsValid()) continue;
        const Entity parent = built.FindEntityByGuid(parentGuid);
        if (parent != kNullEntity) built.SetParent(entities[index], parent);
    }
    for (const Entity entity : entities) ResolveEntityComponents(table, built, entity);
    built.MarkEverythingChanged();
}

} // namespace

bool IsSavedEntity(const Registry& registry, Entity entity) {
    return registry.IsAlive(entity) && !registry.Has<TransientComponent>(entity);
}

void ValidateSceneHierarchy(const std::unordered_map<Core::Guid, Core::Guid>& parents) {
    std::unordered_set<Core::Guid> good;
    good.reserve(parents.size());
    std::unordered_set<Core::Guid> walk;
    for (const auto& [start, unused] : parents) {
        walk.clear();
        Core::Guid current = start;
        while (current.IsValid() && !good.contains(current)) {
            const auto found = parents.find(current);
            if (found == parents.end()) throw std::runtime_error("Scene hierarchy references a missing parent.");
            if (!walk.insert(current).second) throw std::runtime_error("Scene hierarchy contains a cycle.");
            current = found->second;
        }
        good.insert(walk.begin(), walk.end());
    }
}

Reflection::SchemaCodecContext MakeSceneCodecContext(const Assets::AssetRegistry& registry) {
    Reflection::SchemaCodecContext context;
    context.assetToText = [&registry](std::uint64_t assetId, const Assets::AssetTypeInfo& type) {
        const Assets::AssetRecord* record = registry.Find(static_cast<Assets::AssetHandle>(assetId));
        if (record == nullptr || record->type != Assets::AssetTypeOf(type)) {
            throw std::runtime_error("Unregistered asset or mismatched asset type: " + type.name);
        }
        return Assets::AssetReferenceOf(registry, record->handle);
    };
    context.textToAsset = [&registry](const std::string& text, const Assets::AssetTypeInfo& type) -> std::uint64_t {
        const Assets::AssetType expected = Assets::AssetTypeOf(type);
        const Assets::AssetHandle handle = Assets::ResolveAssetReference(registry, text, expected);
        if (handle != Assets::kNullAssetHandle) {
            const Assets::AssetRecord* record = registry.Find(handle);
            if (record != nullptr && record->type == expected) return handle;
        } else if (registry.IsToleratedMissingType(type.nativeId)) {
            return Reflection::kAbsentAssetId;
        }
        throw std::runtime_error("Unresolved asset or mismatched asset type: " + type.name + " / " + text);
    };
    return context;
}

bool SaveScene(const std::filesystem::path& path, const Scene& scene, const Assets::AssetManager& assetManager,
               std::string* error) {
    if (error) error->clear();
    std::filesystem::path temporaryPath = path;
    temporaryPath += ".save-" + Core::Guid::New().ToString() + ".tmp";
    TemporaryFile temporary(temporaryPath);
    std::ofstream file(temporary.Path(), std::ios::out | std::ios::trunc);
    if (!file) {
        SetError(error, "Failed to open scene file for writing.");
        return false;
    }
    try {
        file.imbue(std::locale::classic());
        std::string text = "scene_version " + std::to_string(SceneFormatVersion) + "\n";

        std::unordered_map<Core::Guid, Core::Guid> parents;
        const std::vector<SavedEntity> saved = CollectSavedEntities(scene, parents);
        ValidateSceneHierarchy(parents);

        const Reflection::SchemaCodecContext codec = MakeSceneCodecContext(assetManager.GetRegistry());
        Reflection::AppendSchemaRecord(text, Reflection::EncodeObject(Reflection::MakeConstView(scene.GetEnvironment()),
                                                                      Reflection::ReflectionRegistry::Instance(), codec));
        const ComponentLoadTable table;
        std::vector<SchemaRecord> records;
        for (const SavedEntity& entity : saved) {
            AppendEntityLines(text, scene, entity, parents.at(entity.guid), table, codec, records);
        }

        file.write(text.data(), static_cast<std::streamsize>(text.size()));
        file.flush();
        if (!file.good()) throw std::runtime_error("Failed to finish writing scene file.");
        file.close();
        if (file.fail()) throw std::runtime_error("Failed to close scene file.");
        const Platform::PlatformResult replaced = Platform::ReplaceFile(temporary.Path(), path, true);
        if (replaced.status != Platform::PlatformStatus::Ok) {
            throw std::runtime_error("Failed to replace scene file: " + replaced.message);
        }
        temporary.Release();
        return true;
    } catch (const std::exception& e) {
        SetError(error, std::string("Failed to save scene: ") + e.what());
    }
    if (file.is_open()) file.close();
    return false;
}

bool LoadScene(const std::filesystem::path& path, Scene& scene, const Assets::AssetManager& assetManager,
               std::string* error) {
    if (error) error->clear();
    const Assets::AssetRegistry& registry = assetManager.GetRegistry();
    bool opened = false;
    SceneDocument document;
    if (StartsWithCookedMagic(path, opened)) {
        if (!ReadCookedDocument(path, document, error)) return false;
    } else if (!opened) {
        SetError(error, "Failed to open scene file for reading.");
        return false;
    } else if (registry.Mode() == Assets::AssetSourceMode::ReadOnly && RequiresCookedScenesAt(registry)) {
        SetError(error, "Scene \"" + Platform::PathToUtf8(path) +
                            "\" is not cooked. This package loads only cooked scenes; cook the project with "
                            "brelk-cook or the packager.");
        return false;
    } else {
        std::ifstream file(path);
        if (!file) {
            SetError(error, "Failed to open scene file for reading.");
            return false;
        }
        if (!ParseSceneText(file, document, path, error)) return false;
    }

    try {
        const Reflection::SchemaCodecContext codec = MakeSceneCodecContext(registry);
        const ComponentLoadTable table;
        EnvironmentSettings environment;
        if (document.environment) {
            try {
                EnvironmentSettings decoded;
                Reflection::DecodeObject(*document.environment, Reflection::MakeView(decoded),
                                         Reflection::ReflectionRegistry::Instance(), codec);
                environment = std::move(decoded);
            } catch (const std::exception& e) {
                throw LoadFailure(std::string("Failed to load scene environment: ") + e.what());
            }
        }
        Scene built;
        BuildScene(document, built, scene, table, codec, environment);
        scene = std::move(built);
        return true;
    } catch (const LoadFailure& e) {
        SetError(error, e.what());
    } catch (const std::exception& e) {
        SetError(error, std::string("Failed to load scene: ") + e.what());
    }
    return false;
}

} // namespace Brelk::Scene
