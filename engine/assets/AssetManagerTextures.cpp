#include "engine/assets/AssetManager.h"

#include "engine/assets/textures/BuiltinTextures.h"
#include "engine/assets/textures/TextureLoad.h"
#include "engine/core/Logger.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

AssetLoadPayload TexturePayload(TextureAsset texture) {
    const std::uint64_t size = texture.pixels.size();
    return AssetLoadPayload{std::make_shared<TextureAsset>(std::move(texture)), size};
}

} // namespace

const TextureAsset* AssetManager::GetTexture(AssetHandle handle) const {
    const auto found = textures_.find(handle);
    return found == textures_.end() ? nullptr : &found->second;
}

AssetFamilyRow AssetManager::TextureFamilyRow() {
    AssetFamilyRow row;
    row.type = AssetType::Texture;
    row.table = ViewOfTable(textures_);
    row.releasesLoaderSlot = true;
    row.handler.isLoaded = [this](AssetHandle handle) { return textures_.count(handle) != 0; };
    row.handler.prepare = [this](AssetHandle handle) { return PrepareTextureLoad(handle); };
    row.handler.unload = [this](AssetHandle handle) {
        textures_.erase(handle);
        ++contentRevision_;
    };
    row.addBuiltins = [this] {
        for (const BuiltinAssetDefinition& builtin : BuiltinAssetDefinitions()) {
            if (builtin.type != AssetType::Texture) continue;
            if (const TextureAsset* content = FindBuiltinTexture(builtin.name)) {
                const AssetHandle handle = registry_.HandleOfBuiltin(builtin.name);
                TextureAsset texture = *content;
                texture.handle = handle;
                textures_[handle] = std::move(texture);
            }
        }
    };
    return row;
}

AssetLoadRecipe AssetManager::PrepareTextureLoad(AssetHandle handle) {
    AssetLoadRecipe recipe;
    const std::optional<AssetRecord> record = registry_.Copy(handle);
    const TextureAsset* builtin = record && record->isBuiltin ? FindBuiltinTexture(record->name) : nullptr;
    if (!record || record->type != AssetType::Texture || (record->sourcePath.empty() && !builtin)) {
        recipe.error = "Unknown texture asset " + std::to_string(handle) + ".";
        return recipe;
    }
    const fs::path path = record->sourcePath;
    recipe.onFailure = [](const std::string& message) {
        Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Error,
                                "Failed to load texture asset: " + message);
    };
    recipe.publish = [this, handle, path, name = record->name](AssetLoadPayload& payload) {
        const bool replaced = textures_.count(handle) != 0;
        textures_[handle] = std::move(*static_cast<TextureAsset*>(payload.data.get()));
        if (replaced) ++contentRevision_;
        if (path.empty()) return;
        RememberSourceStamp(handle, path);
        Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Info, "Imported texture asset: " + name);
    };

    if (builtin) {
        recipe.decode = [texture = *builtin, handle](std::vector<std::uint8_t>) mutable {
            texture.handle = handle;
            return TexturePayload(std::move(texture));
        };
        return recipe;
    }
    // Compressing for editing writes only into the user's texture cache, never into the
    // content; a read-only (packaged) content folder is expected to hold cooked textures, and
    // a source there loads as plain pixels rather than spending seconds on blocks.
    TextureLoadOptions options;
    options.compressForEditing = mode_ == AssetSourceMode::Authoring;
    // The load order reads up to three files and picks between them by what it finds, so it
    // runs whole on the worker rather than split at a single read.
    recipe.decode = [path, options, handle](std::vector<std::uint8_t>) {
        TextureAsset texture = LoadTextureAsset(path, options);
        texture.handle = handle;
        texture.sourceRevision = static_cast<std::uint64_t>(ReadSourceFileStamp(path).lastWriteTime);
        return TexturePayload(std::move(texture));
    };
    return recipe;
}

} // namespace Brelk::Assets
