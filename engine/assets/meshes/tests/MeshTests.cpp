#include "engine/assets/BuiltinAssets.h"
#include "engine/assets/meshes/BuiltinMeshes.h"
#include "engine/assets/meshes/MeshFinishing.h"
#include "engine/assets/meshes/NativeMeshFile.h"
#include "engine/core/NumberText.h"
#include "engine/platform/Files.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace Brelk::Assets {
namespace {

using Brelk::Testing::ScratchFolder;
using Brelk::Testing::ThrownMessage;

AssetHandle HandleOf(std::string_view name) {
    if (name == kBuiltinCubeLod1) return 501;
    if (name == kBuiltinCubeLod2) return 502;
    return 0;
}

TEST(BuiltinMeshes, HaveTheirCountsAndLodRows) {
    const std::filesystem::path cases = std::filesystem::path(BRELK_TEST_DATA_DIR) / "meshes" / "BuiltinMeshes.txt";
    Brelk::Testing::ExpectTextCases(cases, [](const auto& c) {
        const std::optional<MeshAsset> mesh = MakeBuiltinMesh(c.input.substr(0, c.input.size() - 1), 100, HandleOf);
        if (!mesh) return std::string("no such mesh");
        std::string text = std::to_string(mesh->vertices.size()) + " vertices, " +
                           std::to_string(mesh->indices.size()) + (mesh->radius > 0 ? " indices, a radius" : " indices");
        for (const MeshSubmesh& s : mesh->submeshes) text += "\nsubmesh " + s.name + " of " + std::to_string(s.indexCount);
        for (const MeshLod& lod : mesh->lods) {
            text += "\nlod " + std::to_string(lod.mesh) + " from ";
            Core::AppendFloat9(text, lod.distance);
        }
        return text;
    });
}

TEST(BuiltinMeshes, EveryTriangleFacesOutward) {
    for (const std::string_view name : {kBuiltinCube, kBuiltinCubeLod1, kBuiltinCubeLod2, kBuiltinSphere,
                                        kBuiltinCylinder, kBuiltinCone, kBuiltinTorus, kBuiltinDiamond}) {
        const MeshAsset mesh = *BuiltinMeshContent(name);
        for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
            const glm::vec3 a = mesh.vertices[mesh.indices[i]].position;
            const glm::vec3 b = mesh.vertices[mesh.indices[i + 1]].position;
            const glm::vec3 c = mesh.vertices[mesh.indices[i + 2]].position;
            const glm::vec3 face = glm::cross(b - a, c - a);
            if (glm::length(face) < 1e-6f) continue; // the sphere's poles
            glm::vec3 centre = (a + b + c) / 3.0f;
            if (name == kBuiltinTorus) {
                // Outward from the tube, not from the origin.
                centre -= glm::normalize(glm::vec3(centre.x, 0, centre.z)) * 0.34f;
            }
            EXPECT_GT(glm::dot(face, centre), 0.0f) << name << " triangle " << i / 3;
        }
    }
}

TEST(MeshFinishing, GivesTangentsAlongUBoundsAndNewRevisions) {
    MeshAsset cube = *BuiltinMeshContent(kBuiltinCube);
    FinishMesh(cube, 7);
    EXPECT_EQ(cube.vertices[0].tangent, glm::vec4(1, 0, 0, 1));  // +Z face
    EXPECT_EQ(cube.vertices[4].tangent, glm::vec4(-1, 0, 0, 1)); // -Z face
    EXPECT_EQ(cube.boundsMin, glm::vec3(-0.5f));
    EXPECT_EQ(cube.boundsMax, glm::vec3(0.5f));
    EXPECT_FLOAT_EQ(cube.radius, std::sqrt(0.75f));

    // Mirrored UVs flip the handedness; a triangle without UV area leaves its tangent alone.
    MeshAsset mirrored = *BuiltinMeshContent(kBuiltinQuad);
    for (MeshVertex& v : mirrored.vertices) v.uv.x = 1.0f - v.uv.x;
    mirrored.vertices.push_back(mirrored.vertices[0]);
    mirrored.vertices.push_back(mirrored.vertices[0]);
    mirrored.vertices.push_back(mirrored.vertices[0]);
    mirrored.vertices.back().tangent = glm::vec4(0, 1, 0, 1);
    mirrored.indices.insert(mirrored.indices.end(), {4, 5, 6});
    mirrored.radius = 3.0f;
    FinishMesh(mirrored, 8);
    EXPECT_EQ(mirrored.vertices[0].tangent, glm::vec4(-1, 0, 0, -1));
    EXPECT_EQ(mirrored.vertices[6].tangent, glm::vec4(0, 1, 0, 1));
    EXPECT_EQ(mirrored.radius, 3.0f);
    EXPECT_GT(mirrored.revision, cube.revision);
}

MeshAsset SampleMesh() {
    MeshAsset mesh = *BuiltinMeshContent(kBuiltinCubeLod2);
    FinishMesh(mesh, 42);
    mesh.submeshes.push_back({3, 6, 2, "Trim"});
    mesh.lods.push_back({77, 30.0f});
    mesh.vertices[1].boneIndices = glm::uvec4(1, 2, 3, 4);
    mesh.vertices[1].boneWeights = glm::vec4(0.5f, 0.25f, 0.25f, 0.0f);
    mesh.skinFlags = 3;
    mesh.skinBoneCount = 5;
    mesh.skinBindMatrix[3] = glm::vec4(1, 2, 3, 1);
    mesh.skinInverseBindMatrices = {glm::mat4(2.0f), glm::mat4(1.0f)};
    mesh.skinBoneMap = {9, 8, 7};
    return mesh;
}

// Everything the file carries; vertices as the bytes they are written as.
void ExpectSameContent(const MeshAsset& a, const MeshAsset& b) {
    const auto fields = [](const MeshAsset& m) {
        return std::tie(m.indices, m.boundsMin, m.boundsMax, m.radius, m.skinFlags, m.skinBoneCount, m.skinBindMatrix,
                        m.skinInverseBindMatrices, m.skinBoneMap);
    };
    EXPECT_EQ(fields(a), fields(b));
    ASSERT_EQ(std::tuple(a.vertices.size(), a.submeshes.size(), a.lods.size()),
              std::tuple(b.vertices.size(), b.submeshes.size(), b.lods.size()));
    EXPECT_EQ(std::memcmp(a.vertices.data(), b.vertices.data(), a.vertices.size() * sizeof(MeshVertex)), 0);
    const MeshSubmesh& s = a.submeshes[1];
    const MeshSubmesh& t = b.submeshes[1];
    EXPECT_EQ(std::tie(s.firstIndex, s.indexCount, s.materialSlot, s.name, a.lods[1].mesh, a.lods[1].distance),
              std::tie(t.firstIndex, t.indexCount, t.materialSlot, t.name, b.lods[1].mesh, b.lods[1].distance));
}

TEST(NativeMeshFile, RoundTripsEveryItemWithTheTrailersGuid) {
    const MeshAsset mesh = SampleMesh();
    const Core::Guid guid{0x1122334455667788ull, 0x99aabbccddeeff00ull};
    const std::vector<std::uint8_t> bytes = EncodeNativeMesh(mesh, guid);
    const MeshAsset read = DecodeNativeMesh(bytes);
    ExpectSameContent(mesh, read);
    EXPECT_EQ(read.handle, 0u);
    EXPECT_TRUE(read.hasFileGuid);
    EXPECT_EQ(read.fileGuid, guid);
    EXPECT_EQ(EncodeNativeMesh(read, guid), bytes);
    // The in-memory handle is the process's own and never reaches the file.
    MeshAsset handled = mesh;
    handled.handle = 12345;
    EXPECT_EQ(EncodeNativeMesh(handled, guid), bytes);

    ScratchFolder folder;
    ASSERT_TRUE(WriteNativeMeshFile(folder / "m.bmesh", mesh, guid));
    EXPECT_EQ(*Platform::ReadFileBytes(folder / "m.bmesh"), bytes);
}

TEST(NativeMeshFile, AMissingOrForeignTrailerIsNoFailure) {
    const MeshAsset mesh = SampleMesh();
    ByteWriter writer;
    WriteMeshPayload(writer, mesh);
    const std::vector<std::uint8_t> payload = writer.Bytes();
    std::vector<std::uint8_t> foreign = payload;
    foreign.insert(foreign.end(), {'X', 'Y', 'Z', 'W', 1, 0, 0, 0});
    foreign.resize(foreign.size() + 16, 1);
    std::vector<std::uint8_t> versionZero = EncodeNativeMesh(mesh, Core::Guid{1, 2});
    versionZero[payload.size() + 4] = 0;
    std::vector<std::uint8_t> cut = EncodeNativeMesh(mesh, Core::Guid{1, 2});
    cut.pop_back();
    for (const std::vector<std::uint8_t>& bytes : {payload, foreign, versionZero, cut}) {
        const MeshAsset read = DecodeNativeMesh(bytes);
        EXPECT_FALSE(read.hasFileGuid);
        EXPECT_EQ(read.indices, mesh.indices);
    }
}

TEST(NativeMeshFile, AShortPayloadFailsAtTheFirstShortRead) {
    const std::vector<std::uint8_t> bytes = EncodeNativeMesh(SampleMesh(), Core::Guid{});
    EXPECT_EQ(ThrownMessage([&] { (void)DecodeNativeMesh(std::span(bytes).first(30)); }), "Cooked data ends early.");
    std::vector<std::uint8_t> hugeCount(bytes.begin(), bytes.begin() + 40);
    hugeCount[36] = 0xFF;
    hugeCount[37] = 0xFF;
    EXPECT_EQ(ThrownMessage([&] { (void)DecodeNativeMesh(hugeCount); }), "Cooked item count exceeds the data.");
}

} // namespace
} // namespace Brelk::Assets
