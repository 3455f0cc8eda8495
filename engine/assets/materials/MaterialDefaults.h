#pragma once

#include "engine/assets/BuiltinAssets.h"
#include "engine/assets/materials/MaterialAsset.h"

namespace Brelk::Assets {

// The starting graphs of the three domains. Ids come from the graph's one counter: each node
// and then its own pins, in the order of the nodes; the links last.
MaterialGraph MakeDefaultSurfaceGraph();
MaterialGraph MakeDefaultFunctionGraph();
MaterialGraph MakeDefaultPostProcessGraph();
// The starting graph of `domain`; the surface graph for an unknown one.
MaterialGraph MakeDefaultGraph(std::uint32_t domain);

// Builtin/DefaultMaterial: a fresh material with roughness 0.65, white albedo, metallic,
// roughness and occlusion, a flat normal and black emission and height.
MaterialAsset MakeDefaultMaterial(const BuiltinAssetHandles& builtins);

} // namespace Brelk::Assets
