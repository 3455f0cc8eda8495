#pragma once

#include <filesystem>
#include <string>

namespace Brelk::Assets {
class AssetManager;
}
namespace Brelk::Scene {
struct WorldPartitionComponent;
}

namespace Brelk::WorldGen {

// Builds the always-loaded layer of a partitioned world, "Fly Camera", "Sun" and "World
// Partition", and saves it at `scenePath`. `partition.world` is overwritten with the handle
// of the world asset, which the file then names by its Guid. False with the reason in
// `error` (may be null) when the world asset is not registered or the save fails; an old
// scene file stays whole.
[[nodiscard]] bool WritePersistentScene(Assets::AssetManager& assetManager, const std::filesystem::path& scenePath,
                                        const std::filesystem::path& worldPath,
                                        Scene::WorldPartitionComponent& partition, std::string* error);

} // namespace Brelk::WorldGen
