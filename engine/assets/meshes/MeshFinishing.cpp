#include "engine/assets/meshes/MeshFinishing.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>

namespace Brelk::Assets {
namespace {

std::atomic<std::uint64_t> g_nextMeshRevision{1};

} // namespace

std::uint64_t NextMeshRevision() noexcept { return g_nextMeshRevision.fetch_add(1, std::memory_order_relaxed); }

void GenerateMeshTangents(MeshAsset& mesh) {
    const std::size_t vertexCount = mesh.vertices.size();
    std::vector<glm::vec3> tangents(vertexCount, glm::vec3(0.0f));
    std::vector<glm::vec3> bitangents(vertexCount, glm::vec3(0.0f));
    std::vector<bool> touched(vertexCount, false);
    for (std::size_t i = 0; i + 2 < mesh.indices.size(); i += 3) {
        const std::uint32_t a = mesh.indices[i];
        const std::uint32_t b = mesh.indices[i + 1];
        const std::uint32_t c = mesh.indices[i + 2];
        if (a >= vertexCount || b >= vertexCount || c >= vertexCount) {
            continue;
        }
        const MeshVertex& va = mesh.vertices[a];
        const glm::vec3 edge1 = mesh.vertices[b].position - va.position;
        const glm::vec3 edge2 = mesh.vertices[c].position - va.position;
        const glm::vec2 duv1 = mesh.vertices[b].uv - va.uv;
        const glm::vec2 duv2 = mesh.vertices[c].uv - va.uv;
        const float determinant = duv1.x * duv2.y - duv2.x * duv1.y;
        if (std::abs(determinant) < 0.000001f) {
            continue;
        }
        const float inverse = 1.0f / determinant;
        const glm::vec3 tangent = (edge1 * duv2.y - edge2 * duv1.y) * inverse;
        const glm::vec3 bitangent = (edge2 * duv1.x - edge1 * duv2.x) * inverse;
        for (const std::uint32_t v : {a, b, c}) {
            tangents[v] += tangent;
            bitangents[v] += bitangent;
            touched[v] = true;
        }
    }
    for (std::size_t v = 0; v < vertexCount; ++v) {
        if (!touched[v]) {
            continue;
        }
        MeshVertex& vertex = mesh.vertices[v];
        const glm::vec3 normal = vertex.normal;
        glm::vec3 tangent = tangents[v] - normal * glm::dot(normal, tangents[v]);
        const float length = glm::length(tangent);
        if (!(length > 0.000001f)) {
            continue;
        }
        tangent /= length;
        const float handedness = glm::dot(glm::cross(normal, tangent), bitangents[v]) < 0.0f ? -1.0f : 1.0f;
        vertex.tangent = glm::vec4(tangent, handedness);
    }
}

void FinishMesh(MeshAsset& mesh, AssetHandle handle) {
    mesh.handle = handle;
    mesh.revision = NextMeshRevision();
    GenerateMeshTangents(mesh);
    if (!(mesh.radius > 0.0f)) {
        mesh.boundsMin = glm::vec3(0.0f);
        mesh.boundsMax = glm::vec3(0.0f);
        mesh.radius = 0.0f;
        for (std::size_t i = 0; i < mesh.vertices.size(); ++i) {
            const glm::vec3& p = mesh.vertices[i].position;
            mesh.boundsMin = i == 0 ? p : glm::min(mesh.boundsMin, p);
            mesh.boundsMax = i == 0 ? p : glm::max(mesh.boundsMax, p);
            mesh.radius = std::max(mesh.radius, glm::length(p));
        }
    }
    if (mesh.submeshes.empty()) {
        mesh.submeshes.push_back({0, static_cast<std::uint32_t>(mesh.indices.size()), 0, "Default"});
    }
    if (mesh.lods.empty()) {
        mesh.lods.push_back({handle, kLastLodDistance});
    } else {
        mesh.lods.front().mesh = handle;
    }
}

} // namespace Brelk::Assets
