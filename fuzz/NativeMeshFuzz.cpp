// A .bmesh is read item by item. The reader throws at the first short read or gives a mesh
// that writes back to the same payload.
#include "engine/assets/meshes/NativeMeshFile.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    MeshAsset mesh;
    try {
        mesh = DecodeNativeMesh(std::span(data, size));
    } catch (const std::runtime_error&) {
        return 0;
    }
    const std::vector<std::uint8_t> bytes = EncodeNativeMesh(mesh, mesh.fileGuid);
    const MeshAsset again = DecodeNativeMesh(bytes);
    if (!again.hasFileGuid || again.indices != mesh.indices || again.vertices.size() != mesh.vertices.size() ||
        EncodeNativeMesh(again, again.fileGuid) != bytes) {
        std::abort();
    }
    return 0;
}
