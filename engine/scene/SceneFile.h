#pragma once

#include "engine/core/Guid.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/scene/Entity.h"

#include <filesystem>
#include <string>
#include <unordered_map>

namespace Brelk::Assets {
class AssetManager;
class AssetRegistry;
} // namespace Brelk::Assets

namespace Brelk::Scene {

class Registry;
class Scene;

// Writes every saved entity of the scene as scene text. The target is replaced by one
// rename at the end, so a failure of any kind leaves the old file whole and no temporary
// file behind. `error` (may be null) is emptied first.
[[nodiscard]] bool SaveScene(const std::filesystem::path& path, const Scene& scene,
                             const Assets::AssetManager& assetManager, std::string* error);

// Replaces the whole content of `scene` by the file's. The new scene is built aside and
// moved over the caller's only when everything has loaded, so a failure leaves `scene` as
// it was; after success none of the old handles is alive.
[[nodiscard]] bool LoadScene(const std::filesystem::path& path, Scene& scene, const Assets::AssetManager& assetManager,
                             std::string* error);

// Alive and not transient: what scene files hold.
[[nodiscard]] bool IsSavedEntity(const Registry& registry, Entity entity);

// Each entity's Guid mapped to its parent's (null for a root). Throws std::runtime_error
// when a parent is not in the map or the parents form a cycle. Linear in the map's size.
void ValidateSceneHierarchy(const std::unordered_map<Core::Guid, Core::Guid>& parents);

// Binds asset references of scene records to the registry: handles go out as reference
// text and come back as handles of the expected type.
[[nodiscard]] Reflection::SchemaCodecContext MakeSceneCodecContext(const Assets::AssetRegistry& registry);

} // namespace Brelk::Scene
