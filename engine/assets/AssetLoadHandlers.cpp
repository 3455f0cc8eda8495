#include "engine/assets/AssetManager.h"

namespace Brelk::Assets {

// The engine's asset families plug in here, one RegisterAssetFamily call each, with a row
// made beside the family's own code: its table of loaded assets, its loader handler for the
// types that load asynchronously (textures, meshes, materials) and its steps of Initialize
// and Refresh. The rows with a registry load run it in the order of the calls, which must be
// materials, clips, controllers, UI documents, rig definitions: nothing of that start-up
// depends on textures or meshes, which load on demand. A type without a row has no loader:
// a request for it fails with the loader's "No asset loader is registered" message.
void AssetManager::RegisterLoadHandlers() {
    RegisterAssetFamily(MaterialFamilyRow());
    RegisterAssetFamily(MeshFamilyRow());
    RegisterAssetFamily(TextureFamilyRow());
    RegisterAssetFamily(ClipFamilyRow());
    RegisterAssetFamily(ControllerFamilyRow());
    RegisterAssetFamily(UiDocumentFamilyRow());
    RegisterAssetFamily(RigDefinitionFamilyRow());
}

} // namespace Brelk::Assets
