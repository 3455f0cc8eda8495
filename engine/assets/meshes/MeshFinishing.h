#pragma once

#include "engine/assets/meshes/MeshAsset.h"

#include <cstdint>

namespace Brelk::Assets {

inline constexpr float kLastLodDistance = 1000000.0f;

// The next mesh revision of the process, counting from 1.
std::uint64_t NextMeshRevision() noexcept;

// Tangents from the UVs of the triangles around each vertex, orthogonal to its normal, with
// w the handedness of the UV frame (+1 when normal x tangent runs along +v). A vertex whose
// triangles all have a UV determinant below 0.000001 keeps its tangent.
void GenerateMeshTangents(MeshAsset& mesh);

// Makes a mesh ready for the manager's table: its handle and a new revision, tangents,
// bounds when the radius isn't above 0 (radius: the farthest vertex from the origin), a
// "Default" submesh over all indices when it has none, and a LOD list whose first row is
// the mesh itself (one row at 1000000 when there was none).
void FinishMesh(MeshAsset& mesh, AssetHandle handle);

} // namespace Brelk::Assets
