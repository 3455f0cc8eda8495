#include "engine/assets/AssetManager.h"

#include "engine/assets/AssetFamilyLoads.h"
#include "engine/assets/animation/AnimationClipFile.h"
#include "engine/assets/animation/AnimatorControllerFile.h"
#include "engine/assets/ui/UiDocumentFile.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"

#include <stdexcept>
#include <string>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

// The row of a family that is read whole from its files at Initialize and Refresh and never
// through the loader. `accepts` passes over a file silently before anything else is asked.
template <class Map, class Load>
AssetFamilyRow DocumentFamilyRow(AssetManager& manager, AssetType type, std::string_view extension, Map& table,
                                 bool (*accepts)(const fs::path&), Load load) {
    AssetFamilyRow row;
    row.type = type;
    row.table = ViewOfTable(table);
    row.loadFromRegistry = [&manager, &table, type, extension, accepts, load] {
        for (const AssetRecord& record : FamilySources(manager.GetRegistry(), type, extension)) {
            if (accepts && !accepts(record.sourcePath)) continue;
            if (!manager.ShouldLoadFromDisk(record, table.contains(record.handle))) continue;
            auto loaded = load(record.sourcePath);
            if (!loaded) continue;
            table.insert_or_assign(record.handle, std::move(*loaded));
            manager.RememberSourceStamp(record.handle, record.sourcePath);
        }
    };
    return row;
}

template <class Map>
const typename Map::mapped_type* FindLoaded(const Map& table, AssetHandle handle) {
    const auto found = table.find(handle);
    return found == table.end() ? nullptr : &found->second;
}

} // namespace

AssetFamilyRow AssetManager::ClipFamilyRow() {
    return DocumentFamilyRow(*this, AssetType::Clip, ".bclip", clips_, &HasAnimationClipHead,
                             [this](const fs::path& path) { return LoadAnimationClipAsset(path, registry_); });
}

AssetFamilyRow AssetManager::ControllerFamilyRow() {
    return DocumentFamilyRow(*this, AssetType::Controller, ".bcontroller", controllers_, nullptr,
                             [this](const fs::path& path) { return LoadAnimatorControllerAsset(path, registry_); });
}

AssetFamilyRow AssetManager::UiDocumentFamilyRow() {
    return DocumentFamilyRow(*this, AssetType::Ui, ".bui", uiDocuments_, nullptr,
                             [this](const fs::path& path) { return LoadUiDocumentAsset(path, registry_); });
}

AssetFamilyRow AssetManager::RigDefinitionFamilyRow() {
    return DocumentFamilyRow(*this, AssetType::RigDefinition, ".brigdef", rigDefinitions_, nullptr,
                             [](const fs::path& path) { return LoadRigDefinitionAsset(path); });
}

const AnimationClip* AssetManager::GetAnimationClip(AssetHandle handle) const { return FindLoaded(clips_, handle); }

const AnimatorController* AssetManager::GetAnimatorController(AssetHandle handle) {
    if (const AnimatorController* loaded = FindLoaded(controllers_, handle)) return loaded;
    const std::optional<AssetRecord> record = registry_.Copy(handle);
    if (!record || record->type != AssetType::Controller || record->sourcePath.empty()) return nullptr;
    std::optional<AnimatorController> controller = LoadAnimatorControllerAsset(record->sourcePath, registry_);
    if (!controller) return nullptr;
    RememberSourceStamp(handle, record->sourcePath);
    return &controllers_.insert_or_assign(handle, std::move(*controller)).first->second;
}

const UiDocumentAsset* AssetManager::GetUiDocument(AssetHandle handle) const {
    return FindLoaded(uiDocuments_, handle);
}

const RigDefinition* AssetManager::GetRigDefinition(AssetHandle handle) const {
    return FindLoaded(rigDefinitions_, handle);
}

bool AssetManager::SaveDocumentFile(std::string_view operation, AssetHandle handle, AssetType type,
                                    std::string_view kind, std::string* error,
                                    const std::function<bool(const fs::path&, std::string*)>& write) {
    RequireWritableSources(operation);
    const std::optional<AssetRecord> record = registry_.Copy(handle);
    if (!record || record->type != type || record->isBuiltin || record->isSubAsset || record->sourcePath.empty()) {
        SetError(error, "Unknown " + std::string(kind) + " asset " + std::to_string(handle) + ".");
        return false;
    }
    if (!write(record->sourcePath, error)) return false;
    RememberSourceStamp(handle, record->sourcePath);
    return true;
}

AssetHandle AssetManager::CreateDocumentFile(std::string_view operation, AssetType type, const fs::path& folder,
                                             std::string_view name, std::string_view extension,
                                             std::string_view fallback,
                                             const std::function<bool(const fs::path&, std::string*)>& write) {
    RequireWritableSources(operation);
    const fs::path path = NewAssetPath(folder, name, extension, fallback);
    std::string error;
    if (!write(path, &error)) throw std::runtime_error(std::string(operation) + ": " + error);
    const AssetHandle handle = registry_.RegisterFile(type, path);
    RememberSourceStamp(handle, path);
    ++contentRevision_;
    return handle;
}

bool AssetManager::SaveAnimationClipAsset(AssetHandle handle, const AnimationClip& clip, std::string* error) {
    if (!SaveDocumentFile("SaveAnimationClipAsset", handle, AssetType::Clip, "animation clip", error,
                          [&](const fs::path& path, std::string* failure) {
                              return SaveAnimationClip(path, clip, registry_, failure);
                          })) {
        return false;
    }
    clips_.insert_or_assign(handle, clip);
    return true;
}

AssetHandle AssetManager::CreateAnimatorControllerAsset(const fs::path& folder, std::string_view name) {
    AnimatorController controller;
    const AssetHandle handle =
        CreateDocumentFile("CreateAnimatorControllerAsset", AssetType::Controller, folder, name, ".bcontroller",
                           "AnimatorController", [&](const fs::path& path, std::string* error) {
                               controller = MakeAnimatorController(Platform::PathToUtf8(path.stem()));
                               return SaveAnimatorController(path, controller, registry_, error);
                           });
    controllers_.insert_or_assign(handle, std::move(controller));
    return handle;
}

bool AssetManager::SaveAnimatorControllerAsset(AssetHandle handle, const AnimatorController& controller,
                                               std::string* error) {
    if (!SaveDocumentFile("SaveAnimatorControllerAsset", handle, AssetType::Controller, "animator controller", error,
                          [&](const fs::path& path, std::string* failure) {
                              return SaveAnimatorController(path, controller, registry_, failure);
                          })) {
        return false;
    }
    controllers_.insert_or_assign(handle, controller);
    return true;
}

AssetHandle AssetManager::CreateUiDocumentAsset(const fs::path& folder, std::string_view name) {
    UiDocumentAsset document;
    const AssetHandle handle = CreateDocumentFile("CreateUiDocumentAsset", AssetType::Ui, folder, name, ".bui",
                                                  "UiDocument", [&](const fs::path& path, std::string* error) {
                                                      document = MakeUiDocument(Platform::PathToUtf8(path.stem()));
                                                      return SaveUiDocument(path, document, registry_, error);
                                                  });
    uiDocuments_.insert_or_assign(handle, std::move(document));
    return handle;
}

bool AssetManager::SaveUiDocumentAsset(AssetHandle handle, const UiDocumentAsset& document, std::string* error) {
    if (!SaveDocumentFile("SaveUiDocumentAsset", handle, AssetType::Ui, "UI document", error,
                          [&](const fs::path& path, std::string* failure) {
                              return SaveUiDocument(path, document, registry_, failure);
                          })) {
        return false;
    }
    uiDocuments_.insert_or_assign(handle, document);
    return true;
}

AssetHandle AssetManager::CreateRigDefinitionAsset(const fs::path& folder, std::string_view name,
                                                   const RigDefinition& definition) {
    const AssetHandle handle = CreateDocumentFile(
        "CreateRigDefinitionAsset", AssetType::RigDefinition, folder, name, ".brigdef", "RigDefinition",
        [&](const fs::path& path, std::string* error) { return SaveRigDefinition(definition, path, error); });
    rigDefinitions_.insert_or_assign(handle, definition);
    return handle;
}

bool AssetManager::SaveRigDefinitionAsset(AssetHandle handle, const RigDefinition& definition, std::string* error) {
    if (!SaveDocumentFile(
            "SaveRigDefinitionAsset", handle, AssetType::RigDefinition, "rig definition", error,
            [&](const fs::path& path, std::string* failure) { return SaveRigDefinition(definition, path, failure); })) {
        return false;
    }
    rigDefinitions_.insert_or_assign(handle, definition);
    return true;
}

} // namespace Brelk::Assets
