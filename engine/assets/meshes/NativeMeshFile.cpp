#include "engine/assets/meshes/NativeMeshFile.h"

#include "engine/platform/Files.h"

#include <bit>
#include <cstring>
#include <limits>

namespace Brelk::Assets {
namespace {

constexpr std::uint8_t kTrailerMagic[4] = {'B', 'S', 'M', 'G'};
constexpr std::uint64_t kCountLimit = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kSubmeshNameLimit = 1u << 16;
constexpr std::uint64_t kSubmeshLeastBytes = 16;
constexpr std::uint64_t kLodRowBytes = 16;
constexpr std::uint64_t kMatrixBytes = 64;

void WriteMatrix(ByteWriter& writer, const glm::mat4& matrix) {
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) {
            writer.WriteF32(matrix[column][row]);
        }
    }
}

glm::mat4 ReadMatrix(ByteReader& reader) {
    glm::mat4 matrix{};
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) {
            matrix[column][row] = reader.ReadF32();
        }
    }
    return matrix;
}

glm::vec3 ReadVec3(ByteReader& reader) {
    const float x = reader.ReadF32();
    const float y = reader.ReadF32();
    const float z = reader.ReadF32();
    return {x, y, z};
}

std::uint32_t CountOf(std::size_t size) {
    if (size > kCountLimit) {
        throw std::length_error("Mesh has too many items for a native mesh file.");
    }
    return static_cast<std::uint32_t>(size);
}

} // namespace

void WriteMeshPayload(ByteWriter& writer, const MeshAsset& mesh) {
    writer.WriteU64(0);
    for (int i = 0; i < 3; ++i) {
        writer.WriteF32(mesh.boundsMin[i]);
    }
    for (int i = 0; i < 3; ++i) {
        writer.WriteF32(mesh.boundsMax[i]);
    }
    writer.WriteF32(mesh.radius);
    writer.WriteU32(CountOf(mesh.vertices.size()));
    writer.WriteBytes({reinterpret_cast<const std::uint8_t*>(mesh.vertices.data()), mesh.vertices.size() * sizeof(MeshVertex)});
    writer.WriteU32(CountOf(mesh.indices.size()));
    // Vertices and indices go out as they lie in memory, which is the file's little-endian
    // form on every host the engine runs on.
    static_assert(std::endian::native == std::endian::little);
    writer.WriteBytes({reinterpret_cast<const std::uint8_t*>(mesh.indices.data()), mesh.indices.size() * 4});
    writer.WriteU32(CountOf(mesh.submeshes.size()));
    for (const MeshSubmesh& submesh : mesh.submeshes) {
        writer.WriteU32(submesh.firstIndex);
        writer.WriteU32(submesh.indexCount);
        writer.WriteU32(submesh.materialSlot);
        writer.WriteString(submesh.name);
    }
    writer.WriteU32(CountOf(mesh.lods.size()));
    for (const MeshLod& lod : mesh.lods) {
        writer.WriteU64(lod.mesh);
        writer.WriteF32(lod.distance);
        writer.WriteU32(0);
    }
    writer.WriteU8(mesh.skinFlags);
    writer.WriteU32(mesh.skinBoneCount);
    WriteMatrix(writer, mesh.skinBindMatrix);
    writer.WriteU32(CountOf(mesh.skinInverseBindMatrices.size()));
    for (const glm::mat4& matrix : mesh.skinInverseBindMatrices) {
        WriteMatrix(writer, matrix);
    }
    writer.WriteU32(CountOf(mesh.skinBoneMap.size()));
    for (const std::uint32_t word : mesh.skinBoneMap) {
        writer.WriteU32(word);
    }
}

MeshAsset ReadMeshPayload(ByteReader& reader) {
    MeshAsset mesh;
    mesh.handle = reader.ReadU64();
    mesh.boundsMin = ReadVec3(reader);
    mesh.boundsMax = ReadVec3(reader);
    mesh.radius = reader.ReadF32();
    const std::uint32_t vertexCount = reader.ReadCount(sizeof(MeshVertex), kCountLimit);
    mesh.vertices.resize(vertexCount);
    for (MeshVertex& vertex : mesh.vertices) {
        std::uint64_t raw[sizeof(MeshVertex) / 8];
        for (std::uint64_t& word : raw) {
            word = reader.ReadU64();
        }
        std::memcpy(&vertex, raw, sizeof(MeshVertex));
    }
    const std::uint32_t indexCount = reader.ReadCount(4, kCountLimit);
    mesh.indices.resize(indexCount);
    for (std::uint32_t& index : mesh.indices) {
        index = reader.ReadU32();
    }
    const std::uint32_t submeshCount = reader.ReadCount(kSubmeshLeastBytes, kCountLimit);
    mesh.submeshes.resize(submeshCount);
    for (MeshSubmesh& submesh : mesh.submeshes) {
        submesh.firstIndex = reader.ReadU32();
        submesh.indexCount = reader.ReadU32();
        submesh.materialSlot = reader.ReadU32();
        submesh.name = reader.ReadString(kSubmeshNameLimit);
    }
    const std::uint32_t lodCount = reader.ReadCount(kLodRowBytes, kCountLimit);
    mesh.lods.resize(lodCount);
    for (MeshLod& lod : mesh.lods) {
        lod.mesh = reader.ReadU64();
        lod.distance = reader.ReadF32();
        (void)reader.ReadU32();
    }
    mesh.skinFlags = reader.ReadU8();
    mesh.skinBoneCount = reader.ReadU32();
    mesh.skinBindMatrix = ReadMatrix(reader);
    const std::uint32_t matrixCount = reader.ReadCount(kMatrixBytes, kCountLimit);
    mesh.skinInverseBindMatrices.resize(matrixCount);
    for (glm::mat4& matrix : mesh.skinInverseBindMatrices) {
        matrix = ReadMatrix(reader);
    }
    const std::uint32_t wordCount = reader.ReadCount(4, kCountLimit);
    mesh.skinBoneMap.resize(wordCount);
    for (std::uint32_t& word : mesh.skinBoneMap) {
        word = reader.ReadU32();
    }
    return mesh;
}

std::vector<std::uint8_t> EncodeNativeMesh(const MeshAsset& mesh, const Core::Guid& guid) {
    ByteWriter writer;
    WriteMeshPayload(writer, mesh);
    writer.WriteBytes(kTrailerMagic);
    writer.WriteU32(kNativeMeshTrailerVersion);
    writer.WriteU64(guid.high);
    writer.WriteU64(guid.low);
    return writer.TakeBytes();
}

MeshAsset DecodeNativeMesh(std::span<const std::uint8_t> bytes) {
    ByteReader reader(bytes);
    MeshAsset mesh = ReadMeshPayload(reader);
    // Files from before the trailer, or with another tool's bytes behind the payload, are
    // still good meshes; only a whole trailer of ours names the Guid.
    if (reader.Remaining() < 4 + 4 + 16 || std::memcmp(bytes.data() + reader.Position(), kTrailerMagic, 4) != 0) {
        return mesh;
    }
    for (int i = 0; i < 4; ++i) {
        (void)reader.ReadU8();
    }
    if (reader.ReadU32() == 0) {
        return mesh;
    }
    mesh.fileGuid.high = reader.ReadU64();
    mesh.fileGuid.low = reader.ReadU64();
    mesh.hasFileGuid = true;
    return mesh;
}

bool WriteNativeMeshFile(const std::filesystem::path& path, const MeshAsset& mesh, const Core::Guid& guid,
                         std::string* error) {
    return Platform::WriteFileAtomic(path, EncodeNativeMesh(mesh, guid), error);
}

} // namespace Brelk::Assets
