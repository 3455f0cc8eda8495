#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/assets/meshes/MeshAsset.h"

#include <functional>
#include <optional>
#include <string_view>

namespace Brelk::Assets {

// The content of each built-in mesh before finishing: unit-sized primitives around the
// origin, faces wound counter-clockwise seen from outside. None for a name that isn't one.
std::optional<MeshAsset> BuiltinMeshContent(std::string_view name);

// A built-in mesh as the manager keeps it: its content finished with `handle`. The cube's
// LOD rows name its two LOD meshes through `handleOf`; every other mesh has one row of its own.
std::optional<MeshAsset> MakeBuiltinMesh(std::string_view name, AssetHandle handle,
                                         const std::function<AssetHandle(std::string_view)>& handleOf);

} // namespace Brelk::Assets
