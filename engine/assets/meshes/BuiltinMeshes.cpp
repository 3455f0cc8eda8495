#include "engine/assets/meshes/BuiltinMeshes.h"

#include "engine/assets/BuiltinAssets.h"
#include "engine/assets/meshes/MeshFinishing.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace Brelk::Assets {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr glm::vec4 kWhite{1.0f, 1.0f, 1.0f, 1.0f};
constexpr std::array<glm::vec2, 4> kQuadUvs{{{0.0f, 0.0f}, {1.0f, 0.0f}, {1.0f, 1.0f}, {0.0f, 1.0f}}};
constexpr std::uint32_t kRoundSegments = 32;

MeshVertex Vertex(glm::vec3 position, glm::vec4 color, glm::vec3 normal, glm::vec2 uv) {
    MeshVertex vertex;
    vertex.position = position;
    vertex.color = color;
    vertex.normal = normal;
    vertex.uv = uv;
    vertex.tangent = glm::vec4(1.0f, 0.0f, 0.0f, 1.0f);
    return vertex;
}

glm::vec4 Rgb(float r, float g, float b) { return {r, g, b, 1.0f}; }

void AddQuad(MeshAsset& mesh, const std::array<glm::vec3, 4>& corners, const std::array<glm::vec4, 4>& colors,
             glm::vec3 normal) {
    const auto base = static_cast<std::uint32_t>(mesh.vertices.size());
    for (std::size_t i = 0; i < 4; ++i) {
        mesh.vertices.push_back(Vertex(corners[i], colors[i], normal, kQuadUvs[i]));
    }
    for (const std::uint32_t i : {0u, 1u, 2u, 2u, 3u, 0u}) {
        mesh.indices.push_back(base + i);
    }
}

void AddTriangle(MeshAsset& mesh, glm::vec3 a, glm::vec3 b, glm::vec3 c, glm::vec4 color, glm::vec2 uvA,
                 glm::vec2 uvB, glm::vec2 uvC) {
    const glm::vec3 normal = glm::normalize(glm::cross(b - a, c - a));
    const auto base = static_cast<std::uint32_t>(mesh.vertices.size());
    mesh.vertices.push_back(Vertex(a, color, normal, uvA));
    mesh.vertices.push_back(Vertex(b, color, normal, uvB));
    mesh.vertices.push_back(Vertex(c, color, normal, uvC));
    mesh.indices.insert(mesh.indices.end(), {base, base + 1, base + 2});
}

MeshAsset Cube() {
    MeshAsset mesh;
    const float h = 0.5f;
    AddQuad(mesh, {{{-h, -h, h}, {h, -h, h}, {h, h, h}, {-h, h, h}}},
            {Rgb(.94f, .5f, .37f), Rgb(.96f, .62f, .4f), Rgb(.98f, .75f, .44f), Rgb(.95f, .69f, .42f)}, {0, 0, 1});
    AddQuad(mesh, {{{h, -h, -h}, {-h, -h, -h}, {-h, h, -h}, {h, h, -h}}},
            {Rgb(.34f, .66f, .97f), Rgb(.3f, .58f, .94f), Rgb(.4f, .72f, .99f), Rgb(.45f, .79f, 1.0f)}, {0, 0, -1});
    AddQuad(mesh, {{{-h, -h, -h}, {-h, -h, h}, {-h, h, h}, {-h, h, -h}}},
            {Rgb(.42f, .87f, .52f), Rgb(.48f, .91f, .58f), Rgb(.58f, .96f, .65f), Rgb(.51f, .92f, .6f)}, {-1, 0, 0});
    AddQuad(mesh, {{{h, -h, h}, {h, -h, -h}, {h, h, -h}, {h, h, h}}},
            {Rgb(.92f, .4f, .77f), Rgb(.88f, .35f, .72f), Rgb(.97f, .46f, .8f), Rgb(1.0f, .52f, .84f)}, {1, 0, 0});
    AddQuad(mesh, {{{-h, h, h}, {h, h, h}, {h, h, -h}, {-h, h, -h}}},
            {Rgb(.95f, .83f, .39f), Rgb(.98f, .88f, .44f), Rgb(.91f, .79f, .4f), Rgb(.86f, .74f, .36f)}, {0, 1, 0});
    AddQuad(mesh, {{{-h, -h, -h}, {h, -h, -h}, {h, -h, h}, {-h, -h, h}}},
            {Rgb(.3f, .39f, .51f), Rgb(.36f, .46f, .58f), Rgb(.41f, .53f, .64f), Rgb(.34f, .45f, .56f)}, {0, -1, 0});
    return mesh;
}

MeshAsset Octahedron() {
    MeshAsset mesh;
    const float r = 0.75f;
    const std::array<std::pair<glm::vec3, glm::vec4>, 6> corners{{
        {{0, r, 0}, Rgb(.95f, .73f, .42f)},
        {{0, -r, 0}, Rgb(.36f, .48f, .62f)},
        {{-r, 0, 0}, Rgb(.46f, .88f, .56f)},
        {{r, 0, 0}, Rgb(.94f, .43f, .76f)},
        {{0, 0, r}, Rgb(.96f, .63f, .41f)},
        {{0, 0, -r}, Rgb(.38f, .7f, .97f)},
    }};
    const std::array<glm::vec2, 6> uvs{{{.5f, 1}, {.5f, 0}, {0, .5f}, {1, .5f}, {.5f, .75f}, {.5f, .25f}}};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        mesh.vertices.push_back(Vertex(corners[i].first, corners[i].second, corners[i].first / r, uvs[i]));
    }
    mesh.indices = {0, 4, 3, 0, 3, 5, 0, 5, 2, 0, 2, 4, 1, 3, 4, 1, 5, 3, 1, 2, 5, 1, 4, 2};
    return mesh;
}

MeshAsset Tetrahedron() {
    MeshAsset mesh;
    mesh.vertices = {
        Vertex({0, .78f, 0}, Rgb(.94f, .73f, .42f), {0, 1, 0}, {.5f, 1}),
        Vertex({-.68f, -.42f, .68f}, Rgb(.47f, .88f, .58f), {-.58f, -.58f, .58f}, {0, 0}),
        Vertex({.68f, -.42f, .68f}, Rgb(.94f, .42f, .75f), {.58f, -.58f, .58f}, {1, 0}),
        Vertex({0, -.42f, -.82f}, Rgb(.38f, .69f, .97f), {0, -.46f, -.89f}, {.5f, 1}),
    };
    mesh.indices = {0, 1, 2, 0, 2, 3, 0, 3, 1, 1, 3, 2};
    return mesh;
}

MeshAsset Quad() {
    MeshAsset mesh;
    AddQuad(mesh, {{{-.5f, -.5f, 0}, {.5f, -.5f, 0}, {.5f, .5f, 0}, {-.5f, .5f, 0}}},
            {kWhite, kWhite, kWhite, kWhite}, {0, 0, 1});
    return mesh;
}

MeshAsset Plane() {
    MeshAsset mesh;
    AddQuad(mesh, {{{-.5f, 0, .5f}, {.5f, 0, .5f}, {.5f, 0, -.5f}, {-.5f, 0, -.5f}}},
            {Rgb(.78f, .84f, .88f), Rgb(.82f, .88f, .92f), Rgb(.76f, .82f, .88f), Rgb(.72f, .78f, .84f)}, {0, 1, 0});
    return mesh;
}

// A grid of rows x columns vertices with the quads between them, wound so that the
// surface faces the way that (next column) x (next row) points.
void AddGridIndices(MeshAsset& mesh, std::uint32_t base, std::uint32_t rows, std::uint32_t columns) {
    for (std::uint32_t row = 0; row + 1 < rows; ++row) {
        for (std::uint32_t column = 0; column + 1 < columns; ++column) {
            const std::uint32_t a = base + row * columns + column;
            const std::uint32_t b = a + 1;
            const std::uint32_t c = a + columns + 1;
            const std::uint32_t d = a + columns;
            mesh.indices.insert(mesh.indices.end(), {a, b, c, c, d, a});
        }
    }
}

MeshAsset Sphere(bool white) {
    MeshAsset mesh;
    constexpr std::uint32_t kRows = 17;
    constexpr std::uint32_t kColumns = 33;
    for (std::uint32_t row = 0; row < kRows; ++row) {
        const float v = static_cast<float>(row) / 16.0f;
        for (std::uint32_t column = 0; column < kColumns; ++column) {
            const float u = static_cast<float>(column) / 32.0f;
            const glm::vec3 position(std::cos(2 * kPi * u) * std::sin(kPi * v) * .5f, std::cos(kPi * v) * .5f,
                                     std::sin(2 * kPi * u) * std::sin(kPi * v) * .5f);
            const glm::vec3 normal = position * 2.0f;
            // The plain sphere is tinted by its normal, so its orientation shows untextured.
            const glm::vec4 color = white ? kWhite : glm::vec4(normal * 0.25f + 0.75f, 1.0f);
            mesh.vertices.push_back(Vertex(position, color, normal, {u, v}));
        }
    }
    AddGridIndices(mesh, 0, kRows, kColumns);
    return mesh;
}

void AddCap(MeshAsset& mesh, float y, bool up) {
    const glm::vec3 normal(0, up ? 1.0f : -1.0f, 0);
    const auto centre = static_cast<std::uint32_t>(mesh.vertices.size());
    mesh.vertices.push_back(Vertex({0, y, 0}, kWhite, normal, {.5f, .5f}));
    for (std::uint32_t i = 0; i <= kRoundSegments; ++i) {
        const float angle = 2 * kPi * static_cast<float>(i) / kRoundSegments;
        const float c = std::cos(angle);
        const float s = std::sin(angle);
        mesh.vertices.push_back(Vertex({c * .5f, y, s * .5f}, kWhite, normal, {.5f + c * .5f, .5f + s * .5f}));
    }
    for (std::uint32_t i = 0; i < kRoundSegments; ++i) {
        const std::uint32_t a = centre + 1 + i;
        if (up) {
            mesh.indices.insert(mesh.indices.end(), {centre, a + 1, a});
        } else {
            mesh.indices.insert(mesh.indices.end(), {centre, a, a + 1});
        }
    }
}

MeshAsset Cylinder() {
    MeshAsset mesh;
    for (std::uint32_t i = 0; i < kRoundSegments; ++i) {
        const float a0 = 2 * kPi * static_cast<float>(i) / kRoundSegments;
        const float a1 = 2 * kPi * static_cast<float>(i + 1) / kRoundSegments;
        const float middle = (a0 + a1) * 0.5f;
        const glm::vec3 normal(std::cos(middle), 0, std::sin(middle));
        const glm::vec3 bottom0(std::cos(a0) * .5f, -.5f, std::sin(a0) * .5f);
        const glm::vec3 bottom1(std::cos(a1) * .5f, -.5f, std::sin(a1) * .5f);
        const float u0 = static_cast<float>(i) / kRoundSegments;
        const float u1 = static_cast<float>(i + 1) / kRoundSegments;
        const auto base = static_cast<std::uint32_t>(mesh.vertices.size());
        mesh.vertices.push_back(Vertex(bottom0, kWhite, normal, {u0, 0}));
        mesh.vertices.push_back(Vertex(bottom0 + glm::vec3(0, 1, 0), kWhite, normal, {u0, 1}));
        mesh.vertices.push_back(Vertex(bottom1 + glm::vec3(0, 1, 0), kWhite, normal, {u1, 1}));
        mesh.vertices.push_back(Vertex(bottom1, kWhite, normal, {u1, 0}));
        mesh.indices.insert(mesh.indices.end(), {base, base + 1, base + 2, base + 2, base + 3, base});
    }
    AddCap(mesh, .5f, true);
    AddCap(mesh, -.5f, false);
    return mesh;
}

MeshAsset Cone() {
    MeshAsset mesh;
    // The side's normal leans up by the slope: radius .5 over height 1.
    const auto slanted = [](float angle) {
        return glm::normalize(glm::vec3(std::cos(angle), 0.5f, std::sin(angle)));
    };
    for (std::uint32_t i = 0; i < kRoundSegments; ++i) {
        const float a0 = 2 * kPi * static_cast<float>(i) / kRoundSegments;
        const float a1 = 2 * kPi * static_cast<float>(i + 1) / kRoundSegments;
        const float u0 = static_cast<float>(i) / kRoundSegments;
        const float u1 = static_cast<float>(i + 1) / kRoundSegments;
        const auto base = static_cast<std::uint32_t>(mesh.vertices.size());
        mesh.vertices.push_back(Vertex({std::cos(a0) * .5f, -.5f, std::sin(a0) * .5f}, kWhite, slanted(a0), {u0, 0}));
        mesh.vertices.push_back(Vertex({0, .5f, 0}, kWhite, slanted((a0 + a1) * 0.5f), {(u0 + u1) * 0.5f, 1}));
        mesh.vertices.push_back(Vertex({std::cos(a1) * .5f, -.5f, std::sin(a1) * .5f}, kWhite, slanted(a1), {u1, 0}));
        mesh.indices.insert(mesh.indices.end(), {base, base + 1, base + 2});
    }
    AddCap(mesh, -.5f, false);
    return mesh;
}

MeshAsset Torus() {
    MeshAsset mesh;
    constexpr std::uint32_t kRings = 33;
    constexpr std::uint32_t kSides = 13;
    for (std::uint32_t ring = 0; ring < kRings; ++ring) {
        const float r = 2 * kPi * static_cast<float>(ring) / 32.0f;
        for (std::uint32_t side = 0; side < kSides; ++side) {
            const float s = 2 * kPi * static_cast<float>(side) / 12.0f;
            const float distance = std::cos(s) * .14f + .34f;
            const glm::vec3 position(distance * std::cos(r), std::sin(s) * .14f, distance * std::sin(r));
            const glm::vec3 normal(std::cos(s) * std::cos(r), std::sin(s), std::cos(s) * std::sin(r));
            mesh.vertices.push_back(
                Vertex(position, kWhite, normal, {static_cast<float>(ring) / 32.0f, static_cast<float>(side) / 12.0f}));
        }
    }
    AddGridIndices(mesh, 0, kRings, kSides);
    return mesh;
}

MeshAsset Diamond() {
    MeshAsset mesh;
    const glm::vec3 top(0, .62f, 0);
    const glm::vec3 bottom(0, -.62f, 0);
    const std::array<glm::vec3, 4> girdle{{{.5f, 0, 0}, {0, 0, .5f}, {-.5f, 0, 0}, {0, 0, -.5f}}};
    for (std::size_t i = 0; i < 4; ++i) {
        const glm::vec3 a = girdle[i];
        const glm::vec3 b = girdle[(i + 1) % 4];
        const float u0 = static_cast<float>(i) / 4.0f;
        const float u1 = static_cast<float>(i + 1) / 4.0f;
        AddTriangle(mesh, a, top, b, kWhite, {u0, .5f}, {(u0 + u1) * .5f, 1}, {u1, .5f});
        AddTriangle(mesh, a, b, bottom, kWhite, {u0, .5f}, {u1, .5f}, {(u0 + u1) * .5f, 0});
    }
    return mesh;
}

} // namespace

std::optional<MeshAsset> BuiltinMeshContent(std::string_view name) {
    if (name == kBuiltinCube) {
        return Cube();
    }
    if (name == kBuiltinCubeLod1) {
        return Octahedron();
    }
    if (name == kBuiltinCubeLod2) {
        return Tetrahedron();
    }
    if (name == kBuiltinQuad) {
        return Quad();
    }
    if (name == kBuiltinPlane) {
        return Plane();
    }
    if (name == kBuiltinSphere) {
        return Sphere(false);
    }
    if (name == kBuiltinMaterialPreviewSphere) {
        return Sphere(true);
    }
    if (name == kBuiltinCylinder) {
        return Cylinder();
    }
    if (name == kBuiltinCone) {
        return Cone();
    }
    if (name == kBuiltinTorus) {
        return Torus();
    }
    if (name == kBuiltinDiamond) {
        return Diamond();
    }
    return std::nullopt;
}

std::optional<MeshAsset> MakeBuiltinMesh(std::string_view name, AssetHandle handle,
                                         const std::function<AssetHandle(std::string_view)>& handleOf) {
    std::optional<MeshAsset> mesh = BuiltinMeshContent(name);
    if (!mesh) {
        return std::nullopt;
    }
    if (name == kBuiltinCube) {
        mesh->lods = {{handle, 10.0f}, {handleOf(kBuiltinCubeLod1), 22.0f}, {handleOf(kBuiltinCubeLod2), kLastLodDistance}};
    }
    FinishMesh(*mesh, handle);
    return mesh;
}

} // namespace Brelk::Assets
