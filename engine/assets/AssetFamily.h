#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/assets/AssetRecord.h"
#include "engine/assets/loader/AssetLoadTypes.h"
#include "engine/reflection/AssetType.h"

#include <functional>
#include <vector>

namespace Brelk::Assets {

// The manager's view of one family's table of loaded assets, for the steps that treat all
// families alike: emptying at Initialize, pruning after a scan, "is it loaded".
struct LoadedAssetTable {
    std::function<bool(AssetHandle)> contains;
    std::function<std::vector<AssetHandle>()> handles;
    std::function<void(AssetHandle)> erase;
    std::function<void()> clear;

    explicit operator bool() const noexcept { return static_cast<bool>(contains); }
};

// The view of any map keyed by handle. The map must outlive the view.
template <class Map>
LoadedAssetTable ViewOfTable(Map& map) {
    return LoadedAssetTable{
        [&map](AssetHandle handle) { return map.find(handle) != map.end(); },
        [&map] {
            std::vector<AssetHandle> handles;
            handles.reserve(map.size());
            for (const auto& entry : map) handles.push_back(entry.first);
            return handles;
        },
        [&map](AssetHandle handle) { map.erase(handle); },
        [&map] { map.clear(); },
    };
}

// One asset type's row in the AssetManager: everything the manager's generic machinery needs
// of a family. Each part is optional; a family fills what it has.
struct AssetFamilyRow {
    AssetType type = AssetType::Unknown;
    // The loaded assets of the type. A family with several tables (a mesh and its companion
    // data) gives one view that clears and erases in all of them.
    LoadedAssetTable table;
    // The type's row of the loader: how RequestLoad, Touch and Ensure load it.
    AssetLoadHandler handler;
    // Pruning an entry also drops its loader slot, for families whose slot stands for the
    // table entry (meshes, textures).
    bool releasesLoaderSlot = false;
    // Adds the content of the family's built-ins after their records are registered.
    std::function<void()> addBuiltins;
    // Loads the family's files from the registry (Initialize and Refresh); failures are
    // logged per file and never thrown. Runs in the order of the rows.
    std::function<void()> loadFromRegistry;
    // Reloads one asset of the type in a way of its own, instead of through the loader.
    std::function<bool(const AssetRecord&)> reload;
};

} // namespace Brelk::Assets
