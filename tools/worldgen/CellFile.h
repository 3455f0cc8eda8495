#pragma once

#include "engine/scene/Entity.h"

#include <filesystem>
#include <span>
#include <string>

namespace Brelk::Assets {
class AssetManager;
}
namespace Brelk::Scene {
class Scene;
}

namespace Brelk::WorldGen {

// Writes the given entities and their descendants as one cell file: scene text with a
// default environment, entities depth first in the list's order, a parent outside what is
// written saved as none, line feeds alone. The whole text is built in memory and replaces
// the file atomically, so a failure leaves an old file at `path` whole. The scene is not
// changed. `error` may be null.
[[nodiscard]] bool WriteCellFile(const std::filesystem::path& path, const Scene::Scene& scene,
                                 std::span<const Scene::Entity> entities, const Assets::AssetManager& assetManager,
                                 std::string* error);

// The same, building the text in `buffer`, whose capacity a caller writing many cells
// keeps from one cell to the next.
[[nodiscard]] bool WriteCellFile(const std::filesystem::path& path, const Scene::Scene& scene,
                                 std::span<const Scene::Entity> entities, const Assets::AssetManager& assetManager,
                                 std::string* error, std::string& buffer);

} // namespace Brelk::WorldGen
