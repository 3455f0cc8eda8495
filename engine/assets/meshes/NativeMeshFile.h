#pragma once

#include "engine/assets/ByteStream.h"
#include "engine/assets/meshes/MeshAsset.h"
#include "engine/core/Guid.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace Brelk::Assets {

inline constexpr std::uint32_t kNativeMeshTrailerVersion = 1;

// The mesh payload, item by item with no gaps: handle, bounds, vertices, indices,
// submeshes, LOD rows, then the skinning items. The handle and each LOD row's four spare
// bytes are written as zeros so that one mesh always gives the same bytes.
void WriteMeshPayload(ByteWriter& writer, const MeshAsset& mesh);
// Reads one payload and leaves the reader behind it; throws std::runtime_error with the
// reader's message at the first short read. The handle read is the file's, usually 0.
MeshAsset ReadMeshPayload(ByteReader& reader);

// A whole .bmesh stream: the payload and the "BSMG" trailer naming the mesh's Guid.
std::vector<std::uint8_t> EncodeNativeMesh(const MeshAsset& mesh, const Core::Guid& guid);
// The payload, then the trailer if one follows; a missing or foreign trailer is no failure,
// and only a good one sets fileGuid and hasFileGuid.
MeshAsset DecodeNativeMesh(std::span<const std::uint8_t> bytes);

[[nodiscard]] bool WriteNativeMeshFile(const std::filesystem::path& path, const MeshAsset& mesh,
                                       const Core::Guid& guid, std::string* error = nullptr);

} // namespace Brelk::Assets
